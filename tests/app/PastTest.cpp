// A kept day is looked at again, at any of its moments.
#include <QAbstractButton>
#include <QApplication>
#include <QDockWidget>
#include <QEventLoop>
#include <QLabel>
#include <QTreeWidget>
#include <algorithm>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "CBasketTasksPanel.h"
#include "DayOutputFields.h"
#include "JsonAppend.h"
#include "Options.h"
#include "TerminalRun.h"
#include "docks/RowsTable.h"
#include "gv/CMessageBox.h"
#include "past/CPastSession.h"

namespace {

TC::ITradeDockableWidget* createPanel(int id, QWidget* parent) { return new TC::CBasketTasksPanel(id, parent); }

constexpr std::size_t PROGRESS_COLUMN = 8;

/// What the rows show, without what a row makes when it is first told of something, and without the amount of what is
/// open: that hangs on the quote at which it was counted last.
std::vector<nlohmann::json> cellsOf(const nlohmann::json& dump) {
  std::vector<nlohmann::json> cells;
  for (const nlohmann::json& row : dump.at("rows")) {
    nlohmann::json texts = row.at("cells");
    const std::string progress = texts.at(PROGRESS_COLUMN);
    texts[PROGRESS_COLUMN] = progress.substr(0, progress.find(" / "));
    cells.push_back({row.at("row"), texts, row.at("number")});
  }
  return cells;
}

class Past : public Terminal {
 protected:
  Past() { writeBasket(); }

  static void writeBasket() {
    writeFile(
        "basket.csv",
        "side,code,quantity\n买入,600000,20000\n卖出,600009,12000\n买入,000001,30000\n买入,600519,1000\n卖出,000858,"
        "4000\n");
  }

  static void keepDay(const QStringList& more) {
    const SResult result =
        runTerminal(QStringList{"--headless", "--basket", "basket.csv", "--hedge", "IF2612:1.0", "--accounts", "2",
                                "--speed", "7200", "--day", "day.db", "--out", "live.jsonl"} +
                    more);
    ASSERT_EQ(result.m_nStatus, 0) << result.m_strErrors.toStdString();
  }
};

/// A window that looks back at the day.
class CLooker {
 public:
  CLooker() : m_session(optionsOf(), daylog::readDay("day.db").m_pLog, &m_out, m_window, createPanel) {
    EXPECT_EQ(m_session.fault(), "");
    m_window.show();
    m_session.start();
    waitUntil([this] { return m_session.now() >= 0; });
  }

  std::vector<nlohmann::json> at(std::int64_t msec) {
    m_session.moveTo(msec);
    waitUntil([this, msec] { return m_session.now() == msec; });
    m_session.dump();
    std::string line;
    std::istringstream lines(m_out.str());
    std::string last;
    while (std::getline(lines, line)) last = line;
    return cellsOf(nlohmann::json::parse(last));
  }
  app::CMainWindow& window() { return m_window; }
  app::CPastSession& session() { return m_session; }

  template <typename Condition>
  static void waitUntil(const Condition& holds) {
    for (int i = 0; i < 2000 && !holds(); ++i) {
      QApplication::processEvents(QEventLoop::AllEvents, 20);
      QThread::msleep(5);
    }
    EXPECT_TRUE(holds());
  }

 private:
  static app::SOptions optionsOf() {
    app::SOptions options;
    options.m_bHeadless = true;
    options.m_strPast = "day.db";
    return options;
  }

  std::ostringstream m_out;
  app::CMainWindow m_window;
  app::CPastSession m_session;
};

}  // namespace

TEST_F(Past, ShowsTheEndOfADayAsTheDayEnded) {
  for (const QStringList& more : {QStringList{}, {"--algo", "twap"}}) {
    QFile::remove("day.db");
    keepDay(more);
    // What was traded stands in the day.
    QFile::remove("basket.csv");
    const SResult result = runTerminal({"day", "day.db", "--headless", "--out", "past.jsonl"});
    ASSERT_EQ(result.m_nStatus, 0) << result.m_strErrors.toStdString();
    const nlohmann::json live = lastDump("live.jsonl");
    EXPECT_GT(live.at("rows").size(), 12u);
    EXPECT_EQ(cellsOf(lastDump("past.jsonl")), cellsOf(live));
    writeBasket();
  }
  EXPECT_TRUE(refusalOf({"day", "none.db", "--headless"}).startsWith("none.db: "));
  refusalOf({"day", "day.db", "--at", "noon"});
  refusalOf({"day", "day.db", "--seed", "7"});
}

TEST(JsonAppend, WhateverATextHoldsIsReadAgain) {
  std::string out;
  app::appendArray(out, std::string("a\"b\\c\n\t\x01"), std::string("浦发银行 \xf0\x9f\x98\x80"), 0.1, -1e300, true,
                   std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<std::int64_t>::min());
  const nlohmann::json read = nlohmann::json::parse(out);
  EXPECT_EQ(read.at(0), "a\"b\\c\n\t\x01");
  EXPECT_EQ(read.at(1), "浦发银行 \xf0\x9f\x98\x80");
  EXPECT_EQ(read.at(2), 0.1);
  EXPECT_EQ(read.at(3), -1e300);
  EXPECT_EQ(read.at(5), 0);
  EXPECT_EQ(read.at(6), std::numeric_limits<std::int64_t>::min());
  std::mt19937 random(3);
  for (int i = 0; i < 2000; ++i) {
    std::string bytes(random() % 9, '\0');
    for (char& each : bytes) each = static_cast<char>(random());
    out.clear();
    app::appendJson(out, bytes);
    ASSERT_NO_THROW(nlohmann::json::parse(out)) << i;
  }
}

TEST_F(Past, AMomentIsTheSameFromWhereverOneComes) {
  keepDay({"--algo", "twap"});
  std::map<std::int64_t, std::vector<nlohmann::json>> seen;
  std::vector<std::int64_t> moments;
  for (std::int64_t at = 34200000; at < 54000000; at += 1801000) moments.push_back(at);
  CLooker looker;
  // The session stands at the day's end, so the first step goes back and the others on.
  for (const std::int64_t at : moments) seen[at] = looker.at(at);
  std::set<std::vector<nlohmann::json>> tables;
  for (const auto& [at, cells] : seen) tables.insert(cells);
  EXPECT_GE(tables.size(), 7u) << "of " << seen.size() << ": something is traded most of the time";
  std::mt19937_64 random(4);
  for (int i = 0; i < 12; ++i) {
    const std::int64_t at = moments[random() % moments.size()];
    EXPECT_EQ(looker.at(at), seen[at]) << at;
  }
}

TEST_F(Past, WhatThePanelAsksByItselfDisturbsNothing) {
  writeFile("basket.csv", "side,code,quantity\n买入,600000,900000\n买入,600009,300000\n");
  writeFile("acts.jsonl", R"({"at":"09:30:05","task":1,"do":"hedge","what":"start"})");
  keepDay({"--hedge-orders", "1", "--acts", "acts.jsonl"});
  int boxes = 0;
  GV::CMessageBox::setPresenter([&boxes](QWidget*, const QString&, const QString&) { ++boxes; });
  CLooker looker;
  const auto& hedges = looker.session().day().hedges();
  const auto atLimit = std::find_if(hedges.begin(), hedges.end(),
                                    [](const app::SPastHedge& each) { return each.m_strKind == app::HEDGE_STATUS; });
  ASSERT_NE(atLimit, hedges.end()) << "the hedge has used up its orders, and the panel pauses the task";
  const std::int64_t moment = atLimit->m_nMsec / 1000 * 1000;
  looker.at(moment - 60000);
  const auto* panel = looker.session().panel();
  looker.at(moment + 60000);
  for (int i = 0; i < 50; ++i) {
    QApplication::processEvents(QEventLoop::AllEvents, 20);
    QThread::msleep(2);
  }
  EXPECT_EQ(looker.session().panel(), panel) << "the moment was shown anew";
  EXPECT_EQ(boxes, 0);
  GV::CMessageBox::setPresenter({});
}

TEST_F(Past, SaysOfEachRowWhy) {
  writeFile("acts.jsonl",
            "{\"at\":\"10:00:00\",\"task\":1,\"do\":\"pause\"}\n{\"at\":\"10:10:00\",\"task\":1,\"do\":\"resume\"}\n"
            "{\"at\":\"10:45:00\",\"task\":1,\"do\":\"cancel\"}\n{\"at\":\"10:46:00\",\"task\":1,\"do\":\"patch\"}\n"
            "{\"at\":\"09:30:05\",\"task\":1,\"do\":\"hedge\",\"what\":\"start\"}\n");
  writeFile("basket.csv", "side,code,quantity\n买入,600000,900000\n卖出,600009,300000\n");
  keepDay({"--algo", "twap", "--acts", "acts.jsonl"});
  CLooker looker;
  const std::int64_t moment = 39600000;
  looker.at(moment);
  app::CPastSession& session = looker.session();
  const auto why = [&session](const QString& row) {
    std::vector<app::SWhyFact> facts = session.why(1, row);
    EXPECT_FALSE(facts.empty()) << row.toStdString();
    return facts;
  };
  const auto count = [](const std::vector<app::SWhyFact>& facts, const QString& text) {
    return std::count_if(facts.begin(), facts.end(),
                         [&text](const app::SWhyFact& fact) { return fact.m_strText.contains(text); });
  };
  // Of each line the equation adds up to what the day says was traded, and each order is one of it.
  const nlohmann::json root = nlohmann::json::parse(session.panel()->explain(1, {}).toStdString());
  std::map<std::string, std::int64_t> traded;
  std::map<std::string, std::vector<std::string>> codes;
  for (const app::SPastTask& task : session.day().tasks()) {
    if (task.m_nMsec > moment) break;
    std::vector<std::string>& of = codes[task.m_facts.getKey()];
    for (const app::SPastOrder& order : task.m_sent) of.push_back(order.m_strCode);
    for (const desk::SOrderFill& fill : task.m_fills) traded[of.at(fill.m_nOrder)] += fill.m_nQuantity;
  }
  std::vector<nlohmann::json> lines = root.at("lines");
  ASSERT_EQ(lines.size(), 4u) << "two accounts";
  lines.push_back(root.at("hedge"));
  std::map<std::string, std::int64_t> done;
  for (const nlohmann::json& line : lines) {
    const auto number = [&line](const char* name) { return line.at(name).get<std::int64_t>(); };
    EXPECT_EQ(number("remainder"), number("target") - number("done") - number("open") - number("held")) << line;
    done[line.at("code")] += number("done");
    const auto facts = why(QString::fromStdString(line.at("row").get<std::string>()));
    EXPECT_EQ(count(facts, QStringLiteral("成交 %1 −").arg(number("done"))), 1) << line;
    EXPECT_GT(count(facts, QStringLiteral("起因：")), 0) << line;
    int slice = 0;
    for (const app::SWhyFact& fact : facts) {
      EXPECT_LE(fact.m_nMsec, moment) << fact.m_strText.toStdString();
      if (!fact.m_strText.startsWith(QStringLiteral("计划："))) continue;
      const int next = fact.m_strText.section(QStringLiteral("第 "), 1, 1).section(QLatin1Char(' '), 0, 0).toInt();
      EXPECT_TRUE(next >= slice || next == 1) << "slices rise, and begin anew with the patch: " << next;
      slice = next;
    }
  }
  EXPECT_EQ(done, traded);
  // All that was done to the task, to its patch and its hedge; what came later is not told.
  const auto acts = why({});
  for (const char* act : {"暂停 算法任务", "恢复 算法任务", "撤销 算法任务", "补单，任务 1", "启动对冲"}) {
    const int details = QString::fromUtf8(act).contains(QStringLiteral("算法任务")) ? 2 : 1;
    EXPECT_EQ(count(acts, QStringLiteral("操作：") + QString::fromUtf8(act)), details) << act;
  }
  EXPECT_TRUE(session.panel()->explain(1, QStringLiteral("no such row")).isEmpty());
  looker.at(35000000);
  EXPECT_EQ(count(why({}), QStringLiteral("暂停 算法任务")), 0);
}

TEST_F(Past, AnOrderSaysForWhichLimitItWaited) {
  keepDay({"--orders-per-second", "2"});
  CLooker looker;
  looker.at(35400000);
  const auto& waits = looker.session().day().waits();
  ASSERT_FALSE(waits.empty());
  // Two accounts of five lines: of each account's first orders two go out at once.
  const nlohmann::json root = nlohmann::json::parse(looker.session().panel()->explain(1, {}).toStdString());
  int told = 0;
  for (const nlohmann::json& line : root.at("lines")) {
    const QString row = QString::fromStdString(line.at("row").get<std::string>());
    for (const app::SWhyFact& fact : looker.session().why(1, row)) {
      if (!fact.m_strText.startsWith(QStringLiteral("等待："))) continue;
      ++told;
      EXPECT_TRUE(fact.m_strText.contains(QStringLiteral("达到每秒 2 笔的上限"))) << fact.m_strText.toStdString();
    }
  }
  EXPECT_GE(told, 6);
}

TEST_F(Past, TheDockFollowsTheMoment) {
  keepDay({"--algo", "twap"});
  CLooker looker;
  looker.at(35000000);
  Q_EMIT looker.session().panel()->sigExplainRow(1, QString());
  Q_EMIT looker.session().panel()->sigRowChosen(1, QString());
  const auto* tree = looker.window().findChild<QTreeWidget*>(QStringLiteral("whyFacts"));
  ASSERT_NE(tree, nullptr);
  const auto equation = [tree] {
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
      QString text = tree->topLevelItem(i)->text(0);
      if (text.startsWith(QStringLiteral("剩余"))) return text;
    }
    return QString();
  };
  CLooker::waitUntil([&] { return !equation().isEmpty(); });
  const QString before = equation();
  looker.at(40000000);
  CLooker::waitUntil([&] { return equation() != before; });
}

TEST_F(Past, TellsWhatWasToBeLookedAtAndWhoCancelledAnOrder) {
  QByteArray listed = readFile(QStringLiteral(PBT_SOURCE_DIR "/data/instruments.csv"));
  const int at = listed.indexOf("SH,600009,");
  ASSERT_GE(at, 0);
  const int volume = listed.lastIndexOf(',', listed.indexOf('\n', at)) + 1;
  writeFile("listed.csv", listed.replace(volume, listed.indexOf('\n', at) - volume, "0").constData());
  writeFile("basket.csv", "side,code,quantity\n买入,600000,1900000\n卖出,600009,12000\n");
  writeFile("acts.jsonl", R"({"at":"09:30:02","kind":"cancel","detail":"1-1","orders":["1-1-1"]})");
  keepDay({"--instruments", "listed.csv", "--acts", "acts.jsonl"});
  CLooker looker;
  looker.window().docks().open("exceptionsDock");
  const auto* table =
      looker.window().findChild<QDockWidget*>("exceptionsDock")->widget()->findChild<app::CRowsTable*>();
  ASSERT_NE(table, nullptr);
  const auto* count = looker.window().findChild<QLabel*>("exceptions");
  ASSERT_NE(count, nullptr);
  const auto seen = [table] {
    std::multiset<std::string> rows;
    for (int row = 0; row < table->rowCount(); ++row) {
      rows.insert((table->itemText(row, 1) + '/' + table->itemText(row, 0)).toStdString());
    }
    return rows;
  };
  looker.at(34199000);
  CLooker::waitUntil([&] { return seen().empty(); });
  looker.at(34202000);
  CLooker::waitUntil([&] { return seen().size() >= 3; });
  // Since when is not known of a moment that was jumped to.
  EXPECT_EQ(seen(), (std::multiset<std::string>{"停牌/", "废单/", "废单/"}));
  EXPECT_EQ(count->text(), "异常 3");

  const auto cancels = [&looker](const char* account) {
    int told = 0;
    const nlohmann::json root = nlohmann::json::parse(looker.session().panel()->explain(1, {}).toStdString());
    for (const nlohmann::json& line : root.at("lines")) {
      if (line.at("code") != "600000" || line.at("account") != account) continue;
      for (const app::SWhyFact& fact : looker.session().why(1, QString::fromStdString(line.at("row")))) {
        if (fact.m_strText == QStringLiteral("操作：撤销委托 1 笔"))
          told += fact.m_nEntry > 0 && fact.m_nMsec == 34202000;
      }
    }
    return told;
  };
  const nlohmann::json lines =
      nlohmann::json::parse(looker.session().panel()->explain(1, {}).toStdString()).at("lines");
  std::set<std::string> accounts;
  for (const nlohmann::json& line : lines) accounts.insert(line.at("account"));
  ASSERT_EQ(accounts.size(), 2u);
  EXPECT_EQ(cancels(accounts.begin()->c_str()), 1);
  EXPECT_EQ(cancels(accounts.rbegin()->c_str()), 0) << "an order of the other account was cancelled";
  looker.at(34201000);
  EXPECT_EQ(cancels(accounts.begin()->c_str()), 0) << "not yet";
}

TEST_F(Past, WhoWantsSomethingDoneIsRefusedAndSeesTheDayAsItWas) {
  keepDay({"--algo", "twap"});
  CLooker looker;
  const auto before = looker.at(37000000);
  // All tasks at once, by the tool bar.
  TC::ITradeDockableWidget* panel = looker.session().panel();
  const auto buttons = panel->findChildren<QAbstractButton*>();
  const auto found = std::find_if(buttons.begin(), buttons.end(),
                                  [](const QAbstractButton* button) { return button->text() == "全部撤销"; });
  ASSERT_NE(found, buttons.end());
  const QPointer<TC::ITradeDockableWidget> old = panel;
  (*found)->click();
  CLooker::waitUntil([&old] { return !old; });
  EXPECT_EQ(looker.at(37000000), before);
}
