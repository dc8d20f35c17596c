/// A day of ten baskets of 300 lines: what it costs to keep it, to go on with it, and to look at any of its moments.
#pragma once

#include "Report.h"

namespace bench {

namespace work {
const QString DAY_CPU = QStringLiteral("CPU of a kept day beside one that is not");
const QString DAY_APPEND = QStringLiteral("an entry on the disk");
const QString DAY_ENTRIES = QStringLiteral("entries a second");
const QString DAY_ITEMS = QStringLiteral("thousand outputs in the day");
const QString DAY_RESTART = QStringLiteral("a day run again to its end");
const QString DAY_SEEK = QStringLiteral("any moment of the day, at most");
}  // namespace work

/// Runs the terminal, which lies beside this program, several times. GUI thread.
void runDays(CReport& report);

}  // namespace bench
