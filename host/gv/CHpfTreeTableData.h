/// One row of the tree table.
#pragma once

#include <boost/shared_ptr.hpp>
#include <limits>

#include "gv/IBaseHpfTableData.h"
#include "gv/ITreeBlock.h"

namespace GV {

/// GUI thread only.
class CHpfTreeTableData : public IBaseHpfTableData {
 public:
  CHpfTreeTableData() = default;
  CHpfTreeTableData(const CHpfTreeTableData&) = delete;
  CHpfTreeTableData& operator=(const CHpfTreeTableData&) = delete;

  /// What the tree column shows.
  virtual QString displayName() const { return {}; }
  /// Short name under the parent; a script addresses a row by these, joined with "/".
  virtual QString scriptName() const { return displayName(); }
  /// The key under which the row's owner knows what it shows.
  virtual QString nodeKey() const { return key(); }
  /// Place among the roots while no column is sorted; roots of equal order keep their arrival.
  virtual int sortOrder() const { return std::numeric_limits<int>::max(); }

  /// Null for a root and for a row that is in no table.
  CHpfTreeTableDataPtr parent() const {
    const int row = m_pBlock == nullptr ? -1 : m_pBlock->state().parentOf(m_nRow);
    return row < 0 ? CHpfTreeTableDataPtr() : m_pBlock->record(row);
  }
  bool isInTable() const { return m_pBlock != nullptr; }
  /// The block that the row is one of, and its number there; null, and of no meaning, for a row that is in no table.
  ITreeBlock* block() const { return m_pBlock; }
  int row() const { return m_nRow; }

 protected:
  /// For blocks that make their records themselves.
  void bind(ITreeBlock* block, int row) {
    m_pBlock = block;
    m_nRow = row;
  }

 private:
  friend class CRowBlock;
  friend class CHpfTreeTableModel;
  ITreeBlock* m_pBlock = nullptr;
  int m_nRow = -1;
  unsigned m_nKept = 0;  ///< when the model was asked for it; 0 for never
};

}  // namespace GV
