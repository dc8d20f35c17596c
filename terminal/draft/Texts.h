/// How figures are written in verdicts. UTF-8; any thread.
#pragma once

#include <cstdint>
#include <string>

namespace draft {

/// "12,345"
std::string countText(std::int64_t count);
/// CNY in the unit that it is spoken of: "1,234.5 万元", "56.00 元", "1.20 亿元".
std::string amountText(double amount);
/// "11.05"; with four places where two are not all of it.
std::string priceText(double price);
/// A part as percent: "25 %", small ones with a place.
std::string percentText(double part);

}  // namespace draft
