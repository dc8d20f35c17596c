/// Text as people type it, made comparable. UTF-8; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace basket {

/// Full-width letters, digits and signs in ASCII; blanks of all kinds as one blank, none around; no invisible
/// characters, and without what spreadsheets put around a number to keep it text ('600000 and ="600000").
std::string normalized(std::string_view text);
/// normalized(), without any blanks and in small letters: under which titles and names are compared.
std::string folded(std::string_view text);

std::string_view trimmed(std::string_view text);
/// The characters of a text, each in its bytes.
std::vector<std::string_view> charactersOf(std::string_view text);
bool contains(std::string_view text, std::string_view part);
inline bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }
inline bool isLetter(char letter) { return (letter | 32) >= 'a' && (letter | 32) <= 'z'; }
/// A character beyond ASCII begins or goes on with such a byte.
inline bool isWide(char letter) { return static_cast<signed char>(letter) < 0; }

}  // namespace basket
