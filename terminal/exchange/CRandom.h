#pragma once

#include <cstdint>
#include <limits>

namespace exchange {

/// A small, fast generator of random bits (SplitMix64): eight bytes of state, so that every security has its own and
/// what happens in one never changes another. For boost's distributions.
class CRandom {
 public:
  using result_type = std::uint64_t;

  explicit CRandom(std::uint64_t seed) : m_nState(seed) {}

  static constexpr result_type min() { return 0; }
  static constexpr result_type max() { return std::numeric_limits<result_type>::max(); }

  result_type operator()() {
    m_nState += 0x9e3779b97f4a7c15;
    return mix(m_nState);
  }

  /// 0 up to, not including, 1.
  double uniform() { return static_cast<double>((*this)() >> 11) * 0x1p-53; }

  /// Spreads a value over all bits.
  static constexpr std::uint64_t mix(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9;
    value = (value ^ (value >> 27)) * 0x94d049bb133111eb;
    return value ^ (value >> 31);
  }

 private:
  std::uint64_t m_nState;
};

}  // namespace exchange
