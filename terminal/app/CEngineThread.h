#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "Acts.h"
#include "CActSchedule.h"
#include "CActTaker.h"
#include "CSimulation.h"

namespace app {

/// Runs a simulation on a host thread of its own, paced by real time. The simulation and its desk belong to that thread
/// from start() until stop() has returned or the end was reached.
class CEngineThread {
 public:
  struct SPace {
    double m_dSpeed = 1;       ///< simulated seconds in a real one
    std::int64_t m_nEnd = -1;  ///< milliseconds since midnight at which the clock stops for good; -1: never
  };

  /// atEnd is called once, on the engine's thread, when the clock has reached its end. The simulation must outlive
  /// this object.
  CEngineThread(engine::CSimulation& simulation, desk::CDesk& desk, std::int64_t dayStart, SPace pace,
                std::function<void()> atEnd);
  CEngineThread(const CEngineThread&) = delete;
  CEngineThread& operator=(const CEngineThread&) = delete;
  ~CEngineThread() { stop(); }

  /// Creator's thread, as stop.
  void start();
  /// Returns when the thread has ended, at the latest one step of the simulation later.
  void stop();

  /// Has acts kept before they are carried out; null: they are carried out at once. Before start(). It must outlive
  /// this object.
  void setKeeper(IActKeeper* keeper) { m_taker.setKeeper(keeper); }
  /// Has what is due at times of the clock carried out at exactly these steps, however fast it runs; null: nothing is.
  /// Before start(). It must outlive this object.
  void setSchedule(CActSchedule* schedule) { m_pSchedule = schedule; }
  /// What stop() has found waiting, which nobody carries out. After it.
  std::vector<engine::Act> takeLeft();
  /// Has an act carried out on the engine's thread, before its next step, after all that were posted before; nothing
  /// after stop(). One that cannot be kept is refused. Any thread.
  void post(engine::Act act);
  /// Has the engine's thread look at the simulation, before its next step, nothing after stop(); a question changes
  /// nothing in it. Any thread.
  void ask(std::function<void(engine::CSimulation&)> question);
  /// The simulated time, milliseconds since midnight. Any thread.
  std::int64_t now() const { return m_nNow; }
  /// How far the clock is behind the time that it is due at, seconds of real time; 0 while nothing runs. Any thread.
  double lag() const;
  /// What each account has sent; its seconds are those since the last call. Any thread.
  std::vector<engine::SOrderUse> takeOrderUse();
  /// The same without beginning those seconds anew. Any thread.
  std::vector<engine::SOrderUse> orderUse() const;
  /// Task details published so far. Any thread.
  std::uint64_t publishedCount() const { return m_nPublished; }

 private:
  void run();
  void takeDue(std::int64_t target);
  bool runStep(std::int64_t target);
  void stepSimulation(std::int64_t target);
  std::int64_t targetTime() const;

  engine::CSimulation& m_simulation;
  desk::CDesk& m_desk;
  CActTaker m_taker;
  std::int64_t m_nDayStart;
  SPace m_pace;
  std::function<void()> m_atEnd;
  CActSchedule* m_pSchedule = nullptr;
  std::int64_t m_nBegin;
  std::chrono::steady_clock::time_point m_begin;
  std::atomic<bool> m_bRuns{false};  ///< m_begin is set
  std::atomic<std::int64_t> m_nNow;
  std::atomic<std::uint64_t> m_nPublished{0};

  mutable std::mutex m_mutex;  ///< guards what stands below, but for the thread
  std::condition_variable m_changed;
  bool m_bStopping = false;
  std::vector<engine::Act> m_acts;
  std::vector<std::function<void(engine::CSimulation&)>> m_questions;
  std::vector<engine::SOrderUse> m_orderUse;
  bool m_bUseTaken = false;
  std::thread m_thread;
};

}  // namespace app
