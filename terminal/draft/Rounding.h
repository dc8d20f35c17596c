/// Rounding a table of fractions up or down so that its rows add up and its columns hardly move. One thread at a time.
#pragma once

#include <cstddef>
#include <vector>

namespace draft {

struct SFraction {
  int m_nColumn = 0;
  double m_dPart = 0;  ///< above 0, below 1
};

/// Each row (a line) has a value and fractions in some columns (accounts) that add up to a whole number. Rounded, each
/// row adds up to the same number, and each column's sum of value times fraction moves by less than the largest value.
///
/// Rows and columns are nodes of a graph, fractions its edges. Around a cycle, fractions can be raised and lowered in
/// turn such that all sums stay, until one of them is whole and its edge goes. What is left is a forest: there each
/// column rounds its fraction of one row after the other towards its own sum, and hands what that row still lacks to
/// the columns beyond it, each of which meets one such row only.
class CRounding {
 public:
  explicit CRounding(int columns);

  /// value: above 0.
  void add(int row, double value, const std::vector<SFraction>& fractions);

  struct SUp {
    int m_nRow = 0;
    int m_nColumn = 0;
  };
  /// The fractions that are rounded up; nothing can be added afterwards.
  const std::vector<SUp>& finish();

 private:
  /// First those of the columns, then of the rows that have fractions left.
  struct SNode {
    int m_nParent = -1;
    double m_dPart = 0;  ///< of the edge to the parent
    int m_nRow = -1;     ///< from here on of rows alone
    double m_dValue = 1;
    int m_nUps = 0;  ///< that it still lacks
    int m_nEdges = 0;
  };
  /// Of a column on the way through the forest.
  struct SVisit {
    int m_nColumn;
    int m_nFrom;      ///< the row by which it was reached; -1: none
    double m_dMoved;  ///< of its sum
  };

  SNode& node(int index) { return m_nodes[static_cast<std::size_t>(index)]; }
  bool isColumn(int index) const { return index < m_nColumns; }
  int newRow(int row, double value, const std::vector<SFraction>& fractions);
  void freeIfDone(int row);
  void insert(int row, const SFraction& fraction);
  void link(int row, const SFraction& fraction);
  double turn(int row, double part);
  void settleEdge(int child);
  void roundUp(int row, int column);
  void roundForest();
  void visit(const SVisit& visit, std::vector<SVisit>& open);
  void roundRow(int row, int from, std::vector<SVisit>& open);

  const int m_nColumns;
  std::vector<SNode> m_nodes;
  int m_nAdded = -1;        ///< the row that is being added
  std::vector<int> m_free;  ///< nodes of rows that are used no more
  std::vector<int> m_path;
  std::vector<SUp> m_ups;
  struct SEdge {
    int m_nNode;
    double m_dPart;
  };
  std::vector<std::vector<SEdge>> m_edges;  ///< by node, of the forest at the end
};

}  // namespace draft
