#pragma once

#include <map>
#include <string>

namespace desk {

/// What an account holds of one instrument. Futures short and long are two positions.
struct SPosition {
  std::string m_strMarket;
  std::string m_strCode;
  bool m_bShort = false;
  int m_nTotal = 0;     ///< shares, or lots
  int m_nSellable = 0;  ///< of these, what no order of today has frozen and (of shares) what was not bought today
  int m_nFrozen = 0;    ///< by open orders
  int m_nBoughtToday = 0;
  double m_dCost = 0;    ///< CNY that what is held was bought for, fees included
  double m_dMargin = 0;  ///< CNY; futures
};

/// Money and positions of one account. Immutable once published.
struct SHoldings {
  double m_dCash = 0;                            ///< CNY that may be used: without what is frozen or held as margin
  double m_dFrozen = 0;                          ///< CNY, by open orders
  double m_dMargin = 0;                          ///< CNY, of futures held
  double m_dFees = 0;                            ///< CNY, paid today
  double m_dRealised = 0;                        ///< CNY, result of what was closed today, fees included
  std::map<std::string, SPosition> m_positions;  ///< by utils::mavStockKey, of a short position with "-" after it
};

}  // namespace desk
