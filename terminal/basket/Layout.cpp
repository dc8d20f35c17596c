#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>

#include "BasketReader.h"
#include "SheetFacts.h"
#include "Text.h"
#include "Titles.h"
#include "ValueRoles.h"

namespace basket {
namespace {

constexpr std::size_t HEADER_WITHIN = 60;  // rows

bool isSized(ERole role) { return role == ERole::Quantity || role == ERole::Amount || role == ERole::Weight; }

bool hasValues(const SSheetRow& row) {
  return std::any_of(row.m_cells.begin(), row.m_cells.end(), [](const std::string& cell) {
    return !cell.empty() && (numberIn(cell) || isDate(cell) || (codeIn(cell) && codeIn(cell)->m_strCode.size() == 6));
  });
}

int findHeader(const SSheet& sheet) {
  int best = -1;
  int most = 0;
  for (std::size_t i = 0; i < std::min(sheet.m_rows.size(), HEADER_WITHIN); ++i) {
    const SSheetRow& row = sheet.m_rows[i];
    const int titles = hasValues(row) ? 0 : knownTitles(row.m_cells);
    const bool single = titles == 1 && filledCells(row) == 1 && row.m_cells.front().size() <= 12;
    if (titles <= most || (titles < 2 && !single)) continue;
    // A heading above a table of one column is no title.
    if (single && headingSide(row.m_cells.front())) continue;
    most = titles;
    best = static_cast<int>(i);
  }
  return best;
}

/// The rows of titles: one, or two where merged cells stand above others.
struct STitleRows {
  int m_nParent = -1;
  int m_nBottom = -1;
};

bool isTitleRow(const SSheet& sheet, int index) {
  if (index < 0 || index >= static_cast<int>(sheet.m_rows.size())) return false;
  const SSheetRow& row = sheet.m_rows[static_cast<std::size_t>(index)];
  return !hasValues(row) && filledCells(row) >= 2;
}

STitleRows titleRows(const SSheet& sheet) {
  const int best = findHeader(sheet);
  if (best < 0) return {};
  const auto& cells = sheet.m_rows[static_cast<std::size_t>(best)].m_cells;
  if (isTitleRow(sheet, best + 1)) {
    const SSheetRow& below = sheet.m_rows[static_cast<std::size_t>(best) + 1];
    if (knownTitles(below.m_cells) > 0 && below.m_cells != cells) return {best, best + 1};
  }
  return {isTitleRow(sheet, best - 1) ? best - 1 : -1, best};
}

std::vector<STitle> readTitles(const SSheet& sheet, const STitleRows& rows, std::size_t width) {
  const SSheetRow none;
  const SSheetRow& bottom = sheet.m_rows[static_cast<std::size_t>(rows.m_nBottom)];
  const SSheetRow& parents = rows.m_nParent < 0 ? none : sheet.m_rows[static_cast<std::size_t>(rows.m_nParent)];
  std::vector<STitle> titles;
  std::string above;
  for (std::size_t i = 0; i < width; ++i) {
    if (!cellOf(parents, i).empty()) above = cellOf(parents, i);
    const std::string& own = cellOf(bottom, i);
    if (own.empty()) {
      titles.push_back(titleOf(cellOf(parents, i)));
      continue;
    }
    STitle title = titleOf(own == above ? own : above + own);
    // What stands above says of a quantity which it is, and nothing of what a code or a name is.
    const STitle alone = titleOf(own);
    if (alone.m_nRank > 0 && !isSized(alone.m_column.m_role) && alone.m_column.m_role != ERole::Price) title = alone;
    if (title.m_nRank > 0 && title.m_column.m_unit == EUnit::One) title.m_column.m_unit = alone.m_column.m_unit;
    titles.push_back(std::move(title));
  }
  return titles;
}

bool isColumnEmpty(const SSheet& sheet, int header, std::size_t column) {
  for (auto i = static_cast<std::size_t>(header) + 1; i < sheet.m_rows.size(); ++i) {
    if (!cellOf(sheet.m_rows[i], column).empty()) return false;
  }
  return true;
}

/// Leaves each role to the best of its columns; of quantities, to one for each side where titles say sides.
void settle(std::vector<STitle>& titles) {
  const bool sides = std::any_of(titles.begin(), titles.end(), [](const STitle& each) {
    return each.m_nRank > 0 && each.m_column.m_role == ERole::Side;
  });
  std::map<std::pair<ERole, int>, STitle*> best;
  const auto slot = [](const SColumn& column) { return column.m_bBuy ? (*column.m_bBuy ? 1 : 2) : 0; };
  for (STitle& title : titles) {
    if (title.m_nRank == 0) continue;
    STitle*& held = best[{title.m_column.m_role, slot(title.m_column)}];
    if (held == nullptr || held->m_nRank < title.m_nRank) held = &title;
  }
  for (STitle& title : titles) {
    SColumn& column = title.m_column;
    const ERole role = column.m_role;
    if (title.m_nRank == 0) continue;
    const bool plain = best.contains({role, 0});
    const bool pair = best.contains({role, 1}) && best.contains({role, 2});
    const bool losing = isSized(role) && plain && (slot(column) == 0 ? pair && !sides : sides || !pair);
    if (losing || best[{role, slot(column)}] != &title) column.m_role = ERole::None;
  }
  for (STitle& title : titles) {
    if (!isSized(title.m_column.m_role)) title.m_column.m_bBuy.reset(), title.m_column.m_unit = EUnit::One;
  }
}

/// A column that says for each line what its quantity counts. Where lines differ, no unit of the column is right, so
/// the quantity is not read.
void applyUnitColumn(const SSheet& sheet, SLayout& layout) {
  for (std::size_t i = 0; i < layout.m_columns.size(); ++i) {
    const std::string title = folded(layout.m_columns[i].m_strTitle);
    if (title != "单位" && title != "数量单位" && title != "unit") continue;
    layout.m_columns[i].m_role = ERole::None;
    std::map<std::string, int> units;
    for (auto row = static_cast<std::size_t>(layout.m_nHeader) + 1; row < sheet.m_rows.size(); ++row) {
      if (!cellOf(sheet.m_rows[row], i).empty()) ++units[folded(cellOf(sheet.m_rows[row], i))];
    }
    for (SColumn& column : layout.m_columns) {
      if (column.m_role != ERole::Quantity || units.empty()) continue;
      if (units.size() > 1) column.m_role = ERole::None;
      column.m_unit = unitOfTitle("数量(" + units.begin()->first + ")");
    }
  }
}

}  // namespace

std::string SLayout::key() const {
  if (m_nHeader < 0) return "#" + std::to_string(m_columns.size());
  std::string key;
  for (const SColumn& column : m_columns) key += (key.empty() ? "" : "\t") + column.m_strTitle;
  return key;
}

SLayout guessLayout(const SSheet& sheet, const CSecurities& securities) {
  SLayout layout;
  if (sheet.m_bProse) return layout;
  std::size_t width = 0;
  for (const SSheetRow& row : sheet.m_rows) width = std::max(width, row.m_cells.size());
  const STitleRows rows = titleRows(sheet);
  layout.m_nHeader = rows.m_nBottom;
  if (layout.m_nHeader < 0) {
    layout.m_columns = rolesOfValues(sheet, width, securities);
    return layout;
  }
  std::vector<STitle> titles = readTitles(sheet, rows, width);
  for (std::size_t i = 0; i < width; ++i) {
    if (titles[i].m_nRank > 0 && isColumnEmpty(sheet, layout.m_nHeader, i))
      titles[i].m_nRank = 0, titles[i].m_column.m_role = ERole::None;
  }
  settle(titles);
  for (STitle& title : titles) layout.m_columns.push_back(std::move(title.m_column));
  applyUnitColumn(sheet, layout);
  return layout;
}

}  // namespace basket
