/// The figures on which patches were confirmed, held against the day.
#pragma once

#include <string>
#include <vector>

#include "past/CPastDay.h"

namespace app {

struct SProofs {
  std::size_t m_nProofs = 0;
  std::vector<std::string> m_faults;  ///< each names its entry and line
};

/// Of each kept proof: its equations add up; no more was chosen than offered, nor offered than was left; what was
/// chosen is what was asked for; targets are those of the task; and no more was asked for than the task had not traded
/// by then. Any thread.
SProofs checkProofs(const std::vector<daylog::SEntry>& entries, const CPastDay& day);

}  // namespace app
