/// Lines of a journal made from bytes: each is well formed, and names what is mostly there.
#pragma once

#include <string>
#include <vector>

#include "Fuzz.h"

namespace fuzz {

/// One line, or one that is to open a dialog with the acts in it before it and what happens meanwhile behind it. rows:
/// the paths of those that there are; msec: since the journal began.
std::string nextLines(CBytes& bytes, const std::vector<std::string>& rows, int msec);

}  // namespace fuzz
