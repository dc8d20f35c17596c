/// What a user made of lines, kept when their source is read anew. Any thread.
#pragma once

#include <vector>

#include "SDraftState.h"

namespace preview {

/// Makes one line of the checked lines of a security that say the same but for their quantities; it remembers them.
std::vector<SDraftLine> mergedLines(const std::vector<SDraftLine>& lines);

/// Puts back what the user made of lines of which the source still says the same. A line that was merged comes back as
/// one while the source has all of its parts; else the parts do, each by itself.
void keepEdits(const std::vector<SDraftLine>& before, std::vector<SDraftLine>& after);

}  // namespace preview
