/// A user who clicks about on a simulated day, and what must hold whatever he does.
#pragma once

#include <set>
#include <vector>

#include "SafetyTruth.h"

namespace GV {
class CCommonDialog;
class CHpfTreeTable;
}  // namespace GV

namespace test {

/// What happened on days that were run.
struct SSafetyCounts {
  long m_nClicks = 0;
  long m_nDialogs = 0;
  long m_nAccepted = 0;
  long m_nPatches = 0;   ///< tasks that were asked for after a dialog
  long m_nDirect = 0;    ///< tasks that a host asked for without one
  long m_nRefused = 0;   ///< creations
  long m_nFigures = 0;   ///< rows whose figures were compared
  long m_nMessages = 0;  ///< message boxes
};

/// Runs one day; GUI thread, one at a time.
class CSafetyDay : public desk::IDeskObserver {
 public:
  CSafetyDay(std::uint64_t seed, SSafetyCounts& counts);
  ~CSafetyDay() override;

  void run();
  /// The first rule that was broken, and what the user did before; empty: none.
  std::string fault() const;

  void onCreateTask(const desk::SCreateRequest& request) override;
  void onCreateReply(const utils::KSError& error, int taskId) override;
  void onTask(const desk::SPublication& publication) override;
  void onOperateServerTask(const std::string& serverTaskKey, const ksservice::CTaskOpRecord& record) override;
  void onOperateLocalTask(int taskId, const desk::AccountPtr& account, const ksservice::CTaskOpRecord& record) override;
  void onPauseLocalTask(int taskId, const desk::AccountPtr& account) override;
  void onResumeLocalTask(int taskId, const desk::AccountPtr& account) override;

 private:
  using Sends = std::vector<std::string>;

  void check(bool holds, const std::string& rule);
  void note(const std::string& act) { m_acts.push_back(act); }

  // The user
  void step();
  void act();
  void clickRowButton();
  void clickToolBar();
  void sendEvent();
  void patchDirectly();
  void expectSends(const Sends& expected, const std::string& act);
  Sends sendsOf(int basket, int operation) const;
  void appendSends(Sends& sends, int basket, bool patches, int operation) const;
  int anyBasket();
  bool hasServerTask(int basket) const;

  // His dialogs
  void work(GV::CCommonDialog& dialog);
  void editRows(GV::CCommonDialog& dialog);
  void endDialog(GV::CCommonDialog& dialog);

  // The rules
  void refresh();
  void checkLimits();
  void checkFigures();

  std::uint64_t m_nSeed;
  SSafetyCounts& m_counts;
  SDayPlan m_plan;
  Random m_random;
  std::vector<std::string> m_acts;
  std::string m_strFault;
  CSafetyMarket m_market;
  GV::CHpfTreeTable* m_pTable;

  std::vector<ksservice::CTaskDetailPtr> m_seen;  ///< details as the panel saw them last
  Sends m_sends;                                  ///< since the last click
  bool m_bConfirmed = false;                      ///< a dialog was accepted with a patch, and no task asked for yet
  bool m_bDirect = false;                         ///< a direct patch is under way
  std::map<std::string, int> m_confirmed;         ///< what the dialog said, by its rows' names
  struct SAsked {
    std::map<LineKey, int> m_volumes;
  };
  std::deque<SAsked> m_asked;      ///< creations without an answer, the oldest first
  std::set<int> m_patchesStarted;  ///< tasks whose detail came, while their creation had no answer yet
  std::set<GV::CCommonDialog*> m_open;
};

}  // namespace test
