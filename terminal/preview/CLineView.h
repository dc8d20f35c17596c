#pragma once

#include <QSortFilterProxyModel>
#include <QTableView>

#include "CLineModel.h"

namespace preview {

/// Shows the lines that a filter lets through. A line that is corrected stays where it is until the filter is set
/// again.
class CLineFilter : public QSortFilterProxyModel {
  Q_OBJECT

 public:
  CLineFilter(CLineModel& lines, QObject* parent);
  void setFilter(ELineFilter filter);
  ELineFilter filter() const { return m_eFilter; }

 protected:
  bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

 private:
  CLineModel& m_lines;
  ELineFilter m_eFilter = ELineFilter::All;
};

/// The table of a draft's lines: edited in place, judged with each key; the space bar checks and unchecks what is
/// selected, Delete removes it. GUI thread.
class CLineView : public QTableView {
  Q_OBJECT

 public:
  CLineView(CDraft& draft, QWidget* parent);

  void setFilter(ELineFilter filter) { m_pFilter->setFilter(filter); }
  ELineFilter filter() const { return m_pFilter->filter(); }
  /// Opens the code of a line for typing.
  void editLine(int line);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void placeColumns();
  void openMenu(const QModelIndex& at, const QPoint& point);
  std::vector<int> selectedLines() const;
  void toggleSelected();

  CDraft& m_draft;
  CLineModel* m_pModel;
  CLineFilter* m_pFilter;
};

}  // namespace preview
