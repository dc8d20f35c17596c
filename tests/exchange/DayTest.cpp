// Whole days under chance: what must hold whatever happens.
#include <cmath>
#include <map>

#include "Market.h"

using namespace markets;

namespace {

/// A client that sends and cancels at random all day, and remembers what it sent.
class CRandomDay {
 public:
  explicit CRandomDay(std::uint64_t seed, std::int64_t stepMsec = 60000)
      : m_exchange(assortment(), settings(seed, 0.02)), m_listener(m_exchange), m_random(seed + 1000) {
    constexpr std::int64_t actEvery = 60000;
    for (std::int64_t at = clockTime(9, 10); at <= clockTime(15, 10); at += actEvery) {
      act();
      for (std::int64_t on = stepMsec; on <= actEvery; on += stepMsec) m_exchange.advanceTo(at + on);
      checkQuotes();
    }
  }

  CExchange m_exchange;
  CListener m_listener;
  std::vector<SMarketOrder> m_sent;

 private:
  std::uint64_t below(std::uint64_t count) { return m_random() % count; }

  void act() {
    for (std::uint64_t i = below(4); i > 0; --i) {
      const int instrument = static_cast<int>(below(m_exchange.instruments().size()));
      const SRules& rules = m_exchange.rules(instrument);
      // From a little below the lower limit to a little above the upper one.
      const std::int64_t width = rules.m_nLimitUp - rules.m_nLimitDown + 3;
      const std::int64_t near = rules.toTicks(m_exchange.quote(instrument).m_dLast);
      const std::int64_t anywhere =
          rules.m_nLimitDown - 1 + static_cast<std::int64_t>(below(static_cast<std::uint64_t>(width)));
      const std::int64_t ticks = below(3) == 0 ? anywhere : near + static_cast<std::int64_t>(below(5)) - 2;
      m_sent.push_back(limitOrder(m_sent.size() + 1, instrument, below(2) == 0, rules.toPrice(ticks),
                                  static_cast<int>(below(400) + 1) * rules.m_nBuyStep));
      m_sent.back().m_bMarketPrice = below(10) == 0;
      m_exchange.submit(m_sent.back());
    }
    if (!m_sent.empty() && below(2) == 0) m_exchange.cancel(m_sent[below(m_sent.size())].m_nId);
  }

  void checkQuotes() {
    for (std::size_t i = 0; i < m_exchange.instruments().size(); ++i) {
      const SQuote quote = m_exchange.quote(static_cast<int>(i));
      for (const double price : {quote.m_dBid, quote.m_dAsk, quote.m_dLast}) {
        ASSERT_TRUE(price == 0 || (price <= quote.m_dLimitUp && price >= quote.m_dLimitDown)) << price;
      }
      // An auction shows its price as both.
      const bool auction = isAuction(m_exchange.phase(m_exchange.instruments()[i].m_kind));
      ASSERT_TRUE(quote.m_dBid == 0 || quote.m_dAsk == 0 || quote.m_dBid < quote.m_dAsk + auction) << quote.m_dBid;
      ASSERT_EQ(quote.m_dBid > 0, quote.m_nBidSize > 0);
      ASSERT_EQ(quote.m_dAsk > 0, quote.m_nAskSize > 0);
    }
  }

  CRandom m_random;
};

/// Follows one order through its reports.
struct SLife {
  bool m_bAccepted = false;
  bool m_bOver = false;
  int m_nLeft = 0;
};

/// Trades come while trading is continuous, and with the end of an auction.
bool isTradingTime(EKind kind, std::int64_t msec) {
  const bool ends =
      msec == auctionOf(kind, EAuction::Opening).m_nEnd || msec == auctionOf(kind, EAuction::Closing).m_nEnd;
  return ends || isMatchingPhase(phaseAt(kind, msec));
}

void checkFill(const SReport& report, const SMarketOrder& order, const SLife& life, const SRules& rules) {
  EXPECT_GT(report.m_nQuantity, 0);
  EXPECT_EQ(report.m_nLeft, life.m_nLeft - report.m_nQuantity);
  EXPECT_GE(report.m_nLeft, 0);
  EXPECT_LE(rules.toTicks(report.m_dPrice), rules.m_nLimitUp);
  EXPECT_GE(rules.toTicks(report.m_dPrice), rules.m_nLimitDown);
  const double over = order.m_bBuy ? report.m_dPrice - order.m_dPrice : order.m_dPrice - report.m_dPrice;
  EXPECT_TRUE(order.m_bMarketPrice || over <= 0) << over;
}

void checkLives(CRandomDay& day) {
  std::map<std::uint64_t, SLife> lives;
  for (const SMarketOrder& order : day.m_sent) lives[order.m_nId].m_nLeft = order.m_nQuantity;
  std::int64_t last = 0;
  for (const SReport& report : day.m_listener.heard()) {
    const SMarketOrder& order = day.m_sent[report.m_nId - 1];
    SLife& life = lives[report.m_nId];
    ASSERT_LE(last, report.m_nTime);
    last = report.m_nTime;
    const EKind kind = kindOf(day.m_exchange.instruments()[static_cast<std::size_t>(order.m_nInstrument)].m_strMarket);
    const bool cancels = acceptsCancels(phaseAt(kind, report.m_nTime));
    if (report.m_kind == EReport::CancelRejected) {
      ASSERT_TRUE(life.m_bOver || !cancels) << report.m_nTime;
      continue;
    }
    ASSERT_TRUE(report.m_kind != EReport::Cancelled || cancels) << report.m_nTime;
    ASSERT_TRUE(report.m_kind != EReport::Filled || isTradingTime(kind, report.m_nTime)) << report.m_nTime;
    ASSERT_FALSE(life.m_bOver) << report.m_nId;
    ASSERT_EQ(life.m_bAccepted, report.m_kind != EReport::Accepted && report.m_kind != EReport::Rejected);
    if (report.m_kind == EReport::Filled) checkFill(report, order, life, day.m_exchange.rules(order.m_nInstrument));
    ASSERT_TRUE(report.m_kind != EReport::Cancelled || report.m_nQuantity == life.m_nLeft) << report.m_nId;
    life.m_bAccepted = report.m_kind != EReport::Rejected;
    life.m_nLeft = report.m_nLeft;
    life.m_bOver = report.m_nLeft == 0;
  }
  for (const auto& [id, life] : lives) ASSERT_TRUE(life.m_bOver) << id << " has no end";
}

}  // namespace

TEST(Day, EveryOrderLivesByTheRulesWhateverHappens) {
  std::size_t fills = 0;
  for (std::uint64_t seed = 1; seed <= 40 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    CRandomDay day(seed);
    checkLives(day);
    for (const SReport& heard : day.m_listener.heard()) fills += heard.m_kind == EReport::Filled ? 1 : 0;
  }
  EXPECT_GT(fills, 10000u) << "a day without trades would show nothing";
}

TEST(Day, TheSeedDecidesEverythingAndTheStepsNothing) {
  const std::string coarse = CRandomDay(7).m_listener.text();
  EXPECT_EQ(coarse, CRandomDay(7, 100).m_listener.text());
  EXPECT_NE(coarse, CRandomDay(8).m_listener.text());
}

TEST(Day, EveryInstrumentGoesItsOwnWay) {
  const auto quoteAt2 = [](const std::vector<SInstrument>& listed, int instrument) {
    CExchange exchange(listed, settings(9));
    exchange.advanceTo(clockTime(14, 0));
    return exchange.quote(instrument);
  };
  const SQuote quote = quoteAt2({assortment()[2]}, 0);
  EXPECT_GT(quote.m_nVolume, 0);
  const SQuote among = quoteAt2(assortment(), 2);
  EXPECT_EQ(quote.m_nVolume, among.m_nVolume);
  EXPECT_EQ(quote.m_dAsk, among.m_dAsk);
  // Two of a kind still go their own ways.
  const std::vector<SInstrument> twins{share("SH", "600001", 10, 1e8), share("SH", "600002", 10, 1e8)};
  EXPECT_NE(quoteAt2(twins, 0).m_dAmount, quoteAt2(twins, 1).m_dAmount);
}

TEST(Day, LookingChangesNothing) {
  const auto heardOf = [](bool watched) {
    CExchange exchange(assortment(), settings(9));
    const CListener listener(exchange);
    const double limitUp = exchange.rules(2).toPrice(exchange.rules(2).m_nLimitUp);
    for (const std::int64_t until : {clockTime(9, 24), clockTime(12, 30), clockTime(14, 58), DAY_CLOSES}) {
      for (std::int64_t at = exchange.now(); watched && at < until; at += 1000) {
        exchange.advanceTo(at);
        exchange.quote(2);
      }
      exchange.advanceTo(until);
      exchange.submit(limitOrder(static_cast<std::uint64_t>(until), 2, true, limitUp, 100000));
    }
    return listener.told(static_cast<std::uint64_t>(clockTime(12, 30))) + listener.text();
  };
  EXPECT_EQ(heardOf(true).substr(0, 2), "af");
  EXPECT_EQ(heardOf(true), heardOf(false));
}

TEST(Day, TheCrowdTradesAboutTheUsualVolumeAndMovesThePriceALittle) {
  const auto listed = assortment();
  std::vector<double> volumes(listed.size());
  double moved = 0;
  constexpr int days = 20;
  for (std::uint64_t day = 0; day < days; ++day) {
    CExchange exchange(listed, settings(day));
    exchange.advanceTo(DAY_CLOSES);
    for (std::size_t i = 0; i < listed.size(); ++i) {
      const SQuote quote = exchange.quote(static_cast<int>(i));
      volumes[i] += static_cast<double>(quote.m_nVolume) / listed[i].m_dVolume / days;
      moved += std::abs(quote.m_dLast / quote.m_dPrevClose - 1) / days / static_cast<double>(listed.size());
    }
  }
  for (std::size_t i = 0; i < listed.size(); ++i) EXPECT_NEAR(volumes[i], 1.1, 0.5) << listed[i].m_strCode;
  EXPECT_NEAR(moved, 0.0175, 0.0125);
}

TEST(Day, AMillionAtTheOppositeBestLargelyFillsInHalfAnHour) {
  std::vector<SInstrument> listed;
  listed.reserve(100);
  for (int i = 0; i < 100; ++i) {
    // From 20 million to 2 billion a day, at prices from 3 to 200.
    listed.push_back(share("SH", std::to_string(600000 + i), std::round(3 * std::pow(1.043, i) * 100) / 100,
                           2e7 * std::pow(10, (i * 37 % 100) / 50.0)));
  }
  CExchange exchange(listed, settings(11));
  CListener listener(exchange);
  exchange.advanceTo(MORNING_BEGINS);
  double ordered = 0;
  for (int i = 0; i < 100; ++i) {
    const SQuote quote = exchange.quote(i);
    const double price = i % 2 ? quote.m_dBid : quote.m_dAsk;
    const int quantity = static_cast<int>(1e6 / price / 100) * 100;
    exchange.submit(limitOrder(static_cast<std::uint64_t>(i) + 1, i, i % 2 == 0, price, quantity));
    ordered += quantity * price;
  }
  const auto traded = [&listener] {
    double amount = 0;
    for (const SReport& heard : listener.heard()) amount += heard.m_dAmount;
    return amount;
  };
  exchange.advanceTo(MORNING_BEGINS + 1000);
  EXPECT_LT(traded(), 0.9 * ordered) << "there is something to watch";
  exchange.advanceTo(clockTime(10, 0));
  EXPECT_GT(traded(), 0.85 * ordered);
}
