#include "utils/Keys.h"

namespace utils {

std::string mavStockKey(const std::string& market, const std::string& code) {
  std::string key;
  key.reserve(market.size() + 1 + code.size());
  return key.append(market).append(1, '.').append(code);
}

void splitMavStockKey(const std::string& key, std::string& market, std::string& code) {
  const std::size_t dot = key.find('.');
  market = dot == std::string::npos ? std::string() : key.substr(0, dot);
  code = dot == std::string::npos ? key : key.substr(dot + 1);
}

std::string exchangeShortCode(std::string_view market) {
  if (market == "SH" || market == "SSE" || market == "HGT") return "SH";
  if (market == "SZ" || market == "SZSE" || market == "SGT") return "SZ";
  return {};
}

std::vector<std::string> split(const std::string& text, char splitter) {
  std::vector<std::string> parts;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = text.find(splitter, begin);
    parts.push_back(text.substr(begin, end - begin));
    if (end == std::string::npos) return parts;
    begin = end + 1;
  }
}

}  // namespace utils
