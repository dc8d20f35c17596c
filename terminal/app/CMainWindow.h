#pragma once

#include <QDate>
#include <QMainWindow>
#include <functional>
#include <memory>
#include <string>

#include "ksservice/Enumerations.h"

class QLabel;

namespace TC {
class ITradeDockableWidget;
}

namespace app {

class CDocks;
class CLogDock;

/// What the status bar shows of a running session.
struct SClockState {
  qint64 m_nMsec = 0;  ///< since midnight of the simulated day, which it may pass
  QDate m_date;        ///< the simulated day; an invalid one is not shown
  QString m_strPhase;  ///< session phase
  QString m_strSpeed;  ///< how fast the clock runs, empty in a replay
  double m_dDetailsPerSecond = 0;
  QString m_strOrderUse;  ///< of the account that has sent most; empty in a replay
  QString m_strOrderUseTip;
  double m_dLag = 0;      ///< of the clock, seconds of real time
  QString m_strUnkept{};  ///< why the day log cannot be written; empty: it can
  int m_nExceptions = 0;  ///< that no one has taken note of
};

/// The terminal's window: the panel as a dock, the log below it, the other docks, the status bar. GUI thread only.
class CMainWindow : public QMainWindow {
  Q_OBJECT

 public:
  CMainWindow();
  ~CMainWindow() override;

  /// Shows the panel as a dock; the window owns it from now on.
  void setPanel(TC::ITradeDockableWidget* panel);
  CLogDock& log() { return *m_pLog; }
  CDocks& docks() const { return *m_pDocks; }
  void showClock(const SClockState& state);
  /// A button that looks back at the day.
  void offerLookBack(std::function<void()> lookBack);
  /// A picture of the window, PNG.
  std::string picture();

 private Q_SLOTS:
  void slotRunningTasks(EMavTraderType type, int count);

 private:
  QLabel* addField(const char* objectName, int minimumWidth);

  CLogDock* m_pLog;
  std::unique_ptr<CDocks> m_pDocks;
  QLabel* m_pClock;
  QLabel* m_pPhase;
  QLabel* m_pRunning;
  QLabel* m_pFeed;
  QLabel* m_pOrderUse;
  QLabel* m_pExceptions;
  QLabel* m_pLag;
  QLabel* m_pUnkept;
};

}  // namespace app
