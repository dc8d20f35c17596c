// What the model does when figures change: notices, filter and order.
#include <algorithm>
#include <memory>
#include <numeric>

#include "gv/CHpfTreeTableModel.h"
#include "gv/CTreeWorks.h"

namespace GV {

namespace {

void addUnique(std::vector<int>& blocks, const std::vector<int>& more) {
  blocks.insert(blocks.end(), more.begin(), more.end());
  std::sort(blocks.begin(), blocks.end());
  blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
}

}  // namespace

/// What the works are asked about a block, and what they find.
struct CHpfTreeTableModel::SFound {
  int block;
  unsigned shapeVersion;
  std::shared_ptr<const ITreeState> state;
  bool sort = false;
  bool filter = false;
  std::vector<int> order = {};
  RowFlags filtered = {};
};

void CHpfTreeTableModel::noteChange(const SChange& change) {
  const CModelBatch batch(*this);
  if (change.block < 0) {
    for (const int block : m_tree.blocks()) m_tree.touch(block);
  } else {
    m_tree.touch(change.block);
  }
  m_changes.push_back(change);
}

// The filter

void CHpfTreeTableModel::setFilter(std::vector<SColumnFilter> columns) {
  m_filter.columns = std::move(columns);
  ++m_nFilterStamp;
  m_unfiltered.clear();
  m_filtering.clear();
  m_bFilterWaits = false;
  const CModelBatch batch(*this);
  if (!m_filter.isEmpty()) return lookAt(m_tree.blocks());
  for (const int block : m_tree.blocks()) {
    setOut(block, CTreeBlocks::Filtered, RowFlags(static_cast<std::size_t>(m_tree.size(block))));
  }
}

/// Looks again at the blocks in which rows changed.
void CHpfTreeTableModel::filterChanges() {
  if (m_filter.isEmpty() || m_changes.empty()) return;
  std::vector<int> blocks;
  for (const SChange& change : m_changes) {
    if (change.block < 0) return lookAt(m_tree.blocks());
    if (m_tree.isBlock(change.block)) blocks.push_back(change.block);
  }
  std::vector<int> each;
  addUnique(each, blocks);
  lookAt(each);
}

void CHpfTreeTableModel::lookAt(const std::vector<int>& blocks) {
  const auto size = [this](int rows, int block) { return rows + (block == m_nRowsBlock ? 0 : m_tree.size(block)); };
  // While a new filter is worked out, what the old one left stands as a whole.
  if (m_bFilterWaits || std::accumulate(blocks.begin(), blocks.end(), 0, size) > CTreeBlocks::kInPlace) {
    m_bFilterWaits = m_bFilterWaits || blocks.size() == m_tree.blocks().size();
    return addUnique(m_unfiltered, blocks);
  }
  for (const int block : blocks) {
    // What the works find of it is older, and comes later.
    const bool waits = std::binary_search(m_filtering.begin(), m_filtering.end(), block);
    waits ? addUnique(m_unfiltered, {block}) : filterBlock(block);
  }
}

void CHpfTreeTableModel::filterBlock(int block) {
  setOut(block, CTreeBlocks::Filtered, filteredRows(m_tree.source(block).state(), m_filter));
}

// The order

void CHpfTreeTableModel::sort(int column, Qt::SortOrder order) {
  if (column >= 0 && !hasColumn(column)) return;
  STreeSort sort{column, order, ESortBy::Text};
  if (column < 0) {
    sort.by = ESortBy::Own;
  } else if (this->column(column).sortsByNumber()) {
    sort.by = ESortBy::Number;
  }
  if (columnKind(column) == ColumnTree) sort.by = ESortBy::Name;
  const CModelBatch batch(*this);
  m_tree.setSort(sort);
  ++m_nSortStamp;
  m_unsorted.clear();
  m_tree.prepareOrder(m_unsorted);
  // Also what nobody has asked for yet stands otherwise now.
  relayout();
}

/// Rows whose sort value moved find their new place at the end of the batch.
void CHpfTreeTableModel::restoreOrder() {
  std::vector<int> large;
  const bool moves = m_tree.prepareOrder(large);
  addUnique(m_unsorted, large);
  if (moves || m_bResetting) relayout();
}

void CHpfTreeTableModel::relayout() {
  if (m_bResetting) return m_tree.takeOrder();
  Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
  const QModelIndexList before = persistentIndexList();
  std::vector<STreeRow> rows;
  for (const QModelIndex& index : before) rows.push_back(m_tree.rowAt(index.row()));
  m_tree.takeOrder();
  QModelIndexList after;
  for (int i = 0; i < before.size(); ++i) {
    after.append(index(m_tree.positionOf(rows[static_cast<std::size_t>(i)]), before[i].column()));
  }
  changePersistentIndexList(before, after);
  Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

// What is worked out elsewhere

void CHpfTreeTableModel::startWorks() {
  if (m_pWorks->isBusy() || (m_unsorted.empty() && m_unfiltered.empty())) return;
  const auto asked = std::make_shared<std::vector<SFound>>();
  std::vector<int> blocks;
  addUnique(blocks, m_unsorted);
  addUnique(blocks, m_unfiltered);
  for (const int block : blocks) {
    if (!m_tree.isBlock(block)) continue;
    SFound each{block, m_tree.shapeVersion(block), m_tree.source(block).freeze()};
    each.sort = std::binary_search(m_unsorted.begin(), m_unsorted.end(), block);
    each.filter = std::binary_search(m_unfiltered.begin(), m_unfiltered.end(), block);
    asked->push_back(std::move(each));
  }
  m_unsorted.clear();
  m_filtering = std::exchange(m_unfiltered, {});
  const auto takes = [this, asked, sorts = m_nSortStamp, filters = m_nFilterStamp] {
    takeFound(*asked, sorts == m_nSortStamp, filters == m_nFilterStamp);
  };
  m_pWorks->run([asked, takes, sort = m_tree.sort(), filter = m_filter]() -> CTreeWorks::Done {
    for (SFound& each : *asked) {
      if (!each.state) continue;
      if (each.sort) each.order = orderOf(*each.state, sort);
      if (each.filter) each.filtered = filteredRows(*each.state, filter);
      each.state.reset();
    }
    return takes;
  });
}

/// A block whose figures moved meanwhile waits for its next turn already; what was found fits its rows all the same.
void CHpfTreeTableModel::takeFound(std::vector<SFound>& found, bool sorted, bool filtered) {
  const CModelBatch batch(*this);
  bool moves = false;
  m_filtering.clear();
  if (filtered) m_bFilterWaits = false;
  for (SFound& each : found) {
    if (!m_tree.isBlock(each.block)) continue;
    const bool fits = m_tree.shapeVersion(each.block) == each.shapeVersion;
    const bool known = static_cast<int>(each.filtered.size()) == m_tree.size(each.block);
    if (each.sort && sorted && fits) moves = m_tree.offerOrder(each.block, std::move(each.order)) || moves;
    if (!each.filter || !filtered) continue;
    if (fits && known) {
      setOut(each.block, CTreeBlocks::Filtered, each.filtered);
    } else {
      filterBlock(each.block);
    }
  }
  if (moves) relayout();
}

// Notices

void CHpfTreeTableModel::applyChanges() {
  for (const SRange& range : changedRanges()) {
    Q_EMIT dataChanged(index(range.first, 0), index(range.last, columnCount() - 1));
  }
  m_changes.clear();
}

std::vector<CHpfTreeTableModel::SRange> CHpfTreeTableModel::changedRanges() const {
  std::vector<SRange> ranges;
  for (const SChange& change : m_changes) {
    if (change.block < 0) {
      const int rows = rowCount();
      return rows > 0 ? std::vector<SRange>{{0, rows - 1}} : std::vector<SRange>{};
    }
    if (!m_tree.isBlock(change.block) || change.row >= m_tree.size(change.block)) continue;
    const STreeRow row{change.block, change.row};
    if (change.row == kAllRows) {
      const int start = m_tree.startOf(change.block);
      const int shown = m_tree.shownCount(change.block);
      if (shown > 0) ranges.push_back({start, start + shown - 1});
    } else if (m_tree.isShown(row)) {
      const int first = m_tree.positionOf(row);
      const bool below = change.subtree && m_tree.has(row, CTreeBlocks::Expanded);
      ranges.push_back({first, first + (below ? m_tree.shownBelow(row) : 0)});
    }
  }
  const auto before = [](const SRange& a, const SRange& b) { return a.first < b.first; };
  std::sort(ranges.begin(), ranges.end(), before);
  std::vector<SRange> merged;
  for (const SRange& range : ranges) {
    if (!merged.empty() && range.first <= merged.back().last + 1) {
      merged.back().last = std::max(merged.back().last, range.last);
    } else {
      merged.push_back(range);
    }
  }
  return merged;
}

}  // namespace GV
