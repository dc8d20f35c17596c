#include "gv/CHpfTreeTableModel.h"

#include <algorithm>

#include "gv/CTreeWorks.h"

namespace GV {

namespace {
/// A batch with more changes of structure than this, or of a block with more rows, is announced by a reset.
constexpr int kIncrementalOperations = 32;
constexpr int kIncrementalRows = 4000;

constexpr unsigned kKept = 512;  ///< records that were asked for lately
}  // namespace

CHpfTreeTableModel::CHpfTreeTableModel(std::vector<SColumn> columns, QObject* parent)
    : IBaseHpfTableModel(std::move(columns), parent), m_recent(kKept), m_pWorks(new CTreeWorks(this)) {
  for (int column = 0; column < columnCount(); ++column) {
    if (columnKind(column) == ColumnTree) m_filter.nameColumn = column;
  }
}

// The works may know the rows until they have ended.
CHpfTreeTableModel::~CHpfTreeTableModel() { delete m_pWorks; }

int CHpfTreeTableModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : m_tree.shownCount(); }

// Rows

/// Holds a record, so that it is good for a while. One that is in use goes to the end of the queue in time.
void CHpfTreeTableModel::keep(const CHpfTreeTableDataPtr& record) const {
  if (record->m_nKept != 0 && m_nRecent - record->m_nKept < kKept / 2) return;
  m_recent[m_nRecent % kKept] = record;
  record->m_nKept = ++m_nRecent;
}

CHpfTreeTableData& CHpfTreeTableModel::rowAt(int position) const {
  const CHpfTreeTableDataPtr record = this->record(treeRowAt(position));
  keep(record);
  return *record;
}

STreeRow CHpfTreeTableModel::find(const QString& key) const {
  const int row = m_rows.find(key);
  if (row >= 0) return {m_nRowsBlock, row};
  const int block = blockOfKey(key);
  return m_tree.isBlock(block) ? STreeRow{block, m_tree.source(block).find(key)} : STreeRow();
}

STreeRow CHpfTreeTableModel::treeRowOf(const CHpfTreeTableData& row) {
  return row.isInTable() ? STreeRow{row.block()->number(), row.row()} : STreeRow();
}

CHpfTreeTableDataPtr CHpfTreeTableModel::record(const STreeRow& row) const {
  return m_tree.source(row.block).record(row.row);
}

CHpfTreeTableDataPtr CHpfTreeTableModel::dataByKey(const QString& key) const {
  const STreeRow row = find(key);
  return row.isValid() ? record(row) : CHpfTreeTableDataPtr();
}

int CHpfTreeTableModel::positionOf(const QString& key) const {
  const STreeRow row = find(key);
  return row.isValid() ? positionOf(row) : -1;
}

int CHpfTreeTableModel::nearestPosition(const QString& key) const {
  STreeRow row = find(key);
  while (row.isValid() && !m_tree.isShown(row)) row = m_tree.parent(row);
  return row.isValid() ? m_tree.positionOf(row) : -1;
}

QString CHpfTreeTableModel::cellText(const IBaseHpfTableData& row, int column) const {
  if (columnKind(column) != ColumnTree) return row.text(column);
  return static_cast<const CHpfTreeTableData&>(row).displayName();
}

double CHpfTreeTableModel::statistic(int column) const {
  double total = 0.0;
  for (const int block : m_tree.blocksInOwnOrder()) {
    m_tree.source(block).visitCounted(column, [&](int row, double figure) {
      if (m_tree.isUnhidden({block, row})) total += figure;
    });
  }
  return total;
}

void CHpfTreeTableModel::forEachRow(const RowVisitor& visit) const {
  for (const int block : m_tree.blocks()) {
    int hidden = 0;  // depth from which on all is hidden; 0 for none
    for (const int number : m_tree.rowsInOrder(block)) {
      const STreeRow row{block, number};
      const int depth = m_tree.depth(row);
      if (depth <= hidden) hidden = 0;
      if (hidden == 0 && m_tree.isOut(row)) hidden = depth;
      visit(*record(row), depth - 1, hidden != 0, m_tree.has(row, CTreeBlocks::Expanded));
    }
  }
}

// Selection

bool CHpfTreeTableModel::isSelected(const QString& key) const {
  const STreeRow row = find(key);
  return row.isValid() && m_tree.has(row, CTreeBlocks::Selected);
}

void CHpfTreeTableModel::select(const QString& key, bool on) {
  const STreeRow row = find(key);
  if (row.isValid()) m_tree.set(row, CTreeBlocks::Selected, on);
}

void CHpfTreeTableModel::selectRange(int first, int last) {
  clearSelection();
  for (int position = first; position <= last;) {
    const int block = m_tree.blockAt(position);
    const int start = m_tree.startOf(block);
    const int end = start + m_tree.shownCount(block);
    if (position == start && end <= last + 1) {
      m_tree.selectShown(block);
      position = end;
    } else {
      m_tree.set(treeRowAt(position++), CTreeBlocks::Selected, true);
    }
  }
}

void CHpfTreeTableModel::clearSelection() { m_tree.deselectAll(); }

std::vector<int> CHpfTreeTableModel::selectedPositions() const {
  std::vector<int> positions;
  for (int position = 0; position < rowCount(); ++position) {
    if (isSelectedAt(position)) positions.push_back(position);
  }
  return positions;
}

// Batches

void CHpfTreeTableModel::endBatch() {
  if (m_nBatch == 1) filterChanges();
  if (--m_nBatch > 0) return;
  restoreOrder();
  if (m_bResetting) {
    m_changes.clear();
    m_bResetting = false;
    endResetModel();
  } else {
    applyChanges();
  }
  m_tree.trim();
  startWorks();
}

bool CHpfTreeTableModel::showsChildren(const STreeRow& row) const {
  return !row.isValid() || (m_tree.has(row, CTreeBlocks::Expanded) && m_tree.isShown(row));
}

/// Whether this change of structure is still announced by itself.
bool CHpfTreeTableModel::goesIncremental() {
  if (m_bResetting) return false;
  if (m_nBatch == 0 || ++m_nBatchOperations <= kIncrementalOperations) return true;
  announceByReset();
  return false;
}

void CHpfTreeTableModel::announceByReset() {
  if (m_bResetting) return;
  beginResetModel();
  m_bResetting = true;
}

// Structure

void CHpfTreeTableModel::addBlock(ITreeBlock& block, bool unfolded) {
  const CModelBatch batch(*this);
  if (block.state().rowCount() >= kIncrementalRows) announceByReset();
  const int number = m_tree.add(block);
  // Where it will show is seen, and told, once it is there.
  std::vector<int> roots;
  for (int row = 0; row < m_tree.size(number); row = m_tree.endOf({number, row})) roots.push_back(row);
  const bool hides = !m_bResetting;
  for (const int root : roots) {
    if (hides) m_tree.set({number, root}, CTreeBlocks::Hidden, true);
    if (unfolded) m_tree.set({number, root}, CTreeBlocks::Expanded, true);
  }
  noteChange({number, kAllRows, true});
  if (!hides) return;
  for (const int root : roots) setHidden({number, root}, false);
}

void CHpfTreeTableModel::removeBlock(ITreeBlock& block) {
  const CModelBatch batch(*this);
  const int shown = m_tree.shownCount(block.number());
  const bool incremental = shown > 0 && goesIncremental();
  const int position = m_tree.startOf(block.number());
  if (incremental) beginRemoveRows(QModelIndex(), position, position + shown - 1);
  m_tree.remove(block.number());
  if (incremental) endRemoveRows();
}

void CHpfTreeTableModel::reshapeBlock(ITreeBlock& block, const std::vector<int>& before) {
  m_tree.reshape(block.number(), before);
  noteChange({block.number(), kAllRows, true});
}

bool CHpfTreeTableModel::insertData(const CHpfTreeTableDataPtr& row, const QString& parentKey) {
  if (!row || row->isInTable() || find(row->key()).isValid()) return false;
  const int parent = parentKey.isEmpty() ? -1 : m_rows.find(parentKey);
  if (parent < 0 && !parentKey.isEmpty()) return false;
  const CModelBatch batch(*this);
  if (m_nRowsBlock < 0) m_nRowsBlock = m_tree.add(m_rows);
  const STreeRow above{m_nRowsBlock, parent};
  const bool first = parent >= 0 && !m_tree.hasChildren(above);
  if (m_rows.rowCount() >= kIncrementalRows) announceByReset();
  const bool incremental = showsChildren(above) && goesIncremental();
  const STreeRow place{m_nRowsBlock, m_rows.placeUnder(parent)};
  // The changes that were noted name rows by their numbers.
  for (SChange& change : m_changes) {
    if (change.block == place.block && change.row >= place.row) ++change.row;
  }
  m_rows.insert(place.row, parent, row);
  m_tree.insertRow(place, !m_bResetting, incremental);
  // Where it shows is seen, and told, once it is there.
  if (incremental) setHidden(place, false);
  if (first) noteChange({above.block, above.row, false});  // it has a branch arrow now
  noteChange({place.block, place.row, false});
  return true;
}

bool CHpfTreeTableModel::replaceData(const CHpfTreeTableDataPtr& row) {
  const int place = row ? m_rows.find(row->key()) : -1;
  if (place < 0 || (row->isInTable() && m_rows.record(place) != row)) return false;
  m_rows.replace(place, row);
  rowChanged({m_nRowsBlock, place});
  return true;
}

bool CHpfTreeTableModel::removeDataByKey(const QString& key) {
  const STreeRow row{m_nRowsBlock, m_rows.find(key)};
  if (!row.isValid()) return false;
  const CModelBatch batch(*this);
  const STreeRow above = m_tree.parent(row);
  const int count = m_tree.endOf(row) - row.row;
  const bool incremental = m_tree.isShown(row) && goesIncremental();
  if (incremental) {
    const int position = m_tree.positionOf(row);
    const int below = m_tree.has(row, CTreeBlocks::Expanded) ? m_tree.shownBelow(row) : 0;
    beginRemoveRows(QModelIndex(), position, position + below);
  }
  for (SChange& change : m_changes) {
    if (change.block == row.block) change = {row.block, kAllRows, true};
  }
  m_tree.eraseRows(row, count);
  m_rows.erase(row.row, count);
  if (incremental) endRemoveRows();
  noteChange(above.isValid() ? SChange{above.block, above.row, false} : SChange{row.block, kAllRows, true});
  return true;
}

void CHpfTreeTableModel::clear() {
  if (!m_bResetting) beginResetModel();
  m_changes.clear();
  m_unsorted.clear();
  m_unfiltered.clear();
  m_filtering.clear();
  m_tree.clear();
  m_rows.clear();
  m_nRowsBlock = -1;
  m_recent.assign(kKept, nullptr);
  if (!m_bResetting) endResetModel();
}

// What shows

void CHpfTreeTableModel::setExpanded(const STreeRow& row, bool on) {
  if (m_tree.has(row, CTreeBlocks::Expanded) == on) return;
  const CModelBatch batch(*this);
  const int below = m_tree.isShown(row) ? m_tree.shownBelow(row) : 0;
  if (below == 0 || !goesIncremental()) {
    m_tree.set(row, CTreeBlocks::Expanded, on);
  } else {
    const int first = m_tree.positionOf(row) + 1;
    on ? beginInsertRows(QModelIndex(), first, first + below - 1)
       : beginRemoveRows(QModelIndex(), first, first + below - 1);
    m_tree.set(row, CTreeBlocks::Expanded, on);
    on ? endInsertRows() : endRemoveRows();
  }
  m_changes.push_back({row.block, row.row, false});
}

void CHpfTreeTableModel::setAllExpanded(bool on) {
  const CModelBatch batch(*this);
  announceByReset();
  for (const int block : m_tree.blocks()) m_tree.expandAll(block, on);
}

void CHpfTreeTableModel::setOut(const STreeRow& row, CTreeBlocks::EFlag flag, bool on) {
  if (m_tree.has(row, flag) == on) return;
  // A row that is folded away, or out of sight for the other reason too, only notes the flag.
  const CTreeBlocks::EFlag other = flag == CTreeBlocks::Hidden ? CTreeBlocks::Filtered : CTreeBlocks::Hidden;
  if (m_tree.has(row, other) || !showsChildren(m_tree.parent(row)) || !goesIncremental()) {
    m_tree.set(row, flag, on);
    return;
  }
  // Where it stands is seen while it shows.
  m_tree.set(row, flag, false);
  const int first = m_tree.positionOf(row);
  const int last = first + (m_tree.has(row, CTreeBlocks::Expanded) ? m_tree.shownBelow(row) : 0);
  m_tree.set(row, flag, !on);
  on ? beginRemoveRows(QModelIndex(), first, last) : beginInsertRows(QModelIndex(), first, last);
  m_tree.set(row, flag, on);
  on ? endRemoveRows() : endInsertRows();
}

void CHpfTreeTableModel::setOut(int block, CTreeBlocks::EFlag flag, const RowFlags& rows) {
  const RowFlags differ = m_tree.flags(block, flag) ^ rows;
  const std::size_t count = differ.count();
  if (count == 0) return;
  const CModelBatch batch(*this);
  if (m_bResetting || m_nBatchOperations + static_cast<int>(count) > kIncrementalOperations) {
    announceByReset();
    m_tree.setAll(block, flag, rows);
    return;
  }
  for (std::size_t row = differ.find_first(); row != RowFlags::npos; row = differ.find_next(row)) {
    setOut({block, static_cast<int>(row)}, flag, rows[row]);
  }
}

}  // namespace GV
