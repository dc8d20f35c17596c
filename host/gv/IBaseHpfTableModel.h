/// What a high-performance table asks of its model.
#pragma once

#include <QAbstractTableModel>
#include <QSet>
#include <vector>

#include "gv/IBaseHpfTableData.h"
#include "gv/SColumn.h"

namespace GV {

/// A flat list of the rows that can be scrolled to. GUI thread only.
class IBaseHpfTableModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  /// Roles of data() beside Qt's own.
  enum ERole { RawNumberRole = Qt::UserRole, RawTextRole, KeyRole };

  IBaseHpfTableModel(std::vector<SColumn> columns, QObject* parent)
      : QAbstractTableModel(parent), m_columns(std::move(columns)) {}

  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  /// Every number of a row, its texts and its raw values by role.
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

  /// Title and kind of a column; empty and ColumnDelegate for an unknown one.
  QString columnTitle(int column) const;
  int columnKind(int column) const;
  bool hasColumn(int column) const { return column >= 0 && column < static_cast<int>(m_columns.size()); }
  /// column must be known.
  const SColumn& column(int column) const { return m_columns[static_cast<std::size_t>(column)]; }
  SColumn& column(int column) { return m_columns[static_cast<std::size_t>(column)]; }
  void setColumnStatEnable(int column, bool on);

  /// The row at a position; the position must be below rowCount().
  virtual IBaseHpfTableData& rowAt(int position) const = 0;
  /// The position of a key's row, -1 when it does not show.
  virtual int positionOf(const QString& key) const = 0;
  /// The same, or of the nearest row above it that shows; -1 for an unknown key.
  virtual int nearestPosition(const QString& key) const { return positionOf(key); }
  /// The text of a cell as its row gives it.
  virtual QString cellText(const IBaseHpfTableData& row, int column) const { return row.text(column); }
  /// The ground of a row; null for the table's own. The colour outlives the call.
  virtual const QColor* backgroundColor(int /*position*/) const { return nullptr; }
  /// Sum of a column over all rows that are not hidden.
  virtual double statistic(int column) const = 0;

  // Which rows are selected: it stays with a row, wherever that goes. Positions are those of rows that show.
  virtual bool isSelectedAt(int position) const { return isSelected(rowAt(position).key()); }
  virtual bool isSelected(const QString& key) const { return m_selected.contains(key); }
  virtual void select(const QString& key, bool on);
  /// Selects the rows from first to last, and no others.
  virtual void selectRange(int first, int last);
  virtual void clearSelection() { m_selected.clear(); }
  /// In the order of the table.
  virtual std::vector<int> selectedPositions() const;

 Q_SIGNALS:
  void sigColumnsChanged();

 private:
  std::vector<SColumn> m_columns;
  QSet<QString> m_selected;
};

}  // namespace GV
