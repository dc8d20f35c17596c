// What the model does when figures change: notices, filter and order.
#include <algorithm>

#include "gv/CHpfTreeTableModel.h"

namespace GV {

void CHpfTreeTableModel::noteChange(int node, bool subtree) {
  const CModelBatch batch(*this);
  m_changes.push_back({node, subtree});
}

void CHpfTreeTableModel::figuresChanged(int node, bool subtree) {
  m_rows.touchFigures(node, subtree);
  noteChange(node, subtree);
}

// The filter

void CHpfTreeTableModel::setFilter(RowFilter accepts) {
  m_filter = std::move(accepts);
  const CModelBatch batch(*this);
  for (const int root : m_rows.children(CTreeRows::kTop)) filterTree(root, !m_filter);
}

/// Whether the node or one below it is accepted.
bool CHpfTreeTableModel::filterTree(int node, bool accepted) {
  accepted = accepted || m_filter(*m_rows.row(node));
  bool below = false;
  for (const int child : m_rows.children(node)) below = filterTree(child, accepted) || below;
  setOut(node, CTreeRows::Filtered, !accepted && !below);
  return accepted || below;
}

/// Looks again at the trees in which rows changed.
void CHpfTreeTableModel::filterChanges() {
  if (!m_filter) return;
  std::vector<int> roots;
  for (const SChange& change : m_changes) {
    if (change.node == CTreeRows::kTop) {
      roots = m_rows.children(CTreeRows::kTop);
      break;
    }
    int root = change.node;
    while (m_rows.row(root) && m_rows.parent(root) != CTreeRows::kTop) root = m_rows.parent(root);
    if (m_rows.row(root)) roots.push_back(root);
  }
  std::sort(roots.begin(), roots.end());
  roots.erase(std::unique(roots.begin(), roots.end()), roots.end());
  for (const int root : roots) filterTree(root, false);
}

void CHpfTreeTableModel::applyChanges() {
  if (m_changes.empty() || m_bResetting) return;
  restoreOrder();
  for (const SRange& range : changedRanges()) {
    Q_EMIT dataChanged(index(range.first, 0), index(range.last, columnCount() - 1));
  }
  m_changes.clear();
}

/// Rows whose sort value moved find their new place at the end of the batch.
void CHpfTreeTableModel::restoreOrder() {
  // A row that was removed after it changed left an empty node.
  const auto gone = [this](const SChange& change) {
    return change.node != CTreeRows::kTop && m_rows.row(change.node) == nullptr;
  };
  m_changes.erase(std::remove_if(m_changes.begin(), m_changes.end(), gone), m_changes.end());
  std::vector<int> parents;
  for (const SChange& change : m_changes) {
    if (refreshOrder(change)) parents.push_back(CTreeRows::kTop);
    if (m_nSortColumn >= 0) gatherUnsorted(change.node, change.subtree, parents);
  }
  std::sort(parents.begin(), parents.end());
  parents.erase(std::unique(parents.begin(), parents.end()), parents.end());
  for (const int parent : parents) m_rows.touchOrder(parent);
  if (m_bResetting) {
    m_bFlatStale = m_bFlatStale || !parents.empty();
    return;
  }
  int moved = CTreeRows::kNone;
  int count = 0;
  for (const int parent : parents) {
    // Parents that are folded are ordered when they are opened.
    if (parent != CTreeRows::kTop && !m_rows.isShown(parent)) continue;
    if (!m_rows.has(parent, CTreeRows::Expanded) || !m_rows.ensureSorted(parent)) continue;
    moved = parent;
    ++count;
  }
  if (count > 0) relayout(count == 1 ? moved : CTreeRows::kTop);
}

bool CHpfTreeTableModel::refreshOrder(const SChange& change) {
  if (change.node != CTreeRows::kTop) return m_rows.refreshOrder(change.node);
  bool moved = false;
  for (const int root : m_rows.children(CTreeRows::kTop)) moved = m_rows.refreshOrder(root) || moved;
  return moved;
}

void CHpfTreeTableModel::gatherUnsorted(int node, bool subtree, std::vector<int>& parents) const {
  if (node != CTreeRows::kTop) parents.push_back(m_rows.parent(node));
  if (!subtree || m_rows.children(node).empty()) return;
  parents.push_back(node);
  for (const int child : m_rows.children(node)) {
    if (!m_rows.children(child).empty()) gatherUnsorted(child, true, parents);
  }
}

std::vector<CHpfTreeTableModel::SRange> CHpfTreeTableModel::changedRanges() const {
  std::vector<SRange> ranges;
  for (const SChange& change : m_changes) {
    if (change.node == CTreeRows::kTop) {
      const int rows = rowCount();
      return rows > 0 ? std::vector<SRange>{{0, rows - 1}} : std::vector<SRange>{};
    }
    const int first = positionOfNode(change.node);
    if (first >= 0) ranges.push_back({first, change.subtree ? positionOfNode(lastShown(change.node)) : first});
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
