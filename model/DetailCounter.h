#pragma once

#include <set>
#include <string>
#include <vector>

#include "AwaitedRows.h"
#include "CountRun.h"
#include "DetailFacts.h"
#include "RowLedger.h"
#include "RowLookup.h"
#include "TaskIdentity.h"

namespace TC {

/// Counts details into the ledger: the one place where an order, or an entry of a server's progress, becomes figures of
/// a row, whether the detail is the task's own, a patch's or the hedge's (countRules tells what differs). The hot path
/// of a refresh: it builds no text for each order.
class CDetailCounter {
 public:
  /// A detail: its part and its key.
  using Counted = CAwaitedRows::Counted;
  using STexts = CCountRun::STexts;

  /// Both must outlive the counter; rows: of the securities, on which all but the hedge counts.
  CDetailCounter(const STaskIdentity& id, CRowLedger& ledger, const SideRows& rows)
      : m_id(id), m_ledger(ledger), m_rows(rows) {}

  /// A row has come: orders that belong on it may have been counted on another one.
  void onNewRow(const CBasketTaskItem& row, const QString& accountKey) { m_awaited.onNewRow(row, accountKey); }
  /// The details whose orders belong on rows that have come since they were counted. Their next count finds them.
  std::set<Counted> takeAwaiting();

  /// Counts what has changed of an own or a patch's detail, and forms the figures of the rows on which that falls.
  void count(const SDetailFacts& facts, const STexts& texts);
  /// What of a detail was counted last; null where nothing was. To be asked for the facts of its next count.
  const SCountedDetail* counted(EBasketTaskType part, const std::string& detailKey) const {
    return m_ledger.counted(part, detailKey);
  }
  /// Another record took the place of one that was counted, in which nothing is different that counts.
  void exchange(EBasketTaskType part, const ksservice::CTaskDetailPtr& detail);
  /// Counts all that is known of the hedge into its row.
  void countHedge(const std::vector<SDetailFacts>& details, CBasketTaskItem& row);
  /// The row of each line of a patch's detail that has one, in the order of the lines.
  std::vector<SLedgerRow*> rowsOfLines(const ksservice::CTaskDetail& patch) const;
  /// The keys of the patches' details that count on one of these rows or on one of its own, and its own key.
  std::set<std::string> patchesSharing(const std::string& patchKey, std::vector<SLedgerRow*> rows);

 private:
  const STaskIdentity& m_id;
  CRowLedger& m_ledger;
  const SideRows& m_rows;
  CAwaitedRows m_awaited;
};

}  // namespace TC
