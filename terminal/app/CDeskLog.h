#pragma once

#include <QObject>
#include <functional>

#include "IDeskObserver.h"
#include "docks/CLogDock.h"

namespace app {

/// Brings the host's messages and the engine's events to the log dock. Made on the GUI thread; what it is told on other
/// threads comes to the dock by queued calls.
class CDeskLog : public QObject, public desk::IDeskObserver {
  Q_OBJECT

 public:
  /// clock gives milliseconds since midnight of the simulated day, on any thread.
  CDeskLog(CLogDock& dock, std::function<qint64()> clock);

  /// Any thread.
  void append(qint64 time, const QString& text, CLogDock::ELevel level);
  void onShowMsg(const QString& text, int kind) override;

 private:
  CLogDock& m_dock;
  std::function<qint64()> m_clock;
};

}  // namespace app
