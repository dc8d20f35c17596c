/// The broker's side of a random day: the engine's own ledger and rates for the accounts of the test's market, and what
/// must hold of them.
#pragma once

#include <set>

#include "SafetyPlan.h"

namespace test {

/// Accounts with little or much money and position, of one trading day. One thread; times are milliseconds since
/// midnight. Orders of accounts that are not the plan's know no limit of money.
class CSafetyBroker {
 public:
  CSafetyBroker(const SDayPlan& plan, Random& random);

  /// An order, if its account may send one now: its number, or 0 and why its account cannot pay or deliver; 0 and
  /// nothing while it may send none.
  std::pair<std::uint64_t, std::string> order(const ksservice::CCodeOrderParam& param, int quantity, double price,
                                              std::int64_t now);
  void fill(std::uint64_t order, int quantity, double amount);
  void end(std::uint64_t order);
  /// Sends cancels as far as accounts may.
  void cancel(const std::string& account, std::uint64_t order, std::int64_t now);
  void sendCancels(std::int64_t now);
  /// Whether a cancel has reached the market.
  bool isCancelled(std::uint64_t order) const { return m_cancelled.contains(order); }

  /// What must not be: money, positions or what is frozen below zero, something frozen without an open order, or more
  /// sent than an account may. Empty: nothing.
  std::string fault() const;

 private:
  void count(int account, std::int64_t now);

  engine::SOrderLimits m_limits;
  engine::COrderRates m_rates;
  engine::CLedger m_ledger{exchange::SFeeRates()};
  std::uint64_t m_nOrders = 0;
  std::map<std::uint64_t, std::string> m_open;  ///< the account of each open order
  std::set<std::uint64_t> m_asked;
  std::set<std::uint64_t> m_cancelled;
  std::vector<std::vector<std::int64_t>> m_sent;  ///< of each account by its number: when
  std::string m_strFault;
};

}  // namespace test
