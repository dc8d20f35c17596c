/// The model of the tree table: the flat list of the rows that show.
#pragma once

#include <functional>

#include "gv/CHpfTreeTableData.h"
#include "gv/CRowBlock.h"
#include "gv/CTreeBlocks.h"
#include "gv/IBaseHpfTableModel.h"

namespace GV {

class CTreeWorks;

/// Rows that are folded away or hidden are no rows of this model. Rows come in blocks, of which the table keeps a few
/// bytes a row, or one by one. Each operation costs what it changes; a batch in which much of the structure changes
/// says so with one reset. Sorts and filters of very many rows are worked out on a thread of the model's own: until
/// then the old order, and what the old filter left, stand as a whole. GUI thread only.
class CHpfTreeTableModel : public IBaseHpfTableModel {
  Q_OBJECT

 public:
  /// Called for each row with its depth (0 for a root), whether it or one above it is hidden, whether it is expanded.
  using RowVisitor = std::function<void(const CHpfTreeTableData&, int depth, bool hidden, bool expanded)>;

  explicit CHpfTreeTableModel(std::vector<SColumn> columns, QObject* parent = nullptr);
  ~CHpfTreeTableModel() override;

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  /// Sorts within each parent; column -1 gives back the rows' own order. The tree column sorts roots by their
  /// sortOrder() and all others by their names.
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
  /// Good until some hundred other rows were asked for.
  CHpfTreeTableData& rowAt(int position) const override;
  int positionOf(const QString& key) const override;
  int nearestPosition(const QString& key) const override;
  QString cellText(const IBaseHpfTableData& row, int column) const override;
  double statistic(int column) const override;

  bool isSelectedAt(int position) const override { return m_tree.has(treeRowAt(position), CTreeBlocks::Selected); }
  bool isSelected(const QString& key) const override;
  void select(const QString& key, bool on) override;
  void selectRange(int first, int last) override;
  void clearSelection() override;
  std::vector<int> selectedPositions() const override;

  /// Between these, notices are held back and merged. They nest.
  void beginBatch() {
    if (m_nBatch++ == 0) m_nBatchOperations = 0;
  }
  void endBatch();
  /// Within a batch: it changes so much that one reset is to say all of it, which keeps the page where it is.
  void announceByReset();

  /// Adds a block, whose roots are expanded if unfolded is set, and removes one. The block is not owned; it must stay
  /// as it is but for its figures until it is removed.
  void addBlock(ITreeBlock& block, bool unfolded);
  void removeBlock(ITreeBlock& block);
  /// Within a batch that is announced by a reset: the block has other rows. before: where each of them was, -1 for a
  /// new one.
  void reshapeBlock(ITreeBlock& block, const std::vector<int>& before);
  /// The figures of a block, resp. of all rows changed.
  void blockChanged(const ITreeBlock& block) { noteChange({block.number(), kAllRows, true}); }
  void allChanged() { noteChange({-1, kAllRows, true}); }

  /// Adds a row under the row of parentKey (an empty one: as a root), last in its own order. False, and nothing done,
  /// for a null row, a key that is there already and a parent that did not come in this way.
  bool insertData(const CHpfTreeTableDataPtr& row, const QString& parentKey);
  /// Puts another record in the place of a row that came by insertData.
  bool replaceData(const CHpfTreeTableDataPtr& row);
  /// Removes a row that came by insertData with all below it. False for any other key.
  bool removeDataByKey(const QString& key);
  void clear();

  /// Not valid for an unknown key or position. Good until rows come or go.
  STreeRow find(const QString& key) const;
  STreeRow treeRowAt(int position) const { return m_tree.rowAt(position); }
  static STreeRow treeRowOf(const CHpfTreeTableData& row);
  const CTreeBlocks& tree() const { return m_tree; }
  CHpfTreeTableDataPtr record(const STreeRow& row) const;
  CHpfTreeTableDataPtr dataByKey(const QString& key) const;
  /// Where a row shows, -1 when it does not.
  int positionOf(const STreeRow& row) const { return m_tree.isShown(row) ? m_tree.positionOf(row) : -1; }

  void setExpanded(const STreeRow& row, bool on);
  void setAllExpanded(bool on);
  void setHidden(const STreeRow& row, bool on) { setOut(row, CTreeBlocks::Hidden, on); }
  /// Of all rows of a block.
  void setHidden(const ITreeBlock& block, const RowFlags& rows) { setOut(block.number(), CTreeBlocks::Hidden, rows); }
  /// The figures of a row changed, with subtree of all at and below it.
  void rowChanged(const STreeRow& row, bool subtree = false) { noteChange({row.block, row.row, subtree}); }

  /// Takes rows out of sight in whose columns these texts do not occur, unless a row above or below is one in whose
  /// columns they do. Rows that change are looked at again. Leaves what setHidden did alone.
  void setFilter(std::vector<SColumnFilter> columns);

  int sortColumn() const { return m_tree.sort().column; }
  Qt::SortOrder sortOrder() const { return m_tree.sort().order; }

  /// Every row in the order of the table, those that do not show included.
  void forEachRow(const RowVisitor& visit) const;

 protected:
  /// The block that a key can only be in; -1 for none. Rows that came by insertData are looked up before.
  virtual int blockOfKey(const QString& /*key*/) const { return -1; }

 private:
  static constexpr int kAllRows = -1;
  struct SChange {
    int block;  ///< -1: all
    int row;    ///< kAllRows: of the block
    bool subtree;
  };
  struct SRange {
    int first;
    int last;
  };
  struct SFound;

  bool goesIncremental();
  bool showsChildren(const STreeRow& row) const;
  void setOut(const STreeRow& row, CTreeBlocks::EFlag flag, bool on);
  void setOut(int block, CTreeBlocks::EFlag flag, const RowFlags& rows);
  void noteChange(const SChange& change);
  void filterChanges();
  void lookAt(const std::vector<int>& blocks);
  void filterBlock(int block);
  void applyChanges();
  void restoreOrder();
  void relayout();
  void startWorks();
  void takeFound(std::vector<SFound>& found, bool sorted, bool filtered);
  std::vector<SRange> changedRanges() const;
  void keep(const CHpfTreeTableDataPtr& record) const;

  mutable CTreeBlocks m_tree;
  CRowBlock m_rows;  ///< those that came one by one
  int m_nRowsBlock = -1;
  mutable std::vector<CHpfTreeTableDataPtr> m_recent;  ///< holds what was asked for lately
  mutable unsigned m_nRecent = 0;
  std::vector<SChange> m_changes;
  STreeFilter m_filter;
  int m_nBatch = 0;
  int m_nBatchOperations = 0;
  bool m_bResetting = false;
  CTreeWorks* m_pWorks;
  std::vector<int> m_unsorted;    ///< large blocks whose order is to be worked out
  std::vector<int> m_unfiltered;  ///< blocks that are to be looked at
  std::vector<int> m_filtering;   ///< blocks that the works look at by the filter of now
  unsigned m_nSortStamp = 0;      ///< grows with each sort, resp. filter
  unsigned m_nFilterStamp = 0;
  bool m_bFilterWaits = false;  ///< no row has been looked at by the filter of now
};

/// A batch that ends with its scope.
class CModelBatch {
 public:
  explicit CModelBatch(CHpfTreeTableModel& model) : m_model(model) { m_model.beginBatch(); }
  ~CModelBatch() { m_model.endBatch(); }
  CModelBatch(const CModelBatch&) = delete;
  CModelBatch& operator=(const CModelBatch&) = delete;

 private:
  CHpfTreeTableModel& m_model;
};

}  // namespace GV
