/// The host's clocks, time zone and timers. They come from the host so that a replay decides what time it is.
#pragma once

#include <QDateTime>
#include <QTimeZone>
#include <functional>

class QObject;

namespace utils {

/// What a terminal implements and installs (tc/Services.h).
class IHostClock {
 public:
  virtual ~IHostClock() = default;

  /// Milliseconds of a clock that never goes back. Any thread.
  virtual double clockMSec() const = 0;
  /// The zone in which times of day are shown. Any thread.
  virtual QTimeZone timeZone() const = 0;
  /// Calls action once on the GUI thread after msec milliseconds, unless context is gone by then. GUI thread.
  virtual void singleShot(int msec, QObject* context, std::function<void()> action) = 0;
};

/// Seconds of the host's clock. Any thread.
double clock();
/// Milliseconds of the host's clock. Any thread.
double clockMSec();
/// The host's timer, see IHostClock::singleShot. GUI thread.
void singleShot(int msec, QObject* context, std::function<void()> action);

}  // namespace utils

namespace GV {

/// A time since the epoch in the host's time zone. Any thread.
QDateTime secondToQDateTime(int seconds);

}  // namespace GV
