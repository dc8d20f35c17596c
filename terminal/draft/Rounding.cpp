#include "Rounding.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace draft {
namespace {

constexpr double WHOLE = 1e-9;  // as near a fraction is none

bool isWhole(double part) { return part < WHOLE || part > 1 - WHOLE; }

}  // namespace

CRounding::CRounding(int columns) : m_nColumns(columns), m_nodes(static_cast<std::size_t>(columns)) {}

void CRounding::add(int row, double value, const std::vector<SFraction>& fractions) {
  if (fractions.empty()) return;
  m_nAdded = newRow(row, value, fractions);
  for (const SFraction& fraction : fractions) insert(m_nAdded, fraction);
  freeIfDone(m_nAdded);
}

const std::vector<CRounding::SUp>& CRounding::finish() {
  roundForest();
  return m_ups;
}

int CRounding::newRow(int row, double value, const std::vector<SFraction>& fractions) {
  double sum = 0;
  for (const SFraction& fraction : fractions) sum += fraction.m_dPart;
  int index = static_cast<int>(m_nodes.size());
  if (m_free.empty()) {
    m_nodes.emplace_back();
  } else {
    index = m_free.back();
    m_free.pop_back();
  }
  node(index) = {-1, 0, row, value, static_cast<int>(std::lround(sum)), 0};
  return index;
}

void CRounding::freeIfDone(int row) {
  if (node(row).m_nEdges == 0) m_free.push_back(row);
}

/// The row is the root of its tree, before and after.
void CRounding::insert(int row, const SFraction& fraction) {
  m_path.clear();
  int last = fraction.m_nColumn;
  for (; node(last).m_nParent >= 0; last = node(last).m_nParent) m_path.push_back(last);
  if (last != row) return link(row, fraction);
  const double part = turn(row, fraction.m_dPart);
  if (!isWhole(part)) return link(row, {fraction.m_nColumn, part});
  if (part > 0.5) roundUp(row, fraction.m_nColumn);
}

/// Makes the column the root of its tree, and hangs that under the row.
void CRounding::link(int row, const SFraction& fraction) {
  int parent = row;
  double part = fraction.m_dPart;
  for (int each = fraction.m_nColumn; each >= 0;) {
    const int next = std::exchange(node(each).m_nParent, parent);
    std::swap(node(each).m_dPart, part);
    parent = std::exchange(each, next);
  }
  ++node(row).m_nEdges;
}

/// Moves the fractions around the cycle that a new edge closes, from its column by the path to its row, as far as the
/// first of them takes it. Returns what becomes of the new one's part.
double CRounding::turn(int row, double part) {
  const auto valueOf = [this](int child) { return node(isColumn(child) ? node(child).m_nParent : child).m_dValue; };
  const double value = node(row).m_dValue;
  double up = (1 - part) * value;  // by how much the new one's amount may rise
  double down = part * value;      // ... and fall
  for (const int child : m_path) {
    const double rise = (1 - node(child).m_dPart) * valueOf(child);
    const double fall = node(child).m_dPart * valueOf(child);
    // From a column to its row it goes against the new one, from a row on to its column with it.
    up = std::min(up, isColumn(child) ? fall : rise);
    down = std::min(down, isColumn(child) ? rise : fall);
  }
  const double amount = up < down ? up : -down;
  // All of them before one goes: the values are found by way of the parents.
  for (const int child : m_path) node(child).m_dPart += (isColumn(child) ? -amount : amount) / valueOf(child);
  for (const int child : m_path) {
    if (isWhole(node(child).m_dPart)) settleEdge(child);
  }
  return part + amount / value;
}

void CRounding::settleEdge(int child) {
  const int parent = std::exchange(node(child).m_nParent, -1);
  const int row = isColumn(child) ? parent : child;
  if (node(child).m_dPart > 0.5) roundUp(row, isColumn(child) ? child : parent);
  --node(row).m_nEdges;
  // The row that is being added has no parent; it may get more edges.
  if (row != m_nAdded) freeIfDone(row);
}

void CRounding::roundUp(int row, int column) {
  --node(row).m_nUps;
  m_ups.push_back({node(row).m_nRow, column});
}

void CRounding::roundForest() {
  m_edges.assign(m_nodes.size(), {});
  for (int child = 0; child < static_cast<int>(m_nodes.size()); ++child) {
    const int parent = node(child).m_nParent;
    if (parent < 0) continue;
    m_edges[static_cast<std::size_t>(child)].push_back({parent, node(child).m_dPart});
    m_edges[static_cast<std::size_t>(parent)].push_back({child, node(child).m_dPart});
  }
  std::vector<char> seen(static_cast<std::size_t>(m_nColumns));
  std::vector<SVisit> open;
  for (int column = 0; column < m_nColumns; ++column) {
    if (seen[static_cast<std::size_t>(column)]) continue;
    open.push_back({column, -1, 0});
    while (!open.empty()) {
      const SVisit next = open.back();
      open.pop_back();
      seen[static_cast<std::size_t>(next.m_nColumn)] = 1;
      visit(next, open);
    }
  }
}

/// Rounds a column's fractions of the rows beyond it, and those rows.
void CRounding::visit(const SVisit& visit, std::vector<SVisit>& open) {
  double moved = visit.m_dMoved;
  for (const SEdge& edge : m_edges[static_cast<std::size_t>(visit.m_nColumn)]) {
    if (edge.m_nNode == visit.m_nFrom) continue;
    SNode& row = node(edge.m_nNode);
    const double ifUp = moved + row.m_dValue * (1 - edge.m_dPart);
    const double ifDown = moved - row.m_dValue * edge.m_dPart;
    const int edges = static_cast<int>(m_edges[static_cast<std::size_t>(edge.m_nNode)].size());
    const bool wanted = std::abs(ifUp) < std::abs(ifDown);
    const bool up = row.m_nUps >= edges || (row.m_nUps > 0 && wanted);
    moved = up ? ifUp : ifDown;
    if (up) roundUp(edge.m_nNode, visit.m_nColumn);
    roundRow(edge.m_nNode, visit.m_nColumn, open);
  }
}

/// Rounds what a row has in the other columns than one: up where that moves least.
void CRounding::roundRow(int row, int from, std::vector<SVisit>& open) {
  std::vector<SEdge>& edges = m_edges[static_cast<std::size_t>(row)];
  std::sort(edges.begin(), edges.end(), [](const SEdge& a, const SEdge& b) { return a.m_dPart > b.m_dPart; });
  for (const SEdge& edge : edges) {
    if (edge.m_nNode == from) continue;
    const bool up = node(row).m_nUps > 0;
    if (up) roundUp(row, edge.m_nNode);
    open.push_back({edge.m_nNode, row, node(row).m_dValue * ((up ? 1 : 0) - edge.m_dPart)});
  }
}

}  // namespace draft
