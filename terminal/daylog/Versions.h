/// The versions of a day file and what stands in each.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Database.h"

namespace daylog {

inline constexpr std::int64_t APPLICATION_ID = 0x42534b44;  // "BSKD"

std::int64_t newestVersion();
/// The statements that make the tables of a version, in their order; those of an older one come first.
std::vector<std::string> tablesOf(std::int64_t version);
/// The version of a file's tables; 0 for a day of which the making was cut off. Throws CFault for a file that is no
/// day, or a newer one.
std::int64_t versionOf(CDatabase& database);

}  // namespace daylog
