#include "gv/IBaseHpfTableModel.h"

#include <QColor>
#include <algorithm>

namespace GV {

int IBaseHpfTableModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QVariant IBaseHpfTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || !hasColumn(section)) return {};
  return column(section).title;
}

QVariant IBaseHpfTableModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const IBaseHpfTableData& row = rowAt(index.row());
  switch (role) {
    case Qt::DisplayRole:
      return cellText(row, index.column());
    case Qt::TextAlignmentRole:
      return column(index.column()).alignment;
    case Qt::ForegroundRole: {
      const QColor* color = row.textColor(index.column());
      return color != nullptr ? QVariant(*color) : QVariant();
    }
    case RawNumberRole:
      return row.sortNumber(index.column());
    case RawTextRole:
      return row.sortText(index.column());
    case KeyRole:
      return row.key();
    default:
      return {};
  }
}

QString IBaseHpfTableModel::columnTitle(int column) const {
  return hasColumn(column) ? this->column(column).title : QString();
}

int IBaseHpfTableModel::columnKind(int column) const {
  return hasColumn(column) ? this->column(column).kind : ColumnDelegate;
}

void IBaseHpfTableModel::select(const QString& key, bool on) {
  if (on) {
    m_selected.insert(key);
  } else {
    m_selected.remove(key);
  }
}

void IBaseHpfTableModel::selectRange(int first, int last) {
  m_selected.clear();
  for (int position = first; position <= last; ++position) m_selected.insert(rowAt(position).key());
}

std::vector<int> IBaseHpfTableModel::selectedPositions() const {
  std::vector<int> positions;
  for (const QString& key : m_selected) {
    const int position = positionOf(key);
    if (position >= 0) positions.push_back(position);
  }
  std::sort(positions.begin(), positions.end());
  return positions;
}

void IBaseHpfTableModel::setColumnStatEnable(int column, bool on) {
  if (!hasColumn(column) || this->column(column).stat == on) return;
  this->column(column).stat = on;
  Q_EMIT sigColumnsChanged();
}

}  // namespace GV
