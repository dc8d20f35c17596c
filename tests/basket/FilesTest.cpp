#include "BasketFiles.h"

#include <algorithm>

#include "CExchange.h"
#include "TestFile.h"

using namespace basket;

namespace {

/// Knows what an exchange lists of these instruments, and the index futures that it always lists.
auto listingOf(const std::vector<exchange::SInstrument>& instruments) {
  exchange::SExchangeSettings settings;
  settings.m_nDayStart = exchange::dayStartOf({2026, 11, 23});
  const auto market = std::make_shared<exchange::CExchange>(instruments, settings);
  return [market](std::string_view where, std::string_view code) { return market->findInstrument(where, code) >= 0; };
}

const auto isListed = listingOf({{"SH", "600000", "浦发银行", 10, 0, 1000}, {"SZ", "000001", "平安银行", 11, 0, 1000}});

}  // namespace

TEST(BasketFile, TakesEverySpellingOfItsColumns) {
  const CTestFile file(
      "权重(%),方向,数量,名称,代码,市场\n"
      "1,买入,100,浦发银行,600000,SH\n"
      "2,SELL,1000000000,,000001,深圳\n"
      ",b,1,期指,IF2612,cffex\n"
      ",S,007,,600000,上海\n");  // the other side of the first line
  const SBasketFile basket = readBasketFile(file.path(), isListed);
  ASSERT_TRUE(basket.isGood()) << basket.m_faults.front().toString();
  Texts lines;
  for (const SBasketLine& line : basket.m_lines) {
    lines.push_back(std::to_string(line.m_nLine) + (line.m_bBuy ? " buy " : " sell ") +
                    std::to_string(line.m_nQuantity) + " " + line.m_strMarket + "." + line.m_strCode + " " +
                    line.m_strName);
  }
  EXPECT_EQ(lines, (Texts{"2 buy 100 SH.600000 浦发银行", "3 sell 1000000000 SZ.000001 ", "4 buy 1 CFFEX.IF2612 期指",
                          "5 sell 7 SH.600000 "}));
  const CTestFile unlisted("market,code,side,quantity\nSH,600001,buy,100\n");
  EXPECT_TRUE(readBasketFile(unlisted.path()).isGood()) << "without a list of instruments";
}

TEST(BasketFile, NamesEveryFaultAndTradesNothing) {
  const std::pair<std::string, Texts> cases[] = {
      {"", {"F: no line in the basket"}},
      {"XX,600000,买入,100\n", {"F:2: unknown market \"XX\""}},
      {",600000,买入,100\n", {"F:2: unknown market \"\""}},
      {"SH,600001,买入,100\n", {"F:2: the market SH lists no instrument 600001"}},
      {"SH,000001,买入,100\n", {"F:2: the market SH lists no instrument 000001, the market SZ does"}},
      {"SZ,1,买入,100\n", {"F:2: the code \"1\" has not six digits (were leading zeros lost?)"}},
      {"SZ,AAPL,买入,100\n", {"F:2: the code \"AAPL\" has not six digits"}},
      {"CFFEX,XX2612,买入,1\n", {"F:2: the code \"XX2612\" is no index future's (like IF2612)"}},
      {"CFFEX,IF2611,买入,1\n", {"F:2: the market CFFEX lists no instrument IF2611"}},
      {"SH,600001,买入,1\nSH,600002,买入,1\nSH,600003,买入,1\nSH,600004,买入,1\nSH,600005,买入,1\nSH,600006,买入,1\n"
       "SH,600007,买入,0\n",
       {"F:2: the market SH lists no instrument 600001", "F:3: the market SH lists no instrument 600002",
        "F:4: the market SH lists no instrument 600003", "F:5: the market SH lists no instrument 600004",
        "F:6: the market SH lists no instrument 600005",
        "F:7: from here on, lines of instruments that are not listed: 2", "F:8: the quantity is 0"}},
      {"SH,600000,hold,100\n", {"F:2: unknown side \"hold\": it is 买入 or 卖出"}},
      {"SH,600000,买入,0\n", {"F:2: the quantity is 0"}},
      {"SH,600000,买入,-100\n", {"F:2: the quantity \"-100\" is no whole number above 0"}},
      {"SH,600000,买入,1.5\n", {"F:2: the quantity \"1.5\" is no whole number above 0"}},
      {"SH,600000,买入,\"1,000\"\n", {"F:2: the quantity \"1,000\" is no whole number above 0"}},
      {"SH,600000,买入,\n", {"F:2: the quantity \"\" is no whole number above 0"}},
      {"SH,600000,买入,1000000001\n", {"F:2: the quantity 1000000001 is above 1000000000"}},
      {"SH,600000,买入,99999999999999999999\n",
       {"F:2: the quantity \"99999999999999999999\" is no whole number above 0"}},
      {"SH,600000,买入,100\nSZ,000001,买入,100\nsh,600000,B,200\n",
       {"F:4: SH 600000 stands in line 2 already, with the same side"}},
      // All of them at once, good lines between.
      {"SH,600000,买入,100\nXX,1,hold,0\nSZ,000001,买入\nSZ,000001,卖出,100\n",
       {"F:3: unknown market \"XX\"", "F:3: unknown side \"hold\": it is 买入 or 卖出", "F:3: the quantity is 0",
        "F:4: 3 fields where the header has 4"}},
  };
  for (const auto& [rows, faults] : cases) {
    const CTestFile file("市场,代码,方向,数量\n" + rows);
    const SBasketFile basket = readBasketFile(file.path(), isListed);
    EXPECT_EQ(file.told(basket.m_faults), faults) << rows;
    EXPECT_TRUE(basket.m_lines.empty()) << "a faulty basket has no line to trade";
  }
}

TEST(InstrumentFile, ReadsFiguresAndFillsInWhatIsKnownOfAKind) {
  const CTestFile file(
      "市场,代码,名称,最新价,昨收,成交量\n"
      "SH,600000,浦发银行,10.5,10.4,1000\n"
      "SZ,000001,平安银行,11.5,,\n"
      "CFFEX,IC2612,中证,0,6000.2,30\n");
  const SInstrumentFile read = readInstrumentFile(file.path());
  ASSERT_TRUE(read.isGood()) << read.m_faults.front().toString();
  ASSERT_EQ(read.m_instruments.size(), 3u);
  EXPECT_EQ(read.m_instruments[0].m_dPrevClose, 10.4);
  EXPECT_EQ(read.m_instruments[0].m_dLast, 10.5);
  EXPECT_EQ(read.m_instruments[0].m_dVolume, 1000);
  EXPECT_EQ(read.m_instruments[1].m_dPrevClose, 11.5) << "the last price stands in for a missing close";
  EXPECT_EQ(read.m_instruments[2].m_nMultiplier, 200);
  EXPECT_EQ(read.m_instruments[2].m_kind, exchange::EKind::IndexFuture);
}

TEST(InstrumentFile, NamesEveryFault) {
  const CTestFile file(
      "market,code,name,prevClose,volume\n"
      "SH,600000,浦发银行,10,1000\n"
      "HK,00700,腾讯,10,1000\n"
      "SH,60000,x,10,1000\n"
      "SH,600000,浦发银行,10,1000\n"
      "SH,600001,,10,1000\n"
      "SH,600002,x,0,1000\n"
      "SH,600003,x,ten,1e5\n"
      "SH,600004,x,10,-5\n"
      "SH,600005,x,99999999999999,5\n");
  const SInstrumentFile read = readInstrumentFile(file.path());
  EXPECT_TRUE(read.m_instruments.empty());
  EXPECT_EQ(
      file.told(read.m_faults),
      (Texts{"F:3: unknown market \"HK\"", "F:4: the code \"60000\" has not six digits (were leading zeros lost?)",
             "F:5: SH 600000 stands in line 2 already", "F:6: the name is empty", "F:7: no previous close above 0",
             "F:8: prevClose \"ten\" is no number", "F:8: volume \"1e5\" is no number",
             "F:8: no previous close above 0", "F:9: volume \"-5\" is no number",
             "F:10: prevClose \"99999999999999\" is too large", "F:10: no previous close above 0"}));
}

TEST(Samples, AreGoodAndFitEachOther) {
  const SInstrumentFile read = readInstrumentFile(PBT_SOURCE_DIR "/data/instruments.csv");
  ASSERT_TRUE(read.isGood()) << read.m_faults.front().toString();
  EXPECT_GE(read.m_instruments.size(), 324u);  // 320 shares and the four kinds of futures
  for (const auto& [name, size] : {std::pair("basket50.csv", 50), {"basket300.csv", 300}}) {
    const SBasketFile basket =
        readBasketFile(std::string(PBT_SOURCE_DIR "/data/baskets/") + name, listingOf(read.m_instruments));
    ASSERT_TRUE(basket.isGood()) << basket.m_faults.front().toString();
    EXPECT_EQ(std::ssize(basket.m_lines), size);
    const auto buys = std::ranges::count(basket.m_lines, true, &SBasketLine::m_bBuy);
    EXPECT_GT(buys, size / 2);
    EXPECT_LT(buys, size);
  }
}
