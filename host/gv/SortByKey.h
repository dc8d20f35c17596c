/// Sorting of rows by a figure, then by their own order: plain keys, gathered once.
#pragma once

#include <cstdint>
#include <vector>

namespace GV {

/// What a row is compared by; no two rows have both keys the same.
struct SSortKey {
  std::uint64_t figure;  ///< see figureKey
  std::uint64_t own;     ///< see ownOrderKey
  int node;

  bool operator<(const SSortKey& other) const {
    return figure != other.figure ? figure < other.figure : own < other.own;
  }
};

/// A key that orders as the figure does, in reverse if descending; a missing figure (no number) stands last either way.
std::uint64_t figureKey(double figure, bool descending);

/// A key that orders by order, then by rank. rank is not negative.
std::uint64_t ownOrderKey(int order, int rank);

/// Sorts by operator<. Any thread.
void sortByKey(std::vector<SSortKey>& keys);

}  // namespace GV
