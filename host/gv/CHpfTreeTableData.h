/// One row of the tree table.
#pragma once

#include <boost/shared_ptr.hpp>
#include <limits>
#include <utility>
#include <vector>

#include "gv/IBaseHpfTableData.h"

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
  /// A child's node, as CHpfTreeTableModel::nodeOf names it, and its sortNumber.
  using ChildFigure = std::pair<int, double>;
  /// Appends the figures by which all rows right below sort, in any order; false for a row that does not know them
  /// together, whose children are asked one by one then. It spares a refresh of a sorted table the fetching of
  /// scattered records.
  virtual bool childFigures(int /*column*/, std::vector<ChildFigure>& /*out*/) const { return false; }

  /// Null for a root and for a row that is in no table.
  const CHpfTreeTableData* parent() const { return m_pParent; }
  bool isInTable() const { return m_nNode > 0; }

 private:
  friend class CTreeRows;
  const CHpfTreeTableData* m_pParent = nullptr;
  int m_nNode = -1;  ///< the row's place in CTreeRows
};

using CHpfTreeTableDataPtr = boost::shared_ptr<CHpfTreeTableData>;

}  // namespace GV
