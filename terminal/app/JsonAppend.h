/// Writes JSON by appending: for what is formed too often to be built as a tree first.
#pragma once

#include <charconv>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

namespace app {

/// How many bytes the UTF-8 character at a place has; 0 where none stands.
inline std::size_t utf8Size(std::string_view text, std::size_t at) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char first = byte(at);
  const std::size_t size = first < 0x80                    ? 1
                           : first >= 0xc2 && first < 0xe0 ? 2
                           : (first & 0xf0) == 0xe0        ? 3
                           : first >= 0xf0 && first < 0xf5 ? 4
                                                           : 0;
  if (size == 0 || at + size > text.size()) return 0;
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(at + i) & 0xc0) != 0x80) return 0;
  }
  // What could be written shorter, half of a pair, what is beyond the last one.
  const bool overlong = (first == 0xe0 && byte(at + 1) < 0xa0) || (first == 0xf0 && byte(at + 1) < 0x90);
  const bool beyond = (first == 0xed && byte(at + 1) >= 0xa0) || (first == 0xf4 && byte(at + 1) >= 0x90);
  return overlong || beyond ? 0 : size;
}

/// Bytes that are no UTF-8 become question marks: the name of a file may hold any.
inline void appendJson(std::string& out, std::string_view text) {
  out += '"';
  std::size_t begin = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto each = static_cast<unsigned char>(text[i]);
    if (each >= 0x80) {
      const std::size_t size = utf8Size(text, i);
      if (size > 0) {
        i += size - 1;
        continue;
      }
      out.append(text, begin, i - begin);
      out += '?';
      begin = i + 1;
      continue;
    }
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

/// The shortest text that reads as the same number; JSON has none for what is not finite, which becomes 0.
template <typename Number>
requires(std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>) void appendJson(std::string& out,
                                                                                        Number value) {
  if constexpr (std::is_floating_point_v<Number>) {
    if (!std::isfinite(value)) {
      out += '0';
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
