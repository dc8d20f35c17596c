/// What is asked of the panel's table, judged by a report.
#pragma once

#include "Report.h"

namespace bench {

/// One line for each bar: what was asked, what was measured, whether it holds.
QString judge(const CReport& report, int rows);

}  // namespace bench
