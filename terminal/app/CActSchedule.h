#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "CSimulation.h"
#include "DayLog.h"
#include "TimedActs.h"

namespace app {

/// What a wish comes to as things stand; nothing where nothing is left to be done.
std::vector<engine::Act> actsOf(const SWish& wish, const desk::CDesk& desk, engine::CSimulation& simulation);

/// Acts that are due at times of the simulated day. Engine's thread, or the one that has not started it yet.
class CActSchedule {
 public:
  /// tell gets what cannot be done, for the log. The desk must outlive this object.
  CActSchedule(std::vector<STimedAct> acts, const desk::CDesk& desk, std::function<void(const std::string&)> tell);

  /// The day goes on: what its log holds is not due again, nor what could not be kept when its step was run.
  void passOver(const daylog::IDayLog& log, const engine::CSimulation& simulation);

  /// The step of the clock at which the next act is due, milliseconds since midnight; -1: none is.
  std::int64_t nextStep(const engine::CSimulation& simulation) const;

  struct SDue {
    int m_nLine = 0;  ///< of the file
    std::vector<engine::Act> m_acts;
  };
  /// What the next one comes to as things stand, and it is due no more.
  SDue take(engine::CSimulation& simulation);

 private:
  std::vector<STimedAct> m_acts;
  std::size_t m_nNext = 0;
  const desk::CDesk& m_desk;
  std::function<void(const std::string&)> m_tell;
};

}  // namespace app
