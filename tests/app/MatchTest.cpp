// A kept day held against what a broker and a market say of it.
#include <sstream>

#include "DayMatch.h"
#include "TerminalRun.h"

namespace {

using app::SMatchOrder;

SMatchOrder order(const char* key, const char* account, const char* code, bool buy,
                  std::vector<app::SMatchFill> fills) {
  return {key, account,         account[1] == '1' ? "1001" : "1002", code[0] == '6' ? "SH" : "SZ", code, buy,
          1,   std::move(fills)};
}

std::vector<SMatchOrder> someDay() {
  return {order("1-1-1", "A1", "600000", true, {{300, 3000}, {200, 2002}}),
          order("1-1-2", "A1", "000001", false, {{100, 1250}}), order("1-2-1", "A2", "600000", true, {{500, 5005}}),
          order("1-2-2", "A2", "600519", true, {}),
          // Two that are the same.
          order("1-2-3", "A2", "000858", true, {{400, 40000}}), order("1-2-4", "A2", "000858", true, {{400, 40000}})};
}

class Match : public Terminal {
 protected:
  static std::pair<bool, std::string> match(const char* text, const std::vector<SMatchOrder>& day = someDay()) {
    writeFile("broker.csv", text);
    const app::SBrokerFile file = app::readBrokerFile("broker.csv");
    EXPECT_EQ(file.m_strFault, "");
    std::ostringstream out;
    const bool same = app::matchDay(day, file, out);
    return {same, out.str()};
  }
  static std::string faultOf(const char* text) {
    writeFile("broker.csv", text);
    return app::readBrokerFile("broker.csv").m_strFault;
  }
};

}  // namespace

TEST_F(Match, FilesThatSayTheSameAgreeWhateverTheirForm) {
  // Orders with averages, accounts by their shown names, a total; lost zeros; an order that traded nothing.
  auto [same, text] = match(
      "资金账号,证券代码,买卖方向,成交数量,成交均价\n1001,600000,买入,500,10.004\n1001,1,卖出,100,12.5\n1002,600000,"
      "证券买入,500,"
      "10.01\n1002,600519,买入,0,0\n1002,858,买入,400,100\n1002,858,买入,400,100\n合计,,,1900,\n");
  EXPECT_TRUE(same) << text;
  EXPECT_NE(text.find("left out of the file: 2"), std::string::npos) << text;
  // Fills, in another order, by order numbers.
  std::tie(same, text) = match(
      "Order ID\tSymbol\tSide\tFilled "
      "Qty\tPrice\tAmount\n1-2-1\t600000.SH\tB\t500\t10.01\t5005\n1-1-1\tSH600000\tB\t200\t10.01\t2002\n"
      "1-1-1\tSH600000\tB\t300\t10\t3000\n1-1-2\t000001.SZ\tS\t100\t12.5\t1250\n1-2-3\t000858\tB\t400\t100\t40000\n1-2-"
      "4\t000858\tB\t400\t100\t40000\n");
  EXPECT_TRUE(same) << text;
  EXPECT_NE(text.find("matched by order numbers"), std::string::npos);
  // Fills without numbers.
  std::tie(same, text) = match(
      "account,code,side,volume,price\nA1,600000,buy,300,10\nA1,600000,buy,200,10.01\nA1,000001,sell,100,12.5\n"
      "A2,600000,buy,500,10.01\nA2,000858,buy,400,100\nA2,000858,buy,400,100\n");
  EXPECT_TRUE(same) << text;
}

TEST_F(Match, WhatDiffersIsGroupedByWhatItIs) {
  const auto [same, text] = match(
      "account,code,side,volume,amount\n1001,600000,buy,500,5002\n1001,000001,sell,200,2500\n1002,600000,buy,500,5105\n"
      "1002,000858,buy,400,40000\n1002,000002,buy,100,900\n");
  EXPECT_FALSE(same);
  for (const char* expected :
       {"quantity: 1\n  order 1-1-2: A1 SZ.000001 sell 100 at 12.5000; line 3: A1 000001 sell 200 at 12.5000\n",
        "price: 1\n  order 1-2-1: A2 SH.600000 buy 500 at 10.0100; line 4: A2 600000 buy 500 at 10.2100\n",
        "missing here: 1\n  line 6: A2 000002 buy 100 at 9.0000\n",
        "missing there: 1\n  order 1-2-4: A2 SZ.000858 buy 400 at 100.0000\n", "here: 5 items, 1900 traded",
        "there: 5 items, 1700 traded"}) {
    EXPECT_NE(text.find(expected), std::string::npos) << expected << "\n" << text;
  }
  // By numbers: a number of another line is no match.
  const auto [other, told] =
      match("委托编号,代码,方向,成交数量,成交价格\n1-1-1,000001,买入,500,10.004\n9-9-9,600000,买入,1,10\n");
  EXPECT_FALSE(other);
  EXPECT_NE(told.find("another line"), std::string::npos) << told;
  EXPECT_NE(told.find("missing there: 4"), std::string::npos) << told;
}

TEST_F(Match, AFillThatIsBookedWronglyIsFound) {
  const char* const titles = "order id,code,side,quantity,amount\n";
  const std::string right =
      "1-1-2,000001,S,100,1250\n1-2-1,600000,B,500,5005\n1-2-3,000858,B,400,40000\n"
      "1-2-4,000858,B,400,40000\n";
  const auto matched = [&](const std::string& fills) { return match((titles + right + fills).c_str()); };
  EXPECT_TRUE(matched("1-1-1,600000,B,300,3000\n1-1-1,600000,B,200,2002\n").first);
  // On another line, though the order's first fill is right; a cent a share cheaper; taken back.
  auto [same, text] = matched("1-1-1,600000,B,300,3000\n1-1-1,600519,S,200,2002\n");
  EXPECT_FALSE(same);
  EXPECT_NE(text.find("line 7: 600519 sell 200 at 10.0100, which is another line of order 1-1-1"), std::string::npos)
      << text;
  EXPECT_NE(text.find("quantity: 1\n"), std::string::npos) << text;
  std::tie(same, text) = matched("1-1-1,600000,B,300,3000\n1-1-1,600000,B,200,2000\n");
  EXPECT_FALSE(same);
  EXPECT_NE(text.find("price: 1\n"), std::string::npos) << text;
  std::tie(same, text) = matched("1-1-1,600000,B,500,5002\n1-1-1,600000,B,-200,-2002\n");
  EXPECT_FALSE(same);
  EXPECT_NE(text.find("quantity: 1\n"), std::string::npos) << text;
  // Who writes what he sold below zero, and what he paid, means the same.
  EXPECT_TRUE(match("order id,code,side,quantity,amount\n1-1-1,600000,B,500,-5002\n1-1-2,000001,S,-100,1250\n"
                    "1-2-1,600000,B,500,-5005\n1-2-3,000858,B,400,-40000\n1-2-4,000858,B,400,-40000\n")
                  .first);
}

TEST_F(Match, TitlesAndAccountsOfRealFiles) {
  // A market knows its own accounts; what was withdrawn traded nothing.
  const auto [same, text] = match(
      "股东姓名,股东账号,委托编号,证券代码,买卖标志,委托数量,已成数量,已成金额,已成均价\n"
      "张三,A123456789,1-1-1,600000,买入,900,500,5002,10.004\n张三,A123456789,1-1-2,000001,卖出,100,100,1250,12.5\n"
      "张三,B123,1-2-1,600000,买入,500,500,5005,10.01\n张三,B123,1-2-3,000858,买入,400,400,40000,100\n"
      "张三,B123,1-2-4,000858,买入,400,400,40000,100\n张三,B123,1-2-2,600519,撤单,100,0,0,0\n");
  EXPECT_TRUE(same) << text;
  EXPECT_NE(text.find("accounts that are none of the day's, and were not compared: A123456789 B123"), std::string::npos)
      << text;
  EXPECT_EQ(faultOf("code,side,volume,price\n600000,buy,200手,10\n"),
            "broker.csv:2: column \"volume\": cannot read '200手'");
}

TEST_F(Match, WhatCannotBeReadIsNamed) {
  EXPECT_EQ(faultOf("code,side,volume,price\n600000,buy,1x0,10\n"),
            "broker.csv:2: column \"volume\": cannot read '1x0'");
  EXPECT_EQ(faultOf("code,side,volume,price\n600000,buy,10,10\n600000,perhaps,10,10\n"),
            "broker.csv:3: column \"side\": cannot read 'perhaps'");
  EXPECT_EQ(faultOf("code,volume\n600000,10\n"),
            "broker.csv: has no row of titles with code, side, volume, and price or amount");
  EXPECT_NE(app::readBrokerFile("none.csv").m_strFault, "");
}

TEST_F(Match, ADayAgreesWithWhatItsOwnFillsSay) {
  writeFile("basket.csv", "side,code,quantity\n买入,600000,20000\n卖出,600009,12000\n买入,000001,30000\n");
  ASSERT_EQ(runTerminal({"--headless", "--basket", "basket.csv", "--hedge", "IF2612:1.0", "--accounts", "2", "--speed",
                         "7200", "--day", "day.db"})
                .m_nStatus,
            0);
  // As a broker would write it, from the views that anybody may ask.
  QProcess sqlite;
  sqlite.start("sqlite3",
               {"-csv", "-header", "day.db",
                "SELECT o.number AS \"order id\", o.market, o.code, CASE WHEN o.operation IN (1, 3) THEN 'B' ELSE 'S' "
                "END AS side, f.volume AS quantity, f.amount FROM fills AS f JOIN orders AS o USING (number)"});
  if (!sqlite.waitForStarted() || !sqlite.waitForFinished()) GTEST_SKIP() << "there is no sqlite3";
  writeFile("broker.csv", sqlite.readAllStandardOutput().constData());
  const SResult same = runTerminal({"day", "match", "day.db", "broker.csv"});
  EXPECT_EQ(same.m_nStatus, 0) << same.m_strOut.toStdString() << same.m_strErrors.toStdString();
  EXPECT_TRUE(same.m_strOut.contains("nothing differs"));
  writeFile("market.csv", "code,side,volume,price\n600000,B,100,9\n");
  const SResult other = runTerminal({"day", "match", "day.db", "broker.csv", "market.csv"});
  EXPECT_EQ(other.m_nStatus, 1);
  EXPECT_TRUE(other.m_strOut.contains("missing there"));
  refusalOf({"day", "match", "day.db", "none.csv"});
  // It wants nothing of the day's files; to run the day again is another matter, and no sign of a change.
  writeFile("basket.csv", "side,code,quantity\n买入,600000,20000\n");
  EXPECT_EQ(runTerminal({"day", "match", "day.db", "broker.csv"}).m_nStatus, 0);
  const SResult elsewhere = runTerminal({"day", "verify", "day.db"});
  EXPECT_EQ(elsewhere.m_nStatus, 2);
  EXPECT_TRUE(elsewhere.m_strOut.contains("cannot be run again here")) << elsewhere.m_strOut.toStdString();
}
