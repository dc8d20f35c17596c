// Painting of the table.
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStandardItemModel>

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/CBaseHighPerformanceTableColors.h"
#include "gv/CTableHeader.h"

namespace GV {

namespace {
constexpr int kCurrentMark = 2;  // pixels at scale 1
constexpr qint64 kFlashMilliseconds = 500;
}  // namespace

CGlyphFont& CBaseHighPerformanceTable::glyphFont(const QString& key) const {
  std::shared_ptr<CGlyphFont>& font = m_fonts[key];
  if (!font) font = std::make_shared<CGlyphFont>(CUiResource::getFont(key));
  return *font;
}

std::vector<CBaseHighPerformanceTable::SVisibleColumn> CBaseHighPerformanceTable::visibleColumns(
    const QRect& area) const {
  std::vector<SVisibleColumn> columns;
  const int frozen = m_pHeader->frozenSection();
  const bool still = area.left() < frozenWidth();
  for (int column = 0; column < m_pHeader->count(); ++column) {
    if (m_pHeader->isSectionHidden(column)) continue;
    if ((column == frozen) != still) continue;
    const QRect rect(m_pHeader->left(column), 0, m_pHeader->sectionSize(column), viewport()->height());
    if (!rect.intersects(area)) continue;
    columns.push_back({column, rect, &glyphFont(m_pModel->column(column).fontKey), columnDelegate(column)});
  }
  return columns;
}

void CBaseHighPerformanceTable::paintEvent(QPaintEvent* event) {
  m_bUpdateScheduled = false;
  QPainter painter(viewport());
  const QRect area = event->rect();
  // Each row paints its own ground, so that the table's is left for where no row is.
  const int height = itemHeight();
  const int rowsEnd = m_pModel == nullptr ? 0 : (rowCount() - topRow()) * height;
  if (rowsEnd <= area.bottom())
    painter.fillRect(area.intersected(viewport()->rect().adjusted(0, rowsEnd, 0, 0)), *m_colors->ground);
  if (m_pModel == nullptr) return;
  // The frozen column comes second: a text or a button that is cut by its edge ends there.
  const int frozen = frozenWidth();
  paintColumns(painter, area.intersected(viewport()->rect().adjusted(frozen, 0, 0, 0)));
  if (frozen > 0) {
    paintColumns(painter, area.intersected(QRect(0, 0, frozen, viewport()->height())));
    const int line = CUiResource::scaled(1);
    painter.fillRect(frozen - line, 0, line, viewport()->height(), *m_colors->frozenEdge);
  }
  if (hasFocus()) paintFocus(painter);
}

/// All that lies in a part of the viewport, which holds either the frozen column or the others.
void CBaseHighPerformanceTable::paintColumns(QPainter& painter, const QRect& area) {
  if (area.isEmpty()) return;
  painter.save();
  painter.setClipRect(area);
  const std::vector<SVisibleColumn> columns = visibleColumns(area);
  const int height = itemHeight();
  const int first = topRow() + area.top() / height;
  const int last = std::min(rowCount() - 1, topRow() + area.bottom() / height);
  CTextRuns texts;
  for (int row = first; row <= last; ++row) paintRow(painter, texts, row, columns);
  if ((m_nOptions & OptionVerticalGrid) != 0) {
    const int end = std::min((rowCount() - topRow()) * height, viewport()->height());
    for (const SVisibleColumn& column : columns) painter.fillRect(column.rect.right(), 0, 1, end, *m_colors->grid);
  }
  texts.draw(painter);
  painter.restore();
}

/// A frame round the table, and one round the current row and its current cell when they are on screen.
void CBaseHighPerformanceTable::paintFocus(QPainter& painter) const {
  painter.setPen(*m_colors->focus);
  painter.setBrush(Qt::NoBrush);
  const QRect all = viewport()->rect();
  painter.drawRect(all.adjusted(0, 0, -1, -1));
  const int row = m_pModel->positionOf(m_strCurrentKey);
  if (row < topRow() || row > topRow() + pageRows()) return;
  painter.drawRect(QRect(0, (row - topRow()) * itemHeight(), all.width() - 1, itemHeight() - 2));
  paintCurrentCell(painter, row);
}

const QColor& CBaseHighPerformanceTable::rowGround(int row, const QRect& rect) const {
  if (m_pModel->isSelectedAt(row)) return *m_colors->selection;
  if (rect.contains(QPoint(rect.left(), m_mouse.y()))) return *m_colors->hover;
  if (isHeading(row)) return *m_colors->heading;
  if (const QColor* own = m_pModel->backgroundColor(row)) return *own;
  return row % 2 != 0 ? *m_colors->alternate : *m_colors->ground;
}

void CBaseHighPerformanceTable::paintRow(QPainter& painter, CTextRuns& texts, int row,
                                         const std::vector<SVisibleColumn>& columns) {
  const QRect rect(0, (row - topRow()) * itemHeight(), viewport()->width(), itemHeight());
  const SPaintedRow painted{row, m_pModel->rowAt(row).key(), rowGround(row, rect)};
  painter.fillRect(rect, painted.ground);
  painter.fillRect(rect.left(), rect.bottom(), rect.width(), 1, *m_colors->grid);
  if (painted.key == m_strCurrentKey)
    painter.fillRect(rect.left(), rect.top(), CUiResource::scaled(kCurrentMark), rect.height() - 1, *m_colors->current);
  for (const SVisibleColumn& column : columns) paintCell(painter, texts, painted, column);
}

void CBaseHighPerformanceTable::paintCell(QPainter& painter, CTextRuns& texts, const SPaintedRow& row,
                                          const SVisibleColumn& column) {
  IBaseHpfTableData& record = m_pModel->rowAt(row.row);
  const SColumn& description = m_pModel->column(column.index);
  QRect rect(column.rect.left(), (row.row - topRow()) * itemHeight(), column.rect.width(), itemHeight());
  if (description.kind == ColumnTree) rect = paintBranch(painter, row.row, rect);
  const bool flashes = description.kind == ColumnNumber && paintFlash(painter, record, row.key, column.index, rect);
  if (column.delegate != nullptr) column.delegate->paint(painter, cellAt(row.row, column.index, m_mouse, row.key));
  const QString text =
      column.delegate != nullptr ? column.delegate->text(record) : m_pModel->cellText(record, column.index);
  const QColor* wish = record.textColor(column.index);
  // A colour that fades has no text of another on it: red on red could not be read.
  const bool own = wish != nullptr && wish != m_colors->text && !flashes;
  const int padding = CUiResource::scaled(CELL_PADDING);
  texts.add(rect.adjusted(padding, 0, -padding - 1, 0), description.alignment, text, *column.font,
            own ? m_colors->readable(*wish, row.ground) : *m_colors->text);
}

SCell CBaseHighPerformanceTable::cellAt(int row, int column, const QPoint& mouse) const {
  return cellAt(row, column, mouse, m_pModel->rowAt(row).key());
}

SCell CBaseHighPerformanceTable::cellAt(int row, int column, const QPoint& mouse, const QString& key) const {
  SCell cell{m_pModel->rowAt(row), cellRect(row, column)};
  cell.selected = m_pModel->isSelectedAt(row);
  cell.pressed = m_nPressedColumn == column && m_strPressedKey == key;
  // What the frozen column covers is not under the mouse.
  const bool covered = mouse.x() < frozenWidth() && column != m_pHeader->frozenSection();
  cell.mouse = covered ? QPoint(-1, -1) : mouse;
  return cell;
}

/// Asking for the change resets it, so a figure flashes once, when its new value first comes on screen.
bool CBaseHighPerformanceTable::paintFlash(QPainter& painter, IBaseHpfTableData& row, const QString& key, int column,
                                           const QRect& rect) {
  const double change = row.getChangedValue(column);
  if ((m_nOptions & OptionFlash) == 0) return false;
  const QPair<QString, int> cell(key, column);
  const qint64 now = m_flashClock.elapsed();
  if (change != 0.0) m_flashes.insert(cell, {now, change > 0.0});
  const auto flash = m_flashes.constFind(cell);
  if (flash == m_flashes.constEnd()) return false;
  const qint64 age = now - flash->start;
  if (age >= kFlashMilliseconds) return false;
  QColor color = flash->up ? *m_colors->up : *m_colors->down;
  color.setAlphaF(1.0 - static_cast<double>(age) / kFlashMilliseconds);
  painter.fillRect(rect.adjusted(0, 0, -1, -1), color);
  if (!m_flashTimer.isActive()) m_flashTimer.start();
  return true;
}

void CBaseHighPerformanceTable::slotFlashStep() {
  const qint64 now = m_flashClock.elapsed();
  for (auto flash = m_flashes.begin(); flash != m_flashes.end();) {
    flash = now - flash->start >= kFlashMilliseconds ? m_flashes.erase(flash) : std::next(flash);
  }
  if (m_flashes.isEmpty()) m_flashTimer.stop();
  for (int column = 0; column < m_pModel->columnCount(); ++column) {
    if (m_pModel->columnKind(column) != ColumnNumber || !isColumnVisible(column)) continue;
    viewport()->update(m_pHeader->left(column), 0, m_pHeader->sectionSize(column), viewport()->height());
  }
}

void CBaseHighPerformanceTable::markColumn(int column, const QString& why) {
  if (m_pHeaderModel->headerData(column, Qt::Horizontal, Qt::ToolTipRole).toString() == why) return;
  const QVariant mark = why.isEmpty() ? QVariant() : CUiResource::getPixmap(QStringLiteral("gv_img_filter_mark"));
  m_pHeaderModel->setHeaderData(column, Qt::Horizontal, why.isEmpty() ? QVariant() : why, Qt::ToolTipRole);
  m_pHeaderModel->setHeaderData(column, Qt::Horizontal, mark, Qt::DecorationRole);
}

QRect CBaseHighPerformanceTable::paintBranch(QPainter& /*painter*/, int /*row*/, const QRect& cell) { return cell; }

bool CBaseHighPerformanceTable::isHeading(int /*row*/) const { return false; }

}  // namespace GV
