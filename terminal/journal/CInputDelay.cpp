#include "CInputDelay.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWindow>
#include <utility>

#include "CJobGate.h"

namespace journal {
namespace {

/// A copy of an event by which a user does something; null for any other.
std::unique_ptr<QEvent> copyOfInput(const QEvent& event) {
  switch (event.type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
      return std::make_unique<QMouseEvent>(static_cast<const QMouseEvent&>(event));
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
      return std::make_unique<QKeyEvent>(static_cast<const QKeyEvent&>(event));
    default:
      return nullptr;
  }
}

}  // namespace

CInputDelay::CInputDelay(desk::CJobGate& gate) : m_gate(gate) {
  QCoreApplication::instance()->installEventFilter(this);
}

CInputDelay::~CInputDelay() { QCoreApplication::instance()->removeEventFilter(this); }

/// Input comes to a window first and only then to the widgets in it.
bool CInputDelay::eventFilter(QObject* watched, QEvent* event) {
  if (!watched->isWindowType() || !event->spontaneous()) return false;
  std::unique_ptr<QEvent> input = copyOfInput(*event);
  if (!input || (m_waiting.empty() && m_gate.fenceIfSettled())) return false;
  m_waiting.emplace_back(qobject_cast<QWindow*>(watched), std::move(input));
  return true;
}

void CInputDelay::release() {
  if (m_waiting.empty()) return;
  QMetaObject::invokeMethod(
      this, [this] { handOn(); }, Qt::QueuedConnection);
}

/// Each by a posted event of its own: the first one may open a dialog, and the others must not wait for its end.
void CInputDelay::handOn() {
  if (m_waiting.empty() || !m_gate.fenceIfSettled()) return;
  for (auto& [window, event] : std::exchange(m_waiting, {})) {
    if (window) QCoreApplication::postEvent(window, event.release());
  }
  m_gate.fence();  // behind them
}

}  // namespace journal
