#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <utility>

namespace journal {

/// What somebody else's text holds. Throws std::exception for one that is no JSON, or that nests deeper than anything
/// that the program writes. Any thread.
nlohmann::json parseJson(const std::string& text);
/// The same; a discarded value instead of a fault.
nlohmann::json tryParseJson(const std::string& text);

/// The object that a line is. Throws CLineFault for a text that is none, or that nests too deep. Any thread.
nlohmann::json parseObject(const std::string& text);

/// The value of a name in somebody else's object; the other one where there is none, or one that is no such value: a
/// number that does not fit is none. Any thread.
template <typename Value>
Value valueOr(const nlohmann::json& object, const char* name, const Value& other) {
  const auto found = object.find(name);
  if (found == object.end()) return other;
  if constexpr (std::is_same_v<Value, bool>) {
    if (!found->is_boolean()) return other;
  } else if constexpr (std::is_integral_v<Value>) {
    if (!found->is_number_integer()) return other;
    const bool fits = found->is_number_unsigned() ? std::in_range<Value>(found->template get<std::uint64_t>())
                                                  : std::in_range<Value>(found->template get<std::int64_t>());
    if (!fits) return other;
  } else {
    static_assert(std::is_same_v<Value, std::string>);
    if (!found->is_string()) return other;
  }
  return found->template get<Value>();
}
/// The elements of a list in somebody else's object; none where there is no list.
inline nlohmann::json listOf(const nlohmann::json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_array() ? *found : nlohmann::json::array();
}

}  // namespace journal
