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

  /// Nothing when the text is broken in this encoding. A byte 0 is broken text in any.
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

/// Of UTF-16 in its two orders, with a mark or told by the zeros of its ASCII characters.
enum class EWide { No, Little, Big };

EWide wideOf(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE")) return EWide::Little;
  if (bytes.starts_with("\xFE\xFF")) return EWide::Big;
  const std::string_view start = bytes.substr(0, 512);
  std::size_t zeros[2] = {0, 0};
  for (std::size_t i = 0; i < start.size(); ++i) zeros[i % 2] += start[i] == '\0' ? 1 : 0;
  if (zeros[1] > start.size() / 8 && zeros[0] == 0) return EWide::Little;
  return zeros[0] > start.size() / 8 && zeros[1] == 0 ? EWide::Big : EWide::No;
}

void appendUtf8(char32_t code, std::string& text) {
  const auto add = [&text](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  const auto tail = [&add, code](int shift) { add(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) return add(code);
  if (code < 0x800) {
    add(0xC0 | (code >> 6));
  } else if (code < 0x10000) {
    add(0xE0 | (code >> 12));
    tail(6);
  } else {
    add(0xF0 | (code >> 18));
    tail(12);
    tail(6);
  }
  tail(0);
}

/// A broken character becomes a byte that no UTF-8 has, so that its line is found to be broken.
std::string narrowText(std::string_view bytes, EWide order) {
  const auto unit = [&](std::size_t at) -> char32_t {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return order == EWide::Little ? first | second << 8 : second | first << 8;
  };
  std::string text;
  std::size_t at = 0;
  for (; at + 1 < bytes.size(); at += 2) {
    const char32_t high = unit(at);
    const char32_t low = (high & 0xFC00) == 0xD800 && at + 3 < bytes.size() ? unit(at + 2) : 0;
    if ((high & 0xF800) != 0xD800) {
      appendUtf8(high, text);
    } else if ((low & 0xFC00) == 0xDC00) {
      appendUtf8(0x10000 + ((high & 0x3FF) << 10 | (low & 0x3FF)), text);
      at += 2;
    } else {
      text += '\xFF';
    }
  }
  if (at < bytes.size()) text += '\xFF';
  return text;
}

std::string asciiOf(std::string_view text) {
  std::string ascii(text);
  for (char& letter : ascii) {
    if (static_cast<signed char>(letter) < ' ' && letter != '\t') letter = '?';
  }
  return ascii;
}

}  // namespace

std::vector<STextLine> decodeLines(std::string_view bytes) {
  const EWide wide = wideOf(bytes);
  std::string narrow;
  if (wide != EWide::No) narrow = narrowText(bytes, wide);
  std::string_view text = wide == EWide::No ? bytes : narrow;
  const bool marked = text.starts_with(BYTE_ORDER_MARK);
  if (marked) text.remove_prefix(BYTE_ORDER_MARK.size());
  const std::vector<std::string_view> lines = splitLines(text);
  const bool utf8 = marked || wide != EWide::No || isMostlyUtf8(lines);
  CDecoder decoder(utf8 ? "UTF-8" : "GB18030");
  const char* const encoding = wide != EWide::No ? "UTF-16" : utf8 ? "UTF-8" : "GB18030";
  std::vector<STextLine> decoded;
  decoded.reserve(lines.size());
  for (const std::string_view line : lines) {
    const int number = static_cast<int>(decoded.size()) + 1;
    if (isAscii(line)) {
      decoded.push_back({number, std::string(line)});
    } else if (auto good = decoder.decode(line)) {
      decoded.push_back({number, std::move(*good)});
    } else {
      decoded.push_back({number, asciiOf(line), encoding});
    }
  }
  return decoded;
}

}  // namespace basket
