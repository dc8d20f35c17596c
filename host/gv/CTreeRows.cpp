#include "gv/CTreeRows.h"

#include <algorithm>
#include <cmath>

namespace GV {

namespace {
constexpr std::size_t kPrefetch = 8;
}  // namespace

/// What a row is compared by when a number decides.
struct CTreeRows::SSortKey {
  double value;
  int order;
  int rank;
  int node;

  bool operator<(const SSortKey& other) const {
    if (value != other.value) return value < other.value;
    if (order != other.order) return order < other.order;
    return rank < other.rank;
  }
};

struct CTreeRows::STextKey {
  QString text;
  int order;
  int rank;
  int node;
};

CTreeRows::CTreeRows() { clear(); }

CTreeRows::~CTreeRows() { clear(); }

void CTreeRows::reserve(int rows) {
  m_nodes.reserve(static_cast<std::size_t>(rows) + 1);
  m_index.reserve(rows);
}

int CTreeRows::nodeOf(const CHpfTreeTableData& row) const {
  const int node = row.m_nNode;
  const bool ours = node > kTop && node < static_cast<int>(m_nodes.size()) && at(node).row.get() == &row;
  return ours ? node : kNone;
}

int CTreeRows::allocate() {
  if (m_free.empty()) {
    m_nodes.emplace_back();
    return static_cast<int>(m_nodes.size()) - 1;
  }
  const int node = m_free.back();
  m_free.pop_back();
  return node;
}

int CTreeRows::insert(int parent, const CHpfTreeTableDataPtr& row, int before) {
  const int node = allocate();
  m_index.insert(row->key(), node);
  SNode& above = ref(parent);
  SNode& entry = ref(node);
  entry.row = row;
  entry.parent = parent;
  entry.depth = static_cast<unsigned short>(above.depth + 1);
  entry.order = parent == kTop ? row->sortOrder() : 0;
  row->m_nNode = node;
  row->m_pParent = above.row.get();

  if (before != kNone) {
    // Ranks say the place of a row while nothing is sorted, so those behind the new row move up by one.
    entry.rank = at(before).rank;
    for (const int child : above.children) {
      if (at(child).rank >= entry.rank) ++ref(child).rank;
    }
    ++above.nextRank;
  } else {
    entry.rank = above.nextRank++;
  }
  if (above.children.empty()) {
    above.sortStamp = m_nSortStamp;
    if (parent != kTop) ref(above.parent).flags |= Grandparent;
  }
  above.children.insert(above.children.begin() + sortedPlace(parent, node), node);
  if (row->inStatistics()) countRow(node);
  return node;
}

void CTreeRows::countRow(int node) {
  ref(node).flags |= Counted;
  m_counted.push_back(node);
}

/// Where a new node belongs among children that are in order already; last when they are not.
int CTreeRows::sortedPlace(int parent, int node) const {
  const SNode& above = at(parent);
  const int last = static_cast<int>(above.children.size());
  if (last == 0 || above.sortStamp != m_nSortStamp) return last;
  if (m_nSortColumn >= 0 && !m_bByNumber) {
    const auto key = [this](int child) {
      return STextKey{at(child).row->sortText(m_nSortColumn), at(child).order, at(child).rank, child};
    };
    const STextKey mine = key(node);
    const auto found = std::upper_bound(above.children.begin(), above.children.end(), mine,
                                        [&](const STextKey& a, int child) { return textLess(a, key(child)); });
    return static_cast<int>(found - above.children.begin());
  }
  const SSortKey mine = sortKey(node);
  const auto found = std::upper_bound(above.children.begin(), above.children.end(), mine,
                                      [this](const SSortKey& a, int child) { return a < sortKey(child); });
  return static_cast<int>(found - above.children.begin());
}

void CTreeRows::replace(int node, const CHpfTreeTableDataPtr& row) {
  SNode& entry = ref(node);
  if (entry.row == row) return;
  entry.row->m_nNode = kNone;
  entry.row->m_pParent = nullptr;
  entry.row = row;
  row->m_nNode = node;
  row->m_pParent = at(entry.parent).row.get();
  for (const int child : entry.children) ref(child).row->m_pParent = row.get();
}

void CTreeRows::release(int node) {
  SNode& entry = ref(node);
  for (const int child : entry.children) release(child);
  m_index.remove(entry.row->key());
  entry.row->m_nNode = kNone;
  entry.row->m_pParent = nullptr;
  if ((entry.flags & Counted) != 0) m_bCountedStale = true;
  entry = SNode();
  m_free.push_back(node);
}

void CTreeRows::erase(int node) {
  std::vector<int>& siblings = ref(at(node).parent).children;
  siblings.erase(std::find(siblings.begin(), siblings.end(), node));
  release(node);
}

void CTreeRows::clear() {
  for (SNode& entry : m_nodes) {
    if (!entry.row) continue;
    entry.row->m_nNode = kNone;
    entry.row->m_pParent = nullptr;
  }
  m_nodes.clear();
  m_free.clear();
  m_index.clear();
  m_counted.clear();
  m_bCountedStale = false;
  m_nodes.emplace_back();
  m_nodes.front().flags = Expanded;
}

bool CTreeRows::reorder(int parent, const std::vector<int>& order) {
  const auto isChild = [&](int node) {
    return node > kTop && node < static_cast<int>(m_nodes.size()) && at(node).parent == parent;
  };
  if (!std::all_of(order.begin(), order.end(), isChild)) return false;
  std::vector<int> rest = at(parent).children;
  std::sort(rest.begin(), rest.end(), [this](int a, int b) { return at(a).rank < at(b).rank; });
  const int behind = static_cast<int>(order.size());
  int rank = behind;
  for (const int node : rest) ref(node).rank = rank++;
  ref(parent).nextRank = rank;
  for (int i = 0; i < behind; ++i) ref(order[static_cast<std::size_t>(i)]).rank = i;
  touchOrder(parent);
  return true;
}

bool CTreeRows::set(int node, EFlag flag, bool on) {
  if (has(node, flag) == on) return false;
  ref(node).flags = static_cast<unsigned char>(at(node).flags ^ flag);
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

void CTreeRows::setSort(int column, Qt::SortOrder order, bool byNumber) {
  m_nSortColumn = column;
  m_eSortOrder = order;
  m_bByNumber = byNumber || column < 0;
  ++m_nSortStamp;
}

/// Descending order turns the value's sign, so that equal rows keep their own order and a missing value stays last.
CTreeRows::SSortKey CTreeRows::sortKey(int node) const {
  const SNode& entry = at(node);
  if (m_nSortColumn < 0) return {0.0, entry.order, entry.rank, node};
  const double value = entry.row->sortNumber(m_nSortColumn);
  const bool descending = m_eSortOrder == Qt::DescendingOrder;
  const double key = std::isnan(value) ? HUGE_VAL : descending ? -value : value;
  return {key, entry.order, entry.rank, node};
}

bool CTreeRows::textLess(const STextKey& a, const STextKey& b) const {
  const int difference = a.text.compare(b.text);
  if (difference != 0) return (difference < 0) == (m_eSortOrder == Qt::AscendingOrder);
  return a.order != b.order ? a.order < b.order : a.rank < b.rank;
}

bool CTreeRows::sortByNumber(SNode& parent) {
  static thread_local std::vector<SSortKey> keys;
  keys.clear();
  const std::size_t count = parent.children.size();
  for (std::size_t i = 0; i < count; ++i) {
    // The records lie scattered in memory; asking for them ahead halves the time of this loop.
    if (i + kPrefetch < count) __builtin_prefetch(at(parent.children[i + kPrefetch]).row.get());
    keys.push_back(sortKey(parent.children[i]));
  }
  if (std::is_sorted(keys.begin(), keys.end())) return false;
  std::sort(keys.begin(), keys.end());
  std::transform(keys.begin(), keys.end(), parent.children.begin(), [](const SSortKey& key) { return key.node; });
  return true;
}

bool CTreeRows::sortByText(SNode& parent) {
  std::vector<STextKey> keys;
  keys.reserve(parent.children.size());
  for (const int child : parent.children) {
    const SNode& entry = at(child);
    keys.push_back({entry.row->sortText(m_nSortColumn), entry.order, entry.rank, child});
  }
  const auto less = [this](const STextKey& a, const STextKey& b) { return textLess(a, b); };
  if (std::is_sorted(keys.begin(), keys.end(), less)) return false;
  std::sort(keys.begin(), keys.end(), less);
  std::transform(keys.begin(), keys.end(), parent.children.begin(), [](const STextKey& key) { return key.node; });
  return true;
}

bool CTreeRows::ensureSorted(int parent) {
  SNode& entry = ref(parent);
  if (entry.sortStamp == m_nSortStamp) return false;
  entry.sortStamp = m_nSortStamp;
  if (entry.children.size() < 2) return false;
  return m_bByNumber ? sortByNumber(entry) : sortByText(entry);
}

bool CTreeRows::refreshOrder(int node) {
  SNode& entry = ref(node);
  if (entry.parent != kTop || entry.row->sortOrder() == entry.order) return false;
  entry.order = entry.row->sortOrder();
  touchOrder(kTop);
  return true;
}

double CTreeRows::sum(int column) const {
  if (m_bCountedStale) {
    m_counted.clear();
    for (int node = 1; node < static_cast<int>(m_nodes.size()); ++node) {
      if (has(node, Counted)) m_counted.push_back(node);
    }
    m_bCountedStale = false;
  }
  double total = 0.0;
  for (const int node : m_counted) {
    if (isUnhidden(node)) total += at(node).row->number(column);
  }
  return total;
}

}  // namespace GV
