/// The model under full load: updateDetail against a sum over the same orders.
#pragma once

#include "Load.h"
#include "Report.h"

namespace bench {

/// Every task with fresh orders, every task with orders shared with the detail before, and one task of them all.
void runModel(const CLoad& load, int runs, CReport& report);

}  // namespace bench
