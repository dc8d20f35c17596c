#pragma once

#include <functional>
#include <memory>
#include <string>

#include "CDayKeeper.h"
#include "CDesk.h"
#include "CSimulation.h"
#include "Inputs.h"
#include "Options.h"
#include "docks/CBlotter.h"

namespace app {

/// A kept day that is run again without a terminal, and may be run on. One thread.
class CDayRun {
 public:
  /// Stands at the beginning of the day then. fault(): why it cannot be run; nothing else may be called then.
  explicit CDayRun(const daylog::IDayLog& log);
  CDayRun(const CDayRun&) = delete;
  CDayRun& operator=(const CDayRun&) = delete;
  ~CDayRun();
  const std::string& fault() const { return m_strFault; }

  /// Told of each second that was run, with its state and outputs.
  using OnMark = std::function<void(daylog::SMark)>;
  void setOnMark(OnMark hook) { m_onMark = std::move(hook); }
  /// Carries the log's acts out up to a moment, and runs on to it; -1: to the log's end. Milliseconds since midnight.
  /// Empty, or why the day is another one.
  std::string runAgain(std::int64_t until = -1);
  /// Runs on without further acts of the log.
  void runOn(std::int64_t until);

  /// Milliseconds since midnight.
  std::int64_t now() const { return m_pSimulation->now(); }
  const SOptions& options() const { return m_options; }
  desk::CDesk& desk() { return m_desk; }
  engine::CSimulation& simulation() { return *m_pSimulation; }
  const CBlotter& blotter() const { return *m_pBlotter; }

 private:
  const daylog::IDayLog& m_log;
  std::string m_strFault;
  SOptions m_options;
  desk::CDesk m_desk;
  std::unique_ptr<engine::CSimulation> m_pSimulation;
  std::unique_ptr<CDayOutputs> m_pOutputs;
  std::unique_ptr<CBlotter> m_pBlotter;
  OnMark m_onMark = [](const daylog::SMark&) {};
};

}  // namespace app
