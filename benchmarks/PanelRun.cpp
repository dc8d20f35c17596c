#include "PanelRun.h"

#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <ctime>

#include "PanelDriver.h"

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

}  // namespace

void runPanel(desk::CDesk& desk, desk::CHostServices& services, const CLoad& load, int runs, CReport& report) {
  CPanelDriver run(desk, services, load);
  run.open();
  run.load();
  run.publish();
  run.refresh();
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
    CPanelDriver::idle(wall);
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
