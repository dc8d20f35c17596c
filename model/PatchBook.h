#pragma once

#include <QMap>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "PatchRules.h"
#include "RowLedger.h"
#include "RowLookup.h"

namespace TC {

class CRowFinder;

/// The details of the patch tasks of one task, and what each of them adds to which rows. Guarded by the task's mutex.
class CPatchBook {
 public:
  using DetailMap = QMap<std::string, ksservice::CTaskDetailPtr>;
  /// Rows of securities by account key.
  using Rows = QMap<QString, AccountRows>;

  /// Both must outlive the book; rows: those that patches count on.
  CPatchBook(CRowLedger& ledger, const Rows& rows) : m_ledger(ledger), m_rows(rows) {}

  /// Takes a new state of a detail and counts it, and every other detail that shares a row with it, as the host knows
  /// it now. One that comes before its rows is counted when they have come.
  void take(const ksservice::CTaskDetailPtr& detail);
  /// Rows have come: counts what may fall on them.
  void onNewRows();
  /// Puts the messages of orders that ended unfilled on their rows.
  void takeMessages(const ksservice::CTaskDetail& detail) const;

  /// The details of which at least one line has a row, by their keys.
  const DetailMap& details() const { return m_details; }
  /// All of them, in key order.
  std::vector<ksservice::CTaskDetailPtr> all() const;
  /// The row of each line that has one, in the order of the lines.
  std::vector<SLedgerRow*> rowsOf(const ksservice::CTaskDetail& detail) const;

 private:
  struct SEntry {
    ksservice::CTaskDetailPtr detail;
    std::set<SLedgerRow*> rows;  ///< on which it counts
    bool mayMove = false;        ///< rows that come may be those on which it counts
  };
  using RowShares = std::map<SLedgerRow*, SRowShare>;

  struct SCount {
    std::string key;
    ksservice::CTaskDetailPtr newest;
    RowShares shares;
    bool mayMove = false;
  };

  SCount count(const ksservice::CTaskDetailPtr& detail) const;
  void enter(const SCount& count, std::set<SLedgerRow*>& touched);

  CRowLedger& m_ledger;
  const Rows& m_rows;
  DetailMap m_details;
  std::map<std::string, SEntry> m_entries;  ///< by detail key
};

}  // namespace TC
