/// What becomes of lines that belong together: a security twice, and a source that is read again. Any thread.
#pragma once

#include <string>
#include <vector>

#include "Draft.h"

namespace draft {

/// A line, and those that it was made of.
struct SMerged {
  SLine m_line;
  std::vector<int> m_lines;  ///< indices, rising; one where nothing was merged
};

/// Makes one line of the checked lines of a security that have the same side, measure, limit and kind (by line, where
/// there is more than a side to it): where the first of them stood, with their quantities added up. All others stay as
/// they are.
std::vector<SMerged> merge(const std::vector<SLine>& lines, const std::vector<int>& kinds);

struct SChanges {
  std::vector<std::string> m_marks;  ///< by line after: "新增", or what of it is new with what it was; empty: nothing
  std::vector<int> m_gone;           ///< indices of lines before that are no more
};

/// Lines are the same by market, code and side, several of them in their order; else by market and code.
SChanges changesOf(const std::vector<SLine>& before, const std::vector<SLine>& after);

}  // namespace draft
