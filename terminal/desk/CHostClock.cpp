#include "CHostClock.h"

#include <QTimer>
#include <utility>

#include "CDesk.h"

namespace desk {

CLiveClock::CLiveClock(const CDesk& desk) : m_desk(desk), m_start(std::chrono::steady_clock::now()) {}

double CLiveClock::clockMSec() const {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - m_start).count();
}

QTimeZone CLiveClock::timeZone() const { return m_desk.timeZone(); }

void CLiveClock::singleShot(int msec, QObject* context, std::function<void()> action) {
  const int number = m_nNextPending++;
  m_pending[number] = {context, std::move(action)};
  QTimer::singleShot(msec, context, [this, number] { fire(number); });
}

void CLiveClock::fire(int number) {
  const auto found = m_pending.find(number);
  if (found == m_pending.end()) return;
  const SPending call = std::move(found->second);
  m_pending.erase(found);
  if (call.m_pContext) call.m_action();
}

bool CLiveClock::firePendingTimer() {
  std::vector<int> numbers;
  for (const auto& [number, call] : m_pending) numbers.push_back(number);
  for (const int number : numbers) fire(number);
  return !numbers.empty();
}

CManualClock::CManualClock(const CDesk& desk) : m_desk(desk) {}

QTimeZone CManualClock::timeZone() const { return m_desk.timeZone(); }

void CManualClock::singleShot(int msec, QObject* context, std::function<void()> action) {
  m_pending.push_back({msec, context, std::move(action)});
}

std::vector<int> CManualClock::pendingTimers() const {
  std::vector<int> times;
  for (const SPending& call : m_pending) {
    if (call.m_pContext) times.push_back(call.m_nMSec);
  }
  return times;
}

void CManualClock::advanceTo(double msec) {
  if (msec > m_dMSec) m_dMSec = msec;
}

bool CManualClock::firePendingTimer() {
  std::vector<SPending> pending;
  pending.swap(m_pending);
  bool fired = false;
  for (const SPending& call : pending) {
    if (!call.m_pContext) continue;
    fired = true;
    call.m_action();
  }
  return fired;
}

}  // namespace desk
