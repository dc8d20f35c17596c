/// A terminal that is not closed for weeks: trading days one after the other in one process, each under load, and what
/// is left of each when the panel has let go of it.
#pragma once

namespace bench {

constexpr int MOST_TRADING_DAYS = 60;  ///< the future that hedges is listed for as long

/// Prints a line a day and a verdict. False when something grew from the second day on. GUI thread.
bool runTradingDays(int days);

}  // namespace bench
