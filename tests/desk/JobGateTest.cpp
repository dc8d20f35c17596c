#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "Samples.h"

namespace {

using namespace std::chrono_literals;
using utils::EPanelJob;

/// Publishes on a host thread; done() tells when it came through.
std::future<void> publishElsewhere(desk::CDesk& desk) {
  return std::async(std::launch::async, [&desk] { desk.publishTask(sample::publication("1-1")); });
}

bool isDone(const std::future<void>& future) { return future.wait_for(30ms) == std::future_status::ready; }

TEST(JobGate, WhileRecordingADeliveryWaitsFromThePostingOfAJobToItsEnd) {
  desk::CDesk desk;
  desk.gate().setRecording(true);
  desk.gate().jobPosted(EPanelJob::Refresh);
  std::future<void> delivery = publishElsewhere(desk);
  EXPECT_FALSE(isDone(delivery));
  desk.gate().jobBegins(EPanelJob::Refresh);
  EXPECT_FALSE(isDone(delivery));
  EXPECT_FALSE(desk.taskDetail("1-1"));
  desk.gate().jobEnded(EPanelJob::Refresh);
  EXPECT_FALSE(isDone(delivery)) << "what the job queued for the GUI thread has not run";
  EXPECT_FALSE(desk.gate().isSettled());
  QCoreApplication::processEvents();
  delivery.get();
  EXPECT_TRUE(desk.gate().isSettled());
  EXPECT_TRUE(desk.taskDetail("1-1"));
}

TEST(JobGate, WhileRecordingAJobBeginsWhenTheDeliveryUnderWayHasEnded) {
  desk::CDesk desk;
  std::atomic<bool> begun{false};
  desk.gate().setRecording(true, [&](EPanelJob) { begun = true; });
  std::promise<void> entered;
  std::promise<void> leave;
  const auto handle = desk.subscribeTasks([&](const auto&) {
    entered.set_value();
    leave.get_future().wait();
  });
  std::future<void> delivery = publishElsewhere(desk);
  entered.get_future().wait();
  desk.gate().jobPosted(EPanelJob::Refresh);
  std::future<void> job = std::async(std::launch::async, [&] { desk.gate().jobBegins(EPanelJob::Refresh); });
  EXPECT_FALSE(isDone(job));
  EXPECT_FALSE(begun) << "the refresh is recorded before the delivery ended";
  leave.set_value();
  job.get();
  EXPECT_TRUE(begun);
  delivery.get();
  desk.gate().jobEnded(EPanelJob::Refresh);
}

TEST(JobGate, BehindAFenceChangesAndJobsWaitUntilTheGuiThreadHasWorkedOffItsQueue) {
  desk::CDesk desk;
  std::string order;
  desk.gate().setRecording(
      true, [&](EPanelJob) { order += "job "; },
      [&] {
        order += "fence ";
        return true;
      });
  desk.requests().queryOrderProcess({"1-1"}, [&](const auto&, const auto&, const auto&) {
    QMetaObject::invokeMethod(
        qApp, [&] { order += "answered "; }, Qt::QueuedConnection);
  });
  std::thread([&] { desk.requests().replyToQuery({}, {}, {}); }).join();
  desk.gate().jobPosted(EPanelJob::Refresh);
  std::future<void> job = std::async(std::launch::async, [&] { desk.gate().jobBegins(EPanelJob::Refresh); });
  EXPECT_FALSE(isDone(job));
  QCoreApplication::processEvents();
  job.get();
  desk.gate().jobEnded(EPanelJob::Refresh);
  EXPECT_EQ(order, "answered fence job ");
  QCoreApplication::processEvents();

  // A GUI thread that waits for the others lets them pass.
  desk.requests().queryOrderProcess({"1-1"}, {});
  std::thread([&] { desk.requests().replyToQuery({}, {}, {}); }).join();
  std::future<void> delivery = publishElsewhere(desk);
  EXPECT_FALSE(isDone(delivery));
  desk.gate().dropFences();
  delivery.get();
}

TEST(JobGate, WithoutARecordingNobodyWaits) {
  desk::CDesk desk;
  desk.gate().jobPosted(EPanelJob::Refresh);
  std::future<void> delivery = publishElsewhere(desk);
  EXPECT_TRUE(isDone(delivery));
  desk.gate().jobEnded(EPanelJob::Refresh);
}

TEST(JobGate, TheGuiThreadIsNotHeldBackByAJob) {
  desk::CDesk desk;
  desk.gate().setRecording(true);
  desk.gate().jobPosted(EPanelJob::Refresh);
  desk.publishTask(sample::publication("1-1"));
  EXPECT_TRUE(desk.taskDetail("1-1"));
  desk.gate().jobEnded(EPanelJob::Refresh);
}

TEST(JobGate, AChangeWithinAChangeDoesNotWaitForItself) {
  desk::CDesk desk;
  desk.gate().setRecording(true);
  std::future<void> delivery = std::async(std::launch::async, [&desk] {
    const desk::CJobGate::CChange change(desk.gate());
    // A job that is posted meanwhile waits for this change, so the change must not wait for it.
    desk.gate().jobPosted(EPanelJob::Refresh);
    desk.setQuote("SH", "600000", {});
  });
  EXPECT_EQ(delivery.wait_for(5s), std::future_status::ready);
  desk.gate().jobEnded(EPanelJob::Refresh);
}

TEST(JobGate, CountsWhatIsPostedAndHoldsJobsBack) {
  desk::CDesk desk;
  desk::CJobGate& gate = desk.gate();
  EXPECT_TRUE(gate.isIdle());
  gate.setHold(true);
  gate.jobPosted(EPanelJob::AccountReload);
  gate.jobPosted(EPanelJob::Refresh);
  std::future<void> job = std::async(std::launch::async, [&] {
    gate.jobBegins(EPanelJob::AccountReload);
    gate.jobEnded(EPanelJob::AccountReload);
  });
  EXPECT_FALSE(isDone(job));
  gate.setHold(false);
  job.get();
  EXPECT_FALSE(gate.isIdle());
  EXPECT_FALSE(gate.waitIdle(10));
  gate.jobEnded(EPanelJob::Refresh);
  EXPECT_TRUE(gate.waitIdle(0));
}

TEST(JobGate, AnActionForAnIdleMomentGoesBehindWhatTheJobQueued) {
  desk::CDesk desk;
  desk.gate().setRecording(true);
  std::vector<std::string> order;
  desk.gate().jobPosted(EPanelJob::Refresh);
  desk.gate().whenIdle([&] { order.emplace_back("action"); });
  QCoreApplication::processEvents();
  EXPECT_TRUE(order.empty());
  QObject context;
  QMetaObject::invokeMethod(
      &context, [&] { order.emplace_back("queued by the job"); }, Qt::QueuedConnection);
  desk.gate().jobEnded(EPanelJob::Refresh);
  for (int round = 0; round < 200 && order.size() < 2; ++round) {
    QCoreApplication::processEvents();
    std::this_thread::sleep_for(1ms);
  }
  EXPECT_EQ(order, (std::vector<std::string>{"queued by the job", "action"}));
}

/// A feed against jobs: whatever runs as a job sees nothing change.
TEST(JobGate, NothingChangesWhileAJobRuns) {
  desk::CDesk desk;
  std::atomic<int> deliveries{0};
  std::atomic<bool> stop{false};
  desk.gate().setRecording(true);
  const auto handle = desk.subscribeTasks([&](const auto&) { ++deliveries; });
  std::thread feed([&] {
    while (!stop) desk.publishTask(sample::publication("1-1"));
  });
  int moved = 0;
  for (int round = 0; round < 300; ++round) {
    const int start = deliveries;
    while (deliveries == start) QCoreApplication::processEvents();
    desk.gate().jobPosted(EPanelJob::Refresh);
    std::thread worker([&] {
      desk.gate().jobBegins(EPanelJob::Refresh);
      const int before = deliveries;
      std::this_thread::yield();
      moved += deliveries != before;
      desk.gate().jobEnded(EPanelJob::Refresh);
    });
    worker.join();
  }
  stop = true;
  desk.gate().dropFences();
  feed.join();
  EXPECT_EQ(moved, 0);
}

}  // namespace
