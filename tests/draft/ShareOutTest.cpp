#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "Basket.h"
#include "BasketFiles.h"

using draft::EDealBy;
using draft::SDeal;

namespace {

class CShare {
 public:
  explicit CShare(const SBasket& basket)
      : m_basket(basket), m_dSum(std::accumulate(basket.m_ratios.begin(), basket.m_ratios.end(), 0.0)) {}

  double of(std::size_t line, std::size_t account) const {
    return m_basket.m_lines[line].m_dQuantity * m_basket.m_ratios[account] / m_dSum;
  }
  int down(std::size_t line, std::size_t account) const {
    const int step = m_basket.m_facts[line].m_rules.m_nBuyStep;
    return static_cast<int>(std::floor(of(line, account) / step + 1e-9)) * step;
  }
  bool isWhole(std::size_t line, std::size_t account) const { return of(line, account) - down(line, account) < 1e-6; }

 private:
  const SBasket& m_basket;
  const double m_dSum;
};

/// Every line whole, every part rounded down or up.
void expectRounded(const SBasket& basket, const SDeal& deal) {
  const CShare share(basket);
  for (std::size_t i = 0; i < basket.m_lines.size(); ++i) {
    int sum = 0;
    for (std::size_t j = 0; j < basket.m_accounts.size(); ++j) {
      const int part = partOf(deal.m_lines[i], static_cast<int>(j));
      sum += part;
      const int step = share.isWhole(i, j) ? 0 : basket.m_facts[i].m_rules.m_nBuyStep;
      EXPECT_TRUE(part == share.down(i, j) || part == share.down(i, j) + step) << i << ' ' << j << ' ' << part;
    }
    EXPECT_EQ(sum, static_cast<int>(basket.m_lines[i].m_dQuantity)) << i;
  }
}

/// The furthest that an account is off its ratio, CNY.
double furthest(const SBasket& basket, const SDeal& deal) {
  const CShare share(basket);
  double most = 0;
  for (std::size_t j = 0; j < basket.m_accounts.size(); ++j) {
    double off = 0;
    for (std::size_t i = 0; i < basket.m_lines.size(); ++i) {
      off += (partOf(deal.m_lines[i], static_cast<int>(j)) - share.of(i, j)) * basket.valueOf(i);
    }
    most = std::max(most, std::abs(off));
  }
  return most;
}

/// Tries every way to round every part: the least that the furthest account can be off.
double bestOfAll(const SBasket& basket, std::size_t line, std::size_t account, int rest, std::vector<double>& off) {
  const CShare share(basket);
  if (line == basket.m_lines.size()) {
    double most = 0;
    for (const double each : off) most = std::max(most, std::abs(each));
    return most;
  }
  if (account == 0) rest = static_cast<int>(basket.m_lines[line].m_dQuantity);
  if (account == basket.m_accounts.size()) {
    return rest == 0 ? bestOfAll(basket, line + 1, 0, 0, off) : std::numeric_limits<double>::max();
  }
  double best = std::numeric_limits<double>::max();
  for (const bool up : {false, true}) {
    if (up && share.isWhole(line, account)) continue;
    const int part = share.down(line, account) + (up ? basket.m_facts[line].m_rules.m_nBuyStep : 0);
    const double before = off[account];
    off[account] += (part - share.of(line, account)) * basket.valueOf(line);
    best = std::min(best, bestOfAll(basket, line, account + 1, rest - part, off));
    off[account] = before;
  }
  return best;
}

TEST(ShareOut, KeepsEveryAccountWithinALotAsAnExhaustiveSearchDoes) {
  std::mt19937 random(7);
  const auto pick = [&random](int from, int to) { return std::uniform_int_distribution<int>(from, to)(random); };
  for (int round = 0; round < 400; ++round) {
    SBasket basket;
    const int accounts = pick(2, 4);
    for (int j = 0; j < accounts; ++j) basket.account(pick(0, 3) == 0 ? pick(1, 100) / 7.0 : pick(1, 4));
    const int lines = pick(1, accounts == 4 ? 4 : 5);
    for (int i = 0; i < lines; ++i) {
      const int lots = pick(1, 9) * (pick(0, 3) == 0 ? -1 : 1);
      basket.add(i % 3 == 2 ? "IF2612" : "60000" + std::to_string(i), pick(1, 900) / 10.0,
                 lots * (i % 3 == 2 ? 1 : 100));
    }
    const SDeal deal = basket.deal();
    std::vector<double> off(basket.m_accounts.size());
    expectRounded(basket, deal);
    EXPECT_LE(bestOfAll(basket, 0, 0, 0, off), basket.dearestLot()) << round;
    EXPECT_LE(furthest(basket, deal), basket.dearestLot() * (1 + 1e-9)) << round;
  }
}

TEST(ShareOut, DealsTheBasketOfTheProjectToFiftyAccounts) {
  const auto listed = basket::readInstrumentFile(PBT_SOURCE_DIR "/data/instruments.csv");
  const auto file = basket::readBasketFile(PBT_SOURCE_DIR "/data/baskets/basket300.csv");
  ASSERT_TRUE(listed.isGood() && file.isGood());
  SBasket basket;
  for (const basket::SBasketLine& line : file.m_lines) {
    for (const exchange::SInstrument& each : listed.m_instruments) {
      if (each.m_strCode != line.m_strCode || each.m_strMarket != line.m_strMarket) continue;
      // Odd rests of sales are another case.
      const int quantity = line.m_nQuantity / 100 * 100;
      basket.add(line.m_strCode, each.m_dPrevClose, line.m_bBuy ? std::max(40000, quantity) : -quantity);
    }
  }
  ASSERT_EQ(basket.m_lines.size(), 300U);
  for (int j = 0; j < 50; ++j) basket.account(1 + j % 7 * 0.37);
  const SDeal deal = basket.deal();
  expectRounded(basket, deal);
  // So many lines leave cheap lots to even out with, much below what is promised.
  EXPECT_LE(furthest(basket, deal), basket.dearestLot() / 20);
}

/// What each account gets of the first line.
std::vector<int> firstParts(const SBasket& basket, EDealBy by) {
  const SDeal deal = basket.deal(by);
  std::vector<int> parts;
  for (std::size_t j = 0; j < basket.m_accounts.size(); ++j)
    parts.push_back(partOf(deal.m_lines[0], static_cast<int>(j)));
  return parts;
}

TEST(ShareOut, SellsWhatAccountsHave) {
  const std::string code = "600000";
  const auto sold = [&](int quantity, const std::vector<int>& held, EDealBy by = EDealBy::Position) {
    SBasket basket;
    basket.add(code, 10, -quantity);
    for (const int each : held) basket.account(1, 1e6, {{"SH." + code, each}});
    return firstParts(basket, by);
  };
  using Parts = std::vector<int>;
  EXPECT_EQ(sold(750, {150, 150, 150, 150, 150}), (Parts{150, 150, 150, 150, 150}));  // all of it, odd rests too
  EXPECT_EQ(sold(600, {900, 300, 0}), (Parts{400, 200, 0}));
  EXPECT_EQ(sold(450, {300, 350, 250}), (Parts{200, 150, 100}));  // the odd rest where it is held
  EXPECT_EQ(sold(850, {300, 350, 250}, EDealBy::Ratio), (Parts{300, 250, 300}));
  const Parts most = sold(700, {150, 150, 150, 150, 150});
  EXPECT_EQ(std::accumulate(most.begin(), most.end(), 0), 700);
  EXPECT_LE(*std::max_element(most.begin(), most.end()), 150);
  EXPECT_EQ(sold(900, {300, 150}), (Parts{600, 300}));  // more than there is: for the judge to tell
}

TEST(ShareOut, GivesLinesBelowTheBoardsMinimumToFewerAccounts) {
  SBasket basket;
  for (int j = 0; j < 5; ++j) basket.account(1);
  for (int i = 0; i < 5; ++i) basket.add("68800" + std::to_string(i), 50, 450);
  basket.add("688009", 50, 100).add("920001", 5, 700);
  const SDeal deal = basket.deal();
  std::vector<int> bought(5);
  for (std::size_t i = 0; i < 5; ++i) {
    const draft::SDealtLine& line = deal.m_lines[i];
    EXPECT_EQ(line.m_parts.size(), 2U) << i;
    EXPECT_EQ(line.m_nLeftOut, 3) << i;
    for (const draft::SDealPart& part : line.m_parts) {
      EXPECT_EQ(part.m_nQuantity, 225) << i;
      ++bought[static_cast<std::size_t>(part.m_nAccount)];
    }
  }
  EXPECT_EQ(bought, (std::vector<int>{2, 2, 2, 2, 2}));  // who was left out before is most behind
  EXPECT_EQ(deal.m_lines[5].m_parts.size(), 1U);         // whole, though the board takes no such order
  EXPECT_EQ(deal.m_lines[6].m_parts.size(), 5U);
}

TEST(ShareOut, RoundsWeightsSoThatTheWholeFits) {
  std::mt19937 random(3);
  for (int round = 0; round < 300; ++round) {
    SBasket basket;
    double weights = 0;
    for (int i = 0; i < 1 + round % 40; ++i) {
      const double weight = std::uniform_real_distribution<double>(0.1, 5)(random);
      const char* const code = i % 5 == 4 ? "688001" : i % 7 == 6 ? "920001" : "000001";
      basket.add(code, std::uniform_int_distribution<int>(100, 30000)(random) / 100.0, weight,
                 basket::EMeasure::Weight);
      weights += weight;
    }
    const draft::SSizing sizing{1e5 * (1 + round), 1.5};
    double missed = 0;
    const std::vector<int> quantities = draft::quantitiesOf(basket.m_lines, basket.m_facts, sizing, &missed);
    double whole = 0;
    for (std::size_t i = 0; i < quantities.size(); ++i) {
      const exchange::SRules& rules = basket.m_facts[i].m_rules;
      const double wanted = sizing.m_dTotal * 1.5 * basket.m_lines[i].m_dQuantity / weights / basket.valueOf(i);
      EXPECT_EQ(rules.orderable(quantities[i], true), quantities[i]);
      EXPECT_LT(std::abs(quantities[i] - wanted), std::max(rules.m_nBuyMinimum, rules.m_nBuyStep));
      whole += quantities[i] * basket.valueOf(i);
    }
    EXPECT_NEAR(sizing.m_dTotal * 1.5 - whole, missed, 1e-3);
    EXPECT_LE(std::abs(missed), basket.dearestLot() / 2 * (1 + 1e-9)) << round;
  }
  SBasket plain;
  plain.add("000001", 10, 99999, basket::EMeasure::Amount).add("000002", 10, 150).add("000003", 10, -150);
  EXPECT_EQ(draft::quantitiesOf(plain.m_lines, plain.m_facts, {}), (std::vector<int>{9900, 150, 150}));
  EXPECT_EQ(draft::quantitiesOf(plain.m_lines, plain.m_facts, {0, 2}), (std::vector<int>{19900, 300, 300}));
}

}  // namespace
