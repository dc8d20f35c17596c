#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ksservice/TraderCenter.h"

namespace desk {

/// The orders of which something else became known, the newest so many of them. Not thread-safe.
class COrderLog {
 public:
  void add(std::size_t tag);
  /// Everything has changed.
  void forget();
  ksservice::SOrderChanges since(std::uint64_t version) const;

 private:
  /// So many changes between two looks are as good as all.
  static constexpr std::size_t LENGTH = 1u << 16;

  std::vector<std::size_t> m_tags;  ///< a ring: that of version n stands at n % LENGTH
  std::uint64_t m_nVersion = 1;     ///< the next one's number
  std::uint64_t m_nFirst = 1;       ///< the number of the oldest one since everything changed
};

}  // namespace desk
