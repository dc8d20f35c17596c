#pragma once

#include <QStringList>

#include "tc/PanelPlugin.h"

namespace drill {

/// The first word of the command line.
inline constexpr const char* DRILL_WORD = "drill";

/// Runs what the words behind it ask for, and tells it on standard output: 0 without a violation, 1 with one, 2 for
/// words that it does not know. GUI thread.
int runDrillCommand(const QStringList& words, TC::CreatePanelFunction createPanel);

}  // namespace drill
