#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QHeaderView>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <future>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <thread>

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

namespace {

using nlohmann::json;
using namespace journal;

const std::string SETUP = R"({"kind":"session","version":1,"user":"u1","login":"L1","traderType":1,"now":1763683200}
{"kind":"account","key":"A1","displayId":"1001","name":"主账户"}
{"kind":"account","key":"A2","displayId":"1002","name":"副账户"}
{"kind":"instrument","market":"SH","code":"600000","name":"浦发银行","types":[100001],"tradeUnit":100}
{"kind":"quote","market":"SH","code":"600000","last":10.0}
)";

std::string task(int id, int number, const std::string& account, int traded, int status = 3) {
  const json line = {{"kind", "task"},
                     {"via", "feed"},
                     {"id", id},
                     {"number", number},
                     {"status", status},
                     {"startTime", 1763688600},
                     {"command",
                      {{"id", 1000 + id},
                       {"taskId", id},
                       {"traderType", 1},
                       {"user", "u1"},
                       {"login", "L1"},
                       {"basketType", 1},
                       {"basketName", "沪深300"}}},
                     {"params",
                      {{{"account", account},
                        {"operation", 1},
                        {"market", "SH"},
                        {"code", "600000"},
                        {"name", "浦发银行"},
                        {"price", 10.0},
                        {"volume", 1000}}}},
                     {"orders",
                      {{{"key", std::to_string(number)},
                        {"market", "SH"},
                        {"code", "600000"},
                        {"operation", 1},
                        {"volume", 1000},
                        {"traded", traded},
                        {"price", 10.0},
                        {"amount", traded * 10.0},
                        {"completed", traded == 1000},
                        {"detail", {{"cancelled", false}}}}}}};
  return line.dump() + "\n";
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

TEST(Replay, PlaysATaskIntoTheTable) {
  CReplay replay;
  ASSERT_EQ(replay.play(SETUP + "{\"kind\":\"open\"}\n" + task(123, 1, "A1", 200) +
                        "{\"kind\":\"dump\",\"name\":\"before\"}\n{\"kind\":\"refresh\"}\n"
                        "{\"kind\":\"dump\",\"name\":\"after\"}\n"),
            0)
      << replay.errors();
  const std::vector<json> dumps = replay.lines("dump");
  ASSERT_EQ(dumps.size(), 2u);
  EXPECT_TRUE(dumps[0]["rows"].empty());
  const json& rows = dumps[1]["rows"];
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0]["row"], "123");
  EXPECT_EQ(rows[1]["row"], "123/SH.600000买入");
  EXPECT_EQ(rows[1]["depth"], 1);
  EXPECT_EQ(rows[0]["cells"].size(), 17u);
  EXPECT_EQ(rows[0]["cells"][12], "");
  EXPECT_EQ(dumps[1]["running"], 1);
  const std::vector<json> signalLines = replay.lines("signal");
  ASSERT_FALSE(signalLines.empty());
  EXPECT_EQ(signalLines.back(), (json{{"signal", "sigRunningTasks"}, {"traderType", 1}, {"count", 1}}));
}

TEST(Replay, TheFirstLoadSeesWhatIsStoredAndTheSignalIsAWayIn) {
  std::string stored = task(123, 1, "A1", 200);
  stored.replace(stored.find("\"feed\""), 6, "\"store\"");
  std::string signalled = task(124, 1, "A1", 200);
  signalled.replace(signalled.find("\"feed\""), 6, "\"signal\"");
  CReplay replay;
  ASSERT_EQ(replay.play(SETUP + stored + "{\"kind\":\"open\"}\n{\"kind\":\"dump\",\"name\":\"loaded\"}\n" + signalled +
                        "{\"kind\":\"refresh\"}\n{\"kind\":\"dump\",\"name\":\"signalled\"}\n"),
            0)
      << replay.errors();
  const std::vector<json> dumps = replay.lines("dump");
  ASSERT_EQ(dumps.size(), 2u);
  EXPECT_EQ(dumps[0]["rows"].size(), 2u);
  EXPECT_EQ(dumps[1]["rows"].size(), 4u);
}

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
  std::string cancelled = "{\"kind\":\"open\"}\n" + task(123, 1, "A1", 200, 8) + "{\"kind\":\"refresh\"}\n";
  cancelled.replace(cancelled.find("\"completed\":false"), 17, "\"completed\":true");
  const std::string click = "{\"kind\":\"user\",\"do\":\"button\",\"row\":\"123\",\"id\":4}\n";
  const struct {
    const char* acts;
    const char* fault;
  } cases[] = {
      {R"([{"press":"补"}])", "dialog \"补单\" has no button \"补\""},
      {R"([{"press":"新建篮子补单"}])", "button \"新建篮子补单\" of dialog \"补单\" is hidden"},
      {R"([{"check":"A1/SH.600036买入","on":true}])", "dialog \"补单\" has no check box for row \"A1/SH.600036买入\""},
      {R"([{"edit":"A2/SH.600000买入","text":"1"}])", "dialog \"补单\" has no editor for row \"A2/SH.600000买入\""},
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

TEST(Replay, UserActsReachTheControls) {
  CReplay replay;
  ASSERT_EQ(replay.play(SETUP + "{\"kind\":\"open\"}\n" + task(123, 1, "A1", 200) + task(124, 1, "A1", 1000, 7) +
                        R"({"kind":"refresh"}
{"kind":"user","do":"collapse","row":"123"}
{"kind":"user","do":"filterFinished","on":true}
{"kind":"user","do":"toolbar","id":2}
{"kind":"dump","name":"finished"}
{"kind":"user","do":"filterFinished","on":true}
{"kind":"user","do":"toolbar","id":0}
{"kind":"user","do":"toolbar","id":10}
{"kind":"dump","name":"unfolded"}
{"kind":"host","do":"setParam","text":""}
{"kind":"user","do":"doubleClick","column":8}
{"kind":"user","do":"button","row":"123","id":99}
{"kind":"user","do":"event","event":1140,"id":4,"task":123}
{"kind":"close"}
)"),
            0)
      << replay.errors();
  const std::vector<json> dumps = replay.lines("dump");
  ASSERT_EQ(dumps.size(), 2u);
  const json& finished = dumps[0]["rows"];
  EXPECT_EQ(dumps[0]["filter"], 2);
  EXPECT_EQ(finished[0]["hidden"], true);
  EXPECT_EQ(finished[0]["expanded"], false);
  EXPECT_EQ(finished[2]["hidden"], false);
  EXPECT_EQ(finished[3]["hidden"], true) << "a finished sub-task is filtered";
  const std::string param = dumps[0]["param"];
  EXPECT_EQ(param.substr(param.size() - 4), "*1*2") << "the controls show what was done";
  EXPECT_EQ(dumps[1]["rows"][0]["expanded"], true);
  EXPECT_FALSE(replay.player().panel());
}

TEST(Replay, IsDeterministic) {
  std::string text = SETUP + "{\"kind\":\"open\"}\n";
  for (int round = 1; round <= 5; ++round) {
    for (int id = 1; id <= 20; ++id) text += task(id, 1, "A1", 200 * round) + task(id, 2, "A2", 100 * round);
    text += "{\"kind\":\"refresh\"}\n{\"kind\":\"user\",\"do\":\"toolbar\",\"id\":" + std::to_string(round % 4) + "}\n";
  }
  text += "{\"kind\":\"dump\",\"name\":\"end\"}\n";
  CReplay first;
  ASSERT_EQ(first.play(text), 0) << first.errors();
  CReplay second;
  ASSERT_EQ(second.play(text), 0);
  EXPECT_EQ(first.out(), second.out());
}

/// A live session: a feed on its own thread, the panel's own timer and a user who clicks about, recorded.
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

  void run() {
    std::atomic<bool> stop{false};
    const std::future<void> feed = std::async(std::launch::async, [&] { deliver(stop); });
    std::mt19937 random(7);
    for (int step = 0; step < 120; ++step) {
      QTest::qWait(20);
      if (step % 3 == 0) actAtRandom(random);
    }
    stop = true;
    // It may have to wait for the GUI thread.
    while (feed.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) QCoreApplication::processEvents();
    // The last details are shown after two more cycles at most.
    QTest::qWait(2200);
  }

  /// The table as it stands, and the journal up to a dump of the same name.
  json end() {
    m_recorder.recordDump("end");
    return tableDump(*m_pPanel, "end");
  }
  std::string journal() const { return m_journal.str(); }
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

  void deliver(const std::atomic<bool>& stop) {
    for (int step = 0; !stop; ++step) {
      const int id = step % 12 + 1;
      const bool second = step / 12 % 2 == 1;
      const int traded = std::min(1000, step / 24 * 20);
      const std::string text = task(id, second ? 2 : 1, second ? "A2" : "A1", traded, traded == 1000 ? 7 : 3);
      m_desk.publishTask(toPublication(std::get<STaskLine>(std::get<SLine>(parseLine(text)).m_body), m_desk));
      m_desk.setQuote("SH", "600000", {10 + step * 0.01, 0, 0, 10 + step * 0.01, 10});
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  void actAtRandom(std::mt19937& random) {
    GV::CHpfTreeTable& table = *tableOf(*m_pPanel);
    auto* combo = m_pPanel->findChild<GV::CComboPushButton*>();
    switch (random() % 6) {
      case 0:
        return combo->choose(int(random() % 3) % 2);
      case 1:
        return m_pPanel->findChild<GV::CCheckBox*>()->click();
      case 2:
        return table.contextMenu()->actions().last()->trigger();
      case 3:
        return table.sortByColumn(int(random() % 17), Qt::DescendingOrder);
      case 4:
        return QTest::mouseDClick(table.viewport(), Qt::LeftButton, {}, QPoint(table.width() / 2, 30));
      default:
        // Folds and unfolds the row at the top.
        table.setCurrentKey(table.rowCount() ? table.baseModel()->rowAt(0).key() : QString());
        return QTest::keyClick(&table, random() % 2 ? Qt::Key_Left : Qt::Key_Right);
    }
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
  ASSERT_EQ(live["rows"].size(), 60u) << "12 tasks with 2 accounts each";
  CReplay replay;
  ASSERT_EQ(replay.play(journal), 0) << replay.errors();
  const std::vector<json> dumps = replay.lines("dump");
  ASSERT_EQ(dumps.size(), 1u);
  const json& played = dumps[0];
  ASSERT_EQ(played["rows"].size(), live["rows"].size());
  for (std::size_t row = 0; row < live["rows"].size(); ++row) EXPECT_EQ(played["rows"][row], live["rows"][row]);
  for (const char* field : {"filter", "running", "param"}) EXPECT_EQ(played[field], live[field]);
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

TEST(Recording, TellsOfExportsByTheFileWithoutItsFolderAndOfCopies) {
  const QTemporaryDir folder;
  QString answer = folder.filePath("out.csv");
  GV::CFileDialog::setPresenter([&answer](QWidget*, const QString&) { return answer; });
  CLiveSession session;
  session.table().contextMenu()->actions().at(0)->trigger();
  answer.clear();
  QTest::keyClick(&session.table(), Qt::Key_E, Qt::ControlModifier);
  session.table().contextMenu()->actions().at(1)->trigger();
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
