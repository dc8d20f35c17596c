// The refresh cycle by the host's clock and timers, and trading days one after the other.
#include <gtest/gtest.h>
#include <malloc.h>

#include <QApplication>
#include <QElapsedTimer>

#include "BasketColumns.h"
#include "CBasketTask.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "TaskDetails.h"
#include "TestHost.h"

namespace TC {
namespace {

constexpr int GIVE_UP_MSEC = 20000;

ksservice::CTaskDetailPtr runningDetail(int task, int rows = 3) {
  const ksservice::CTaskDetailPtr detail = test::makeDetail(task);
  const auto account = test::makeAccount("A1", "1001");
  for (int i = 0; i < rows; ++i) {
    const std::string code = std::to_string(600000 + i);
    test::addParam(*detail, account, code, 1000, 10.0);
    test::addOrder(*detail, std::to_string(task) + "/" + code, code, 1000, 100 + i, 10.0);
  }
  return detail;
}

class PanelCycle : public ::testing::Test {
 protected:
  PanelCycle() { m_host.holdTimers(); }

  void open() {
    m_panel = std::make_unique<CBasketTasksPanel>(1, nullptr);
    QObject::connect(m_panel.get(), &CBasketTasksPanel::sigRunningTasks,
                     [this](EMavTraderType, int count) { m_runningCounts.push_back(count); });
    m_pTable = m_panel->findChild<CHpfBasketStatusTable*>();
  }

  /// Until a timer waits again; false when none comes.
  bool waitForTimer() {
    QElapsedTimer timer;
    timer.start();
    while (m_host.heldTimers().empty() && timer.elapsed() < GIVE_UP_MSEC) {
      QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    return !m_host.heldTimers().empty();
  }

  bool refresh() {
    m_host.fireTimers();
    return waitForTimer();
  }

  test::CTestHost m_host;
  std::unique_ptr<CBasketTasksPanel> m_panel;
  CHpfBasketStatusTable* m_pTable = nullptr;
  std::vector<int> m_runningCounts;  ///< as the panel announced them
};

TEST_F(PanelCycle, TheNextRefreshStartsAThousandMillisecondsAfterThisOneAtTheEarliest) {
  open();
  EXPECT_EQ(m_host.heldTimers(), std::vector<int>{1000});
  const auto restAfter = [this](double refreshTook) {
    m_host.fireTimers();
    m_host.moveClock(refreshTook);
    EXPECT_TRUE(waitForTimer());
    return m_host.heldTimers();
  };
  EXPECT_EQ(restAfter(0), std::vector<int>{1000});
  EXPECT_EQ(restAfter(300.9), std::vector<int>{700}) << "whole milliseconds";
  EXPECT_EQ(restAfter(1000), std::vector<int>{0}) << "1000 exactly still takes the timer";
}

TEST_F(PanelCycle, ARefreshThatTookLongerIsFollowedAtOnceWithoutATimer) {
  open();
  m_host.deliver(runningDetail(1));
  m_host.fireTimers();
  m_host.moveClock(1500);
  // The first has work and took too long; the one that follows finds the caches empty and ends within the same moment
  // of the host's clock.
  ASSERT_TRUE(waitForTimer());
  EXPECT_EQ(m_host.heldTimers(), std::vector<int>{1000});
  EXPECT_EQ(m_runningCounts, std::vector<int>{1});
}

TEST_F(PanelCycle, NothingIsSaidOrCountedByARefreshWithoutWork) {
  open();
  m_host.takeLog();
  ASSERT_TRUE(refresh());
  EXPECT_TRUE(m_runningCounts.empty());
  EXPECT_TRUE(m_host.takeLog().empty());
  m_host.deliver(runningDetail(1));
  ASSERT_TRUE(refresh());
  EXPECT_EQ(m_runningCounts, std::vector<int>{1});
}

/// Bytes that the heap has handed out; 0 where a sanitizer has a heap of its own.
std::size_t heapInUse() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return 0;
#else
  return mallinfo2().uordblks;
#endif
}

TEST_F(PanelCycle, AHundredTradingDaysLeaveNothingBehind) {
  constexpr int TASKS = 20;
  constexpr int WARM_UP_DAYS = 40;
  constexpr int DAYS = 100;
  open();
  m_panel->setTradeType(EMTT_Stock);
  std::vector<boost::weak_ptr<CBasketTask>> old;
  std::size_t before = 0;
  for (int day = 0; day < DAYS; ++day) {
    for (int task = 1; task <= TASKS; ++task) m_host.deliver(runningDetail(task, 30));
    ASSERT_TRUE(refresh());
    for (int task = 1; task <= TASKS; ++task) {
      boost::shared_ptr<CBasketTask> found;
      QString nodeKey;
      ASSERT_TRUE(m_pTable->getBasketTaskItemByKey(QStringLiteral("组合任务%1").arg(task), found, nodeKey)) << day;
      old.push_back(found);
    }
    Q_EMIT m_host.calendar().sigNewTradingDate("20261123");
    QCoreApplication::processEvents();
    m_host.takeLog();
    // One refresh of the new day lets go of what the last one of the old day held.
    ASSERT_TRUE(refresh());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (day == WARM_UP_DAYS) before = heapInUse();
  }
  const auto lives = [](const boost::weak_ptr<CBasketTask>& task) { return !task.expired(); };
  EXPECT_EQ(std::count_if(old.begin(), old.end(), lives), 0);
  // What this test itself keeps grows by two pointers a task and day.
  constexpr std::size_t OWN = 2 * sizeof(void*) * TASKS * DAYS * 2;
  EXPECT_LT(heapInUse(), before + OWN + 100000);
  EXPECT_EQ(m_pTable->rowCount(), 0);
}

}  // namespace
}  // namespace TC
