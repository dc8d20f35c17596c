#pragma once

#include <vector>

#include "CHpfBasketStatusData.h"
#include "gv/SColumn.h"

namespace TC {

/// Indices of the table's columns.
enum EBasketColumn : int {
  EBC_Tree = 0,
  EBC_Name,
  EBC_TradeParam,
  EBC_InvestRemark,
  EBC_Account,
  EBC_AccountName,
  EBC_TradeType,
  EBC_Amount,
  EBC_Progress,
  EBC_Orders,
  EBC_StartTime,
  EBC_EndTime,
  EBC_Options,
  EBC_Status,
  EBC_BasketSource,
  EBC_Unfilled,
  EBC_AlgoTag,
  EBC_Count
};

/// Forms the text of a cell; null for a column whose text is formed elsewhere (tree, orders, operations).
using CellText = QString (*)(const CHpfBasketStatusData& row, EProcessDisplay mode);

/// The raw figure by which a column sorts; null for a column that sorts by its text.
using SortFigure = double (*)(const CHpfBasketStatusData& row);

/// All that there is to say of a column. Everything that shows, sorts, exports or dumps a column reads it here.
struct SBasketColumn {
  GV::SColumn column;
  CellText text = nullptr;
  SortFigure sortFigure = nullptr;
};

/// The table's columns by index, EBC_Count of them.
const std::vector<SBasketColumn>& basketColumns();

}  // namespace TC
