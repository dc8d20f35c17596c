#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "CDayOutputs.h"
#include "DayLog.h"
#include "IActKeeper.h"

namespace app {

/// Keeps a session's acts in a day log, and beside them what the engine's state hashed to. Engine's thread, or the one
/// that has stopped it.
class CDayKeeper : public IActKeeper {
 public:
  /// The log must outlive the keeper.
  explicit CDayKeeper(daylog::IDayLog& log) : m_log(log) {}

  std::string keep(std::int64_t msec, const std::vector<engine::Act>& acts, int actsLine) override;

  /// The state at a second of the clock. It is kept with the next acts, or a second later: it follows from the acts, so
  /// that it may be lost.
  void mark(daylog::SMark mark);
  /// Keeps what mark() still holds back. Empty, or why it could not be kept.
  std::string flush();
  /// Why what was to be kept last could not be; empty when it was kept. Any thread.
  std::string fault() const;

 private:
  std::string append(const std::vector<daylog::SEntry>& entries);

  daylog::IDayLog& m_log;
  std::vector<daylog::SMark> m_marks;
  std::chrono::steady_clock::time_point m_flushed = std::chrono::steady_clock::now();
  mutable std::mutex m_mutex;  ///< guards what stands below
  std::string m_strFault;
};

/// What is wanted of a day that is run again, beside the state at its end.
struct SAgain {
  /// Watches the simulation; what it forms is held against what was kept, where a log has that (a reader's has).
  CDayOutputs* m_pOutputs = nullptr;
  /// Told the clock, milliseconds since midnight, now and then; false gives up.
  std::function<bool(std::int64_t)> m_progress = [](std::int64_t) { return true; };
  /// Told of each second.
  std::function<void(daylog::SMark)> m_onSecond{};
  /// Told of each second behind the last mark of the log.
  std::function<void(daylog::SMark)> m_onNew = [](const daylog::SMark&) {};
};

/// Brings a simulation that stands at the beginning of a day to where a log ends: carries its acts out at their times
/// and runs on to its last mark. Before anybody listens, on the thread that owns the simulation. Empty, or why the day
/// is another one: an entry that cannot be read, a state or outputs that are not as they were kept.
std::string runAgain(const daylog::IDayLog& log, engine::CSimulation& simulation, desk::CDesk& desk,
                     const SAgain& again);

}  // namespace app
