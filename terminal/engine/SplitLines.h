/// How the lines of a basket are shared out among accounts. Any thread.
#pragma once

#include <string>
#include <vector>

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
  int m_nLot = 100;          ///< quantities are shared out in multiples of it
  int m_nMinimum = 100;      ///< no account gets a part below it
};

/// The lines of each account, in the accounts' order. Each line is divided evenly in whole lots; what is left over,
/// odd shares included, goes to the first account, and so does a line of which every part would be too small. An
/// account without a part of a line has no such line. accounts: at least 1.
std::vector<std::vector<SOrderLine>> splitLines(const std::vector<SOrderLine>& lines, int accounts);

}  // namespace engine
