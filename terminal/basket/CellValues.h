/// What the text of a cell or of a word in prose says. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "BasketReader.h"

namespace basket {

/// A side, and the operation where the text names one.
struct SSideValue {
  std::optional<bool> m_bBuy;
  int m_nOperation = -1;
};

/// Nothing for a text that is no side: 买/卖 and longer forms, B/S, buy/sell, +/-, the numbers of operations.
std::optional<SSideValue> sideOf(std::string_view text);

struct SNumber {
  double m_dValue = 0;                  ///< without sign, as it is written but for 万 and 亿; 手 stay 手
  int m_nSign = 0;                      ///< -1, 1, or 0: none written
  EMeasure m_measure = EMeasure::None;  ///< what a unit behind it says
  EUnit m_unit = EUnit::One;            ///< Lots, Percent, or TenThousand where 万 or 亿 is worked in already
  bool m_bUnit = false;                 ///< a unit stands behind it
  int m_nDigits = 0;                    ///< significant digits as written
  bool m_bExponent = false;
};

/// Thousands separators, signs, brackets for below zero, currency, exponent, a unit; nothing for any other text.
std::optional<SNumber> numberIn(std::string_view text);

/// A code as written: its market, where the text names one, and the code itself without it.
struct SCodeText {
  std::string m_strMarket;  ///< "SH", "SZ", "BJ", "CFFEX"; empty: not written
  std::string m_strCode;    ///< up to six digits, or an index future's in capitals
  bool m_bRounded = false;  ///< of a number with an exponent, which may have lost its last digits
};

std::optional<SCodeText> codeIn(std::string_view text);
/// "SH", "SSE", "沪", "上交所"...; empty for none.
std::string_view marketIn(std::string_view text);
/// Looks like a day, "2026-11-23" or "2026/11/23".
bool isDate(std::string_view text);

}  // namespace basket
