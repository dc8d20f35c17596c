// The refresh cycle by the host's clock and timers, and trading days one after the other.
#include <gtest/gtest.h>
#include <QApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <stdexcept>

#include "BasketColumns.h"
#include "CBasketTask.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "ShownRows.h"
#include "TaskDetails.h"
#include "TestHost.h"

namespace TC {
namespace {

constexpr int GIVE_UP_MSEC = 20000;

ksservice::CTaskDetailPtr runningDetail(int task, int rows = 3) {
  ksservice::CTaskDetailPtr detail = test::makeDetail(task);
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

TEST_F(PanelCycle, AHundredTradingDaysLeaveNothingBehind) {
  constexpr int TASKS = 20;
  constexpr int WARM_UP_DAYS = 40;
  constexpr int DAYS = 100;
  open();
  m_panel->setTradeType(EMTT_Stock);
  std::vector<boost::weak_ptr<CBasketTask>> old;
  std::size_t before = 0;
  for (int day = 0; day < DAYS; ++day) {
    // Numbers are new each day.
    const int first = 1 + day * TASKS;
    for (int task = first; task < first + TASKS; ++task) m_host.deliver(runningDetail(task, 30));
    ASSERT_TRUE(refresh());
    for (int task = first; task < first + TASKS; ++task) {
      boost::shared_ptr<CBasketTask> found;
      QString nodeKey;
      ASSERT_TRUE(m_pTable->getBasketTaskItemByKey(QStringLiteral("组合任务%1").arg(task), found, nodeKey)) << day;
      old.emplace_back(found);
    }
    m_host.services().announceTradingDay("20261123");
    QCoreApplication::processEvents();
    m_host.takeLog();
    m_host.desk().forgetTasks();
    // One refresh of the new day lets go of what the last one of the old day held.
    ASSERT_TRUE(refresh());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (day == WARM_UP_DAYS) before = test::heapInUse();
  }
  const auto lives = [](const boost::weak_ptr<CBasketTask>& task) { return !task.expired(); };
  EXPECT_EQ(std::count_if(old.begin(), old.end(), lives), 0);
  // What this test itself keeps grows by two pointers a task and day.
  constexpr std::size_t OWN = 2 * sizeof(void*) * TASKS * DAYS * 2;
  EXPECT_LT(test::heapInUse(), before + OWN + 100000);
  EXPECT_EQ(m_pTable->rowCount(), 0);
}

/// Whatever the host throws while one of three tasks is worked on, known or not.
TEST_F(PanelCycle, AFaultCostsTheDetailWithWhichItCame) {
  open();
  const auto detailOf = [](int task, int traded) {
    ksservice::CTaskDetailPtr detail = test::makeDetail(task);
    const auto account = test::makeAccount("A1", "1001");
    for (const char* code : {"600000", "600036"}) {
      const std::string own = task == 2 ? std::string("2/") + code : code;
      test::addParam(*detail, account, own, 1000, 10.0);
      test::addOrder(*detail, std::to_string(task) + own, own, 1000, traded, 10.0);
    }
    return detail;
  };
  const auto amount = [this](int task) {
    const auto row = m_pTable->rowByPath(QString::number(task));
    return row ? row->number(EBC_Amount) : -1;
  };
  const auto deliver = [&](int traded) {
    for (int task = 1; task <= 3; ++task) m_host.deliver(detailOf(task, traded));
    EXPECT_TRUE(refresh());
    EXPECT_EQ(m_host.heldTimers().size(), 1U);
  };
  int traded = 0;
  for (const bool known : {false, true}) {
    for (const bool standard : {false, true}) {
      m_host.setMeeting([standard](const std::string& key) {
        if (key != "2/600036") return;
        if (standard) throw std::runtime_error("the host fails");
        throw 42;
      });
      m_host.takeLog();
      deliver(++traded);
      EXPECT_EQ(amount(1), traded * 20);
      EXPECT_EQ(amount(2), known ? 40 : -1) << "as it was before";
      EXPECT_EQ(amount(3), traded * 20);
      const std::vector<std::string> log = m_host.takeLog();
      EXPECT_EQ(std::count(log.begin(), log.end(), standard ? "2-1 failed: the host fails" : "2-1 failed: unknown"), 1);
    }
    m_host.setMeeting({});
    deliver(traded = 2);
    EXPECT_EQ(amount(2), 40);
    EXPECT_EQ(m_pTable->rowByPath("2")->text(EBC_Unfilled), "1996") << "each row once";
  }
  // A load that meets a fault loads the rest, and arms nothing.
  m_host.setMeeting([](const std::string& key) {
    if (key == "2/600036") throw 42;
  });
  m_panel->setTradeType(EMTT_Stock);
  m_host.waitForJobs();
  QCoreApplication::processEvents();
  EXPECT_EQ(m_host.heldTimers().size(), 1U);
}

/// A task of many sub-tasks is built and summed once, not once for each.
TEST_F(PanelCycle, ALoadBuildsEachTaskOnce) {
  constexpr int DETAILS = 20;
  open();
  for (int number = 1; number <= DETAILS; ++number) {
    const ksservice::CTaskDetailPtr detail = test::makeDetail(1, number);
    const std::string code = std::to_string(600000 + number);
    test::addParam(*detail, test::makeAccount("A1", "1001"), code, 1000, 10.0);
    test::addOrder(*detail, code, code, 1000, 100, 10.0);
    m_host.store(detail);
  }
  const auto builds = [this] {
    m_host.waitForJobs();
    QCoreApplication::processEvents();
    const std::vector<std::string> log = m_host.takeLog();
    return std::count_if(log.begin(), log.end(),
                         [](const std::string& line) { return line.rfind("stk: cmd", 0) == 0; });
  };
  m_host.takeLog();
  m_panel->setTradeType(EMTT_Stock);
  EXPECT_EQ(builds(), 1);
  EXPECT_EQ(m_pTable->rowCount(), 1 + DETAILS);
  EXPECT_EQ(m_pTable->rowByPath("1")->number(EBC_Amount), DETAILS * 1000);

  // Nor does a reload walk anything twice, and a patch falls on the account of each of its lines.
  const ksservice::CTaskDetailPtr patch = test::makeDetail(2);
  const auto command = boost::make_shared<ksservice::COrderCommand>(*patch->m_pCommand);
  command->m_nTaskId = 1;
  command->m_bPatch = true;
  patch->m_pCommand = command;
  test::addParam(*patch, test::makeAccount("A9", "1009"), "600001", 300, 10.0);
  test::addParam(*patch, test::makeAccount("A1", "1001"), "600002", 300, 10.0);
  test::addOrder(*patch, "p", "600002", 300, 300, 10.0);
  m_host.store(patch);
  m_panel->requestAccount(*test::makeAccount("A1", "1001"));
  EXPECT_EQ(builds(), 0);
  EXPECT_EQ(m_pTable->rowByPath("1")->number(EBC_Amount), DETAILS * 1000 + 3000);
}

}  // namespace
}  // namespace TC
