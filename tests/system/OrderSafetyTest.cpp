// Never an order that the user did not confirm, never a share more than the remainder: random days with the whole stack
// under the panel. ORDER_SAFETY_DAYS and ORDER_SAFETY_SEED run so many days from a seed on; without them as many as fit
// into a minute.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <cstdlib>
#include <iostream>

#include "SafetyDay.h"

namespace {

constexpr int MINUTE_MSEC = 60000;

long numberOf(const char* variable, long otherwise) {
  const char* text = std::getenv(variable);
  return text ? std::strtol(text, nullptr, 10) : otherwise;
}

TEST(OrderSafety, HoldsOnRandomDays) {
  const long days = numberOf("ORDER_SAFETY_DAYS", 0);
  const long first = numberOf("ORDER_SAFETY_SEED", 1);
  test::SSafetyCounts counts;
  QElapsedTimer timer;
  timer.start();
  long day = 0;
  while (days > 0 ? day < days : timer.elapsed() < MINUTE_MSEC) {
    test::CSafetyDay each(static_cast<std::uint64_t>(first + day), counts);
    each.run();
    ASSERT_TRUE(each.fault().empty()) << each.fault();
    ++day;
  }
  std::cout << day << " days: " << counts.m_nClicks << " clicks, " << counts.m_nDialogs << " dialogs, "
            << counts.m_nAccepted << " accepted, " << counts.m_nPatches << " patches asked for, " << counts.m_nRefused
            << " creations refused, " << counts.m_nDirect << " direct patches, " << counts.m_nMessages << " messages, "
            << counts.m_nFigures << " rows compared" << std::endl;
  EXPECT_GE(counts.m_nPatches, day / 10) << "the days try too little";
}

}  // namespace
