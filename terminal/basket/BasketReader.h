/// Baskets as people send them: from a file or the clipboard to lines, in three steps. What could not be read is told,
/// never dropped. Any thread; nothing is thrown for bad input.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Securities.h"

namespace basket {

struct SSheetRow {
  int m_nLine = 0;                   ///< of the file, row of the sheet, from 1
  std::vector<std::string> m_cells;  ///< UTF-8, without blanks around
  std::string m_strFault;            ///< the row could not be decoded; Chinese
};

/// One table of a source.
struct SSheet {
  std::string m_strName;  ///< of a workbook's sheet; else empty
  std::vector<SSheetRow> m_rows;
  bool m_bProse = false;  ///< no table: each row is one cell, a sentence
  bool m_bText = false;   ///< split at separators: a row with too many cells has one that was torn, as 1,000 is
};

struct SSource {
  std::vector<SSheet> m_sheets;  ///< those that are not empty
  std::string m_strFault;        ///< why nothing was read; Chinese, UTF-8
};

/// CSV, TSV, TXT, XLSX, ODS; UTF-8 with or without mark, UTF-16, GB18030. Refused at once: more than 50 MB, 200,000
/// lines, a sheet that unpacks to more than 500 MB.
SSource readSourceFile(const std::string& path);
/// The bytes of a text, as from the clipboard.
SSource readSourceText(std::string_view bytes);

/// What a column says of a line.
enum class ERole { None, Market, Code, Name, Side, Quantity, Amount, Weight, Price };
/// In what a column's numbers, or one number, are given.
enum class EUnit { One, Lots, TenThousand, Percent };

struct SColumn {
  std::string m_strTitle;  ///< empty without a header
  ERole m_role = ERole::None;
  EUnit m_unit = EUnit::One;
  std::optional<bool> m_bBuy{};  ///< of a quantity, amount or weight: the side that it alone is of, as "买入数量"

  bool operator==(const SColumn&) const = default;
};

/// How a sheet is read.
struct SLayout {
  int m_nHeader = -1;              ///< index of the (last) row of titles; -1: none
  std::vector<SColumn> m_columns;  ///< as many as the widest row has cells; none of prose

  /// Under which a user's choice of roles is remembered: the titles, or how many columns there are without any.
  std::string key() const;
};

/// By the titles, Chinese or English, in any order; without a header by the values.
SLayout guessLayout(const SSheet& sheet, const CSecurities& securities);

/// What a quantity counts.
enum class EMeasure { None, Shares, Amount, Weight };

/// One line, as far as it could be read.
struct SReadLine {
  int m_nLine = 0;        ///< of the source, from 1
  std::string m_strText;  ///< as it stands there, cells separated by TABs
  std::string m_strMarket;
  std::string m_strCode;       ///< as listed where it is; else as it is written
  std::string m_strName;       ///< as it is written; may be empty
  std::optional<bool> m_bBuy;  ///< none: the line does not say
  int m_nOperation = -1;       ///< the host's number, as a panel's lines and "买入开仓" have it; -1: none
  EMeasure m_measure = EMeasure::None;
  double m_dQuantity = 0;          ///< shares (lots of a future), CNY, or a weight as it is written; above 0
  std::optional<double> m_dPrice;  ///< CNY or index points, above 0
  bool m_bPriceUnread = false;     ///< there is a limit, but which one could not be read
  std::string m_strFault;          ///< what could not be read; Chinese; empty: nothing
};

/// A row that is no line of the basket, and why.
struct SLeftOut {
  int m_nLine = 0;
  std::string m_strText;
  std::string m_strReason;  ///< Chinese: above the header, a total, a remark
};

struct SReadBasket {
  std::vector<SReadLine> m_lines;  ///< in the order of the source
  std::vector<SLeftOut> m_leftOut;
};

/// Each row that is not blank, but for the titles, becomes a line or is left out.
SReadBasket readLines(const SSheet& sheet, const SLayout& layout, const CSecurities& securities);

}  // namespace basket
