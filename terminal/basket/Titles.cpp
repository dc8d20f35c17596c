#include "Titles.h"

#include <algorithm>
#include <array>
#include <set>

#include "Text.h"

namespace basket {
namespace {

struct STitleWord {
  std::string_view m_word;
  ERole m_role;
  int m_nRank;
  bool m_bWhole = false;  ///< the title is nothing but it
};

// The first that a title has decides.
constexpr std::array<STitleWord, 75> WORDS{{
    {"方向", ERole::Side, 2},
    {"买卖标志", ERole::Side, 2},
    {"买卖类别", ERole::Side, 2},
    {"买/卖", ERole::Side, 2},
    {"b/s", ERole::Side, 2},
    {"side", ERole::Side, 2},
    {"direction", ERole::Side, 2},
    {"交易类型", ERole::Side, 2},
    {"交易类别", ERole::Side, 2},
    {"委托类别", ERole::Side, 2},
    {"操作", ERole::Side, 2},
    {"业务类型", ERole::Side, 1},
    {"action", ERole::Side, 2},
    {"buysell", ERole::Side, 2},
    {"买卖", ERole::Side, 2, true},
    {"bs", ERole::Side, 2, true},
    {"权重", ERole::Weight, 2},
    {"weight", ERole::Weight, 2},
    {"占比", ERole::Weight, 2},
    {"比例", ERole::Weight, 2},
    {"wt", ERole::Weight, 2, true},
    {"wgt", ERole::Weight, 2},
    {"仓位", ERole::Weight, 1},
    {"数量", ERole::Quantity, 2},
    {"股数", ERole::Quantity, 2},
    {"手数", ERole::Quantity, 2},
    {"张数", ERole::Quantity, 2},
    {"份额", ERole::Quantity, 2},
    {"quantity", ERole::Quantity, 2},
    {"qty", ERole::Quantity, 2},
    {"shares", ERole::Quantity, 2},
    {"lots", ERole::Quantity, 2},
    {"volume", ERole::Quantity, 2},
    {"vol", ERole::Quantity, 2, true},
    {"size", ERole::Quantity, 1, true},
    {"委托量", ERole::Quantity, 2},
    {"金额", ERole::Amount, 2},
    {"amount", ERole::Amount, 2},
    {"notional", ERole::Amount, 2},
    {"市值", ERole::Amount, 1},
    {"marketvalue", ERole::Amount, 1},
    {"资金", ERole::Amount, 1},
    {"指令价", ERole::Price, 2},
    {"委托价", ERole::Price, 2},
    {"限价", ERole::Price, 2},
    {"买入价", ERole::Price, 2},
    {"卖出价", ERole::Price, 2},
    {"价格", ERole::Price, 2},
    {"limit", ERole::Price, 2},
    {"price", ERole::Price, 2},
    {"px", ERole::Price, 2, true},
    {"市场", ERole::Market, 2},
    {"交易所", ERole::Market, 2},
    {"market", ERole::Market, 2},
    {"exchange", ERole::Market, 2},
    {"exch", ERole::Market, 2, true},
    {"mic", ERole::Market, 2, true},
    {"代码", ERole::Code, 2},
    {"code", ERole::Code, 2},
    {"symbol", ERole::Code, 2},
    {"ticker", ERole::Code, 2},
    {"证券编号", ERole::Code, 2},
    {"合约", ERole::Code, 1},
    {"instrument", ERole::Code, 1},
    {"secid", ERole::Code, 2},
    {"名称", ERole::Name, 2},
    {"简称", ERole::Name, 2},
    {"name", ERole::Name, 2},
    {"股票", ERole::Name, 1, true},
    {"证券", ERole::Name, 1, true},
    {"标的", ERole::Name, 1, true},
    {"security", ERole::Code, 1, true},
    {"stock", ERole::Code, 1, true},
    {"买入", ERole::Quantity, 1, true},
    {"卖出", ERole::Quantity, 1, true},
}};

/// What a title may hold that makes it say something else: no column of what is to be traded.
constexpr std::array<std::string_view, 42> OTHERS{
    "持仓", "持有",   "持股",   "可用",   "可卖",    "可取",     "当前",   "现有",    "成交",     "冻结", "剩余",
    "余额", "调整前", "调整后", "流通",   "每手",    "日均",     "组合",   "产品",    "账户",     "账号", "行业",
    "指数", "最新价", "现价",   "收盘",   "昨收",    "成本",     "均价",   "最高",    "最低",     "目标", "prev",
    "last", "close",  "avg",    "filled", "account", "industry", "target", "current", "portfolio"};

/// Part without what stands in brackets; `unit` gets that.
std::string withoutUnit(const std::string& text, std::string& unit) {
  std::size_t open = text.find_first_of("([");
  std::size_t size = 1;
  if (const std::size_t wide = text.find("【"); wide != std::string::npos && open == std::string::npos) {
    open = wide;
    size = 3;
  }
  if (open == std::string::npos) {
    // "金额:万元", "数量/手"
    const std::size_t mark = text.find_last_of(":/_");
    if (mark == std::string::npos || mark == 0 || contains(text, "b/s") || contains(text, "买/卖")) return text;
    open = mark;
  }
  unit = text.substr(open + size);
  while (!unit.empty() && (unit.back() == ')' || unit.back() == ']')) unit.pop_back();
  if (unit.ends_with("】")) unit.resize(unit.size() - 3);
  if (unit.starts_with("单位:")) unit.erase(0, std::string_view("单位:").size());
  return text.substr(0, open);
}

struct SUnitTitle {
  std::string_view m_text;
  EUnit m_unit;
};

constexpr std::array<SUnitTitle, 20> UNIT_TITLES{{{"手", EUnit::Lots},          {"lot", EUnit::Lots},
                                                  {"lots", EUnit::Lots},        {"张", EUnit::Lots},
                                                  {"百股", EUnit::Lots},        {"万", EUnit::TenThousand},
                                                  {"万股", EUnit::TenThousand}, {"万元", EUnit::TenThousand},
                                                  {"万份", EUnit::TenThousand}, {"万人民币", EUnit::TenThousand},
                                                  {"%", EUnit::Percent},        {"pct", EUnit::Percent},
                                                  {"percent", EUnit::Percent},  {"股", EUnit::One},
                                                  {"元", EUnit::One},           {"份", EUnit::One},
                                                  {"人民币", EUnit::One},       {"cny", EUnit::One},
                                                  {"rmb", EUnit::One},          {"shares", EUnit::One}}};

/// A unit that no column can have: its numbers would be taken for others.
bool isForeignUnit(std::string_view unit) {
  constexpr std::array<std::string_view, 10> foreign{"亿", "亿元", "亿股", "千股",   "千元",
                                                     "千", "万手", "百万", "百万元", "美元"};
  return std::find(foreign.begin(), foreign.end(), unit) != foreign.end();
}

bool isSized(ERole role) { return role == ERole::Quantity || role == ERole::Amount || role == ERole::Weight; }

std::optional<bool> sideInTitle(const std::string& title) {
  const bool buy = contains(title, "买") || contains(title, "buy");
  const bool sell = contains(title, "卖") || contains(title, "sell");
  return buy == sell ? std::nullopt : std::optional<bool>(buy);
}

}  // namespace

EUnit unitOfTitle(std::string_view text) {
  const std::string title = folded(text);
  std::string unit;
  const std::string bare = withoutUnit(title, unit);
  const auto known =
      std::find_if(UNIT_TITLES.begin(), UNIT_TITLES.end(), [&](const SUnitTitle& each) { return each.m_text == unit; });
  if (known != UNIT_TITLES.end()) return known->m_unit;
  if (title.ends_with("%") || title.starts_with("%")) return EUnit::Percent;
  if (contains(bare, "手数") || contains(bare, "lots") || contains(bare, "张数")) return EUnit::Lots;
  if (bare.ends_with("万元") || bare.ends_with("万股")) return EUnit::TenThousand;
  return EUnit::One;
}

STitle titleOf(std::string_view text) {
  STitle title;
  title.m_column.m_strTitle = std::string(text);
  const std::string whole = folded(text);
  if (whole.empty() || whole.size() > 60) return title;
  std::string unit;
  const std::string bare = withoutUnit(whole, unit);
  const auto known = std::find_if(WORDS.begin(), WORDS.end(), [&](const STitleWord& each) {
    return each.m_bWhole ? bare == each.m_word
                         : contains(bare, each.m_word) || (bare.empty() && contains(whole, each.m_word));
  });
  if (known == WORDS.end() || isForeignUnit(unit)) return title;
  ERole role = known->m_role;
  int rank = known->m_nRank;
  // "市场代码" names markets; a "市场价格" is no market.
  if (role == ERole::Market && (contains(bare, "价") || contains(bare, "名称"))) return title;
  const auto other = [&bare](std::string_view word) { return contains(bare, word); };
  if (std::any_of(OTHERS.begin(), OTHERS.end(), other)) return title;
  if (contains(bare, "基金")) rank = 1;
  title.m_column.m_role = role;
  title.m_nRank = rank;
  if (isSized(role)) {
    title.m_column.m_unit = unitOfTitle(text);
    title.m_column.m_bBuy = sideInTitle(bare);
  }
  return title;
}

int knownTitles(const std::vector<std::string>& cells) {
  std::set<ERole> roles;
  for (const std::string& cell : cells) {
    if (const STitle title = titleOf(cell); title.m_nRank > 0) roles.insert(title.m_column.m_role);
  }
  return static_cast<int>(roles.size());
}

}  // namespace basket
