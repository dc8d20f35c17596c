/// How the rows of a block stand, and which a filter takes away: worked out from what they hold at one moment. Any
/// thread.
#pragma once

#include <QString>
#include <Qt>
#include <boost/dynamic_bitset.hpp>
#include <vector>

#include "gv/ITreeBlock.h"

namespace GV {

/// A yes or no for each row of a block.
using RowFlags = boost::dynamic_bitset<>;

/// What a sort compares.
enum class ESortBy {
  Own,     ///< nothing: sortOrder() at the top, below it the rows' own order
  Number,  ///< sortNumber()
  Text,    ///< sortText()
  Name     ///< sortOrder() at the top, below it name()
};

struct STreeSort {
  int column = -1;
  Qt::SortOrder order = Qt::AscendingOrder;
  ESortBy by = ESortBy::Own;
};

/// The rows of a block as the table orders them, what is below a row behind it, hidden ones included; empty when that
/// is their own order.
std::vector<int> orderOf(const ITreeState& state, const STreeSort& sort);

/// A row at the top of some block.
struct STopRow {
  const ITreeState* state;
  int row;
  int rank;  ///< decides between equal ones; each its own, not negative
};
/// The places of the rows in the order of the table.
std::vector<int> orderOf(const std::vector<STopRow>& tops, const STreeSort& sort);

struct SColumnFilter {
  int column;  ///< that of the tree where nameColumn says so
  QString text;
};
struct STreeFilter {
  std::vector<SColumnFilter> columns;  ///< all of them must hold; empty for no filter
  int nameColumn = -1;                 ///< the column that shows name()

  bool isEmpty() const { return columns.empty(); }
};

/// The rows to take out of sight: those in whose columns the texts do not occur, in letters of either case, unless a
/// row above or below is one in whose columns they do.
RowFlags filteredRows(const ITreeState& state, const STreeFilter& filter);

}  // namespace GV
