#include "gv/CHpfTreeTable.h"

#include <QInputDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QtDebug>

#include "gv/CBaseHighPerformanceTableColors.h"
#include "gv/PlainText.h"

namespace GV {

namespace {
// Pixels at scale 1.
constexpr int kIndent = 14;
constexpr int kBranchMargin = 2;
constexpr int kBranchWidth = 16;
constexpr int kBranchOverlap = 3;
}  // namespace

CHpfTreeTable::CHpfTreeTable(QWidget* parent) : CBaseHighPerformanceTable(parent) {}

void CHpfTreeTable::setDataModel(CHpfTreeTableModel* model) {
  CHpfTreeTableModel* old = m_pTreeModel;
  m_pTreeModel = model;
  if (model != nullptr) model->setParent(this);
  setBaseModel(model);
  delete old;
}

bool CHpfTreeTable::updateData(const CHpfTreeTableDataPtr& row, const QString& parentKey) {
  if (!row) return false;
  const STreeRow known = m_pTreeModel->find(row->key());
  if (known.isValid() && known == CHpfTreeTableModel::treeRowOf(*row)) {
    m_pTreeModel->rowChanged(known);
    return true;
  }
  if (known.isValid()) return m_pTreeModel->replaceData(row);
  if (m_pTreeModel->insertData(row, parentKey)) return true;
  qWarning("table: row \"%s\" has the unknown parent \"%s\"", qPrintable(row->key()), qPrintable(parentKey));
  return false;
}

void CHpfTreeTable::clear() {
  m_pTreeModel->clear();
  clearSelection();
}

// Hiding and folding

void CHpfTreeTable::showItem(const QString& key, bool recursive) {
  const STreeRow row = m_pTreeModel->find(key);
  if (!row.isValid()) return;
  const CModelBatch batch(*m_pTreeModel);
  const int end = recursive ? m_pTreeModel->tree().endOf(row) : row.row + 1;
  for (int each = row.row; each < end; ++each) m_pTreeModel->setHidden({row.block, each}, false);
}

void CHpfTreeTable::showItemNoRecursive(const QString& key, bool expand) {
  showItem(key, false);
  if (expand) expandItem(key, true);
}

void CHpfTreeTable::hideItem(const QString& key, bool hide) {
  const STreeRow row = m_pTreeModel->find(key);
  if (row.isValid()) m_pTreeModel->setHidden(row, hide);
}

void CHpfTreeTable::expandItem(const QString& key, bool expand) {
  const STreeRow row = m_pTreeModel->find(key);
  if (row.isValid()) m_pTreeModel->setExpanded(row, expand);
}

void CHpfTreeTable::expandItems(const QStringList& keys, bool expand) {
  const CModelBatch batch(*m_pTreeModel);
  for (const QString& key : keys) expandItem(key, expand);
}

bool CHpfTreeTable::isExpanded(const QString& key) const {
  const STreeRow row = m_pTreeModel->find(key);
  return row.isValid() && m_pTreeModel->tree().has(row, CTreeBlocks::Expanded);
}

void CHpfTreeTable::goToRow(const STreeRow& row) {
  const CTreeBlocks& tree = m_pTreeModel->tree();
  if (!row.isValid() || !tree.isUnhidden(row)) return;
  {
    const CModelBatch batch(*m_pTreeModel);
    for (STreeRow above = tree.parent(row); above.isValid(); above = tree.parent(above)) {
      if (!tree.has(above, CTreeBlocks::Expanded)) foldByUser(above, true);
    }
  }
  setCurrentKey(m_pTreeModel->record(row)->key());
}

// Filters

void CHpfTreeTable::setColumnFilterable(int column, bool on) {
  if (on) {
    m_filterable.insert(column);
  } else {
    m_filterable.remove(column);
  }
}

void CHpfTreeTable::setColumnFilter(int column, const QString& text) {
  if (text.isEmpty()) {
    m_filters.remove(column);
  } else {
    m_filters.insert(column, text);
  }
  applyFilters();
}

void CHpfTreeTable::clearColumnFilters() {
  m_filters.clear();
  applyFilters();
}

void CHpfTreeTable::applyFilters() {
  for (int column = 0; column < m_pTreeModel->columnCount(); ++column) {
    const QString text = columnFilter(column);
    markColumn(column, text.isEmpty() ? text : plainTip(QStringLiteral("筛选：“%1”").arg(text)));
  }
  std::vector<SColumnFilter> columns;
  for (auto filter = m_filters.begin(); filter != m_filters.end(); ++filter) {
    columns.push_back({filter.key(), filter.value()});
  }
  m_pTreeModel->setFilter(std::move(columns));
}

void CHpfTreeTable::askFilter(int column) {
  auto* dialog = new QInputDialog(this);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowTitle(QStringLiteral("筛选"));
  dialog->setLabelText(QStringLiteral("“%1”包含：").arg(columnHeader(column).trimmed()));
  dialog->setOkButtonText(QStringLiteral("确定"));
  dialog->setCancelButtonText(QStringLiteral("取消"));
  dialog->setTextValue(columnFilter(column));
  connect(dialog, &QInputDialog::textValueSelected, this,
          [this, column](const QString& text) { setColumnFilter(column, text.trimmed()); });
  dialog->open();
}

void CHpfTreeTable::fillHeaderMenu(QMenu& menu, int column) {
  if (isColumnFilterable(column)) {
    menu.addAction(QStringLiteral("筛选“%1”…").arg(columnHeader(column).trimmed()), this,
                   [this, column] { askFilter(column); });
  }
  if (!m_filters.isEmpty()) menu.addAction(QStringLiteral("清除筛选"), this, [this] { clearColumnFilters(); });
  if (!menu.isEmpty()) menu.addSeparator();
  CBaseHighPerformanceTable::fillHeaderMenu(menu, column);
}

// Paths

/// Below a row, or, where parent is -1, among the roots of a block.
STreeRow CHpfTreeTable::findByPath(int block, int parent, const QStringRef& path) const {
  const CTreeBlocks& tree = m_pTreeModel->tree();
  const ITreeBlock& source = tree.source(block);
  const int end = parent < 0 ? tree.size(block) : tree.endOf({block, parent});
  for (int row = parent + 1; row < end; row = tree.endOf({block, row})) {
    const QString name = source.scriptName(row);
    if (path == name) return {block, row};
    if (path.size() <= name.size() || !path.startsWith(name) || path.at(name.size()) != QLatin1Char('/')) continue;
    const STreeRow found = findByPath(block, row, path.mid(name.size() + 1));
    if (found.isValid()) return found;
  }
  return {};
}

CHpfTreeTableDataPtr CHpfTreeTable::rowByPath(const QString& path) const {
  for (const int block : m_pTreeModel->tree().blocks()) {
    const STreeRow row = findByPath(block, -1, QStringRef(&path));
    if (row.isValid()) return m_pTreeModel->record(row);
  }
  return {};
}

// The tree column

QRect CHpfTreeTable::branchRect(int row, const QRect& cell) const {
  const int depth = m_pTreeModel->tree().depth(m_pTreeModel->treeRowAt(row));
  return {cell.left() + CUiResource::scaled(kBranchMargin) + (depth - 1) * CUiResource::scaled(kIndent), cell.top(),
          CUiResource::scaled(kBranchWidth), cell.height()};
}

QRect CHpfTreeTable::paintBranch(QPainter& painter, int row, const QRect& cell) {
  const CTreeBlocks& tree = m_pTreeModel->tree();
  const STreeRow place = m_pTreeModel->treeRowAt(row);
  const QRect branch = branchRect(row, cell);
  if (tree.hasChildren(place) && branch.right() < cell.right()) {
    const QPointF middle = QRectF(branch).center();
    const double unit = CUiResource::scale();
    const bool open = tree.has(place, CTreeBlocks::Expanded);
    QPolygonF arrow;
    if (open) {
      arrow << middle + QPointF(-4, -2) * unit << middle + QPointF(4, -2) * unit << middle + QPointF(0, 3) * unit;
    } else {
      arrow << middle + QPointF(-2, -4) * unit << middle + QPointF(3, 0) * unit << middle + QPointF(-2, 4) * unit;
    }
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    painter.setBrush(*CUiResource::getColor(QStringLiteral("clr_table_branch")));
    painter.drawPolygon(arrow);
    painter.setRenderHint(QPainter::Antialiasing, false);
  }
  return cell.adjusted(branch.right() - cell.left() - CUiResource::scaled(kBranchOverlap), 0, 0, 0);
}

bool CHpfTreeTable::pressBranch(int row, const QRect& cell, const QPoint& point) {
  const STreeRow place = m_pTreeModel->treeRowAt(row);
  if (!m_pTreeModel->tree().hasChildren(place) || !branchRect(row, cell).contains(point)) return false;
  foldByUser(place, !m_pTreeModel->tree().has(place, CTreeBlocks::Expanded));
  return true;
}

void CHpfTreeTable::foldByUser(const STreeRow& row, bool unfold) {
  CEventDeliverer::tellTap(this, EventRowFolded, unfold ? 1 : 0, 0, m_pTreeModel->record(row)->key());
  m_pTreeModel->setExpanded(row, unfold);
}

bool CHpfTreeTable::isHeading(int row) const {
  const STreeRow place = m_pTreeModel->treeRowAt(row);
  return m_pTreeModel->tree().depth(place) == 1 && m_pTreeModel->tree().hasChildren(place);
}

// Keyboard

bool CHpfTreeTable::pressCell(int row, int column) {
  if (CBaseHighPerformanceTable::pressCell(row, column)) return true;
  const STreeRow place = m_pTreeModel->treeRowAt(row);
  if (!m_pTreeModel->tree().hasChildren(place)) return false;
  foldByUser(place, !m_pTreeModel->tree().has(place, CTreeBlocks::Expanded));
  return true;
}

/// Not valid while the current row does not show.
STreeRow CHpfTreeTable::currentRow() const {
  const STreeRow row = m_pTreeModel == nullptr ? STreeRow() : m_pTreeModel->find(currentKey());
  return row.isValid() && m_pTreeModel->positionOf(row) >= 0 ? row : STreeRow();
}

void CHpfTreeTable::keyPressEvent(QKeyEvent* event) {
  const STreeRow row = currentRow();
  const bool unfold = event->key() == Qt::Key_Right || event->key() == Qt::Key_Plus;
  const bool fold = event->key() == Qt::Key_Left || event->key() == Qt::Key_Minus;
  const bool between = (event->modifiers() & Qt::ControlModifier) != 0;  // cells
  if (!row.isValid() || between || (!fold && !unfold)) {
    CBaseHighPerformanceTable::keyPressEvent(event);
    return;
  }
  const CTreeBlocks& tree = m_pTreeModel->tree();
  const bool parent = tree.hasChildren(row);
  const bool expanded = tree.has(row, CTreeBlocks::Expanded);
  if (parent && expanded != unfold) {
    foldByUser(row, unfold);
  } else if (event->key() == Qt::Key_Left && tree.parent(row).isValid()) {
    moveCurrent(m_pTreeModel->positionOf(tree.parent(row)), Qt::NoModifier);
  } else if (event->key() == Qt::Key_Right && parent) {
    moveCurrent(m_pTreeModel->positionOf(row) + 1, Qt::NoModifier);
  }
}

}  // namespace GV
