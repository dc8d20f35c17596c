/// The tree table.
#pragma once

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/CHpfTreeTableModel.h"

namespace GV {

/// Rows are addressed by key. In a CModelBatch any number of changes costs one pass and one repaint.
/// GUI thread only.
class CHpfTreeTable : public CBaseHighPerformanceTable {
  Q_OBJECT

 public:
  explicit CHpfTreeTable(QWidget* parent = nullptr);

  /// Takes ownership.
  void setDataModel(CHpfTreeTableModel* model);
  CHpfTreeTableModel* dataModel() const { return m_pTreeModel; }

  /// Puts a row under its parent (empty key: a root), or says that the figures of a row that is there changed. False,
  /// and said in the log, for an unknown parent.
  bool updateData(const CHpfTreeTableDataPtr& row, const QString& parentKey);
  /// The figures of every row changed.
  void allRowsChanged() { m_pTreeModel->allChanged(); }
  /// Removes a row with all below it; unknown keys do nothing, here and below.
  void removeDataByKey(const QString& key) { m_pTreeModel->removeDataByKey(key); }
  void clear();

  /// Ends the hiding of a row, with recursive also of all below it.
  void showItem(const QString& key, bool recursive);
  /// Ends the hiding of a row, and expands it when expand is set; never folds.
  void showItemNoRecursive(const QString& key, bool expand);
  void hideItem(const QString& key, bool hide);
  void expandItem(const QString& key, bool expand);
  /// The same for many rows, as one change of what shows. Unknown keys are passed over.
  void expandItems(const QStringList& keys, bool expand);
  void expandAll(bool expand) { m_pTreeModel->setAllExpanded(expand); }
  bool isExpanded(const QString& key) const;
  /// As a user goes to it: unfolds what is above the row, selects it alone and scrolls to it. Nothing for a hidden row.
  void goToRow(const STreeRow& row);

  /// Whether the header's menu offers to filter by a column.
  void setColumnFilterable(int column, bool on);
  bool isColumnFilterable(int column) const { return m_filterable.contains(column); }
  /// Shows only rows in whose columns these texts occur, with those above and below them; empty ends a column's filter.
  void setColumnFilter(int column, const QString& text);
  QString columnFilter(int column) const { return m_filters.value(column); }
  void clearColumnFilters();

  CHpfTreeTableDataPtr dataByKey(const QString& key) const { return m_pTreeModel->dataByKey(key); }
  /// Every row in the order of the table, hidden and folded ones included.
  void forEachRow(const CHpfTreeTableModel::RowVisitor& visit) const { m_pTreeModel->forEachRow(visit); }
  /// The row that a path of script names joined with "/" names; null for none. A name may contain "/" itself.
  CHpfTreeTableDataPtr rowByPath(const QString& path) const;

 protected:
  QRect paintBranch(QPainter& painter, int row, const QRect& cell) override;
  bool pressBranch(int row, const QRect& cell, const QPoint& point) override;
  bool isHeading(int row) const override;
  bool pressCell(int row, int column) override;
  void keyPressEvent(QKeyEvent* event) override;
  void fillHeaderMenu(QMenu& menu, int column) override;

 private:
  void applyFilters();
  void askFilter(int column);
  QRect branchRect(int row, const QRect& cell) const;
  STreeRow currentRow() const;
  void foldByUser(const STreeRow& row, bool unfold);
  STreeRow findByPath(int block, int parent, const QStringRef& path) const;

  CHpfTreeTableModel* m_pTreeModel = nullptr;
  QSet<int> m_filterable;
  QMap<int, QString> m_filters;
};

}  // namespace GV
