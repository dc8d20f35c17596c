/// How much of a source is read.
#pragma once

namespace basket {

constexpr int MOST_COLUMNS = 1'024;  // what stands further to the right is no basket
constexpr int MOST_LINES = 200'000;
constexpr const char* TOO_MANY_LINES = "超过 200000 行";

}  // namespace basket
