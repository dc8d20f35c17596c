#include "Orders.h"

#include <algorithm>

namespace draft {
namespace {

/// CNY that an order of that worth at the price that it is frozen at takes.
double frozenOf(const SMarketFacts& facts, const exchange::SFeeRates& rates, bool buy, double amount) {
  const bool isFuture = facts.m_kind == exchange::EKind::IndexFuture;
  if (!buy && !isFuture) return 0;
  return amount * (isFuture ? rates.m_dMargin : 1) + exchange::feesOf(rates, facts.m_kind, buy, amount);
}

}  // namespace

SOrders ordersOf(const SMarketFacts& facts, const exchange::SFeeRates& rates, bool buy, int quantity, int slices) {
  SOrders orders;
  const double value = facts.price() * facts.m_nMultiplier;
  const int lot = std::max(1, std::max(facts.m_rules.m_nBuyMinimum, facts.m_rules.m_nBuyStep));
  const int children = std::min(slices, quantity / lot);
  while (quantity > 0) {
    // Limits carry most: of what a market price takes less in one order, there may be a few more.
    const int first = facts.m_rules.inOneOrder(quantity, buy, false);
    // What no board takes as it is goes out as it is and is refused there; here it counts once.
    const int size = first > 0 ? first : quantity;
    ++orders.m_nCount;
    orders.m_dAmount += size * value;
    orders.m_dFees += exchange::feesOf(rates, facts.m_kind, buy, size * value);
    orders.m_dFrozen += frozenOf(facts, rates, buy, size * facts.frozenAt() * facts.m_nMultiplier);
    quantity -= size;
  }
  if (children <= orders.m_nCount) return orders;
  orders.m_nCount = children;
  orders.m_dFees = children * exchange::feesOf(rates, facts.m_kind, buy, orders.m_dAmount / children);
  return orders;
}

}  // namespace draft
