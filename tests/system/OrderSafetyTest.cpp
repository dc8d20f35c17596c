// Never an order that the user did not confirm, never a share more than the remainder: random days with the panel over
// a host that delays, reorders and loses. In the environment: ORDER_SAFETY_DAYS and ORDER_SAFETY_SEED run so many days
// from a seed on, without them as many as fit into a minute; each day has some of the ingredients, with
// ORDER_SAFETY_WITH all that it names (none: ""). A day on which the worker is held hangs on the threads, too.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include "RandomDays.h"
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

TEST(OrderSafety, HoldsOnRandomDays) {
  const char* with = std::getenv("ORDER_SAFETY_WITH");
  const unsigned allowed = with ? test::parseIngredients(with) : ~0u;
  test::DayCounts counts;
  std::signal(SIGSEGV, onCrash);
  const long days = test::runRandomDays("ORDER_SAFETY", MINUTE_MSEC, counts, [&](std::uint32_t seed) {
    std::snprintf(g_day, sizeof g_day, "crash on the day of seed %u\n", seed);
    test::CSafetyDay each(seed, allowed, with != nullptr, counts);
    each.run();
    ASSERT_TRUE(each.fault().empty()) << each.fault();
  });
  EXPECT_GE(counts["patches"], days / 10) << "the days try too little";
}

}  // namespace
