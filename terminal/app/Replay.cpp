#include "Replay.h"

#include <QApplication>
#include <iostream>

#include "CDesk.h"
#include "CDeskLog.h"
#include "CHostServices.h"
#include "COutput.h"
#include "CPlayer.h"

namespace app {
namespace {

constexpr int PANEL_WIDGET_ID = 1;
constexpr int BAD_OUTPUT = 2;
constexpr qint64 DAY_MSEC = 24LL * 3600 * 1000;

/// The time of day that the journal has reached, in its own time zone.
qint64 timeOfDay(const desk::CDesk& desk) {
  const desk::SSession session = desk.session();
  const QDateTime now = QDateTime::fromSecsSinceEpoch(session.m_nNow, session.m_timeZone);
  return now.time().msecsSinceStartOfDay() % DAY_MSEC;
}

}  // namespace

int runReplay(const SOptions& options, std::istream& journal, std::ostream& out, CMainWindow& window,
              TC::CreatePanelFunction createPanel) {
  desk::CDesk desk;
  desk::CHostServices services(desk, desk::CHostServices::EClock::Manual);
  services.install();
  CDeskLog log(window.log(), [&desk] { return timeOfDay(desk); });
  desk.addObserver(&log);
  journal::COutput output(out);
  const auto makePanel = [&window, createPanel] {
    TC::ITradeDockableWidget* panel = createPanel(PANEL_WIDGET_ID, &window);
    window.setPanel(panel);
    return panel;
  };
  int status = 0;
  {
    journal::CPlayer player(desk, services, makePanel, output, std::cerr);
    player.setRecordedPace(options.m_bRecordedPace);
    QObject::connect(qApp, &QApplication::lastWindowClosed, &window, [&player] { player.stop(); });
    status = player.play(journal, options.m_strReplay);
    SClockState state;
    state.m_nMsec = timeOfDay(desk);
    state.m_strPhase = QStringLiteral("回放");
    window.showClock(state);
    if (status == 0 && !window.saveScreenshot(options.m_strScreenshot)) status = BAD_OUTPUT;
    if (status == 0 && !options.m_bHeadless && window.isVisible()) QApplication::exec();
  }
  desk.removeObserver(&log);
  return status;
}

}  // namespace app
