/// The tree behind a tree table: nodes in a few arrays, found by key, ordered within each parent.
#pragma once

#include <QString>
#include <Qt>
#include <vector>

#include "gv/CHpfTreeTableData.h"
#include "gv/CKeyIndex.h"
#include "gv/SortByKey.h"

namespace GV {

/// Knows nothing of views. Node 0 is the invisible parent of the roots. GUI thread only.
class CTreeRows {
 public:
  static constexpr int kNone = -1;
  static constexpr int kTop = 0;

  /// Hidden by the owner, resp. by the user's filter: either takes a row and all below it out of sight.
  enum EFlag : unsigned char { Expanded = 1, Hidden = 2, Counted = 4, Filtered = 8 };

  CTreeRows();
  ~CTreeRows();
  CTreeRows(const CTreeRows&) = delete;
  CTreeRows& operator=(const CTreeRows&) = delete;

  /// Number of rows, whether they show or not.
  int count() const { return m_index.count(); }
  void reserve(int rows);

  /// The node of a key, kNone for an unknown one.
  int find(const QString& key) const {
    return m_index.find(key, [&](int node) { return row(node)->hasKey(key); });
  }
  /// The node of a row of this tree, kNone for any other row.
  int nodeOf(const CHpfTreeTableData& row) const;

  /// Null for the invisible parent, and where a row was removed.
  const CHpfTreeTableDataPtr& row(int node) const { return m_rows[static_cast<std::size_t>(node)]; }
  int parent(int node) const { return at(node).parent; }
  int depth(int node) const { return at(node).depth; }
  bool hasChildren(int node) const { return !children(node).empty(); }
  /// In the order of the table.
  const std::vector<int>& children(int node) const;
  /// Every node with children, in no particular order.
  std::vector<int> parents() const;
  /// Where the node stood in the flat list of the model when that was last noted; means nothing for a node that does
  /// not show.
  int position(int node) const { return at(node).position; }
  void setPosition(int node, int position) { ref(node).position = position; }

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
  bool set(int node, EFlag flag, bool on) {
    if (has(node, flag) == on) return false;
    ref(node).flags = static_cast<unsigned char>(at(node).flags ^ flag);
    return true;
  }
  bool isOut(int node) const { return (at(node).flags & (Hidden | Filtered)) != 0; }
  /// Neither the node nor one above it is hidden or filtered out.
  bool isUnhidden(int node) const;
  /// Unhidden, and all above it expanded.
  bool isShown(int node) const;
  /// Appends what shows below a node, in the order of the table, and tells these nodes their positions; first is the
  /// position of the first node in out.
  void collectShown(int node, int first, std::vector<int>& out);

  /// What a sort compares: sortNumber(), sortText(), or of roots sortOrder() and of all others displayName().
  enum class ESortBy { Number, Text, Name };
  /// Sorts every parent's children by a column; -1 for their own order. Takes effect parent by parent in ensureSorted.
  void setSort(int column, Qt::SortOrder order, ESortBy by);
  /// Orders the children of a parent unless they are; true when this moved one.
  bool ensureSorted(int parent);
  /// Says that the order of a parent's children may no longer hold.
  void touchOrder(int parent);
  /// Looks whether a root's sortOrder() moved; then the order of the roots is touched and the answer true.
  bool refreshOrder(int node);

  /// Sum of number(column) over the counted rows that are not hidden, added in the rows' own order, so that the same
  /// rows give the same sum to the last bit. The figures of one column are kept until touchFigures.
  double sum(int column);
  /// Says that number() of a row changed, with subtree of all at and below it.
  void touchFigures(int node, bool subtree);

 private:
  struct STextKey;

  /// What a walk over the whole tree reads of a node, close together, since such a walk costs what it fetches.
  struct SPlace {
    int position = 0;
    int parent = kNone;
    int rank = 0;        ///< place among the siblings while no column is sorted
    int family = kNone;  ///< a root, a counted row and a row with children have one
    unsigned short depth = 0;
    unsigned char flags = 0;
  };
  struct SFamily {
    std::vector<int> children;
    int nextRank = 0;   ///< of the next child
    int sortStamp = 0;  ///< the sort under which the children were ordered last; 0 for none
    int order = 0;      ///< of a root: sortOrder() when last looked at
    int node = kNone;   ///< whose it is; kNone while nobody's
    int counted = 0;    ///< of a counted row: its place in m_counted
  };

  const SPlace& at(int node) const { return m_places[static_cast<std::size_t>(node)]; }
  SPlace& ref(int node) { return m_places[static_cast<std::size_t>(node)]; }
  SFamily& family(int node);
  int orderOf(int node) const;
  int allocate();
  void countRow(int node, int parent);
  void release(int node);
  int sortedPlace(int parent, int node) const;
  bool sortsByNumber(int parent) const;
  STextKey textKey(int node) const;
  SSortKey sortKey(int node) const;
  bool textLess(const STextKey& a, const STextKey& b) const;
  bool gatherTogether(int parent, std::vector<SSortKey>& keys) const;
  void gatherOneByOne(const std::vector<int>& children, std::vector<SSortKey>& keys) const;
  bool sortByNumber(int parent, std::vector<int>& children) const;
  bool sortByText(std::vector<int>& children) const;
  std::uint64_t ownKey(int node) const { return ownOrderKey(orderOf(node), at(node).rank); }
  bool isBeforeInOwnOrder(int a, int b) const;
  void recount();
  void readFigures(int column);

  std::vector<CHpfTreeTableDataPtr> m_rows;
  std::vector<SPlace> m_places;  ///< as m_rows
  std::vector<SFamily> m_families;
  std::vector<int> m_free;
  std::vector<int> m_freeFamilies;
  CKeyIndex m_index;
  int m_nSortColumn = -1;
  Qt::SortOrder m_eSortOrder = Qt::AscendingOrder;
  ESortBy m_eSortBy = ESortBy::Number;
  int m_nSortStamp = 1;

  int m_nCountedBelowRoots = 0;
  std::vector<int> m_counted;     ///< nodes whose number() is summed, in their own order unless stale
  std::vector<double> m_figures;  ///< of the counted nodes, in the column that was summed last
  std::vector<int> m_touched;     ///< nodes whose figure is to be read anew
  int m_nSumColumn = -1;          ///< -1: all figures are to be read anew
  bool m_bCountedStale = false;
};

}  // namespace GV
