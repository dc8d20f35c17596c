/// The parts of dealOut: one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "Sellable.h"
#include "ShareOut.h"

namespace draft {

/// A line that can be dealt out.
struct SStake {
  std::size_t m_nLine = 0;
  int m_nQuantity = 0;
  int m_nStep = 1;
  int m_nMinimum = 1;  ///< of a part; 1 for a sale
  bool m_bBuy = true;
  double m_dValue = 0;  ///< CNY of one share or lot, above 0
};

/// Deals lines out to accounts by shares that may differ from line to line.
///
/// Lines whose parts are whole steps are rounded as one table (CRounding), each side by itself, so that neither what an
/// account buys nor what it sells runs away; where both together are then further off than a lot of the dearest line,
/// they are rounded as one side. Every other line (odd rests, minimums, positions that hold a part down) is dealt out
/// alone, to those who are most behind by then.
class CDealer {
 public:
  CDealer(const std::vector<SLine>& lines, const std::vector<SMarketFacts>& facts,
          const std::vector<SAccountFacts>& accounts, EDealBy by, const std::vector<double>& ratios);

  /// Call once.
  void deal(const std::vector<SStake>& stakes);
  /// What becomes of a line that was dealt out.
  SDealtLine dealt(const SStake& stake);

 private:
  bool setShares(const SStake& stake);
  int& part(const SStake& stake, std::size_t account) { return m_parts[stake.m_nLine * m_nAccounts + account]; }
  int mostOf(const SStake& stake, std::size_t account) const;
  bool isRegular(const SStake& stake) const;

  void roundRegular(bool bySide);
  void roundTable(const std::vector<const SStake*>& stakes);
  void giveWholeSteps(const SStake& stake);
  void give(const SStake& stake, std::size_t account, int quantity);
  double ahead(const SStake& stake, std::size_t account) const;
  void even(const SStake& stake);
  bool isWithinALot() const;

  std::vector<std::size_t> accountsBehind(const SStake& stake) const;
  void dealAlone(const SStake& stake);
  void keepToMinimum(const SStake& stake);
  int giveOddRest(const SStake& stake, const std::vector<std::size_t>& order, int odd);

  const std::vector<SMarketFacts>& m_facts;
  const std::vector<SAccountFacts>& m_accounts;
  const EDealBy m_by;
  const std::size_t m_nAccounts;
  const CSellable m_sellable;
  std::vector<double> m_fixed;  ///< shares of the accounts where they do not hang on the line; their sum is 1, or all 0
  std::vector<bool> m_takesPart;
  std::vector<double> m_shares;  ///< of the line that is looked at: quantities, before rounding
  std::vector<int> m_parts;      ///< by line and account
  bool m_bBySide = true;
  std::vector<const SStake*> m_regular;
  std::vector<const SStake*> m_alone;
  std::array<std::vector<double>, 2> m_ahead;  ///< CNY above its share, by side and account
};

}  // namespace draft
