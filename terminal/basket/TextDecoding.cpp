#include "TextDecoding.h"

#include <iconv.h>

#include <algorithm>
#include <optional>
#include <string_view>

namespace basket {
namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

/// Converts to UTF-8, and so checks, too, what is said to be UTF-8.
class CDecoder {
 public:
  explicit CDecoder(const char* encoding) : m_converter(iconv_open("UTF-8", encoding)) {}
  ~CDecoder() { iconv_close(m_converter); }
  CDecoder(const CDecoder&) = delete;
  CDecoder& operator=(const CDecoder&) = delete;

  /// Nothing when the text is broken in this encoding. A byte 0 is broken text in any: it is what UTF-16 looks like.
  std::optional<std::string> decode(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) return std::nullopt;
    std::string source(text);
    std::string decoded(text.size() * 4, '\0');  // no character grows more
    char* in = source.data();
    char* out = decoded.data();
    std::size_t inLeft = source.size();
    std::size_t outLeft = decoded.size();
    iconv(m_converter, nullptr, nullptr, nullptr, nullptr);
    if (iconv(m_converter, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1)) return std::nullopt;
    decoded.resize(decoded.size() - outLeft);
    return decoded;
  }

 private:
  iconv_t m_converter;
};

/// No byte of a character of either encoding is a line ending, so lines can be told apart before they are decoded.
std::vector<std::string_view> splitLines(std::string_view bytes) {
  std::vector<std::string_view> lines;
  while (!bytes.empty()) {
    const std::size_t end = bytes.find_first_of("\r\n");
    lines.push_back(bytes.substr(0, end));
    if (end == std::string_view::npos) break;
    bytes.remove_prefix(end + (bytes.substr(end, 2) == "\r\n" ? 2 : 1));
  }
  return lines;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char character) { return static_cast<signed char>(character) > 0; });
}

bool isMostlyUtf8(const std::vector<std::string_view>& lines) {
  CDecoder utf8("UTF-8");
  int balance = 0;
  for (const std::string_view line : lines) {
    if (!isAscii(line)) balance += utf8.decode(line) ? 1 : -1;
  }
  return balance >= 0;
}

}  // namespace

std::vector<STextLine> decodeLines(const std::string& bytes, CFaults& faults) {
  std::string_view text = bytes;
  const bool marked = text.substr(0, BYTE_ORDER_MARK.size()) == BYTE_ORDER_MARK;
  if (marked) text.remove_prefix(BYTE_ORDER_MARK.size());
  const std::vector<std::string_view> lines = splitLines(text);
  const char* encoding = marked || isMostlyUtf8(lines) ? "UTF-8" : "GB18030";
  CDecoder decoder(encoding);
  std::vector<STextLine> decoded;
  decoded.reserve(lines.size());
  int number = 0;
  for (const std::string_view line : lines) {
    ++number;
    if (isAscii(line)) {
      decoded.push_back({number, std::string(line)});
    } else if (auto good = decoder.decode(line)) {
      decoded.push_back({number, std::move(*good)});
    } else {
      faults.add(number, std::string("broken text encoding: this line is no ") + encoding);
    }
  }
  return decoded;
}

}  // namespace basket
