#include "CJobGate.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <utility>

namespace desk {
namespace {

bool onGuiThread() { return qApp && QThread::currentThread() == qApp->thread(); }

}  // namespace

void CJobGate::jobPosted(utils::EPanelJob) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  ++m_nJobs;
}

void CJobGate::jobBegins(utils::EPanelJob job) {
  BeginHook hook;
  {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_bHold && m_nChangeDepth == 0 && m_nFences == 0; });
    hook = m_beginHook;
    m_bRunning = true;
  }
  // No change can start now: this job is still posted.
  if (hook) hook(job);
}

void CJobGate::jobEnded(utils::EPanelJob) {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bRunning = false;
  }
  // Before the job counts as ended: nothing may slip in between.
  fence();
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_nJobs;
  }
  m_changed.notify_all();
}

void CJobGate::setRecording(bool on, BeginHook beginHook, FenceHook fenceHook) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_bRecording = on;
  m_bFencesDropped = false;
  m_beginHook = std::move(beginHook);
  m_fenceHook = std::move(fenceHook);
}

void CJobGate::fence() {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_bRecording || m_bFencesDropped) return;
    ++m_nFences;
  }
  QMetaObject::invokeMethod(
      &m_receiver, [this] { passFence(); }, Qt::QueuedConnection);
}

bool CJobGate::fenceIfSettled() {
  {
    std::unique_lock<std::mutex> lock(m_mutex);
    const std::thread::id self = std::this_thread::get_id();
    m_changed.wait(lock, [&] { return m_nChangeDepth == 0 || m_changer == self; });
    if (!isSettledLocked()) return false;
    if (!m_bRecording || m_bFencesDropped) return true;
    ++m_nFences;
  }
  QMetaObject::invokeMethod(
      &m_receiver, [this] { passFence(); }, Qt::QueuedConnection);
  return true;
}

void CJobGate::passFence() {
  FenceHook hook;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    hook = m_fenceHook;
  }
  // The hook writes what was held back before anything else can be written.
  if (hook && !hook()) {
    QTimer::singleShot(0, &m_receiver, [this] { passFence(); });
    return;
  }
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_nFences > 0) --m_nFences;
  }
  m_changed.notify_all();
}

void CJobGate::dropFences() {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bFencesDropped = true;
    m_nFences = 0;
  }
  m_changed.notify_all();
}

void CJobGate::setHold(bool on) {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bHold = on;
  }
  m_changed.notify_all();
}

bool CJobGate::isIdle() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_nJobs == 0;
}

bool CJobGate::isRunning() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_bRunning;
}

bool CJobGate::isSettled() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return isSettledLocked();
}

bool CJobGate::waitIdle(int msec) const {
  std::unique_lock<std::mutex> lock(m_mutex);
  return m_changed.wait_for(lock, std::chrono::milliseconds(msec), [this] { return m_nJobs == 0; });
}

void CJobGate::whenIdle(std::function<void()> action) {
  if (!mustWait()) {
    action();
    return;
  }
  QTimer::singleShot(1, qApp, [this, action = std::move(action)]() mutable {
    if (mustWait()) {
      whenIdle(std::move(action));
      return;
    }
    // What the jobs handed to the GUI thread is queued by now; the action goes behind it.
    QMetaObject::invokeMethod(
        qApp, [this, action = std::move(action)]() mutable { whenIdle(std::move(action)); }, Qt::QueuedConnection);
  });
}

bool CJobGate::mustWait() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_bRecording && !isSettledLocked();
}

bool CJobGate::beginChange() {
  std::unique_lock<std::mutex> lock(m_mutex);
  if (!m_bRecording) return false;
  const std::thread::id self = std::this_thread::get_id();
  const auto free = [this, self] { return m_nChangeDepth == 0 || m_changer == self; };
  if (m_nChangeDepth == 0 || m_changer != self) {
    // The GUI thread waits for the end of another change at most, which is short and waits for nothing itself.
    const bool waitForJobs = !onGuiThread();
    m_changed.wait(lock, [&] { return free() && (!waitForJobs || isSettledLocked()); });
  }
  m_changer = self;
  ++m_nChangeDepth;
  return true;
}

void CJobGate::endChange() {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_nChangeDepth;
  }
  m_changed.notify_all();
}

CJobGate::CChange::CChange(CJobGate& gate) : m_gate(gate), m_bHeld(gate.beginChange()) {}

CJobGate::CChange::~CChange() {
  if (m_bHeld) m_gate.endChange();
}

}  // namespace desk
