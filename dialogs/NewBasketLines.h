/// What a patch hands to the terminal's new-basket window.
#pragma once

#include <QString>

#include "ksservice/CTaskDetail.h"

namespace TC {

/// What became of a parameter as a line of a new basket.
struct SNewBasketLine {
  QString m_strText;         ///< empty: no line
  int m_nQuantity = 0;       ///< what the line hands over; 0 without a line
  bool m_bUnitless = false;  ///< there is no line because the instrument's unit of trade is below 1
};

/// Stock key, name, quantity, "0", "0" for a buy or "1", operation, type, separated by tabs. No line without an
/// account, an instrument or a quantity beyond what was handled already, and for direct repayments. Asks the exchange
/// client. Any thread.
SNewBasketLine newBasketLine(const ksservice::CCodeOrderParam& param);

}  // namespace TC
