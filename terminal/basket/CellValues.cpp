#include "CellValues.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "Fields.h"
#include "Text.h"

namespace basket {
namespace {

struct SSideWord {
  std::string_view m_word;
  bool m_bBuy;
  int m_nOperation;
};

// The numbers are the host's operations, as a panel writes them in its lines; which of them buy is the host's, too.
constexpr std::array<SSideWord, 50> SIDE_WORDS{{
    {"买", true, -1},        {"卖", false, -1},      {"买入", true, -1},      {"卖出", false, -1},
    {"b", true, -1},         {"s", false, -1},       {"buy", true, -1},       {"sell", false, -1},
    {"+", true, -1},         {"-", false, -1},       {"bid", true, -1},       {"ask", false, -1},
    {"买进", true, -1},      {"加仓", true, -1},     {"减仓", false, -1},     {"增持", true, -1},
    {"减持", false, -1},     {"建仓", true, -1},     {"清仓", false, -1},     {"调入", true, -1},
    {"调出", false, -1},     {"证券买入", true, -1}, {"证券卖出", false, -1}, {"普通买入", true, -1},
    {"普通卖出", false, -1}, {"股票买入", true, -1}, {"股票卖出", false, -1}, {"long", true, -1},
    {"short", false, -1},    {"1", true, 1},         {"2", false, 2},         {"买入开仓", true, 3},
    {"卖出开仓", false, 4},  {"买入平仓", true, 5},  {"卖出平仓", false, 6},  {"买开", true, 3},
    {"卖开", false, 4},      {"买平", true, 5},      {"卖平", false, 6},      {"3", true, 3},
    {"4", false, 4},         {"5", true, 5},         {"6", false, 6},         {"担保品买入", true, 1010},
    {"1010", true, 1010},    {"21", false, 21},      {"22", false, 22},       {"23", false, 23},
    {"融券还券", false, 23}, {"赎回", false, 22},
}};

struct SMarketWord {
  std::string_view m_word;
  std::string_view m_market;
};

constexpr std::array<SMarketWord, 40> MARKET_WORDS{{
    {"sh", "SH"},
    {"ss", "SH"},
    {"sse", "SH"},
    {"xshg", "SH"},
    {"沪", "SH"},
    {"沪市", "SH"},
    {"沪a", "SH"},
    {"上证", "SH"},
    {"上交所", "SH"},
    {"上海", "SH"},
    {"上海a股", "SH"},
    {"上海证券交易所", "SH"},
    {"sz", "SZ"},
    {"szse", "SZ"},
    {"xshe", "SZ"},
    {"深", "SZ"},
    {"深市", "SZ"},
    {"深a", "SZ"},
    {"深证", "SZ"},
    {"深交所", "SZ"},
    {"深圳", "SZ"},
    {"深圳a股", "SZ"},
    {"深圳证券交易所", "SZ"},
    {"bj", "BJ"},
    {"bse", "BJ"},
    {"xbse", "BJ"},
    {"北", "BJ"},
    {"京", "BJ"},
    {"京a", "BJ"},
    {"北交所", "BJ"},
    {"北京", "BJ"},
    {"北京证券交易所", "BJ"},
    {"cffex", "CFFEX"},
    {"cfe", "CFFEX"},
    {"ccfx", "CFFEX"},
    {"cfx", "CFFEX"},
    {"中金所", "CFFEX"},
    {"中金", "CFFEX"},
    {"中国金融期货交易所", "CFFEX"},
    {"cf", "CFFEX"},
}};

struct SUnitWord {
  std::string_view m_word;
  EMeasure m_measure;
  double m_dFactor;
  EUnit m_unit;
};

// The longest first: what stands behind a number is compared as a whole ending.
constexpr std::array<SUnitWord, 22> UNITS{{{"亿元", EMeasure::Amount, 1e8, EUnit::TenThousand},
                                           {"万元", EMeasure::Amount, 1e4, EUnit::TenThousand},
                                           {"千元", EMeasure::Amount, 1e3, EUnit::TenThousand},
                                           {"万股", EMeasure::Shares, 1e4, EUnit::TenThousand},
                                           {"千股", EMeasure::Shares, 1e3, EUnit::TenThousand},
                                           {"百股", EMeasure::Shares, 1e2, EUnit::TenThousand},
                                           {"亿股", EMeasure::Shares, 1e8, EUnit::TenThousand},
                                           {"万手", EMeasure::Shares, 1e4, EUnit::Lots},
                                           {"shares", EMeasure::Shares, 1, EUnit::One},
                                           {"shs", EMeasure::Shares, 1, EUnit::One},
                                           {"lots", EMeasure::Shares, 1, EUnit::Lots},
                                           {"cny", EMeasure::Amount, 1, EUnit::One},
                                           {"rmb", EMeasure::Amount, 1, EUnit::One},
                                           {"元", EMeasure::Amount, 1, EUnit::One},
                                           {"块", EMeasure::Amount, 1, EUnit::One},
                                           {"股", EMeasure::Shares, 1, EUnit::One},
                                           {"份", EMeasure::Shares, 1, EUnit::One},
                                           {"张", EMeasure::Shares, 1, EUnit::Lots},
                                           {"手", EMeasure::Shares, 1, EUnit::Lots},
                                           {"%", EMeasure::Weight, 1, EUnit::Percent},
                                           {"万", EMeasure::None, 1e4, EUnit::TenThousand},
                                           {"亿", EMeasure::None, 1e8, EUnit::TenThousand}}};

/// Takes the separators of thousands out. False when they do not stand where such do: "10,2" is no number.
bool takeSeparators(std::string& text) {
  const std::size_t point = std::min(text.find_first_of(".e"), text.size());
  const std::size_t first = text.find_first_of(", '");
  if (first == std::string::npos) return true;
  if (first == 0 || first > 3) return false;
  const char separator = text[first];
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool due = i < point && i >= first && (i - first) % 4 == 0;
    if (due != (text[i] == separator)) return false;
  }
  if (point < first + 4 || (point - first) % 4 != 0) return false;
  std::erase(text, separator);
  return true;
}

bool parse(const std::string& text, SNumber& number) {
  if (text.empty() || (!isDigit(text.front()) && text.front() != '.')) return false;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number.m_dValue);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !std::isfinite(number.m_dValue))
    return false;
  const std::size_t exponent = text.find('e');
  number.m_bExponent = exponent != std::string::npos;
  const std::string digits = text.substr(0, exponent);
  number.m_nDigits = static_cast<int>(std::count_if(digits.begin(), digits.end(), isDigit));
  return true;
}

void takeSign(std::string& text, SNumber& number) {
  if (text.size() > 2 && text.front() == '(' && text.back() == ')') {
    text = text.substr(1, text.size() - 2);
    number.m_nSign = -1;
  } else if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    number.m_nSign = text.front() == '-' ? -1 : 1;
    text.erase(0, 1);
  }
  for (const std::string_view currency : {"¥", "￥", "$", "rmb", "cny"}) {
    if (text.starts_with(currency)) text.erase(0, currency.size());
  }
  text = normalized(text);
}

void takeUnit(std::string& text, SNumber& number, double& factor) {
  const auto unit =
      std::find_if(UNITS.begin(), UNITS.end(), [&text](const SUnitWord& each) { return text.ends_with(each.m_word); });
  if (unit == UNITS.end()) return;
  number.m_bUnit = true;
  number.m_measure = unit->m_measure;
  number.m_unit = unit->m_unit;
  factor = unit->m_dFactor;
  text = normalized(text.substr(0, text.size() - unit->m_word.size()));
}

std::string small(std::string text) {
  for (char& letter : text) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter + 32);
  }
  return text;
}

bool allDigits(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), isDigit); }

/// The bare code: digits, or an index future's.
std::optional<SCodeText> bareCode(std::string_view text) {
  SCodeText code;
  if (allDigits(text) && text.size() <= 6) {
    code.m_strCode = text;
    return code;
  }
  const bool future = text.size() == 6 && isLetter(text[0]) && isLetter(text[1]) && allDigits(text.substr(2));
  if (!future) return std::nullopt;
  for (const char letter : text) code.m_strCode += static_cast<char>(isLetter(letter) ? letter & ~32 : letter);
  if (!codeFault("CFFEX", code.m_strCode).empty()) return std::nullopt;
  return code;
}

/// 600000.0, 6E+05: a number as a spreadsheet writes it.
std::optional<SCodeText> numericCode(const std::string& text) {
  if (text.find_first_of(".e") == std::string::npos) return std::nullopt;
  SNumber number;
  if (!parse(text, number) || number.m_dValue < 1 || number.m_dValue > 999'999) return std::nullopt;
  if (number.m_dValue != std::floor(number.m_dValue)) return std::nullopt;
  return SCodeText{{}, std::to_string(static_cast<int>(number.m_dValue)), number.m_bExponent && number.m_nDigits < 6};
}

std::optional<SCodeText> joined(std::string_view market, std::string_view rest) {
  auto code = bareCode(rest);
  if (!code) return code;
  code->m_strMarket = marketIn(market);
  if (code->m_strMarket.empty()) return std::nullopt;
  return code;
}

}  // namespace

std::optional<SSideValue> sideOf(std::string_view text) {
  std::string word = folded(text);
  while (!word.empty() && (word.back() == ':' || word.back() == '.')) word.pop_back();
  // "B-买入", "1:买入": the word decides.
  if (word.size() > 2 && (word[1] == '-' || word[1] == ':')) word.erase(0, 2);
  const auto known = std::find_if(SIDE_WORDS.begin(), SIDE_WORDS.end(),
                                  [&word](const SSideWord& each) { return each.m_word == word; });
  if (known == SIDE_WORDS.end()) return std::nullopt;
  return SSideValue{known->m_bBuy, known->m_nOperation};
}

std::optional<SNumber> numberIn(std::string_view text) {
  std::string rest = small(normalized(text));
  SNumber number;
  double factor = 1;
  takeSign(rest, number);
  takeUnit(rest, number, factor);
  if (!takeSeparators(rest) || !parse(rest, number)) return std::nullopt;
  number.m_dValue *= factor;
  return number;
}

std::string_view marketIn(std::string_view text) {
  const std::string word = folded(text);
  const auto known = std::find_if(MARKET_WORDS.begin(), MARKET_WORDS.end(),
                                  [&word](const SMarketWord& each) { return each.m_word == word; });
  return known == MARKET_WORDS.end() ? std::string_view() : known->m_market;
}

std::optional<SCodeText> codeIn(std::string_view text) {
  std::string word = folded(text);
  for (const std::string_view ending : {"equity", "ch"}) {  // "600000 CH Equity"
    if (word.size() > ending.size() + 5 && word.ends_with(ending)) word.resize(word.size() - ending.size());
  }
  if (word.empty() || word.size() > 14) return std::nullopt;
  if (auto code = bareCode(word)) return code;
  if (auto code = numericCode(word)) return code;
  constexpr std::string_view joints = ".:-_";
  const std::size_t joint = word.find_first_of(joints);
  if (joint != std::string::npos) {
    const std::string_view whole = word;
    auto code = joined(whole.substr(joint + 1), whole.substr(0, joint));
    return code ? code : joined(whole.substr(0, joint), whole.substr(joint + 1));
  }
  if (word.size() < 3) return std::nullopt;
  const std::string_view whole = word;
  auto code = joined(whole.substr(0, 2), whole.substr(2));
  return code ? code : joined(whole.substr(word.size() - 2), whole.substr(0, word.size() - 2));
}

bool isDate(std::string_view text) {
  const std::string word = folded(text);
  if (word.size() < 8 || word.size() > 10 || !allDigits(std::string_view(word).substr(0, 4))) return false;
  const char joint = word[4];
  return (joint == '-' || joint == '/' || joint == '.') && word.find(joint, 5) != std::string::npos &&
         word.find_first_not_of("0123456789-/.") == std::string::npos;
}

}  // namespace basket
