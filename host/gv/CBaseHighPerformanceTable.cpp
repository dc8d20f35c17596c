#include "gv/CBaseHighPerformanceTable.h"

#include <QMenu>
#include <QScrollBar>
#include <QStandardItemModel>
#include <algorithm>

#include "gv/CBaseHighPerformanceTableColors.h"
#include "gv/CStatisticsLine.h"
#include "gv/CTableHeader.h"
#include "gv/TableAccessibility.h"

namespace GV {

namespace {
constexpr int SCROLL_STEP = 24;  // pixels at scale 1
}

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

QHeaderView* CBaseHighPerformanceTable::header() const { return m_pHeader; }

int CBaseHighPerformanceTable::frozenWidth() const { return m_pHeader->frozenWidth(); }

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
    m_pHeader->viewport()->update();  // what is frozen moved with the picture
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

int CBaseHighPerformanceTable::columnAtX(int x) const { return m_pHeader->sectionAt(x); }

QRect CBaseHighPerformanceTable::cellRect(int row, int column) const {
  const int height = itemHeight();
  return {m_pHeader->left(column), (row - topRow()) * height, m_pHeader->sectionSize(column), height};
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

void CBaseHighPerformanceTable::setOptions(int options) {
  m_nOptions = options;
  m_pHeader->setSectionsMovable((options & OptionColumnMenu) != 0);
  scheduleUpdate();
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

bool CBaseHighPerformanceTable::handleEvent(int /*eventId*/, int /*id*/, int /*value*/, QString /*key*/,
                                            void* /*data*/) {
  return false;
}

}  // namespace GV
