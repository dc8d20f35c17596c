#pragma once

#include <string>

#include "ksservice/Enumerations.h"

namespace ksservice {

/// The hedge settings of a task.
struct CBasketHedgeParam {
  bool m_bEnabled = false;
  bool m_bHandedOver = false;  ///< the parameters were handed to the hedge manager
  std::string m_strMarket;
  std::string m_strCode;
  std::string m_strAccount;  ///< account key
  int m_nOperation = EOT_SellOpen;
  int m_nVolume = 0;  ///< lots

  // What the hedge manager trades by.
  double m_dRatio = 1;                 ///< part of the basket's traded amount that is hedged
  int m_nOrderLots = 5;                ///< lots at a time: one order has no more
  int m_nOrderLimit = 200;             ///< automatic orders, after which the user hedges by hand
  int m_nPriceType = EPT_Counterpart;  ///< also: EPT_Latest, EPT_LimitUp, EPT_LimitDown
};

}  // namespace ksservice
