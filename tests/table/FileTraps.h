/// What can go wrong with a file, made on purpose for as long as what is given back lives.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <QScopeGuard>
#include <csignal>
#include <cstdlib>

namespace test {

/// Makes root an ordinary user, who may not write everywhere.
[[nodiscard]] inline auto asOrdinaryUser() {
  constexpr uid_t NOBODY = 65534;
  const bool switched = geteuid() == 0 && seteuid(NOBODY) == 0;
  return qScopeGuard([switched] {
    if (switched && seteuid(0) != 0) std::abort();
  });
}

/// Lets no file grow beyond a size: a write beyond it fails as on a full disk.
[[nodiscard]] inline auto withFilesUpTo(rlim_t bytes) {
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limit = {bytes, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  return qScopeGuard([before, handler = std::signal(SIGXFSZ, SIG_IGN)] {
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
  });
}

}  // namespace test
