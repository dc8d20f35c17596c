/// What guessing a layout and reading lines share. Any thread.
#pragma once

#include <cstddef>
#include <string>

#include "BasketReader.h"
#include "CellValues.h"

namespace basket {

/// A cell of a row; empty beyond its end.
inline const std::string& cellOf(const SSheetRow& row, std::size_t column) {
  static const std::string none;
  return column < row.m_cells.size() ? row.m_cells[column] : none;
}
std::size_t filledCells(const SSheetRow& row);
/// "合计", "Total" and the like stand in it where a code would.
bool isTotal(const SSheetRow& row);
/// Begins as a remark does: "注", "数据来源".
bool isRemark(std::string_view text);
/// The side that a heading says of the lines below it, as "买入:"; nothing for any other text.
std::optional<SSideValue> headingSide(std::string_view text);

/// The security that code, market and name mean; -1 for none, with the reason.
struct SMeant {
  int m_nIndex = -1;
  std::string m_strFault;  ///< Chinese; empty: nothing but that it may not be listed
};
SMeant meantBy(const SCodeText& code, std::string_view name, const CSecurities& securities);

}  // namespace basket
