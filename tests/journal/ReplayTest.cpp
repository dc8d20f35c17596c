#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>
#include <future>
#include <nlohmann/json.hpp>
#include <sstream>

#include "CBasketTasksPanel.h"
#include "CHostServices.h"
#include "COutput.h"
#include "CPlayer.h"
#include "CRecorder.h"
#include "JournalReader.h"
#include "LineRecords.h"
#include "TableDump.h"
#include "gv/CCommonDialog.h"
#include "gv/CFileDialog.h"
#include "gv/CHpfTreeTable.h"
#include "gv/Controls.h"
#include "tc/Services.h"

namespace {

using nlohmann::json;
using namespace journal;

const std::string SETUP = R"({"kind":"session","version":1,"user":"u1","login":"L1","traderType":1,"now":1763683200}
{"kind":"account","key":"A1","displayId":"1001","name":"主账户"}
{"kind":"account","key":"A2","displayId":"1002","name":"副账户"}
{"kind":"instrument","market":"SH","code":"600000","name":"浦发银行","types":[100001],"tradeUnit":100}
{"kind":"quote","market":"SH","code":"600000","last":10.0}
)";

/// A line of task 123: 200 of 1000 traded.
std::string task(int status) {
  return R"({"kind":"task","via":"feed","id":123,"number":1,"status":)" + std::to_string(status) +
         R"(,"command":{"id":1123,"taskId":123,"traderType":1,"user":"u1","login":"L1","basketType":1},)"
         R"("params":[{"account":"A1","operation":1,"market":"SH","code":"600000","price":10.0,"volume":1000}],)"
         R"("orders":[{"key":"o1","market":"SH","code":"600000","operation":1,"volume":1000,"traded":200,)"
         R"("price":10.0,"amount":2000.0,"completed":true}]})";
}

/// A replay with everything that it takes.
class CReplay {
 public:
  CReplay()
      : m_services(m_desk, desk::CHostServices::EClock::Manual),
        m_output(m_out),
        m_player(
            m_desk, m_services, [] { return new TC::CBasketTasksPanel(1, nullptr); }, m_output, m_errors) {
    m_services.install();
  }

  int play(const std::string& text) {
    std::istringstream in(text);
    return m_player.play(in, "test.jsonl");
  }

  /// Lines put out that have a field of this name.
  std::vector<json> lines(const std::string& field) const {
    std::vector<json> found;
    std::istringstream in(m_out.str());
    for (std::string text; std::getline(in, text);) {
      json line = json::parse(text);
      if (line.contains(field)) found.push_back(std::move(line));
    }
    return found;
  }
  std::string errors() const { return m_errors.str(); }
  std::string out() const { return m_out.str(); }
  CPlayer& player() { return m_player; }

 private:
  desk::CDesk m_desk;
  desk::CHostServices m_services;
  std::ostringstream m_out;
  std::ostringstream m_errors;
  COutput m_output;
  CPlayer m_player;
};

TEST(Replay, EndsAtALineThatCannotBeDone) {
  const struct {
    const char* lines;
    const char* fault;
  } cases[] = {
      {"{\"kind\":\"refresh\"}\n", "test.jsonl:6: no panel is open\n"},
      {"{\"kind\":\"close\"}\n", "test.jsonl:6: no panel is open\n"},
      {"{\"kind\":\"dump\",\"name\":\"\"}\n", "test.jsonl:6: no panel is open\n"},
      {"{\"kind\":\"open\"}\n{\"kind\":\"open\"}\n", "test.jsonl:7: a panel is open already\n"},
      {"{\"kind\":\"open\"}\n{\"kind\":\"user\",\"do\":\"button\",\"row\":\"123\",\"id\":0}\n",
       "test.jsonl:7: row '123' does not exist\n"},
      {"{\"kind\":\"open\"}\n{\"kind\":\"user\",\"do\":\"key\",\"keys\":\"Shift+Nonsense\"}\n",
       "test.jsonl:7: 'Shift+Nonsense' is no key\n"},
      {"{\"kind\":\"serverReply\"}\n", "test.jsonl:6: no operation is unanswered\n"},
      {"{\"kind\":\"createReply\"}\n", "test.jsonl:6: no creation is unanswered\n"},
      {"{\"kind\":\"orderProcess\"}\n", "test.jsonl:6: no order-process query is unanswered\n"},
      {"{\"kind\":\"open\"}\n{\"kind\":\"host\",\"do\":\"patch\",\"row\":\"123\"}\n",
       "test.jsonl:7: row '123' does not exist\n"},
  };
  for (const auto& each : cases) {
    CReplay replay;
    EXPECT_EQ(replay.play(SETUP + each.lines), 2);
    EXPECT_EQ(replay.errors(), each.fault);
  }
}

TEST(Replay, EndsWhereAnActOfADialogCannotBeDone) {
  const std::string cancelled = "{\"kind\":\"open\"}\n" + task(8) + "\n{\"kind\":\"refresh\"}\n";
  const std::string click = "{\"kind\":\"user\",\"do\":\"button\",\"row\":\"123\",\"id\":4}\n";
  const struct {
    const char* acts;
    const char* fault;
  } cases[] = {
      {R"([{"press":"补"}])", "dialog \"补单\" has no button \"补\""},
      {R"([{"press":"取消"},{"dump":"late"}])", "acts are left that no dialog is open for"},
  };
  for (const auto& each : cases) {
    CReplay replay;
    std::string journal = SETUP + cancelled;
    journal.append(R"({"kind":"user","do":"dialog","acts":)").append(each.acts).append("}\n").append(click);
    EXPECT_EQ(replay.play(journal.append("{\"kind\":\"dump\",\"name\":\"never\"}\n")), 2);
    EXPECT_EQ(replay.errors(), std::string("test.jsonl:9: ") + each.fault + "\n");
    EXPECT_TRUE(replay.lines("dump").empty()) << "the journal ends there";
    const auto dialogs = replay.lines("dialog");
    ASSERT_EQ(dialogs.size(), 1u);
    EXPECT_EQ(dialogs[0]["result"], "rejected");
  }
}

TEST(Replay, NothingOfAMalformedJournalIsPlayed) {
  CReplay replay;
  EXPECT_EQ(replay.play(SETUP + "{\"kind\":\"open\"}\n{\"kind\":\"opne\"}\n"), 2);
  EXPECT_EQ(replay.errors(), "test.jsonl:7: unknown kind 'opne'\n");
  EXPECT_FALSE(replay.player().panel());
  EXPECT_EQ(replay.out(), "");
}

TEST(Replay, ExportsOnlyWhereItWasStartedAndOverNothing) {
  const QTemporaryDir folder;
  const QString before = QDir::currentPath();
  ASSERT_TRUE(QDir::setCurrent(folder.path()));
  QDir().mkdir("sub");
  QFile::link("sub", "linked");
  QFile::link("nowhere", "dangling");
  QFile there("there.csv");
  ASSERT_TRUE(there.open(QIODevice::WriteOnly));
  const auto play = [](const std::string& file, int times = 1) {
    std::string acts;
    for (int i = 0; i < times; ++i) acts += R"({"kind":"user","do":"export","file":")" + file + "\"}\n";
    CReplay replay;
    const int status = replay.play(SETUP + "{\"kind\":\"open\"}\n" + acts);
    return std::to_string(status) + " " + replay.errors();
  };
  EXPECT_EQ(play("sub/new.csv", 2), "0 ") << "what it made itself may be made again";
  EXPECT_TRUE(QFile::exists("sub/new.csv"));
  const std::string fault = "2 test.jsonl:7: export '";
  EXPECT_EQ(play("sub/new.csv"), fault + "sub/new.csv' would overwrite what is there\n");
  EXPECT_EQ(play("there.csv"), fault + "there.csv' would overwrite what is there\n");
  EXPECT_EQ(play("linked/x.csv"), fault + "linked/x.csv' goes by a link\n");
  EXPECT_EQ(play("dangling"), fault + "dangling' goes by a link\n");
  for (const std::string& name : {(folder.path() + "/x.csv").toStdString(), std::string("sub/../../x.csv")}) {
    EXPECT_EQ(play(name), fault + name + "' is no name within the working directory\n");
  }
  EXPECT_EQ(QDir().entryList(QDir::Files | QDir::NoSymLinks), QStringList("there.csv"));
  QDir::setCurrent(before);
}

/// A live session with the panel's own timer, recorded.
class CLiveSession {
 public:
  CLiveSession() : m_services(m_desk, desk::CHostServices::EClock::Live), m_recorder(m_desk, m_journal) {
    m_services.install();
    std::istringstream in(SETUP);
    for (const SLine& line : readJournal(in, "setup").m_lines)
      std::visit([this](const auto& body) { set(body); }, line.m_body);
    m_recorder.recordOpen();
    m_pPanel = std::make_unique<TC::CBasketTasksPanel>(1, nullptr);
    m_recorder.watch(*m_pPanel);
    m_pPanel->setTradeType(EMTT_Stock);
    m_pPanel->resize(1200, 600);
    m_pPanel->show();
  }

  ~CLiveSession() { m_recorder.recordClose(); }

  /// A task comes, and the user touches whatever there is.
  void run() {
    // On a thread of the host, which waits for the end of the first load.
    const auto published = std::async(std::launch::async, [this] {
      m_desk.publishTask(toPublication(std::get<STaskLine>(std::get<SLine>(parseLine(task(3))).m_body), m_desk));
    });
    ASSERT_TRUE(QTest::qWaitFor([this] { return table().rowCount() == 2; }));
    m_pPanel->findChild<GV::CComboPushButton*>()->choose(1);
    m_pPanel->findChild<GV::CCheckBox*>()->click();
    table().contextMenu()->actions().last()->trigger();
    table().sortByColumn(7, Qt::DescendingOrder);
    // Recorded with the whole parameter text, from which a replay reads no display mode.
    QCoreApplication::processEvents();
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, table().cellRect(0, 8).center());
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, table().cellRect(0, 9).center());
    table().setCurrentKey(table().baseModel()->rowAt(0).key());
    for (const auto key : {Qt::Key_Left, Qt::Key_Right}) QTest::keyClick(&table(), key);
    QCoreApplication::processEvents();
  }

  /// The table as it stands, and the journal up to a dump of the same name.
  json end() {
    m_recorder.recordDump("end");
    return tableDump(*m_pPanel, "end");
  }
  std::string journal() const { return m_journal.str(); }
  void setQuote(double last) {
    TC::CQuote quote;
    quote.m_dLast = quote.m_dCalc = quote.m_dOrder = last;
    m_desk.setQuote("SH", "600000", quote);
  }
  GV::CHpfTreeTable& table() { return *tableOf(*m_pPanel); }

 private:
  void set(const SSessionLine& line) { m_desk.setSession(line.m_session); }
  void set(const SAccountLine& line) { m_desk.addAccount(toAccount(line)); }
  void set(const SInstrumentLine& line) { m_desk.setInstrument(line.m_info); }
  void set(const SQuoteLine& line) { m_desk.setQuotes({toQuote(line)}); }
  template <typename Other>
  void set(const Other&) {
    FAIL() << "not a line of the setup";
  }

  desk::CDesk m_desk;
  desk::CHostServices m_services;
  std::ostringstream m_journal;
  CRecorder m_recorder;
  std::unique_ptr<TC::CBasketTasksPanel> m_pPanel;
};

TEST(Recording, ReplayedGivesTheSameTableCellForCell) {
  json live;
  std::string journal;
  {
    CLiveSession session;
    session.run();
    live = session.end();
    journal = session.journal();
  }
  ASSERT_EQ(live["rows"].size(), 2u);
  EXPECT_EQ(live["rows"][0]["expanded"], true);
  EXPECT_EQ(live["filter"], 1);
  CReplay replay;
  ASSERT_EQ(replay.play(journal), 0) << replay.errors();
  const std::vector<json> dumps = replay.lines("dump");
  ASSERT_EQ(dumps.size(), 1u);
  const json& played = dumps[0];
  for (const char* field : {"rows", "filter", "running", "param"}) EXPECT_EQ(played[field], live[field]) << field;
}

/// What an act meets stands before it in the journal: until the act is over, or the dialog that it opens is open,
/// nothing changes, nor from the end of the dialog until what was confirmed in it is done.
TEST(Recording, NothingChangesBesideAnAct) {
  desk::CDesk desk;
  std::ostringstream journal;
  CRecorder recorder(desk, journal);
  const auto change = [&desk](int group) {
    return std::async(std::launch::async, [&desk, group] { desk.setHedgeState(group, 3); });
  };
  const auto isDone = [](const std::future<void>& each) {
    return each.wait_for(std::chrono::milliseconds(30)) == std::future_status::ready;
  };
  recorder.recordSetParam(QStringLiteral("act"));
  std::future<void> before;
  std::future<void> inside;
  std::future<void> behind;
  before = change(1);
  EXPECT_FALSE(isDone(before)) << "the act is not over";
  GV::CCommonDialog dialog;
  QTimer::singleShot(0, &dialog, [&] {
    before.get();
    inside = change(2);
    EXPECT_TRUE(isDone(inside));
    dialog.close();
    QCoreApplication::sendPostedEvents();  // what is left of the dialog's loop
    behind = change(3);
  });
  dialog.exec();
  EXPECT_FALSE(isDone(behind)) << "what was confirmed is not done";
  recorder.recordDump("done");
  QCoreApplication::processEvents();
  behind.get();
  std::istringstream in(journal.str());
  std::string order;
  for (std::string text; std::getline(in, text);) {
    const json line = json::parse(text);
    order += line["kind"].get<std::string>() +
             (line.contains("group") ? std::to_string(line["group"].get<int>()) : "") + " ";
  }
  EXPECT_EQ(order, "user host hedgeState1 hedgeState2 dump hedgeState3 ");
}

/// Of a journal's lines those of a kind, without their times.
std::vector<json> linesOf(const std::string& journal, const char* kind) {
  std::vector<json> lines;
  std::istringstream in(journal);
  for (std::string text; std::getline(in, text);) {
    json line = json::parse(text);
    for (const char* field : {"t", "now"}) line.erase(field);
    if (line["kind"] == kind) lines.push_back(std::move(line));
  }
  return lines;
}

TC::CProgressOrder childOrder(const char* key, int traded) {
  TC::CProgressOrder order;
  order.m_detail.m_strKey = key;
  order.m_detail.m_nTradedVolume = traded;
  return order;
}

TEST(Recording, TellsOfProgressOnlyWhatChanged) {
  desk::CDesk desk;
  std::ostringstream journal;
  {
    CRecorder recorder(desk, journal);
    const auto tell = [&desk](std::vector<TC::CProgressOrder> orders) { desk.setProgress("1-1", {std::move(orders)}); };
    tell({childOrder("c1", 0), childOrder("c2", 100)});
    tell({childOrder("c1", 0), childOrder("c2", 300), childOrder("c3", 0)});
    tell({childOrder("c2", 300), childOrder("c1", 0)});  // in another order
    tell({childOrder("", 7)});
    tell({childOrder("", 7), childOrder("", 8)});
  }
  std::string told;
  for (const json& line : linesOf(journal.str(), "progress")) {
    told += line.value("partial", false) ? "partial " : "whole ";
    for (const json& order : line["orderDetails"]) {
      told += order.value("key", "") + ":" + std::to_string(order.value("traded", 0)) + " ";
    }
  }
  EXPECT_EQ(told, "whole c1:0 c2:100 partial c2:300 c3:0 whole c2:300 c1:0 whole :7 whole :7 :8 ");
}

TEST(Replay, PartialProgressChangesOnlyWhatItNames) {
  CReplay replay;
  ASSERT_EQ(replay.play(SETUP + R"({"kind":"progress","task":"1-1","partial":true,"orderDetails":[{"key":"c0"}]}
{"kind":"progress","task":"1-1","orderDetails":[{"key":"c1","traded":1},{"traded":5},{"traded":6},{"key":"c2"}]}
{"kind":"progress","task":"1-1","partial":true,"orderDetails":[{"key":"c3","traded":3},{"key":"c1","traded":9}]}
)"),
            0)
      << replay.errors();
  std::string stands;
  for (const TC::CProgressOrder& order : TC::getTradeClient().getTaskProgress("1-1")->m_orders) {
    stands += order.m_detail.m_strKey + ":" + std::to_string(order.m_detail.m_nTradedVolume) + " ";
  }
  EXPECT_EQ(stands, "c1:9 :5 :6 c2:0 c3:3 ");
}

TEST(Recording, TellsOfAQuoteWhenThePanelAsksForIt) {
  CLiveSession session;
  session.run();
  const auto ask = [](double expected) {
    TC::CQuote quote;
    ASSERT_TRUE(TC::getQuoteClient().getQuote("SH", "600000", quote));
    EXPECT_EQ(quote.m_dLast, expected);
  };
  for (const double price : {10.1, 10.2}) session.setQuote(price);
  ask(10.2);
  ask(10.2);
  for (const double price : {10.3, 10.4}) session.setQuote(price);
  std::string told;
  for (const json& line : linesOf(session.journal(), "quote")) told += std::to_string(line["last"].get<double>()) + " ";
  EXPECT_EQ(told, "10.000000 10.200000 ");
}

TEST(Recording, TellsOfExportsByTheFileWithoutItsFolderAndOfCopies) {
  const QTemporaryDir folder;
  QString answer = folder.filePath("out.csv");
  GV::CFileDialog::setPresenter([&answer](QWidget*, const QString&) { return answer; });
  CLiveSession session;
  const auto choose = [&session](const char* text) {
    for (QAction* action : session.table().contextMenu()->actions()) {
      if (action->text() == QString::fromUtf8(text)) action->trigger();
    }
  };
  choose("导出数据");
  answer.clear();
  QTest::keyClick(&session.table(), Qt::Key_E, Qt::ControlModifier);
  choose("复制");
  QCoreApplication::processEvents();
  GV::CFileDialog::setPresenter({});
  EXPECT_TRUE(QFile::exists(folder.filePath("out.csv")));

  std::vector<std::string> acts;
  std::istringstream in(session.journal());
  for (std::string text; std::getline(in, text);) {
    const json line = json::parse(text);
    if (line["kind"] == "user") acts.push_back(line["do"].get<std::string>() + " " + line.value("file", "-"));
  }
  EXPECT_EQ(acts, (std::vector<std::string>{"export out.csv", "export ", "copy -"}));
}

}  // namespace
