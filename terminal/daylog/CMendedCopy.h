#pragma once

#include <string>

namespace daylog {

/// A copy of a damaged day, with the first page that a day has: it says how to read the others and where the tables
/// begin, and is the same in each day of a version but for its counters. In a folder of its own, which goes with this
/// object. What the copy holds is proved by its chains as ever.
class CMendedCopy {
 public:
  /// beside: the folder gets this name and an ending of its own. Throws CFault, also for the day of a newer terminal.
  CMendedCopy(const std::string& path, const std::string& beside);
  ~CMendedCopy();
  CMendedCopy(const CMendedCopy&) = delete;
  CMendedCopy& operator=(const CMendedCopy&) = delete;

  std::string path() const { return m_strFolder + "/day.db"; }

 private:
  void mend(const std::string& path) const;

  std::string m_strFolder;
};

}  // namespace daylog
