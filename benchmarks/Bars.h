/// What is asked of the panel's table, judged by a report.
#pragma once

#include "Report.h"

namespace bench {

/// One line for each bar: what was asked, what was measured, whether it holds.
QString judge(const CReport& report, int rows);
/// The same for each work of the panel's table: what it costs in a large board beside a small one.
QString judgeGrowth(const CReport& small, const CReport& large);

}  // namespace bench
