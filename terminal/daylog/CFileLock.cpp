#include "CFileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>

#include "Database.h"

namespace daylog {
namespace {

/// What this process has locked. It is looked up before a file is opened.
std::mutex takenMutex;
std::set<std::pair<std::uint64_t, std::uint64_t>> taken;

std::pair<std::uint64_t, std::uint64_t> identityOf(const struct stat& state) { return {state.st_dev, state.st_ino}; }

}  // namespace

CFileLock::CFileLock(const std::string& path) : CFileLock(path, O_CREAT) {}

CFileLock::CFileLock(const std::string& path, SNewFile) : CFileLock(path, O_CREAT | O_EXCL) {}

CFileLock::CFileLock(const std::string& path, int flags) {
  const std::lock_guard lock(takenMutex);
  struct stat state {};
  if (stat(path.c_str(), &state) == 0) {
    if ((flags & O_EXCL) != 0) throw CFault("is there already");
    if (taken.contains(identityOf(state))) throw CTakenFault();
  }
  m_nFile = open(path.c_str(), O_RDWR | O_CLOEXEC | flags, 0644);
  if (m_nFile < 0) throw CFault(std::string("cannot write it: ") + std::strerror(errno));
  if (flock(m_nFile, LOCK_EX | LOCK_NB) == 0 && fstat(m_nFile, &state) == 0) {
    m_identity = identityOf(state);
    taken.insert(m_identity);
    return;
  }
  const bool isTaken = errno == EWOULDBLOCK;
  const std::string reason = std::strerror(errno);
  close(m_nFile);
  if (isTaken) throw CTakenFault();
  throw CFault("cannot lock it: " + reason);
}

CFileLock::~CFileLock() {
  const std::lock_guard lock(takenMutex);
  taken.erase(m_identity);
  close(m_nFile);
}

bool CFileLock::isEmpty() const {
  struct stat state {};
  return fstat(m_nFile, &state) == 0 && state.st_size == 0;
}

}  // namespace daylog
