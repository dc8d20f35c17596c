/// The bytes of a file that somebody names. Any thread.
#pragma once

#include <string>

namespace basket {

enum class ERefusal { None, Unreadable, NoFile, TooLarge };

struct SFileBytes {
  std::string m_strBytes;
  ERefusal m_refusal = ERefusal::None;
};

/// At most 50 MB of a regular file, which is looked at first: a device or a pipe has no end.
SFileBytes readFileBytes(const std::string& path);
/// "cannot be read" and the like.
const char* refusalText(ERefusal refusal);
constexpr std::size_t MOST_BYTES = 50'000'000;

}  // namespace basket
