#pragma once

#include <QString>
#include <boost/shared_ptr.hpp>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "CBasketTaskItem.h"
#include "CountedDetail.h"
#include "EBasketTaskType.h"
#include "RowChanges.h"
#include "SlotMemo.h"

namespace TC {

class CDetailShares;

/// What the parameters of one detail add to one row.
struct SLineShare {
  double target = 0;      ///< target amount, CNY
  int orderType = 0;      ///< of the last parameter that names another than the plain one
  bool estimate = false;  ///< the target is estimated from what was traded

  bool operator==(const SLineShare& other) const = default;
};

/// What its orders add, or the server's progress.
struct SOrderShare {
  double amount = 0;     ///< traded amount, CNY
  long long traded = 0;  ///< traded volume
  int orders = 0;
  int knownOrders = 0;  ///< orders whose order detail is known
  int cancelled = 0;
  bool estimate = false;
};

/// A detail and its slot on a row; of no detail behind the last one.
struct SRowShare {
  CDetailShares* detail = nullptr;
  int slot = NO_SLOT;
};

/// An instrument row, or the hedge row, and the details that add to it.
struct SLedgerRow {
  CBasketTaskItem* item = nullptr;
  const std::string* accounts = nullptr;  ///< the row's m_strAccounts as bytes
  bool hedge = false;
  /// The first of a list through the slots, since most rows have one. Patches stand behind the others (of the hedge row
  /// the hedge's), each in detail-key order.
  SRowShare first;
};

/// A detail's part in the rows.
class CDetailShares {
 public:
  struct SSlot {
    SLedgerRow* row = nullptr;
    SLineShare lines;
    SOrderShare orders;
    int message = NO_ORDER;  ///< place of the last order that ended unfilled with a message
    SRowShare next;          ///< of the row
  };
  static constexpr int NO_ORDER = -1;

  CDetailShares(EBasketTaskType part, std::string detailKey) : m_part(part), m_strKey(std::move(detailKey)) {}
  CDetailShares(const CDetailShares&) = delete;
  CDetailShares& operator=(const CDetailShares&) = delete;

  /// Starts a count of the whole detail: every share is 0. places: on what its rows hang (CRowFinder). With another
  /// text than last time the rows lose what this detail gave them; true when its orders were taken off its rows, to be
  /// filed anew.
  bool restart(const std::string& places, CRowChanges& changes);
  /// Rows have come on which orders may belong: the next count looks for all of them again.
  void lookAgain();
  /// The detail's slot on a row, made when it has none.
  int slotOn(SLedgerRow& row);
  SSlot& slot(int number) { return m_slots[static_cast<std::size_t>(number)]; }
  EBasketTaskType part() const { return m_part; }
  const std::string& key() const { return m_strKey; }

  std::vector<SSlot> m_slots;
  SCountedDetail m_counted;
  CSlotMemo m_progressSlots;

 private:
  void leaveRows(CRowChanges& changes);
  bool isBefore(const CDetailShares& other) const;
  /// Where the row's list has this detail, or is to have it.
  SRowShare& placeOn(SLedgerRow& row) const;
  void removeOrders() const;

  EBasketTaskType m_part;
  std::string m_strKey;
  std::string m_strPlaces;
  bool m_bLookAgain = false;
};

/// Calls the action with each detail that adds to a row and its slot there.
template <typename Action>
void eachShare(const SLedgerRow& row, const Action& action) {
  for (SRowShare share = row.first; share.detail;) {
    const CDetailShares::SSlot& slot = share.detail->slot(share.slot);
    action(*share.detail, slot);
    share = slot.next;
  }
}

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
  SLedgerRow& row(const CBasketTaskItem* item) { return m_rows.at(static_cast<std::size_t>(item->m_nLedger)); }
  /// The shares of a detail, made when it has none.
  CDetailShares& detail(EBasketTaskType part, const std::string& detailKey);
  /// What of a detail was counted last; null where nothing was.
  const SCountedDetail* counted(EBasketTaskType part, const std::string& detailKey) const;

  /// Stores an order on its row. before: the order that had its place in the list; null for a new place.
  void fileOrder(SLedgerRow& row, const ksservice::COrderInfoPtr& order, const ksservice::COrderInfo* before);
  /// An order is in no list any more. Its row keeps it until another one of its key comes.
  void unlist(const ksservice::COrderInfo& order) { m_unlisted.insert(&order); }
  /// Orders from several places of the lists bear one key: all of them are to be filed in list order with each count,
  /// so that the later one stands as if all had been filed anew.
  bool hasRepeatedKeys() const { return m_bRepeatedKeys; }
  /// The rows whose figures or texts have changed.
  CRowChanges& changes() { return m_changes; }

 private:
  std::deque<SLedgerRow> m_rows;
  std::set<std::string> m_accounts;  ///< as rows name them
  std::map<std::pair<EBasketTaskType, std::string>, CDetailShares> m_details;
  std::unordered_set<const ksservice::COrderInfo*> m_unlisted;  ///< each is kept by a row
  bool m_bRepeatedKeys = false;
  CRowChanges m_changes;
};

/// Forms a row's figures from the shares of its details and its patch tasks, and everything that is derived from them.
/// Notes the row where one is another than before.
void settleRow(const SLedgerRow& row, CRowChanges& changes);

}  // namespace TC
