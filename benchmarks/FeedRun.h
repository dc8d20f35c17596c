/// The whole panel under a feed that never rests: latency of the feed, stalls of the GUI thread, memory.
#pragma once

#include "Load.h"
#include "Report.h"

namespace bench {

/// Offers details from four threads to a panel that refreshes in real time. The feed rests for two refreshes now and
/// then, and each time every task must show its newest detail. False when one did not. GUI thread, with a live clock
/// installed.
bool runFeed(const CLoad& load, int seconds, CReport& report);

}  // namespace bench
