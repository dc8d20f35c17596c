// In what order the rows of a tree stand.
#include <algorithm>
#include <numeric>

#include "gv/CTreeBlocks.h"

namespace GV {

namespace {
constexpr unsigned kKeptOrders = 64;
}  // namespace

std::vector<int> CShownRows::rows(const ITreeState& state) const {
  const std::vector<int> order = m_bOrdered ? m_order : orderOf(state, m_sort);
  std::vector<int> rows;
  rows.reserve(static_cast<std::size_t>(m_nCount));
  for (int i = 0; i < state.rowCount(); ++i) {
    const int row = order.empty() ? i : order[static_cast<std::size_t>(i)];
    if (m_shown[static_cast<std::size_t>(row)]) rows.push_back(row);
  }
  return rows;
}

std::vector<int> CTreeBlocks::rowsInOrder(int number) const {
  SBlock& block = at(number);
  std::vector<int> rows;
  if (block.ordered) {
    rows = block.order;
  } else if (!isOwnOrder(block)) {
    rows = orderOf(block.source->state(), m_sort);
  }
  if (rows.empty()) {
    rows.resize(block.rows.size());
    std::iota(rows.begin(), rows.end(), 0);
  }
  return rows;
}

// The order

/// Whether no sort can move a row.
bool CTreeBlocks::isOwnOrder(const SBlock& block) const { return m_sort.by == ESortBy::Own && block.tops < 2; }

void CTreeBlocks::ensureOrdered(SBlock& block) const {
  if (block.ordered) return;
  block.ordered = true;
  block.stale = false;
  block.order = isOwnOrder(block) ? std::vector<int>() : orderOf(block.source->state(), m_sort);
  ++m_nMade;
}

void CTreeBlocks::setSort(const STreeSort& sort) {
  m_sort = sort;
  m_bOrderStale = true;
  for (SBlock& block : m_blocks) block.stale = true;
}

void CTreeBlocks::touch(int block) {
  at(block).stale = true;
  m_bOrderStale = m_bOwnStale = true;
}

std::vector<int> CTreeBlocks::sortedBlocks(const STreeSort& sort) const {
  std::vector<STopRow> tops;
  std::vector<int> numbers;
  for (const int number : m_order) {
    if (size(number) == 0) continue;
    tops.push_back({&source(number).state(), 0, at(number).rank});
    numbers.push_back(number);
  }
  std::vector<int> sorted = orderOf(tops, sort);
  for (int& place : sorted) place = numbers[static_cast<std::size_t>(place)];
  // A block without rows stands anywhere.
  for (const int number : m_order) {
    if (size(number) == 0) sorted.push_back(number);
  }
  return sorted;
}

bool CTreeBlocks::prepareOrder(std::vector<int>& large) {
  if (!m_bOrderStale) return false;
  m_bOrderStale = false;
  m_nextOrder = sortedBlocks(m_sort);
  m_bHasNext = m_nextOrder != m_order;
  bool moves = m_bHasNext;
  for (std::size_t number = 0; number < m_blocks.size(); ++number) {
    SBlock& block = m_blocks[number];
    if (block.source == nullptr || !block.stale) continue;
    block.stale = false;
    const bool own = isOwnOrder(block);
    if (!own && isLarge(static_cast<int>(number)) && block.source->freeze()) {
      large.push_back(static_cast<int>(number));
      // Until it comes, that of before, or their own, stands.
      if (!std::exchange(block.ordered, true)) block.order.clear();
      continue;
    }
    if (!block.ordered) continue;
    block.next = own ? std::vector<int>() : orderOf(block.source->state(), m_sort);
    block.hasNext = block.next != block.order;
    moves = moves || block.hasNext;
  }
  return moves;
}

bool CTreeBlocks::offerOrder(int number, std::vector<int> order) {
  SBlock& block = at(number);
  if (block.ordered && block.order == order) return false;
  block.ordered = true;
  block.next = std::move(order);
  block.hasNext = true;
  return true;
}

void CTreeBlocks::takeOrder() {
  for (SBlock& block : m_blocks) {
    if (!std::exchange(block.hasNext, false)) continue;
    block.order.swap(block.next);
    block.next = std::vector<int>();
    block.paged = false;
  }
  if (!std::exchange(m_bHasNext, false)) return;
  m_order.swap(m_nextOrder);
  for (std::size_t i = 0; i < m_order.size(); ++i) at(m_order[i]).place = static_cast<int>(i);
  m_bStartsStale = true;
}

void CTreeBlocks::trim() {
  if (m_nMade <= static_cast<int>(kKeptOrders)) return;
  m_nMade = 0;
  for (std::size_t number = 0; number < m_blocks.size(); ++number) {
    SBlock& block = m_blocks[number];
    if (isLarge(static_cast<int>(number)) || m_nAsked - block.asked < kKeptOrders) continue;
    block.ordered = block.paged = false;
    block.order = block.page = std::vector<int>();
  }
}

const std::vector<int>& CTreeBlocks::blocksInOwnOrder() const {
  if (std::exchange(m_bOwnStale, false)) m_own = sortedBlocks({});
  return m_own;
}

}  // namespace GV
