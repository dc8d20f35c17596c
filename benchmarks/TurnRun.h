/// How long the GUI thread is away from its event loop: the longest turn of each act on the whole panel.
#pragma once

#include "CHostServices.h"
#include "Load.h"
#include "Report.h"

namespace bench {

namespace work {
const QString TURN = QStringLiteral("turn: ");  ///< begins the works' names
const QString FIRST_ROW = QStringLiteral("first load, until a row is on screen");
}  // namespace work

/// GUI thread; clock as for runPanel.
void runTurns(desk::CDesk& desk, desk::CHostServices& services, const CLoad& load, int runs, CReport& report);

}  // namespace bench
