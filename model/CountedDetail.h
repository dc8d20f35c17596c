/// What of a detail was counted, so that its next state costs what has changed.
#pragma once

#include <cstdint>
#include <vector>

#include "OrderChanges.h"
#include "ksservice/CTaskDetail.h"

namespace TC {

/// What the data centre knows of an order.
enum class EKnownOrder : char { Unknown, Known, Cancelled };

struct STarget {
  double amount;  ///< CNY
  bool unpriced;  ///< a volume without a price
  bool quoted;    ///< at a market price, which moves with the quote

  bool operator==(const STarget& other) const = default;
};

/// What the host was like when a detail was counted. 0 in a version: it does not say.
struct SHostState {
  unsigned services = 0;
  std::uint64_t params = 0;       ///< version of the detail's parameters
  std::uint64_t instruments = 0;  ///< of the exchange client's answers
  COrderChanges::Moment orders = 0;
};

constexpr int NO_SLOT = -1;

struct SCountedDetail {
  struct SQuoted {
    int param;
    STarget target;
  };

  bool stands = false;               ///< the rest is that of the last count
  ksservice::CTaskDetailPtr detail;  ///< as it was counted last; null before
  bool countsOrders = false;         ///< of the detail itself: they are not the server's
  SHostState host;
  std::vector<int> lineSlots;   ///< by parameter: where it counts, NO_SLOT for nowhere
  std::vector<SQuoted> quoted;  ///< parameters at market prices
  int unpriced = 0;             ///< parameters without a price
  // By place in the list of orders
  std::vector<int> orderSlots;
  std::vector<EKnownOrder> known;
  std::vector<COrderChanges::Tag> tags;
  std::vector<int> priced;  ///< places of fills that count at their order's price
  std::vector<int> told;    ///< slots with a message
};

}  // namespace TC
