#include "gv/CTreeBlocks.h"

#include <algorithm>
#include <numeric>

namespace GV {

namespace {

constexpr int kNoDepth = 1 << 16;

unsigned char flagged(unsigned char flags, CTreeBlocks::EFlag flag, bool on) {
  return static_cast<unsigned char>(on ? flags | flag : flags & ~flag);
}

void shift(std::vector<int>& rows, int from, int by) {
  for (int& row : rows) {
    if (row >= from) row += by;
  }
}

/// rows without those from first up to end, the ones behind moved up.
void cut(std::vector<int>& rows, int first, int end) {
  rows.erase(std::remove_if(rows.begin(), rows.end(), [=](int row) { return row >= first && row < end; }), rows.end());
  shift(rows, end, first - end);
}

}  // namespace

int CTreeBlocks::topsOf(const std::vector<SRow>& rows, int first, int end) {
  const auto isTop = [](const SRow& row) { return row.depth == 1; };
  return static_cast<int>(std::count_if(rows.begin() + first, rows.begin() + end, isTop));
}

// Blocks

int CTreeBlocks::add(ITreeBlock& source) {
  if (m_free.empty()) {
    m_free.push_back(static_cast<int>(m_blocks.size()));
    m_blocks.emplace_back();
  }
  const int number = m_free.back();
  m_free.pop_back();
  SBlock& block = at(number);
  block = SBlock();
  block.source = &source;
  source.m_nNumber = number;
  block.rank = m_nRank++;
  block.place = static_cast<int>(m_order.size());
  m_order.push_back(number);
  reshape(number, std::vector<int>(static_cast<std::size_t>(source.state().rowCount()), -1));
  return number;
}

void CTreeBlocks::remove(int block) {
  m_order.erase(m_order.begin() + at(block).place);
  for (std::size_t i = 0; i < m_order.size(); ++i) at(m_order[i]).place = static_cast<int>(i);
  at(block) = SBlock();
  m_free.push_back(block);
  m_bHasNext = false;
  m_bStartsStale = m_bOwnStale = m_bOrderStale = true;
}

void CTreeBlocks::clear() {
  m_blocks.clear();
  m_free.clear();
  m_order.clear();
  m_bHasNext = false;
  m_bStartsStale = m_bOwnStale = true;
}

void CTreeBlocks::reshape(int number, const std::vector<int>& before) {
  SBlock& block = at(number);
  const ITreeState& state = block.source->state();
  std::vector<SRow> rows(before.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const int parent = state.parentOf(static_cast<int>(i));
    rows[i].depth = static_cast<unsigned short>(parent < 0 ? 1 : rows[static_cast<std::size_t>(parent)].depth + 1);
    if (before[i] >= 0) rows[i].flags = block.rows[static_cast<std::size_t>(before[i])].flags;
  }
  block.rows.swap(rows);
  block.tops = topsOf(block.rows, 0, static_cast<int>(block.rows.size()));
  block.ordered = block.hasNext = false;
  block.shapeVersion = ++m_nShapes;
  showChanged(block);
  touch(number);
}

void CTreeBlocks::insertRow(const STreeRow& row, bool keepOrder, bool hidden) {
  SBlock& block = at(row.block);
  const STreeRow parent = this->parent(row);
  SRow made;
  made.depth = static_cast<unsigned short>(parent.isValid() ? depth(parent) + 1 : 1);
  made.flags = hidden ? Hidden : 0;
  block.rows.insert(block.rows.begin() + row.row, made);
  block.shapeVersion = ++m_nShapes;
  if (made.depth == 1) ++block.tops;
  if (!hidden && (!parent.isValid() || (has(parent, Expanded) && isShown(parent)))) ++block.shown;
  block.paged = block.hasNext = false;
  m_bStartsStale = true;
  touch(row.block);
  block.ordered = block.ordered && keepOrder;
  if (block.ordered) placeInOrder(block, row);
}

void CTreeBlocks::placeInOrder(SBlock& block, const STreeRow& row) const {
  const auto ownOrder = [&block] {
    std::vector<int> rows(block.rows.size());
    std::iota(rows.begin(), rows.end(), 0);
    return rows;
  };
  const std::vector<int> order = isOwnOrder(block) ? std::vector<int>() : orderOf(block.source->state(), m_sort);
  std::vector<int> others = order.empty() ? ownOrder() : order;
  others.erase(std::find(others.begin(), others.end(), row.row));
  std::vector<int> standing = block.order;
  shift(standing, row.row, 1);
  if (standing.empty()) {
    standing = ownOrder();
    standing.erase(standing.begin() + row.row);
  }
  if (others == standing) {
    block.order = order;
    return;
  }
  block.order = std::move(standing);
  insertLast(block, row);
}

/// Behind what is beside it.
void CTreeBlocks::insertLast(SBlock& block, const STreeRow& row) {
  const int depth = block.rows[static_cast<std::size_t>(row.row)].depth;
  const int parent = block.source->state().parentOf(row.row);
  auto place = parent < 0 ? block.order.end() : std::find(block.order.begin(), block.order.end(), parent);
  if (place != block.order.end()) {
    const auto below = [&](int each) { return block.rows[static_cast<std::size_t>(each)].depth >= depth; };
    place = std::find_if_not(std::next(place), block.order.end(), below);
  }
  block.order.insert(place, row.row);
}

void CTreeBlocks::eraseRows(const STreeRow& first, int count) {
  SBlock& block = at(first.block);
  const int end = first.row + count;
  block.tops -= topsOf(block.rows, first.row, end);
  block.rows.erase(block.rows.begin() + first.row, block.rows.begin() + end);
  cut(block.order, first.row, end);
  block.hasNext = false;
  block.shapeVersion = ++m_nShapes;
  showChanged(block);
  touch(first.block);
}

// Rows

/// Visits the rows of a block, or those from first to end (-1: all behind it), that show if what is above does; in
/// their own order, or in the one that is given.
template <typename Visit>
void CTreeBlocks::visitShown(const SBlock& block, const Visit& visit, int first, int end,
                             const std::vector<int>* order) {
  int skipped = kNoDepth;  // what is deeper does not show
  if (end < 0) end = static_cast<int>(block.rows.size());
  for (int i = first; i < end; ++i) {
    const int row = order == nullptr ? i : (*order)[static_cast<std::size_t>(i)];
    const SRow& each = block.rows[static_cast<std::size_t>(row)];
    if (each.depth > skipped) continue;
    skipped = kNoDepth;
    const bool out = (each.flags & (Hidden | Filtered)) != 0;
    if (out || (each.flags & Expanded) == 0) skipped = each.depth;
    if (!out) visit(row);
  }
}

/// Counts what shows, which no order has a say in.
void CTreeBlocks::showChanged(SBlock& block) {
  block.shown = 0;
  visitShown(block, [&block](int) { ++block.shown; });
  block.paged = false;
  m_bStartsStale = true;
}

bool CTreeBlocks::hasChildren(const STreeRow& row) const {
  const SBlock& block = at(row.block);
  const auto next = static_cast<std::size_t>(row.row) + 1;
  return next < block.rows.size() && block.rows[next].depth > block.rows[next - 1].depth;
}

int CTreeBlocks::endOf(const STreeRow& row) const {
  const SBlock& block = at(row.block);
  const int depth = this->depth(row);
  int end = row.row + 1;
  while (end < size(row.block) && block.rows[static_cast<std::size_t>(end)].depth > depth) ++end;
  return end;
}

void CTreeBlocks::set(const STreeRow& row, EFlag flag, bool on) {
  if (has(row, flag) == on) return;
  ref(row).flags = flagged(ref(row).flags, flag, on);
  if (flag != Selected) showChanged(at(row.block));
}

void CTreeBlocks::setAll(int number, EFlag flag, const RowFlags& rows) {
  SBlock& block = at(number);
  bool changed = false;
  for (std::size_t i = 0; i < block.rows.size(); ++i) {
    const unsigned char flags = flagged(block.rows[i].flags, flag, rows[i]);
    changed = changed || flags != block.rows[i].flags;
    block.rows[i].flags = flags;
  }
  if (changed) showChanged(block);
}

RowFlags CTreeBlocks::flags(int number, EFlag flag) const {
  const SBlock& block = at(number);
  RowFlags flags(block.rows.size());
  for (std::size_t i = 0; i < block.rows.size(); ++i) {
    if ((block.rows[i].flags & flag) != 0) flags.set(i);
  }
  return flags;
}

void CTreeBlocks::selectShown(int number) {
  SBlock& block = at(number);
  visitShown(block, [&block](int row) { block.rows[static_cast<std::size_t>(row)].flags |= Selected; });
}

void CTreeBlocks::deselectAll() {
  for (SBlock& block : m_blocks) {
    for (SRow& row : block.rows) row.flags = flagged(row.flags, Selected, false);
  }
}

void CTreeBlocks::expandAll(int number, bool on) {
  SBlock& block = at(number);
  for (std::size_t i = 0; i + 1 < block.rows.size(); ++i) {
    if (block.rows[i + 1].depth > block.rows[i].depth) {
      block.rows[i].flags = flagged(block.rows[i].flags, Expanded, on);
    }
  }
  showChanged(block);
}

bool CTreeBlocks::isUnhidden(STreeRow row) const {
  for (; row.isValid(); row = parent(row)) {
    if (isOut(row)) return false;
  }
  return true;
}

RowFlags CTreeBlocks::unhiddenRows(int number) const {
  const std::vector<SRow>& rows = at(number).rows;
  RowFlags unhidden(rows.size());
  int out = kNoDepth;  // depth of the row that takes those below it out of sight
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row].depth > out) continue;
    const bool isOut = (rows[row].flags & (Hidden | Filtered)) != 0;
    out = isOut ? rows[row].depth : kNoDepth;
    unhidden[row] = !isOut;
  }
  return unhidden;
}

bool CTreeBlocks::isShown(STreeRow row) const {
  if (isOut(row)) return false;
  for (row = parent(row); row.isValid(); row = parent(row)) {
    if (isOut(row) || !has(row, Expanded)) return false;
  }
  return true;
}

int CTreeBlocks::shownBelow(const STreeRow& row) const {
  int shown = 0;
  visitShown(
      at(row.block), [&shown](int) { ++shown; }, row.row + 1, endOf(row));
  return shown;
}

// Positions

void CTreeBlocks::ensureStarts() const {
  if (!m_bStartsStale) return;
  m_bStartsStale = false;
  m_starts.assign(1, 0);
  for (const int block : m_order) m_starts.push_back(m_starts.back() + at(block).shown);
}

int CTreeBlocks::startOf(int block) const {
  ensureStarts();
  return m_starts[static_cast<std::size_t>(at(block).place)];
}

int CTreeBlocks::shownCount() const {
  ensureStarts();
  return m_starts.empty() ? 0 : m_starts.back();
}

void CTreeBlocks::ensurePaged(SBlock& block) const {
  if (block.asked != m_nAsked) block.asked = ++m_nAsked;
  if (block.paged) return;
  ensureOrdered(block);
  block.paged = true;
  block.page.clear();
  // All rows in their own order need no list.
  if (block.order.empty() && block.shown == static_cast<int>(block.rows.size())) return;
  block.page.reserve(static_cast<std::size_t>(block.shown));
  visitShown(
      block, [&block](int row) { block.page.push_back(row); }, 0, -1, block.order.empty() ? nullptr : &block.order);
}

std::size_t CTreeBlocks::placeAt(int position) const {
  ensureStarts();
  // Blocks of which nothing shows start where the next one does.
  const auto behind = std::upper_bound(m_starts.begin(), m_starts.end(), position);
  return static_cast<std::size_t>(behind - m_starts.begin() - 1);
}

STreeRow CTreeBlocks::rowAt(int position) const {
  const std::size_t place = placeAt(position);
  const int number = m_order[place];
  SBlock& block = at(number);
  ensurePaged(block);
  const int offset = position - m_starts[place];
  return {number, block.page.empty() ? offset : block.page[static_cast<std::size_t>(offset)]};
}

int CTreeBlocks::positionOf(const STreeRow& row) const {
  SBlock& block = at(row.block);
  ensurePaged(block);
  const int start = startOf(row.block);
  if (block.page.empty()) return start + row.row;
  return start + static_cast<int>(std::find(block.page.begin(), block.page.end(), row.row) - block.page.begin());
}

CShownRows CTreeBlocks::shownRows(int number) const {
  const SBlock& block = at(number);
  CShownRows shown;
  shown.m_shown.resize(block.rows.size());
  visitShown(block, [&shown](int row) { shown.m_shown.set(static_cast<std::size_t>(row)); });
  shown.m_sort = m_sort;
  shown.m_nCount = block.shown;
  shown.m_bOrdered = block.ordered || isOwnOrder(block);
  if (block.ordered) shown.m_order = block.order;
  return shown;
}

}  // namespace GV
