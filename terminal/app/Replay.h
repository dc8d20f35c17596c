/// The replay of a flight journal. GUI thread.
#pragma once

#include <istream>
#include <ostream>

#include "CMainWindow.h"
#include "Options.h"
#include "tc/PanelPlugin.h"

namespace app {

/// Plays the journal in the window, and afterwards, where there is a screen, leaves it to the user until the window is
/// closed. Returns the program's exit status. out: what the replay puts out.
int runReplay(const SOptions& options, std::istream& journal, std::ostream& out, CMainWindow& window,
              TC::CreatePanelFunction createPanel);

}  // namespace app
