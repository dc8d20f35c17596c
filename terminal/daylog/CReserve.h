#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "DayLog.h"

namespace daylog {

/// Space on the disk that is set aside for what has to be kept even when there is no more. A commit only writes the
/// write-ahead log, over what was carried over into the file or behind its end, so that space behind its end is what it
/// takes; a carrying over that fails makes the log longer, no more. A file system that cannot set space aside has no
/// reserve, and none is missed.
class CReserve {
 public:
  explicit CReserve(const std::string& day) : m_strLog(day + "-wal") {}

  /// Sees that the reserve is still there behind a commit of these. Throws CFault when there is no space for both.
  void leaveBehind(const std::vector<SEntry>& entries, const std::vector<SMark>& marks);

 private:
  const std::string m_strLog;
  std::int64_t m_nBytes = 0;  ///< of the log, from its beginning, that have their space
};

}  // namespace daylog
