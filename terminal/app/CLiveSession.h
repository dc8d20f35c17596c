#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <functional>
#include <memory>
#include <ostream>

#include "CBasketDesk.h"
#include "CDayKeeper.h"
#include "CDeskLog.h"
#include "CEngineDriver.h"
#include "CEngineThread.h"
#include "CHostServices.h"
#include "CMainWindow.h"
#include "CPanelServices.h"
#include "CStateStore.h"
#include "OrderUse.h"
#include "SessionSetup.h"
#include "docks/CDocks.h"
#include "docks/CExceptionFinder.h"
#include "past/CDayReader.h"
#include "tc/PanelPlugin.h"

class QMenu;

namespace app {

/// A session on the simulated exchange: fills the desk, starts the baskets, shows the panel, and ends with a last
/// refresh, so that what is dumped then depends on the seed and the baskets alone. Hedges are the exception: the panel
/// starts them, in real time. GUI thread.
class CLiveSession : public QObject {
  Q_OBJECT

 public:
  /// Where a session leaves what it does; each may be null.
  struct SKeeps {
    std::ostream* m_pOut = nullptr;
    std::ostream* m_pRecord = nullptr;
    CStateStore* m_pState = nullptr;
    daylog::IDayLog* m_pDay = nullptr;  ///< a day of which it holds acts is gone on with
    /// Told the clock while such a day is run again, milliseconds since midnight; false gives up. Not kept.
    std::function<bool(std::int64_t)> m_progress = [](std::int64_t) { return true; };
  };
  CLiveSession(const SOptions& options, const SInputs& inputs, const SKeeps& keeps, CMainWindow& window,
               TC::CreatePanelFunction createPanel);
  ~CLiveSession() override;

  /// Why the day that was begun cannot be gone on with; empty when it can. Nothing else may be called then.
  const std::string& fault() const { return m_strFault; }
  /// Starts the exchange's clock.
  void start();
  /// Stops the exchange, shows and writes what it delivered last, keeps the view. Once; for a user who closes the
  /// window too.
  void finish();
  /// The user has said that the day is over: stops the exchange and shows what it delivered last; nothing can be asked
  /// of it any more. What is shown stays until finish().
  void endDay();
  /// False, after a line on standard error, when the view could not be kept.
  bool isViewKept() const { return m_bViewKept; }

 Q_SIGNALS:
  /// The session is over and everything is written.
  void sigEnded();

 private:
  void fillDesk(const SInputs& inputs);
  void openPanel(TC::CreatePanelFunction createPanel);
  void setHooks();
  bool goOn(const std::function<bool(std::int64_t)>& progress);
  void makeThread();
  void keepDay();
  void lookBack(std::optional<std::int64_t> at);
  void explain(int taskId, const QString& node, const SDockSources::Explained& answer);
  void schedule(const SInputs& inputs);
  void post(engine::Act act);
  void addProof(engine::Act& act);
  void endEngine();
  void closeLog();
  void refuseAfterEnd(const engine::Act& act);
  void feedDocks(const SInputs& inputs);
  void makeExceptions(const SDockSources& sources);
  void lookForExceptions();
  void startBaskets(const SInputs& inputs);
  void restoreState();
  void makeBasketDesk(const SInputs& inputs);
  void measureFeed();
  void warnOfLoss();
  void showClock();
  std::vector<SAccountUse> orderUse();
  void settle();

  const SOptions m_options;
  CMainWindow& m_window;
  desk::CDesk m_desk;
  desk::CHostServices m_services;
  CStateStore* m_pState;
  std::unique_ptr<journal::CRecorder> m_pRecorder;
  std::unique_ptr<journal::COutput> m_pOutput;
  CPanelServices m_panelServices;
  std::unique_ptr<CDeskLog> m_pLog;
  CBlotter m_blotter;
  std::unique_ptr<engine::CSimulation> m_pSimulation;
  daylog::IDayLog* m_pDay;
  std::unique_ptr<CDayOutputs> m_pDayOutputs;  ///< null where no day is kept
  std::unique_ptr<CDayKeeper> m_pKeeper;       ///< alike
  std::unique_ptr<CDayReader> m_pDayReader;    ///< alike
  bool m_bGoesOn = false;                      ///< with a day that was begun before
  std::string m_strFault;
  std::unique_ptr<CActSchedule> m_pSchedule;
  std::unique_ptr<CEngineThread> m_pThread;
  CEngineDriver m_driver{[this](engine::Act act) { post(std::move(act)); }};
  AccountList m_accounts;
  std::unique_ptr<CBasketDesk> m_pBasketDesk;
  TC::ITradeDockableWidget* m_pPanel = nullptr;
  std::unique_ptr<CExceptionFinder> m_pExceptions;  ///< null without a window
  QElapsedTimer m_realClock;
  qint64 m_nLookedAt = -1;  ///< seconds of the real clock
  std::vector<engine::SOrderUse> m_useSinceLook;
  QMenu* m_pMenu = nullptr;  ///< null without a window
  std::atomic<bool> m_bEngineEnded{false};
  bool m_bDayEnded = false;  ///< by the user
  bool m_bFinished = false;
  bool m_bViewKept = true;
  bool m_bLossTold = false;
  QTimer m_clockTimer;
  QElapsedTimer m_feedClock;
  std::uint64_t m_nMeasuredDetails = 0;
  double m_dDetailsPerSecond = 0;
};

}  // namespace app
