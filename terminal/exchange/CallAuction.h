/// The one price of a call auction. Plain values; any thread.
#pragma once

#include <cstdint>
#include <vector>

namespace exchange {

struct SAuctionOrder {
  int m_nOrder;  ///< whose it is; nothing that the auction looks at
  bool m_bBuy;
  std::int64_t m_nLimit;  ///< ticks, within the day's limits
  std::int64_t m_nQuantity;
  double m_dCame;  ///< in which order they came
};

/// Ticks.
struct SAuctionPrices {
  std::int64_t m_nReference;  ///< the previous close, or the last price
  std::int64_t m_nLimitUp;
  std::int64_t m_nLimitDown;
};

struct SAuctionResult {
  std::int64_t m_nPrice = 0;   ///< ticks
  std::int64_t m_nVolume = 0;  ///< 0: nothing trades, and there is no price
};

/// The price at which most trades; of several the one that leaves least of the orders that could trade at it, then one
/// at which every better order is filled, then the nearest to the reference, then the higher.
SAuctionResult auctionPrice(const std::vector<SAuctionOrder>& orders, const SAuctionPrices& prices);

/// Brings the orders of one side that may trade at a price into the order in which they do: the better price first, of
/// one price the earlier. Drops the others.
std::vector<SAuctionOrder> auctionQueue(const std::vector<SAuctionOrder>& orders, bool buy, std::int64_t price);

}  // namespace exchange
