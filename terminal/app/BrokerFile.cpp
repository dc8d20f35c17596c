#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>

#include "BasketReader.h"
#include "CellValues.h"
#include "DayMatch.h"
#include "Text.h"

namespace app {
namespace {

enum class EField { Order, Account, Market, Code, Side, Filled, Volume, Price, Amount, Count };

struct STitleWord {
  std::string_view m_word;  ///< folded
  EField m_eField;
};

/// The longest that a title holds decides, of several the first; Count: a column that says something else.
constexpr STitleWord WORDS[] = {{"委托编号", EField::Order},    {"委托号", EField::Order},
                                {"委托序号", EField::Order},    {"合同编号", EField::Order},
                                {"合同序号", EField::Order},    {"申报编号", EField::Order},
                                {"订单", EField::Order},        {"orderid", EField::Order},
                                {"ordernumber", EField::Order}, {"orderno", EField::Order},
                                {"clordid", EField::Order},     {"成交编号", EField::Count},
                                {"成交号", EField::Count},      {"成交序号", EField::Count},
                                {"tradeid", EField::Count},     {"execid", EField::Count},
                                {"委托价", EField::Count},      {"委托数量", EField::Count},
                                {"委托量", EField::Count},      {"申报数量", EField::Count},
                                {"申报价", EField::Count},      {"委托金额", EField::Count},
                                {"orderqty", EField::Count},    {"orderprice", EField::Count},
                                {"limit", EField::Count},       {"时间", EField::Count},
                                {"日期", EField::Count},        {"time", EField::Count},
                                {"date", EField::Count},        {"账户名", EField::Count},
                                {"姓名", EField::Count},        {"客户名", EField::Count},
                                {"leaves", EField::Count},      {"orderquantity", EField::Count},
                                {"剩余", EField::Count},        {"已成均价", EField::Price},
                                {"已成金额", EField::Amount},   {"资金账", EField::Account},
                                {"股东", EField::Account},      {"账号", EField::Account},
                                {"账户", EField::Account},      {"客户", EField::Account},
                                {"account", EField::Account},   {"成交数量", EField::Filled},
                                {"成交量", EField::Filled},     {"成交股数", EField::Filled},
                                {"已成", EField::Filled},       {"filled", EField::Filled},
                                {"executed", EField::Filled},   {"lastqty", EField::Filled},
                                {"成交金额", EField::Amount},   {"金额", EField::Amount},
                                {"amount", EField::Amount},     {"成交均价", EField::Price},
                                {"成交价", EField::Price},      {"均价", EField::Price},
                                {"avgprice", EField::Price},    {"price", EField::Price},
                                {"价格", EField::Price},        {"代码", EField::Code},
                                {"合约", EField::Code},         {"code", EField::Code},
                                {"symbol", EField::Code},       {"ticker", EField::Code},
                                {"方向", EField::Side},         {"买卖", EField::Side},
                                {"委托类别", EField::Side},     {"操作", EField::Side},
                                {"side", EField::Side},         {"b/s", EField::Side},
                                {"市场", EField::Market},       {"交易所", EField::Market},
                                {"market", EField::Market},     {"exchange", EField::Market},
                                {"数量", EField::Volume},       {"quantity", EField::Volume},
                                {"qty", EField::Volume},        {"volume", EField::Volume}};

using Columns = std::map<EField, std::size_t>;

/// Capitals, blanks and underscores make no difference.
std::string foldedTitle(const std::string& cell) {
  std::string title = basket::folded(cell);
  std::erase_if(title, [](char each) { return each == ' ' || each == '_' || each == '-'; });
  return title;
}

Columns columnsOf(const std::vector<std::string>& titles) {
  Columns columns;
  for (std::size_t i = 0; i < titles.size(); ++i) {
    const std::string title = foldedTitle(titles[i]);
    const STitleWord* word = nullptr;
    for (const STitleWord& each : WORDS) {
      const bool held = title.find(each.m_word) != std::string::npos;
      if (held && (!word || each.m_word.size() > word->m_word.size())) word = &each;
    }
    if (word && word->m_eField != EField::Count) columns.emplace(word->m_eField, i);
  }
  // Where a file tells both, what was traded counts.
  if (columns.contains(EField::Filled)) columns[EField::Volume] = columns[EField::Filled];
  return columns;
}

bool isWhole(const Columns& columns) {
  return columns.contains(EField::Code) && columns.contains(EField::Side) && columns.contains(EField::Volume) &&
         (columns.contains(EField::Price) || columns.contains(EField::Amount));
}

class CBrokerReader {
 public:
  explicit CBrokerReader(std::string path) : m_strPath(std::move(path)) {}

  SBrokerFile read() {
    const basket::SSource source = basket::readSourceFile(m_strPath);
    if (!source.m_strFault.empty()) return failed(m_strPath + ": " + source.m_strFault);
    bool titled = false;
    for (const basket::SSheet& sheet : source.m_sheets) {
      const auto titles = std::find_if(sheet.m_rows.begin(), sheet.m_rows.end(), [this](const basket::SSheetRow& row) {
        m_columns = columnsOf(row.m_cells);
        return isWhole(m_columns);
      });
      if (titles == sheet.m_rows.end()) continue;
      titled = true;
      m_titles = titles->m_cells;
      for (auto row = titles + 1; row != sheet.m_rows.end(); ++row) {
        if (!take(*row)) return failed(m_strFault);
      }
    }
    if (titled) return m_file;
    return failed(m_strPath + ": has no row of titles with code, side, volume, and price or amount");
  }

 private:
  static SBrokerFile failed(std::string fault) {
    SBrokerFile file;
    file.m_strFault = std::move(fault);
    return file;
  }

  std::string cell(const basket::SSheetRow& row, EField field) const {
    const auto column = m_columns.find(field);
    return column == m_columns.end() || column->second >= row.m_cells.size() ? std::string()
                                                                             : row.m_cells[column->second];
  }

  bool fail(const basket::SSheetRow& row, EField field) {
    m_strFault = m_strPath + ":" + std::to_string(row.m_nLine) + ": column \"" + m_titles[m_columns.at(field)] +
                 "\": cannot read '" + cell(row, field) + "'";
    return false;
  }

  /// Nothing for an empty cell; a fault for one that cannot be read.
  bool number(const basket::SSheetRow& row, EField field, std::optional<double>& value) {
    const std::string text = cell(row, field);
    if (text.empty()) return true;
    const auto read = basket::numberIn(text);
    // How many shares a lot has, the file does not say.
    if (!read || read->m_unit == basket::EUnit::Lots || read->m_unit == basket::EUnit::Percent) return fail(row, field);
    value = read->m_nSign < 0 ? -read->m_dValue : read->m_dValue;
    return true;
  }

  bool take(const basket::SSheetRow& row) {
    if (!row.m_strFault.empty()) {
      m_strFault = m_strPath + ":" + std::to_string(row.m_nLine) + ": " + row.m_strFault;
      return false;
    }
    const std::string code = cell(row, EField::Code);
    const bool total = std::any_of(row.m_cells.begin(), row.m_cells.end(), [](const std::string& text) {
      return text.starts_with("合计") || text.starts_with("总计") || basket::folded(text) == "total";
    });
    if (total || code.empty()) {
      ++m_file.m_nLeftOut;
      return true;
    }
    SBrokerRow read;
    read.m_nLine = row.m_nLine;
    read.m_strOrder = cell(row, EField::Order);
    read.m_strAccount = cell(row, EField::Account);
    const auto named = basket::codeIn(code);
    if (!named) return fail(row, EField::Code);
    read.m_strCode = named->m_strCode;
    // Spreadsheets drop leading zeros.
    const bool digits =
        std::all_of(read.m_strCode.begin(), read.m_strCode.end(), [](char each) { return each >= '0' && each <= '9'; });
    if (digits && read.m_strCode.size() < 6) read.m_strCode.insert(0, 6 - read.m_strCode.size(), '0');
    read.m_strMarket =
        named->m_strMarket.empty() ? std::string(basket::marketIn(cell(row, EField::Market))) : named->m_strMarket;
    std::optional<double> volume;
    if (!number(row, EField::Volume, volume) || !number(row, EField::Price, read.m_dPrice) ||
        !number(row, EField::Amount, read.m_dAmount)) {
      return false;
    }
    if (volume && *volume != std::floor(*volume)) return fail(row, EField::Volume);
    read.m_nVolume = static_cast<std::int64_t>(volume.value_or(0));
    if (read.m_nVolume == 0) {
      ++m_file.m_nLeftOut;
      return true;
    }
    const auto side = basket::sideOf(cell(row, EField::Side));
    if (!side || !side->m_bBuy) return fail(row, EField::Side);
    read.m_bBuy = *side->m_bBuy;
    // Some write what was sold below zero; a buy below zero takes an earlier one back. Amounts are those of the
    // account, which a buy makes less.
    if (!read.m_bBuy) read.m_nVolume = std::abs(read.m_nVolume);
    if (read.m_dAmount) read.m_dAmount = std::copysign(*read.m_dAmount, static_cast<double>(read.m_nVolume));
    m_file.m_rows.push_back(std::move(read));
    return true;
  }

  std::string m_strPath;
  std::string m_strFault;
  Columns m_columns;
  std::vector<std::string> m_titles;
  SBrokerFile m_file;
};

}  // namespace

SBrokerFile readBrokerFile(const std::string& path) { return CBrokerReader(path).read(); }

}  // namespace app
