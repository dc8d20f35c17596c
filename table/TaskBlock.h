#pragma once

#include <QHash>
#include <QSet>
#include <vector>

#include "CHpfBasketStatusData.h"
#include "CHpfBasketStatusTableData.h"
#include "StagedTask.h"
#include "gv/ITreeBlock.h"

namespace TC {

/// A state of a task's rows: immutable arrays, shared, so that a copy costs a few pointers and stays as it is whatever
/// the table takes in later. Any thread.
struct STaskRows : GV::ITreeState {
  STaskFacts facts;
  ShapePtr shape;
  TextsPtr texts;
  FiguresPtr figures;
  EProcessDisplay mode = EPD_Amount;  ///< how progress is shown
  QString rootStatusText;
  bool rootStatusTextSet = false;  ///< rootStatusText stands in the place of the root's own status text
  QHash<int, std::pair<int, int>> announcedOrders;  ///< by row: order counts that were announced after the figures

  int size() const { return shape ? static_cast<int>(shape->size()) : 0; }
  /// See RowKeys.h.
  QString key(int row) const;
  /// CBasketTaskItem::getKey of a row's node as it was staged: the keys with which it and those above it were made.
  QString nodeKey(int row) const;
  /// Valid while this stands.
  CHpfBasketStatusData data(int row) const;
  std::pair<int, int> orderCounts(int row) const;

  int rowCount() const override { return size(); }
  int parentOf(int row) const override { return (*shape)[static_cast<std::size_t>(row)].parent; }
  int sortOrder(int row) const override;
  QString name(int row) const override { return (*shape)[static_cast<std::size_t>(row)].displayName; }
  QString text(int row, int column) const override;
  double sortNumber(int row, int column) const override;
  QString sortText(int row, int column) const override;
};

/// The rows of one task as the table holds them: the arrays that the worker staged last, and the records of the rows
/// that somebody asked for. GUI thread only.
class CTaskBlock : public GV::ITreeBlock {
 public:
  explicit CTaskBlock(EProcessDisplay mode) { m_state.mode = mode; }
  ~CTaskBlock() override;
  CTaskBlock(const CTaskBlock&) = delete;
  CTaskBlock& operator=(const CTaskBlock&) = delete;

  /// Takes a batch in by exchanging pointers; the row data of a refresh has the last word over earlier signals. What is
  /// needed no more is left in the batch: to free it is the worker's.
  void take(SStagedTask& staged);
  /// Leaves everything in a batch, for the same reason. The block is of no use afterwards.
  SStagedTask letGo();
  /// The row with this node key or tree key, -1 for none. Rows of two accounts may have one tree key, since these count
  /// within an account; then it is the first in the table's order. Nothing hangs on which: a task announces its root
  /// by its tree key, every other node by its key.
  int rowNamed(const QString& name) const;

  boost::shared_ptr<CBasketTask> task() const { return m_task.lock(); }
  const STaskRows& rows() const { return m_state; }
  const STaskFacts& facts() const { return m_state.facts; }
  const std::vector<SRowShape>& shape() const { return *m_state.shape; }
  int size() const { return m_state.size(); }
  /// Rows that the filter of finished sub-tasks takes away.
  const RowFlags& finished() const { return *m_finished; }

  CHpfBasketStatusData data(int row) const { return m_state.data(row); }
  /// How far the amount of a row moved by the batch that was taken last, from what the row showed before it, from
  /// nothing for a row that is new; 0 once it was asked.
  double takeAmountChange(int row);

  /// Puts a text in the place of the root's own status text until the next batch.
  void setRootStatusText(const QString& text);
  void resetRootStatusText() { m_state.rootStatusTextSet = false; }
  /// Order counts that were announced after the last batch.
  void setOrderCounts(int row, int reported, int received) { m_state.announcedOrders[row] = {reported, received}; }
  void setMode(EProcessDisplay mode) { m_state.mode = mode; }

  const GV::ITreeState& state() const override { return m_state; }
  std::shared_ptr<const GV::ITreeState> freeze() const override { return std::make_shared<const STaskRows>(m_state); }
  QString key(int row) const override { return m_state.key(row); }
  int find(const QString& key) const override { return m_index->find(shape(), key); }
  unsigned textsVersion() const override { return m_nTextsVersion; }
  QString scriptName(int row) const override { return shape()[static_cast<std::size_t>(row)].scriptName; }
  GV::CHpfTreeTableDataPtr record(int row) override { return statusRow(row); }
  StatusRowPtr statusRow(int row);
  /// The root alone counts.
  void visitCounted(int column, const CountedVisitor& visit) const override;

  /// Whether a filter hides the row: what the table shows now, and what it is to show after the current pass.
  RowFlags hidden;
  RowFlags wantHidden;
  bool allShown = true;  ///< neither of the two hides a row
  bool running = false;  ///< the root was at the last pass
  bool touched = false;  ///< noted for the next pass
  bool askTask = false;  ///< in the next pass the task may know a newer status of its root than was staged
  bool pending = false;  ///< noted for the end of the pass

 private:
  friend class CHpfBasketStatusTableData;
  void forget(int row) { m_records.remove(row); }
  void rebind(const std::vector<int>& before);

  boost::weak_ptr<CBasketTask> m_task;
  STaskRows m_state;
  IndexPtr m_index;
  unsigned m_nTextsVersion = 0;
  FlagsPtr m_finished;
  AmountsPtr m_amountsBefore;  ///< null where there were none
  QSet<int> m_readChanges;     ///< rows whose change was asked for
  QHash<int, CHpfBasketStatusTableData*> m_records;

  /// A name of a row, by its hash.
  struct SName {
    uint hash;
    int row;
  };
  void listNames() const;
  mutable std::vector<SName> m_names;  ///< in the order of hash and row; made when a name is asked for
};

}  // namespace TC
