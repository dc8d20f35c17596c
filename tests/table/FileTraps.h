/// What can go wrong with a file, made on purpose for as long as an object lives.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <QFile>
#include <QString>
#include <csignal>

namespace test {

/// Makes root an ordinary user, who may not write everywhere.
class COrdinaryUser {
 public:
  COrdinaryUser() { m_bSwitched = geteuid() == 0 && seteuid(NOBODY) == 0; }
  COrdinaryUser(const COrdinaryUser&) = delete;
  COrdinaryUser& operator=(const COrdinaryUser&) = delete;
  ~COrdinaryUser() {
    if (m_bSwitched && seteuid(0) != 0) abort();
  }

 private:
  static constexpr uid_t NOBODY = 65534;
  bool m_bSwitched = false;
};

/// Lets no file grow beyond a size: a write beyond it fails as on a full disk.
class CFileSizeLimit {
 public:
  explicit CFileSizeLimit(rlim_t bytes) : m_previous(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_before);
    const rlimit limit = {bytes, m_before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  CFileSizeLimit(const CFileSizeLimit&) = delete;
  CFileSizeLimit& operator=(const CFileSizeLimit&) = delete;
  ~CFileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &m_before);
    std::signal(SIGXFSZ, m_previous);
  }

 private:
  void (*m_previous)(int);
  rlimit m_before = {};
};

}  // namespace test
