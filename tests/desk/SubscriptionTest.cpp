#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "Samples.h"

namespace {

using namespace std::chrono_literals;

TEST(Subscription, TheHandleWaitsForARunningCallback) {
  desk::CDesk desk;
  std::promise<void> entered;
  std::promise<void> leave;
  std::atomic<bool> left{false};
  auto handle = desk.subscribeTasks([&](const auto&) {
    entered.set_value();
    leave.get_future().wait();
    left = true;
  });
  std::thread feed([&] { desk.publishTask(sample::publication("1-1")); });
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
  desk::CDesk desk;
  int calls = 0;
  utils::CSubscriptionHandle handle;
  handle = desk.subscribeTasks([&](const auto&) {
    ++calls;
    handle.reset();
  });
  desk.publishTask(sample::publication("1-1"));
  desk.publishTask(sample::publication("1-1"));
  EXPECT_EQ(calls, 1);
}

TEST(Subscription, AHandleMayOutliveItsDesk) {
  utils::CSubscriptionHandle handle;
  {
    desk::CDesk desk;
    handle = desk.subscribeTasks([](const auto&) { FAIL() << "nothing was published"; });
  }
  handle.reset();
}

/// Subscribers that come and go while two threads publish: no callback comes after its handle went.
TEST(Subscription, NoCallbackComesAfterTheHandle) {
  desk::CDesk desk;
  std::atomic<bool> stop{false};
  std::atomic<int> late{0};
  std::atomic<int> received{0};
  const auto feed = [&](const std::string& key) {
    while (!stop) desk.publishTask(sample::publication(key));
  };
  std::thread first(feed, "1-1");
  std::thread second(feed, "2-1");
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
