#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CDesk.h"
#include "CSimulation.h"
#include "IDeskObserver.h"

namespace app {

/// Forms the text of what an engine puts out, second by second, for the day log: of each task what is new of it and of
/// its orders, what they traded, hedges, messages, and once a minute the quotes of what is traded. docs/daylog.md
/// describes it; CPastDay reads it. It costs a look at a pointer for each order that is not over. On the thread that
/// publishes.
class CDayOutputs : public desk::IDeskObserver {
 public:
  /// Both must outlive this object; the simulation may still be on its way.
  CDayOutputs(const desk::CDesk& desk, const std::unique_ptr<engine::CSimulation>& simulation)
      : m_desk(desk), m_simulation(simulation) {}

  /// Something that the engine tells its user.
  void addMessage(std::int64_t msec, bool warning, const std::string& text);
  /// What the hedge manager announces; observers hear of it later, and on another thread.
  void addHedgeVolume(int taskId, int lots);
  void addHedgeStatus(int taskId, int status);
  /// What came since the last call, as one JSON object; empty for nothing. msec: the second that has ended.
  std::string take(std::int64_t msec);

  void onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void onHedgeState(int groupId, int status) override;
  void onProgress(const std::string& detailKey, const TC::CTaskProgress& progress) override;
  void onTask(const desk::SPublication& publication) override;

 private:
  struct STask {
    ksservice::CTaskDetail m_told;                   ///< as it was told last, without its parameters and orders
    std::vector<ksservice::COrderInfoPtr> m_orders;  ///< as they were told last
    std::size_t m_nOver = 0;                         ///< so many of the first ones are over: nothing of them changes
    std::vector<int> m_lines;                        ///< of a server task's orders, as far as its progress told it
  };

  void addFacts(const desk::SPublication& publication, STask& known);
  void addOrders(const desk::SPublication& publication, STask& known);
  void addHedge(const char* what, int id, int value);
  void addQuotes(std::int64_t msec);
  void addWaits();
  std::int64_t now() const { return m_simulation->now(); }
  void use(const std::string& market, const std::string& code);

  const desk::CDesk& m_desk;
  const std::unique_ptr<engine::CSimulation>& m_simulation;
  std::unordered_map<std::string, STask> m_tasks;  ///< by the detail's key
  struct SUsed {
    std::string m_strMarket;
    std::string m_strCode;
    TC::CQuote m_told{};  ///< its quote as it was told last
  };
  std::vector<SUsed> m_used;
  std::set<std::pair<std::string, std::string>> m_usedNames;
  std::size_t m_nQuoted = 0;  ///< so many of those in use have had a quote told
  // Items with a comma behind each.
  std::string m_strTasks;
  std::string m_strHedges;
  std::string m_strQuotes;
  std::string m_strLog;
  std::string m_strWaits;
};

}  // namespace app
