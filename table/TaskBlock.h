#pragma once

#include <QHash>
#include <vector>

#include "CHpfBasketStatusData.h"
#include "CHpfBasketStatusTableData.h"
#include "StagedTask.h"

namespace TC {

/// A state of a task's rows: immutable arrays, shared, so that a copy costs a few pointers and stays as it is whatever
/// the table takes in later. Any thread.
struct STaskRows {
  STaskFacts facts;
  ShapePtr shape;
  TextsPtr texts;
  FiguresPtr figures;
  QString rootStatusText;
  bool rootStatusTextSet = false;  ///< rootStatusText stands in the place of the root's own status text

  int size() const { return shape ? static_cast<int>(shape->size()) : 0; }
  /// See RowKeys.h.
  QString key(int row) const;
  /// CBasketTaskItem::getKey of a row's node as it was staged: the keys with which it and those above it were made.
  QString nodeKey(int row) const;
  /// Valid while this stands.
  CHpfBasketStatusData data(int row) const;
};

/// The rows of one task as the table holds them: the arrays that the worker staged last, and the places of the rows
/// that view them. GUI thread only.
class CTaskBlock {
 public:
  CTaskBlock() = default;
  CTaskBlock(const CTaskBlock&) = delete;
  CTaskBlock& operator=(const CTaskBlock&) = delete;

  /// Takes a batch in by exchanging pointers; the row data of a refresh has the last word over earlier signals. What is
  /// needed no more is left in the batch: to free it is the worker's. before: of a new shape, placesIn of it.
  void take(SStagedTask& staged, const std::vector<int>& before = {});
  /// For each row of a shape the place of the same row in this block, -1 for a row that it does not have.
  std::vector<int> placesIn(const std::vector<SRowShape>& shape) const;
  /// The row with this node key or tree key, -1 for none. Rows of two accounts may have one tree key, since these count
  /// within an account; then it is the first in the table's order. Nothing hangs on which: a task announces its root
  /// by its tree key, every other node by its key.
  int rowNamed(const QString& name) const;

  boost::shared_ptr<CBasketTask> task() const { return m_task.lock(); }
  const STaskRows& state() const { return m_state; }
  const STaskFacts& facts() const { return m_state.facts; }
  const std::vector<SRowShape>& shape() const { return *m_state.shape; }
  const std::vector<SRowFigures>& figures() const { return *m_state.figures; }
  int size() const { return m_state.size(); }
  /// Rows that the filter of finished sub-tasks takes away.
  const RowFlags& finished() const { return *m_finished; }

  CHpfBasketStatusData data(int row) const { return m_state.data(row); }
  /// The amount's change by the batch that was taken last, from what the row showed before it; from nothing for a row
  /// that is new.
  double amountChange(int row) const;
  /// Grows with each batch.
  unsigned version() const { return m_nVersion; }

  /// Puts a text in the place of the root's own status text until the next batch.
  void setRootStatusText(const QString& text);
  void resetRootStatusText() { m_state.rootStatusTextSet = false; }
  /// Order counts that were announced after the last batch.
  void setOrderCounts(int row, int reported, int received) { m_orderCounts[row] = {reported, received}; }
  std::pair<int, int> orderCounts(int row) const;

  /// The nodes of the rows in the tree table, in the order of the arrays.
  std::vector<int> nodes;
  /// Whether a filter hides the row: what the table shows now, and what it is to show after the current pass.
  RowFlags hidden;
  RowFlags wantHidden;
  bool allShown = true;  ///< neither of the two hides a row
  bool running = false;  ///< the root was at the last pass
  bool touched = false;  ///< noted for the next pass
  bool askTask = false;  ///< in the next pass the task may know a newer status of its root than was staged
  bool pending = false;  ///< noted for the end of the pass

 private:
  boost::weak_ptr<CBasketTask> m_task;
  STaskRows m_state;
  FlagsPtr m_finished;
  FiguresPtr m_previous;  ///< figures before the last batch, in the places of the rows now; null when there were none
  QHash<int, std::pair<int, int>> m_orderCounts;
  unsigned m_nVersion = 0;

  /// A name of a row, by its hash.
  struct SName {
    uint hash;
    int row;
  };
  void listNames() const;
  mutable std::vector<SName> m_names;  ///< in the order of hash and row; made when a name is asked for
};

}  // namespace TC
