/// A draft of 5,000 lines: what comes of it at each key stroke, against passes over the same lines.
#pragma once

#include "Report.h"

namespace bench {

namespace work {
const QString PREVIEW = QStringLiteral("preview of 5,000 lines, 50 accounts");
const QString SHARED_OUT = QStringLiteral("5,000 lines shared out, 50 accounts");
}  // namespace work

void runDraft(int runs, CReport& report);

}  // namespace bench
