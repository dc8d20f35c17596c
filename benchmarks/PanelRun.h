/// The whole panel under full load: what a refresh costs each thread, and how long the GUI thread is kept.
#pragma once

#include "CHostServices.h"
#include "Load.h"
#include "Report.h"

namespace bench {

/// Measures full refreshes of the panel itself, from details at the desk to the repaint: the GUI thread's and the
/// worker's part, and the longest gap of a 1 ms timer beside that of an idle run of the same length.
void runPanel(desk::CDesk& desk, desk::CHostServices& services, const CLoad& load, int runs, CReport& report);

}  // namespace bench
