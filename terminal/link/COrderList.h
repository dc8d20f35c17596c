#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CDesk.h"
#include "ksservice/CTaskDetail.h"

namespace desklink::v1 {
class Orders;
}

namespace desklink {

/// The orders of one detail and what is known of them, as engine and terminal both hold it: the engine to tell what has
/// changed, the terminal to put it back.
class COrderList {
 public:
  using Orders = std::vector<ksservice::COrderInfoPtr>;
  using Details = std::vector<desk::OrderDetailEntry>;

  /// Writes what differs from now on, and takes it; whether anything does.
  bool writeChanges(const Orders& orders, const Details& details, desklink::v1::Orders& message);
  /// Writes all that is held.
  void writeAll(desklink::v1::Orders& message) const;
  /// Takes what was written of a list that was equal to this one. False, and nothing is worth anything any more, when
  /// it cannot have been.
  bool read(const desklink::v1::Orders& message, Details& changed);

  const Orders& orders() const { return m_orders; }
  /// Of the orders and of what is known of them.
  std::uint64_t hash() const { return m_nHash; }

 private:
  void setCount(std::size_t count);
  void put(std::size_t place, const ksservice::COrderInfoPtr& order);
  void putDetail(const ksservice::CMavOrderTag& tag, const ksservice::COrderDetailPtr& detail);
  ksservice::COrderDetail expectedOf(const ksservice::CMavOrderTag& tag, const ksservice::COrderInfo* order) const;
  void writeDetail(const desk::OrderDetailEntry& entry, desklink::v1::Orders& message) const;

  Orders m_orders;
  std::vector<std::uint64_t> m_hashes;                                    ///< of each order
  std::unordered_map<std::string, ksservice::COrderDetailPtr> m_details;  ///< by tag
  std::unordered_map<std::string, std::size_t>
      m_places;  ///< by tag: where an order with it stood last, perhaps no more
  std::uint64_t m_nHash = 0;
};

}  // namespace desklink
