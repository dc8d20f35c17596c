/// Text of unknown encoding to UTF-8 lines. Any thread.
#pragma once

#include <string>
#include <vector>

#include "TextTable.h"

namespace basket {

/// A line of a file in UTF-8, without its line ending.
struct STextLine {
  int m_nLine = 0;  ///< from 1
  std::string m_strText;
};

/// The lines of a file's bytes: UTF-8 with or without byte order mark, or GB18030, whichever more of the lines are
/// (both may look alike in a line, hardly in most of them); ended by LF, CRLF or CR. Adds a fault for every line that
/// is broken in the file's encoding, and leaves that line out.
std::vector<STextLine> decodeLines(const std::string& bytes, CFaults& faults);

}  // namespace basket
