#include "gv/CHpfTreeTableModel.h"

#include <QStringList>
#include <algorithm>

namespace GV {

namespace {
/// A batch with more changes of structure than this, or that moved more rows, rebuilds the flat list instead of mending
/// it.
constexpr int kIncrementalOperations = 32;
constexpr int kMaxDisplacement = 512;
}  // namespace

CHpfTreeTableModel::CHpfTreeTableModel(std::vector<SColumn> columns, QObject* parent)
    : IBaseHpfTableModel(std::move(columns), parent) {}

int CHpfTreeTableModel::rowCount(const QModelIndex& parent) const {
  if (parent.isValid()) return 0;
  ensureFlat();
  return static_cast<int>(m_flat.size());
}

CHpfTreeTableData& CHpfTreeTableModel::rowAt(int position) const { return *m_rows.row(nodeAt(position)); }

int CHpfTreeTableModel::nodeAt(int position) const {
  ensureFlat();
  return m_flat[static_cast<std::size_t>(position)];
}

int CHpfTreeTableModel::positionOf(const QString& key) const {
  const int node = m_rows.find(key);
  return node == CTreeRows::kNone ? -1 : positionOfNode(node);
}

int CHpfTreeTableModel::nearestPosition(const QString& key) const {
  int node = m_rows.find(key);
  while (node > CTreeRows::kTop && !m_rows.isShown(node)) node = m_rows.parent(node);
  return node > CTreeRows::kTop ? positionOfNode(node) : -1;
}

/// Of a node that shows. Since the positions were last set, none is further off than the rows that came and went; -1
/// when these are many.
int CHpfTreeTableModel::findNear(int node) const {
  const int position = m_rows.position(node);
  const int rows = static_cast<int>(m_flat.size());
  const auto isAt = [&](int place) {
    return place >= 0 && place < rows && m_flat[static_cast<std::size_t>(place)] == node;
  };
  if (isAt(position)) return position;
  if (m_nDisplacement > kMaxDisplacement) return -1;
  for (int distance = 1; distance <= m_nDisplacement; ++distance) {
    for (const int place : {position - distance, position + distance}) {
      if (!isAt(place)) continue;
      m_rows.setPosition(node, place);
      return place;
    }
  }
  return -1;
}

int CHpfTreeTableModel::positionOfNode(int node) const {
  ensureFlat();
  if (!m_rows.isShown(node)) return -1;
  const int found = findNear(node);
  if (found >= 0) return found;
  for (std::size_t i = m_nPositionsValid; i < m_flat.size(); ++i) m_rows.setPosition(m_flat[i], static_cast<int>(i));
  m_nPositionsValid = m_flat.size();
  m_nDisplacement = 0;
  return m_rows.position(node);
}

QString CHpfTreeTableModel::cellText(const IBaseHpfTableData& row, int column) const {
  if (columnKind(column) != ColumnTree) return row.text(column);
  return static_cast<const CHpfTreeTableData&>(row).displayName();
}

double CHpfTreeTableModel::statistic(int column) const { return m_rows.sum(column); }

CHpfTreeTableDataPtr CHpfTreeTableModel::dataByKey(const QString& key) const {
  const int node = m_rows.find(key);
  return node == CTreeRows::kNone ? CHpfTreeTableDataPtr() : m_rows.row(node);
}

// Batches

void CHpfTreeTableModel::beginBatch() {
  if (m_nBatch++ > 0) return;
  m_nBatchOperations = 0;
  m_nBatchRows = 0;
}

void CHpfTreeTableModel::endBatch() {
  if (m_nBatch == 1) filterChanges();
  if (--m_nBatch > 0) return;
  if (m_bResetting) {
    restoreOrder();
    m_changes.clear();
    ensureFlat();
    m_bResetting = false;
    endResetModel();
    return;
  }
  applyChanges();
}

bool CHpfTreeTableModel::showsChildren(int node) const {
  return m_rows.has(node, CTreeRows::Expanded) && m_rows.isShown(node);
}

/// Whether this change of structure is still mended in place.
bool CHpfTreeTableModel::goesIncremental() {
  if (m_bResetting) return false;
  const bool few = ++m_nBatchOperations <= kIncrementalOperations && m_nBatchRows <= kMaxDisplacement;
  if (m_nBatch == 0 || few) return true;
  startReset();
  return false;
}

/// Until the batch ends the flat list is left as it is, and all changes are announced at once by then.
void CHpfTreeTableModel::startReset() {
  if (m_bResetting) return;
  beginResetModel();
  m_bResetting = true;
}

void CHpfTreeTableModel::ensureFlat() const {
  if (!m_bFlatStale) return;
  m_bFlatStale = false;
  m_flat.clear();
  m_rows.collectShown(CTreeRows::kTop, 0, m_flat);
  m_nDisplacement = 0;
  m_nPositionsValid = m_flat.size();
}

// The flat list

/// The position behind everything that shows below the row at a position.
int CHpfTreeTableModel::endOf(int position) const {
  const std::size_t first = static_cast<std::size_t>(position);
  const int depth = m_rows.depth(m_flat[first]);
  std::size_t end = first + 1;
  while (end < m_flat.size() && m_rows.depth(m_flat[end]) > depth) ++end;
  return static_cast<int>(end);
}

/// The last row that shows at or below a node that shows.
int CHpfTreeTableModel::lastShown(int node) const {
  while (m_rows.has(node, CTreeRows::Expanded)) {
    const std::vector<int>& children = m_rows.children(node);
    const auto shown =
        std::find_if(children.rbegin(), children.rend(), [this](int child) { return !m_rows.isOut(child); });
    if (shown == children.rend()) return node;
    node = *shown;
  }
  return node;
}

/// The position of the row after which a node that is to show belongs; -1 for the very first.
int CHpfTreeTableModel::positionBefore(int node) const {
  const int parent = m_rows.parent(node);
  const std::vector<int>& siblings = m_rows.children(parent);
  auto place = std::find(siblings.rbegin(), siblings.rend(), node);
  const auto before =
      std::find_if(std::next(place), siblings.rend(), [this](int sibling) { return !m_rows.isOut(sibling); });
  if (before != siblings.rend()) return positionOfNode(lastShown(*before));
  return parent == CTreeRows::kTop ? -1 : positionOfNode(parent);
}

/// The nodes know their positions already.
void CHpfTreeTableModel::showRows(int position, const std::vector<int>& nodes) {
  if (nodes.empty()) return;
  beginInsertRows(QModelIndex(), position, position + static_cast<int>(nodes.size()) - 1);
  m_flat.insert(m_flat.begin() + position, nodes.begin(), nodes.end());
  noteDisplacement(position, static_cast<int>(nodes.size()));
  endInsertRows();
}

void CHpfTreeTableModel::hideRows(int first, int end) {
  if (first >= end) return;
  beginRemoveRows(QModelIndex(), first, end - 1);
  m_flat.erase(m_flat.begin() + first, m_flat.begin() + end);
  noteDisplacement(first, end - first);
  endRemoveRows();
}

void CHpfTreeTableModel::noteDisplacement(int first, int rows) {
  m_nPositionsValid = std::min(m_nPositionsValid, static_cast<std::size_t>(first));
  m_nBatchRows += rows;
  m_nDisplacement = std::min(m_nDisplacement + rows, kMaxDisplacement + 1);
}

/// Puts what shows below a node into the order that its parents' children have now.
void CHpfTreeTableModel::relayout(int node) {
  if (m_bResetting) {
    m_bFlatStale = true;
    return;
  }
  const bool top = node == CTreeRows::kTop;
  const int position = top ? -1 : positionOfNode(node);
  if (!top && (position < 0 || !m_rows.has(node, CTreeRows::Expanded))) return;

  Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
  const QModelIndexList before = persistentIndexList();
  std::vector<int> persistent;
  for (const QModelIndex& index : before) persistent.push_back(nodeAt(index.row()));

  std::vector<int> nodes;
  m_rows.collectShown(node, position + 1, nodes);
  std::copy(nodes.begin(), nodes.end(), m_flat.begin() + (position + 1));  // position may be -1 of an empty list

  QModelIndexList after;
  for (int i = 0; i < before.size(); ++i) {
    after.append(index(positionOfNode(persistent[static_cast<std::size_t>(i)]), before[i].column()));
  }
  changePersistentIndexList(before, after);
  Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

// Structure

bool CHpfTreeTableModel::insertData(const CHpfTreeTableDataPtr& row, const QString& parentKey,
                                    const QString& beforeKey) {
  if (!row || row->isInTable() || m_rows.find(row->key()) != CTreeRows::kNone) return false;
  const int parent = parentKey.isEmpty() ? CTreeRows::kTop : m_rows.find(parentKey);
  if (parent == CTreeRows::kNone) return false;
  const int before = m_rows.find(beforeKey);
  if (!beforeKey.isEmpty() && (before == CTreeRows::kNone || m_rows.parent(before) != parent)) return false;
  const bool first = m_rows.children(parent).empty();
  const bool shown = showsChildren(parent);
  const bool incremental = shown && goesIncremental();
  const int node = m_rows.insert(parent, row, before);
  if (incremental) {
    const int position = positionBefore(node) + 1;
    m_rows.setPosition(node, position);
    showRows(position, {node});
  } else if (shown) {
    m_bFlatStale = true;
  }
  if (first && parent != CTreeRows::kTop) noteChange(parent, false);  // it has a branch arrow now
  if (m_filter) noteChange(node, false);
  return true;
}

bool CHpfTreeTableModel::replaceData(const CHpfTreeTableDataPtr& row) {
  const int node = row ? m_rows.find(row->key()) : CTreeRows::kNone;
  if (node == CTreeRows::kNone || (row->isInTable() && m_rows.row(node) != row)) return false;
  m_rows.replace(node, row);
  rowChanged(node);
  return true;
}

bool CHpfTreeTableModel::removeDataByKey(const QString& key) {
  const int node = m_rows.find(key);
  if (node == CTreeRows::kNone) return false;
  const int parent = m_rows.parent(node);
  if (m_rows.isShown(node)) {
    if (goesIncremental()) {
      const int position = positionOfNode(node);
      hideRows(position, endOf(position));
    } else {
      m_bFlatStale = true;
    }
  }
  m_rows.erase(node);
  if (parent != CTreeRows::kTop && (m_filter || m_rows.children(parent).empty())) noteChange(parent, false);
  return true;
}

void CHpfTreeTableModel::clear() {
  if (!m_bResetting) beginResetModel();
  m_changes.clear();
  m_rows.clear();
  m_flat.clear();
  m_nPositionsValid = 0;
  m_bFlatStale = false;
  if (!m_bResetting) endResetModel();
}

bool CHpfTreeTableModel::reorderChildren(const QString& parentKey, const QStringList& keys) {
  const int parent = parentKey.isEmpty() ? CTreeRows::kTop : m_rows.find(parentKey);
  if (parent == CTreeRows::kNone) return false;
  std::vector<int> nodes;
  for (const QString& key : keys) nodes.push_back(m_rows.find(key));
  if (!m_rows.reorder(parent, nodes)) return false;
  relayout(parent);
  return true;
}

void CHpfTreeTableModel::setExpanded(int node, bool on) {
  if (m_rows.has(node, CTreeRows::Expanded) == on) return;
  const bool shown = !m_rows.children(node).empty() && m_rows.isShown(node);
  if (!shown) {
    m_rows.set(node, CTreeRows::Expanded, on);
  } else if (!goesIncremental()) {
    m_rows.set(node, CTreeRows::Expanded, on);
    m_bFlatStale = true;
  } else if (on) {
    const int position = positionOfNode(node);
    m_rows.set(node, CTreeRows::Expanded, true);
    std::vector<int> nodes;
    m_rows.collectShown(node, position + 1, nodes);
    showRows(position + 1, nodes);
  } else {
    const int position = positionOfNode(node);
    const int end = endOf(position);
    m_rows.set(node, CTreeRows::Expanded, false);
    hideRows(position + 1, end);
  }
  noteChange(node, false);
}

void CHpfTreeTableModel::setOut(int node, CTreeRows::EFlag flag, bool on) {
  if (m_rows.has(node, flag) == on) return;
  // A row that is folded away, or out of sight for the other reason too, only notes the flag.
  const CTreeRows::EFlag other = flag == CTreeRows::Hidden ? CTreeRows::Filtered : CTreeRows::Hidden;
  if (m_rows.has(node, other) || !showsChildren(m_rows.parent(node))) {
    m_rows.set(node, flag, on);
    return;
  }
  if (!goesIncremental()) {
    m_rows.set(node, flag, on);
    m_bFlatStale = true;
  } else if (on) {
    const int position = positionOfNode(node);
    const int end = endOf(position);
    m_rows.set(node, flag, true);
    hideRows(position, end);
  } else {
    m_rows.set(node, flag, false);
    const int position = positionBefore(node) + 1;
    m_rows.setPosition(node, position);
    std::vector<int> nodes = {node};
    if (m_rows.has(node, CTreeRows::Expanded)) m_rows.collectShown(node, position, nodes);
    showRows(position, nodes);
  }
}

void CHpfTreeTableModel::setHidden(const std::vector<int>& nodes, bool on) {
  const CModelBatch batch(*this);
  if (static_cast<int>(nodes.size()) <= kIncrementalOperations) {
    for (const int node : nodes) setHidden(node, on);
    return;
  }
  startReset();
  for (const int node : nodes) m_rows.set(node, CTreeRows::Hidden, on);
  m_bFlatStale = true;
}

void CHpfTreeTableModel::setAllExpanded(bool on) {
  const CModelBatch batch(*this);
  for (const int node : m_rows.parents()) setExpanded(node, on);
}

void CHpfTreeTableModel::sort(int column, Qt::SortOrder order) {
  if (column >= 0 && !hasColumn(column)) return;
  m_nSortColumn = column;
  m_eSortOrder = order;
  CTreeRows::ESortBy by = CTreeRows::ESortBy::Text;
  if (column < 0 || this->column(column).sortsByNumber()) by = CTreeRows::ESortBy::Number;
  if (columnKind(column) == ColumnTree) by = CTreeRows::ESortBy::Name;
  m_rows.setSort(column, order, by);
  relayout(CTreeRows::kTop);
}

// Walks

void CHpfTreeTableModel::visitBelow(int node, bool hidden, const RowVisitor& visit) const {
  m_rows.ensureSorted(node);
  for (const int child : m_rows.children(node)) {
    const bool gone = hidden || m_rows.isOut(child);
    visit(*m_rows.row(child), m_rows.depth(child) - 1, gone, m_rows.has(child, CTreeRows::Expanded));
    visitBelow(child, gone, visit);
  }
}

void CHpfTreeTableModel::forEachRow(const RowVisitor& visit) const { visitBelow(CTreeRows::kTop, false, visit); }

}  // namespace GV
