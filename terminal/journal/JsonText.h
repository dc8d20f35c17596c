#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
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

/// Whether a value that is somebody else's is a whole number that fits.
template <typename Value>
bool isWhole(const nlohmann::json& json) {
  if (!json.is_number_integer()) return false;
  return json.is_number_unsigned() ? std::in_range<Value>(json.get<std::uint64_t>())
                                   : std::in_range<Value>(json.get<std::int64_t>());
}

/// A value that must be there. Throws std::exception for one of another type, also for a fraction or a number that does
/// not fit where a whole one belongs: the library would cut it off, or worse. Any thread.
template <typename Value>
Value valueOf(const nlohmann::json& json) {
  if constexpr (std::is_integral_v<Value> && !std::is_same_v<Value, bool>) {
    if (!isWhole<Value>(json)) throw std::range_error("no whole number of its range: " + json.dump());
  }
  return json.get<Value>();
}
template <typename Value>
void readInto(const nlohmann::json& json, Value& value) {
  value = valueOf<Value>(json);
}

/// The value of a name in somebody else's object; the other one where there is none, or one that is no such value: a
/// number that does not fit is none. Any thread.
template <typename Value>
Value valueOr(const nlohmann::json& object, const char* name, const Value& other) {
  const auto found = object.find(name);
  if (found == object.end()) return other;
  if constexpr (std::is_same_v<Value, bool>) {
    if (!found->is_boolean()) return other;
  } else if constexpr (std::is_integral_v<Value>) {
    if (!isWhole<Value>(*found)) return other;
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
