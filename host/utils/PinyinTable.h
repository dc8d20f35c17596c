#pragma once

#include <vector>

namespace utils {

/// Characters whose readings have these initials, and no others.
struct SPinyinInitials {
  const char* letters;         ///< "hx"
  const char16_t* characters;  ///< of the basic plane
};

/// The common characters, each once. Any thread.
const std::vector<SPinyinInitials>& pinyinInitials();

}  // namespace utils
