#include "gv/CStandardHpfTableModel.h"

#include <algorithm>
#include <numeric>

namespace GV {

void CStandardHpfTableModel::setRows(std::vector<RowPtr> rows) {
  beginResetModel();
  m_rows = std::move(rows);
  order();
  endResetModel();
}

void CStandardHpfTableModel::rowChanged(const QString& key) {
  const int position = positionOf(key);
  if (position >= 0) Q_EMIT dataChanged(index(position, 0), index(position, columnCount() - 1));
}

int CStandardHpfTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

IBaseHpfTableData& CStandardHpfTableModel::rowAt(int position) const {
  return *m_rows[static_cast<std::size_t>(m_order[static_cast<std::size_t>(position)])];
}

double CStandardHpfTableModel::statistic(int column) const {
  double sum = 0;
  for (const RowPtr& row : m_rows) {
    if (row->inStatistics()) sum += row->number(column);
  }
  return sum;
}

void CStandardHpfTableModel::sort(int column, Qt::SortOrder newOrder) {
  if (column >= 0 && !hasColumn(column)) return;
  m_nSortColumn = column;
  m_eSortOrder = newOrder;
  beginResetModel();
  order();
  endResetModel();
}

void CStandardHpfTableModel::order() {
  m_order.resize(m_rows.size());
  std::iota(m_order.begin(), m_order.end(), 0);
  const int column = m_nSortColumn;
  const bool numbers = column >= 0 && this->column(column).sortsByNumber();
  const auto less = [&](int a, int b) {
    const IBaseHpfTableData& first = *m_rows[static_cast<std::size_t>(a)];
    const IBaseHpfTableData& second = *m_rows[static_cast<std::size_t>(b)];
    return numbers ? first.sortNumber(column) < second.sortNumber(column)
                   : first.sortText(column) < second.sortText(column);
  };
  const bool down = m_eSortOrder == Qt::DescendingOrder;
  if (column >= 0) {
    std::stable_sort(m_order.begin(), m_order.end(), [&](int a, int b) { return down ? less(b, a) : less(a, b); });
  }
  m_positions.clear();
  for (int position = 0; position < static_cast<int>(m_order.size()); ++position) {
    m_positions.insert(rowAt(position).key(), position);
  }
}

}  // namespace GV
