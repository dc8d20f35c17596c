/// What a table shows, to be compared with another one.
#pragma once

#include <QString>
#include <string>
#include <utility>
#include <vector>

#include "CHpfBasketStatusTable.h"

namespace test {

/// What a row shows. Who was there knows the start that was written first, the buttons, and remarks.
struct SShownRow {
  std::string text;
  std::string status;

  bool operator==(const SShownRow& other) const;
  bool isPlain() const;
};
/// The rows of each task behind its root's key, in the order of the table.
using Shown = std::vector<std::pair<QString, std::vector<SShownRow>>>;

/// Where the account and the operation of a hedge stand among others hangs on when it came, so that is not told.
Shown shownBy(const TC::CHpfBasketStatusTable& table, bool hedges = false);
/// The rows that are not hidden or folded away, and last the sum in the line of statistics.
std::vector<SShownRow> onScreen(const TC::CHpfBasketStatusTable& table, bool hedges = false);
/// The tasks that another table does not show so.
std::string textOf(const Shown& shown, const Shown& other);

}  // namespace test
