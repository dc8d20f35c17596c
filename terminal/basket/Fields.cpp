#include "Fields.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "Instrument.h"
#include "Text.h"

namespace basket {
namespace {

struct SMarketName {
  std::string_view m_market;
  std::string_view m_chinese;
};

constexpr std::array<SMarketName, 4> MARKETS{
    {{"SH", "上海"}, {"SZ", "深圳"}, {"BJ", "北京"}, {exchange::FUTURES_MARKET, "中金所"}}};

}  // namespace

const SColumnTitles MARKET_COLUMN{{"market", "市场", "交易市场"}};
const SColumnTitles CODE_COLUMN{{"code", "代码", "证券代码"}};

std::string_view marketOf(const std::string& field) {
  const auto found = std::find_if(MARKETS.begin(), MARKETS.end(), [&field](const SMarketName& name) {
    return field == name.m_chinese ||
           (field.size() == name.m_market.size() && strncasecmp(field.data(), name.m_market.data(), field.size()) == 0);
  });
  return found == MARKETS.end() ? std::string_view() : found->m_market;
}

const std::vector<std::string_view>& allMarkets() {
  static const std::vector<std::string_view> markets = [] {
    std::vector<std::string_view> names;
    names.reserve(MARKETS.size());
    for (const SMarketName& name : MARKETS) names.push_back(name.m_market);
    return names;
  }();
  return markets;
}

std::string codeFault(std::string_view market, const std::string& code) {
  constexpr std::size_t shareDigits = 6;
  if (code.empty()) return "the code is empty";
  if (market == exchange::FUTURES_MARKET) {
    const bool good = exchange::futureMultiplier(code) > 0 && std::all_of(code.begin() + 2, code.end(), isDigit);
    return good ? std::string() : "the code " + quoted(code) + " is no index future's (like IF2612)";
  }
  if (code.size() == shareDigits && std::all_of(code.begin(), code.end(), isDigit)) return {};
  return "the code " + quoted(code) + " has not six digits" +
         (code.size() < shareDigits && std::all_of(code.begin(), code.end(), isDigit) ? " (were leading zeros lost?)"
                                                                                      : "");
}

std::optional<double> numberOf(const std::string& field) {
  double number = 0;
  const char* end = field.data() + field.size();
  if (field.empty() || !isDigit(field.front())) return std::nullopt;
  const auto result = std::from_chars(field.data(), end, number, std::chars_format::fixed);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return number;
}

std::optional<long long> wholeNumberOf(const std::string& field) {
  long long number = 0;
  const char* end = field.data() + field.size();
  if (field.empty() || !isDigit(field.front())) return std::nullopt;
  const auto result = std::from_chars(field.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return number;
}

std::string quoted(const std::string& field) { return "\"" + field + "\""; }

}  // namespace basket
