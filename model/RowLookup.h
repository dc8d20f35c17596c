/// Which row something falls on. With the task's mutex held.
#pragma once

#include <QMap>
#include <QString>
#include <string>

namespace TC {

class CBasketTaskItem;

/// The rows of one account by row key.
using AccountRows = QMap<QString, CBasketTaskItem*>;

struct SFoundRow {
  CBasketTaskItem* row = nullptr;  ///< null when there is none
  bool best = false;               ///< no row that comes later takes its place
};

/// The row on which an order, or a line of a patch, counts: that of the Hong Kong instrument where the market is a
/// connect market, else that of the market itself, else the first row of the same instrument through another market.
SFoundRow findRow(const AccountRows& rows, const std::string& market, const std::string& code, int operation);

}  // namespace TC
