#include "gv/CTreeRows.h"

#include <algorithm>
#include <utility>

namespace GV {

namespace {
constexpr std::size_t kPrefetch = 8;
const std::vector<int> kNobody;
}  // namespace

struct CTreeRows::STextKey {
  QString text;
  std::uint64_t own;
  int node;
};

CTreeRows::CTreeRows() { clear(); }

CTreeRows::~CTreeRows() { clear(); }

void CTreeRows::reserve(int rows) {
  m_rows.reserve(static_cast<std::size_t>(rows) + 1);
  m_places.reserve(static_cast<std::size_t>(rows) + 1);
  m_index.reserve(rows);
}

int CTreeRows::nodeOf(const CHpfTreeTableData& row) const {
  const int node = row.m_nNode;
  const bool ours = node > kTop && node < static_cast<int>(m_rows.size()) && this->row(node).get() == &row;
  return ours ? node : kNone;
}

const std::vector<int>& CTreeRows::children(int node) const {
  const int family = at(node).family;
  return family == kNone ? kNobody : m_families[static_cast<std::size_t>(family)].children;
}

/// That of the node; made when it has none yet.
CTreeRows::SFamily& CTreeRows::family(int node) {
  int& place = ref(node).family;
  if (place == kNone) {
    if (m_freeFamilies.empty()) {
      m_freeFamilies.push_back(static_cast<int>(m_families.size()));
      m_families.emplace_back();
    }
    place = m_freeFamilies.back();
    m_freeFamilies.pop_back();
    m_families[static_cast<std::size_t>(place)].node = node;
  }
  return m_families[static_cast<std::size_t>(place)];
}

std::vector<int> CTreeRows::parents() const {
  std::vector<int> nodes;
  for (const SFamily& entry : m_families) {
    if (entry.node > kTop && !entry.children.empty()) nodes.push_back(entry.node);
  }
  return nodes;
}

/// Only roots have an order of their own.
int CTreeRows::orderOf(int node) const {
  const SPlace& place = at(node);
  return place.parent == kTop ? m_families[static_cast<std::size_t>(place.family)].order : 0;
}

int CTreeRows::allocate() {
  if (m_free.empty()) {
    m_rows.emplace_back();
    m_places.emplace_back();
    return static_cast<int>(m_rows.size()) - 1;
  }
  const int node = m_free.back();
  m_free.pop_back();
  return node;
}

int CTreeRows::insert(int parent, const CHpfTreeTableDataPtr& row, int before) {
  const int node = allocate();
  m_index.insert(row->key(), node);
  m_rows[static_cast<std::size_t>(node)] = row;
  if (row->inStatistics()) countRow(node, parent);
  if (parent == kTop) family(node).order = row->sortOrder();
  SFamily& above = family(parent);
  SPlace& place = ref(node);
  place.parent = parent;
  place.depth = static_cast<unsigned short>(at(parent).depth + 1);
  row->m_nNode = node;
  row->m_pParent = this->row(parent).get();

  if (before != kNone) {
    // Ranks say the place of a row while nothing is sorted, so those behind the new row move up by one.
    place.rank = at(before).rank;
    for (const int child : above.children) {
      if (at(child).rank >= place.rank) ++ref(child).rank;
    }
    ++above.nextRank;
  } else {
    place.rank = above.nextRank++;
  }
  if (above.children.empty()) above.sortStamp = m_nSortStamp;
  above.children.insert(above.children.begin() + sortedPlace(parent, node), node);
  return node;
}

void CTreeRows::countRow(int node, int parent) {
  set(node, Counted, true);
  family(node);
  m_bCountedStale = true;
  if (parent != kTop) ++m_nCountedBelowRoots;
}

/// Where a new node belongs among children that are in order already; last when they are not.
int CTreeRows::sortedPlace(int parent, int node) const {
  const SFamily& above = m_families[static_cast<std::size_t>(at(parent).family)];
  const int last = static_cast<int>(above.children.size());
  if (last == 0 || above.sortStamp != m_nSortStamp) return last;
  if (!sortsByNumber(parent)) {
    const STextKey mine = textKey(node);
    const auto found = std::upper_bound(above.children.begin(), above.children.end(), mine,
                                        [this](const STextKey& a, int child) { return textLess(a, textKey(child)); });
    return static_cast<int>(found - above.children.begin());
  }
  const SSortKey mine = sortKey(node);
  const auto found = std::upper_bound(above.children.begin(), above.children.end(), mine,
                                      [this](const SSortKey& a, int child) { return a < sortKey(child); });
  return static_cast<int>(found - above.children.begin());
}

void CTreeRows::replace(int node, const CHpfTreeTableDataPtr& row) {
  CHpfTreeTableDataPtr& entry = m_rows[static_cast<std::size_t>(node)];
  if (entry == row) return;
  entry->m_nNode = kNone;
  entry->m_pParent = nullptr;
  entry = row;
  row->m_nNode = node;
  row->m_pParent = this->row(at(node).parent).get();
  for (const int child : children(node)) this->row(child)->m_pParent = row.get();
}

void CTreeRows::release(int node) {
  for (const int child : children(node)) release(child);
  CHpfTreeTableDataPtr& row = m_rows[static_cast<std::size_t>(node)];
  m_index.remove(row->key(), node);
  row->m_nNode = kNone;
  row->m_pParent = nullptr;
  row.reset();
  SPlace& place = ref(node);
  if ((place.flags & Counted) != 0) {
    m_bCountedStale = true;
    if (place.parent != kTop) --m_nCountedBelowRoots;
  }
  if (place.family != kNone) {
    m_families[static_cast<std::size_t>(place.family)] = SFamily();
    m_freeFamilies.push_back(place.family);
  }
  place = SPlace();
  m_free.push_back(node);
}

void CTreeRows::erase(int node) {
  std::vector<int>& siblings = family(at(node).parent).children;
  siblings.erase(std::find(siblings.begin(), siblings.end(), node));
  release(node);
}

void CTreeRows::clear() {
  for (const CHpfTreeTableDataPtr& row : m_rows) {
    if (!row) continue;
    row->m_nNode = kNone;
    row->m_pParent = nullptr;
  }
  m_rows.assign(1, nullptr);
  m_places.assign(1, SPlace());
  m_families.clear();
  m_free.clear();
  m_freeFamilies.clear();
  m_index.clear();
  m_counted.clear();
  m_touched.clear();
  m_bCountedStale = true;
  m_nCountedBelowRoots = 0;
  set(kTop, Expanded, true);
}

bool CTreeRows::reorder(int parent, const std::vector<int>& order) {
  const auto isChild = [&](int node) {
    return node > kTop && node < static_cast<int>(m_rows.size()) && at(node).parent == parent;
  };
  if (!std::all_of(order.begin(), order.end(), isChild)) return false;
  std::vector<int> rest = children(parent);
  std::sort(rest.begin(), rest.end(), [this](int a, int b) { return at(a).rank < at(b).rank; });
  const int behind = static_cast<int>(order.size());
  int rank = behind;
  for (const int node : rest) ref(node).rank = rank++;
  family(parent).nextRank = rank;
  for (int i = 0; i < behind; ++i) ref(order[static_cast<std::size_t>(i)]).rank = i;
  touchOrder(parent);
  return true;
}

bool CTreeRows::isUnhidden(int node) const {
  for (; node != kTop; node = at(node).parent) {
    if (isOut(node)) return false;
  }
  return true;
}

bool CTreeRows::isShown(int node) const {
  for (; node != kTop; node = at(node).parent) {
    if (isOut(node) || !has(at(node).parent, Expanded)) return false;
  }
  return true;
}

void CTreeRows::collectShown(int node, int first, std::vector<int>& out) {
  ensureSorted(node);
  for (const int child : children(node)) {
    SPlace& place = ref(child);
    if ((place.flags & (Hidden | Filtered)) != 0) continue;
    place.position = first + static_cast<int>(out.size());
    out.push_back(child);
    if (place.family != kNone && (place.flags & Expanded) != 0) collectShown(child, first, out);
  }
}

// The order

void CTreeRows::setSort(int column, Qt::SortOrder order, ESortBy by) {
  m_nSortColumn = column;
  m_eSortOrder = order;
  m_eSortBy = by;
  ++m_nSortStamp;
}

/// Whether the children of a parent are compared by a figure; else it is by a text.
bool CTreeRows::sortsByNumber(int parent) const {
  return m_nSortColumn < 0 || m_eSortBy == ESortBy::Number || (m_eSortBy == ESortBy::Name && parent == kTop);
}

void CTreeRows::touchOrder(int parent) {
  if (at(parent).family != kNone) family(parent).sortStamp = 0;
  m_bCountedStale = true;
}

SSortKey CTreeRows::sortKey(int node) const {
  if (m_nSortColumn < 0) return {0, ownKey(node), node};
  const double figure = m_eSortBy == ESortBy::Name ? orderOf(node) : row(node)->sortNumber(m_nSortColumn);
  return {figureKey(figure, m_eSortOrder == Qt::DescendingOrder), ownKey(node), node};
}

CTreeRows::STextKey CTreeRows::textKey(int node) const {
  const CHpfTreeTableData& data = *row(node);
  return {m_eSortBy == ESortBy::Name ? data.displayName() : data.sortText(m_nSortColumn), ownKey(node), node};
}

bool CTreeRows::textLess(const STextKey& a, const STextKey& b) const {
  const int difference = a.text.compare(b.text);
  if (difference != 0) return (difference < 0) == (m_eSortOrder == Qt::AscendingOrder);
  return a.own < b.own;
}

/// The keys of all children in their order of now, by the parent's word; false, and none, where it does not know them.
bool CTreeRows::gatherTogether(int parent, std::vector<SSortKey>& keys) const {
  if (parent == kTop || m_nSortColumn < 0 || m_eSortBy != ESortBy::Number) return false;
  static thread_local std::vector<CHpfTreeTableData::ChildFigure> figures;
  static thread_local std::vector<double> byRank;
  figures.clear();
  if (!row(parent)->childFigures(m_nSortColumn, figures)) return false;
  const SFamily& own = m_families[static_cast<std::size_t>(at(parent).family)];
  if (figures.size() != own.children.size()) return false;
  byRank.resize(static_cast<std::size_t>(own.nextRank));
  for (const auto& [node, figure] : figures) {
    if (node < 1 || at(node).parent != parent) return false;
    byRank[static_cast<std::size_t>(at(node).rank)] = figure;
  }
  const bool descending = m_eSortOrder == Qt::DescendingOrder;
  for (const int child : own.children) {
    keys.push_back({figureKey(byRank[static_cast<std::size_t>(at(child).rank)], descending), ownKey(child), child});
  }
  return true;
}

void CTreeRows::gatherOneByOne(const std::vector<int>& children, std::vector<SSortKey>& keys) const {
  const std::size_t count = children.size();
  for (std::size_t i = 0; i < count; ++i) {
    // The records lie scattered in memory; asking for them ahead halves the time of this loop.
    if (i + kPrefetch < count) __builtin_prefetch(row(children[i + kPrefetch]).get());
    keys.push_back(sortKey(children[i]));
  }
}

bool CTreeRows::sortByNumber(int parent, std::vector<int>& children) const {
  static thread_local std::vector<SSortKey> keys;
  keys.clear();
  if (!gatherTogether(parent, keys)) gatherOneByOne(children, keys);
  if (std::is_sorted(keys.begin(), keys.end())) return false;
  sortByKey(keys);
  std::transform(keys.begin(), keys.end(), children.begin(), [](const SSortKey& key) { return key.node; });
  return true;
}

bool CTreeRows::sortByText(std::vector<int>& children) const {
  std::vector<STextKey> keys;
  keys.reserve(children.size());
  for (const int child : children) keys.push_back(textKey(child));
  const auto less = [this](const STextKey& a, const STextKey& b) { return textLess(a, b); };
  if (std::is_sorted(keys.begin(), keys.end(), less)) return false;
  std::sort(keys.begin(), keys.end(), less);
  std::transform(keys.begin(), keys.end(), children.begin(), [](const STextKey& key) { return key.node; });
  return true;
}

bool CTreeRows::ensureSorted(int parent) {
  if (at(parent).family == kNone) return false;
  SFamily& entry = family(parent);
  if (entry.sortStamp == m_nSortStamp) return false;
  entry.sortStamp = m_nSortStamp;
  if (entry.children.size() < 2) return false;
  return sortsByNumber(parent) ? sortByNumber(parent, entry.children) : sortByText(entry.children);
}

bool CTreeRows::refreshOrder(int node) {
  if (at(node).parent != kTop) return false;
  const int order = row(node)->sortOrder();
  if (std::exchange(family(node).order, order) == order) return false;
  m_bCountedStale = true;
  touchOrder(kTop);
  return true;
}

// The sum

bool CTreeRows::isBeforeInOwnOrder(int a, int b) const {
  int one = a;
  int other = b;
  while (depth(one) > depth(other)) one = parent(one);
  while (depth(other) > depth(one)) other = parent(other);
  if (one == other) return depth(a) < depth(b);
  while (parent(one) != parent(other)) {
    one = parent(one);
    other = parent(other);
  }
  return ownKey(one) < ownKey(other);
}

/// Brings the list of counted rows up to date; all their figures are to be read then.
void CTreeRows::recount() {
  m_counted.clear();
  for (int node = 1; node < static_cast<int>(m_places.size()); ++node) {
    if (has(node, Counted)) m_counted.push_back(node);
  }
  std::sort(m_counted.begin(), m_counted.end(), [this](int a, int b) { return isBeforeInOwnOrder(a, b); });
  int place = 0;
  for (const int node : m_counted) m_families[static_cast<std::size_t>(at(node).family)].counted = place++;
  m_bCountedStale = false;
  m_nSumColumn = -1;
}

void CTreeRows::touchFigures(int node, bool subtree) {
  if (node == kTop || (subtree && m_nCountedBelowRoots > 0) || m_touched.size() > m_counted.size()) {
    m_nSumColumn = -1;
    m_touched.clear();
  } else if (has(node, Counted)) {
    m_touched.push_back(node);
  }
}

void CTreeRows::readFigures(int column) {
  if (m_nSumColumn != column) {
    m_figures.clear();
    for (const int node : m_counted) m_figures.push_back(row(node)->number(column));
  } else {
    for (const int node : m_touched) {
      const int place = m_families[static_cast<std::size_t>(at(node).family)].counted;
      m_figures[static_cast<std::size_t>(place)] = row(node)->number(column);
    }
  }
  m_nSumColumn = column;
  m_touched.clear();
}

double CTreeRows::sum(int column) {
  if (m_bCountedStale) recount();
  readFigures(column);
  double total = 0.0;
  for (std::size_t i = 0; i < m_counted.size(); ++i) {
    if (isUnhidden(m_counted[i])) total += m_figures[i];
  }
  return total;
}

}  // namespace GV
