#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "Database.h"

namespace daylog {

/// Another terminal goes on with the day.
class CTakenFault : public CFault {
 public:
  CTakenFault() : CFault("another terminal goes on with this day") {}
};

/// Keeps a file for one process: whoever else tries is refused, by whatever name it knows the file, until this object
/// goes or the process dies. Readers do not ask. Once it is taken this process opens the file by SQLite only: whoever
/// closes another handle of it takes SQLite's own locks away.
class CFileLock {
 public:
  /// Makes the file, empty, where there is none. Throws CFault.
  explicit CFileLock(const std::string& path);
  /// A file that is there already is a fault.
  struct SNewFile {};
  CFileLock(const std::string& path, SNewFile);
  ~CFileLock();
  CFileLock(const CFileLock&) = delete;
  CFileLock& operator=(const CFileLock&) = delete;

  bool isEmpty() const;

 private:
  CFileLock(const std::string& path, int flags);

  int m_nFile = -1;
  std::pair<std::uint64_t, std::uint64_t> m_identity;  ///< device and inode
};

}  // namespace daylog
