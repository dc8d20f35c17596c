#include "Texts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace draft {
namespace {

constexpr double TEN_THOUSAND = 1e4;
constexpr double HUNDRED_MILLION = 1e8;

std::string fixed(double value, int places) {
  std::array<char, 64> text{};
  const int size = std::snprintf(text.data(), text.size(), "%.*f", places, value);
  return {text.data(), static_cast<std::size_t>(size)};
}

std::string grouped(std::string number) {
  const std::size_t first = number.front() == '-' ? 1 : 0;
  std::size_t at = std::min(number.find('.'), number.size());
  while (at > first + 3) number.insert(at -= 3, 1, ',');
  return number;
}

}  // namespace

std::string countText(std::int64_t count) { return grouped(std::to_string(count)); }

std::string amountText(double amount) {
  const double size = std::abs(amount);
  if (size >= HUNDRED_MILLION) return grouped(fixed(amount / HUNDRED_MILLION, 2)) + " 亿元";
  if (size >= TEN_THOUSAND) return grouped(fixed(amount / TEN_THOUSAND, 1)) + " 万元";
  return grouped(fixed(amount, 2)) + " 元";
}

std::string priceText(double price) {
  const bool isWhole = std::abs(price * 100 - std::round(price * 100)) < 1e-6;
  return fixed(price, isWhole ? 2 : 4);
}

std::string percentText(double part) {
  const double percent = part * 100;
  return (percent < 10 ? fixed(percent, 1) : grouped(fixed(percent, 0))) + " %";
}

}  // namespace draft
