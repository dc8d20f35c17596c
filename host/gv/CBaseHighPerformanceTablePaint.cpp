// Painting of the table.
#include <QHeaderView>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStandardItemModel>

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/CBaseHighPerformanceTableColors.h"

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
  for (int column = 0; column < m_pHeader->count(); ++column) {
    if (m_pHeader->isSectionHidden(column)) continue;
    const QRect rect(m_pHeader->sectionViewportPosition(column), 0, m_pHeader->sectionSize(column),
                     viewport()->height());
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
  const std::vector<SVisibleColumn> columns = visibleColumns(area);
  const int first = topRow() + area.top() / height;
  const int last = std::min(rowCount() - 1, topRow() + area.bottom() / height);
  CTextRuns texts;
  for (int row = first; row <= last; ++row) paintRow(painter, texts, row, columns);
  if ((m_nOptions & OptionVerticalGrid) != 0) {
    for (const SVisibleColumn& column : columns) {
      painter.fillRect(column.rect.right(), 0, 1, std::min(rowsEnd, viewport()->height()), *m_colors->grid);
    }
  }
  texts.draw(painter);
  if (hasFocus()) paintFocus(painter);
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

void CBaseHighPerformanceTable::paintGround(QPainter& painter, int row, const QString& key, const QRect& rect) const {
  const bool current = key == m_strCurrentKey;
  const QColor* ground = row % 2 != 0 ? m_colors->alternate : m_colors->ground;
  if (const QColor* own = m_pModel->backgroundColor(row)) ground = own;
  if (isHeading(row)) ground = m_colors->heading;
  if (rect.contains(QPoint(rect.left(), m_mouse.y()))) ground = m_colors->hover;
  if (m_pModel->isSelectedAt(row)) ground = m_colors->selection;
  painter.fillRect(rect, *ground);
  painter.fillRect(rect.left(), rect.bottom(), rect.width(), 1, *m_colors->grid);
  if (current)
    painter.fillRect(viewport()->rect().left(), rect.top(), CUiResource::scaled(kCurrentMark), rect.height() - 1,
                     *m_colors->current);
}

void CBaseHighPerformanceTable::paintRow(QPainter& painter, CTextRuns& texts, int row,
                                         const std::vector<SVisibleColumn>& columns) {
  const int top = (row - topRow()) * itemHeight();
  const QString key = m_pModel->rowAt(row).key();
  paintGround(painter, row, key, QRect(0, top, viewport()->width(), itemHeight()));
  for (const SVisibleColumn& column : columns) paintCell(painter, texts, row, key, column);
}

void CBaseHighPerformanceTable::paintCell(QPainter& painter, CTextRuns& texts, int row, const QString& key,
                                          const SVisibleColumn& column) {
  IBaseHpfTableData& record = m_pModel->rowAt(row);
  const SColumn& description = m_pModel->column(column.index);
  QRect rect(column.rect.left(), (row - topRow()) * itemHeight(), column.rect.width(), itemHeight());
  if (description.kind == ColumnTree) rect = paintBranch(painter, row, rect);
  if (description.kind == ColumnNumber) paintFlash(painter, record, key, column.index, rect);
  if (column.delegate != nullptr) column.delegate->paint(painter, cellAt(row, column.index, m_mouse, key));
  const QString text =
      column.delegate != nullptr ? column.delegate->text(record) : m_pModel->cellText(record, column.index);
  const QColor* wish = record.textColor(column.index);
  const bool own = wish != nullptr && wish != m_colors->text;
  const int padding = CUiResource::scaled(CELL_PADDING);
  texts.add(rect.adjusted(padding, 0, -padding - 1, 0), description.alignment, text, *column.font,
            own ? m_colors->readable(*wish) : *m_colors->text);
}

SCell CBaseHighPerformanceTable::cellAt(int row, int column, const QPoint& mouse) const {
  return cellAt(row, column, mouse, m_pModel->rowAt(row).key());
}

SCell CBaseHighPerformanceTable::cellAt(int row, int column, const QPoint& mouse, const QString& key) const {
  SCell cell{m_pModel->rowAt(row), cellRect(row, column)};
  cell.selected = m_pModel->isSelectedAt(row);
  cell.pressed = m_nPressedColumn == column && m_strPressedKey == key;
  cell.mouse = mouse;
  return cell;
}

/// Asking for the change resets it, so a figure flashes once, when its new value first comes on screen.
void CBaseHighPerformanceTable::paintFlash(QPainter& painter, IBaseHpfTableData& row, const QString& key, int column,
                                           const QRect& rect) {
  const double change = row.getChangedValue(column);
  if ((m_nOptions & OptionFlash) == 0) return;
  const QPair<QString, int> cell(key, column);
  const qint64 now = m_flashClock.elapsed();
  if (change != 0.0) m_flashes.insert(cell, {now, change > 0.0});
  const auto flash = m_flashes.constFind(cell);
  if (flash == m_flashes.constEnd()) return;
  const qint64 age = now - flash->start;
  if (age >= kFlashMilliseconds) return;
  QColor color = flash->up ? *m_colors->up : *m_colors->down;
  color.setAlphaF(1.0 - static_cast<double>(age) / kFlashMilliseconds);
  painter.fillRect(rect.adjusted(0, 0, -1, -1), color);
  if (!m_flashTimer.isActive()) m_flashTimer.start();
}

void CBaseHighPerformanceTable::slotFlashStep() {
  const qint64 now = m_flashClock.elapsed();
  for (auto flash = m_flashes.begin(); flash != m_flashes.end();) {
    flash = now - flash->start >= kFlashMilliseconds ? m_flashes.erase(flash) : std::next(flash);
  }
  if (m_flashes.isEmpty()) m_flashTimer.stop();
  for (int column = 0; column < m_pModel->columnCount(); ++column) {
    if (m_pModel->columnKind(column) != ColumnNumber || !isColumnVisible(column)) continue;
    viewport()->update(m_pHeader->sectionViewportPosition(column), 0, m_pHeader->sectionSize(column),
                       viewport()->height());
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
