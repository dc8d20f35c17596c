// The panel with its feed on host threads, its worker and its GUI at once.
#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <atomic>
#include <thread>

#include "BasketColumns.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "CTestHost.h"
#include "TaskDetails.h"

namespace TC {
namespace {

constexpr int TASKS = 20;
constexpr int ROWS = 30;
constexpr int SETTINGS = 7;  ///< the tool bar's button that opens a window

void runGui(int msec, const std::function<void()>& step) {
  QElapsedTimer timer;
  timer.start();
  while (timer.elapsed() < msec) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    step();
  }
}

TEST(PanelThreads, FeedRefreshAndGuiRunAgainstEachOther) {
  testkit::CTestHost host(testkit::CTestHost::EClock::Live);
  CBasketTasksPanel panel(1, nullptr);
  panel.setTradeType(EMTT_Stock);
  panel.resize(1200, 500);
  panel.show();
  auto* table = panel.findChild<CHpfBasketStatusTable*>();
  std::atomic<bool> stop{false};
  std::atomic<int> filled{0};
  const auto feed = [&](int first) {
    while (!stop) {
      const int volume = std::min(999, ++filled);
      for (int task = first; task <= TASKS; task += 2) host.deliver(testkit::makeFilled(task, ROWS, volume));
      const ksservice::CTaskDetailPtr failed = testkit::makeFilled(first, ROWS, volume);
      failed->m_nStatus = ksservice::ETS_ExecutionError;
      failed->m_strMessage = std::to_string(volume);
      host.deliver(failed);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  };
  std::thread odd(feed, 1), even(feed, 2);
  int step = 0;
  runGui(8000, [&] {
    ++step;
    if (step % 7 == 0 && step % 12 != SETTINGS) panel.handleEvent(5, step % 12, 0, QString(), nullptr);
    if (step % 5 == 0) panel.requestAccount(*testkit::makeAccount("A1", "1001"));
    if (step % 97 == 0) host.services().announceTradingDay("20261124");
    if (step % 103 == 0) {
      panel.setTradeType(static_cast<EMavTraderType>(EMTT_Stock + 1));
      panel.setTradeType(EMTT_Stock);
    }
    if (step % 11 == 0) table->expandItem(QStringLiteral("组合任务%1").arg(1 + step % TASKS), step % 2 == 0);
    if (step % 13 == 0) table->grab();
  });
  stop = true;
  odd.join();
  even.join();
  for (int task = 1; task <= TASKS; ++task) host.deliver(testkit::makeFilled(task, ROWS, 1000));
  panel.handleEvent(5, 0, 0, QString(), nullptr);
  runGui(3000, [] {});
  int roots = 0;
  table->forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool, bool) {
    if (depth > 0) return;
    ++roots;
    EXPECT_EQ(row.number(EBC_Amount), ROWS * 1000 * 10.0) << row.key().toStdString();
    EXPECT_EQ(row.text(EBC_Status), "已完成");
  });
  EXPECT_EQ(roots, TASKS);
}

/// The panel goes at every stage of a refresh: before the worker has begun, while it works, while its result is queued,
/// while that is applied. The host's timers start the refreshes, so that a round takes no longer than its work.
TEST(PanelThreads, ThePanelGoesInTheMiddleOfARefresh) {
  constexpr int ROUNDS = 1000;
  testkit::CTestHost host;
  std::vector<ksservice::CTaskDetailPtr> details(TASKS);
  for (int task = 0; auto& detail : details) detail = testkit::makeFilled(++task, ROWS, 100);
  std::atomic<bool> stop{false};
  std::thread feed([&] {
    for (std::size_t next = 0; !stop; ++next) {
      host.deliver(details[next % details.size()]);
      std::this_thread::yield();
    }
  });
  for (int round = 0; round < ROUNDS; ++round) {
    auto panel = std::make_unique<CBasketTasksPanel>(1, nullptr);
    if (round % 3 == 0) panel->setTradeType(EMTT_Stock);
    for (int refresh = 0; refresh < 1 + round % 3; ++refresh) {
      host.fireTimers();
      std::this_thread::sleep_for(std::chrono::microseconds(round % 7 * 200));
      if (round % 2 == 0) QCoreApplication::processEvents();
    }
    panel.reset();
    QCoreApplication::processEvents();
  }
  stop = true;
  feed.join();
}

}  // namespace
}  // namespace TC
