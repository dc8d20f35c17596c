#include "Market.h"

using namespace markets;

TEST(Rules, PriceLimitsFollowMarketBoardAndName) {
  const std::tuple<SInstrument, double, double> cases[] = {
      {share("SH", "600000", 10.05, 1e8), 11.06, 9.05},  // 11.055 and 9.045: half goes up
      {share("SZ", "002024", 1.91, 1e8, "*ST样本"), 2.01, 1.81},
      {share("SZ", "300750", 10.05, 1e8), 12.06, 8.04},
      {share("SZ", "301001", 10.05, 1e8, "ST样本"), 12.06, 8.04},  // ST changes nothing on a 20 % board
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
  const std::map<std::int64_t, EPhase> begins{{DAY_OPENS, EPhase::Waiting},
                                              {MORNING_BEGINS, EPhase::Morning},
                                              {MORNING_ENDS, EPhase::Lunch},
                                              {AFTERNOON_BEGINS, EPhase::Afternoon},
                                              {DAY_CLOSES, EPhase::Closed}};
  EPhase before = EPhase::BeforeOpen;
  for (const auto& [at, phase] : begins) {
    EXPECT_EQ(phaseAt(at - 1), before);
    EXPECT_EQ(phaseAt(at), phase);
    before = phase;
  }
  constexpr std::int64_t morning = MORNING_ENDS - MORNING_BEGINS;
  EXPECT_EQ(clockOfTradingTime(morning - 1), MORNING_ENDS - 1);
  EXPECT_EQ(clockOfTradingTime(morning), AFTERNOON_BEGINS);
  EXPECT_EQ(tradingTime(MORNING_BEGINS - 1), 0);
  EXPECT_EQ(tradingTime(DAY_CLOSES + 1), TRADING_TIME);
}
