#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "CDrillUser.h"
#include "CDrillWire.h"
#include "DrillRules.h"

namespace drill {

/// Two simulated days of a terminal under faults: everything that happens follows from the seed, one step at a time.
/// GUI thread, one at a time.
class CDrill {
 public:
  struct SSettings {
    std::uint64_t m_nSeed = 1;
    EPlant m_ePlant = EP_None;
    std::filesystem::path m_folder;       ///< for the days' files
    CDrillJournal* m_pJournal = nullptr;  ///< gets its minute; null: none
  };
  CDrill(SSettings settings, TC::CreatePanelFunction createPanel);
  CDrill(const CDrill&) = delete;
  CDrill& operator=(const CDrill&) = delete;
  ~CDrill();

  /// To its end, or to the first violation.
  SReportCard run();

 private:
  void beginDay(int day);
  void runDay();
  void endDay();
  void openTerminal();
  void step();
  void passTime(std::int64_t msec);
  void moveTo(std::int64_t msec);
  void startBaskets();
  void misfortune();
  void die();
  void refresh();
  void settleMarket();
  void quiet(bool ended);
  void checkMarket();
  void checkTable(bool ended);
  void startNewDay();
  void checkNothingKept();
  void check(ERule rule, const std::string& fault);
  bool isOver() const { return !m_card.isGood(); }
  bool happens(EFault fault, int percent);

  SSettings m_settings;
  TC::CreatePanelFunction m_createPanel;
  SReportCard m_card;
  int m_nDay = 0;
  std::optional<SDrillPlan> m_plan;
  std::optional<CDraw> m_draw;
  std::unique_ptr<CDrillWire> m_pWire;
  std::unique_ptr<CDrillEngine> m_pEngine;
  std::unique_ptr<CDrillUser> m_pUser;
  std::unique_ptr<CDrillTerminal> m_pTerminal;
  std::vector<engine::SBasketOrder> m_baskets;  ///< that have not been started
  SBooks m_books;                               ///< with which the day began
  std::int64_t m_nNow = 0;                      ///< of the engine, milliseconds since midnight
  std::int64_t m_nClock = 0;                    ///< the same of the terminal, which never goes back
  int m_nStepsToKill = -1;
  int m_nStepsToSpace = 0;  ///< until the disk has room again
  int m_nStepsToBurst = -1;
  bool m_bInDialog = false;
  std::vector<ksservice::CTaskDetailPtr> m_kept;  ///< by the plant
};

}  // namespace drill
