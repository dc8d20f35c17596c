/// What would have happened if the user had done something else.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

namespace app {

struct SFork {
  std::string m_strFile;
  std::int64_t m_nAt = 0;      ///< milliseconds since midnight
  std::optional<int> m_nTask;  ///< none: all baskets that trade then
  std::string m_strWith;       ///< "pause", "cancel", "algo=twap", "limit=0.5%", "hedge=0.8", "hedge=off"
  std::string m_strOut;        ///< a new file for the imagined day; empty: none
};

/// Runs the day again to the moment, does what was asked instead of what the user did afterwards, runs on behind the
/// close, and tells both ends side by side. Empty, or why it cannot be done. An application object must exist.
std::string forkDay(const SFork& fork, std::ostream& out);

}  // namespace app
