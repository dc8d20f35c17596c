#include <algorithm>
#include <set>

#include "Market.h"

using namespace markets;

namespace {

/// An exchange of the assortment, at a time, and what it reports.
struct SBench : CExchange, CListener {
  explicit SBench(std::int64_t at, SExchangeSettings with = settings(1))
      : CExchange(assortment(), with), CListener(static_cast<CExchange&>(*this)) {
    advanceTo(at);
  }
  /// What the exchange says of an order that it refuses; nothing of one that it takes.
  std::string refusalOf(const SMarketOrder& order) {
    submit(order);
    advanceTo(now() + 100);
    const std::string text = told(order.m_nId);
    const std::size_t message = text.find_first_not_of("arfcX");
    EXPECT_EQ(text.find('r') == std::string::npos, message == std::string::npos) << order.m_nId << ": " << text;
    EXPECT_NE(text, "") << order.m_nId;
    return message == std::string::npos ? "" : text.substr(message);
  }
};

}  // namespace

TEST(Exchange, RefusesWhatTheRulesForbidAndSaysWhy) {
  SBench bench(clockTime(12, 0));  // with the market in motion there would be other reasons, too
  const int main = bench.findInstrument("SH", "600000");
  const int star = bench.findInstrument("SH", "688981");
  const int chiNext = bench.findInstrument("SZ", "300750");
  const int beijing = bench.findInstrument("BJ", "832982");
  const int future = bench.findInstrument("CFFEX", "IF2612");
  const std::pair<SMarketOrder, const char*> cases[] = {
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
      {limitOrder(12, future, true, 4000.1, 1), "价格不是最小变动价位的整数倍"},
      {limitOrder(13, main, true, 11.06, 100), ""},
      {limitOrder(14, main, false, 9.05, 37), ""},
      {limitOrder(15, star, true, 88, 201), ""},
      {limitOrder(16, beijing, true, 370, 101), ""},
      {limitOrder(17, future, true, 4000.2, 1), ""},
      {limitOrder(17, main, true, 10, 100), "委托编号重复"},
      {limitOrder(18, main, true, 10, 1000000), ""},
      {limitOrder(19, main, false, 10, 1000001), "数量超过单笔最大申报数量"},
      {limitOrder(20, chiNext, true, 250, 300000), ""},
      {limitOrder(21, chiNext, true, 250, 300100), "数量超过单笔最大申报数量"},
      {limitOrder(22, star, false, 88, 100001), "数量超过单笔最大申报数量"},
      {marketOrder(23, star, true, 50001), "数量超过单笔最大申报数量"},
      {marketOrder(24, chiNext, true, 150100), "数量超过单笔最大申报数量"},
  };
  for (const auto& [order, refusal] : cases) EXPECT_EQ(bench.refusalOf(order), refusal) << order.m_nId;
}

TEST(Exchange, RefusesALimitFarBeyondTheBestPriceWhileTradingIsContinuous) {
  const char* const refusal = "限价超出有效申报价格范围";
  SBench bench(clockTime(10, 0));
  std::uint64_t id = 0;
  const auto told = [&](int instrument, bool buy, double percent) {
    const SRules& rules = bench.rules(instrument);
    const SQuote quote = bench.quote(instrument);
    const std::int64_t best = rules.toTicks(buy ? quote.m_dAsk : quote.m_dBid);
    const std::int64_t beyond = std::llround(percent / 100 * static_cast<double>(best));
    return bench.refusalOf(limitOrder(++id, instrument, buy, rules.toPrice(buy ? best + beyond : best - beyond), 100));
  };
  const int dear = bench.findInstrument("SH", "600519");
  const int beijing = bench.findInstrument("BJ", "832982");
  const int cheap = bench.findInstrument("SZ", "002024");
  for (const bool buy : {true, false}) {
    EXPECT_EQ(told(dear, buy, 1.8), "");
    EXPECT_EQ(told(dear, buy, 2.2), refusal);
    EXPECT_EQ(told(beijing, buy, 4.8), "");
    EXPECT_EQ(told(beijing, buy, 5.2), refusal);
    EXPECT_EQ(told(cheap, !buy, -3), "") << "far from any trade";
    EXPECT_EQ(told(bench.findInstrument("CFFEX", "IF2612"), buy, 5), "");
  }
  // Held against the best price that it could trade at, however far that is.
  const double far = bench.rules(dear).toPrice(bench.rules(dear).m_nLimitUp) - 50;
  EXPECT_EQ(bench.refusalOf(limitOrder(++id, dear, false, far, 100)), "");
  const SQuote swept = bench.quote(dear);
  bench.submit(limitOrder(++id, dear, true, std::round(swept.m_dAsk * 1.01), 1000000));
  bench.cancel(id);
  EXPECT_EQ(bench.refusalOf(limitOrder(++id, dear, true, far, 100)), "");
  EXPECT_TRUE(bench.told(id).starts_with("af"));
  const SRules penny = bench.rules(cheap);
  EXPECT_EQ(penny.bandFault(210, true, 200), nullptr) << "ten ticks, which are 5 %";
  EXPECT_STREQ(penny.bandFault(211, true, 200), refusal);
  EXPECT_EQ(penny.bandFault(190, false, 200), nullptr);
  EXPECT_STREQ(penny.bandFault(189, false, 200), refusal);
  EXPECT_EQ(penny.bandFault(1020, true, 1000), nullptr);
  EXPECT_STREQ(penny.bandFault(1021, true, 1000), refusal);
}

TEST(Exchange, TakesOrdersAndCancelsOnlyInTheirHours) {
  const char* const closed = "非交易时段";
  const char* const noCancel = "aX集合竞价此时段不接受撤单";
  // An order needs 20 to 40 ms: what is sent at 14:59:59.990 comes too late.
  const std::tuple<std::int64_t, const char*, const char*, const char*> cases[] = {
      {clockTime(9, 14), closed, "rX委托已被拒绝", "rX委托已被拒绝"},
      {clockTime(9, 15), "", "ac", "rX委托已被拒绝"},
      {clockTime(9, 20), "", noCancel, "rX委托已被拒绝"},
      {clockTime(9, 25), "", "ac", "ac"},
      {clockTime(9, 29), "", "ac", noCancel},
      {clockTime(9, 30), "", "ac", "ac"},
      {clockTime(11, 30), "", "ac", "ac"},
      {clockTime(14, 56), "", "ac", "ac"},
      {clockTime(14, 57), "", noCancel, "ac"},
      {clockTime(15, 0) - 10, closed, "rX委托已被拒绝", "rX委托已被拒绝"},
  };
  for (const auto& [at, refusal, ofShare, ofFuture] : cases) {
    SBench bench(at);
    const int future = bench.findInstrument("CFFEX", "IF2612");
    EXPECT_EQ(bench.refusalOf(limitOrder(1, 0, true, 9.5, 100)), refusal) << at;
    bench.submit(limitOrder(2, future, true, bench.quote(future).m_dLimitDown, 1));
    for (const std::uint64_t id : {1, 2}) bench.cancel(id);
    bench.advanceTo(at + 200);
    EXPECT_EQ(bench.told(1), ofShare) << at;
    EXPECT_EQ(bench.told(2), ofFuture) << at;
  }
  for (const auto& [hours, minutes] : {std::pair(9, 18), {12, 0}, {14, 58}}) {
    EXPECT_EQ(SBench(clockTime(hours, minutes)).refusalOf(marketOrder(1, 0, true, 100)),
              "非连续交易时段不接受市价委托");
  }
}

TEST(Exchange, OrdersWaitForTheSessionAndThenTradeInTheirOrder) {
  for (const auto& [sentAt, opensAt] :
       {std::pair(clockTime(9, 26), MORNING_BEGINS), {clockTime(12, 0), AFTERNOON_BEGINS}}) {
    SBench bench(sentAt);
    for (std::uint64_t id = 1; id <= 3; ++id) bench.submit(limitOrder(id, 0, true, bench.quote(0).m_dLimitUp, 100));
    bench.cancel(2);
    bench.advanceTo(opensAt - 1);
    EXPECT_EQ(bench.told(1), "a");
    EXPECT_EQ(bench.told(2), "ac");
    bench.advanceTo(opensAt);
    for (std::uint64_t id = 1; id <= 3; ++id) EXPECT_EQ(bench.told(id), id == 2 ? "ac" : "af");
    EXPECT_EQ(bench.heard().back().m_nId, 3u);
  }
}

TEST(Exchange, CancelsTakeTimeAndMayComeTooLate) {
  SBench bench(clockTime(10, 0));
  const SQuote quote = bench.quote(0);
  bench.submit(limitOrder(1, 0, true, quote.m_dLimitDown, 5000));  // far from any trade
  bench.submit(limitOrder(2, 0, true, quote.m_dAsk + 0.05, 100));  // fills at once
  for (const std::uint64_t id : {1, 2, 99}) bench.cancel(id);
  EXPECT_TRUE(bench.heard().empty()) << "nothing is reported while the clock stands";
  bench.advanceTo(clockTime(10, 0) + 19);
  EXPECT_TRUE(bench.heard().empty()) << "everything needs 20 ms at least";
  bench.advanceTo(clockTime(10, 0) + 41);
  EXPECT_EQ(bench.told(1), "ac");
  EXPECT_EQ(bench.told(2), "afX委托已全部成交");
  EXPECT_EQ(bench.told(99), "X委托不存在");
  const auto cancelled = std::find_if(bench.heard().begin(), bench.heard().end(),
                                      [](const SReport& report) { return report.m_kind == EReport::Cancelled; });
  EXPECT_EQ(std::tuple(cancelled->m_nId, cancelled->m_nQuantity, cancelled->m_nLeft), std::tuple(1u, 5000, 0));
}

/// Of two courses of a day the one has more orders, and other numbers for the same ones.
TEST(Exchange, AnOrdersLuckIsItsOwnOnEveryCourseOfADay) {
  const auto courseOf = [](bool more) {
    SBench bench(clockTime(10, 0), settings(5, 0.3));
    std::vector<std::string> course;
    for (int i = 0; i < 60; ++i) {
      const auto id = static_cast<std::uint64_t>(1000 * more + 2 * i + 1);
      for (int extra = 0; more && extra < 3; ++extra) bench.submit(limitOrder(9000 + 3 * id + extra, 1, true, 1, 100));
      SMarketOrder order = limitOrder(id, 0, true, bench.quote(0).m_dLimitDown, 100);
      order.m_nLuck = static_cast<std::uint64_t>(i) + 1;
      bench.submit(order);
      bench.cancel(id);
      const std::size_t heard = bench.heard().size();
      bench.advanceTo(bench.now() + 1000);
      std::string& told = course.emplace_back(bench.told(id));
      for (std::size_t at = heard; at < bench.heard().size(); ++at) {
        if (bench.heard()[at].m_nId == id) told += " " + std::to_string(bench.heard()[at].m_nTime % 1000);
      }
    }
    return course;
  };
  const std::vector<std::string> alone = courseOf(false);
  EXPECT_EQ(courseOf(true), alone);
  EXPECT_GT(std::set(alone.begin(), alone.end()).size(), 20u) << "chance draws";
}

TEST(Exchange, ALateCancelIsToldWhatBecameOfTheOrder) {
  SBench bench(clockTime(14, 56));
  const SQuote quote = bench.quote(0);
  for (const SMarketOrder& order :
       {limitOrder(1, 0, true, quote.m_dAsk + 0.05, 100), limitOrder(2, 0, true, quote.m_dLimitDown, 100),
        limitOrder(3, 0, true, quote.m_dLimitDown, 150), limitOrder(4, 0, false, 0, 50000000),
        marketOrder(5, 1, false, 1000000), limitOrder(6, 0, true, quote.m_dLimitDown, 100)}) {
    bench.submit(order);
  }
  bench.cancel(2);
  bench.advanceTo(clockTime(15, 0));
  EXPECT_EQ(bench.told(5).substr(0, 2), "af") << "a market price takes what is offered";
  std::uint64_t id = 0;
  for (const char* text : {"X委托已全部成交", "X委托已撤销", "X委托已被拒绝", "X委托已被拒绝",
                           "X市价委托剩余部分已自动撤销", "X委托已在收市时撤销"}) {
    bench.cancel(++id);
    bench.advanceTo(bench.now() + 100);
    EXPECT_TRUE(bench.told(id).ends_with(text)) << id << ": " << bench.told(id);
  }
}

TEST(Exchange, SuspendedInstrumentsHaveAQuoteAndNoTrade) {
  CExchange exchange({share("SH", "600001", 5, 0)}, settings(1));
  CListener listener(exchange);
  exchange.advanceTo(clockTime(10, 0));
  const SQuote quote = exchange.quote(0);
  EXPECT_EQ(std::tuple(quote.m_dLast, quote.m_dBid, quote.m_nVolume), std::tuple(5, 0, 0));
  exchange.submit(limitOrder(1, 0, true, 5, 100));
  exchange.advanceTo(clockTime(10, 1));
  EXPECT_EQ(listener.told(1), "r证券停牌");
}

TEST(Exchange, RefusesAsManyByChanceAsItIsTold) {
  constexpr std::uint64_t orders = 2000;
  SBench bench(clockTime(10, 0), settings(5, 0.1));
  for (std::uint64_t id = 1; id <= orders; ++id) bench.submit(limitOrder(id, 0, false, 11, 100));
  bench.advanceTo(clockTime(10, 1));
  int refused = 0;
  for (const SReport& heard : bench.heard()) refused += heard.m_kind == EReport::Rejected ? 1 : 0;
  EXPECT_NEAR(refused, orders * 0.1, 50);
}

TEST(Rules, PriceLimitsFollowMarketBoardAndName) {
  const std::tuple<SInstrument, double, double> cases[] = {
      {share("SH", "600000", 10.05, 1e8), 11.06, 9.05},  // 11.055 and 9.045: half goes up
      {share("SZ", "002024", 1.91, 1e8, "*ST样本"), 2.01, 1.81},
      {share("SZ", "300750", 10.05, 1e8), 12.06, 8.04},
      {share("SZ", "301001", 10.05, 1e8, "ST样本"), 12.06, 8.04},  // ST changes nothing on a 20 % board
      {share("SZ", "302132", 10.05, 1e8), 12.06, 8.04},
      {share("SZ", "688981", 10.05, 1e8), 11.06, 9.05},  // of another market
      {share("SH", "688981", 10.05, 1e8), 12.06, 8.04},
      {share("SH", "689009", 10.05, 1e8), 12.06, 8.04},
      {share("BJ", "832982", 10.05, 1e8, "ST样本"), 13.07, 7.04},  // 13.065 and 7.035
      {share("SZ", "000300", 10.00, 1e8), 11.00, 9.00},            // 300 counts at the front only
      {share("SH", "600001", 0.03, 1e8), 0.04, 0.02},              // never less than a tick
  };
  for (const auto& [instrument, up, down] : cases) {
    const SRules rules = rulesOf(instrument);
    EXPECT_EQ(rules.toPrice(rules.m_nLimitUp), up) << instrument.m_strCode;
    EXPECT_EQ(rules.toPrice(rules.m_nLimitDown), down) << instrument.m_strCode;
  }
}

TEST(Rules, WhatOneOrderDoesNotTakeGoesOutInMore) {
  const auto orders = [](const char* market, const char* code, int quantity, bool buy, bool marketPrice = false) {
    const SRules rules = rulesOf(share(market, code, 10, 1e8));
    std::vector<int> sent;
    for (int left = quantity; left > 0; left -= sent.back()) {
      sent.push_back(rules.inOneOrder(left, buy, marketPrice));
    }
    return sent;
  };
  using Orders = std::vector<int>;
  EXPECT_EQ(orders("SH", "600000", 1000000, true), Orders{1000000});
  EXPECT_EQ(orders("SH", "600000", 2500000, true), (Orders{1000000, 1000000, 500000}));
  EXPECT_EQ(orders("SH", "600000", 1000050, true), (Orders{1000000, 50})) << "which cannot be bought anyhow";
  EXPECT_EQ(orders("SH", "600000", 1000050, false), (Orders{1000000, 50}));
  EXPECT_EQ(orders("SH", "688981", 100150, true), (Orders{99950, 200})) << "150 could not be bought";
  EXPECT_EQ(orders("SH", "688981", 100150, false), (Orders{100000, 150}));
  EXPECT_EQ(orders("SZ", "300750", 400000, true, true), (Orders{150000, 150000, 100000}));
  EXPECT_EQ(orders("BJ", "920002", 1000099, true), (Orders{999999, 100}));
}

TEST(Rules, PricesAreWholeTicks) {
  const SRules shares = rulesOf(share("SH", "600000", 10, 1e8));
  EXPECT_EQ(shares.toTicks(10.05), 1005);
  EXPECT_EQ(shares.toTicks(0.1 + 0.2), 30);
  EXPECT_EQ(shares.toTicks(10.055), -1);
  for (const double nonsense : {0.0, -1.0, std::nan(""), 1e300, HUGE_VAL}) EXPECT_EQ(shares.toTicks(nonsense), -1);
  const SRules futures = rulesOf({"CFFEX", "IF2612", "", 4000, 0, 1e5, EKind::IndexFuture});
  EXPECT_EQ(futures.toTicks(4000.2), 20001);
  EXPECT_EQ(futures.toTicks(4000.3), -1);
  EXPECT_EQ(futures.toPrice(20001), 4000.2);
  EXPECT_EQ(futures.toPrice(futures.m_nLimitUp), 4400);
}

TEST(IndexFutures, ListFourMonthsAroundTheThirdFriday) {
  const std::pair<SDate, const char*> cases[] = {
      {{2026, 11, 20}, "IF2611 IF2612 IF2703 IF2706 "},  // the third Friday itself still trades
      {{2026, 11, 23}, "IF2612 IF2701 IF2703 IF2706 "}, {{2026, 12, 1}, "IF2612 IF2701 IF2703 IF2706 "},
      {{2026, 12, 21}, "IF2701 IF2702 IF2703 IF2706 "}, {{2027, 2, 22}, "IF2703 IF2704 IF2706 IF2709 "},
  };
  for (const auto& [date, codes] : cases) {
    const auto futures = listedIndexFutures(date);
    ASSERT_EQ(futures.size(), 16u);
    std::string found;
    for (std::size_t i = 0; i < 4; ++i) found += futures[i].m_strCode + " ";
    EXPECT_EQ(found, codes);
  }
}

TEST(IndexFutures, TakeTheirReferenceFromTheListAndAreAlwaysThere) {
  CExchange exchange({{"CFFEX", "IC", "", 7000, 0, 1000, EKind::IndexFuture},
                      {"CFFEX", "IM2612", "", 7000, 0, 1000, EKind::IndexFuture, 200}},
                     settings(1));
  EXPECT_EQ(exchange.instruments().size(), 16u);
  EXPECT_EQ(exchange.findInstrument("CFFEX", "IC"), -1);
  EXPECT_EQ(exchange.findInstrument("SH", "IC2612"), -1);
  const int listed = exchange.findInstrument("CFFEX", "IC2612");
  ASSERT_GE(listed, 0);
  EXPECT_EQ(exchange.quote(listed).m_dPrevClose, 7000);
  EXPECT_EQ(exchange.instruments()[static_cast<std::size_t>(listed)].m_nMultiplier, 200);
  EXPECT_EQ(exchange.quote(exchange.findInstrument("CFFEX", "IM2612")).m_dPrevClose, 7000);
  EXPECT_EQ(futureMultiplier("IF2701"), 300);
  EXPECT_EQ(futureMultiplier("XX2701"), 0);
}

TEST(Dates, AreTheExchangesOwn) {
  EXPECT_EQ(dayStartOf({1970, 1, 1}), -8 * 3600);
  EXPECT_EQ(dayStartOf(MONDAY), 1795363200);
  const auto& [year, month, day] = dateOf(dayStartOf({2028, 2, 29}) + 86399);
  EXPECT_EQ(std::tuple(year, month, day), std::tuple(2028, 2u, 29u));
}

TEST(Sessions, BeginWithTheirFirstMillisecond) {
  for (const EKind kind : {EKind::Share, EKind::IndexFuture}) {
    EPhase before = EPhase::BeforeOpen;
    for (const SPhaseBegin& begin : dayOf(kind)) {
      EXPECT_EQ(phaseAt(kind, begin.m_nTime - 1), before);
      EXPECT_EQ(phaseAt(kind, begin.m_nTime), begin.m_phase);
      before = begin.m_phase;
    }
  }
  EXPECT_EQ(auctionOf(EKind::Share, EAuction::Opening).m_nEnd, clockTime(9, 25));
  EXPECT_EQ(auctionOf(EKind::Share, EAuction::Closing).m_nBegin, clockTime(14, 57));
  EXPECT_EQ(auctionOf(EKind::IndexFuture, EAuction::Opening).m_nEnd, clockTime(9, 30));
  EXPECT_EQ(auctionOf(EKind::IndexFuture, EAuction::Closing).m_nEnd, 0);
  EXPECT_EQ(clockOfTradingTime(continuousEnd(EKind::Share)), clockTime(14, 57));
  EXPECT_EQ(continuousEnd(EKind::IndexFuture), TRADING_TIME);
  constexpr std::int64_t morning = MORNING_ENDS - MORNING_BEGINS;
  EXPECT_EQ(clockOfTradingTime(morning - 1), MORNING_ENDS - 1);
  EXPECT_EQ(clockOfTradingTime(morning), AFTERNOON_BEGINS);
  EXPECT_EQ(tradingTime(MORNING_BEGINS - 1), 0);
  EXPECT_EQ(tradingTime(DAY_CLOSES + 1), TRADING_TIME);
}
