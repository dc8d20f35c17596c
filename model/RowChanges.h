#pragma once

#include <utility>
#include <vector>

#include "CBasketTaskItem.h"

namespace TC {

/// Rows that changed, each once. all: any may have, and none is named.
struct SChangedRows {
  bool all = true;
  std::vector<CBasketTaskItem*> rows;
};

/// The rows of a task of which something that is summed or shown has changed: since the last sum, and since the table
/// took them last. What is not known for sure makes it all of them.
class CRowChanges {
 public:
  void note(CBasketTaskItem& row) {
    m_sums.note(row);
    m_table.note(row);
  }
  /// Of a node that is summed in any case.
  void noteShown(CBasketTaskItem& node) { m_table.note(node); }
  /// Rows have come, or stand elsewhere, or somebody else has written into them.
  void noteAll() {
    m_sums.start({});
    m_table.start({});
  }
  /// Those since the last call of each.
  SChangedRows takeForSums() { return m_sums.start({false, {}}); }
  SChangedRows takeForTable() { return m_table.start({false, {}}); }

 private:
  struct SList {
    unsigned char mark = 0;  ///< of the rows that are in it
    SChangedRows changed;

    void note(CBasketTaskItem& row) {
      if (changed.all || (row.m_nNoted & mark) != 0) return;
      row.m_nNoted = static_cast<unsigned char>(row.m_nNoted | mark);
      changed.rows.push_back(&row);
    }
    SChangedRows start(SChangedRows next) {
      for (CBasketTaskItem* row : changed.rows) row->m_nNoted = static_cast<unsigned char>(row->m_nNoted & ~mark);
      return std::exchange(changed, std::move(next));
    }
  };

  SList m_sums{1, {}};
  SList m_table{2, {}};
};

}  // namespace TC
