/// What a basket and its patches really have traded, and may still trade, told from what the engine published.
#pragma once

#include <map>
#include <string>
#include <tuple>

#include "SafetyMarket.h"

namespace test {

/// Basket, account key, stock key and operation text.
using LineKey = std::tuple<int, std::string, std::string>;

struct SLineTruth {
  int m_nTarget = 0;    ///< of the basket itself
  int m_nTraded = 0;    ///< with all patches
  int m_nMayTrade = 0;  ///< what is traded, open or still to be sent, in the basket and all its patches
  double m_dAmount = 0;
};
using Truth = std::map<LineKey, SLineTruth>;

std::string rowKeyOf(const ksservice::CStockInfo& stock, int operation);
LineKey lineKey(int basket, const ksservice::CCodeOrderParam& param);

/// Every line of every basket as it stands now.
Truth truthOf(CSafetyMarket& market);

}  // namespace test
