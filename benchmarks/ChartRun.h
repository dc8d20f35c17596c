/// What a frame of charts costs: those of the docks, as many and as long as a day can have.
#pragma once

#include "Report.h"

namespace bench {

namespace work {
const QString CHARTS = QStringLiteral("a frame of 10 charts of 15000 points");
}  // namespace work

/// GUI thread.
void runCharts(int runs, CReport& report);

}  // namespace bench
