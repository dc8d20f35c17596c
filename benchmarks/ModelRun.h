/// The model under full load: updateDetail against a sum over the same orders.
#pragma once

#include "Load.h"
#include "Report.h"

namespace bench {

namespace work {
const QString ALL_FRESH = QStringLiteral("every task, fresh orders");
const QString SOME_FRESH = QStringLiteral("every task, 1 % of its orders fresh");
const QString NONE_FRESH = QStringLiteral("every task, shared orders");
const QString MODEL_BYTES_ONE = QStringLiteral("model's bytes a row, one order each");
const QString MODEL_BYTES_TEN = QStringLiteral("model's bytes a row, ten orders each");
const QString ONE_TASK = QStringLiteral("one task, fresh orders");
}  // namespace work

/// Both free the details before.
void runModel(const CLoad& load, int runs, CReport& report);

/// What the tasks hold beside their details, as the heap counts it when they go.
void measureModelBytes(const CLoad& load, CReport& report);

}  // namespace bench
