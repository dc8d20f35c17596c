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
  const int node = m_pTreeModel->nodeOf(*row);
  if (node != CTreeRows::kNone) {
    m_pTreeModel->rowChanged(node);
    return true;
  }
  if (m_pTreeModel->find(row->key()) != CTreeRows::kNone) return m_pTreeModel->replaceData(row);
  if (m_pTreeModel->insertData(row, parentKey)) return true;
  qWarning("table: row \"%s\" has the unknown parent \"%s\"", qPrintable(row->key()), qPrintable(parentKey));
  return false;
}

void CHpfTreeTable::clear() {
  m_pTreeModel->clear();
  clearSelection();
}

// Hiding and folding

void CHpfTreeTable::showBelow(int node) {
  m_pTreeModel->setHidden(node, false);
  for (const int child : m_pTreeModel->rows().children(node)) showBelow(child);
}

void CHpfTreeTable::showItem(const QString& key, bool recursive) {
  const int node = m_pTreeModel->find(key);
  if (node == CTreeRows::kNone) return;
  const CModelBatch batch(*m_pTreeModel);
  if (recursive) {
    showBelow(node);
  } else {
    m_pTreeModel->setHidden(node, false);
  }
}

void CHpfTreeTable::showItemNoRecursive(const QString& key, bool expand) {
  const int node = m_pTreeModel->find(key);
  if (node == CTreeRows::kNone) return;
  m_pTreeModel->setHidden(node, false);
  if (expand) m_pTreeModel->setExpanded(node, true);
}

void CHpfTreeTable::hideItem(const QString& key, bool hide) {
  const int node = m_pTreeModel->find(key);
  if (node != CTreeRows::kNone) m_pTreeModel->setHidden(node, hide);
}

void CHpfTreeTable::expandItem(const CHpfTreeTableData& row, bool expand) {
  const int node = m_pTreeModel->nodeOf(row);
  if (node != CTreeRows::kNone) m_pTreeModel->setExpanded(node, expand);
}

void CHpfTreeTable::expandItem(const QString& key, bool expand) {
  const int node = m_pTreeModel->find(key);
  if (node != CTreeRows::kNone) m_pTreeModel->setExpanded(node, expand);
}

void CHpfTreeTable::expandItems(const QStringList& keys, bool expand) {
  const CModelBatch batch(*m_pTreeModel);
  for (const QString& key : keys) expandItem(key, expand);
}

bool CHpfTreeTable::isExpanded(const QString& key) const {
  const int node = m_pTreeModel->find(key);
  return node != CTreeRows::kNone && m_pTreeModel->rows().has(node, CTreeRows::Expanded);
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
  if (m_filters.isEmpty()) {
    m_pTreeModel->setFilter({});
    return;
  }
  m_pTreeModel->setFilter([this](const CHpfTreeTableData& row) {
    for (auto filter = m_filters.begin(); filter != m_filters.end(); ++filter) {
      if (!itemText(row, filter.key()).contains(filter.value(), Qt::CaseInsensitive)) return false;
    }
    return true;
  });
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

int CHpfTreeTable::findByPath(int parent, const QStringRef& path) const {
  for (const int child : m_pTreeModel->rows().children(parent)) {
    const QString name = m_pTreeModel->rows().row(child)->scriptName();
    if (path == name) return child;
    if (path.size() <= name.size() || !path.startsWith(name) || path.at(name.size()) != QLatin1Char('/')) continue;
    const int found = findByPath(child, path.mid(name.size() + 1));
    if (found != CTreeRows::kNone) return found;
  }
  return CTreeRows::kNone;
}

CHpfTreeTableDataPtr CHpfTreeTable::rowByPath(const QString& path) const {
  const int node = findByPath(CTreeRows::kTop, QStringRef(&path));
  return node == CTreeRows::kNone ? CHpfTreeTableDataPtr() : m_pTreeModel->rows().row(node);
}

// The tree column

QRect CHpfTreeTable::branchRect(int row, const QRect& cell) const {
  const int depth = m_pTreeModel->rows().depth(m_pTreeModel->nodeAt(row));
  return {cell.left() + CUiResource::scaled(kBranchMargin) + (depth - 1) * CUiResource::scaled(kIndent), cell.top(),
          CUiResource::scaled(kBranchWidth), cell.height()};
}

QRect CHpfTreeTable::paintBranch(QPainter& painter, int row, const QRect& cell) {
  const CTreeRows& rows = m_pTreeModel->rows();
  const int node = m_pTreeModel->nodeAt(row);
  const QRect branch = branchRect(row, cell);
  if (rows.hasChildren(node) && branch.right() < cell.right()) {
    const QPointF middle = QRectF(branch).center();
    const double unit = CUiResource::scale();
    const bool open = rows.has(node, CTreeRows::Expanded);
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
  const int node = m_pTreeModel->nodeAt(row);
  if (!m_pTreeModel->rows().hasChildren(node) || !branchRect(row, cell).contains(point)) return false;
  foldByUser(node, !m_pTreeModel->rows().has(node, CTreeRows::Expanded));
  return true;
}

void CHpfTreeTable::foldByUser(int node, bool unfold) {
  CEventDeliverer::tellTap(this, EventRowFolded, unfold ? 1 : 0, 0, m_pTreeModel->rows().row(node)->key());
  m_pTreeModel->setExpanded(node, unfold);
}

bool CHpfTreeTable::isHeading(int row) const {
  const int node = m_pTreeModel->nodeAt(row);
  return m_pTreeModel->rows().depth(node) == 1 && m_pTreeModel->rows().hasChildren(node);
}

// Keyboard

int CHpfTreeTable::currentNode() const {
  const int node = m_pTreeModel == nullptr ? CTreeRows::kNone : m_pTreeModel->find(currentKey());
  return node != CTreeRows::kNone && m_pTreeModel->positionOfNode(node) >= 0 ? node : CTreeRows::kNone;
}

void CHpfTreeTable::keyPressEvent(QKeyEvent* event) {
  const int node = currentNode();
  const bool unfold = event->key() == Qt::Key_Right || event->key() == Qt::Key_Plus;
  const bool fold = event->key() == Qt::Key_Left || event->key() == Qt::Key_Minus;
  if (node == CTreeRows::kNone || (!fold && !unfold)) {
    CBaseHighPerformanceTable::keyPressEvent(event);
    return;
  }
  const CTreeRows& rows = m_pTreeModel->rows();
  const bool parent = rows.hasChildren(node);
  const bool expanded = rows.has(node, CTreeRows::Expanded);
  if (parent && expanded != unfold) {
    foldByUser(node, unfold);
  } else if (event->key() == Qt::Key_Left && rows.parent(node) != CTreeRows::kTop) {
    moveCurrent(m_pTreeModel->positionOfNode(rows.parent(node)), Qt::NoModifier);
  } else if (event->key() == Qt::Key_Right && parent) {
    moveCurrent(m_pTreeModel->positionOfNode(node) + 1, Qt::NoModifier);
  }
}

}  // namespace GV
