#include <algorithm>
#include <array>
#include <utility>

#include "BasketReader.h"
#include "LineParts.h"
#include "Prose.h"
#include "SheetFacts.h"
#include "Text.h"
#include "Titles.h"

namespace basket {
namespace {

bool isVoid(const std::string& cell) {
  constexpr std::array<std::string_view, 8> voids{"", "-", "--", "—", "——", "/", "n/a", "无"};
  return std::find(voids.begin(), voids.end(), folded(cell)) != voids.end();
}

bool isMarketOrder(const std::string& cell) {
  constexpr std::array<std::string_view, 6> words{"市价", "市价委托", "market", "mkt", "随市价", "不限价"};
  return std::find(words.begin(), words.end(), folded(cell)) != words.end();
}

EMeasure measureOf(ERole role) {
  switch (role) {
    case ERole::Quantity:
      return EMeasure::Shares;
    case ERole::Amount:
      return EMeasure::Amount;
    case ERole::Weight:
      return EMeasure::Weight;
    default:
      return EMeasure::None;
  }
}

class CSheetReader {
 public:
  CSheetReader(const SSheet& sheet, const SLayout& layout, const CSecurities& securities)
      : m_sheet(sheet), m_layout(layout), m_securities(securities) {
    for (std::size_t i = 0; i < layout.m_columns.size(); ++i) {
      const ERole role = layout.m_columns[i].m_role;
      int& known = m_columns[static_cast<std::size_t>(role)];
      if (known < 0) known = static_cast<int>(i);
    }
    // A quantity goes before an amount, and that before a weight: what is worked out from the others is left alone.
    for (const ERole role : {ERole::Quantity, ERole::Amount, ERole::Weight}) {
      if (m_sizes.empty()) addSizes(role);
    }
    m_bBySign = columnOf(ERole::Side) < 0 && hasNegatives();
    m_nWidth = usualWidth();
  }

  SReadBasket read() {
    for (std::size_t i = 0; i < m_sheet.m_rows.size(); ++i) {
      const int index = static_cast<int>(i);
      if (index == m_layout.m_nHeader) continue;
      const SSheetRow& row = m_sheet.m_rows[i];
      const std::string reason = index < m_layout.m_nHeader ? reasonAboveTitles(row) : reasonToLeaveOut(row);
      if (!reason.empty()) {
        m_basket.m_leftOut.push_back({row.m_nLine, textOf(row), reason});
      } else {
        readRow(row);
      }
    }
    return std::move(m_basket);
  }

 private:
  int columnOf(ERole role) const { return m_columns[static_cast<std::size_t>(role)]; }
  const std::string& cell(const SSheetRow& row, ERole role) const {
    static const std::string none;
    const int column = columnOf(role);
    return column < 0 || role == ERole::None ? none : cellOf(row, static_cast<std::size_t>(column));
  }
  std::size_t firstData() const {
    return m_layout.m_nHeader < 0 ? 0 : static_cast<std::size_t>(m_layout.m_nHeader) + 1;
  }

  void addSizes(ERole role) {
    for (std::size_t i = 0; i < m_layout.m_columns.size(); ++i) {
      if (m_layout.m_columns[i].m_role == role) m_sizes.push_back(i);
    }
  }

  bool hasNegatives() const {
    for (std::size_t i = firstData(); i < m_sheet.m_rows.size(); ++i) {
      for (const std::size_t column : m_sizes) {
        const std::string& text = cellOf(m_sheet.m_rows[i], column);
        const auto number = text.empty() ? std::nullopt : numberIn(text);
        if (number && number->m_nSign < 0) return true;
      }
    }
    return false;
  }

  /// More cells than that are too many, of a text; 0: that cannot be told.
  std::size_t usualWidth() const {
    if (!m_sheet.m_bText) return 0;
    if (m_layout.m_nHeader >= 0) return m_sheet.m_rows[static_cast<std::size_t>(m_layout.m_nHeader)].m_cells.size();
    std::vector<std::size_t> widths;
    for (const SSheetRow& row : m_sheet.m_rows) widths.push_back(row.m_cells.size());
    if (widths.empty()) return 0;
    std::nth_element(widths.begin(), widths.begin() + static_cast<std::ptrdiff_t>(widths.size() / 2), widths.end());
    return widths[widths.size() / 2];
  }

  static std::string textOf(const SSheetRow& row) {
    std::string text;
    for (std::size_t i = 0; i < row.m_cells.size(); ++i) text += (i > 0 ? "\t" : "") + row.m_cells[i];
    return text;
  }

  bool hasCode(const SSheetRow& row) const {
    const std::string& code = cell(row, ERole::Code);
    return !code.empty() && !isDate(code) && codeIn(code).has_value();
  }

  bool isEmptyOfSizes(const SSheetRow& row) const {
    return std::all_of(m_sizes.begin(), m_sizes.end(),
                       [&row](std::size_t column) { return isVoid(cellOf(row, column)); });
  }

  /// What a merged cell says: it has its text once, or in every cell. Empty: the row says more.
  static std::string onlyText(const SSheetRow& row) {
    const auto first =
        std::find_if(row.m_cells.begin(), row.m_cells.end(), [](const auto& each) { return !each.empty(); });
    if (first == row.m_cells.end()) return {};
    const auto same = static_cast<std::size_t>(std::count(row.m_cells.begin(), row.m_cells.end(), *first));
    return filledCells(row) == same ? *first : std::string();
  }

  bool takeHeading(const std::string& text) {
    const auto side = text.empty() ? std::nullopt : headingSide(text);
    if (side) m_heading = side;
    return side.has_value();
  }

  std::string reasonAboveTitles(const SSheetRow& row) { return takeHeading(onlyText(row)) ? "小标题" : "标题行之上"; }

  std::string reasonToLeaveOut(const SSheetRow& row) {
    if (!row.m_strFault.empty()) return {};
    if (isTotal(row)) return "合计行";
    if (hasCode(row)) return {};
    const auto first =
        std::find_if(row.m_cells.begin(), row.m_cells.end(), [](const auto& each) { return !each.empty(); });
    if (first == row.m_cells.end()) return "空行";
    const bool alone = !onlyText(row).empty();
    if (alone && takeHeading(*first)) return "小标题";
    if (m_layout.m_nHeader >= 0 &&
        row.m_cells == m_sheet.m_rows[static_cast<std::size_t>(m_layout.m_nHeader)].m_cells) {
      return "重复的标题行";
    }
    if (isRemark(*first)) return "备注";
    const bool nameless = cell(row, ERole::Code).empty() && m_securities.withName(cell(row, ERole::Name)).empty();
    if (isEmptyOfSizes(row) && (nameless || alone) && m_securities.withName(*first).empty()) return "备注";
    return {};
  }

  void readRow(const SSheetRow& row) {
    SReadLine line;
    line.m_nLine = row.m_nLine;
    line.m_strText = textOf(row);
    if (!row.m_strFault.empty()) {
      addFault(line, row.m_strFault);
      m_basket.m_lines.push_back(std::move(line));
      return;
    }
    setSecurity(line, cell(row, ERole::Code), cell(row, ERole::Market), cell(row, ERole::Name), m_securities);
    readSide(row, line);
    readPrice(row, line);
    for (std::size_t i = m_nWidth; m_nWidth > 0 && i < row.m_cells.size(); ++i) {
      if (row.m_cells[i].empty()) continue;
      // Which of its cells belong together nobody knows, so none is taken for a quantity.
      addFault(line, "比标题多出内容，可能有一格被拆开");
      return m_basket.m_lines.push_back(std::move(line));
    }
    readSizes(row, std::move(line));
  }

  void readSide(const SSheetRow& row, SReadLine& line) {
    const std::string& text = cell(row, ERole::Side);
    if (isVoid(text) && m_heading && folded(text) != "-") return setSide(line, *m_heading);
    if (text.empty()) return;
    if (const auto side = sideOf(text)) return setSide(line, *side);
    addFault(line, "方向读不出：" + text);
  }

  void readPrice(const SSheetRow& row, SReadLine& line) const {
    const std::string& text = cell(row, ERole::Price);
    if (isVoid(text) || isMarketOrder(text)) return;
    const auto number = numberIn(text);
    line.m_bPriceUnread = !number || number->m_nSign < 0;
    if (line.m_bPriceUnread) return addFault(line, "价格读不出：" + text);
    if (number->m_dValue > 0) line.m_dPrice = number->m_dValue;
  }

  void readSizes(const SSheetRow& row, SReadLine line) {
    bool sized = false;
    for (const std::size_t index : m_sizes) {
      const std::string& text = cellOf(row, index);
      const SColumn& column = m_layout.m_columns[index];
      const bool sided = column.m_bBuy.has_value();
      if (isVoid(text) || (sized && !sided)) continue;
      const auto number = numberIn(text);
      // Of a pair of columns the one without a trade often has a 0.
      if (sided && number && number->m_dValue == 0) continue;
      SReadLine each = line;
      if (!number) {
        addFault(each, "数量读不出：" + text);
      } else {
        if (sided && each.m_bBuy && each.m_bBuy != column.m_bBuy) addFault(each, "方向与数量所在的列不一致");
        if (sided && !each.m_bBuy) each.m_bBuy = column.m_bBuy;
        setSize(each, *number, measureOf(column.m_role), column.m_unit, m_bBySign && !sided);
      }
      m_basket.m_lines.push_back(std::move(each));
      sized = true;
    }
    if (!sized) m_basket.m_lines.push_back(std::move(line));
  }

  const SSheet& m_sheet;
  const SLayout& m_layout;
  const CSecurities& m_securities;
  std::array<int, 9> m_columns{-1, -1, -1, -1, -1, -1, -1, -1, -1};  // by role
  std::vector<std::size_t> m_sizes;
  bool m_bBySign = false;
  std::size_t m_nWidth = 0;
  std::optional<SSideValue> m_heading;
  SReadBasket m_basket;
};

}  // namespace

SReadBasket readLines(const SSheet& sheet, const SLayout& layout, const CSecurities& securities) {
  if (sheet.m_bProse) return readProse(sheet, securities);
  SLayout fitting = layout;
  if (fitting.m_nHeader >= static_cast<int>(sheet.m_rows.size())) fitting.m_nHeader = -1;
  return CSheetReader(sheet, fitting, securities).read();
}

}  // namespace basket
