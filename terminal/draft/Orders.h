/// The orders that a quantity becomes at the market. Any thread.
#pragma once

#include "Draft.h"

namespace draft {

struct SOrders {
  int m_nCount = 0;
  double m_dAmount = 0;  ///< CNY, at the last price
  double m_dFees = 0;    ///< CNY: each order has its least commission
  double m_dFrozen = 0;  ///< CNY that must be there, at the price that cash is frozen at: a buy with its fees, margin
};

/// What a part of a line goes out as: split where one order does not take it, and where an algorithm cuts it into
/// slices. slices: 1 for a plain one.
SOrders ordersOf(const SMarketFacts& facts, const exchange::SFeeRates& rates, bool buy, int quantity, int slices);

}  // namespace draft
