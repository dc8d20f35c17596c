#pragma once

#include <QObject>
#include <QPointer>
#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <vector>

#include "utils/Clock.h"

namespace desk {

class CDesk;

/// A terminal that runs: the machine's steady clock and Qt's timers; times are shown in the session's time zone.
class CLiveClock : public utils::IHostClock {
 public:
  explicit CLiveClock(const CDesk& desk);

  double clockMSec() const override;
  QTimeZone timeZone() const override;
  void singleShot(int msec, QObject* context, std::function<void()> action) override;

  /// Runs the calls that are pending now, each before its time and never again: what ends a session need not wait for
  /// a timer. False when there was none. GUI thread.
  bool firePendingTimer();

 private:
  struct SPending {
    QPointer<QObject> m_pContext;
    std::function<void()> m_action;
  };

  void fire(int number);

  const CDesk& m_desk;
  std::chrono::steady_clock::time_point m_start;
  std::map<int, SPending> m_pending;
  int m_nNextPending = 0;
};

/// A replay: the clock stands still until it is moved, and a timer goes off when it is told to, whatever its time.
class CManualClock : public utils::IHostClock {
 public:
  explicit CManualClock(const CDesk& desk);

  double clockMSec() const override { return m_dMSec; }
  QTimeZone timeZone() const override;
  void singleShot(int msec, QObject* context, std::function<void()> action) override;

  /// Moves the clock forward; an earlier time leaves it where it is. GUI thread.
  void advanceTo(double msec);
  /// Runs the calls that are pending and whose context still lives, in the order in which they were asked for; what
  /// they ask for in turn stays pending. False when there was none. GUI thread.
  bool firePendingTimer();
  /// After how many milliseconds each of them was asked for. GUI thread.
  std::vector<int> pendingTimers() const;

 private:
  struct SPending {
    int m_nMSec;
    QPointer<QObject> m_pContext;
    std::function<void()> m_action;
  };

  const CDesk& m_desk;
  std::atomic<double> m_dMSec{0};
  std::vector<SPending> m_pending;
};

}  // namespace desk
