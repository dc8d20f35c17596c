#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "CActTaker.h"
#include "CDayKeeper.h"
#include "CEngineDriver.h"
#include "CFaultyLine.h"

namespace drill {

/// The engine of a day, its market behind a faulty line, and the file that keeps the day on a disk that may be full.
/// It dies when it is told to and goes on with the file as it lies there. One thread.
class CDrillEngine {
 public:
  /// folder: for the day's files, made here. The observers are told what the engine puts out.
  CDrillEngine(const SDrillPlan& plan, const std::filesystem::path& folder, SReportCard& card,
               desk::IDeskObserver& observer);
  CDrillEngine(const CDrillEngine&) = delete;
  CDrillEngine& operator=(const CDrillEngine&) = delete;
  ~CDrillEngine();

  /// The desk that the engine fills: what a server knows.
  desk::CDesk& desk() { return *m_pDesk; }
  engine::CSimulation& simulation() { return *m_pSimulation; }
  const CFaultyLine& line() const { return *m_pLine; }
  const std::vector<daylog::SEntry>& entries() const;
  /// Milliseconds since midnight.
  std::int64_t now() const { return m_pSimulation->now(); }

  void setHedgeHooks(engine::CHedger::SHooks hooks);
  /// Has an act kept and carried out before the next step.
  void post(engine::Act act) { m_acts.push_back(std::move(act)); }
  void stepTo(std::int64_t msec);
  /// Keeps what the engine's state hashed to so far: an engine that goes on stands there.
  void keepMarks();
  void fillDisk(bool full);
  /// Nothing goes wrong any more.
  void calm();
  /// Dies between two steps, and goes on in a copy of the files as they lie there. Empty, or why it cannot.
  std::string die();

 private:
  class CDisk;

  void open();
  std::filesystem::path file() const { return m_folder / (std::to_string(m_nLife) + ".db"); }

  const SDrillPlan& m_plan;
  std::filesystem::path m_folder;
  SReportCard& m_card;
  desk::IDeskObserver& m_observer;
  engine::CHedger::SHooks m_hooks;
  int m_nLife = 0;
  std::unique_ptr<desk::CDesk> m_pDesk;
  std::unique_ptr<CDisk> m_pDisk;
  std::unique_ptr<app::CDayKeeper> m_pKeeper;
  std::unique_ptr<engine::CSimulation> m_pSimulation;
  CFaultyLine* m_pLine = nullptr;  ///< the simulation's
  std::unique_ptr<app::CActTaker> m_pTaker;
  app::CEngineDriver m_driver{[this](engine::Act act) { post(std::move(act)); }};
  std::vector<engine::Act> m_acts;
  std::vector<daylog::SMark> m_marks;
};

}  // namespace drill
