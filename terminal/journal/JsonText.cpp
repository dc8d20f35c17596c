#include "JsonText.h"

#include <algorithm>

#include "Archive.h"

namespace journal {
namespace {

constexpr int MOST_DEPTH = 64;

/// What the parser says, without its own prefix, which names an internal error number.
std::string describe(const nlohmann::json::exception& fault) {
  const std::string what = fault.what();
  const std::size_t prefix = what.find("] ");
  return prefix == std::string::npos ? what : what.substr(prefix + 2);
}

/// How deep objects and lists stand in one another. Counted before the text is parsed, since what is made of it is
/// walked and freed step into step.
int depthOf(const std::string& text) {
  int depth = 0;
  int deepest = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char each = text[i];
    if (quoted) {
      if (each == '\\') ++i;
      quoted = each != '"';
    } else if (each == '"') {
      quoted = true;
    } else if (each == '{' || each == '[') {
      deepest = std::max(deepest, ++depth);
    } else if (each == '}' || each == ']') {
      --depth;
    }
  }
  return deepest;
}

}  // namespace

nlohmann::json parseJson(const std::string& text) {
  if (depthOf(text) > MOST_DEPTH) throw CLineFault("nests deeper than " + std::to_string(MOST_DEPTH));
  return nlohmann::json::parse(text);
}

nlohmann::json tryParseJson(const std::string& text) try { return parseJson(text); } catch (const std::exception&) {
  return nlohmann::json(nlohmann::json::value_t::discarded);
}

nlohmann::json parseObject(const std::string& text) {
  nlohmann::json json;
  try {
    json = parseJson(text);
  } catch (const nlohmann::json::parse_error& fault) {
    // The parser's text would repeat the broken bytes.
    const bool encoding = std::string(fault.what()).find("UTF-8") != std::string::npos;
    if (encoding) throw CLineFault("not valid UTF-8 at byte " + std::to_string(fault.byte));
    throw CLineFault("broken JSON: " + describe(fault));
  } catch (const nlohmann::json::exception& fault) {
    throw CLineFault("broken JSON: " + describe(fault));
  }
  if (!json.is_object()) throw CLineFault("a line must be one JSON object");
  return json;
}

}  // namespace journal
