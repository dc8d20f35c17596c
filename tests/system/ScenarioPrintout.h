#pragma once

#include <string>

namespace test {

/// Plays a journal and prints what came out, as a person would read it: a dump as an indented tree, every other line as
/// it is, and last the files that exports left, "|" behind each line. Faults of the journal stand in the printout too.
std::string playAndPrint(const std::string& fileName);

}  // namespace test
