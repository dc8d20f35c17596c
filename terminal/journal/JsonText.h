#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace journal {

/// What somebody else's text holds. Throws std::exception for one that is no JSON, or that nests deeper than anything
/// that the program writes. Any thread.
nlohmann::json parseJson(const std::string& text);
/// The same; a discarded value instead of a fault.
nlohmann::json tryParseJson(const std::string& text);

/// The object that a line is. Throws CLineFault for a text that is none, or that nests too deep. Any thread.
nlohmann::json parseObject(const std::string& text);

}  // namespace journal
