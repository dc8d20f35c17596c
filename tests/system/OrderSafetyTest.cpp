// Never an order that the user did not confirm, never a share more than the remainder: random days with the panel over
// a host that delays, reorders and loses. In the environment: ORDER_SAFETY_DAYS and ORDER_SAFETY_SEED run so many days
// from a seed on, without them as many as fit into a minute; each day has some of the ingredients, with
// ORDER_SAFETY_WITH all that it names (none: "").
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <csignal>
#include <cstdlib>
#include <iostream>

#include "SafetyDay.h"

namespace {

constexpr int MINUTE_MSEC = 60000;
long numberOf(const char* variable, long otherwise) {
  const char* text = std::getenv(variable);
  return text ? std::strtol(text, nullptr, 10) : otherwise;
}

/// What a crash tells.
char g_day[64] = "";
void onCrash(int signal) {
  std::fputs(g_day, stderr);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

TEST(OrderSafety, HoldsOnRandomDays) {
  const long days = numberOf("ORDER_SAFETY_DAYS", 0);
  const long first = numberOf("ORDER_SAFETY_SEED", 1);
  const char* with = std::getenv("ORDER_SAFETY_WITH");
  const unsigned allowed = with ? test::parseIngredients(with) : ~0u;
  test::SafetyCounts counts;
  QElapsedTimer timer;
  timer.start();
  long day = 0;
  std::signal(SIGSEGV, onCrash);
  for (; days > 0 ? day < days : timer.elapsed() < MINUTE_MSEC; ++day) {
    std::snprintf(g_day, sizeof g_day, "crash on the day of seed %ld\n", first + day);
    test::CSafetyDay each(static_cast<std::uint64_t>(first + day), allowed, with != nullptr, counts);
    each.run();
    ASSERT_TRUE(each.fault().empty()) << each.fault();
  }
  std::cout << day << " days";
  for (const auto& [what, count] : counts) std::cout << ", " << count << " " << what;
  std::cout << std::endl;
  EXPECT_GE(counts["patches"], day / 10) << "the days try too little";
}

}  // namespace
