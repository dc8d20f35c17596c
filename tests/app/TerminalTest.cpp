#include <QImage>
#include <QSettings>

#include "OrderUse.h"
#include "SessionSetup.h"
#include "TerminalRun.h"
#include "ksservice/Helpers.h"

namespace {

TEST_F(Terminal, NamesTheFaultOfACommandLineInOneLine) {
  const std::pair<QStringList, const char*> cases[] = {
      {{"--sedes", "1"}, "sedes"},
      {{"--seconds"}, "seconds"},
      {{"--seconds", "0"}, "option --seconds needs a number above 0"},
      {{"--seconds", "nan"}, "option --seconds needs a number above 0"},
      {{"--speed", "fast"}, "option --speed needs a number above 0"},
      {{"--seed", "-3"}, "option --seed needs a whole number from 0, not '-3'"},
      {{"--accounts", "0"}, "option --accounts needs a whole number from 1"},
      {{"--orders-per-second", "0"}, "option --orders-per-second needs a whole number from 1 to 100000, not '0'"},
      {{"--orders-per-day", "many"}, "option --orders-per-day needs a whole number from 1 to 10000000, not 'many'"},
      {{"--hedge", "IF2612"}, "option --hedge needs a future and a ratio like IF2612:1.0, not 'IF2612'"},
      {{"--hedge", ":1"}, "option --hedge needs a future and a ratio"},
      {{"--hedge", "IF2612:0"}, "option --hedge for its ratio needs a number above 0"},
      {{"--hedge", "IF2612:1:2"}, "option --hedge for its ratio needs a number above 0"},
      {{"--hedge", "IF2612:1", "--hedge-orders", "0"}, "option --hedge-orders needs a whole number from 1 to 1000000"},
      {{"--headless", "--hedge-orders", "5"}, "option --hedge-orders goes only with --hedge"},
      {{"--cash", "-1"}, "option --cash needs a number from 0 to 1000000000000, not '-1'"},
      {{"--start", "9h"}, "option --start needs a time of day as HH:MM"},
      {{"--theme", "pink"}, "option --theme is dark or light"},
      {{"--palette", "pink"}, "option --palette is red-buy, green-buy or colour-blind"},
      {{"--scale", "99"}, "option --scale needs a whole number from 100 to 300, not '99'"},
      {{"--algo", "TWAP"}, "option --algo is twap, vwap or pov, not 'TWAP'"},
      {{"replay", "a", "--config", "b"}, "option --config does not go with replay"},
      {{"--seed", "1", "--seed", "2"}, "option --seed is given twice"},
      {{"--pace", "recorded"}, "option --pace goes only with replay"},
      {{"replay"}, "replay needs a journal file"},
      {{"replay", "a", "b"}, "unknown argument 'b'"},
      {{"replay", "a", "--seed", "1"}, "option --seed does not go with replay"},
      {{"play"}, "unknown argument 'play'"},
  };
  for (const auto& [arguments, error] : cases) {
    const QString refusal = refusalOf(arguments);
    EXPECT_TRUE(refusal.contains(error)) << error << ": " << refusal.toStdString();
  }
  EXPECT_TRUE(runTerminal({"--help"}).m_strOut.contains(QLatin1String("--instruments FILE")));
}

TEST_F(Terminal, TradesNothingWhenAnInputIsUnreadableOrMalformed) {
  writeFile("bad.csv",
            "市场,代码,名称,方向,数量\nSH,600000,浦发银行,买入,100\nSH,600036,招商银行,买入,0\nXX,1,?,买入,100\n");
  // An output of yesterday is there until the inputs are found good.
  writeFile("out.jsonl", "yesterday");
  const QStringList run = {"--headless", "--seconds", "1"};
  const SResult basket = runTerminal(run + QStringList{"--basket", "bad.csv", "--out", "out.jsonl"});
  EXPECT_EQ(basket.m_nStatus, 2);
  EXPECT_TRUE(basket.m_strErrors.contains("bad.csv:3: ")) << basket.m_strErrors.toStdString();
  EXPECT_TRUE(basket.m_strErrors.contains("bad.csv:4: "));
  writeFile("bad.jsonl", "{}\n");
  EXPECT_EQ(runTerminal({"replay", "bad.jsonl", "--headless", "--out", "out.jsonl"}).m_nStatus, 2);
  EXPECT_EQ(readFile("out.jsonl"), "yesterday");

  const QString future = refusalOf(run + QStringList{"--hedge", "IF2712:1"});
  EXPECT_TRUE(future.startsWith("option --hedge: 'IF2712' is not listed; listed are IC2612")) << future.toStdString();
  EXPECT_EQ(refusalOf(run + QStringList{"--algo", "twap", "--start", "14:57"}),
            "option --algo: no trading time is left after --start, it ends at 14:57:00\n");
  for (const char* option : {"--basket", "--instruments", "--positions", "--fees"}) {
    EXPECT_TRUE(refusalOf(run + QStringList{option, "none.csv"}).contains("none.csv"));
  }
  EXPECT_TRUE(refusalOf({"replay", "none.jsonl", "--headless"}).contains("none.jsonl"));
}

TEST_F(Terminal, ASeedFixesTheEndAndARecordingReplaysIt) {
  const QStringList common = {"--seconds", "2", "--seed", "7", "--speed", "600", "--accounts", "2"};
  const nlohmann::json end = endOf(common + QStringList{"--record", "journal.jsonl", "--screenshot", "a.png"});
  EXPECT_GT(QFile("a.png").size(), 1000);
  ASSERT_EQ(end["dump"], "end");
  EXPECT_GT(end["rows"].size(), 300u);
  EXPECT_EQ(endOf(common), end);
  EXPECT_EQ(endOf({"replay", "journal.jsonl"}), end);
}

TEST_F(Terminal, AnAccountTradesWhatItCanPayAndDeliver) {
  writeFile("basket.csv",
            "市场,代码,方向,数量\nSH,600000,买入,1000\nSH,600036,买入,10000\nSH,600009,卖出,100\nSH,600010,卖出,100\n");
  writeFile("positions.csv", "市场,代码,数量,账户\nSH,600009,100,1001\nSH,600010,50,\n");
  writeFile("fees.csv", "费用,费率\n最低佣金,0.01\n");
  const nlohmann::json end = endOf({"--seconds", "1", "--speed", "600", "--basket", "basket.csv", "--cash", "100000",
                                    "--positions", "positions.csv", "--fees", "fees.csv"});
  std::map<std::string, std::string> messages;
  for (const nlohmann::json& row : end["rows"]) messages[row["row"]] = row["cells"][13];
  EXPECT_EQ(messages.at("1/SH.600000买入"), "");
  EXPECT_EQ(messages.at("1/SH.600036买入").find("可用资金不足：需 "), 0U) << messages.at("1/SH.600036买入");
  EXPECT_EQ(messages.at("1/SH.600009卖出"), "");
  EXPECT_EQ(messages.at("1/SH.600010卖出"), "可卖数量不足：需 100，可卖 50");
}

/// The row of a dump with a path; null when there is none.
nlohmann::json rowOf(const nlohmann::json& dump, const char* path) {
  for (const nlohmann::json& row : dump["rows"]) {
    if (row["row"] == path) return row;
  }
  return nullptr;
}

TEST_F(Terminal, AHedgedBasketShowsItsFuturesAndItsRecordingReplays) {
  const nlohmann::json end = endOf(
      {"--seconds", "4", "--speed", "600", "--accounts", "2", "--hedge", "IF2612:0.5", "--record", "journal.jsonl"});
  const nlohmann::json root = rowOf(end, "1");
  const nlohmann::json futures = rowOf(end, "1/期货");
  const nlohmann::json hedge = rowOf(end, "1/期货/CFFEX.IF2612卖出开仓");
  const nlohmann::json securities = rowOf(end, "1/证券");
  ASSERT_TRUE(root.is_object() && futures.is_object() && hedge.is_object() && securities.is_object());
  EXPECT_EQ(root["cells"][4], "8001/1001/1002");
  EXPECT_EQ(futures["cells"][4], "8001");
  EXPECT_EQ(hedge["cells"][15], "0") << "every lot of the target is sold";
  const auto amount = [](const nlohmann::json& row) { return std::stod(row["cells"][7].get<std::string>()); };
  EXPECT_GT(amount(hedge), 0);
  EXPECT_NEAR(amount(root), amount(securities), 0.011) << "without the hedge's amount";
  EXPECT_NEAR(amount(hedge), 0.5 * amount(root), 0.02 * amount(root));

  EXPECT_EQ(endOf({"replay", "journal.jsonl"}), end);
}

TEST_F(Terminal, AHedgeMaySendWhatItsBasketAndScheduleNeed) {
  const auto hedge = [](const QStringList& options) {
    return rowOf(endOf(QStringList{"--hedge", "IF2612:1"} + options), "1/期货/CFFEX.IF2612卖出开仓")["cells"];
  };
  const nlohmann::json day = hedge({"--algo", "vwap", "--speed", "3000", "--seconds", "6.8"});
  EXPECT_EQ(day[15], "0") << "unhedged lots at the end of the day";
  EXPECT_EQ(day[13], "");
  // The panel starts the hedge with its first refresh, a second after the begin.
  const nlohmann::json limited = hedge({"--hedge-orders", "5", "--speed", "300", "--seconds", "3"});
  EXPECT_EQ(limited[9], " 已报5 收到5 ");
  EXPECT_NE(limited[13], "");
}

TEST_F(Terminal, KeepsItsViewInAFileAndRestoresIt) {
  const QStringList common = {"--seconds", "1", "--speed", "600", "--config", "view.ini"};
  const std::string param = endOf(common)["param"];
  {
    QSettings kept("view.ini", QSettings::IniFormat);
    EXPECT_EQ(kept.value("panel/param").toString().toStdString(), param);
    EXPECT_FALSE(kept.value("window/docks").toByteArray().isEmpty());
    ASSERT_EQ(param.substr(param.size() - 4), "*0*0");
    kept.setValue("panel/param", QString::fromStdString(param.substr(0, param.size() - 4) + "*1*2"));
  }
  const nlohmann::json restored = endOf(common + QStringList{"--record", "journal.jsonl"});
  EXPECT_EQ(restored["filter"], 2);
  EXPECT_EQ(restored["param"], param.substr(0, param.size() - 4) + "*1*2");
  EXPECT_EQ(QSettings("view.ini", QSettings::IniFormat).value("panel/param").toString().toStdString(),
            restored["param"]);

  EXPECT_EQ(endOf({"replay", "journal.jsonl"}), restored) << "what was restored is part of the recording";

  const QStringList run = {"--headless", "--seconds", "1", "--config"};
  EXPECT_EQ(refusalOf(run + QStringList{m_folder.path()}), "cannot read " + m_folder.path() + "\n");
  refusalOf(run + QStringList{"/dev/zero"});
  // Somebody's own file is left alone; an empty one is taken.
  for (const char* text : {"市场,代码,方向,数量\nSH,600000,买入,100\n", "[other]\nkey=1\n"}) {
    writeFile("own", text);
    EXPECT_EQ(refusalOf(run + QStringList{"own"}), "own is no file of this terminal's settings\n");
    EXPECT_EQ(readFile("own"), text);
  }
  writeFile("empty", "");
  EXPECT_EQ(runTerminal(run + QStringList{"empty"}).m_nStatus, 0);
}

TEST_F(Terminal, ShowsAllInTheScaleThatWasAskedForAndScalesOnce) {
  qputenv("QT_SCALE_FACTOR", "2");
  for (const int percent : {100, 150, 200}) {
    endOf({"--seconds", "0.1", "--scale", QString::number(percent), "--screenshot", "shot.png"});
    EXPECT_EQ(QImage("shot.png").size(), QSize(1440, 820) * percent / 100);
  }
  qunsetenv("QT_SCALE_FACTOR");
}

TEST_F(Terminal, WithoutADisplayItLeavesAPictureAndSaysWhere) {
  const SResult result = runTerminal({"--seconds", "1", "--speed", "600"});
  EXPECT_EQ(result.m_nStatus, 0);
  EXPECT_TRUE(result.m_strErrors.contains(QLatin1String("no display")));
  EXPECT_TRUE(result.m_strErrors.contains(QLatin1String("basket-terminal.png")));
  EXPECT_TRUE(QFile::exists("basket-terminal.png"));
}

TEST(Instruments, SayHowTheirBuysAreSized) {
  const auto sizes = [](const char* market, const char* code) {
    const exchange::SInstrument instrument{market, code, {}};
    const TC::CCodeInfo info = app::toCodeInfo(instrument, exchange::rulesOf(instrument));
    const bool byShare = ksservice::StockTypeCenter::isTypedStock(info, ksservice::STOCK_TYPE_NO_LOTS);
    EXPECT_EQ(ksservice::StockTypeCenter::isTypedStock(info, ksservice::STOCK_TYPE_UI_UNIT), byShare) << code;
    return std::to_string(info.m_nTradeMinUnit) + ", " + std::to_string(info.m_nUiMinUnit) + (byShare ? " by one" : "");
  };
  EXPECT_EQ(sizes("SH", "688008"), "200, 1 by one");
  EXPECT_EQ(sizes("SH", "689009"), "200, 1 by one");
  EXPECT_EQ(sizes("BJ", "830008"), "100, 1 by one");
  EXPECT_EQ(sizes("SZ", "300750"), "100, 100");
  EXPECT_EQ(sizes("SH", "600000"), "100, 100");
}

TEST(OrderUse, ABusySecondIsKeptUntilSomebodyLooks) {
  std::vector<engine::SOrderUse> since;
  app::addUse(since, {{"A", 280, 300, 0}});
  app::addUse(since, {{"A", 3, 303, 1}, {"B", 7, 7, 0}});
  ASSERT_EQ(since.size(), 2u);
  EXPECT_EQ(std::tuple(since[0].m_nSecond, since[0].m_nDay, since[0].m_nBeyond), std::tuple(280, 303, 1));
  EXPECT_EQ(since[1].m_strAccount, "B");
}

TEST(OrderUse, ShowsTheAccountThatHasSentMostAndAllInItsTip) {
  std::vector<app::SAccountUse> accounts;
  for (int i = 1; i <= 60; ++i) accounts.push_back({QString::number(1000 + i), {"A", i, i == 30 ? 19000 : 10 * i, 0}});
  EXPECT_EQ(app::orderUseText({}, {}), "");
  EXPECT_EQ(app::orderUseText({accounts[0]}, {}), QStringLiteral("报撤 1001: 每秒 1/280 今日 10/19000"));
  EXPECT_EQ(app::orderUseText(accounts, {}),
            QStringLiteral("报撤 1030: 每秒 30/280 今日 19000/19000 已达上限 (共 60 户)"));
  const QString tip = app::orderUseTip(accounts, {});
  EXPECT_EQ(tip.count("<td"), 3) << "more than fit below each other";
  for (const app::SAccountUse& each : accounts) EXPECT_EQ(tip.count(each.m_strDisplayId + ": "), 1);
}

}  // namespace
