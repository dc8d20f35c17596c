/// How the lines of a basket are shared out among accounts. Any thread.
#pragma once

#include <vector>

#include "IMarket.h"
#include "ksservice/CTaskDetail.h"

namespace engine {

/// One line of a basket, before it belongs to an account.
struct SOrderLine {
  ksservice::CStockInfo m_stock;
  int m_nOperation = ksservice::EOT_Buy;
  int m_nQuantity = 0;      ///< shares or lots of a future, above 0
  double m_dReference = 0;  ///< price that the parameter shows, CNY
  int m_nPriceType = ksservice::EPT_Limit;
  bool m_bOwnPrice = false;  ///< goes out at its own price or as its price type says; else at the opposite best price
  bool m_bPricedByType = false;  ///< goes out at what its price type gives when it is sent, not at its own price
  int m_nOffsetTicks = 0;        ///< that such a price goes towards the other side, below 0: away from it
  exchange::SRules m_rules;      ///< of the market that trades it, which the engine asks for them

  /// Whether its orders go out without a limit.
  bool isAtMarketPrice() const;
  /// What of a quantity goes out in one order; the rest in others.
  int inOneOrder(int quantity) const;
  /// What its price type gives: a whole tick within the day's limits.
  double priceByType(const exchange::SQuote& quote) const;
};

/// The best price of the other side; without one the last price, or at last the fallback.
double oppositePrice(const exchange::SQuote& quote, bool buy, double fallback);

/// The lines of each account, in the accounts' order. Each line is divided evenly into what may be bought in one order;
/// what is left over goes to the first account, and so does a line of which every part would be too small. An
/// account without a part of a line has no such line. accounts: at least 1.
std::vector<std::vector<SOrderLine>> splitLines(const std::vector<SOrderLine>& lines, int accounts);

}  // namespace engine
