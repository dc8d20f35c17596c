#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Acts.h"

namespace app {

/// Keeps what enters the engine before it is carried out. Engine's thread.
class IActKeeper {
 public:
  virtual ~IActKeeper() = default;
  /// Keeps acts that are about to be carried out, all or none; msec: the engine's clock, milliseconds since midnight;
  /// actsLine: the line of the file of timed acts that they come from, 0: none. Empty, or why they could not be kept.
  virtual std::string keep(std::int64_t msec, const std::vector<engine::Act>& acts, int actsLine) = 0;
};

}  // namespace app
