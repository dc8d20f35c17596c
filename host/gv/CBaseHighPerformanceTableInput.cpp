// Mouse, keyboard and selection of the table.
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QToolTip>

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/PlainText.h"

namespace GV {

void CBaseHighPerformanceTable::setColumnDelegate(int column, CBaseTableColumnDelegate* delegate) {
  if (m_pModel == nullptr || !m_pModel->hasColumn(column)) return;
  CBaseTableColumnDelegate* old = columnDelegate(column);
  if (old != nullptr) disconnect(old, nullptr, this, nullptr);
  m_delegates[static_cast<std::size_t>(column)] = delegate;
  scheduleUpdate();
  if (delegate == nullptr) return;
  delegate->m_nColumn = column;
  connect(delegate, &CBaseTableColumnDelegate::sigChanged, this, &CBaseHighPerformanceTable::scheduleUpdate);
  auto* buttons = qobject_cast<CBaseTableColumnMultiButtonsDelegate*>(delegate);
  if (buttons == nullptr) return;
  connect(buttons, &CBaseTableColumnMultiButtonsDelegate::sigButtonClicked, this,
          [this, column](const QString& key, int id) { deliverOwn(EventRowButtonClicked, id, column, key); });
}

// Selection

void CBaseHighPerformanceTable::setCurrentKey(const QString& key) {
  const int row = m_pModel == nullptr ? -1 : m_pModel->positionOf(key);
  if (row >= 0) moveCurrent(row, Qt::NoModifier);
}

QStringList CBaseHighPerformanceTable::selectedKeys() const {
  QStringList keys;
  if (m_pModel == nullptr) return keys;
  for (const int row : m_pModel->selectedPositions()) keys.append(m_pModel->rowAt(row).key());
  return keys;
}

void CBaseHighPerformanceTable::selectionChanged() {
  Q_EMIT sigSelectionChanged();
  scheduleUpdate();
}

void CBaseHighPerformanceTable::setSelectedKeys(const QStringList& keys) {
  if (m_pModel == nullptr) return;
  m_pModel->clearSelection();
  for (const QString& key : keys) m_pModel->select(key, true);
  selectionChanged();
}

void CBaseHighPerformanceTable::clearSelection() { setSelectedKeys({}); }

void CBaseHighPerformanceTable::selectAll() {
  if (rowCount() > 0) selectRange(0, rowCount() - 1);
}

void CBaseHighPerformanceTable::selectRange(int from, int to) {
  m_pModel->selectRange(std::min(from, to), std::max(from, to));
  selectionChanged();
}

/// Shift selects up to the row, Ctrl turns its selection over, neither selects it alone.
void CBaseHighPerformanceTable::moveCurrent(int row, Qt::KeyboardModifiers modifiers) {
  const QString key = m_pModel->rowAt(row).key();
  const int start = (modifiers & Qt::ShiftModifier) != 0 ? m_pModel->positionOf(m_strRangeKey) : -1;
  if (start >= 0) {
    selectRange(start, row);
  } else if ((modifiers & Qt::ControlModifier) != 0) {
    m_pModel->select(key, !m_pModel->isSelectedAt(row));
    m_strRangeKey = key;
    selectionChanged();
  } else {
    m_strRangeKey = key;
    setSelectedKeys({key});
  }
  makeCurrent(key);
  scrollToRow(row);
  scheduleUpdate();
}

void CBaseHighPerformanceTable::makeCurrent(const QString& key) {
  if (m_strCurrentKey == key) return;
  m_strCurrentKey = key;
  Q_EMIT sigCurrentChanged(key);
  tellFocus();
}

// Mouse

void CBaseHighPerformanceTable::mousePressEvent(QMouseEvent* event) {
  const int row = rowAtY(event->pos().y());
  const int column = columnAtX(event->pos().x());
  m_bPressTaken = false;
  m_nPressedColumn = -1;
  if (row < 0 || column < 0) return;
  m_mouse = event->pos();
  const bool left = event->button() == Qt::LeftButton && !m_bLocked;
  if (left && m_pModel->columnKind(column) == ColumnTree && pressBranch(row, cellRect(row, column), event->pos())) {
    return;
  }
  m_strPressedKey = m_pModel->rowAt(row).key();
  m_nPressedColumn = column;
  CBaseTableColumnDelegate* delegate = columnDelegate(column);
  m_bPressTaken = left && delegate != nullptr && delegate->mousePress(cellAt(row, column, event->pos()));
  // A right click on a selection keeps it, so that the menu acts on all of it.
  const bool keep = event->button() == Qt::RightButton && isSelected(m_strPressedKey);
  if (!m_bPressTaken && !keep) moveCurrent(row, event->modifiers());
  if (keep) makeCurrent(m_strPressedKey);
  if (!m_bPressTaken) makeCellCurrent(column, -1);
  scheduleUpdate();
}

void CBaseHighPerformanceTable::mouseReleaseEvent(QMouseEvent* event) {
  const int row = rowAtY(event->pos().y());
  const int column = columnAtX(event->pos().x());
  const int pressedColumn = m_nPressedColumn;
  const QString pressedKey = m_strPressedKey;
  const bool taken = m_bPressTaken;
  m_nPressedColumn = -1;
  m_bPressTaken = false;
  scheduleUpdate();
  if (m_bLocked || pressedColumn < 0 || row < 0 || column < 0) return;
  CBaseTableColumnDelegate* delegate = columnDelegate(pressedColumn);
  if (taken && delegate != nullptr) {
    delegate->mouseRelease(cellAt(row, pressedColumn, event->pos()));
    return;
  }
  if (column != pressedColumn || m_pModel->rowAt(row).key() != pressedKey) return;
  deliverOwn(EventCellClicked, column, event->button(), pressedKey);
}

void CBaseHighPerformanceTable::mouseDoubleClickEvent(QMouseEvent* event) {
  mousePressEvent(event);
  const int column = columnAtX(event->pos().x());
  if (m_bLocked || m_bPressTaken || m_nPressedColumn < 0 || event->button() != Qt::LeftButton) return;
  // The release that follows is no further click.
  m_nPressedColumn = -1;
  deliverOwn(EventColumnDoubleClicked, column, 0, QString::number(column));
}

void CBaseHighPerformanceTable::deliverOwn(int eventId, int id, int value, const QString& key) {
  CEventDeliverer::tellTap(this, eventId, id, value, key);
  handleEvent(eventId, id, value, key, nullptr);
}

void CBaseHighPerformanceTable::mouseMoveEvent(QMouseEvent* event) {
  m_mouse = event->pos();
  scheduleUpdate();
  const int row = rowAtY(event->pos().y());
  const int column = columnAtX(event->pos().x());
  if (row < 0 || column < 0 || m_pModel->columnKind(column) != ColumnDelegate) return;
  handleEvent(EventColumnMouse, column, event->pos().y(), m_pModel->rowAt(row).key(), event);
}

void CBaseHighPerformanceTable::contextMenuEvent(QContextMenuEvent* event) {
  const int row = m_pModel == nullptr ? -1 : m_pModel->positionOf(m_strCurrentKey);
  const bool atRow = event->reason() == QContextMenuEvent::Keyboard && row >= 0;
  if (atRow) scrollToRow(row);
  const QPoint below(CUiResource::scaled(CELL_PADDING), (row - topRow() + 1) * itemHeight());
  popUpContextMenu(atRow ? viewport()->mapToGlobal(below) : event->globalPos());
}

bool CBaseHighPerformanceTable::viewportEvent(QEvent* event) {
  if (event->type() == QEvent::Leave) {
    m_mouse = QPoint(-1, -1);
    scheduleUpdate();
  }
  if (event->type() == QEvent::ToolTip) {
    const auto* help = static_cast<QHelpEvent*>(event);
    showTip(rowAtY(help->pos().y()), columnAtX(help->pos().x()), help->pos(), help->globalPos());
    return true;
  }
  return QAbstractScrollArea::viewportEvent(event);
}

/// A text that the column cuts is shown as a tip, unless the delegate has one of its own.
void CBaseHighPerformanceTable::showTip(int row, int column, const QPoint& point, const QPoint& global) {
  if (row < 0 || column < 0) return;
  const CBaseTableColumnDelegate* delegate = columnDelegate(column);
  QString tip = delegate != nullptr ? delegate->tip(cellAt(row, column, point)) : QString();
  const QString hint = delegate != nullptr ? delegate->hint(cellAt(row, column, point)) : QString();
  const QString text = itemText(row, column);
  const int room = columnWidth(column) - 2 * CUiResource::scaled(CELL_PADDING) - 1;
  const bool cut = glyphFont(m_pModel->column(column).fontKey).width(text) > room;
  if (tip.isEmpty() && cut) tip = text;
  if (!hint.isEmpty()) tip += tip.isEmpty() ? hint : QLatin1Char('\n') + hint;
  // An empty text would take away a tip that the owner shows.
  if (tip.isEmpty()) return;
  QToolTip::showText(global, plainTip(tip), viewport(), cellRect(row, column));
}

// Keyboard

void CBaseHighPerformanceTable::keyPressEvent(QKeyEvent* event) {
  const int rows = rowCount();
  const int row = m_pModel == nullptr ? -1 : m_pModel->positionOf(m_strCurrentKey);
  if (event->matches(QKeySequence::SelectAll) && rows > 0) {
    selectAll();
    return;
  }
  if (runCommand(*event) || cellKey(*event)) return;
  if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier) {
    QContextMenuEvent menu(QContextMenuEvent::Keyboard, QPoint());
    contextMenuEvent(&menu);
    return;
  }
  int target = 0;
  switch (event->key()) {
    case Qt::Key_Up:
      target = row - 1;
      break;
    case Qt::Key_Down:
      target = row + 1;
      break;
    case Qt::Key_PageUp:
      target = row - pageRows();
      break;
    case Qt::Key_PageDown:
      target = row + pageRows();
      break;
    case Qt::Key_Home:
      break;
    case Qt::Key_End:
      target = rows - 1;
      break;
    default:
      QAbstractScrollArea::keyPressEvent(event);
      return;
  }
  if (rows > 0) moveCurrent(std::clamp(target, 0, rows - 1), event->modifiers() & Qt::ShiftModifier);
}

void CBaseHighPerformanceTable::focusInEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusInEvent(event);
  viewport()->update();
}

void CBaseHighPerformanceTable::focusOutEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusOutEvent(event);
  viewport()->update();
}

bool CBaseHighPerformanceTable::pressBranch(int /*row*/, const QRect& /*cell*/, const QPoint& /*point*/) {
  return false;
}

}  // namespace GV
