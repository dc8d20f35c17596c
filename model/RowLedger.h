#pragma once

#include <QString>
#include <boost/shared_ptr.hpp>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CBasketTaskItem.h"
#include "EBasketTaskType.h"
#include "SlotMemo.h"

namespace TC {

class CDetailShares;

/// What one detail adds to one row.
struct SRowShare {
  double amount = 0;     ///< traded amount, CNY
  double target = 0;     ///< target amount, CNY
  long long traded = 0;  ///< traded volume
  int orders = 0;
  int knownOrders = 0;  ///< orders whose order detail is known
  int cancelled = 0;
  int orderType = 0;      ///< of the last parameter that names another than the plain one
  bool estimate = false;  ///< the target is estimated from what was traded

  void add(const SRowShare& other);
};

/// An instrument row, or the hedge row, and the details that add to it.
struct SLedgerRow {
  using Shares = std::vector<std::pair<CDetailShares*, int>>;  ///< detail and its slot, in detail-key order

  CBasketTaskItem* item = nullptr;
  std::string accounts;  ///< the row's m_strAccounts as bytes
  bool hedge = false;
  Shares own;  ///< of the hedge row: the hedge's
  Shares patches;
  bool repeatedKeys = false;  ///< orders from several places of the order lists bear one key

  Shares& of(EBasketTaskType part) { return part == EBTT_Patch ? patches : own; }
};

/// A detail's part in the rows.
class CDetailShares {
 public:
  struct SSlot {
    SLedgerRow* row = nullptr;
    SRowShare share;
    const std::string* message = nullptr;  ///< of the last order that ended unfilled; valid during a count
  };

  CDetailShares(EBasketTaskType part, std::string detailKey) : m_part(part), m_strKey(std::move(detailKey)) {}
  CDetailShares(const CDetailShares&) = delete;
  CDetailShares& operator=(const CDetailShares&) = delete;

  /// Starts a recount: every share is 0. accounts: those of the detail's lines; orders: those of the detail as it was
  /// counted last. With other accounts than last time the rows lose what this detail gave them; true when the orders
  /// are to be filed on their rows anew.
  bool restart(const std::string& accounts, const std::vector<ksservice::COrderInfoPtr>& orders);
  /// Rows have come on which orders may belong: the next recount looks for all of them again.
  void lookAgain() { m_bLookAgain = true; }
  /// The detail's slot on a row, made when it has none.
  int slotOn(SLedgerRow& row);
  EBasketTaskType part() const { return m_part; }
  const std::string& key() const { return m_strKey; }

  std::vector<SSlot> m_slots;
  CSlotMemo m_paramSlots;
  CSlotMemo m_orderSlots;

 private:
  void leaveRows();
  void removeOrders(const std::vector<ksservice::COrderInfoPtr>& orders) const;

  EBasketTaskType m_part;
  std::string m_strKey;
  std::string m_strPlaces;
  bool m_bLookAgain = false;
};

/// What each detail adds to each row of a task.
///
/// Why: several details may fall on one row, and each refresh brings one of them. So a row's figures are formed from
/// the shares of all its details, always added in detail-key order: a refresh costs what changed, and the same details
/// give the same figures to the last bit.
class CRowLedger {
 public:
  /// A row of the tree, which must stay as long as the ledger.
  SLedgerRow& addRow(CBasketTaskItem& item, bool hedge);
  /// The row of a node that addRow took.
  SLedgerRow& row(const CBasketTaskItem* item) { return *m_rows.at(item); }
  /// The shares of a detail, made when it has none.
  CDetailShares& detail(EBasketTaskType part, const std::string& detailKey);

 private:
  std::unordered_map<const CBasketTaskItem*, std::unique_ptr<SLedgerRow>> m_rows;
  std::map<std::pair<EBasketTaskType, std::string>, CDetailShares> m_details;
};

/// Forms a row's figures from the shares of its details and its patch tasks, and everything that is derived from them.
void settleRow(const SLedgerRow& row);

}  // namespace TC
