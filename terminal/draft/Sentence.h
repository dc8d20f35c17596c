/// A draft in words. Any thread.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "Judge.h"

namespace draft {

/// How many orders an account may send, and has sent. 0: no limit.
struct SOrderRates {
  int m_nPerSecond = 0;  ///< also of a schedule, which takes as long as it says
  int m_nPerDay = 0;
  std::map<std::string, int> m_usedToday;  ///< by account key; absent: none
};

/// What will be sent, to which accounts, at about what amount and fees, how long that takes (each account sends for
/// itself) and which limits it comes near. One line of Chinese, UTF-8.
std::string sentence(const std::vector<SLine>& lines, const SMarketView& market,
                     const std::vector<SAccountFacts>& accounts, const SDeal& deal, const SJudgement& judgement,
                     const SOrderRates& rates);

}  // namespace draft
