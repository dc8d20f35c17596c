/// What the overview shows of a task, formed from its course. Plain values; any thread.
#pragma once

#include <QString>
#include <optional>
#include <utility>
#include <vector>

#include "IMarket.h"
#include "docks/ChartPainter.h"
#include "docks/TaskCourse.h"

namespace app {

/// The moment at which a course is looked at.
struct SCourseMoment {
  int m_nNow = 0;                          ///< seconds since the epoch
  int m_nTimeOffset = 0;                   ///< seconds from UTC at the exchange
  std::vector<exchange::SQuote> m_quotes;  ///< of the course's lines, in their order; empty: not known
};

struct SCourseFigure {
  QString m_strLabel;
  QString m_strValue;
};

/// What an amount costs more than another one, in basis points of it and in CNY; it is worse above 0.
QString costText(double cost, double base);

/// The part of its target that a schedule by time plans at a time, 0 to 1; none where volume or nothing plans.
std::optional<double> plannedShare(const STaskCourse& course, int time, int timeOffset);
/// CNY against the market's average prices since the task began, until it ended or now, and what was traded at these;
/// none where no line that was traded has one.
std::optional<std::pair<double, double>> costAgainstMarket(const STaskCourse& course,
                                                           const std::vector<exchange::SQuote>& now);
/// When all will be traded: as its schedule says, or as fast as until now; 0 where nobody can tell.
int expectedEnd(const STaskCourse& course, const SCourseMoment& moment);

std::vector<SCourseFigure> courseFigures(const STaskCourse& course, const SCourseMoment& moment);
std::vector<SChart> courseCharts(const STaskCourse& course, const SCourseMoment& moment);

}  // namespace app
