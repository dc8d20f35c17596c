#pragma once

#include <bit>
#include <cstdint>
#include <string_view>

#include "CRandom.h"

namespace engine {

/// Folds values into one number that hangs on all of them and on their order: two runs of which everything that was
/// folded in was the same have the same number, on every machine. Not for secrets.
class CStateHash {
 public:
  void add(std::uint64_t value) { m_nValue = exchange::CRandom::mix(m_nValue * 0x9e3779b97f4a7c15 + value + 1); }
  void addDouble(double value) { add(std::bit_cast<std::uint64_t>(value)); }
  void addText(std::string_view text) {
    std::uint64_t bytes = 0xcbf29ce484222325;
    for (const char each : text) bytes = (bytes ^ static_cast<unsigned char>(each)) * 0x100000001b3;
    add(bytes);
  }

  std::uint64_t value() const { return m_nValue; }

 private:
  std::uint64_t m_nValue = 0;
};

}  // namespace engine
