#pragma once

#include <vector>

namespace TC {

/// The task filter of the tool bar: what stands in its combo button, by index, and the statuses of a root that pass.
struct STaskFilter {
  const char* text;
  std::vector<int> statuses;  ///< ETaskStatus; empty: all
};

const std::vector<STaskFilter>& taskFilters();

constexpr int FILTER_RUNNING = 1;

}  // namespace TC
