#pragma once

#include <string>

namespace daylog {

/// Keeps a file for one process: whoever else tries is refused, by whatever name it knows the file, until this object
/// goes or the process dies. Readers do not ask.
class CFileLock {
 public:
  /// Makes the file, empty, where there is none. Throws CFault.
  explicit CFileLock(const std::string& path);
  ~CFileLock();
  CFileLock(const CFileLock&) = delete;
  CFileLock& operator=(const CFileLock&) = delete;

  bool isEmpty() const;

 private:
  int m_nFile;
};

}  // namespace daylog
