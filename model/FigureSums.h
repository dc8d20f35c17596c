/// The sums up a task's tree.
#pragma once

#include <unordered_map>
#include <vector>

#include "RowChanges.h"

namespace TC {

class CNotices;

/// Sums the figures up the tree. The rows of a node are summed in groups that are kept, by their places, so that a sum
/// costs what has changed and yet the same rows always give the same figures to the last bit.
class CFigureSums {
 public:
  CFigureSums();
  ~CFigureSums();
  CFigureSums(const CFigureSums&) = delete;
  CFigureSums& operator=(const CFigureSums&) = delete;

  /// Sums below a node, itself included, and notes the order counts of each inner node. changed: the rows with other
  /// figures than in the last sum, which was of the same tree; where all may have them, the tree may be another.
  void sum(CBasketTaskItem& node, const SChangedRows& changed, CNotices& notices);

 private:
  struct SSum;

  void touch(const CBasketTaskItem& row);
  void sumNode(CBasketTaskItem& node, CNotices& notices);
  SSum sumGroups(const CBasketTaskItem& node, std::vector<SSum>& groups) const;

  /// The groups of each node whose children are rows.
  std::unordered_map<const CBasketTaskItem*, std::vector<SSum>> m_groups;
};

}  // namespace TC
