#pragma once

#include <algorithm>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "ksservice/COrderInfo.h"

namespace TC {

/// The orders of a node, each key once, in key order. A sorted list and no map: a node has few, and each may be
/// exchanged with every refresh.
class CRowOrders {
 public:
  using Order = ksservice::COrderInfoPtr;
  using const_iterator = std::vector<Order>::const_iterator;

  const_iterator begin() const { return m_orders.begin(); }
  const_iterator end() const { return m_orders.end(); }
  int size() const { return static_cast<int>(m_orders.size()); }
  bool isEmpty() const { return m_orders.empty(); }
  /// Null for an unknown key.
  Order value(const std::string& key) const {
    const std::size_t at = placeOf(key);
    return has(at, key) ? m_orders[at] : nullptr;
  }
  /// Stores an order, which must not be null, under its key; gives the one that it replaces, null where there is none.
  Order insert(const Order& order) {
    const std::size_t at = placeOf(order->getKey());
    if (has(at, order->getKey())) return std::exchange(m_orders[at], order);
    m_orders.insert(m_orders.begin() + static_cast<std::ptrdiff_t>(at), order);
    return nullptr;
  }
  /// Stores an order in place of another one of its key; false, and nothing done, when that is not here.
  bool replace(const ksservice::COrderInfo& before, const Order& order) {
    std::size_t at = 0;
    if (m_orders.size() > FEW) {
      at = placeOf(order->getKey());
    } else {
      while (at < m_orders.size() && m_orders[at].get() != &before) ++at;
    }
    if (at == m_orders.size() || m_orders[at].get() != &before) return false;
    m_orders[at] = order;
    return true;
  }
  template <typename Which>
  void removeIf(const Which& which) {
    std::erase_if(m_orders, which);
  }

 private:
  /// Up to so many are looked through, since that reads none of the orders.
  static constexpr std::size_t FEW = 16;

  std::size_t placeOf(const std::string& key) const {
    const auto isBefore = [](const Order& order, const std::string& than) { return order->getKey() < than; };
    return static_cast<std::size_t>(std::lower_bound(begin(), end(), key, isBefore) - begin());
  }
  bool has(std::size_t at, const std::string& key) const {
    return at < m_orders.size() && m_orders[at]->getKey() == key;
  }

  std::vector<Order> m_orders;
};

}  // namespace TC
