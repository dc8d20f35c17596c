// What tasks announce, on its way to the buttons of their rows.
#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <atomic>
#include <thread>

#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "CTestHost.h"
#include "TaskDetails.h"
#include "gv/CMessageBox.h"

namespace TC {
namespace {

constexpr int GIVE_UP_MSEC = 20000;
const QString ROOT = QStringLiteral("组合任务1");

/// Counts the queued calls that the GUI thread runs.
class CQueuedCalls : public QObject {
 public:
  CQueuedCalls() { qApp->installEventFilter(this); }
  bool eventFilter(QObject*, QEvent* event) override {
    m_nCount += event->type() == QEvent::MetaCall ? 1 : 0;
    return false;
  }
  int m_nCount = 0;
};

class PanelAnnouncements : public ::testing::Test {
 protected:
  void SetUp() override {
    GV::CMessageBox::setPresenter([](QWidget*, const QString&, const QString&) {});
  }
  void TearDown() override {
    release();
    GV::CMessageBox::setPresenter({});
  }

  static bool waitUntil(const std::function<bool()>& holds) {
    QElapsedTimer timer;
    timer.start();
    while (!holds() && timer.elapsed() < GIVE_UP_MSEC) QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    return holds();
  }

  bool refresh() {
    m_host.fireTimers();
    return endRefresh();
  }

  /// A detail of a server task, since only its operations are answered.
  static ksservice::CTaskDetailPtr makeServerDetail(int status, int orderType = ksservice::EORT_Plain) {
    ksservice::CTaskDetailPtr detail = testkit::makeFilled(1, 2, 100);
    detail->m_bServerTask = true;
    detail->m_nStatus = status;
    for (auto& param : detail->m_params) param.m_nOrderType = orderType;
    return detail;
  }

  bool show(int status, int orderType = ksservice::EORT_Plain) {
    m_host.deliver(makeServerDetail(status, orderType));
    return refresh();
  }

  /// Begins a refresh by a detail in that status, and holds the worker in it when it is at the next task. before: done
  /// by the worker before the detail's figures change.
  void holdRefresh(int status, std::function<void()> before = {}) {
    m_host.setMeeting([this, before = std::move(before)](const std::string& key) mutable {
      if (key == "600000" && before) std::exchange(before, {})();
      if (key != "600009" || m_asked.exchange(true)) return;
      while (m_bHeld) std::this_thread::yield();
    });
    m_asked = false;
    m_bHeld = true;
    m_host.desk().setInstrument(testkit::makeInstrument("SH", "600009"));  // so that it is asked for anew
    m_host.deliver(makeServerDetail(status));
    const ksservice::CTaskDetailPtr next = testkit::makeDetail(2);
    testkit::addParam(*next, testkit::makeAccount("A1", "1001"), "600009", 1000, 10.0);
    m_host.deliver(next);
    m_host.fireTimers();
    while (!m_asked) std::this_thread::yield();
  }

  bool endRefresh() {
    release();
    return waitUntil([this] { return !m_host.heldTimers().empty(); });
  }
  void release() {
    m_bHeld = false;
    m_host.setMeeting({});
  }

  /// Clicks a button of the root's row. Gives the requests that it made.
  std::vector<testkit::CTestHost::SCall> click(const char* text) {
    EXPECT_TRUE(m_buttons.clickButton(ROOT, idOf(text))) << text;
    EXPECT_FALSE(works(text)) << "until its operation is known to have ended";
    return m_host.takeCalls();
  }
  static void refuse(const std::vector<testkit::CTestHost::SCall>& calls) {
    for (const auto& call : calls) {
      if (call.completion) call.completion(utils::KSError("refused"), {});
    }
  }

  static int idOf(const char* text) {
    for (const auto& command : CHpfBasketOptionDelegate::commands()) {
      if (command.text == QString::fromUtf8(text)) return command.id;
    }
    return 0;
  }
  bool works(const char* text) const {
    return m_buttons.getIsItemButtonVisible(ROOT, idOf(text)) && m_buttons.getIsItemButtonEnabled(ROOT, idOf(text));
  }

  testkit::CTestHost m_host;
  const std::unique_ptr<CBasketTasksPanel> m_panel = std::make_unique<CBasketTasksPanel>(1, nullptr);
  CHpfBasketStatusTable& m_table = *m_panel->findChild<CHpfBasketStatusTable*>();
  CHpfBasketOptionDelegate& m_buttons = *m_table.getTaskOptionDelegate();
  std::atomic<bool> m_asked{false};
  std::atomic<bool> m_bHeld{false};
};

TEST_F(PanelAnnouncements, OfARefreshCostAsManyCallsOfTheGuiThreadForManyTasksAsForOne) {
  const auto callsFor = [this](int tasks, int traded) {
    for (int task = 1; task <= tasks; ++task) m_host.deliver(testkit::makeFilled(task, 2, traded));
    QCoreApplication::processEvents();
    const CQueuedCalls calls;
    EXPECT_TRUE(refresh());
    return calls.m_nCount;
  };
  callsFor(50, 100);
  const int one = callsFor(1, 200);
  EXPECT_GT(one, 0);
  EXPECT_EQ(callsFor(50, 300), one);
}

TEST_F(PanelAnnouncements, OfAnAnswerAmidstARefreshDoNotWaitForItsEnd) {
  ASSERT_TRUE(show(ksservice::ETS_Running));
  const auto calls = click("暂停");
  holdRefresh(ksservice::ETS_Running);
  std::thread answer([&calls] { refuse(calls); });
  EXPECT_TRUE(waitUntil([this] { return works("暂停"); })) << "while the worker is held";
  EXPECT_TRUE(m_bHeld);
  answer.join();
  ASSERT_TRUE(endRefresh());
}

/// The same status as before brings a button back when its operation has ended, never without; and of several statuses
/// of one refresh each does its part.
TEST_F(PanelAnnouncements, OfOneRefreshTakeEffectInTheirOrder) {
  ASSERT_TRUE(show(ksservice::ETS_Running));
  for (const int next : {ksservice::ETS_Running, ksservice::ETS_Cancelled}) {
    const auto calls = click("暂停");
    ASSERT_TRUE(show(ksservice::ETS_Running));
    EXPECT_FALSE(works("暂停")) << "the same status, announced again";
    holdRefresh(next, [&calls] { refuse(calls); });
    ASSERT_TRUE(endRefresh());
    EXPECT_TRUE(m_buttons.getIsItemButtonEnabled(ROOT, idOf("暂停"))) << "it was running when the click was refused";
    EXPECT_EQ(works("暂停"), next == ksservice::ETS_Running);
    EXPECT_EQ(works("补单"), next == ksservice::ETS_Cancelled);
  }
}

TEST_F(PanelAnnouncements, OfAnOrderTypeThatIsAlwaysAppliedBringTheButtonsBackEachTime) {
  for (int refreshes = 0; refreshes < 3; ++refreshes) {
    ASSERT_TRUE(show(ksservice::ETS_Running, ksservice::EORT_Algo3));
    click("暂停");
  }
}

TEST_F(PanelAnnouncements, OfADayDoNotReachTheNext) {
  ASSERT_TRUE(show(ksservice::ETS_Running));
  const auto calls = click("暂停");
  holdRefresh(ksservice::ETS_Cancelled);
  refuse(calls);
  release();
  m_host.services().announceTradingDay("20261123");
  ASSERT_TRUE(endRefresh());
  EXPECT_TRUE(m_buttons.itemButtons(ROOT).empty());
  ASSERT_TRUE(show(ksservice::ETS_Running));
  EXPECT_TRUE(works("暂停"));
}

}  // namespace
}  // namespace TC
