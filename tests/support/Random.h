/// Random choices that a seed repeats.
#pragma once

#include <iterator>
#include <random>

namespace test {

using Random = std::mt19937_64;

inline int below(Random& random, int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }
/// True in so many of a hundred cases.
inline bool chance(Random& random, int percent) { return below(random, 100) < percent; }
/// One of a list that is not empty.
template <typename List>
const auto& pick(Random& random, const List& list) {
  return *std::next(std::begin(list), below(random, static_cast<int>(std::size(list))));
}

}  // namespace test
