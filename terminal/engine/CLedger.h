#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "CStateHash.h"
#include "Fees.h"
#include "Holdings.h"
#include "IOrderOwner.h"
#include "ksservice/CTaskDetail.h"

namespace engine {

/// In 1/10000 CNY, so that sums do not drift.
using Money = std::int64_t;

/// What an order asks of its account.
struct SLedgerOrder {
  const ksservice::CStockInfo& m_stock;
  int m_nOperation;      ///< EOperationType; of a future what does not close a position opens one
  int m_nQuantity;       ///< shares, or lots of a future
  double m_dWorstPrice;  ///< CNY or index points: the highest at which it can trade
};

/// What an account starts with.
struct SAccountStart {
  double m_dCash = 0;                        ///< CNY
  std::vector<desk::SPosition> m_positions;  ///< total, bought today and cost; the rest follows from these
};

/// Money and positions of accounts: what orders freeze, what fills move, what is left. What an order may take at the
/// worst is frozen when it is taken, so neither money nor a position is ever below zero. An account that was not opened
/// knows no limit. Knows no market and no clock. Engine's thread.
///
/// Shares: a buy freezes its amount and fees, a sell its shares; proceeds are cash at once; what was bought today is
/// not sold today. Futures: opening freezes margin and fees, closing the position; margin is a part of the amount at
/// which the position was opened, and a position is worth something else only when it is closed. A sale that does not
/// bring its fees, and a close whose loss is more than margin and cash, take the cash that is there.
class CLedger {
 public:
  using Publish = std::function<void(const std::string& account, std::shared_ptr<const desk::SHoldings> holdings)>;

  explicit CLedger(const exchange::SFeeRates& rates) : m_rates(rates) {}

  /// Enters an account, before any order of it.
  void open(const std::string& account, const SAccountStart& start);

  /// Freezes what an order may take; nothing, and why, where its account has not that much. id: never used before.
  std::optional<SRefusal> take(std::uint64_t id, const std::string& account, const SLedgerOrder& order);
  /// The order traded that amount, CNY. One of an account that was not opened changes nothing, as in end().
  void fill(std::uint64_t id, int quantity, double amount);
  /// The order trades no more: it was rejected, cancelled or filled whole.
  void end(std::uint64_t id);

  /// Hands out the accounts that have changed since the last call, in the order of their keys.
  void publishChanges(const Publish& publish);
  /// Folds in the money of each account.
  void addTo(CStateHash& hash) const;
  /// An account as it is now; null for one that was not opened.
  std::shared_ptr<const desk::SHoldings> holdings(const std::string& account) const;

 private:
  struct SHeld {
    std::string m_strMarket;
    std::string m_strCode;
    bool m_bShort = false;
    bool m_bFuture = false;
    std::int64_t m_nTotal = 0;
    std::int64_t m_nFrozen = 0;
    std::int64_t m_nToday = 0;  ///< of the total
    Money m_nAmount = 0;        ///< for which the total was bought or, of a short, sold
    Money m_nFees = 0;          ///< paid for that
    Money m_nMargin = 0;

    std::int64_t sellable() const { return m_nTotal - m_nFrozen - (m_bFuture ? 0 : m_nToday); }
  };
  struct SAccount {
    Money m_nCash = 0;
    Money m_nFrozen = 0;
    Money m_nMargin = 0;
    Money m_nFees = 0;
    Money m_nRealised = 0;
    std::map<std::string, SHeld> m_held;  ///< one stays though nothing is left of it: orders know it by its place
    bool m_bChanged = true;
  };
  struct SOpen {
    SAccount* m_pAccount = nullptr;
    SHeld* m_pHeld = nullptr;
    bool m_bAdds = true;  ///< to the position
    bool m_bBuy = true;
    std::int64_t m_nLeft = 0;
    Money m_nWorst = 0;  ///< of one share or lot
    Money m_nTraded = 0;
    Money m_nFees = 0;
    Money m_nFrozen = 0;
  };

  SHeld& held(SAccount& account, const std::string& market, const std::string& code, bool isShort) const;
  static std::optional<SRefusal> freeze(SOpen& order);
  Money feesOf(const SOpen& order, Money traded) const;
  Money marginOf(const SOpen& order, Money traded) const;
  Money needOf(const SOpen& order) const;
  void add(SOpen& order, int quantity, Money amount);
  void reduce(SOpen& order, int quantity, Money amount);

  exchange::SFeeRates m_rates;
  std::map<std::string, SAccount> m_accounts;  ///< by key
  std::unordered_map<std::uint64_t, SOpen> m_open;
  bool m_bChanged = false;
};

}  // namespace engine
