/// The worker's share of a refresh: the model and the staging of what changed.
#pragma once

#include "Load.h"
#include "Report.h"

namespace bench {

namespace work {
const QString WORKER_FULL = QStringLiteral("worker, every order fresh");
const QString WORKER_ROWS = QStringLiteral("worker, three rows of every task");
const QString WORKER_TASKS = QStringLiteral("worker, 1 % of the tasks, whole");
}  // namespace work

void runWorker(const CLoad& load, int runs, CReport& report);

}  // namespace bench
