#include "CEngineThread.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace app {
namespace {

/// How often the thread looks at the clock, in real time.
constexpr std::chrono::milliseconds BEAT(20);
/// The simulation is advanced in pieces of at most this much, so that the thread can always be stopped soon.
constexpr std::int64_t PIECE_MSEC = 10000;

}  // namespace

CEngineThread::CEngineThread(engine::CSimulation& simulation, desk::CDesk& desk, std::int64_t dayStart, SPace pace,
                             std::function<void()> atEnd)
    : m_simulation(simulation),
      m_desk(desk),
      m_taker(simulation, desk),
      m_nDayStart(dayStart),
      m_pace(pace),
      m_atEnd(std::move(atEnd)),
      m_nBegin(simulation.now()),
      m_nNow(simulation.now()) {}

void CEngineThread::start() {
  m_begin = std::chrono::steady_clock::now();
  m_bRuns = true;
  m_thread = std::thread([this] { run(); });
}

void CEngineThread::stop() {
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bStopping = true;
  }
  m_changed.notify_all();
  if (m_thread.joinable()) m_thread.join();
  m_bRuns = false;
}

std::vector<engine::Act> CEngineThread::takeLeft() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return std::exchange(m_acts, {});
}

void CEngineThread::post(engine::Act act) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  // Nobody would carry it out, and nobody would throw it away.
  if (!m_bStopping) m_acts.push_back(std::move(act));
}

void CEngineThread::ask(std::function<void(engine::CSimulation&)> question) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (!m_bStopping) m_questions.push_back(std::move(question));
}

/// Nobody waits for what the schedule asks: an answer would be taken for that to somebody's request.
void CEngineThread::takeDue(std::int64_t target) {
  for (;;) {
    const std::int64_t step = m_pSchedule ? m_pSchedule->nextStep(m_simulation) : -1;
    if (step < 0 || step > target) return;
    m_simulation.advanceTo(step);
    const CActSchedule::SDue due = m_pSchedule->take(m_simulation);
    m_simulation.server().setAnswering(false);
    m_taker.take(due.m_acts, due.m_nLine);
    m_simulation.server().setAnswering(true);
  }
}

std::int64_t CEngineThread::targetTime() const {
  const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - m_begin;
  const std::int64_t target = m_nBegin + static_cast<std::int64_t>(elapsed.count() * m_pace.m_dSpeed);
  return m_pace.m_nEnd < 0 ? target : std::min(target, m_pace.m_nEnd);
}

/// Formed from the time, not noted by the engine's thread, which may be waiting for the disk.
double CEngineThread::lag() const {
  return m_bRuns ? static_cast<double>(targetTime() - m_nNow) / m_pace.m_dSpeed / 1000 : 0;
}

void CEngineThread::run() {
  bool behind = false;
  for (;;) {
    std::vector<engine::Act> acts;
    std::vector<std::function<void(engine::CSimulation&)>> questions;
    {
      std::unique_lock<std::mutex> lock(m_mutex);
      if (!behind) m_changed.wait_for(lock, BEAT, [this] { return m_bStopping; });
      if (m_bStopping) return;
      acts.swap(m_acts);
      questions.swap(m_questions);
    }
    m_taker.take(acts, 0);
    for (const auto& question : questions) question(m_simulation);
    const std::int64_t target = targetTime();
    if (runStep(std::min(target, m_nNow + PIECE_MSEC))) {
      m_atEnd();
      return;
    }
    behind = m_nNow < target;
  }
}

std::vector<engine::SOrderUse> CEngineThread::takeOrderUse() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_bUseTaken = true;
  return m_orderUse;
}

std::vector<engine::SOrderUse> CEngineThread::orderUse() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_orderUse;
}

void CEngineThread::stepSimulation(std::int64_t target) {
  engine::COrderRates& rates = m_simulation.engine().router().rates();
  rates.restartSeconds(m_simulation.now());
  takeDue(target);
  m_simulation.advanceTo(target);
  std::vector<engine::SOrderUse> use = rates.use();
  const std::lock_guard<std::mutex> lock(m_mutex);
  // What nobody has taken yet still counts. Accounts are added at the end.
  if (std::exchange(m_bUseTaken, false)) m_orderUse.clear();
  for (std::size_t i = 0; i < m_orderUse.size(); ++i) {
    use[i].m_nSecond = std::max(use[i].m_nSecond, m_orderUse[i].m_nSecond);
  }
  m_orderUse.swap(use);
}

/// True when the clock has reached its end.
bool CEngineThread::runStep(std::int64_t target) {
  stepSimulation(target);
  const std::int64_t before = m_nNow;
  m_nNow = target;
  m_nPublished = m_simulation.engine().publishedCount();
  if (before / 1000 != target / 1000) m_desk.setNow(m_nDayStart + target / 1000);
  return m_pace.m_nEnd >= 0 && target >= m_pace.m_nEnd;
}

}  // namespace app
