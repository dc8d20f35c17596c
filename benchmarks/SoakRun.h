/// The whole panel with a million rows under details of which one order each is fresh: how many come through, how old
/// what a row shows may get, and whether memory grows.
#pragma once

#include "CDesk.h"
#include "Load.h"
#include "Report.h"

namespace bench {

namespace work {
const QString SOAK_RATE = QStringLiteral("details a second");
const QString SOAK_AGE = QStringLiteral("age of a row, in refreshes, at most");
const QString SOAK_WRONG = QStringLiteral("rows that show what was never published");
const QString SOAK_GROWTH = QStringLiteral("heap at the end, beside the warm-up");
}  // namespace work

/// Publishes through the desk from threads of its own. GUI thread, with a live clock installed.
void runSoak(desk::CDesk& desk, const CLoad& load, int seconds, CReport& report);

}  // namespace bench
