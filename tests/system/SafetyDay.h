/// A user who clicks about on a random day, and what must hold whatever he does.
#pragma once

#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "SafetyAmbush.h"
#include "SafetyHost.h"

namespace GV {
class CCommonDialog;
}  // namespace GV

namespace test {

/// The line of a row that is named "SH.600000买入".
LineKey lineOfRow(const std::string& account, const QString& row);

/// Runs one day; GUI thread, one at a time.
class CSafetyDay : private IPanelWatcher {
 public:
  CSafetyDay(std::uint64_t seed, unsigned allowed, bool all, DayCounts& counts);
  ~CSafetyDay() override;

  void run();
  /// The first rule that was broken, and what happened before; empty: none.
  const std::string& fault() const { return m_strFault; }

 private:
  using Sends = std::vector<std::string>;
  struct SView {
    int m_nSortColumn = -1;
    Qt::SortOrder m_eOrder = Qt::AscendingOrder;
    QMap<int, QString> m_filters;        ///< by column
    std::map<QString, bool> m_unfolded;  ///< by row
    std::set<QString> m_selected;
  };
  /// A dialog of a patch.
  struct SConfirmation {
    int m_nBasket = 0;
    int m_nLetGo = 0;                      ///< how often the panel had let go of its tasks when it opened
    int m_nDropped = 0;                    ///< ... and the user of this one
    std::map<std::string, int> m_volumes;  ///< accepted, by row
  };

  void onAsked(const testkit::CTestHost::SCreation& request, SCreation& creation) override;
  void onSent(const std::string& operation) override;
  void note(const std::string& text) override;
  void check(bool holds, const std::string& rule);
  bool has(EIngredient ingredient) const { return m_plan.has(ingredient); }
  /// Whether it is known what the panel knows.
  bool isCertain() const { return !has(ING_Held) && !has(ING_Faults); }

  // The day
  void step();
  void refresh(bool amidst = true);
  void quiet();
  void learn(const Details& details);
  void openPanel();
  static TC::CHpfBasketStatusTable& showQuantities(const TC::CBasketTasksPanel& panel);
  void load();
  void reopen();
  void kill();
  void startNewDay(bool amidst = false);

  // How he looks at the table
  int anyColumn();
  void changeView();
  void fold(const QString& key, bool all);
  void foldTasks();
  void selectRows(const QStringList& keys);
  void checkView();
  void putView(TC::CHpfBasketStatusTable& table) const;
  void compare(const TC::CBasketTasksPanel& fresh, const std::set<QString>& lost);

  // In the middle of a refresh
  void refreshAmidst();
  void lookAround();
  void letGo();
  std::size_t rows() const;
  std::set<QString> readLog();
  void fail();

  // The user
  void act();
  int anyBasket();
  void clickRowButton();
  void clickToolBar();
  void sendEvent(int basket, int code);
  void patchDirectly();
  void operate(const std::vector<int>& baskets, int operation, const std::string& words,
               const std::function<void()>& click);
  bool giveUp(int basket, int operation);
  Sends sendsOf(int basket, int operation) const;
  void appendSends(Sends& sends, int basket, bool patches, int operation) const;

  // His dialogs
  void work(GV::CCommonDialog& dialog);
  void editRows(GV::CCommonDialog& dialog);
  void disturb(int basket);
  void endDialog(GV::CCommonDialog& dialog, SConfirmation confirmation);
  void onNewBasket(const QString& lines);

  // The rules
  void checkLimits();
  Truth taken() const;
  void checkRest(const std::string& what, const std::vector<std::pair<LineKey, long long>>& lines);
  void checkNewest(int basket);
  void checkConfirmation();
  bool isWaiting(const SCreation& creation) const;
  std::string rootStatus(int basket) const;
  void checkWaits();
  void checkStops();
  LineKey figureKey(LineKey line) const;
  std::string accountOf(const QString& node) const;
  void checkFigures();
  void checkFresh(const std::set<QString>& lost);

  std::uint64_t m_nSeed;
  DayCounts& m_counts;
  SDayPlan m_plan;
  Random m_random;
  std::vector<std::string> m_notes;
  std::string m_strFault;
  CAmbush m_ambush;
  CSafetyHost m_host;
  std::unique_ptr<TC::CBasketTasksPanel> m_pPanel;
  TC::CHpfBasketStatusTable* m_pTable = nullptr;
  SView m_view;
  int m_nLetGo = 0;
  int m_nStepsToKill = 0;
  std::vector<boost::weak_ptr<TC::CBasketTask>> m_gone;  ///< tasks of which nobody must have kept anything

  Details m_known;                       ///< as the panel saw them last
  std::map<std::string, int> m_arrived;  ///< details of patches: the status in which it saw them first
  std::set<std::string> m_stopped;       ///< of these, those that need no stop any more
  std::set<std::string> m_paused;        ///< ... no pause
  std::multiset<std::string> m_stops;    ///< sent to what arrived
  std::map<LineKey, long long> m_handedOver;
  std::map<int, int> m_drops;  ///< by basket
  std::set<int> m_asked;       ///< baskets of which the user has asked for a patch, and not given it up
  bool m_bOperating = false;   ///< what is sent now is what a click asks for
  Sends m_sends;
  Sends m_dropSends;  ///< that must follow a new basket
  bool m_bConfirmed = false;
  bool m_bDirect = false;
  SConfirmation m_confirmation;
  std::set<GV::CCommonDialog*> m_open;
};

}  // namespace test
