// The columns of the table and their header.
#include <QMenu>
#include <QStandardItemModel>
#include <algorithm>
#include <utility>

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/CStatisticsLine.h"
#include "gv/CTableHeader.h"

namespace GV {

namespace {

// Pixels at scale 1.
constexpr int MIN_COLUMN_WIDTH = 24;
constexpr int CELL_ROOM = 12;   ///< beside the text of a cell
constexpr int TITLE_ROOM = 20;  ///< beside that of a title
constexpr int MARKED_TITLE_ROOM = 34;

}  // namespace

void CBaseHighPerformanceTable::createHeader() {
  m_pHeader = new CTableHeader(this);
  m_pHeader->setModel(m_pHeaderModel);
  m_pHeader->setSectionsClickable(true);
  m_pHeader->setSectionsMovable(true);
  m_pHeader->setHighlightSections(false);
  m_pHeader->setMinimumSectionSize(CUiResource::scaled(MIN_COLUMN_WIDTH));
  m_pHeader->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  m_pHeader->setContextMenuPolicy(Qt::CustomContextMenu);
  const auto changed = [this] {
    updateScrollBars();
    m_pHeader->viewport()->update();
    m_pStatistics->update();
    scheduleUpdate();
  };
  connect(m_pHeader, &QHeaderView::sectionResized, this, changed);
  connect(m_pHeader, &QHeaderView::sectionMoved, this, changed);
  connect(m_pHeader, &QHeaderView::sectionClicked, this, [this](int column) {
    // The third click on a column gives back the rows' own order.
    const bool again = column == m_nSortColumn;
    const bool was = m_pHeader->property("sortDescending").toBool();
    if (again && was) {
      sortByColumn(-1, Qt::AscendingOrder);
    } else {
      sortByColumn(column, again ? Qt::DescendingOrder : Qt::AscendingOrder);
    }
  });
  connect(m_pHeader, &QHeaderView::sectionHandleDoubleClicked, this,
          [this](int column) { m_pHeader->resizeSection(column, getColumnAdjustedWidth(column)); });
  connect(m_pHeader, &QHeaderView::customContextMenuRequested, this, [this](const QPoint& point) {
    headerMenu(m_pHeader->sectionAt(point.x()))->popup(m_pHeader->mapToGlobal(point));
  });
}

void CBaseHighPerformanceTable::applyColumnSettings() {
  for (int column = 0; column < m_pModel->columnCount(); ++column) {
    setColumnVisible(column, true);
    m_pHeader->resizeSection(column, CUiResource::scaled(m_pModel->column(column).width));
    setColumnVisible(column, m_pModel->column(column).visible);
  }
}

// A header tells the width of a hidden section to nobody.
void CBaseHighPerformanceTable::setColumnVisible(int column, bool visible) {
  const bool shown = isColumnVisible(column);
  if (!visible && shown) m_hiddenWidths[column] = m_pHeader->sectionSize(column);
  m_pHeader->setSectionHidden(column, !visible);
  if (visible && !shown && m_hiddenWidths.contains(column)) {
    m_pHeader->resizeSection(column, m_hiddenWidths.take(column));
  }
  updateScrollBars();
  scheduleUpdate();
}

bool CBaseHighPerformanceTable::isColumnVisible(int column) const { return !m_pHeader->isSectionHidden(column); }

int CBaseHighPerformanceTable::getAdjustVisibleRowsColumnWidth(int column) const {
  if (m_pModel == nullptr || !m_pModel->hasColumn(column)) return 0;
  const CBaseTableColumnDelegate* delegate = columnDelegate(column);
  CGlyphFont& font = glyphFont(m_pModel->column(column).fontKey);
  double width = delegate != nullptr ? delegate->preferredWidth() : 0;
  const int room = CUiResource::scaled(CELL_ROOM);
  const int end = std::min(rowCount(), topRow() + pageRows() + 1);
  for (int row = topRow(); row < end; ++row) width = std::max(width, font.width(itemText(row, column)) + room);
  return qRound(width);
}

int CBaseHighPerformanceTable::getColumnAdjustedWidth(int column) const {
  const bool marked = m_pHeaderModel->headerData(column, Qt::Horizontal, Qt::DecorationRole).isValid();
  const int room = CUiResource::scaled(marked ? MARKED_TITLE_ROOM : TITLE_ROOM);
  const int title = m_pHeader->fontMetrics().horizontalAdvance(columnHeader(column)) + room;
  return std::max(title, getAdjustVisibleRowsColumnWidth(column));
}

void CBaseHighPerformanceTable::sortByColumn(int column, Qt::SortOrder order) {
  if (m_pModel == nullptr || column >= m_pModel->columnCount()) return;
  m_nSortColumn = std::max(-1, column);
  m_pHeader->setProperty("sortDescending", order == Qt::DescendingOrder);
  m_pHeader->setSortIndicatorShown(m_nSortColumn >= 0);
  if (m_nSortColumn >= 0) m_pHeader->setSortIndicator(m_nSortColumn, order);
  // Who sorts looks at the ranks that he was looking at, not at the rows.
  const int top = topRow();
  m_pModel->sort(m_nSortColumn, order);
  restoreTop(top);
}

/// What the user made wider stays as much wider.
void CBaseHighPerformanceTable::rescale(double scale) {
  const double by = scale / std::exchange(m_dScale, scale);
  const int top = topRow();
  m_pHeader->setMinimumSectionSize(1);  // the old one or the new one would widen a narrow column on its way
  for (int column = 0; column < m_pHeader->count(); ++column) {
    if (isColumnVisible(column)) m_pHeader->resizeSection(column, qRound(m_pHeader->sectionSize(column) * by));
  }
  m_pHeader->setMinimumSectionSize(CUiResource::scaled(MIN_COLUMN_WIDTH));
  // A hidden section keeps its width to itself; it is told anew when it shows.
  for (int& width : m_hiddenWidths) width = qRound(width * by);
  updateGeometries();
  restoreTop(top);
}

// The header's menu

QMenu* CBaseHighPerformanceTable::headerMenu(int column) {
  if (m_pHeaderMenu == nullptr) m_pHeaderMenu = new QMenu(this);
  m_pHeaderMenu->clear();
  if (m_pModel != nullptr && (m_nOptions & OptionColumnMenu) != 0) fillHeaderMenu(*m_pHeaderMenu, column);
  return m_pHeaderMenu;
}

void CBaseHighPerformanceTable::fillHeaderMenu(QMenu& menu, int /*column*/) {
  for (int column = 0; column < m_pModel->columnCount(); ++column) {
    QAction* action = menu.addAction(columnHeader(column).trimmed());
    action->setCheckable(true);
    action->setChecked(isColumnVisible(column));
    // The tree column stays: without it nothing could be unfolded.
    action->setEnabled(m_pModel->columnKind(column) != ColumnTree);
    connect(action, &QAction::toggled, this, [this, column](bool on) { setColumnVisible(column, on); });
  }
  menu.addSeparator();
  menu.addAction(QStringLiteral("恢复默认列"), this, [this] {
    for (int column = 0; column < m_pHeader->count(); ++column) {
      m_pHeader->moveSection(m_pHeader->visualIndex(column), column);
    }
    applyColumnSettings();
  });
}

}  // namespace GV
