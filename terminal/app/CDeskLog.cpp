#include "CDeskLog.h"

#include <utility>

namespace app {

CDeskLog::CDeskLog(CLogDock& dock, std::function<qint64()> clock) : m_dock(dock), m_clock(std::move(clock)) {}

void CDeskLog::append(qint64 time, const QString& text, CLogDock::ELevel level) {
  QMetaObject::invokeMethod(this, [this, time, text, level] { m_dock.append(time, text, level); });
}

void CDeskLog::onShowMsg(const QString& text, int) { append(m_clock(), text, CLogDock::ELevel::Warning); }

}  // namespace app
