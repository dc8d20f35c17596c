/// What paints the cells of a column and takes the mouse in them.
#pragma once

#include <QObject>
#include <QRect>

#include "gv/IBaseHpfTableData.h"

class QPainter;

namespace GV {

/// A cell as a delegate sees it, in coordinates of the viewport.
struct SCell {
  const IBaseHpfTableData& row;
  QRect rect;
  bool selected = false;
  bool pressed = false;           ///< the left button went down in this cell and is still down
  QPoint mouse = QPoint(-1, -1);  ///< outside the rectangle when the mouse is elsewhere
};

/// Knows nothing of what the rows stand for. Not owned by the table. GUI thread only.
class CBaseTableColumnDelegate : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;

  /// The column that it was given to; -1 before.
  int column() const { return m_nColumn; }
  /// Paints what stands below the text; the table paints text() over it.
  virtual void paint(QPainter& /*painter*/, const SCell& /*cell*/) const {}
  virtual QString text(const IBaseHpfTableData& row) const { return row.text(column()); }
  /// Pixels; -1 for no wish.
  virtual int preferredWidth() const { return -1; }
  /// True when the delegate took the press resp. release, which then is no click on the cell.
  virtual bool mousePress(const SCell& /*cell*/) { return false; }
  virtual bool mouseRelease(const SCell& /*cell*/) { return false; }
  /// The tip at the mouse; empty for the table's own.
  virtual QString tip(const SCell& /*cell*/) const { return {}; }
  /// What a click at the mouse does, and its key: a line below the tip.
  virtual QString hint(const SCell& /*cell*/) const { return {}; }

 Q_SIGNALS:
  /// What it paints changed other than by its row.
  void sigChanged();

 private:
  friend class CBaseHighPerformanceTable;
  int m_nColumn = -1;
};

/// A plain text.
class CBaseTableColumnSimpleTextDelegate : public CBaseTableColumnDelegate {
  Q_OBJECT

 public:
  using CBaseTableColumnDelegate::CBaseTableColumnDelegate;

  void setHint(const QString& hint) { m_strHint = hint; }
  QString hint(const SCell& /*cell*/) const override { return m_strHint; }

 private:
  QString m_strHint;
};

/// Free painting below the text.
class CBaseTableColumnWidgetDelegate : public CBaseTableColumnDelegate {
  Q_OBJECT

 public:
  using CBaseTableColumnDelegate::CBaseTableColumnDelegate;
};

}  // namespace GV
