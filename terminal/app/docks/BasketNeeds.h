#pragma once

#include <map>
#include <string>

#include "Fees.h"
#include "docks/CBlotter.h"

namespace app {

/// What an account's open baskets have still to order; what orders have frozen is not in it. CNY.
struct SBasketNeed {
  double m_dBuys = 0;   ///< with fees; of futures that are opened, on either side, the margin
  double m_dSells = 0;  ///< shares, at their last price
};

/// Works out needs, anew only for details that have changed, and of very many lines only a part each time: then what
/// was worked out longest ago comes first, and the others are as they were. Not thread-safe.
class CBasketNeeds {
 public:
  /// By account key.
  std::map<std::string, SBasketNeed> of(const desk::CDesk& desk, const CBlotter& blotter,
                                        const exchange::SFeeRates& fees);

 private:
  struct SKept {
    ksservice::CTaskDetailPtr m_pDetail;
    std::string m_strAccount;
    SBasketNeed m_need;
    int m_nTurn = 0;  ///< in which it was worked out last
  };
  std::map<std::string, SKept> m_kept;  ///< by detail
  int m_nTurn = 0;
};

}  // namespace app
