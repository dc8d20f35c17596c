#include "LineParts.h"

#include <cmath>

#include "Fields.h"
#include "SheetFacts.h"
#include "Text.h"

namespace basket {
namespace {

constexpr int LOT = 100;  // shares that people call 一手, on every board
constexpr double NEAR = 1e-6;

struct SCodeAndName {
  std::string m_strCode;
  std::string m_strName;
};

/// "浦发银行(600000.SH)", "600000 浦发银行": a cell that has both.
SCodeAndName apart(std::string_view text) {
  const std::string normal = normalized(text);
  SCodeAndName parts;
  std::string word;
  const auto end = [&parts, &word] {
    if (word.empty()) return;
    const auto code = word.size() >= 6 && parts.m_strCode.empty() ? codeIn(word) : std::nullopt;
    (code && code->m_strCode.size() == 6 ? parts.m_strCode : parts.m_strName) += word;
    word.clear();
  };
  for (const std::string_view character : charactersOf(normal)) {
    const bool ends = character.size() == 1 && std::string_view(" ()[]/,").find(character) != std::string_view::npos;
    const bool changes = !word.empty() && isWide(character[0]) != isWide(word.back());
    if (ends || changes) end();
    if (!ends) word += character;
  }
  end();
  return parts;
}

/// The code of a cell, and its name if that stands in the cell, too.
std::optional<SCodeText> readCode(SReadLine& line, std::string_view text) {
  if (isDate(text)) {
    addFault(line, "代码处是日期：" + std::string(text));
    return std::nullopt;
  }
  if (auto code = codeIn(text)) return code;
  const SCodeAndName parts = apart(text);
  auto code = parts.m_strCode.empty() ? std::nullopt : codeIn(parts.m_strCode);
  if (!code) {
    addFault(line, "代码读不出：" + std::string(text));
  } else if (line.m_strName.empty()) {
    line.m_strName = parts.m_strName;
  }
  return code;
}

void take(SReadLine& line, const SSecurity& security) {
  line.m_strMarket = security.m_strMarket;
  line.m_strCode = security.m_strCode;
}

void setByName(SReadLine& line, const CSecurities& securities) {
  std::vector<int> named = securities.withName(line.m_strName);
  if (!line.m_strMarket.empty()) {
    std::erase_if(named, [&](int each) { return securities[each].m_strMarket != line.m_strMarket; });
  }
  if (named.size() == 1) return take(line, securities[named.front()]);
  if (named.size() > 1) addFault(line, "名称 " + line.m_strName + " 有多只证券，没有写明代码");
}

}  // namespace

void addFault(SReadLine& line, const std::string& text) {
  line.m_strFault += (line.m_strFault.empty() ? "" : "；") + text;
}

void setSecurity(SReadLine& line, std::string_view code, std::string_view market, std::string_view name,
                 const CSecurities& securities) {
  line.m_strName = name;
  line.m_strMarket = marketIn(market);
  if (line.m_strMarket.empty() && !market.empty()) addFault(line, "市场读不出：" + std::string(market));
  if (code.empty() && name.empty()) return addFault(line, "没有代码");
  if (code.empty()) {
    const SCodeAndName parts = securities.withName(name).empty() ? apart(name) : SCodeAndName();
    if (parts.m_strCode.empty()) return setByName(line, securities);
    return setSecurity(line, parts.m_strCode, market, parts.m_strName, securities);
  }
  line.m_strCode = code;
  auto read = readCode(line, code);
  if (!read) return;
  if (!read->m_strMarket.empty() && !line.m_strMarket.empty() && read->m_strMarket != line.m_strMarket) {
    return addFault(line, "市场与代码不一致：" + std::string(market) + " 与 " + std::string(code));
  }
  if (read->m_strMarket.empty()) read->m_strMarket = line.m_strMarket;
  line.m_strMarket = read->m_strMarket;
  if (line.m_strMarket.empty() && !read->m_strCode.empty() && isLetter(read->m_strCode[0])) line.m_strMarket = "CFFEX";
  line.m_strCode = read->m_strCode;
  const SMeant meant = meantBy(*read, line.m_strName, securities);
  if (meant.m_nIndex >= 0) take(line, securities[meant.m_nIndex]);
  if (!meant.m_strFault.empty()) addFault(line, meant.m_strFault);
}

void setSide(SReadLine& line, const SSideValue& side) {
  line.m_bBuy = side.m_bBuy;
  line.m_nOperation = side.m_nOperation;
}

void setSize(SReadLine& line, const SNumber& number, EMeasure measure, EUnit unit, bool bySign) {
  if (number.m_measure != EMeasure::None) measure = number.m_measure;
  if (number.m_dValue == 0) return addFault(line, "数量为 0");
  if (bySign && !line.m_bBuy) line.m_bBuy = number.m_nSign >= 0;
  if (number.m_nSign < 0 && line.m_bBuy.value_or(true)) {
    return addFault(line, line.m_bBuy ? "买入的数量是负数" : "数量是负数，又没有方向");
  }
  if (number.m_bUnit) unit = number.m_unit == EUnit::TenThousand ? EUnit::One : number.m_unit;
  double value = number.m_dValue;
  if (unit == EUnit::TenThousand) value *= 10'000;
  if (unit == EUnit::Lots && line.m_strMarket != "CFFEX") value *= LOT;
  if (measure == EMeasure::Shares) {
    const double whole = std::round(value);
    if (std::fabs(value - whole) > NEAR * std::fmax(1, whole) || whole < 1) return addFault(line, "数量不是整数股");
    value = whole;
  }
  line.m_measure = measure;
  line.m_dQuantity = value;
}

}  // namespace basket
