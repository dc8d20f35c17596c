#include "CFileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Database.h"

namespace daylog {

CFileLock::CFileLock(const std::string& path) : m_nFile(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {
  if (m_nFile < 0) throw CFault(std::string("cannot write it: ") + std::strerror(errno));
  if (flock(m_nFile, LOCK_EX | LOCK_NB) == 0) return;
  const bool taken = errno == EWOULDBLOCK;
  const std::string reason = std::strerror(errno);
  close(m_nFile);
  throw CFault(taken ? "another terminal goes on with this day" : "cannot lock it: " + reason);
}

CFileLock::~CFileLock() { close(m_nFile); }

bool CFileLock::isEmpty() const {
  struct stat state {};
  return fstat(m_nFile, &state) == 0 && state.st_size == 0;
}

}  // namespace daylog
