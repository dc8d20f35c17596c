#include <set>

#include "CallAuction.h"
#include "Market.h"

using namespace markets;

namespace {

constexpr SAuctionPrices PRICES{.m_nReference = 100, .m_nLimitUp = 110, .m_nLimitDown = 90};

SAuctionOrder buy(std::int64_t limit, std::int64_t quantity) { return {1, true, limit, quantity, 0}; }
SAuctionOrder sell(std::int64_t limit, std::int64_t quantity) { return {1, false, limit, quantity, 0}; }

/// The rules one after the other, over every price of the day.
SAuctionResult searched(const std::vector<SAuctionOrder>& orders) {
  std::map<std::vector<std::int64_t>, SAuctionResult> ranked;
  for (std::int64_t price = PRICES.m_nLimitDown; price <= PRICES.m_nLimitUp; ++price) {
    const auto sum = [&](bool buys, std::int64_t worst) {
      std::int64_t total = 0;
      for (const SAuctionOrder& order : orders) {
        if (order.m_bBuy == buys && (buys ? order.m_nLimit >= worst : order.m_nLimit <= worst))
          total += order.m_nQuantity;
      }
      return total;
    };
    const std::int64_t volume = std::min(sum(true, price), sum(false, price));
    const bool leavesBetter = sum(true, price + 1) > volume || sum(false, price - 1) > volume;
    ranked[{-volume, std::max(sum(true, price), sum(false, price)) - volume, leavesBetter,
            std::abs(price - PRICES.m_nReference), -price}] = {price, volume};
  }
  const SAuctionResult best = ranked.begin()->second;
  return best.m_nVolume > 0 ? best : SAuctionResult{};
}

}  // namespace

TEST(CallAuction, HasThePriceOfMostVolume) {
  const std::pair<std::vector<SAuctionOrder>, SAuctionResult> cases[] = {
      {{}, {0, 0}},
      {{buy(99, 500), sell(101, 500)}, {0, 0}},
      {{buy(103, 300), sell(97, 300)}, {100, 300}},                                 // all the same: the reference
      {{buy(105, 300), sell(102, 300)}, {102, 300}},                                // nearest to it
      {{buy(105, 500), sell(102, 300)}, {105, 300}},                                // a better buy is left nowhere
      {{buy(105, 300), sell(102, 500)}, {102, 300}},                                // nor a better sell
      {{buy(104, 100), sell(98, 100), sell(104, 50)}, {100, 100}},                  // least is left between two orders
      {{buy(103, 100), buy(101, 400), sell(99, 200), sell(101, 300)}, {101, 500}},  // most volume
      {{buy(110, 900), sell(90, 100), sell(110, 100)}, {110, 200}},                 // at the limit
  };
  for (const auto& [orders, expected] : cases) {
    const SAuctionResult result = auctionPrice(orders, PRICES);
    EXPECT_EQ(std::pair(result.m_nPrice, result.m_nVolume), std::pair(expected.m_nPrice, expected.m_nVolume))
        << orders.size();
  }
}

TEST(CallAuction, FindsWhatASearchOverAllPricesFinds) {
  CRandom random(1);
  int traded = 0;
  for (int round = 0; round < 3000; ++round) {
    std::vector<SAuctionOrder> orders;
    for (std::uint64_t i = random() % 9; i > 0; --i) {
      const auto limit = 90 + static_cast<std::int64_t>(random() % 21);
      const auto quantity = 100 + 100 * static_cast<std::int64_t>(random() % 4);
      orders.push_back(random() % 2 ? buy(limit, quantity) : sell(limit, quantity));
    }
    const SAuctionResult found = auctionPrice(orders, PRICES);
    const SAuctionResult expected = searched(orders);
    ASSERT_EQ(std::pair(found.m_nPrice, found.m_nVolume), std::pair(expected.m_nPrice, expected.m_nVolume)) << round;
    traded += found.m_nVolume > 0 ? 1 : 0;
  }
  EXPECT_GT(traded, 1000);
}

namespace {

/// Orders at the day's limits, one too large for the auction, and a cancel; from before an auction until the day's end.
struct SAuctionDay : CExchange, CListener {
  SAuctionDay(std::uint64_t seed, const char* market, const char* code)
      : CExchange(assortment(), settings(seed)),
        CListener(static_cast<CExchange&>(*this)),
        m_nInstrument(findInstrument(market, code)) {}

  void send(std::uint64_t id, bool buy, int quantity) {
    const SQuote day = quote(m_nInstrument);
    submit(limitOrder(id, m_nInstrument, buy, buy ? day.m_dLimitUp : day.m_dLimitDown, quantity));
  }
  /// When and at which prices an order has traded.
  std::set<std::pair<std::int64_t, double>> trades(std::uint64_t id) const {
    std::set<std::pair<std::int64_t, double>> trades;
    for (const SReport& report : heard()) {
      if (report.m_nId == id && report.m_kind == EReport::Filled) trades.emplace(report.m_nTime, report.m_dPrice);
    }
    return trades;
  }

  int m_nInstrument;
};

}  // namespace

TEST(CallAuction, OpensTheDayAtOnePriceAndLeavesTheRestToTheSession) {
  for (const auto& [market, code, begins] : {std::tuple("SH", "600519", clockTime(9, 15)),
                                             {"SZ", "002024", clockTime(9, 15)},
                                             {"CFFEX", "IF2612", clockTime(9, 25)}}) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
      SAuctionDay day(seed, market, code);
      const std::int64_t ends = auctionOf(kindOf(market), EAuction::Opening).m_nEnd;
      day.advanceTo(begins);
      day.send(1, true, 200);
      day.send(2, false, 200);
      day.advanceTo(begins + 240000 - 1000);
      day.cancel(2);
      const SQuote late = day.quote(day.m_nInstrument);
      EXPECT_EQ(late.m_dBid, late.m_dAsk) << "what the price would be";
      EXPECT_NEAR(late.m_dBid / late.m_dPrevClose, 1, 0.02);
      EXPECT_EQ(late.m_nVolume, 0);
      day.send(3, true, 1000000);
      day.advanceTo(ends - 1);
      EXPECT_EQ(day.told(1) + day.told(2) + day.told(3), "aaca");
      day.advanceTo(ends);
      const auto opening = day.trades(1);
      EXPECT_EQ(day.told(1), "af");
      EXPECT_TRUE(day.trades(3).contains(*opening.begin())) << "at one price";
      if (ends == MORNING_BEGINS) continue;
      EXPECT_EQ(day.trades(3), opening);
      const SQuote open = day.quote(day.m_nInstrument);
      EXPECT_EQ(opening, (std::set{std::pair(ends, open.m_dLast)}));
      EXPECT_GT(open.m_nVolume, 200);
      day.advanceTo(MORNING_BEGINS - 1);
      EXPECT_EQ(day.trades(3), opening) << "nothing trades before the session";
      EXPECT_EQ(day.quote(day.m_nInstrument).m_nVolume, open.m_nVolume);
      day.advanceTo(MORNING_BEGINS);
      EXPECT_EQ(day.trades(3).rbegin()->first, MORNING_BEGINS);
    }
  }
}

TEST(CallAuction, ClosesTheDayWithWhatRestsAndWhatComes) {
  int traded = 0;
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    SAuctionDay day(seed, "SH", "600519");
    day.advanceTo(clockTime(14, 56) + 59900);
    const SQuote before = day.quote(day.m_nInstrument);
    day.submit(limitOrder(1, day.m_nInstrument, true, before.m_dBid, 100000));
    day.advanceTo(clockTime(14, 58));
    day.send(2, false, 200);
    day.advanceTo(DAY_CLOSES - 1);
    const std::size_t heard = day.heard().size();
    EXPECT_EQ(day.told(2), "a");
    day.advanceTo(DAY_CLOSES);
    const SQuote close = day.quote(day.m_nInstrument);
    EXPECT_EQ(day.trades(2), (std::set{std::pair(DAY_CLOSES, close.m_dLast)}));
    EXPECT_GT(close.m_nVolume, before.m_nVolume + 200);
    EXPECT_TRUE(day.told(1).ends_with("c收市，未成交部分自动撤销"));
    for (std::size_t i = heard; i < day.heard().size(); ++i) {
      traded += day.heard()[i].m_nId == 1 && day.heard()[i].m_kind == EReport::Filled ? 1 : 0;
    }
  }
  EXPECT_GT(traded, 5) << "what rests takes part";
}
