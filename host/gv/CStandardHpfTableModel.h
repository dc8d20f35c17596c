/// The model of a table without a tree.
#pragma once

#include <QHash>
#include <boost/shared_ptr.hpp>
#include <vector>

#include "gv/IBaseHpfTableModel.h"

namespace GV {

/// GUI thread only.
class CStandardHpfTableModel : public IBaseHpfTableModel {
  Q_OBJECT

 public:
  using RowPtr = boost::shared_ptr<IBaseHpfTableData>;

  using IBaseHpfTableModel::IBaseHpfTableModel;

  /// Rows with keys that are their own; the sort stays.
  void setRows(std::vector<RowPtr> rows);
  void clear() { setRows({}); }
  /// In the order in which they were given, whatever the table is sorted by.
  const std::vector<RowPtr>& rows() const { return m_rows; }
  /// What a row shows changed; its place stays until the next sort. Nothing for an unknown key.
  void rowChanged(const QString& key);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
  IBaseHpfTableData& rowAt(int position) const override;
  int positionOf(const QString& key) const override { return m_positions.value(key, -1); }
  double statistic(int column) const override;

 private:
  void order();

  std::vector<RowPtr> m_rows;
  std::vector<int> m_order;  ///< indices of m_rows as they show
  QHash<QString, int> m_positions;
  int m_nSortColumn = -1;
  Qt::SortOrder m_eSortOrder = Qt::AscendingOrder;
};

}  // namespace GV
