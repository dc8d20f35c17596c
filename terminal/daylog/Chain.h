#pragma once

#include <array>
#include <string>
#include <string_view>

#include "DayLog.h"

namespace daylog {

/// SHA-256, or a part of a chain of them.
using Hash = std::array<unsigned char, 32>;

std::string toHex(const Hash& hash);
/// 32 random hexadecimal digits.
std::string randomIdentifier();

/// What the first row of a chain follows. chain: "entries" or "marks"; identifier: the file's own.
Hash chainBegin(std::string_view chain, std::string_view identifier);
/// The hash of a row that follows one with a hash. Each part is framed by its length, so that no two different rows
/// give the same bytes.
Hash chainNext(const Hash& before, const SEntry& entry);
Hash chainNext(const Hash& before, std::int64_t number, const SMark& mark);
/// Of both chains and their lengths.
Hash headOf(const Hash& entries, std::size_t entryCount, const Hash& marks, std::size_t markCount);

}  // namespace daylog
