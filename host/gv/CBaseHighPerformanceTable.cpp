#include "gv/CBaseHighPerformanceTable.h"

#include <QHeaderView>
#include <QMenu>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QStringList>
#include <algorithm>
#include <utility>

#include "gv/CBaseHighPerformanceTableColors.h"
#include "gv/CStatisticsLine.h"
#include "gv/TableAccessibility.h"

namespace GV {

namespace {

// Pixels at scale 1.
constexpr int MIN_COLUMN_WIDTH = 24;
constexpr int SCROLL_STEP = 24;
constexpr int CELL_ROOM = 12;   ///< beside the text of a cell
constexpr int TITLE_ROOM = 20;  ///< beside that of a title
constexpr int MARKED_TITLE_ROOM = 34;

}  // namespace

CBaseHighPerformanceTable::CBaseHighPerformanceTable(QWidget* parent)
    : CEventWidgetT<QAbstractScrollArea>(parent),
      m_pHeaderModel(new QStandardItemModel(this)),
      m_pContextMenu(new QMenu(this)),
      m_pStatistics(new CStatisticsLine(this)),
      m_colors(std::make_unique<SColors>()) {
  installTableAccessibility();
  setFrameShape(QFrame::NoFrame);
  setFocusPolicy(Qt::StrongFocus);
  viewport()->setMouseTracking(true);
  viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
  createHeader();
  m_flashClock.start();
  m_flashTimer.setInterval(40);
  connect(&m_flashTimer, &QTimer::timeout, this, &CBaseHighPerformanceTable::slotFlashStep);
}

CBaseHighPerformanceTable::~CBaseHighPerformanceTable() = default;

void CBaseHighPerformanceTable::createHeader() {
  m_pHeader = new QHeaderView(Qt::Horizontal, this);
  m_pHeader->setModel(m_pHeaderModel);
  m_pHeader->setSectionsClickable(true);
  m_pHeader->setSectionsMovable(true);
  m_pHeader->setHighlightSections(false);
  m_pHeader->setMinimumSectionSize(CUiResource::scaled(MIN_COLUMN_WIDTH));
  m_pHeader->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  m_pHeader->setContextMenuPolicy(Qt::CustomContextMenu);
  const auto changed = [this] {
    updateScrollBars();
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
    headerMenu(m_pHeader->logicalIndexAt(point))->popup(m_pHeader->mapToGlobal(point));
  });
}

void CBaseHighPerformanceTable::setBaseModel(IBaseHpfTableModel* model) {
  if (m_pModel != nullptr) disconnect(m_pModel, nullptr, this, nullptr);
  m_pModel = model;
  m_pHeaderModel->clear();
  if (model == nullptr) return;
  m_pHeaderModel->setColumnCount(model->columnCount());
  m_delegates.resize(static_cast<std::size_t>(model->columnCount()));
  for (int column = 0; column < model->columnCount(); ++column) {
    m_pHeaderModel->setHeaderData(column, Qt::Horizontal, model->columnTitle(column));
    m_pHeaderModel->setHeaderData(column, Qt::Horizontal, model->column(column).alignment, Qt::TextAlignmentRole);
  }
  applyColumnSettings();
  connectModel();
  updateGeometries();
  scheduleUpdate();
}

void CBaseHighPerformanceTable::applyColumnSettings() {
  for (int column = 0; column < m_pModel->columnCount(); ++column) {
    setColumnVisible(column, true);
    m_pHeader->resizeSection(column, CUiResource::scaled(m_pModel->column(column).width));
    setColumnVisible(column, m_pModel->column(column).visible);
  }
}

void CBaseHighPerformanceTable::connectModel() {
  using Self = CBaseHighPerformanceTable;
  connect(m_pModel, &QAbstractItemModel::rowsInserted, this,
          [this](const QModelIndex&, int first, int last) { slotRowsInserted(first, last); });
  connect(m_pModel, &QAbstractItemModel::rowsRemoved, this,
          [this](const QModelIndex&, int first, int last) { slotRowsRemoved(first, last); });
  connect(m_pModel, &QAbstractItemModel::dataChanged, this, &Self::slotDataChanged);
  connect(m_pModel, &QAbstractItemModel::layoutAboutToBeChanged, this, &Self::slotAboutToReset);
  connect(m_pModel, &QAbstractItemModel::layoutChanged, this, &Self::slotLayoutChanged);
  connect(m_pModel, &QAbstractItemModel::modelAboutToBeReset, this, &Self::slotAboutToReset);
  connect(m_pModel, &QAbstractItemModel::modelReset, this, &Self::slotReset);
  connect(m_pModel, &IBaseHpfTableModel::sigColumnsChanged, this, &Self::slotColumnsChanged);
}

// What the model says

void CBaseHighPerformanceTable::slotRowsInserted(int first, int last) {
  const int top = topRow();
  // At the very top the new row is shown; anywhere else the rows on screen stay where they are.
  restoreTop(top > 0 && first <= top ? top + last - first + 1 : top);
}

void CBaseHighPerformanceTable::slotRowsRemoved(int first, int last) {
  const int top = topRow();
  const int above = std::min(last + 1, top) - first;
  restoreTop(above > 0 ? top - above : top);
}

void CBaseHighPerformanceTable::slotDataChanged(const QModelIndex& first, const QModelIndex& last) {
  if (hasStatistics()) m_pStatistics->scheduleUpdate();
  const int top = topRow();
  if (last.row() >= top && first.row() <= top + pageRows()) scheduleUpdate();
}

void CBaseHighPerformanceTable::slotAboutToReset() {
  m_pageKeys.clear();
  const int top = topRow();
  const int end = std::min(rowCount(), top + pageRows());
  for (int row = top; top > 0 && row < end; ++row) m_pageKeys.append(m_pModel->rowAt(row).key());
}

/// The first row of the old page that still shows keeps its place on screen; failing all, the nearest one above.
void CBaseHighPerformanceTable::slotReset() {
  int top = 0;
  for (int i = 0; i < m_pageKeys.size(); ++i) {
    const int row = m_pModel->positionOf(m_pageKeys[i]);
    if (row < 0) continue;
    top = std::max(0, row - i);
    m_pageKeys.clear();
  }
  if (!m_pageKeys.isEmpty()) top = std::max(0, m_pModel->nearestPosition(m_pageKeys.first()));
  m_pageKeys.clear();
  restoreTop(top);
}

/// Rows that changed their places disturb the page as little as can be: it moves as most of its rows do.
void CBaseHighPerformanceTable::slotLayoutChanged() {
  std::vector<int> tops;
  tops.reserve(static_cast<std::size_t>(m_pageKeys.size()));
  for (int i = 0; i < m_pageKeys.size(); ++i) tops.push_back(m_pModel->positionOf(m_pageKeys[i]) - i);
  m_pageKeys.clear();
  scheduleUpdate();
  if (tops.empty()) return;
  const auto middle = tops.begin() + static_cast<std::ptrdiff_t>(tops.size() / 2);
  std::nth_element(tops.begin(), middle, tops.end());
  restoreTop(std::max(0, *middle));
}

void CBaseHighPerformanceTable::restoreTop(int top) {
  updateScrollBars();
  verticalScrollBar()->setValue(top);
  if (hasStatistics()) m_pStatistics->scheduleUpdate();
  scheduleUpdate();
}

void CBaseHighPerformanceTable::slotColumnsChanged() {
  updateGeometries();
  scheduleUpdate();
}

void CBaseHighPerformanceTable::scheduleUpdate() {
  if (m_bUpdateScheduled) return;
  m_bUpdateScheduled = true;
  viewport()->update();
}

// Geometry

bool CBaseHighPerformanceTable::hasStatistics() const {
  if (m_pModel == nullptr) return false;
  for (int column = 0; column < m_pModel->columnCount(); ++column) {
    if (m_pModel->column(column).stat) return true;
  }
  return false;
}

void CBaseHighPerformanceTable::updateGeometries() {
  const int footer = hasStatistics() ? itemHeight() + 1 : 0;
  const int top = headerHeight();
  setViewportMargins(0, top, 0, footer);
  const QRect area = viewport()->geometry();
  m_pHeader->setGeometry(area.left(), area.top() - top, area.width(), top);
  m_pStatistics->setGeometry(area.left(), area.bottom() + 1, area.width(), footer);
  m_pStatistics->setVisible(footer > 0);
  updateScrollBars();
}

void CBaseHighPerformanceTable::updateScrollBars() {
  const int page = pageRows();
  verticalScrollBar()->setSingleStep(1);
  verticalScrollBar()->setPageStep(page);
  verticalScrollBar()->setRange(0, std::max(0, rowCount() - page));
  const int width = viewport()->width();
  horizontalScrollBar()->setSingleStep(CUiResource::scaled(SCROLL_STEP));
  horizontalScrollBar()->setPageStep(width);
  horizontalScrollBar()->setRange(0, std::max(0, m_pHeader->length() - width));
}

void CBaseHighPerformanceTable::resizeEvent(QResizeEvent* event) {
  QAbstractScrollArea::resizeEvent(event);
  updateGeometries();
  m_pHeader->setOffset(horizontalScrollBar()->value());
}

void CBaseHighPerformanceTable::scrollContentsBy(int dx, int /*dy*/) {
  if (dx != 0) {
    m_pHeader->setOffset(horizontalScrollBar()->value());
    m_pStatistics->update();
  }
  scheduleUpdate();
}

int CBaseHighPerformanceTable::topRow() const { return verticalScrollBar()->value(); }

int CBaseHighPerformanceTable::pageRows() const { return std::max(1, viewport()->height() / itemHeight()); }

int CBaseHighPerformanceTable::rowAtY(int y) const {
  const int row = topRow() + y / itemHeight();
  return y >= 0 && row < rowCount() ? row : -1;
}

int CBaseHighPerformanceTable::columnAtX(int x) const { return m_pHeader->logicalIndexAt(x); }

QRect CBaseHighPerformanceTable::cellRect(int row, int column) const {
  const int height = itemHeight();
  return {m_pHeader->sectionViewportPosition(column), (row - topRow()) * height, m_pHeader->sectionSize(column),
          height};
}

void CBaseHighPerformanceTable::scrollToRow(int row) {
  if (row < topRow()) verticalScrollBar()->setValue(row);
  if (row >= topRow() + pageRows()) verticalScrollBar()->setValue(row - pageRows() + 1);
}

void CBaseHighPerformanceTable::setHeaderHeight(int height) {
  m_nHeaderHeight = height;
  updateGeometries();
}

void CBaseHighPerformanceTable::setItemHeight(int height) {
  m_nItemHeight = std::max(1, height);
  updateGeometries();
  scheduleUpdate();
}

// Cells and columns

int CBaseHighPerformanceTable::rowCount() const { return m_pModel == nullptr ? 0 : m_pModel->rowCount(); }

QString CBaseHighPerformanceTable::columnHeader(int column) const {
  return m_pModel == nullptr ? QString() : m_pModel->columnTitle(column);
}

int CBaseHighPerformanceTable::columnWidth(int column) const { return m_pHeader->sectionSize(column); }

QString CBaseHighPerformanceTable::itemText(int row, int column) const {
  return row >= 0 && row < rowCount() ? itemText(m_pModel->rowAt(row), column) : QString();
}

QString CBaseHighPerformanceTable::itemText(const IBaseHpfTableData& row, int column) const {
  if (m_pModel == nullptr || !m_pModel->hasColumn(column)) return {};
  const CBaseTableColumnDelegate* delegate = columnDelegate(column);
  return delegate != nullptr ? delegate->text(row) : m_pModel->cellText(row, column);
}

void CBaseHighPerformanceTable::setItemTextAlignment(int column, int alignment) {
  if (m_pModel == nullptr || !m_pModel->hasColumn(column)) return;
  m_pModel->column(column).alignment = alignment;
  m_pHeaderModel->setHeaderData(column, Qt::Horizontal, alignment, Qt::TextAlignmentRole);
  scheduleUpdate();
}

void CBaseHighPerformanceTable::setItemTextFontKey(int column, const QString& key) {
  if (m_pModel == nullptr || !m_pModel->hasColumn(column)) return;
  m_pModel->column(column).fontKey = key;
  scheduleUpdate();
}

CBaseTableColumnDelegate* CBaseHighPerformanceTable::columnDelegate(int column) const {
  const std::size_t place = static_cast<std::size_t>(column);
  return column >= 0 && place < m_delegates.size() ? m_delegates[place].data() : nullptr;
}

void CBaseHighPerformanceTable::setColumnStatEnable(int column, bool on) {
  if (m_pModel != nullptr) m_pModel->setColumnStatEnable(column, on);
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

void CBaseHighPerformanceTable::setOptions(int options) {
  m_nOptions = options;
  m_pHeader->setSectionsMovable((options & OptionColumnMenu) != 0);
  scheduleUpdate();
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

void CBaseHighPerformanceTable::setUiLock(bool locked) {
  m_bLocked = locked;
  scheduleUpdate();
}

void CBaseHighPerformanceTable::resourceChanged() {
  m_fonts.clear();
  m_colors = std::make_unique<SColors>();
  // The marks are pictures in the old colours.
  for (int column = 0; column < m_pHeader->count(); ++column) {
    const QString why = m_pHeaderModel->headerData(column, Qt::Horizontal, Qt::ToolTipRole).toString();
    markColumn(column, QString());
    markColumn(column, why);
  }
  m_pStatistics->update();
  scheduleUpdate();
}

void CBaseHighPerformanceTable::scaleChanged() {
  rescale(CUiResource::scale());
  resourceChanged();
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

bool CBaseHighPerformanceTable::handleEvent(int /*eventId*/, int /*id*/, int /*value*/, QString /*key*/,
                                            void* /*data*/) {
  return false;
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
