/// What a fork of a day does instead of what the user did.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "CDayRun.h"

namespace app {

/// Acts at the moment of the fork, and others when what they cancelled has ended.
struct SForkActs {
  std::vector<engine::Act> m_now;
  /// On one basket; forms its acts when it has come to rest.
  struct SLater {
    int m_nTask = 0;
    std::function<std::vector<engine::Act>()> m_acts;
  };
  std::vector<SLater> m_later;
};

/// with: see SFork. tasks: baskets. The run must outlive the acts. fault: why there are none.
SForkActs forkActs(const std::string& with, const std::vector<int>& tasks, CDayRun& run, std::string& fault);

}  // namespace app
