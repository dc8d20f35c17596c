#include "Replay.h"

#include <QApplication>
#include <iostream>
#include <utility>

#include "CDesk.h"
#include "CDeskLog.h"
#include "CHostServices.h"
#include "CMainWindow.h"
#include "COutput.h"
#include "CPlayer.h"
#include "DisplayScale.h"
#include "docks/CDocks.h"

namespace app {
namespace {

constexpr int PANEL_WIDGET_ID = 1;

/// The time of day that the journal has reached, in its own time zone.
qint64 timeOfDay(const desk::CDesk& desk) {
  const desk::SSession session = desk.session();
  const QDateTime now = QDateTime::fromSecsSinceEpoch(session.m_nNow, session.m_timeZone);
  return now.time().msecsSinceStartOfDay();
}

}  // namespace

int runReplay(const SOptions& options, journal::SJournal journal, COutputs& outputs, const CSignalWatch& signalWatch,
              TC::CreatePanelFunction createPanel) {
  CMainWindow window;
  followScreen(window, options);
  window.show();
  desk::CDesk desk;
  desk::CHostServices services(desk, desk::CHostServices::EClock::Manual);
  services.install();
  CDeskLog log(window.log(), [&desk] { return timeOfDay(desk); });
  desk.addObserver(&log);
  CBlotter blotter(desk);
  desk.addObserver(&blotter);
  std::ostream nowhere(nullptr);
  std::ostream* const out = outputs.out();
  journal::COutput output(out ? *out : nowhere);
  SDockSources sources;
  sources.m_pDesk = &desk;
  sources.m_pBlotter = &blotter;
  QPointer<TC::ITradeDockableWidget> shown;
  sources.m_showRow = [&shown](int taskId, const QString& row) {
    if (shown) shown->showRow(taskId, row);
  };
  window.docks().attach(sources);
  const auto makePanel = [&window, &shown, createPanel] {
    TC::ITradeDockableWidget* panel = createPanel(PANEL_WIDGET_ID, &window);
    window.setPanel(panel);
    QObject::connect(panel, &TC::ITradeDockableWidget::sigRowChosen, &window.docks(), &CDocks::choose);
    shown = panel;
    return panel;
  };
  int status = 0;
  {
    journal::CPlayer player(desk, services, makePanel, output, std::cerr);
    player.setRecordedPace(options.m_bRecordedPace);
    QObject::connect(qApp, &QApplication::lastWindowClosed, &window, [&player] { player.stop(); });
    bool ended = false;
    QObject::connect(&signalWatch, &CSignalWatch::sigEnd, &window, [&player, &ended] {
      ended = true;
      player.stop();
      QApplication::quit();
    });
    status = player.play(std::move(journal), options.m_strReplay);
    if (player.wasStopped() && player.panel()) output.dump(*player.panel(), "end");
    SClockState state;
    state.m_nMsec = timeOfDay(desk);
    state.m_strPhase = QStringLiteral("回放");
    window.showClock(state);
    if (status == 0) outputs.writePicture(window.picture());
    if (status == 0 && !options.m_bHeadless && !ended && window.isVisible()) QApplication::exec();
  }
  window.docks().attach({});
  desk.removeObserver(&blotter);
  desk.removeObserver(&log);
  return status;
}

}  // namespace app
