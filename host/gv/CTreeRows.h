/// The tree behind a tree table: nodes in one vector, found by key, ordered within each parent.
#pragma once

#include <QHash>
#include <QString>
#include <Qt>
#include <vector>

#include "gv/CHpfTreeTableData.h"

namespace GV {

/// Knows nothing of views. Node 0 is the invisible parent of the roots. GUI thread only.
class CTreeRows {
 public:
  static constexpr int kNone = -1;
  static constexpr int kTop = 0;
  static constexpr int kNoPosition = -1;

  /// Hidden by the owner, resp. by the user's filter: either takes a row and all below it out of sight.
  /// Grandparent: a child of it has children, or had some once.
  enum EFlag : unsigned char { Expanded = 1, Hidden = 2, Counted = 4, Filtered = 8, Grandparent = 16 };

  struct SNode {
    CHpfTreeTableDataPtr row;
    std::vector<int> children;  ///< in the order of the table
    int parent = kNone;
    int rank = 0;                ///< place among the siblings while no column is sorted
    int nextRank = 0;            ///< of the next child
    int order = 0;               ///< the row's sortOrder() when last looked at
    int position = kNoPosition;  ///< in the flat list of the model, which keeps it
    int sortStamp = 0;           ///< the sort under which the children were ordered last; 0 for none
    unsigned short depth = 0;
    unsigned char flags = 0;
  };

  CTreeRows();
  ~CTreeRows();
  CTreeRows(const CTreeRows&) = delete;
  CTreeRows& operator=(const CTreeRows&) = delete;

  const SNode& at(int node) const { return m_nodes[static_cast<std::size_t>(node)]; }
  void setPosition(int node, int position) { ref(node).position = position; }
  /// Number of rows, whether they show or not.
  int count() const { return m_index.size(); }
  void reserve(int rows);

  /// The node of a key, kNone for an unknown one.
  int find(const QString& key) const { return m_index.value(key, kNone); }
  /// The node of a row of this tree, kNone for any other row.
  int nodeOf(const CHpfTreeTableData& row) const;

  /// Adds a row under a parent, in the children's own order before the given child, or last. The key must be new.
  int insert(int parent, const CHpfTreeTableDataPtr& row, int before = kNone);
  /// Puts another record of the same key in the place of a row.
  void replace(int node, const CHpfTreeTableDataPtr& row);
  /// Removes a node with all below it.
  void erase(int node);
  void clear();
  /// Children that order does not name follow in the order they had; false when it names a node that is no child.
  bool reorder(int parent, const std::vector<int>& order);

  bool has(int node, EFlag flag) const { return (at(node).flags & flag) != 0; }
  /// False when the flag stood so already.
  bool set(int node, EFlag flag, bool on);
  bool isOut(int node) const { return (at(node).flags & (Hidden | Filtered)) != 0; }
  /// Neither the node nor one above it is hidden or filtered out.
  bool isUnhidden(int node) const;
  /// Unhidden, and all above it expanded.
  bool isShown(int node) const;

  /// Sorts every parent's children by a column; -1 for their own order. Takes effect parent by parent in ensureSorted.
  void setSort(int column, Qt::SortOrder order, bool byNumber);
  /// Orders the children of a parent unless they are; true when this moved one.
  bool ensureSorted(int parent);
  /// Says that the order of a parent's children may no longer hold.
  void touchOrder(int parent) { ref(parent).sortStamp = 0; }
  /// Looks whether a root's sortOrder() moved; then the order of the roots is touched and the answer true.
  bool refreshOrder(int node);

  /// Sum of number(column) over the counted rows that are not hidden.
  double sum(int column) const;

 private:
  struct SSortKey;
  struct STextKey;

  SNode& ref(int node) { return m_nodes[static_cast<std::size_t>(node)]; }
  int allocate();
  void release(int node);
  int sortedPlace(int parent, int node) const;
  SSortKey sortKey(int node) const;
  bool textLess(const STextKey& a, const STextKey& b) const;
  bool sortByNumber(SNode& parent);
  bool sortByText(SNode& parent);
  void countRow(int node);

  std::vector<SNode> m_nodes;
  std::vector<int> m_free;
  QHash<QString, int> m_index;
  int m_nSortColumn = -1;
  Qt::SortOrder m_eSortOrder = Qt::AscendingOrder;
  bool m_bByNumber = true;
  int m_nSortStamp = 1;
  mutable std::vector<int> m_counted;  ///< nodes whose number() is summed
  mutable bool m_bCountedStale = false;
};

}  // namespace GV
