#include "AccountFiles.h"
#include "BasketFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "TextTable.h"

using namespace basket;

namespace {

using Texts = std::vector<std::string>;

/// A file that lives as long as its test.
class CTestFile {
 public:
  explicit CTestFile(const std::string& bytes)
      : m_strPath(std::filesystem::temp_directory_path() / "basket-test-XXXXXX") {
    const int handle = mkstemp(m_strPath.data());
    if (handle >= 0) close(handle);
    std::ofstream(m_strPath, std::ios::binary) << bytes;
  }
  ~CTestFile() { std::filesystem::remove(m_strPath); }
  CTestFile(const CTestFile&) = delete;
  CTestFile& operator=(const CTestFile&) = delete;

  const std::string& path() const { return m_strPath; }

  /// The faults as they are told, the file's name shortened to F.
  Texts told(const std::vector<SFault>& faults) const {
    Texts texts;
    for (const SFault& fault : faults) {
      texts.push_back(fault.toString());
      EXPECT_TRUE(texts.back().starts_with(m_strPath)) << texts.back();
      texts.back().replace(0, m_strPath.size(), "F");
    }
    return texts;
  }

 private:
  std::string m_strPath;
};

const CSecurities SECURITIES({{"SH", "600000", "浦发银行"},
                              {"SZ", "000001", "平安银行"},
                              {"CFFEX", "IF2612", "沪深2612"}});

const std::vector<SColumnTitles> COLUMNS{{{"code", "代码"}}, {{"name", "名称"}}, {{"note"}, false}};

/// Rows and faults, each row as "line|field|field...".
struct SRead {
  explicit SRead(const std::string& bytes) {
    const CTestFile file(bytes);
    CFaults faults(file.path());
    for (const STextRow& row : readTextTable(file.path(), COLUMNS, faults)) {
      std::string text = std::to_string(row.m_nLine);
      for (const std::string& field : row.m_fields) text.append(1, '|').append(field);
      m_rows.push_back(text);
    }
    m_faults = file.told(faults.take());
  }
  Texts m_rows;
  Texts m_faults;
};

const std::string BYTE_ORDER_MARK = "\xEF\xBB\xBF";
// 名称 / 平安银行 in GB18030.
const std::string GB_NAME = "\xC3\xFB\xB3\xC6";
const std::string GB_BANK = "\xC6\xBD\xB0\xB2\xD2\xF8\xD0\xD0";

}  // namespace

TEST(BasketFile, TakesEverySpellingOfItsColumns) {
  const CTestFile file(
      "权重(%),方向,数量,名称,代码,市场\n"
      "1,买入,100,浦发银行,600000,SH\n"
      "2,SELL,1000000000,,000001,深圳\n"
      ",b,1,期指,IF2612,cffex\n"
      ",S,007,,600000,上海\n");  // the other side of the first line
  const SBasketFile basket = readBasketFile(file.path(), SECURITIES);
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
      {"XX,600000,买入,100\n", {"F:2: 市场读不出：XX"}},
      {",600001,买入,100\n", {"F:2: no market lists an instrument 600001"}},
      {"SH,600001,买入,100\n", {"F:2: the market SH lists no instrument 600001"}},
      {"SH,000001,买入,100\n", {"F:2: the market SH lists no instrument 000001, the market SZ does"}},
      {"SZ,12,买入,100\n", {"F:2: the code \"12\" has not six digits (were leading zeros lost?)"}},
      {"SZ,AAPL,买入,100\n", {"F:2: 代码读不出：AAPL"}},
      {"SZ,600000.SH,买入,100\n", {"F:2: 市场与代码不一致：SZ 与 600000.SH"}},
      {"CFFEX,IF2611,买入,1\n", {"F:2: the market CFFEX lists no instrument IF2611"}},
      {"SH,600001,买入,1\nSH,600002,买入,1\nSH,600003,买入,1\nSH,600004,买入,1\nSH,600005,买入,1\nSH,600006,买入,1\n"
       "SH,600007,买入,0\nSH,600008,买入,1\n",
       {"F:2: the market SH lists no instrument 600001", "F:3: the market SH lists no instrument 600002",
        "F:4: the market SH lists no instrument 600003", "F:5: the market SH lists no instrument 600004",
        "F:6: the market SH lists no instrument 600005",
        "F:7: from here on, lines of instruments that are not listed: 2", "F:8: 数量为 0"}},
      {"SH,600000,hold,100\n", {"F:2: 方向读不出：hold"}},
      {"SH,600000,,100\n", {"F:2: no side: it is 买入 or 卖出"}},
      {"SH,600000,买入,-100\n", {"F:2: 买入的数量是负数"}},
      {"SH,600000,买入,1.5\n", {"F:2: 数量不是整数股"}},
      {"SH,600000,买入,5万元\n", {"F:2: the quantity is no number of shares"}},
      {"SH,600000,买入,1,000\n", {"F:2: 比标题多出内容，可能有一格被拆开"}},
      {"SH,600000,买入,\n", {"F:2: no quantity"}},
      {"SH,600000,买入,1000000001\n", {"F:2: the quantity is above 1000000000"}},
      {"SH,600000,买入,100\nSZ,000001,买入,100\nsh,600000,B,200\n",
       {"F:4: SH 600000 stands in line 2 already, with the same side"}},
      // All of them at once, good lines between.
      {"SH,600000,买入,100\nXX,1,hold,0\nSZ,000001,买入\nSZ,000001,卖出,100\n",
       {"F:3: 市场读不出：XX；方向读不出：hold；数量为 0", "F:4: no quantity"}},
  };
  for (const auto& [rows, faults] : cases) {
    const CTestFile file("市场,代码,方向,数量\n" + rows);
    const SBasketFile basket = readBasketFile(file.path(), SECURITIES);
    EXPECT_EQ(file.told(basket.m_faults), faults) << rows;
    EXPECT_TRUE(basket.m_lines.empty()) << "a faulty basket has no line to trade";
  }
}

TEST(AccountFiles, ReadPositionsAndFeesAndNameEveryFault) {
  const auto isAccount = [](const std::string& text) { return text == "A1" || text == "1001"; };
  const auto isListed = [](std::string_view market, std::string_view code) {
    return SECURITIES.find(market, code) >= 0;
  };
  const auto read = [&](const std::string& rows) {
    const CTestFile file("市场,代码,持仓,账户,方向,昨仓,今仓,成本\n" + rows);
    const SPositionFile positions = readPositionFile(file.path(), isAccount, isListed);
    Texts told = file.told(positions.m_faults);
    for (const SPositionLine& line : positions.m_lines) {
      told.push_back(line.m_strAccount + " " + line.m_strMarket + "." + line.m_strCode + (line.m_bShort ? "-" : "") +
                     " " + std::to_string(line.m_nQuantity) + " " + std::to_string(line.m_nToday) + " " +
                     (line.m_dCost ? std::to_string(*line.m_dCost) : "?"));
    }
    return told;
  };
  EXPECT_EQ(read("上海,600000,300,A1,,,,9.5\nSH,600000,300,1001,多,200,,\nsz,000001,5,,,2,3,0\n"
                 "CFFEX,IF2612,2,,空,,2,4000\nCFFEX,IF2612,2,,Long,,,\n"),
            (Texts{"A1 SH.600000 300 0 9.500000", "1001 SH.600000 300 100 ?", " SZ.000001 5 3 0.000000",
                   " CFFEX.IF2612- 2 2 4000.000000", " CFFEX.IF2612 2 0 ?"}));
  EXPECT_EQ(read("SH,600001,0,B,空,,,x\nSH,600000,5,,空,6,,\nSZ,000001,5,A1,,1,2,\nSZ,000001,5,A1,,,-1,\nSZ,000001,5,,"
                 "hold,,,\n"),
            (Texts{"F:2: there is no account \"B\"", "F:2: the market SH lists no instrument 600001",
                   "F:2: quantity \"0\" is no whole number from 1 to 1000000000",
                   "F:2: the cost \"x\" is no number from 0 to 1000000", "F:3: only futures are held short",
                   "F:3: yesterday and today are not together the quantity 5",
                   "F:4: yesterday and today are not together the quantity 5",
                   "F:5: SZ 000001 stands in line 4 already, for the same account",
                   "F:5: today \"-1\" is no whole number from 0 to 1000000000",
                   "F:6: unknown side \"hold\": it is 多 or 空"}));

  const CTestFile fees("项目,费率\n佣金,0.03%\nmargin,0.15\n最低佣金,0\n期货手续费,0.01%\n");
  const SFeeFile given = readFeeFile(fees.path());
  EXPECT_TRUE(given.m_faults.empty());
  EXPECT_DOUBLE_EQ(given.m_rates.m_dCommission, 0.0003);
  EXPECT_DOUBLE_EQ(given.m_rates.m_dMargin, 0.15);
  EXPECT_DOUBLE_EQ(given.m_rates.m_dFuturesCommission, 0.0001);
  EXPECT_DOUBLE_EQ(given.m_rates.m_dLeastCommission, 0);
  EXPECT_DOUBLE_EQ(given.m_rates.m_dStampDuty, 0.0005) << "what is not named stays";
  const CTestFile wrong("fee,rate\ntax,1\n佣金,2%\n佣金,20%\nmargin,%\n");
  EXPECT_EQ(wrong.told(readFeeFile(wrong.path()).m_faults),
            (Texts{"F:2: unknown fee \"tax\": there are commission, leastCommission, stampDuty, transferFee, "
                   "futuresCommission, margin",
                   "F:4: commission stands in line 3 already", "F:4: commission \"20%\" is no number from 0 to 0.1",
                   "F:5: margin \"%\" is no number from 0 to 1"}));
}

TEST(InstrumentFile, ReadsFiguresAndFillsInWhatIsKnownOfAKind) {
  const CTestFile file(
      "市场,代码,名称,最新价,昨收,成交量,拼音\n"
      "SH,600000,浦发银行,10.5,10.4,1000,PFYH\n"
      "SZ,000001,平安银行,11.5,,,\n"
      "CFFEX,IC2612,中证,0,6000.2,30,\n");
  const SInstrumentFile read = readInstrumentFile(file.path());
  ASSERT_TRUE(read.isGood()) << read.m_faults.front().toString();
  ASSERT_EQ(read.m_instruments.size(), 3u);
  const exchange::SInstrument& bank = read.m_instruments[0];
  EXPECT_EQ(std::tuple(bank.m_dPrevClose, bank.m_dLast, bank.m_dVolume), std::tuple(10.4, 10.5, 1000));
  EXPECT_EQ(bank.m_strPinyin, "PFYH");
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
  std::vector<SSecurity> securities;
  for (const exchange::SInstrument& each : read.m_instruments) {
    securities.push_back({each.m_strMarket, each.m_strCode, each.m_strName});
  }
  EXPECT_GE(read.m_instruments.size(), 324u);  // 320 shares and the four kinds of futures
  for (const auto& [name, size] : {std::pair("basket50.csv", 50), {"basket300.csv", 300}}) {
    const SBasketFile basket =
        readBasketFile(std::string(PBT_SOURCE_DIR "/data/baskets/") + name, CSecurities(securities));
    ASSERT_TRUE(basket.isGood()) << basket.m_faults.front().toString();
    EXPECT_EQ(std::ssize(basket.m_lines), size);
    const auto buys = std::ranges::count(basket.m_lines, true, &SBasketLine::m_bBuy);
    EXPECT_GT(buys, size / 2);
    EXPECT_LT(buys, size);
  }
}

TEST(TextTable, ReadsEveryEncodingSeparatorAndLineEnd) {
  const Texts expected{"2|000001|平安银行|", "3|600000|浦发|"};
  const Texts sources{
      "code,name\n000001,平安银行\n600000,浦发\n",
      "code,name\n000001,平安银行\n600000,浦发",  // no last line end
      BYTE_ORDER_MARK + "code,name\r\n000001,平安银行\r\n600000,浦发\r\n",
      "CODE\tName\r000001\t平安银行\r600000\t浦发\r",
      "\"code\" , \"name\"\n \"000001\", 平安银行 \n600000,\"浦发\"\n",
      "code," + GB_NAME + "\r\n000001," + GB_BANK + "\r\n600000,\xC6\xD6\xB7\xA2\r\n",
      std::string("\xFE\xFF\0c\0o\0d\0e\0\t\0n\0a\0m\0e\0\n\0"
                  "0\0"
                  "0\0"
                  "0\0"
                  "0\0"
                  "0\0"
                  "1\0\t\x5E\x73\x5B\x89\x94\xF6\x88\x4C\0\n\0"
                  "6\0"
                  "0\0"
                  "0\0"
                  "0\0"
                  "0\0"
                  "0\0\t\x6D\x66\x53\xD1",
                  64),
      "code\tname\n000001\t" + GB_BANK + "\n600000\t\xC6\xD6\xB7\xA2\n",
  };
  for (const std::string& source : sources) {
    const SRead read(source);
    EXPECT_EQ(read.m_rows, expected) << source;
    EXPECT_EQ(read.m_faults, Texts()) << source;
  }
}

TEST(TextTable, FindsColumnsByTitleAndSkipsWhatIsEmpty) {
  const SRead read("note,x,名称,代码\n\nn,1,a,000001\n,,,\n  \n,\"2\"\"\n3\",b,000002\n,4,c,000003\n");
  EXPECT_EQ(read.m_rows, (Texts{"3|000001|a|n", "6|000002|b|", "8|000003|c|"}));  // a field goes over two lines
  EXPECT_EQ(read.m_faults, Texts());
}

TEST(TextTable, NamesTheFaultsOfStructureAndOfEncoding) {
  const Texts noUtf8{"F:3: broken text encoding: this line is no UTF-8"};
  const std::pair<std::string, Texts> cases[] = {
      {"", {"F:1: the file is empty"}},
      {"\xEF\xBB\xBF\r\n\r\n", {"F:1: the file is empty"}},
      {"\ncode,nam\n1,2\n", {"F:2: the column name is missing"}},
      {"a,b\n", {"F:1: the column code is missing", "F:1: the column name is missing"}},
      {"code,name,代码\n1,2,3\n", {"F:1: two columns are code"}},
      {"code,name\n1\n1,2\n1,2,3\n", {"F:2: 1 fields where the header has 2", "F:4: 3 fields where the header has 2"}},
      {"code,name\n1,2\n1,\"two\n3,4\n", {"F:3: a quotation mark that is never closed"}},
      {"code,name\n1,2\n1,t\"wo\n3\n",
       {"F:3: a quotation mark within a field: a field that has one is quoted, and the mark doubled"}},
      {"代码,名称\n000001,平安\n000002,\xE5\xB9\n000003,浦发\n", noUtf8},
      {"code,name\n000001,平安\n000002," + GB_BANK + "\n", noUtf8},
      {BYTE_ORDER_MARK + "code,name\n000001,a\n000002," + GB_BANK + "\n", noUtf8},
      {"code," + GB_NAME + "\n1," + GB_BANK + "\n1,\xC6\n", {"F:3: broken text encoding: this line is no GB18030"}},
  };
  for (const auto& [source, faults] : cases) EXPECT_EQ(SRead(source).m_faults, faults) << source;
}

TEST(TextTable, TellsNoMoreFaultsThanCanBeReadAndReadsNoDirectory) {
  std::string source = "code,name\n";
  for (int i = 0; i < 100; ++i) source += "1\n";
  EXPECT_EQ(SRead(source).m_faults.size(), CFaults::MOST);
  const CTestFile large("code,name\n");
  std::filesystem::resize_file(large.path(), 50'000'001);
  const std::pair<std::string, const char*> refused[] = {
      {std::filesystem::temp_directory_path().string(), ": cannot be read"},
      {"/nowhere/at all.csv", ": cannot be read"},
      {"/dev/zero", ": is no regular file"},
      {large.path(), ": is larger than 50 MB"},
  };
  for (const auto& [path, why] : refused) {
    CFaults faults(path);
    readTextTable(path, COLUMNS, faults);
    EXPECT_EQ(faults.take().at(0).toString(), path + why);
  }
}

TEST(TextTable, AnyBytesAreReadOrRefused) {
  const std::string good = "代码,名称\n000001,\"平\"\"安\"\n000002,\"a\nb\"\r\n" + GB_BANK + ",x\n";
  std::uint64_t state = 1;
  const auto next = [&state] { return (state = state * 6364136223846793005u + 1442695040888963407u) >> 33; };
  for (int round = 0; round < 500; ++round) {
    std::string bytes = good.substr(0, next() % (good.size() + 1));
    for (int i = 0; i < 4 && !bytes.empty(); ++i) bytes[next() % bytes.size()] = static_cast<char>(next());
    const SRead read(bytes);
    EXPECT_LE(read.m_rows.size(), bytes.size());
  }
}
