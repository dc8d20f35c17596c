#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace journal {

/// The object that a line is. Throws CLineFault for a text that is none, or that nests too deep. Any thread.
nlohmann::json parseObject(const std::string& text);

}  // namespace journal
