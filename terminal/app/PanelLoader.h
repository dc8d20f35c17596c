/// The panel comes as a plug-in that lies beside the program. GUI thread.
#pragma once

#include <QString>

#include "tc/PanelPlugin.h"

namespace app {

struct SPanelPlugin {
  TC::CreatePanelFunction m_pCreate = nullptr;  ///< null: the error says why
  QString m_strError;
};

/// Loads the plug-in; it stays loaded until the program ends.
SPanelPlugin loadPanelPlugin();

}  // namespace app
