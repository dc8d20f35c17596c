#pragma once

#include <set>
#include <string>
#include <vector>

#include "Lines.h"

namespace journal {

/// Keeps the exports of a replay in the folder where it was started, and off what is there: a journal may come from
/// somebody else.
class CExportGuard {
 public:
  /// Throws CLineFault for a name that leaves the working directory, or of something that this replay has not made.
  /// An empty one stands for a cancelled export.
  void check(const std::string& file) const;
  /// The file was exported; it may be exported again.
  void exported(const std::string& file);

 private:
  std::set<std::string> m_made;
};

/// What is wrong with the exports of a journal as things stand, "file:line: what is wrong"; empty: nothing.
std::string exportFault(const std::vector<SLine>& lines, const std::string& fileName);

}  // namespace journal
