// What a course adds up to, and what of it is painted.
#include <gtest/gtest.h>

#include "docks/ChartPainter.h"
#include "docks/CourseFigures.h"
#include "ksservice/Enumerations.h"

namespace app {
namespace {

TEST(ChartColumns, KeepTheLeastAndTheGreatestOfEachPixelAndGoOnWhereNothingCame) {
  std::vector<SChartPoint> points;
  for (int time = 0; time <= 999; ++time)
    points.push_back({time, time % 100 == 50 ? 7.F : time % 100 == 51 ? -7.F : 0.F});
  for (const SChartColumn& column : chartColumns(points, 0, 999, 10)) {
    EXPECT_TRUE(column.m_bAny);
    EXPECT_EQ(column.m_fLow, -7) << "a spike of one sample is seen";
    EXPECT_EQ(column.m_fHigh, 7);
  }
  const auto sparse = chartColumns({{-5, 9}, {10, 1}, {30, 3}, {200, 9}}, 0, 100, 101);
  EXPECT_FALSE(sparse[9].m_bAny) << "before the first one, and outside of the times";
  EXPECT_EQ(sparse[20].m_fLast, 1);
  EXPECT_EQ(sparse[30].m_fHigh, 3);
  EXPECT_FALSE(sparse[31].m_bAny) << "what comes next is not known";
  EXPECT_TRUE(chartColumns({{1, 1}}, 0, 100, 0).empty());
  EXPECT_FALSE(chartColumns({{1, 1}}, 5, 5, 3)[0].m_bAny);
  EXPECT_EQ(shortNumber(-123456789), QStringLiteral("-1.23亿"));
  EXPECT_EQ(shortNumber(12345), QStringLiteral("1.2万"));
  EXPECT_EQ(shortNumber(0.5), QStringLiteral("0.50"));
}

constexpr int DAY = 1795363200;  ///< 00:00 at the exchange
constexpr int OFFSET = 8 * 3600;
constexpr int at(int hours, int minutes) { return DAY + (hours * 60 + minutes) * 60; }

CTaskCourse begun(const std::string& algo) {
  CTaskCourse course;
  course.start(at(9, 30), algo);
  course.addLine("SH", "600000", true, {10, 1, 1000, 10000}, 1000);
  course.addLine("SZ", "1", false, {20, 1, 0, 0}, 500);
  return course;
}

TEST(TaskCourse, AFillCostsWhatItIsWorseThanTheArrivalAndTheMarketsAveragePrice) {
  CTaskCourse kept = begun("algo=TWAP;start=09:30:00;end=14:30:00;slices=100");
  kept.addLine("SH", "600000", true, {11, 1, 5000, 50000}, 1000);  // another account's, a little later
  kept.addFill("SH", "600000", true, 1000, 10100);
  kept.addFill("SZ", "1", false, 100, 1990);
  kept.addFill("SH", "600000", false, 100, 990);  // not of this task
  const STaskCourse& course = kept.course();
  EXPECT_DOUBLE_EQ(course.m_dTarget, 30000);
  EXPECT_DOUBLE_EQ(course.m_dBought, 10100);
  EXPECT_DOUBLE_EQ(course.m_dSold, 1990);
  EXPECT_DOUBLE_EQ(course.m_dCost, 100 + 10) << "bought above, sold below";
  EXPECT_EQ(costText(course.m_dCost, course.m_dTradedTarget), QStringLiteral("91.67 bp  110元"));

  std::vector<exchange::SQuote> quotes(2);
  quotes[0].m_nVolume = 3000;
  quotes[0].m_dAmount = 10000 + 2000 * 10.2;  // since the task began at 10.2
  const auto market = costAgainstMarket(course, quotes);
  ASSERT_TRUE(market);
  EXPECT_NEAR(market->first, -100, 1e-6) << "cheaper than the market; nobody traded the other one";
  EXPECT_NEAR(market->second, 10200, 1e-6);
  EXPECT_FALSE(costAgainstMarket(course, {}));

  EXPECT_NEAR(*plannedShare(course, at(13, 0), OFFSET), 0.58, 0.03) << "the time of no trading counts for nothing";
  EXPECT_EQ(*plannedShare(course, at(14, 30), OFFSET), 1);
  EXPECT_EQ(expectedEnd(course, {at(10, 0), OFFSET, {}}), at(14, 30));
  EXPECT_GT(expectedEnd(course, {at(14, 31), OFFSET, {}}), at(14, 31)) << "a patch goes on when its schedule is over";
  kept.setEnded("1-1", at(10, 5));
  kept.setEnded("1-2", ksservice::UNSET_INT);
  EXPECT_EQ(course.m_nEnd, 0) << "a part of it runs";
  kept.setEnded("1-2", at(10, 4));
  EXPECT_EQ(expectedEnd(course, {at(11, 0), OFFSET, {}}), at(10, 5));
  const STaskCourse none;
  EXPECT_FALSE(plannedShare(none, at(10, 0), OFFSET));
  EXPECT_FALSE(courseFigures(none, {at(10, 0), OFFSET, {}}).empty());

  CTaskCourse plain = begun("");
  plain.addFill("SH", "600000", true, 500, 5000);
  EXPECT_EQ(expectedEnd(plain.course(), {at(9, 40), OFFSET, {}}), at(10, 10)) << "as fast as until now";
}

TEST(TaskCourse, KeepsItsWholeTimeInABoundedNumberOfSamples) {
  CTaskCourse kept = begun("");
  for (int second = 0; second < 100000; ++second) {
    kept.addHedged(1);
    kept.sample(at(0, 0) + second / 2);
  }
  const std::vector<SCourseSample>& samples = kept.course().m_samples;
  EXPECT_LE(samples.size(), CTaskCourse::MAX_SAMPLES);
  EXPECT_GT(samples.size(), CTaskCourse::MAX_SAMPLES / 3);
  EXPECT_LE(samples.front().m_nTime, at(0, 1));
  EXPECT_EQ(samples.back().m_nTime, at(0, 0) + 49999);
  EXPECT_EQ(samples.back().m_fHedged, 100000);
  for (std::size_t i = 1; i < samples.size(); ++i) ASSERT_GT(samples[i].m_nTime, samples[i - 1].m_nTime);
}

}  // namespace
}  // namespace app
