/// What a draft asks of each account. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Judge.h"
#include "Sellable.h"

namespace draft {

struct SAccountUse {
  int m_nOrders = 0;
  double m_dBuy = 0;  ///< CNY
  double m_dSell = 0;
  double m_dBuyFees = 0;
  double m_dSellFees = 0;
  double m_dNeed = 0;    ///< CNY that its orders freeze: buys with their fees, margin of futures
  double m_dIncome = 0;  ///< CNY that sales of shares bring
};

/// By account; what unchecked lines are dealt out as is nothing.
std::vector<SAccountUse> accountUse(const std::vector<SLine>& lines, const SMarketView& market, const SDeal& deal,
                                    std::size_t accounts);

/// What speaks against lines by the cash and the positions of those who get them.
class CAccountChecks {
 public:
  CAccountChecks(const std::vector<SLine>& lines, const SMarketView& market, const std::vector<SAccountFacts>& accounts,
                 const SDeal& deal, const CSellable& sellable, const std::vector<SAccountUse>& use);

  void checkLines(std::vector<std::vector<SFinding>>& findings);
  void checkAccounts(const SLimits& limits, std::vector<SFinding>& findings) const;

 private:
  bool isShort(std::size_t account) const {
    return m_accounts[account].m_bKnown && m_use[account].m_dNeed > m_accounts[account].m_dCash;
  }
  bool isCovered(std::size_t account) const {
    return m_use[account].m_dNeed <= m_accounts[account].m_dCash + m_use[account].m_dIncome;
  }
  void checkCash(std::size_t line, std::vector<SFinding>& findings);
  void checkPosition(std::size_t line, std::vector<SFinding>& findings);
  /// What a text about the first of so many accounts begins with.
  std::string namesOf(std::size_t first, int count) const;

  const std::vector<SLine>& m_lines;
  const SMarketView& m_market;
  const std::vector<SAccountFacts>& m_accounts;
  const SDeal& m_deal;
  const CSellable& m_sellable;
  const std::vector<SAccountUse>& m_use;
  std::vector<double> m_spent;       ///< CNY by account, as far as the lines were looked at; of those that are short
  std::vector<std::int64_t> m_sold;  ///< by account, then by security
};

}  // namespace draft
