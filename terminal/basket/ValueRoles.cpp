#include "ValueRoles.h"

#include <algorithm>
#include <cmath>

#include "SheetFacts.h"
#include "Text.h"

namespace basket {
namespace {

constexpr std::size_t SAMPLE = 500;  // rows
constexpr std::size_t PANEL_FIELDS = 7;

/// What is counted of a column's cells.
struct SColumnValues {
  int m_nFilled = 0;
  int m_nCodes = 0;       ///< six digits, or a future's
  int m_nShortCodes = 0;  ///< fewer digits that one security has
  int m_nSides = 0;
  int m_nNames = 0;
  int m_nMarkets = 0;
  int m_nNumbers = 0;
  int m_nWhole = 0;
  int m_nHundreds = 0;
  int m_nPercents = 0;
  int m_nShareUnits = 0;
  int m_nAmountUnits = 0;
  int m_nCounting = 0;  ///< one more than the row before
  int m_nWords = 0;     ///< Chinese or other words
  double m_dSum = 0;
  double m_dLast = 0;

  bool mostly(int count) const { return count > 0 && count * 10 >= m_nFilled * 7; }
};

void countNumber(const std::string& cell, SColumnValues& values) {
  const auto number = numberIn(cell);
  if (!number) {
    values.m_nWords += std::any_of(cell.begin(), cell.end(), isWide) ? 1 : 0;
    return;
  }
  ++values.m_nNumbers;
  values.m_nWhole += number->m_dValue == std::floor(number->m_dValue) ? 1 : 0;
  values.m_nHundreds += number->m_dValue > 0 && std::fmod(number->m_dValue, 100) == 0 ? 1 : 0;
  values.m_nPercents += number->m_measure == EMeasure::Weight ? 1 : 0;
  values.m_nShareUnits += number->m_measure == EMeasure::Shares ? 1 : 0;
  values.m_nAmountUnits += number->m_measure == EMeasure::Amount ? 1 : 0;
  values.m_nCounting += number->m_dValue == values.m_dLast + 1 ? 1 : 0;
  values.m_dLast = number->m_dValue;
  values.m_dSum += number->m_dValue;
}

void count(const std::string& cell, const CSecurities& securities, SColumnValues& values) {
  if (cell.empty()) return;
  ++values.m_nFilled;
  const auto code = isDate(cell) ? std::nullopt : codeIn(cell);
  if (code) {
    const SMeant meant = meantBy(*code, {}, securities);
    const bool whole = code->m_strCode.size() == 6;
    values.m_nCodes += whole && (meant.m_nIndex >= 0 || securities.size() == 0 || !code->m_strMarket.empty()) ? 1 : 0;
    values.m_nShortCodes += !whole && meant.m_nIndex >= 0 ? 1 : 0;
  }
  values.m_nSides += sideOf(cell) ? 1 : 0;
  values.m_nMarkets += marketIn(cell).empty() ? 0 : 1;
  values.m_nNames += securities.withName(cell).empty() ? 0 : 1;
  countNumber(cell, values);
}

/// The lines that a panel hands over: key, name, quantity, "0", side, operation, type.
bool isPanelRow(const SSheetRow& row) {
  if (row.m_cells.size() != PANEL_FIELDS) return false;
  const std::string& key = row.m_cells[0];
  const std::size_t joint = key.find('.');
  if (joint == std::string::npos || marketIn(key.substr(0, joint)).empty()) return false;
  const auto whole = [&row](std::size_t index) {
    const auto number = numberIn(row.m_cells[index]);
    return number && !number->m_bUnit;
  };
  return row.m_cells[3] == "0" && whole(2) && whole(5);
}

class CGuess {
 public:
  CGuess(const SSheet& sheet, std::size_t width, const CSecurities& securities) : m_columns(width), m_values(width) {
    for (std::size_t row = 0; row < std::min(sheet.m_rows.size(), SAMPLE); ++row) {
      for (std::size_t i = 0; i < width; ++i) count(cellOf(sheet.m_rows[row], i), securities, m_values[i]);
    }
  }

  std::vector<SColumn> take() {
    if (!give(ERole::Code, [](const SColumnValues& each) { return each.m_nCodes; })) {
      give(ERole::Code, [](const SColumnValues& each) { return isCounting(each) ? 0 : each.m_nShortCodes; });
    }
    give(ERole::Name, [](const SColumnValues& each) { return each.m_nNames; });
    give(ERole::Side,
         [](const SColumnValues& each) { return each.mostly(each.m_nSides) && !each.m_nNumbers ? each.m_nSides : 0; });
    give(ERole::Market, [](const SColumnValues& each) { return each.mostly(each.m_nMarkets) ? each.m_nMarkets : 0; });
    give(ERole::Name, [](const SColumnValues& each) { return each.mostly(each.m_nWords) ? each.m_nWords : 0; });
    giveSizes();
    return std::move(m_columns);
  }

 private:
  static bool isCounting(const SColumnValues& values) {
    return values.m_nFilled > 2 && values.m_nCounting + 1 >= values.m_nFilled && values.m_dLast <= values.m_nFilled + 1;
  }
  bool isGiven(ERole role) const {
    return std::any_of(m_columns.begin(), m_columns.end(), [role](const SColumn& each) { return each.m_role == role; });
  }

  template <class TCount>
  bool give(ERole role, TCount count) {
    if (isGiven(role)) return true;
    int most = 0;
    SColumn* best = nullptr;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
      const int here = m_columns[i].m_role == ERole::None ? count(m_values[i]) : 0;
      if (here <= most) continue;
      most = here;
      best = &m_columns[i];
    }
    if (best != nullptr) best->m_role = role;
    return best != nullptr;
  }

  void giveSizes() {
    give(ERole::Quantity, [](const SColumnValues& each) { return each.m_nShareUnits; });
    give(ERole::Amount, [](const SColumnValues& each) { return each.m_nAmountUnits; });
    give(ERole::Weight, [](const SColumnValues& each) { return each.m_nPercents; });
    for (SColumn& column : m_columns) {
      if (column.m_role == ERole::Weight) column.m_unit = EUnit::Percent;
    }
    give(ERole::Quantity, [](const SColumnValues& each) {
      return !isCounting(each) && each.mostly(each.m_nHundreds) && each.mostly(each.m_nWhole) ? each.m_nHundreds : 0;
    });
    give(ERole::Quantity, [](const SColumnValues& each) {
      return !isCounting(each) && each.mostly(each.m_nWhole) && each.m_dSum > 0 ? each.m_nWhole : 0;
    });
    const bool sized = isGiven(ERole::Quantity) || isGiven(ERole::Amount);
    give(ERole::Weight, [](const SColumnValues& each) {
      const bool whole = std::fabs(each.m_dSum - 100) < 1 || std::fabs(each.m_dSum - 1) < 0.01;
      return whole && each.m_nNumbers > 1 && each.mostly(each.m_nNumbers) ? each.m_nNumbers : 0;
    });
    if (!sized) return;
    give(ERole::Price, [](const SColumnValues& each) {
      return each.mostly(each.m_nNumbers) && each.m_nWhole < each.m_nNumbers ? each.m_nNumbers : 0;
    });
  }

  std::vector<SColumn> m_columns;
  std::vector<SColumnValues> m_values;
};

}  // namespace

std::vector<SColumn> rolesOfValues(const SSheet& sheet, std::size_t width, const CSecurities& securities) {
  const auto panelRows = std::count_if(sheet.m_rows.begin(), sheet.m_rows.end(), isPanelRow);
  if (width == PANEL_FIELDS && panelRows * 2 > std::ssize(sheet.m_rows)) {
    std::vector<SColumn> columns(PANEL_FIELDS);
    columns[0].m_role = ERole::Code;
    columns[1].m_role = ERole::Name;
    columns[2].m_role = ERole::Quantity;
    columns[5].m_role = ERole::Side;  // the operation, of which the side before it is a part
    return columns;
  }
  return CGuess(sheet, width, securities).take();
}

}  // namespace basket
