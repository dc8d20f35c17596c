#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>
#include <chrono>
#include <future>
#include <nlohmann/json.hpp>

#include "CInputDelay.h"
#include "CRecorder.h"
#include "JournalRig.h"
#include "TableDump.h"
#include "TaskDetails.h"
#include "gv/CCommonDialog.h"
#include "gv/CFileDialog.h"
#include "gv/CHpfTreeTable.h"
#include "gv/Controls.h"
#include "tc/Services.h"

namespace {

using nlohmann::json;
using namespace journal;
using namespace std::chrono_literals;

/// A journal's lines of a kind.
std::vector<json> linesOf(const std::string& journal, const std::string& kind) {
  std::vector<json> lines = jsonLines(journal);
  std::erase_if(lines, [&kind](const json& line) { return line["kind"] != kind; });
  return lines;
}

/// A live session with the panel's own timer, recorded.
class CLiveSession {
 public:
  CLiveSession() : m_services(m_desk, desk::CHostServices::EClock::Live), m_recorder(m_desk, m_journal) {
    m_services.install();
    desk::SSession session;
    session.m_strUser = "u1";
    session.m_strLogin = "L1";
    session.m_nNow = 1763683200;
    m_desk.setSession(session);
    m_desk.addAccount({testkit::makeAccount("A1", "1001")});
    TC::CCodeInfo stock = testkit::makeInstrument("SH", "600000");
    stock.m_types = {100001};
    stock.m_nTradeUnit = 100;
    m_desk.setInstrument(stock);
    setQuote(10);
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
      m_desk.publishTask({testkit::makeFilled(123, 1, 200), {}});
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
  void setQuote(double last) { m_desk.setQuote("SH", "600000", {.m_dLast = last, .m_dCalc = last, .m_dOrder = last}); }
  GV::CHpfTreeTable& table() { return *tableOf(*m_pPanel); }

  std::ostringstream m_journal;

 private:
  desk::CDesk m_desk;
  desk::CHostServices m_services;
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
    journal = session.m_journal.str();
  }
  ASSERT_EQ(live["rows"].size(), 2u);
  EXPECT_EQ(live["rows"][0]["expanded"], true);
  EXPECT_EQ(live["filter"], 1);
  SReplay replay;
  ASSERT_EQ(replay.play(journal), 0) << replay.m_errors.str();
  const json played = replay.lines("dump").at(0);
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
  const auto isDone = [](const std::future<void>& each) { return each.wait_for(30ms) == std::future_status::ready; };
  recorder.recordSetParam(QStringLiteral("act"));
  std::future<void> before = change(1);
  std::future<void> inside;
  std::future<void> behind;
  EXPECT_FALSE(isDone(before)) << "the act is not over";
  GV::CCommonDialog dialog;
  QTimer::singleShot(0, &dialog, [&] {
    before.get();
    inside = change(2);
    // On a busy machine a thread takes its time.
    EXPECT_EQ(inside.wait_for(10s), std::future_status::ready);
    dialog.close();
    QCoreApplication::sendPostedEvents();  // what is left of the dialog's loop
    behind = change(3);
  });
  dialog.exec();
  EXPECT_FALSE(isDone(behind)) << "what was confirmed is not done";
  recorder.recordDump("done");
  QCoreApplication::processEvents();
  behind.get();
  std::string order;
  for (const json& line : jsonLines(journal.str())) {
    order += line["kind"].get<std::string>() +
             (line.contains("group") ? std::to_string(line["group"].get<int>()) : "") + " ";
  }
  EXPECT_EQ(order, "user host hedgeState1 hedgeState2 dump hedgeState3 ");
}

/// Tells, when it is clicked, whether a host thread changes something before it has worked the click off.
class CClickedWindow : public QWindow {
 public:
  explicit CClickedWindow(desk::CJobGate& gate) : m_gate(gate) {}

  int changesBeside = 0;
  std::vector<std::future<void>> changes;

 protected:
  void mousePressEvent(QMouseEvent*) override {
    changes.push_back(std::async(std::launch::async, [this] { const desk::CJobGate::CChange change(m_gate); }));
    changesBeside += changes.back().wait_for(30ms) == std::future_status::ready;
  }

 private:
  desk::CJobGate& m_gate;
};

/// An answer that came between a click and its line opened its dialog behind that line.
TEST(InputDelay, NothingChangesBesideAClickThatGoesOnAtOnceOrLater) {
  desk::CJobGate gate;
  CInputDelay delay(gate);
  gate.setRecording(true, {}, [&delay] {
    delay.release();
    return true;
  });
  CClickedWindow window(gate);
  window.show();
  QTest::mousePress(&window, Qt::LeftButton);
  EXPECT_EQ(window.changes.size(), 1U);
  QCoreApplication::processEvents();
  window.changes.back().get();

  gate.jobPosted(utils::EPanelJob::Refresh);
  QTest::mouseRelease(&window, Qt::LeftButton);
  QTest::mousePress(&window, Qt::LeftButton);
  QCoreApplication::processEvents();
  EXPECT_EQ(window.changes.size(), 1U) << "what the job saw does not show";
  gate.jobEnded(utils::EPanelJob::Refresh);
  for (int i = 0; i < 3; ++i) QCoreApplication::processEvents();
  ASSERT_EQ(window.changes.size(), 2U);
  window.changes.back().get();
  EXPECT_EQ(window.changesBeside, 0);
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
  for (const json& line : linesOf(session.m_journal.str(), "quote"))
    told += std::to_string(line["last"].get<double>()) + " ";
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

  std::string acts;
  for (const json& line : linesOf(session.m_journal.str(), "user")) {
    acts += line["do"].get<std::string>() + " " + line.value("file", "-") + ", ";
  }
  EXPECT_EQ(acts, "export out.csv, export , copy -, ");
}

}  // namespace
