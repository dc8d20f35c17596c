// Never an order that the user did not confirm, never a share more than the remainder: random days with the panel over
// a host that delays, reorders and loses. In the environment: ORDER_SAFETY_DAYS and ORDER_SAFETY_SEED run so many days
// from a seed on, without them as many as fit into a minute; each day has some of the ingredients, with
// ORDER_SAFETY_WITH all that it names (none: ""). A day on which the worker is held hangs on the threads, too.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <csignal>
#include <cstdlib>
#include <iostream>

#include "SafetyDay.h"

namespace {

constexpr int MINUTE_MSEC = 60000;
/// What a crash tells.
char g_day[64] = "";
void onCrash(int signal) {
  std::fputs(g_day, stderr);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

long number(const char* name, long otherwise) {
  const char* text = std::getenv(name);
  return text ? std::strtol(text, nullptr, 10) : otherwise;
}

TEST(OrderSafety, HoldsOnRandomDays) {
  const char* with = std::getenv("ORDER_SAFETY_WITH");
  const unsigned allowed = with ? test::parseIngredients(with) : ~0u;
  const long days = number("ORDER_SAFETY_DAYS", 0);
  const long first = number("ORDER_SAFETY_SEED", 1);
  test::DayCounts counts;
  std::signal(SIGSEGV, onCrash);
  QElapsedTimer timer;
  timer.start();
  long day = 0;
  for (; days > 0 ? day < days : timer.elapsed() < MINUTE_MSEC; ++day) {
    const auto seed = static_cast<std::uint32_t>(first + day);
    std::snprintf(g_day, sizeof g_day, "crash on the day of seed %u\n", seed);
    test::CSafetyDay each(seed, allowed, with != nullptr, counts);
    each.run();
    ASSERT_TRUE(each.fault().empty()) << each.fault();
  }
  std::cout << day << " days";
  for (const auto& [what, count] : counts) std::cout << ", " << count << " " << what;
  std::cout << std::endl;
  EXPECT_GE(counts["patches"], day / 10) << "the days try too little";
}

}  // namespace
