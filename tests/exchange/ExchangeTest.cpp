#include <gtest/gtest.h>

#include "Market.h"

using namespace markets;

namespace {

const std::vector<EReport> ACCEPTED{EReport::Accepted};

/// An exchange of the assortment, at a time, and what it reports.
struct SBench {
  explicit SBench(std::int64_t at, SExchangeSettings with = settings(1))
      : m_exchange(assortment(), with), m_listener(m_exchange) {
    m_exchange.advanceTo(at);
  }
  /// What the exchange says of an order that it refuses; nothing of one that it takes.
  std::string refusalOf(const SMarketOrder& order) {
    m_exchange.submit(order);
    m_exchange.advanceTo(m_exchange.now() + 100);
    const std::vector<EReport> kinds = m_listener.kinds(order.m_nId);
    std::string message = m_listener.message(order.m_nId);
    EXPECT_TRUE(!kinds.empty() && (kinds.back() == EReport::Rejected) == !message.empty()) << order.m_nId;
    return message;
  }
  int find(const char* market, const char* code) const { return m_exchange.findInstrument(market, code); }

  CExchange m_exchange;
  CListener m_listener;
};

}  // namespace

TEST(Exchange, RefusesWhatTheRulesForbidAndSaysWhy) {
  SBench bench(clockTime(10, 0));
  const int main = bench.find("SH", "600000");
  const int star = bench.find("SH", "688981");
  const int beijing = bench.find("BJ", "832982");
  struct SCase {
    SMarketOrder m_order;
    const char* m_pRefusal;
  };
  const std::vector<SCase> cases{
      {limitOrder(1, -1, true, 10, 100), "证券不存在"},
      {limitOrder(2, 10000, true, 10, 100), "证券不存在"},
      {limitOrder(3, main, true, 11.07, 100), "价格超出涨跌幅限制"},
      {limitOrder(4, main, false, 9.04, 100), "价格超出涨跌幅限制"},
      {limitOrder(5, main, true, 10.001, 100), "价格不是最小变动价位的整数倍"},
      {limitOrder(6, main, true, 10, 150), "数量不是整手"},
      {limitOrder(7, main, true, 10, 0), "委托数量必须大于零"},
      {limitOrder(8, main, false, 10, -100), "委托数量必须大于零"},
      {limitOrder(9, main, true, 10, 50), "数量低于最小申报数量"},
      {limitOrder(10, star, true, 88, 199), "数量低于最小申报数量"},
      {limitOrder(11, beijing, true, 370, 99), "数量低于最小申报数量"},
      {limitOrder(12, bench.find("CFFEX", "IF2612"), true, 4000.1, 1), "价格不是最小变动价位的整数倍"},
      {limitOrder(13, main, true, 11.06, 100), ""},
      {limitOrder(14, main, false, 9.05, 37), ""},
      {limitOrder(15, star, true, 88, 201), ""},
      {limitOrder(16, beijing, true, 370, 101), ""},
      {limitOrder(17, bench.find("CFFEX", "IF2612"), true, 4000.2, 1), ""},
      {limitOrder(17, main, true, 10, 100), "委托编号重复"},
  };
  for (const SCase& sent : cases) {
    EXPECT_EQ(bench.refusalOf(sent.m_order), sent.m_pRefusal) << sent.m_order.m_nId;
  }
}

TEST(Exchange, TakesOrdersOnlyInItsHours) {
  struct SCase {
    std::int64_t m_nAt;
    const char* m_pRefusal;
  };
  // An order needs 20 to 40 ms: what is sent at 14:59:59.990 comes too late.
  for (const SCase& sent : {SCase{clockTime(9, 20), "非交易时段"}, SCase{clockTime(9, 25), ""},
                            SCase{clockTime(11, 30), ""}, SCase{clockTime(12, 59), ""},
                            SCase{clockTime(15, 0) - 10, "非交易时段"}, SCase{clockTime(16, 0), "非交易时段"}}) {
    SBench bench(sent.m_nAt);
    EXPECT_EQ(bench.refusalOf(limitOrder(1, 0, true, 9.5, 100)), sent.m_pRefusal) << sent.m_nAt;
  }
  SMarketOrder market = limitOrder(1, 0, true, 0, 100);
  market.m_bMarketPrice = true;
  EXPECT_EQ(SBench(clockTime(12, 0)).refusalOf(market), "非连续交易时段不接受市价委托");
}

TEST(Exchange, OrdersWaitForTheSessionAndThenTradeInTheirOrder) {
  for (const auto& [sentAt, opensAt] :
       {std::pair(clockTime(9, 26), MORNING_BEGINS), {clockTime(12, 0), AFTERNOON_BEGINS}}) {
    SBench bench(sentAt);
    const double reach = bench.m_exchange.quote(0).m_dLimitUp;
    for (std::uint64_t id = 1; id <= 3; ++id) bench.m_exchange.submit(limitOrder(id, 0, true, reach, 100));
    bench.m_exchange.cancel(2);
    bench.m_exchange.advanceTo(opensAt - 1);
    EXPECT_EQ(bench.m_listener.kinds(1), ACCEPTED);
    EXPECT_EQ(bench.m_listener.kinds(2), (std::vector{EReport::Accepted, EReport::Cancelled}));
    bench.m_exchange.advanceTo(opensAt);
    EXPECT_EQ(bench.m_listener.kinds(1), (std::vector{EReport::Accepted, EReport::Filled}));
    EXPECT_EQ(bench.m_listener.kinds(3), (std::vector{EReport::Accepted, EReport::Filled}));
    EXPECT_EQ(bench.m_listener.filled(2), 0);
    EXPECT_EQ(bench.m_listener.heard().back().m_report.m_nId, 3u);
  }
}

TEST(Exchange, CancelsTakeTimeAndMayComeTooLate) {
  SBench bench(clockTime(10, 0));
  const SQuote quote = bench.m_exchange.quote(0);
  bench.m_exchange.submit(limitOrder(1, 0, true, quote.m_dLimitDown, 5000));  // far from any trade
  bench.m_exchange.submit(limitOrder(2, 0, true, quote.m_dLimitUp, 100));     // fills at once
  bench.m_exchange.cancel(1);
  bench.m_exchange.cancel(2);
  bench.m_exchange.cancel(99);
  EXPECT_TRUE(bench.m_listener.heard().empty()) << "nothing is reported while the clock stands";
  bench.m_exchange.advanceTo(clockTime(10, 0) + 19);
  EXPECT_TRUE(bench.m_listener.heard().empty()) << "everything needs 20 ms at least";
  bench.m_exchange.advanceTo(clockTime(10, 0) + 41);
  EXPECT_EQ(bench.m_listener.kinds(1), (std::vector{EReport::Accepted, EReport::Cancelled}));
  EXPECT_EQ(bench.m_listener.kinds(2), (std::vector{EReport::Accepted, EReport::Filled, EReport::CancelRejected}));
  EXPECT_EQ(bench.m_listener.message(2), "委托已全部成交");
  EXPECT_EQ(bench.m_listener.message(99), "委托不存在");
  const SReport& cancelled = bench.m_listener.heard().at(3).m_report;
  EXPECT_EQ(cancelled.m_nId, 1u);
  EXPECT_EQ(cancelled.m_nQuantity, 5000);
  EXPECT_EQ(cancelled.m_nLeft, 0);
}

TEST(Exchange, ALateCancelIsToldWhatBecameOfTheOrder) {
  SBench bench(clockTime(14, 59));
  const SQuote quote = bench.m_exchange.quote(0);
  bench.m_exchange.submit(limitOrder(1, 0, true, quote.m_dLimitUp, 100));
  bench.m_exchange.submit(limitOrder(2, 0, true, quote.m_dLimitDown, 100));
  bench.m_exchange.submit(limitOrder(3, 0, true, quote.m_dLimitDown, 150));
  bench.m_exchange.submit(limitOrder(4, 0, false, 0, 50000000));
  SMarketOrder market = limitOrder(5, 1, false, 0, 50000000);
  market.m_bMarketPrice = true;
  bench.m_exchange.submit(market);
  bench.m_exchange.submit(limitOrder(6, 0, true, quote.m_dLimitDown, 100));
  bench.m_exchange.cancel(2);
  bench.m_exchange.advanceTo(clockTime(15, 0));
  EXPECT_GT(bench.m_listener.filled(5), 0) << "a market price takes what is offered";
  const char* const texts[] = {
      "委托已全部成交",    "委托已撤销", "委托已被拒绝", "委托已被拒绝", "市价委托剩余部分已自动撤销",
      "委托已在收市时撤销"};
  for (std::uint64_t id = 1; id <= 6; ++id) {
    bench.m_exchange.cancel(id);
    bench.m_exchange.advanceTo(bench.m_exchange.now() + 100);
    EXPECT_EQ(bench.m_listener.kinds(id).back(), EReport::CancelRejected);
    EXPECT_EQ(bench.m_listener.message(id), texts[id - 1]) << id;
  }
}

TEST(Exchange, SuspendedInstrumentsHaveAQuoteAndNoTrade) {
  CExchange exchange({share("SH", "600001", 5, 0)}, settings(1));
  CListener listener(exchange);
  exchange.advanceTo(clockTime(10, 0));
  const SQuote quote = exchange.quote(0);
  EXPECT_EQ(quote.m_dLast, 5);
  EXPECT_EQ(quote.m_dBid, 0);
  EXPECT_EQ(quote.m_nVolume, 0);
  exchange.submit(limitOrder(1, 0, true, 5, 100));
  exchange.advanceTo(clockTime(10, 1));
  EXPECT_EQ(listener.message(1), "证券停牌");
}

TEST(Exchange, RefusesAsManyByChanceAsItIsTold) {
  constexpr int orders = 2000;
  SBench bench(clockTime(10, 0), settings(5, 0.1));
  for (int i = 1; i <= orders; ++i)
    bench.m_exchange.submit(limitOrder(static_cast<std::uint64_t>(i), 0, false, 11, 100));
  bench.m_exchange.advanceTo(clockTime(10, 1));
  int refused = 0;
  for (const SHeard& heard : bench.m_listener.heard()) refused += heard.m_report.m_kind == EReport::Rejected ? 1 : 0;
  EXPECT_NEAR(refused, orders * 0.1, 50);
}
