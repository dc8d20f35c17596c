#include "PanelRun.h"

#include <QApplication>
#include <QTimer>
#include <algorithm>
#include <ctime>

#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "View.h"

namespace bench {
namespace {

const QString PANEL = QStringLiteral("panel");

double processCpuMSec() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// The longest time between two calls of a 1 ms timer.
class CGapWatch {
 public:
  CGapWatch() {
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(1);
    QObject::connect(&m_timer, &QTimer::timeout, [this] { note(); });
    m_clock.start();
    m_timer.start();
  }

  /// Milliseconds, with the time since the last call.
  double longest() {
    note();
    return m_dLongest;
  }

 private:
  void note() {
    m_dLongest = std::max(m_dLongest, static_cast<double>(m_clock.nsecsElapsed()) / 1e6);
    m_clock.restart();
  }

  QTimer m_timer;
  QElapsedTimer m_clock;
  double m_dLongest = 0;
};

class CPanelRun {
 public:
  CPanelRun(desk::CDesk& desk, desk::CHostServices& services, const CLoad& load)
      : m_desk(desk), m_services(services), m_load(load), m_panel(1, nullptr) {
    m_panel.setTradeType(EMTT_Stock);
    m_pTable = m_panel.findChild<TC::CHpfBasketStatusTable*>();
    m_panel.resize(1600, 900);
    m_panel.show();
    QObject::connect(&m_panel, &TC::CBasketTasksPanel::sigRunningTasks, [this] { ++m_nRefreshes; });
    publish();
    refresh();
  }

  /// Publishes the next second of every task; not part of a refresh.
  void publish() {
    ++m_nSecond;
    for (int task = 0; task < m_load.size().tasks; ++task) {
      desk::SPublication publication;
      publication.m_pDetail = m_load.detail(task, m_nSecond);
      m_desk.publishTask(publication);
    }
  }

  /// One refresh, from the timer to the repaint. Gives its wall time in milliseconds.
  double refresh() {
    QElapsedTimer wall;
    wall.start();
    const int before = m_nRefreshes;
    m_services.manualClock()->advanceTo(m_services.manualClock()->clockMSec() + 1001);
    m_services.manualClock()->firePendingTimer();
    while (m_nRefreshes == before) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    m_pTable->viewport()->repaint();
    return static_cast<double>(wall.nsecsElapsed()) / 1e6;
  }

  static void idle(double msec) {
    QElapsedTimer wall;
    wall.start();
    while (static_cast<double>(wall.nsecsElapsed()) / 1e6 < msec) {
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
  }

 private:
  desk::CDesk& m_desk;
  desk::CHostServices& m_services;
  const CLoad& m_load;
  TC::CBasketTasksPanel m_panel;
  TC::CHpfBasketStatusTable* m_pTable = nullptr;
  int m_nSecond = 0;
  int m_nRefreshes = 0;
};

}  // namespace

void runPanel(desk::CDesk& desk, desk::CHostServices& services, const CLoad& load, int runs, CReport& report) {
  CPanelRun run(desk, services, load);
  std::vector<double> gui;
  std::vector<double> worker;
  std::vector<double> gaps;
  std::vector<double> idleGaps;
  for (int i = 0; i < runs; ++i) {
    run.publish();
    const double processBefore = processCpuMSec();
    const CStopwatch watch;
    run.refresh();
    gui.push_back(watch.elapsed().cpu);
    worker.push_back(processCpuMSec() - processBefore - gui.back());

    run.publish();
    double wall = 0;
    {
      CGapWatch gap;
      wall = run.refresh();
      gaps.push_back(gap.longest());
    }
    CGapWatch gap;
    CPanelRun::idle(wall);
    idleGaps.push_back(gap.longest());
  }
  const auto add = [&](const QString& name, const std::vector<double>& values) {
    report.add(name, PANEL, {median(values), median(values), static_cast<int>(values.size()), false});
  };
  add(QStringLiteral("whole panel, refresh: GUI thread"), gui);
  add(QStringLiteral("whole panel, refresh: worker"), worker);
  add(QStringLiteral("longest gap of a 1 ms timer"), gaps);
  add(QStringLiteral("  in an idle run of that length"), idleGaps);
}

}  // namespace bench
