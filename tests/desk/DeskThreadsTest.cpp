#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "CDesk.h"
#include "TaskDetails.h"

namespace {

using namespace std::chrono_literals;
using desk::CDesk;
using utils::EPanelJob;

bool isDone(const std::future<void>& future) { return future.wait_for(30ms) == std::future_status::ready; }

class JobGate : public testing::Test {
 protected:
  /// Publishes on a host thread.
  std::future<void> publishElsewhere() {
    return std::async(std::launch::async, [this] { m_desk.publishTask({testkit::makeDetail(1), {}}); });
  }
  void post() { m_gate.jobPosted(EPanelJob::Refresh); }
  std::future<void> beginElsewhere() {
    return std::async(std::launch::async, [this] { m_gate.jobBegins(EPanelJob::Refresh); });
  }
  void end() { m_gate.jobEnded(EPanelJob::Refresh); }

  CDesk m_desk;
  desk::CJobGate& m_gate = m_desk.gate();
};

TEST_F(JobGate, WhileRecordingADeliveryWaitsFromThePostingOfAJobToItsEnd) {
  m_gate.setRecording(true);
  post();
  std::future<void> delivery = publishElsewhere();
  EXPECT_FALSE(isDone(delivery));
  m_gate.jobBegins(EPanelJob::Refresh);
  EXPECT_FALSE(isDone(delivery));
  EXPECT_FALSE(m_desk.taskDetail("1-1"));
  end();
  EXPECT_FALSE(isDone(delivery)) << "what the job queued for the GUI thread has not run";
  EXPECT_FALSE(m_gate.isSettled());
  QCoreApplication::processEvents();
  delivery.get();
  EXPECT_TRUE(m_gate.isSettled());
  EXPECT_TRUE(m_desk.taskDetail("1-1"));
}

TEST_F(JobGate, WhileRecordingAJobBeginsWhenTheDeliveryUnderWayHasEnded) {
  std::atomic<bool> begun{false};
  m_gate.setRecording(true, [&](EPanelJob) { begun = true; });
  std::promise<void> entered;
  std::promise<void> leave;
  const auto handle = m_desk.subscribeTasks([&](const auto&) {
    entered.set_value();
    leave.get_future().wait();
  });
  std::future<void> delivery = publishElsewhere();
  entered.get_future().wait();
  post();
  std::future<void> job = beginElsewhere();
  EXPECT_FALSE(isDone(job));
  EXPECT_FALSE(begun) << "the refresh is recorded before the delivery ended";
  leave.set_value();
  job.get();
  EXPECT_TRUE(begun);
  delivery.get();
  end();
}

TEST_F(JobGate, BehindAFenceChangesAndJobsWaitUntilTheGuiThreadHasWorkedOffItsQueue) {
  std::string order;
  m_gate.setRecording(
      true, [&](EPanelJob) { order += "job "; },
      [&] {
        order += "fence ";
        return true;
      });
  m_desk.requests().queryOrderProcess({"1-1"}, [&](const auto&, const auto&, const auto&) {
    QMetaObject::invokeMethod(
        qApp, [&] { order += "answered "; }, Qt::QueuedConnection);
  });
  std::thread([&] { m_desk.requests().replyToQuery({}, {}, {}); }).join();
  post();
  std::future<void> job = beginElsewhere();
  EXPECT_FALSE(isDone(job));
  QCoreApplication::processEvents();
  job.get();
  end();
  EXPECT_EQ(order, "answered fence job ");
  QCoreApplication::processEvents();

  // A GUI thread that waits for the others lets them pass.
  m_desk.requests().queryOrderProcess({"1-1"}, {});
  std::thread([&] { m_desk.requests().replyToQuery({}, {}, {}); }).join();
  std::future<void> delivery = publishElsewhere();
  EXPECT_FALSE(isDone(delivery));
  m_gate.dropFences();
  delivery.get();
}

TEST_F(JobGate, NobodyWaitsWithoutARecordingNorTheGuiThreadWithOne) {
  post();
  std::future<void> delivery = publishElsewhere();
  EXPECT_TRUE(isDone(delivery));
  m_gate.setRecording(true);
  m_desk.publishTask({testkit::makeDetail(2), {}});
  EXPECT_TRUE(m_desk.taskDetail("2-1"));
  end();
}

TEST_F(JobGate, AChangeWithinAChangeDoesNotWaitForItself) {
  m_gate.setRecording(true);
  std::future<void> delivery = std::async(std::launch::async, [this] {
    const desk::CJobGate::CChange change(m_gate);
    // A job that is posted meanwhile waits for this change, so the change must not wait for it.
    post();
    m_desk.setQuote("SH", "600000", {});
  });
  EXPECT_EQ(delivery.wait_for(5s), std::future_status::ready);
  end();
}

TEST_F(JobGate, CountsWhatIsPostedAndHoldsJobsBack) {
  EXPECT_TRUE(m_gate.isIdle());
  m_gate.setHold(true);
  post();
  post();
  std::future<void> job = beginElsewhere();
  EXPECT_FALSE(isDone(job));
  m_gate.setHold(false);
  job.get();
  end();
  EXPECT_FALSE(m_gate.isIdle());
  EXPECT_FALSE(m_gate.waitIdle(10));
  end();
  EXPECT_TRUE(m_gate.waitIdle(0));
}

TEST_F(JobGate, AnActionForAnIdleMomentGoesBehindWhatTheJobQueued) {
  m_gate.setRecording(true);
  std::string order;
  post();
  m_gate.whenIdle([&] { order += "action"; });
  QCoreApplication::processEvents();
  EXPECT_EQ(order, "");
  QMetaObject::invokeMethod(
      qApp, [&] { order += "queued by the job, "; }, Qt::QueuedConnection);
  end();
  for (int round = 0; round < 200 && order.find("action") == std::string::npos; ++round) {
    QCoreApplication::processEvents();
    std::this_thread::sleep_for(1ms);
  }
  EXPECT_EQ(order, "queued by the job, action");
}

TEST(Subscription, TheHandleWaitsForARunningCallback) {
  CDesk desk;
  std::promise<void> entered;
  std::promise<void> leave;
  std::atomic<bool> left{false};
  auto handle = desk.subscribeTasks([&](const auto&) {
    entered.set_value();
    leave.get_future().wait();
    left = true;
  });
  std::thread feed([&] { desk.publishTask({testkit::makeDetail(1), {}}); });
  entered.get_future().wait();
  std::future<bool> ended = std::async(std::launch::async, [&] {
    handle.reset();
    return left.load();
  });
  EXPECT_EQ(ended.wait_for(50ms), std::future_status::timeout);
  leave.set_value();
  EXPECT_TRUE(ended.get()) << "the handle went while its callback ran";
  feed.join();
}

TEST(Subscription, ACallbackMayEndItsOwnSubscription) {
  CDesk desk;
  int calls = 0;
  utils::CSubscriptionHandle handle;
  handle = desk.subscribeTasks([&](const auto&) {
    ++calls;
    handle.reset();
  });
  desk.publishTask({testkit::makeDetail(1), {}});
  desk.publishTask({testkit::makeDetail(1), {}});
  EXPECT_EQ(calls, 1);
}

TEST(Subscription, AHandleMayOutliveItsDesk) {
  auto gone = std::make_unique<CDesk>();
  utils::CSubscriptionHandle handle = gone->subscribeTasks([](const auto&) { FAIL() << "nothing was published"; });
  gone.reset();
  handle.reset();
}

/// Subscribers that come and go while two threads publish: no callback comes after its handle went.
TEST(Subscription, NoCallbackComesAfterTheHandle) {
  CDesk desk;
  std::atomic<bool> stop{false};
  std::atomic<int> late{0};
  std::atomic<int> received{0};
  const auto feed = [&](int task) {
    while (!stop) desk.publishTask({testkit::makeDetail(task), {}});
  };
  std::thread first(feed, 1);
  std::thread second(feed, 2);
  for (int round = 0; round < 200; ++round) {
    auto alive = std::make_shared<std::atomic<bool>>(true);
    auto handle = desk.subscribeTasks([&, alive](const auto&) {
      ++received;
      if (!*alive) ++late;
    });
    const int before = received;
    while (received == before) std::this_thread::yield();
    handle.reset();
    *alive = false;
  }
  stop = true;
  first.join();
  second.join();
  EXPECT_EQ(late, 0);
}

}  // namespace
