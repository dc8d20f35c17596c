// The judge of trading days that run one after the other, on a process that really keeps something of a day.
#include "DayMemory.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace bench {
namespace {

/// Three days, of which the last one leaves something behind.
template <typename Leave>
std::string faultWhenTheLastDay(const Leave& leave) {
  std::vector<SDayMemory> days{readDayMemory(), readDayMemory()};
  [[maybe_unused]] const auto left = leave();
  days.push_back(readDayMemory());
  return faultOfDays(days).toStdString();
}

TEST(TradingDays, AreFlatWhenNothingIsKept) {
  EXPECT_EQ(faultWhenTheLastDay([] { return 0; }), "");
}

TEST(TradingDays, ThatKeepMemoryAHandleAThreadOrADetailAreRefused) {
  const auto heap = faultWhenTheLastDay([] {
    // Small pieces, as rows and their texts are.
    std::vector<std::unique_ptr<char[]>> pieces;
    for (int i = 0; i < 4000; ++i) pieces.push_back(std::make_unique<char[]>(100));
    return pieces;
  });
  EXPECT_EQ(heap.substr(0, 22), "the heap has grown by ") << heap;

  const auto handle =
      faultWhenTheLastDay([] { return std::shared_ptr<FILE>(std::fopen("/dev/null", "r"), std::fclose); });
  EXPECT_EQ(handle, "handles or threads of day 3 are not those of day 2");

  std::mutex mutex;
  std::condition_variable day;
  bool over = false;
  const auto thread = faultWhenTheLastDay([&] {
    return std::shared_ptr<std::thread>(new std::thread([&] {
                                          std::unique_lock lock(mutex);
                                          day.wait(lock, [&] { return over; });
                                        }),
                                        [&](std::thread* running) {
                                          std::unique_lock lock(mutex);
                                          over = true;
                                          lock.unlock();
                                          day.notify_all();
                                          running->join();
                                          delete running;
                                        });
  });
  EXPECT_EQ(thread, "handles or threads of day 3 are not those of day 2");

  // Pages that no heap function has handed out: all that only the resident size shows.
  const auto pages = faultWhenTheLastDay([] {
    constexpr std::size_t SIZE = 64 << 20;
    void* mapped = mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    std::memset(mapped, 1, SIZE);
    return std::shared_ptr<void>(mapped, [](void* region) { munmap(region, SIZE); });
  });
  EXPECT_EQ(pages.substr(0, 33), "the resident memory has grown by ") << pages;

  SDayMemory kept = readDayMemory();
  kept.details = 2;
  EXPECT_EQ(faultOfDays({readDayMemory(), kept}).toStdString(), "2 details of day 2 are kept");
}

}  // namespace
}  // namespace bench
