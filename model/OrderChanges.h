#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "ksservice/COrderInfo.h"

namespace TC {

/// Of which orders the data centre may say something else than when they were asked for last, for every task: what one
/// task learns serves all. Orders are told apart by some bits of their tags' hashes, so that one may be asked for
/// without need. One for the process. Any thread.
class COrderChanges {
 public:
  /// A moment: it grows with every look at the data centre that brought something.
  using Moment = std::uint32_t;
  /// What of a tag is kept to know it again.
  using Tag = std::uint32_t;

  static COrderChanges& instance();
  static Tag tagOf(const ksservice::COrderInfo& order) { return static_cast<Tag>(order.m_tag.hash()); }

  /// Asks the data centre what has changed. What is asked for from now on is not older than the moment that it gives.
  Moment look();
  /// Whether anything may have changed since a moment, of every order.
  bool isAllNew(Moment since);
  /// Appends the places of a list of tags of which something may have changed since a moment.
  void findNew(Moment since, const std::vector<Tag>& tags, std::vector<int>& places);

 private:
  static constexpr std::size_t LENGTH = 1u << 17;

  std::mutex m_mutex;          ///< guards the rest; nothing else is locked or called under it
  std::vector<Moment> m_last;  ///< by the tag's last bits: when such an order changed last
  Moment m_now = 1;
  Moment m_allNew = 1;           ///< when anything may have changed
  std::uint64_t m_nVersion = 0;  ///< of the data centre's list
  unsigned m_nServices = 0;      ///< the set of services whose list it is
};

}  // namespace TC
