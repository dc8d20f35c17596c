#include "CSignalWatch.h"

#include <fcntl.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

namespace app {
namespace {

constexpr std::array<int, 3> SIGNALS = {SIGINT, SIGTERM, SIGHUP};
int g_nWrite = -1;  // the pipe's end for the handler

void handle(int number);

/// From now on they end the program at once; but what is ignored stays so.
void release() {
  for (const int each : SIGNALS) {
    struct sigaction now {};
    if (::sigaction(each, nullptr, &now) == 0 && now.sa_handler == handle) std::signal(each, SIG_DFL);
  }
}

/// Only what may be called in a handler.
void handle(int) {
  const int before = errno;
  release();
  const char byte = 0;
  // A byte that finds no place: another one is there.
  [[maybe_unused]] const ssize_t written = ::write(g_nWrite, &byte, 1);
  errno = before;
}

}  // namespace

CSignalWatch::CSignalWatch() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
  m_nRead = ends[0];
  g_nWrite = ends[1];
  auto* notifier = new QSocketNotifier(m_nRead, QSocketNotifier::Read, this);
  connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
    notifier->setEnabled(false);
    Q_EMIT sigEnd();
  });
  struct sigaction action {};
  action.sa_handler = handle;
  action.sa_flags = SA_RESTART;
  for (const int each : SIGNALS) {
    struct sigaction before {};
    ::sigaction(each, nullptr, &before);
    if (each != SIGHUP || before.sa_handler != SIG_IGN) ::sigaction(each, &action, nullptr);
  }
}

CSignalWatch::~CSignalWatch() {
  if (m_nRead < 0) return;
  release();
  ::close(m_nRead);
  ::close(std::exchange(g_nWrite, -1));
}

}  // namespace app
