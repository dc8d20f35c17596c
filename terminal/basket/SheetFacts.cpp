#include "SheetFacts.h"

#include <algorithm>
#include <array>

#include "Text.h"

namespace basket {
namespace {

constexpr std::size_t CODE_DIGITS = 6;

std::string padded(const std::string& code) {
  const bool digits = std::all_of(code.begin(), code.end(), isDigit);
  return digits && code.size() < CODE_DIGITS ? std::string(CODE_DIGITS - code.size(), '0') + code : code;
}

bool sameName(const SSecurity& security, const std::string& name) { return folded(security.m_strName) == name; }

}  // namespace

std::size_t filledCells(const SSheetRow& row) {
  return static_cast<std::size_t>(
      std::count_if(row.m_cells.begin(), row.m_cells.end(), [](const std::string& cell) { return !cell.empty(); }));
}

bool isTotal(const SSheetRow& row) {
  constexpr std::array<std::string_view, 12> words{"合计", "总计",  "小计",     "共计", "总和",       "总数",
                                                   "汇总", "total", "subtotal", "sum",  "grandtotal", "买入合计"};
  for (const std::string& cell : row.m_cells) {
    if (cell.empty()) continue;
    const std::string text = folded(cell);
    if (std::any_of(words.begin(), words.end(), [&text](std::string_view word) { return text.starts_with(word); })) {
      return true;
    }
    if (text == "卖出合计" || text.ends_with("合计") || text.ends_with("小计") || text.ends_with("合计:")) return true;
    // What stands first decides, but for a number of the row.
    if (!numberIn(cell)) return false;
  }
  return false;
}

bool isRemark(std::string_view text) {
  constexpr std::array<std::string_view, 24> beginnings{"注:",        "注1",  "备注", "说明",   "数据来源", "来源",
                                                        "制表",       "制单", "复核", "审核",   "日期",     "免责",
                                                        "打印",       "导出", "以上", "source", "note",     "remark",
                                                        "disclaimer", "#",    "//",   "截至",   "单位:",    "更新时间"};
  const std::string fold = folded(text);
  return std::any_of(beginnings.begin(), beginnings.end(),
                     [&fold](std::string_view each) { return fold.starts_with(each); });
}

std::optional<SSideValue> headingSide(std::string_view text) {
  std::string fold = folded(text);
  for (const std::string_view mark : {"一、", "二、", "三、", "1.", "2.", "【", "[", "#", "*"}) {
    if (fold.starts_with(mark)) fold.erase(0, mark.size());
  }
  for (const std::string_view mark :
       {":", "】", "]", "如下", "部分", "清单", "列表", "名单", "证券", "股票", "标的", "指令"}) {
    if (fold.ends_with(mark)) fold.resize(fold.size() - mark.size());
  }
  // Once more: "买入清单:" ends in two of them.
  for (const std::string_view mark : {"如下", "部分", "清单", "列表", "名单", "证券", "股票", "标的", "指令"}) {
    if (fold.ends_with(mark)) fold.resize(fold.size() - mark.size());
  }
  if (fold.empty() || isDigit(fold.front())) return std::nullopt;
  return sideOf(fold);
}

SMeant meantBy(const SCodeText& code, std::string_view name, const CSecurities& securities) {
  SMeant meant;
  std::vector<int> fitting = securities.withCode(padded(code.m_strCode));
  if (!code.m_strMarket.empty()) {
    std::erase_if(fitting, [&](int each) { return securities[each].m_strMarket != code.m_strMarket; });
  }
  const std::string wanted = folded(name);
  if (code.m_bRounded && !wanted.empty()) {
    // The digits that a rounded number has lost are known by the name alone.
    std::erase_if(fitting, [&](int each) { return !sameName(securities[each], wanted); });
    if (fitting.empty()) meant.m_strFault = "代码写成了科学计数，后几位已丢失";
  }
  if (fitting.size() > 1 && !wanted.empty()) {
    std::vector<int> named = fitting;
    std::erase_if(named, [&](int each) { return !sameName(securities[each], wanted); });
    if (!named.empty()) fitting = named;
  }
  if (fitting.size() == 1) meant.m_nIndex = fitting.front();
  if (fitting.size() > 1) meant.m_strFault = "代码 " + code.m_strCode + " 有多个市场，没有写明是哪一个";
  return meant;
}

}  // namespace basket
