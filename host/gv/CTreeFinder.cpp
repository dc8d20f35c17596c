#include "gv/CTreeFinder.h"

#include <algorithm>
#include <utility>

#include "gv/CHpfTreeTable.h"

namespace GV {

namespace {
constexpr int kRowsAPiece = 4000;
}  // namespace

CTreeFinder::CTreeFinder(CHpfTreeTable& table) : QObject(&table), m_table(table) {
  connect(&m_look, &QTimer::timeout, this, &CTreeFinder::look);
  connect(&m_changed, &QTimer::timeout, this, &CTreeFinder::rowsChanged);
  m_changed.setSingleShot(true);
  const CHpfTreeTableModel* model = table.dataModel();
  const auto note = [this] {
    if (m_match && !m_changed.isActive()) m_changed.start(0);
  };
  connect(model, &QAbstractItemModel::dataChanged, this, note);
  connect(model, &QAbstractItemModel::modelReset, this, note);
  connect(model, &QAbstractItemModel::layoutChanged, this, note);
  connect(model, &QAbstractItemModel::rowsInserted, this, note);
  connect(model, &QAbstractItemModel::rowsRemoved, this, note);
  connect(&table, &CHpfTreeTable::sigCurrentChanged, this, note);
}

const CTreeBlocks& CTreeFinder::tree() const { return m_table.dataModel()->tree(); }

void CTreeFinder::find(Match match, const QString& from) {
  m_match = std::move(match);
  m_strFrom = from;
  m_nStep = 0;
  m_bGoes = m_match != nullptr;
  m_blocks.clear();
  m_queue.clear();
  m_nRow = 0;
  rowsChanged();
}

void CTreeFinder::go(int by) {
  if (!m_match) return;
  m_nStep = by;
  m_strFrom = m_table.currentKey();
  m_bGoes = isBusy();
  if (!m_bGoes) goFrom(m_strFrom, by);
}

// What matches

bool CTreeFinder::isKnown(int block) const {
  if (block >= static_cast<int>(m_blocks.size())) return false;
  const SBlock& known = m_blocks[static_cast<std::size_t>(block)];
  return known.shape == tree().shapeVersion(block) && known.texts == tree().source(block).textsVersion();
}

void CTreeFinder::rowsChanged() {
  // The one that is being looked at goes on.
  const std::vector<int> begun(m_queue.end() - (isBusy() ? 1 : 0), m_queue.end());
  m_queue.clear();
  if (m_match) {
    for (const int block : tree().blocks()) {
      if (!isKnown(block) && (begun.empty() || begun.front() != block)) m_queue.push_back(block);
    }
    m_queue.insert(m_queue.end(), begun.begin(), begun.end());
  }
  if (isBusy()) {
    m_look.start(0);
  } else {
    recount();
  }
}

void CTreeFinder::look() {
  for (int rows = kRowsAPiece; rows > 0 && isBusy();) {
    const int block = m_queue.back();
    rows -= tree().isBlock(block) ? lookAt(block, rows) : 1;
    if (tree().isBlock(block) && !isKnown(block)) continue;
    m_queue.pop_back();
    m_nRow = 0;
  }
  if (isBusy()) return;
  m_look.stop();
  recount();
  if (std::exchange(m_bGoes, false)) goFrom(m_strFrom, m_nStep);
}

/// Up to so many rows of a block, from the first one again when they have become others. Gives how many.
int CTreeFinder::lookAt(int block, int rows) {
  const ITreeBlock& source = tree().source(block);
  const int size = tree().size(block);
  if (m_nRow == 0 || m_looked.shape != tree().shapeVersion(block) || m_looked.texts != source.textsVersion()) {
    m_looked = {tree().shapeVersion(block), source.textsVersion(), RowFlags(static_cast<std::size_t>(size)), {}};
    m_nRow = 0;
  }
  const int first = m_nRow;
  const int end = std::min(size, first + rows);
  for (; m_nRow < end; ++m_nRow) m_looked.matches[static_cast<std::size_t>(m_nRow)] = m_match(source.state(), m_nRow);
  if (end == size) {
    if (block >= static_cast<int>(m_blocks.size())) m_blocks.resize(static_cast<std::size_t>(block) + 1);
    known(block) = std::exchange(m_looked, {});
  }
  return end - first + 1;
}

// What can be gone to

void CTreeFinder::recount() {
  m_nFound = m_nHidden = 0;
  if (m_match) {
    for (const int block : tree().blocks()) {
      if (block >= static_cast<int>(m_blocks.size())) m_blocks.resize(static_cast<std::size_t>(block) + 1);
      SBlock& each = known(block);
      each.found.clear();
      // One that has other rows since it was looked at is looked at again soon.
      if (each.matches.none() || each.shape != tree().shapeVersion(block)) continue;
      each.found = each.matches & tree().unhiddenRows(block);
      m_nFound += static_cast<int>(each.found.count());
      m_nHidden += static_cast<int>(each.matches.count() - each.found.count());
    }
  }
  countPlace();
}

void CTreeFinder::countPlace() {
  m_nPlace = 0;
  const STreeRow current = m_nFound > 0 ? m_table.dataModel()->find(m_table.currentKey()) : STreeRow();
  const bool isFound = current.isValid() && !known(current.block).found.empty() &&
                       known(current.block).found[static_cast<std::size_t>(current.row)];
  if (isFound) {
    for (const int block : tree().blocks()) {
      if (block == current.block) break;
      m_nPlace += static_cast<int>(known(block).found.count());
    }
    for (const int row : tree().rowsInOrder(current.block)) {
      m_nPlace += known(current.block).found[static_cast<std::size_t>(row)] ? 1 : 0;
      if (row == current.row) break;
    }
  }
  Q_EMIT sigChanged();
}

/// In the order of the table and round at its end, against it for -1; 0 means the row itself before all others.
void CTreeFinder::goFrom(const QString& key, int by) {
  // Filters may have changed since the last count.
  recount();
  if (m_nFound == 0) return;
  const STreeRow from = m_table.dataModel()->find(key);
  std::vector<int> blocks = tree().blocks();
  if (by < 0) std::reverse(blocks.begin(), blocks.end());
  const auto start = from.isValid() ? std::find(blocks.begin(), blocks.end(), from.block) : blocks.begin();
  std::rotate(blocks.begin(), start, blocks.end());
  // Its block twice: at last what is on the other side of the row, or the row itself.
  blocks.push_back(blocks.front());
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const RowFlags& found = known(blocks[i]).found;
    if (found.none()) continue;
    std::vector<int> rows = tree().rowsInOrder(blocks[i]);
    if (by < 0) std::reverse(rows.begin(), rows.end());
    auto row = rows.begin();
    if (i == 0 && from.isValid()) row = std::find(rows.begin(), rows.end(), from.row) + (by == 0 ? 0 : 1);
    row = std::find_if(row, rows.end(), [&found](int each) { return found[static_cast<std::size_t>(each)]; });
    if (row == rows.end()) continue;
    m_table.goToRow({blocks[i], *row});
    return countPlace();
  }
}

}  // namespace GV
