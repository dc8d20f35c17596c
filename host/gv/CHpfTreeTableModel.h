/// The model of the tree table: the flat list of the rows that show.
#pragma once

#include <functional>

#include "gv/CTreeRows.h"
#include "gv/IBaseHpfTableModel.h"

namespace GV {

/// Rows that are folded away or hidden are no rows of this model. Each operation costs what it changes; a batch in
/// which much of the structure changes rebuilds the list once, in one pass, and says so with one reset. GUI thread
/// only.
class CHpfTreeTableModel : public IBaseHpfTableModel {
  Q_OBJECT

 public:
  /// Called for each row with its depth (0 for a root), whether it or one above it is hidden, whether it is expanded.
  using RowVisitor = std::function<void(const CHpfTreeTableData&, int depth, bool hidden, bool expanded)>;

  using RowFilter = std::function<bool(const CHpfTreeTableData&)>;

  explicit CHpfTreeTableModel(std::vector<SColumn> columns, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  /// Sorts within each parent; column -1 gives back the rows' own order. The tree column sorts roots by their
  /// sortOrder() and all others by their names.
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

  CHpfTreeTableData& rowAt(int position) const override;
  int positionOf(const QString& key) const override;
  int nearestPosition(const QString& key) const override;
  QString cellText(const IBaseHpfTableData& row, int column) const override;
  double statistic(int column) const override;

  /// Between these, notices are held back and merged. They nest.
  void beginBatch();
  void endBatch();
  /// Within a batch: it changes so much that one reset is to say all of it, which keeps the page where it is.
  void announceByReset() { startReset(); }

  /// Adds a row under the row of parentKey (an empty one: as a root), in the children's own order before the child of
  /// beforeKey (an empty one: last). False, and nothing done, for a null row, a key that is there already and a parent
  /// or child that is not.
  bool insertData(const CHpfTreeTableDataPtr& row, const QString& parentKey, const QString& beforeKey = QString());
  /// Puts another record in the place of the row of the same key.
  bool replaceData(const CHpfTreeTableDataPtr& row);
  /// Removes a row with all below it. False for an unknown key.
  bool removeDataByKey(const QString& key);
  void clear();
  /// Sets the children's own order (parentKey empty: of the roots); children not named follow. False when a parent or
  /// child is unknown.
  bool reorderChildren(const QString& parentKey, const QStringList& keys);
  void reserve(int rows) { m_rows.reserve(rows); }

  /// The node of a row, CTreeRows::kNone for an unknown one. A node stays valid while its row is in the table.
  int find(const QString& key) const { return m_rows.find(key); }
  int nodeOf(const CHpfTreeTableData& row) const { return m_rows.nodeOf(row); }
  const CTreeRows& rows() const { return m_rows; }
  CHpfTreeTableDataPtr dataByKey(const QString& key) const;
  int nodeAt(int position) const;
  /// Where a node shows, -1 when it does not.
  int positionOfNode(int node) const;

  void setExpanded(int node, bool on);
  void setHidden(int node, bool on) { setOut(node, CTreeRows::Hidden, on); }
  /// The same for many nodes, which costs little more than one pass over the rows that show.
  void setHidden(const std::vector<int>& nodes, bool on);
  void setAllExpanded(bool on);
  /// The figures of a node changed, resp. those of everything at and below it (CTreeRows::kTop: of all rows).
  void rowChanged(int node) { figuresChanged(node, false); }
  void rowsChanged(int node) { figuresChanged(node, true); }

  /// Takes rows out of sight for which accepts is false, unless a row above or below them is accepted. An empty one
  /// ends it. Rows that change are looked at again. Leaves what setHidden did alone.
  void setFilter(RowFilter accepts);

  int sortColumn() const { return m_nSortColumn; }
  Qt::SortOrder sortOrder() const { return m_eSortOrder; }

  /// Every row in the order of the table, those that do not show included.
  void forEachRow(const RowVisitor& visit) const;

 private:
  struct SChange {
    int node;
    bool subtree;
  };
  struct SRange {
    int first;
    int last;
  };

  bool goesIncremental();
  void startReset();
  bool showsChildren(int node) const;
  void setOut(int node, CTreeRows::EFlag flag, bool on);
  bool filterTree(int node, bool accepted);
  void filterChanges();
  void ensureFlat() const;
  int endOf(int position) const;
  int findNear(int node) const;
  void noteDisplacement(int first, int rows);
  int positionBefore(int node) const;
  int lastShown(int node) const;
  void showRows(int position, const std::vector<int>& nodes);
  void hideRows(int first, int end);
  void relayout(int node);
  void noteChange(int node, bool subtree);
  void figuresChanged(int node, bool subtree);
  void applyChanges();
  void restoreOrder();
  bool refreshOrder(const SChange& change);
  void gatherUnsorted(int node, bool subtree, std::vector<int>& parents) const;
  std::vector<SRange> changedRanges() const;
  void visitBelow(int node, bool hidden, const RowVisitor& visit) const;

  mutable CTreeRows m_rows;
  mutable std::vector<int> m_flat;            ///< the nodes that show, in order
  mutable std::size_t m_nPositionsValid = 0;  ///< up to here the nodes know their position
  mutable int m_nDisplacement = 0;            ///< by which a position may be off, at most
  mutable bool m_bFlatStale = false;
  std::vector<SChange> m_changes;
  RowFilter m_filter;
  int m_nBatch = 0;
  int m_nBatchOperations = 0;
  int m_nBatchRows = 0;  ///< that came and went in this batch
  bool m_bResetting = false;
  int m_nSortColumn = -1;
  Qt::SortOrder m_eSortOrder = Qt::AscendingOrder;
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
