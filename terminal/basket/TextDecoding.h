/// Text of unknown encoding to UTF-8 lines. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace basket {

/// A line of a file in UTF-8, without its line ending.
struct STextLine {
  int m_nLine = 0;  ///< from 1
  std::string m_strText;
  const char* m_pBroken =
      nullptr;  ///< the file's encoding, in which this line is broken; its text then is what of it is ASCII
};

/// The lines of a file's bytes: UTF-16; UTF-8 with or without byte order mark, or GB18030, whichever more of the lines
/// are (both may look alike in a line, hardly in most of them); ended by LF, CRLF or CR.
std::vector<STextLine> decodeLines(std::string_view bytes);

}  // namespace basket
