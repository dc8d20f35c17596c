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
};

}  // namespace ksservice
