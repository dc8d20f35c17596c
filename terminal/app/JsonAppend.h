/// Writes JSON by appending: for what is formed too often to be built as a tree first.
#pragma once

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <type_traits>

namespace app {

/// Bytes that are no UTF-8 stay as they are.
inline void appendJson(std::string& out, std::string_view text) {
  out += '"';
  std::size_t begin = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto each = static_cast<unsigned char>(text[i]);
    if (each >= 0x20 && each != '"' && each != '\\') continue;
    out.append(text, begin, i - begin);
    begin = i + 1;
    constexpr const char* DIGITS = "0123456789abcdef";
    if (each >= 0x20) {
      (out += '\\') += static_cast<char>(each);
    } else {
      ((out += "\\u00") += DIGITS[each >> 4]) += DIGITS[each & 15];
    }
  }
  out.append(text, begin);
  out += '"';
}
inline void appendJson(std::string& out, const std::string& text) { appendJson(out, std::string_view(text)); }
inline void appendJson(std::string& out, bool value) { out += value ? "true" : "false"; }

/// The shortest text that reads as the same number; JSON has none for what is not finite.
template <typename Number>
requires(std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>) void appendJson(std::string& out,
                                                                                        Number value) {
  if constexpr (std::is_floating_point_v<Number>) {
    if (!std::isfinite(value)) {
      out += "null";
      return;
    }
  }
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  out.append(digits, end);
}

/// [a,b,c]
template <typename First, typename... Rest>
void appendArray(std::string& out, const First& first, const Rest&... rest) {
  out += '[';
  appendJson(out, first);
  (((out += ','), appendJson(out, rest)), ...);
  out += ']';
}

/// ,"name":value
template <typename Value>
void appendField(std::string& out, const char* name, const Value& value) {
  ((out += ",\"") += name) += "\":";
  appendJson(out, value);
}

}  // namespace app
