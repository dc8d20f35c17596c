#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "CStateHash.h"

namespace engine {

/// How many orders and cancels together an account may send. The exchanges count an account as high-frequency from 300
/// in a second or 20000 in a day.
struct SOrderLimits {
  int m_nPerSecond = 280;
  int m_nPerDay = 19000;
};

/// What an account has sent, orders and cancels together.
struct SOrderUse {
  std::string m_strAccount;  ///< its key
  int m_nSecond = 0;         ///< most in a second since the last restartSeconds()
  int m_nDay = 0;            ///< today
  int m_nBeyond = 0;         ///< cancels of these that went beyond the day's limit
};

/// For how long the limit of a second has kept an account from sending, milliseconds since midnight.
struct SOrderWait {
  std::string m_strAccount;   ///< its key
  std::int64_t m_nFrom = 0;   ///< an order could not go out
  std::int64_t m_nUntil = 0;  ///< one could again, or nobody wanted one any more
};

/// Counts what each account sends and says when it may send more: never more than the limit in any second. Beyond the
/// limit of the day nothing but cancels. Cancels that must wait go in their order, before any order of their account.
/// Knows no market. Engine's thread. Times are milliseconds since midnight and never go back.
class COrderRates {
 public:
  explicit COrderRates(SOrderLimits limits) : m_limits(limits) {}

  /// The number, from 0, by which an account is known here; an unknown one is entered.
  int numberOf(const std::string& account);
  int accountCount() const { return static_cast<int>(m_accounts.size()); }

  /// Whether a new order may go out, asked by whoever has one: what may not waits.
  bool mayOrder(int account, std::int64_t now);
  /// Whether an order may be cancelled so that another takes its place: today there is room for both.
  bool mayReplace(int account, std::int64_t now);
  /// Whether no order may go out any more today.
  bool isDayOver(int account) const { return use(account).m_nDay >= m_limits.m_nPerDay; }
  bool isAnyDayOver() const { return m_bAnyDayOver; }
  /// An order or a cancel goes out.
  void count(int account, std::int64_t now);

  /// An order is to be cancelled as soon as its account may send a cancel. order: above 0.
  void addCancel(int account, std::uint64_t order);
  /// The order that is to be cancelled now; 0 for none. It is not counted yet: it may have ended meanwhile.
  std::uint64_t takeCancel(int account, std::int64_t now);

  /// Folds in what each account has sent today.
  void addTo(CStateHash& hash) const;
  /// Of all accounts, in the order in which they were entered.
  std::vector<SOrderUse> use() const;
  void restartSeconds(std::int64_t now);
  /// The accounts that have come to their limit of the day since the last call.
  std::vector<std::string> takeReached();
  /// The waits that have ended since the last call.
  std::vector<SOrderWait> takeWaits() { return std::exchange(m_waits, {}); }
  /// Those of which more cancels went beyond it since the last call.
  std::vector<SOrderUse> takeBeyond();

 private:
  struct SBurst {
    std::int64_t m_nTime;
    int m_nCount;
  };
  struct SAccount {
    SOrderUse m_use;
    std::deque<SBurst> m_recent;  ///< what still counts for its second
    int m_nRecent = 0;            ///< how many these are
    std::deque<std::uint64_t> m_cancels;
    std::int64_t m_nHeldFrom = -1;  ///< an order waits since then; -1: none
    std::int64_t m_nHeldAsked = 0;  ///< ... and was asked for last
    bool m_bReached = false;        ///< and not told yet
    int m_nBeyondTold = 0;
  };

  const SOrderUse& use(int account) const { return m_accounts[static_cast<std::size_t>(account)].m_use; }
  SAccount& recent(int account, std::int64_t now);
  bool isFree(const SAccount& of) const;

  SOrderLimits m_limits;
  std::map<std::string, int> m_numbers;  ///< by account
  std::vector<SAccount> m_accounts;
  std::vector<SOrderWait> m_waits;
  bool m_bAnyDayOver = false;
};

}  // namespace engine
