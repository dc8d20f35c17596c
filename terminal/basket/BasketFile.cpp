#include <algorithm>
#include <array>
#include <map>
#include <tuple>
#include <utility>

#include "BasketFiles.h"
#include "Fields.h"

namespace basket {
namespace {

constexpr long long MOST_SHARES = 1'000'000'000;  // of one line; sums of several still fit the panel's counters

enum EColumn { Market, Code, Side, Quantity, Name };

const std::vector<SColumnTitles>& columns() {
  static const std::vector<SColumnTitles> titles{MARKET_COLUMN,
                                                 CODE_COLUMN,
                                                 {{"side", "方向", "买卖方向", "direction"}},
                                                 {{"quantity", "数量", "委托数量", "volume"}},
                                                 {{"name", "名称", "证券名称"}, false}};
  return titles;
}

struct SSideText {
  std::string_view m_text;
  bool m_bBuy;
};

constexpr std::array<SSideText, 8> SIDES{{{"买入", true},
                                          {"卖出", false},
                                          {"买", true},
                                          {"卖", false},
                                          {"buy", true},
                                          {"sell", false},
                                          {"b", true},
                                          {"s", false}}};

/// A basket for another list of instruments may hold nothing else: the first lines show what is meant.
constexpr int UNLISTED_NAMED = 5;

class CBasketRows {
 public:
  CBasketRows(const ListedTest& isListed, CFaults& faults) : m_isListed(isListed), m_faults(faults) {}

  void read(const STextRow& row) {
    SBasketLine line;
    line.m_nLine = row.m_nLine;
    line.m_strCode = row.m_fields[Code];
    line.m_strName = row.m_fields[Name];
    const bool known = readInstrument(row, line);
    const bool sided = readSide(row, line);
    readQuantity(row, line);
    if (known && sided) checkRepeated(line);
    m_lines.push_back(std::move(line));
  }

  std::vector<SBasketLine> take() { return std::move(m_lines); }

  /// The lines of instruments that are not listed; to be called when all are read.
  int endUnlisted() {
    const int more = m_nUnlisted - UNLISTED_NAMED;
    if (more > 0) {
      m_faults.add(m_nUnnamed, "from here on, lines of instruments that are not listed: " + std::to_string(more));
    }
    return m_nUnlisted;
  }

 private:
  void complain(const STextRow& row, const std::string& text) { m_faults.add(row.m_nLine, text); }

  bool readInstrument(const STextRow& row, SBasketLine& line) {
    line.m_strMarket = marketOf(row.m_fields[Market]);
    std::string fault;
    if (line.m_strMarket.empty()) {
      fault = "unknown market " + quoted(row.m_fields[Market]);
    } else {
      fault = codeFault(line.m_strMarket, line.m_strCode);
      if (fault.empty() && m_isListed && !m_isListed(line.m_strMarket, line.m_strCode)) {
        if (++m_nUnlisted == UNLISTED_NAMED + 1) m_nUnnamed = line.m_nLine;
        if (m_nUnlisted > UNLISTED_NAMED) return false;
        fault = unlistedText(line);
      }
    }
    if (!fault.empty()) complain(row, fault);
    return fault.empty();
  }

  std::string unlistedText(const SBasketLine& line) const {
    std::string text = "the market " + line.m_strMarket + " lists no instrument " + line.m_strCode;
    for (const std::string_view market : allMarkets()) {
      if (m_isListed(market, line.m_strCode)) text += ", the market " + std::string(market) + " does";
    }
    return text;
  }

  bool readSide(const STextRow& row, SBasketLine& line) {
    std::string text = row.m_fields[Side];
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
      return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
    });
    const auto side =
        std::find_if(SIDES.begin(), SIDES.end(), [&text](const SSideText& known) { return known.m_text == text; });
    if (side == SIDES.end()) {
      complain(row, "unknown side " + quoted(row.m_fields[Side]) + ": it is 买入 or 卖出");
      return false;
    }
    line.m_bBuy = side->m_bBuy;
    return true;
  }

  void readQuantity(const STextRow& row, SBasketLine& line) {
    const std::string& field = row.m_fields[Quantity];
    const auto quantity = wholeNumberOf(field);
    if (!quantity) {
      complain(row, "the quantity " + quoted(field) + " is no whole number above 0");
    } else if (*quantity == 0) {
      complain(row, "the quantity is 0");
    } else if (*quantity > MOST_SHARES) {
      complain(row, "the quantity " + field + " is above " + std::to_string(MOST_SHARES));
    } else {
      line.m_nQuantity = static_cast<int>(*quantity);
    }
  }

  void checkRepeated(const SBasketLine& line) {
    const auto [earlier, added] = m_seen.try_emplace({line.m_strMarket, line.m_strCode, line.m_bBuy}, line.m_nLine);
    if (added) return;
    m_faults.add(line.m_nLine, line.m_strMarket + " " + line.m_strCode + " stands in line " +
                                   std::to_string(earlier->second) + " already, with the same side");
  }

  const ListedTest& m_isListed;
  CFaults& m_faults;
  std::map<std::tuple<std::string, std::string, bool>, int> m_seen;
  std::vector<SBasketLine> m_lines;
  int m_nUnlisted = 0;
  int m_nUnnamed = 0;  ///< the first line of those that are only counted
};

}  // namespace

SBasketFile readBasketFile(const std::string& path, const ListedTest& isListed) {
  CFaults faults(path);
  CBasketRows rows(isListed, faults);
  const std::vector<STextRow> table = readTextTable(path, columns(), faults);
  for (const STextRow& row : table) rows.read(row);
  if (faults.isEmpty() && table.empty()) faults.add(0, "no line in the basket");
  SBasketFile file;
  file.m_nUnlisted = rows.endUnlisted();
  if (faults.isEmpty()) file.m_lines = rows.take();
  file.m_faults = faults.take();
  return file;
}

}  // namespace basket
