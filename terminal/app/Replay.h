/// The replay of a flight journal. GUI thread.
#pragma once

#include "CSignalWatch.h"
#include "JournalReader.h"
#include "Options.h"
#include "Outputs.h"
#include "tc/PanelPlugin.h"

namespace app {

/// Plays the journal in a window, and afterwards, where there is a screen, leaves it to the user until the window is
/// closed. A signal ends both; a replay that it cuts short ends with a dump named end. Returns the program's exit
/// status, but for what could not be written. The outputs are open.
int runReplay(const SOptions& options, journal::SJournal journal, COutputs& outputs, const CSignalWatch& signalWatch,
              TC::CreatePanelFunction createPanel);

}  // namespace app
