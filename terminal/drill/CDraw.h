#pragma once

#include <cstdint>
#include <iterator>

#include "CRandom.h"

namespace drill {

/// Draws that a seed repeats. Each part of a drill has its own, so that none hangs on how often another one draws.
class CDraw {
 public:
  enum EPart : std::uint64_t { Plan = 1, Line, Wire, User, Course };
  CDraw(std::uint64_t seed, EPart part) : m_random(exchange::CRandom::mix(seed * 16 + part)) {}

  /// 0 up to, not including, limit, which is above 0.
  int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
  int between(int least, int most) { return least + below(most - least + 1); }
  /// True in so many of a hundred cases.
  bool chance(int percent) { return below(100) < percent; }
  /// One of a list that is not empty.
  template <typename List>
  const auto& pick(const List& list) {
    return *std::next(std::begin(list), below(static_cast<int>(std::size(list))));
  }

 private:
  exchange::CRandom m_random;
};

}  // namespace drill
