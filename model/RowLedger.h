#pragma once

#include <QString>
#include <boost/shared_ptr.hpp>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CBasketTaskItem.h"

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
  bool progress = false;  ///< counted from a server task: the target is estimated from what was traded

  void add(const SRowShare& other);
};

/// An instrument row and the details that add to it.
struct SLedgerRow {
  std::unique_ptr<CBasketTaskItem> item;
  std::string accounts;                                ///< the row's m_strAccounts as bytes
  std::vector<std::pair<CDetailShares*, int>> shares;  ///< detail and its slot, in detail-key order
  std::map<std::string, SRowShare> patches;            ///< what each patch detail adds, by its key
  bool repeatedKeys = false;                           ///< orders from several places of the order lists bear one key
};

/// Remembers in which slot of a detail an instrument's operation counts, so that a refresh builds no key: the places
/// of a list mostly hold the instruments that they held last time, and the others are found by hash.
class CSlotMemo {
 public:
  static constexpr int NO_ROW = -1;

  /// The slot of the list's place, NO_ROW when no row exists. resolve() is asked once for each instrument and
  /// operation.
  template <typename Resolve>
  int at(std::size_t place, const std::string& market, const std::string& code, int operation, const Resolve& resolve) {
    Entry*& entry = m_places[place];
    if (!entry || !same(entry->first, market, code, operation)) entry = &find(market, code, operation);
    if (entry->second == UNRESOLVED) entry->second = resolve();
    return entry->second;
  }
  /// Makes room for a list of this length; to be called before at().
  void setLength(std::size_t length) { m_places.resize(length, nullptr); }
  void clear();

 private:
  struct SView {
    std::string_view market;
    std::string_view code;
    int operation;
  };
  struct SKey {
    std::string market;
    std::string code;
    int operation;
    operator SView() const { return {market, code, operation}; }
  };
  struct SHash {
    using is_transparent = void;
    std::size_t operator()(const SView& key) const;
  };
  struct SEqual {
    using is_transparent = void;
    bool operator()(const SView& a, const SView& b) const {
      return a.operation == b.operation && a.code == b.code && a.market == b.market;
    }
  };
  using Entry = std::pair<const SKey, int>;
  static constexpr int UNRESOLVED = -2;

  static bool same(const SKey& key, const std::string& market, const std::string& code, int operation) {
    return key.operation == operation && key.code == code && key.market == market;
  }
  Entry& find(const std::string& market, const std::string& code, int operation);

  std::unordered_map<SKey, int, SHash, SEqual> m_entries;
  std::vector<Entry*> m_places;  ///< entries keep their address
};

/// A detail's part in the rows of its account.
class CDetailShares {
 public:
  struct SSlot {
    SLedgerRow* row = nullptr;
    SRowShare share;
    const std::string* message = nullptr;  ///< of the last order that ended unfilled; valid during a refresh
  };

  explicit CDetailShares(std::string detailKey) : m_strKey(std::move(detailKey)) {}
  CDetailShares(const CDetailShares&) = delete;
  CDetailShares& operator=(const CDetailShares&) = delete;

  /// Starts a recount: every share is 0. orders: those of the detail as it was last. Rows of another account than last
  /// time lose what this detail gave them; true when the orders are to be filed on their rows anew.
  bool restart(const QString& accountKey, const std::vector<ksservice::COrderInfoPtr>& orders);
  /// Rows have come on which orders may belong: the next recount looks for all of them again.
  void lookAgain() { m_bLookAgain = true; }
  /// The detail's slot on a row, made when it has none.
  int slotOn(SLedgerRow& row);

  std::vector<SSlot> m_slots;
  CSlotMemo m_paramSlots;
  CSlotMemo m_orderSlots;

 private:
  void leaveRows();
  void removeOrders(const std::vector<ksservice::COrderInfoPtr>& orders) const;

  std::string m_strKey;
  QString m_strAccountKey;
  bool m_bLookAgain = false;
};

/// The rows of a task, which it owns, and what each detail adds to each of them.
///
/// Why: two details may fall on one row, and each refresh brings one of them. So a row's figures are formed from the
/// shares of all its details, always added in detail-key order: a refresh costs what changed, and the same details
/// give the same figures to the last bit. Guarded by the task's mutex.
class CRowLedger {
 public:
  SLedgerRow& addRow(std::unique_ptr<CBasketTaskItem> item);
  /// The row of a node that addRow took.
  SLedgerRow& row(const CBasketTaskItem* item) { return *m_rows.at(item); }
  CDetailShares& detail(const std::string& detailKey);

 private:
  std::unordered_map<const CBasketTaskItem*, std::unique_ptr<SLedgerRow>> m_rows;
  std::map<std::string, CDetailShares> m_details;
};

/// Forms a row's figures from the shares of its details and its patch tasks, and everything that is derived from them.
void settleRow(const SLedgerRow& row);

}  // namespace TC
