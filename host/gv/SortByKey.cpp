#include "gv/SortByKey.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace GV {

namespace {

/// Fewer keys than this are sorted by comparing, which then is the faster way.
constexpr std::size_t kMinDigits = 64;
constexpr std::size_t kDigitBits = 8;
constexpr std::size_t kDigits = 1U << kDigitBits;
constexpr std::size_t kPasses = 64 / kDigitBits;
constexpr std::uint64_t kSign = std::uint64_t{1} << 63U;

using Key = std::uint64_t SSortKey::*;
using Counts = std::array<std::uint32_t, kDigits>;

std::size_t digit(std::uint64_t key, std::size_t pass) {
  return static_cast<std::size_t>(key >> (pass * kDigitBits)) % kDigits;
}

/// Stable: digit by digit from the lowest, leaving out digits that are the same in all keys.
void sortByDigits(std::vector<SSortKey>& keys, std::vector<SSortKey>& spare, Key key) {
  std::array<Counts, kPasses> counts{};
  for (const SSortKey& entry : keys) {
    for (std::size_t pass = 0; pass < kPasses; ++pass) ++counts[pass][digit(entry.*key, pass)];
  }
  spare.resize(keys.size());
  for (std::size_t pass = 0; pass < kPasses; ++pass) {
    Counts& places = counts[pass];
    if (places[digit(keys.front().*key, pass)] == keys.size()) continue;
    std::uint32_t next = 0;
    for (std::uint32_t& place : places) next += std::exchange(place, next);
    for (const SSortKey& entry : keys) spare[places[digit(entry.*key, pass)]++] = entry;
    keys.swap(spare);
  }
}

}  // namespace

std::uint64_t figureKey(double figure, bool descending) {
  if (std::isnan(figure))
    figure = std::numeric_limits<double>::infinity();
  else if (descending)
    figure = -figure;
  // The two zeros are one figure.
  const auto bits = std::bit_cast<std::uint64_t>(figure == 0 ? 0.0 : figure);
  return (bits & kSign) != 0 ? ~bits : bits | kSign;
}

std::uint64_t ownOrderKey(int order, int rank) {
  const std::uint32_t high = static_cast<std::uint32_t>(order) ^ 0x80000000U;
  return std::uint64_t{high} << 32U | static_cast<std::uint32_t>(rank);
}

void sortByKey(std::vector<SSortKey>& keys) {
  if (keys.size() < kMinDigits) {
    std::sort(keys.begin(), keys.end());
    return;
  }
  static thread_local std::vector<SSortKey> spare;
  const auto isBefore = [](const SSortKey& a, const SSortKey& b) { return a.own < b.own; };
  if (!std::is_sorted(keys.begin(), keys.end(), isBefore)) sortByDigits(keys, spare, &SSortKey::own);
  sortByDigits(keys, spare, &SSortKey::figure);
}

}  // namespace GV
