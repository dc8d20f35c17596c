#pragma once

#include <QAbstractTableModel>

#include "CDraft.h"

namespace preview {

enum ELineColumn {
  LineCheck,
  LineSource,
  LineMarket,
  LineCode,
  LineName,
  LineSide,
  LineQuantity,
  LineMeasure,
  LineShares,
  LinePrice,
  LineLast,
  LineAmount,
  LineVerdict,
  LineColumnCount
};

/// Which lines are shown.
enum class ELineFilter { All, Errors, Warnings, Changed, Unchecked };

/// The lines of a draft as rows of a table, in their order. Figures follow the draft. GUI thread.
class CLineModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  /// What a cell sorts by.
  static constexpr int SortRole = Qt::UserRole;

  /// The draft must outlive the model.
  CLineModel(CDraft& draft, QObject* parent);

  static int widthOf(int column);
  bool isShown(int row, ELineFilter filter) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

 private:
  const SDraftLine& line(int row) const { return m_draft.state().m_lines[static_cast<std::size_t>(row)]; }
  const std::vector<draft::SFinding>& findings(int row) const;
  QString text(int row, int column) const;
  QVariant sortValue(int row, int column) const;
  QString verdict(int row) const;
  QString toolTip(int row, int column) const;
  QColor textColour(int row, int column) const;
  bool edit(int row, int column, const QString& text);

  CDraft& m_draft;
};

}  // namespace preview
