#pragma once

#include <istream>
#include <string>
#include <vector>

#include "Lines.h"

namespace journal {

/// A journal as it was read. A journal with a fault has the lines before it, but is not played: a journal is refused as
/// a whole where its text is at fault.
struct SJournal {
  std::vector<SLine> m_lines;
  std::string m_strFault;  ///< "file:line: what is wrong"; empty: none
  std::string m_strTorn;   ///< the same of a last line that is left out, since its end is missing; empty: none
};

/// Any thread.
SJournal readJournal(std::istream& in, const std::string& fileName);

/// A fault in the form in which every fault of a journal is told.
std::string faultText(const std::string& fileName, int line, const std::string& what);

}  // namespace journal
