/// The sums up a task's tree.
#pragma once

namespace TC {

class CBasketTaskItem;
class CNotices;

/// Sums the figures up the tree below n, n included, and notes the order counts of each inner node.
void sumFigures(CBasketTaskItem& n, CNotices& notices);

}  // namespace TC
