#include "Text.h"

#include <algorithm>

namespace basket {
namespace {

std::size_t lengthOf(char first) {
  const auto byte = static_cast<unsigned char>(first);
  if (byte < 0xC0) return 1;
  if (byte < 0xE0) return 2;
  return byte < 0xF0 ? 3 : 4;
}

bool isBlankCharacter(std::string_view character) {
  return character == "\u3000" || character == "\u00A0" || character == "\u2002" || character == "\u2003" ||
         character == "\u2009" || character == "\u202F";
}

bool isInvisible(std::string_view character) {
  return character == "\u200B" || character == "\u200C" || character == "\u200D" || character == "\uFEFF" ||
         character == "\u2060";
}

/// A character of three bytes that has a counterpart in ASCII; 0: it has none.
char narrowed(std::string_view character) {
  if (character == "\u2212" || character == "\u2013") return '-';
  if (character == "\u3001") return 0;
  if (character.size() != 3 || character[0] != '\xEF') return 0;
  const int code = ((character[1] & 0x3F) << 6) | (character[2] & 0x3F);  // within U+F000..U+FFFF
  return code >= 0xF01 && code <= 0xF5E ? static_cast<char>(code - 0xF01 + '!') : '\0';
}

void appendNormalized(std::string_view character, std::string& text) {
  const bool blank =
      character.size() == 1 ? static_cast<unsigned char>(character[0]) <= ' ' : isBlankCharacter(character);
  if (blank) {
    if (!text.empty() && text.back() != ' ') text += ' ';
  } else if (character.size() == 1) {
    text += character;
  } else if (!isInvisible(character)) {
    const char narrow = narrowed(character);
    if (narrow != 0) {
      text += narrow;
    } else {
      text += character;
    }
  }
}

}  // namespace

std::vector<std::string_view> charactersOf(std::string_view text) {
  std::vector<std::string_view> characters;
  while (!text.empty()) {
    characters.push_back(text.substr(0, lengthOf(text.front())));
    text.remove_prefix(characters.back().size());
  }
  return characters;
}

std::string normalized(std::string_view text) {
  std::string normal;
  normal.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::string_view character = text.substr(at, lengthOf(text[at]));
    appendNormalized(character, normal);
    at += character.size();
  }
  if (!normal.empty() && normal.back() == ' ') normal.pop_back();
  if (normal.size() > 3 && normal.starts_with("=\"") && normal.back() == '"')
    return normal.substr(2, normal.size() - 3);
  if (normal.size() > 1 && normal.front() == '\'') normal.erase(0, 1);
  return normal;
}

std::string folded(std::string_view text) {
  std::string fold = normalized(text);
  std::erase(fold, ' ');
  for (char& letter : fold) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter + 32);
  }
  return fold;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const std::size_t from = text.find_first_not_of(blanks);
  return from == std::string_view::npos ? std::string_view()
                                        : text.substr(from, text.find_last_not_of(blanks) - from + 1);
}

bool contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

}  // namespace basket
