// The refresh cycle by the host's clock and timers.
#include <gtest/gtest.h>
#include <malloc.h>
#include <QApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

#include "BasketColumns.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "CTestHost.h"
#include "TaskDetails.h"
#include "gv/CEventWidget.h"
#include "tc/CMsgService.h"

namespace TC {
namespace {

constexpr int GIVE_UP_MSEC = 20000;

class PanelCycle : public ::testing::Test {
 protected:
  void open() {
    m_panel = std::make_unique<CBasketTasksPanel>(1, nullptr);
    QObject::connect(m_panel.get(), &CBasketTasksPanel::sigRunningTasks,
                     [this](EMavTraderType, int count) { m_runningCounts.push_back(count); });
    m_pTable = m_panel->findChild<CHpfBasketStatusTable*>();
  }

  static bool waitUntil(const std::function<bool()>& holds) {
    QElapsedTimer timer;
    timer.start();
    while (!holds() && timer.elapsed() < GIVE_UP_MSEC) QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    return holds();
  }

  /// Until a timer waits again; false when none comes.
  bool waitForTimer() {
    return waitUntil([this] { return !m_host.heldTimers().empty(); });
  }

  bool refresh() {
    m_host.fireTimers();
    return waitForTimer();
  }

  testkit::CTestHost m_host;
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
  m_host.deliver(testkit::makeFilled(1, 3, 100));
  m_host.fireTimers();
  m_host.moveClock(1500);
  // The first has work and took too long; the one that follows finds the caches empty and ends within the same moment
  // of the host's clock.
  ASSERT_TRUE(waitForTimer());
  EXPECT_EQ(m_host.heldTimers(), std::vector<int>{1000});
  EXPECT_EQ(m_runningCounts, std::vector<int>{1});
}

/// Whatever the host throws.
TEST_F(PanelCycle, AFaultIsLoggedOnceAndCostsNoOtherSubTask) {
  open();
  for (const bool standard : {true, false}) {
    m_host.setMeeting([standard](const std::string& key) {
      if (key != "600001") return;
      if (standard) throw std::runtime_error("the host fails");
      throw 42;
    });
    m_host.takeLog();
    m_host.deliver(testkit::makeFilled(2, 2, 100));
    const ksservice::CTaskDetailPtr other = testkit::makeDetail(2, 2);
    testkit::addParam(*other, testkit::makeAccount("A1", "1001"), "600009", 1000, 10.0);
    testkit::addOrder(*other, "o", "600009", 1000, 300, 10.0);
    m_host.deliver(other);
    ASSERT_TRUE(refresh());
    ASSERT_TRUE(m_pTable->rowByPath("2"));
    EXPECT_EQ(m_pTable->rowByPath("2")->number(EBC_Amount), 3000);
    const std::vector<std::string> log = m_host.takeLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), standard ? "2-1 failed: the host fails" : "2-1 failed: unknown"), 1);
  }
}

/// A trader who cancels everything must not be left with the tasks behind the one at which the host failed.
TEST_F(PanelCycle, ADetailOfTheFewestFieldsShows) {
  open();
  auto command = boost::make_shared<ksservice::COrderCommand>();
  command->m_nTaskId = 7;
  command->m_nTraderType = EMTT_Stock;
  command->m_strUser = "u1";
  command->m_strLogin = "L1";
  command->m_nBasketType = ksservice::ECBT_Basket;
  auto detail = boost::make_shared<ksservice::CTaskDetail>();
  detail->m_strKey = ksservice::CTaskDetail::genKey(70, 1);
  detail->m_nTaskId = 70;
  detail->m_nStatus = ksservice::ETS_Running;
  detail->m_pCommand = command;
  detail->m_params.resize(1);
  detail->m_params[0].m_stock = {"SH", "600000", ""};
  detail->m_params[0].m_nOperation = ksservice::EOT_Buy;
  detail->m_params[0].m_nVolume = 1000;
  m_host.deliver(detail);
  ASSERT_TRUE(refresh());
  ASSERT_TRUE(m_pTable->rowByPath("7"));
  EXPECT_EQ(m_pTable->rowByPath("7")->text(EBC_Status), "执行中");
  m_pTable->expandAll(true);
  EXPECT_EQ(m_pTable->rowCount(), 2) << "the task and its line";
}

TEST_F(PanelCycle, AHostThatFailsAtAClickIsToldOfAndKeepsNoOtherTaskFromIt) {
  open();
  for (const int task : {2, 3}) m_host.deliver(testkit::makeFilled(task, 1, 100));
  ASSERT_TRUE(refresh());
  m_host.takeMessages();
  m_host.setMeeting([](const std::string& key) {
    if (key == "stop hedge") throw std::runtime_error("the host fails");
  });
  EXPECT_NO_THROW(m_panel->handleEvent(GV::EventButtonClicked, 4, 0, QString(), nullptr));
  EXPECT_EQ(m_host.takeCalls().size(), 2u);
  EXPECT_EQ(m_host.takeMessages(), decltype(m_host.takeMessages())(2, {"操作未能完成，原因见日志", EMK_TaskError}));
}

/// What is kept of each day's rows would be a dozen kilobytes a day.
TEST_F(PanelCycle, NothingIsKeptOfEarlierDays) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  constexpr int TASKS = 5;
  constexpr int DAYS = 100;
  open();
  const auto run = [this](int first) {
    for (int task = first * TASKS; task < (first + DAYS) * TASKS; ++task) {
      m_host.deliver(testkit::makeFilled(task, 3, 100));
      if (task % TASKS < TASKS - 1) continue;
      ASSERT_TRUE(refresh());
      m_host.desk().forgetTasks();
      m_host.services().announceTradingDay("20261123");
      ASSERT_TRUE(refresh());
      m_host.takeLog();
      m_runningCounts.clear();
    }
  };
  run(1);
  const std::size_t before = mallinfo2().uordblks;
  run(1 + DAYS);
  EXPECT_LT(mallinfo2().uordblks, before + DAYS * std::size_t{1000});
#endif
}

/// A task of many sub-tasks is built and summed once, not once for each.
TEST_F(PanelCycle, ALoadBuildsEachTaskOnce) {
  constexpr int DETAILS = 20;
  open();
  for (int number = 1; number <= DETAILS; ++number) {
    const ksservice::CTaskDetailPtr detail = testkit::makeDetail(1, number);
    const std::string code = std::to_string(600000 + number);
    testkit::addParam(*detail, testkit::makeAccount("A1", "1001"), code, 1000, 10.0);
    testkit::addOrder(*detail, code, code, 1000, 100, 10.0);
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
  const ksservice::CTaskDetailPtr patch = testkit::makeDetail(2);
  const auto command = boost::make_shared<ksservice::COrderCommand>(*patch->m_pCommand);
  command->m_nTaskId = 1;
  command->m_bPatch = true;
  patch->m_pCommand = command;
  testkit::addParam(*patch, testkit::makeAccount("A9", "1009"), "600001", 300, 10.0);
  testkit::addParam(*patch, testkit::makeAccount("A1", "1001"), "600002", 300, 10.0);
  testkit::addOrder(*patch, "p", "600002", 300, 300, 10.0);
  m_host.store(patch);
  m_panel->requestAccount(*testkit::makeAccount("A1", "1001"));
  EXPECT_EQ(builds(), 0);
  EXPECT_EQ(m_pTable->rowByPath("1")->number(EBC_Amount), DETAILS * 1000 + 3000);
}

/// Whoever waits for thousands of tasks sees the first at once; and what a day's load still brings is not the next's.
TEST_F(PanelCycle, ALongLoadShowsItsFirstTasksWhileItIsAtTheLast) {
  constexpr int TASKS = 200;
  open();
  for (int task = 1; task <= TASKS; ++task) m_host.store(testkit::makeFilled(task, 2, 100));
  std::atomic<bool> held{true};
  std::atomic<int> asked{0};
  m_host.setMeeting([&](const std::string& key) {
    if (key == "hedge" && ++asked % TASKS == 0)
      while (held) std::this_thread::yield();
  });
  const auto roots = [this] {
    QStringList names;
    m_pTable->forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool, bool) {
      if (depth == 0) names += row.text(EBC_Amount) + row.key();
    });
    return names;
  };
  QStringList whole;
  for (int task = 1; task <= TASKS; ++task) whole += QStringLiteral("2000.00组合任务%1").arg(task);
  const auto expectWhole = [&whole](const QStringList& shown) {
    EXPECT_EQ(shown.join(' ').toStdString(), whole.mid(0, shown.size()).join(' ').toStdString());
  };
  m_panel->setTradeType(EMTT_Stock);
  EXPECT_TRUE(waitUntil([&] { return roots().size() > TASKS / 2; }));
  EXPECT_TRUE(m_host.hasJobs());
  EXPECT_LT(roots().size(), TASKS);
  expectWhole(roots());
  held = false;
  EXPECT_TRUE(waitUntil([&] { return roots().size() == TASKS; }));
  expectWhole(roots());

  held = true;
  m_panel->setTradeType(EMTT_Stock);
  EXPECT_TRUE(waitUntil([&asked] { return asked == 2 * TASKS; }));
  m_host.services().announceTradingDay("20261123");
  held = false;
  m_host.waitForJobs();
  QCoreApplication::processEvents();
  EXPECT_EQ(m_pTable->rowCount(), 0);
}

/// The root names operations in the order of the details, whenever each came.
TEST_F(PanelCycle, ADetailThatAReloadBringsIsNamedByTheRootEvenWithoutARowOfItsOwn) {
  open();
  const auto deliver = [this](int number, int first, int second, desk::EVia via) {
    const ksservice::CTaskDetailPtr detail = testkit::makeDetail(1, number);
    for (const int operation : {first, second}) {
      testkit::addParam(*detail, testkit::makeAccount("A1", "1001"), "600001", 1000, 10.0, operation);
    }
    m_host.deliver(detail, via);
  };
  deliver(2, ksservice::EOT_Buy, ksservice::EOT_Sell, desk::EVia::Feed);
  ASSERT_TRUE(refresh());
  deliver(1, ksservice::EOT_Sell, ksservice::EOT_Buy, desk::EVia::Store);
  m_panel->requestAccount(*testkit::makeAccount("A1", "1001"));
  m_host.waitForJobs();
  QCoreApplication::processEvents();
  EXPECT_EQ(m_pTable->itemText(0, EBC_TradeType), "卖出/买入");
}

/// What the one tells as chosen, the other shows.
TEST_F(PanelCycle, AHostIsToldOfTheRowThatIsChosenAndShowsOneThatIsFolded) {
  open();
  for (const int task : {1, 12}) {
    const ksservice::CTaskDetailPtr detail = testkit::makeDetail(task);
    for (int i = 0; i < 80; ++i) {
      testkit::addParam(*detail, testkit::makeAccount("A1", "1001"), std::to_string(600000 + i), 1000, 10.0);
    }
    m_host.deliver(detail);
  }
  ASSERT_TRUE(refresh());
  m_panel->resize(1000, 300);
  m_panel->show();
  std::vector<std::pair<int, QString>> chosen;
  QObject::connect(m_panel.get(), &ITradeDockableWidget::sigRowChosen,
                   [&](int task, const QString& node) { chosen.emplace_back(task, node); });
  m_pTable->expandAll(true);
  m_pTable->setCurrentKey(m_pTable->dataModel()->rowAt(m_pTable->rowCount() - 1).key());
  ASSERT_EQ(chosen.size(), 1u);
  const auto [task, node] = chosen[0];
  EXPECT_FALSE(node.isEmpty());

  m_panel->showRow(task, QString());
  EXPECT_EQ(chosen.back(), std::make_pair(task, QString())) << "the root";
  m_pTable->expandAll(false);
  m_panel->showRow(task == 1 ? 12 : 1, node);
  m_panel->showRow(77, QString());
  EXPECT_EQ(m_pTable->rowCount(), 2) << "neither another task's row nor that of none";
  m_panel->showRow(task, node);
  EXPECT_EQ(chosen.back(), chosen[0]);
  EXPECT_GT(m_pTable->topRow(), 0);
  const QString rowKey = m_pTable->currentKey();
  EXPECT_EQ(m_pTable->selectedKeys(), QStringList{m_pTable->currentKey()});
  m_panel->showRow(task == 1 ? 12 : 1, QString());
  const std::size_t told = chosen.size();
  ASSERT_TRUE(refresh());
  EXPECT_EQ(chosen.size(), told) << "a refresh chooses nothing";
  m_pTable->hideItem(taskKey(task), true);
  m_host.takeMessages();
  m_panel->showRow(task, node);
  EXPECT_EQ(chosen.size(), told) << "filters are the user's";
  ASSERT_EQ(m_host.takeMessages().size(), 1u) << "who is told why nothing happens";
  m_pTable->hideItem(taskKey(task), false);
  m_pTable->hideItem(rowKey, true);
  m_panel->showRow(task, node);
  EXPECT_EQ(chosen.back(), std::make_pair(task, QString())) << "the nearest row above";
  EXPECT_EQ(m_host.takeMessages().size(), 1u);
}

}  // namespace
}  // namespace TC
