#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "CExchange.h"
#include "CMainWindow.h"
#include "CPanelServices.h"
#include "Inputs.h"
#include "docks/CBlotter.h"
#include "docks/CDocks.h"
#include "docks/CExceptionFinder.h"
#include "past/CPastDay.h"
#include "past/CPastDesk.h"
#include "past/CPastDriver.h"
#include "past/CTimeBar.h"
#include "tc/PanelPlugin.h"

namespace app {

/// Shows a kept day at any of its moments, a day that is being kept too: the panel and the docks as they stood then,
/// under a bar over the day. It reads only. GUI thread.
class CPastSession : public QObject {
  Q_OBJECT

 public:
  /// options: how it shows, and m_pastAt. Where it gets the day from: see takeStart(). out: see COutput; may be null.
  CPastSession(SOptions options, std::unique_ptr<daylog::IDayLog> log, std::ostream* out, CMainWindow& window,
               TC::CreatePanelFunction createPanel);
  ~CPastSession() override;

  /// Why the day cannot be shown; empty when it can. Nothing else may be called then.
  const std::string& fault() const { return m_strFault; }
  /// Reads the day, in pieces, and shows its moment.
  void start();
  /// The moment that shows, milliseconds since midnight; -1 while none does.
  std::int64_t now() const { return m_pWorld ? m_pWorld->m_past.now() : -1; }
  /// Shows another moment, soon.
  void moveTo(std::int64_t msec);
  const CPastDay& day() const { return m_day; }
  TC::ITradeDockableWidget* panel() const { return m_pWorld ? m_pWorld->m_pPanel.data() : nullptr; }
  /// Why a row says what it says at the moment that shows; row: the node's key, or its own.
  std::vector<SWhyFact> why(int taskId, const QString& row);
  /// Shows what the panel has been told last and writes the table to the output, named "end".
  void dump();

 Q_SIGNALS:
  /// All of it was read, and the moment shows.
  void sigShown();

 private:
  /// A host that stands at one moment; for an earlier one there is another.
  struct SWorld {
    SWorld(CPastSession& session);
    ~SWorld();

    CPastSession& m_session;
    desk::CDesk m_desk;
    desk::CHostServices m_services{m_desk, desk::CHostServices::EClock::Live};
    CBlotter m_blotter;
    CPastDriver m_driver;
    CPastDesk m_past;
    CExceptionFinder m_exceptions;
    QPointer<TC::ITradeDockableWidget> m_pPanel;
  };

  void readOn();
  void follow();
  void tellBar();
  std::int64_t within(std::int64_t msec) const;
  void tellAround();
  void showImagined();
  void show();
  void makeWorld();
  void makePanel();
  void showLog(std::int64_t msec);
  void showClock();
  void refreshPanel();
  void settle();
  void fail(const std::string& fault);

  SOptions m_options;
  std::unique_ptr<daylog::IDayLog> m_pLog;
  std::ostream* m_pOut;
  CMainWindow& m_window;
  TC::CreatePanelFunction m_createPanel;
  SInputs m_inputs;
  std::string m_strFault;
  std::string m_strOtherFiles;                     ///< of the day's files one that is not the same any more
  std::unique_ptr<exchange::CExchange> m_pMarket;  ///< for what it lists
  std::unique_ptr<journal::COutput> m_pOutput;
  std::unique_ptr<CPanelServices> m_pPanelServices;
  CPastDay m_day;
  CTimeBar* m_pBar = nullptr;
  std::unique_ptr<SWorld> m_pWorld;
  bool m_bRead = false;  ///< all that there was when it began
  bool m_bShowing = false;
  bool m_bSpoiled = false;  ///< somebody wanted something done: the moment is to be shown anew
  std::int64_t m_nWanted = -1;
  std::size_t m_nMessage = 0;  ///< the next one of the day that the log shows
  QTimer m_readTimer;
  QTimer m_moveTimer;
  QTimer m_aroundTimer;
  QTimer m_followTimer;
  // What outlives a world.
  QString m_strPanelParam;
  QByteArray m_windowState;
  std::optional<std::pair<int, QString>> m_chosenRow;
};

}  // namespace app
