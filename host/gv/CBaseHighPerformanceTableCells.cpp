// The current cell: where it goes by key, and what a key does in it.
#include <QAccessible>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/CBaseHighPerformanceTableColors.h"
#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CTableHeader.h"

namespace GV {

/// True when the key is one of cells.
bool CBaseHighPerformanceTable::cellKey(const QKeyEvent& event) {
  const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
  const bool sideways = event.key() == Qt::Key_Left || event.key() == Qt::Key_Right;
  const bool enter = event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
  if (sideways && modifiers == Qt::ControlModifier) {
    moveCell(event.key() == Qt::Key_Left ? -1 : 1);
    return true;
  }
  if (!enter || modifiers != Qt::NoModifier) return false;
  const int row = m_pModel == nullptr ? -1 : m_pModel->positionOf(m_strCurrentKey);
  return row >= 0 && (m_bLocked || !mayAct(row, event) || pressCell(row, currentColumn()));
}

bool CBaseHighPerformanceTable::pressCell(int /*row*/, int column) {
  auto* buttons = qobject_cast<CBaseTableColumnMultiButtonsDelegate*>(columnDelegate(column));
  // Beside a button nothing is pressed, as by the mouse.
  if (buttons != nullptr) buttons->clickButton(m_strCurrentKey, m_nCurrentButton);
  return buttons != nullptr;
}

/// From cell to cell of the current row, and from button to button; before the first one the row stands for itself.
void CBaseHighPerformanceTable::moveCell(int by) {
  const int row = m_pModel == nullptr ? -1 : m_pModel->positionOf(m_strCurrentKey);
  if (row < 0) return;
  using Stop = std::pair<int, int>;  // column and button
  std::vector<Stop> stops{{-1, -1}};
  for (int visual = 0; visual < m_pHeader->count(); ++visual) {
    const int column = m_pHeader->logicalIndex(visual);
    if (m_pHeader->isSectionHidden(column)) continue;
    const std::size_t before = stops.size();
    if (const auto* buttons = qobject_cast<CBaseTableColumnMultiButtonsDelegate*>(columnDelegate(column))) {
      for (const STableButton& button : buttons->shownButtons(m_strCurrentKey)) stops.emplace_back(column, button.id);
    }
    if (stops.size() == before) stops.emplace_back(column, -1);
  }
  auto at = std::find(stops.begin(), stops.end(), Stop(currentColumn(), currentButton()));
  if (at == stops.end()) {
    // A button that the row does not show, or none of those that it shows: the way goes by the cell's first one.
    at = std::find_if(stops.begin(), stops.end(), [this](const Stop& stop) { return stop.first == currentColumn(); });
    if (by > 0) --at;
  }
  const auto to = std::clamp<std::ptrdiff_t>(at - stops.begin() + by, 0, static_cast<std::ptrdiff_t>(stops.size()) - 1);
  const auto [column, button] = stops[static_cast<std::size_t>(to)];
  makeCellCurrent(column, button);
  scrollToRow(row);
  if (column >= 0) scrollToColumn(row, column);
}

void CBaseHighPerformanceTable::makeCellCurrent(int column, int button) {
  if (m_nCurrentColumn == column && m_nCurrentButton == button) return;
  m_nCurrentColumn = column;
  m_nCurrentButton = button;
  tellFocus();
  scheduleUpdate();
}

void CBaseHighPerformanceTable::scrollToColumn(int row, int column) {
  const QRect cell = cellRect(row, column);
  // It must not end up below the frozen column.
  const int before = cell.left() - (column == m_pHeader->frozenSection() ? 0 : frozenWidth());
  const int over = std::min(cell.right() - viewport()->width() + 1, before);
  if (before >= 0 && over <= 0) return;
  horizontalScrollBar()->setValue(horizontalScrollBar()->value() + (before < 0 ? before : over));
}

/// To a screen reader: the cell or button that has the focus now.
void CBaseHighPerformanceTable::tellFocus() {
  if (!QAccessible::isActive()) return;
  QAccessibleInterface* table = QAccessible::queryAccessibleInterface(this);
  QAccessibleInterface* cell = table == nullptr ? nullptr : table->focusChild();
  if (cell == nullptr) return;
  QAccessibleEvent focus(cell, QAccessible::Focus);
  QAccessible::updateAccessibility(&focus);
}

void CBaseHighPerformanceTable::paintCurrentCell(QPainter& painter, int row) const {
  const int column = currentColumn();
  if (column < 0) return;
  const QRect cell = cellRect(row, column);
  const auto* buttons = qobject_cast<const CBaseTableColumnMultiButtonsDelegate*>(columnDelegate(column));
  const QRect button = buttons == nullptr ? QRect() : buttons->buttonRect(m_strCurrentKey, currentButton(), cell);
  QPen pen(*m_colors->focus);
  pen.setWidth(CUiResource::scaled(2));
  painter.save();
  if (column != m_pHeader->frozenSection()) {
    painter.setClipRect(viewport()->rect().adjusted(frozenWidth(), 0, 0, 0), Qt::IntersectClip);
  }
  painter.setPen(pen);
  painter.drawRect(button.isEmpty() ? cell.adjusted(1, 1, -2, -2) : button.adjusted(-1, -1, 0, 0));
  painter.restore();
}

}  // namespace GV
