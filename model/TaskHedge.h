#pragma once

#include <QString>
#include <vector>

#include "DetailFacts.h"
#include "OwnDetails.h"
#include "TaskIdentity.h"
#include "ksservice/CBasketHedgeParam.h"

namespace TC {

class CBasketTaskItem;
class CDetailCounter;
class CNotices;
class CRowLedger;
class CTaskTree;

/// The hedge of a task: futures that the hedge manager trades against the basket. One row of the tree shows it.
class CTaskHedge {
 public:
  using DetailMap = COwnDetails::DetailMap;

  /// What the host says of a hedge's detail and of all that is known beside it; asked before anything changes.
  struct SFacts {
    ksservice::CTaskDetailPtr detail;
    DetailMap details;  ///< with the new one
    std::vector<SDetailFacts> counts;
  };

  /// All must outlive the hedge.
  CTaskHedge(const STaskIdentity& id, CTaskTree& tree, CRowLedger& ledger, CDetailCounter& counter)
      : m_id(id), m_tree(tree), m_ledger(ledger), m_counter(counter) {}

  /// Null while the task has none.
  CBasketTaskItem* row() const { return m_pRow; }
  bool isEnabled() const { return m_param.m_bEnabled; }
  /// Those that have an identifier, by key.
  const DetailMap& details() const { return m_details; }

  // Parameters
  /// Takes parameters; whether they were handed over before is remembered. Gives a detail without identifier and
  /// orders, for the row that is to show them before the first hedge order.
  ksservice::CTaskDetailPtr setParam(const ksservice::CBasketHedgeParam& given);
  /// The manager was told to start, or runs already: the row offers an end of it.
  void started(bool start);
  void giveToManager() const;
  /// Gives the parameters to the manager, once, and never what the user has ended.
  void handOver();

  // Details
  /// Whether a detail is a hedge's: its first account trades futures.
  static bool isHedge(const ksservice::CTaskDetailPtr& detail);
  /// The facts of a hedge's detail.
  SFacts ask(const ksservice::CTaskDetailPtr& detail) const;
  /// Counts it into the row, which is made when there is none. beforeOwn: the task has no details yet.
  void take(const SFacts& facts, bool beforeOwn);
  /// What a lot is worth, for the row that was not priced yet; 0 otherwise. Asks the host, before take.
  double askLot(const ksservice::CTaskDetail& detail) const;
  /// Prices the row, once, and takes its remark off when it has filled.
  void price(double lot);

  // Targets and states
  /// Raises the target to lots; false when they are not above it.
  bool raise(int lots);
  /// Notes how the row stands, once its parameters were handed over.
  void noteTarget(CNotices& notices) const;
  /// The manager has reached its limit of orders; false when there is no hedge.
  bool stopAtLimit();
  void cancelled();
  void paused();
  /// False when there is none, or it has ended: that is not started again.
  bool resume();
  bool isRow(const QString& key) const;
  /// By the user, through the row.
  void cancelledByUser(CNotices& notices);
  /// The patch mark of the row goes without a word.
  void unmark();
  /// Everything has filled: the row offers no end of the hedge any more.
  void endMark(CNotices& notices);
  /// True once: the task is to be dropped since nothing but the hedge is unfinished.
  bool takeDrop() { return !std::exchange(m_bTaskDropped, true); }

 private:
  double lotAmount() const;
  void showRunning();

  const STaskIdentity& m_id;
  CTaskTree& m_tree;
  CRowLedger& m_ledger;
  CDetailCounter& m_counter;
  ksservice::CBasketHedgeParam m_param;
  CBasketTaskItem* m_pRow = nullptr;
  DetailMap m_details;
  bool m_bAmountPending = true;  ///< the row was not priced yet
  bool m_bCancelled = false;     ///< by the user, through the row
  bool m_bTaskDropped = false;
};

}  // namespace TC
