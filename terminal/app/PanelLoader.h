/// The program's panel: a plug-in that lies beside it, or where both are installed. GUI thread.
#pragma once

#include "tc/PanelPlugin.h"

namespace app {

/// Loads it; see TC::loadPanel.
TC::SPanelPlugin loadPanelPlugin();

}  // namespace app
