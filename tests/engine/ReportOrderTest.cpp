#include "CReportOrder.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(ReportOrder, TakesEachReportOnceAndInItsTurn) {
  engine::CReportOrder order;
  std::vector<std::uint64_t> taken;
  const auto add = [&](std::uint64_t number) {
    exchange::SReport report;
    report.m_nNumber = number;
    order.add(report, [&taken](const exchange::SReport& next) { taken.push_back(next.m_nNumber); });
  };
  for (const std::uint64_t number : {2, 4, 2, 1, 1, 2, 0, 3, 6, 0, 4, 5, 6, 3}) add(number);
  // One without a number does not wait.
  EXPECT_EQ(taken, (std::vector<std::uint64_t>{1, 2, 0, 3, 4, 0, 5, 6}));
  EXPECT_EQ(order.next(), 7u);
}

}  // namespace
