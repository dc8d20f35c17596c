#include "docks/CourseFigures.h"

#include <algorithm>
#include <cmath>

#include "CAlgoSchedule.h"
#include "gv/CUiResource.h"

namespace app {
namespace {

constexpr int SECONDS_OF_DAY = 24 * 3600;
constexpr double BASIS_POINTS = 10000;
/// Points of a planned line: more than there are pixels would show nothing.
constexpr int PLAN_POINTS = 400;
constexpr int PLAN_PARTS = 1000000;
constexpr int LEAST_SPAN = 60;  ///< seconds that a time axis shows at least

std::int64_t ofDay(int time, int offset) { return static_cast<std::int64_t>((time + offset) % SECONDS_OF_DAY) * 1000; }

std::optional<engine::CAlgoSchedule> scheduleOf(const STaskCourse& course, int offset) {
  TC::SAlgoParams params;
  if (course.m_strAlgoParams.empty() || !TC::SAlgoParams::parse(course.m_strAlgoParams, params).empty()) {
    return std::nullopt;
  }
  return engine::CAlgoSchedule(params, ofDay(course.m_nStart, offset));
}

/// When a schedule ends, seconds since the epoch; 0 for none.
int scheduledEnd(const STaskCourse& course, int offset) {
  const auto schedule = scheduleOf(course, offset);
  if (!schedule) return 0;
  const int midnight = course.m_nStart - static_cast<int>(ofDay(course.m_nStart, offset) / 1000);
  return midnight + schedule->params().m_nEnd;
}

QString clockText(int time, int offset) {
  if (time == 0) return QStringLiteral("--");
  return QString::fromStdString(TC::formatSecondOfDay(static_cast<int>(ofDay(time, offset) / 1000)));
}

QString percent(double part) { return QStringLiteral("%1%").arg(part * 100, 0, 'f', 1); }

QString lots(int number) { return QStringLiteral("%1 手").arg(number); }

const QColor* colour(const char* key) { return GV::CUiResource::getColor(QString::fromLatin1(key)); }

/// What was sampled last holds until now.
SChartLine sampled(const STaskCourse& course, const SChart& chart, float SCourseSample::*value, const char* key) {
  SChartLine line{{}, colour(key)};
  line.m_points.reserve(course.m_samples.size());
  for (const SCourseSample& sample : course.m_samples) line.m_points.push_back({sample.m_nTime, sample.*value});
  if (!line.m_points.empty() && line.m_points.back().m_nTime < chart.m_nNow) {
    line.m_points.push_back({chart.m_nNow, line.m_points.back().m_fValue});
  }
  return line;
}

SChartLine planned(const STaskCourse& course, const SChart& chart, int offset) {
  SChartLine line{{}, colour("clr_chart_plan")};
  const auto schedule = scheduleOf(course, offset);
  for (int i = 0; schedule && i <= PLAN_POINTS; ++i) {
    const int time = chart.m_nBegin + static_cast<int>((chart.m_nEnd - chart.m_nBegin) * double(i) / PLAN_POINTS);
    const double part = schedule->planned(PLAN_PARTS, ofDay(time, offset), 0) / double{PLAN_PARTS};
    line.m_points.push_back({time, static_cast<float>(part * course.m_dTarget)});
  }
  return line;
}

SChart chartOf(const STaskCourse& course, const SCourseMoment& moment, const QString& title, const QString& value) {
  SChart chart;
  chart.m_strTitle = title;
  chart.m_strValue = value;
  chart.m_nTimeOffset = moment.m_nTimeOffset;
  chart.m_nBegin = course.m_nStart;
  chart.m_nNow = course.m_nEnd != 0 ? course.m_nEnd : moment.m_nNow;
  chart.m_nEnd = std::max(chart.m_nNow, course.m_nStart + LEAST_SPAN);
  return chart;
}

}  // namespace

QString costText(double cost, double base) {
  if (base <= 0) return QStringLiteral("--");
  return QStringLiteral("%1 bp  %2元").arg(cost / base * BASIS_POINTS, 0, 'f', 2).arg(shortNumber(cost));
}

std::optional<double> plannedShare(const STaskCourse& course, int time, int timeOffset) {
  const auto schedule = scheduleOf(course, timeOffset);
  if (!schedule || schedule->params().m_eAlgorithm == TC::EAlgorithm::POV) return std::nullopt;
  return schedule->planned(PLAN_PARTS, ofDay(time, timeOffset), 0) / double{PLAN_PARTS};
}

std::optional<std::pair<double, double>> costAgainstMarket(const STaskCourse& course,
                                                           const std::vector<exchange::SQuote>& now) {
  const std::vector<exchange::SQuote>& quotes = course.m_atEnd.empty() ? now : course.m_atEnd;
  if (quotes.size() != course.m_lines.size()) return std::nullopt;
  double cost = 0;
  double base = 0;
  for (std::size_t i = 0; i < quotes.size(); ++i) {
    const SCourseLine& line = course.m_lines[i];
    const std::int64_t volume = quotes[i].m_nVolume - line.m_arrival.m_nVolume;
    if (line.m_nTraded == 0 || volume <= 0) continue;
    const double amount = quotes[i].m_dAmount - line.m_arrival.m_dAmount;
    const double price = amount / static_cast<double>(volume) / line.m_arrival.m_dMultiplier;
    cost += line.costAgainst(price);
    base += price * line.m_arrival.m_dMultiplier * static_cast<double>(line.m_nTraded);
  }
  if (base <= 0) return std::nullopt;
  return std::make_pair(cost, base);
}

int expectedEnd(const STaskCourse& course, const SCourseMoment& moment) {
  if (course.m_nEnd != 0) return course.m_nEnd;
  const int scheduled = scheduledEnd(course, moment.m_nTimeOffset);
  // A patch goes on after it.
  if (scheduled > moment.m_nNow) return scheduled;
  const double left = course.m_dTarget - course.m_dTradedTarget;
  if (course.m_dTradedTarget <= 0 || left <= 0) return 0;
  const double speed = course.m_dTradedTarget / std::max(1, moment.m_nNow - course.m_nStart);
  const double seconds = left / speed;
  return seconds < SECONDS_OF_DAY ? moment.m_nNow + static_cast<int>(std::lround(seconds)) : 0;
}

std::vector<SCourseFigure> courseFigures(const STaskCourse& course, const SCourseMoment& moment) {
  const double done = course.m_dTarget > 0 ? course.m_dTradedTarget / course.m_dTarget : 0;
  const auto plan = plannedShare(course, moment.m_nNow, moment.m_nTimeOffset);
  const auto market = costAgainstMarket(course, moment.m_quotes);
  const auto clock = [&moment](int time) { return clockText(time, moment.m_nTimeOffset); };
  std::vector<SCourseFigure> figures = {
      {QStringLiteral("进度"), percent(done)},
      {QStringLiteral("计划"), plan ? percent(*plan) : QStringLiteral("--")},
      {QStringLiteral("目标金额"), shortNumber(course.m_dTarget)},
      {QStringLiteral("成交金额"), shortNumber(course.m_dBought + course.m_dSold)},
      {QStringLiteral("到达价滑点"), costText(course.m_dCost, course.m_dTradedTarget)},
      {QStringLiteral("均价滑点"), market ? costText(market->first, market->second) : QStringLiteral("--")},
      {QStringLiteral("买入"), shortNumber(course.m_dBought)},
      {QStringLiteral("卖出"), shortNumber(course.m_dSold)},
      {QStringLiteral("买入减卖出"), shortNumber(course.m_dBought - course.m_dSold)},
      {QStringLiteral("费用"), QString::number(course.m_dFees, 'f', 2)},
      {QStringLiteral("开始"), clock(course.m_nStart)},
      {course.m_nEnd != 0 ? QStringLiteral("结束") : QStringLiteral("预计结束"), clock(expectedEnd(course, moment))},
  };
  return figures;
}

std::vector<SChart> courseCharts(const STaskCourse& course, const SCourseMoment& moment) {
  std::vector<SChart> charts;
  const double done = course.m_dTarget > 0 ? course.m_dTradedTarget / course.m_dTarget : 0;
  SChart progress = chartOf(course, moment, QStringLiteral("成交与计划"), percent(done));
  progress.m_bFromZero = true;
  if (plannedShare(course, moment.m_nNow, moment.m_nTimeOffset)) {
    progress.m_nEnd = std::max(progress.m_nEnd, scheduledEnd(course, moment.m_nTimeOffset));
    progress.m_lines.push_back(planned(course, progress, moment.m_nTimeOffset));
  }
  progress.m_lines.push_back(sampled(course, progress, &SCourseSample::m_fTraded, "clr_chart_line"));
  charts.push_back(std::move(progress));

  SChart cost =
      chartOf(course, moment, QStringLiteral("到达价滑点 (元)"), costText(course.m_dCost, course.m_dTradedTarget));
  cost.m_bFromZero = true;
  cost.m_lines.push_back(sampled(course, cost, &SCourseSample::m_fCost, "clr_side_buy"));
  charts.push_back(std::move(cost));

  SChart net =
      chartOf(course, moment, QStringLiteral("买入减卖出 (元)"), shortNumber(course.m_dBought - course.m_dSold));
  net.m_bFromZero = true;
  net.m_lines.push_back(sampled(course, net, &SCourseSample::m_fNet, "clr_chart_line"));
  charts.push_back(std::move(net));

  if (course.m_nHedgeTarget == 0 && course.m_nHedged == 0) return charts;
  SChart hedge = chartOf(course, moment, QStringLiteral("对冲"),
                         QStringLiteral("%1 / 目标 %2").arg(lots(course.m_nHedged), lots(course.m_nHedgeTarget)));
  hedge.m_bFromZero = true;
  hedge.m_lines.push_back(sampled(course, hedge, &SCourseSample::m_fHedgeTarget, "clr_chart_plan"));
  hedge.m_lines.push_back(sampled(course, hedge, &SCourseSample::m_fHedged, "clr_side_sell"));
  hedge.m_pRibbon = colour("clr_chart_ribbon");
  charts.push_back(std::move(hedge));
  return charts;
}

}  // namespace app
