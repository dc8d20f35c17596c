#include "PanelDriver.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QElapsedTimer>
#include <QThread>
#include <algorithm>

#include "Measure.h"

namespace bench {
namespace {

constexpr double REFRESH_MSEC = 1001;
/// Longer than what a table puts off, as the sums of its statistics line.
constexpr int QUIET_MSEC = 100;
constexpr int GIVE_UP_MSEC = 60000;

double millisecondsOf(const QElapsedTimer& timer) { return static_cast<double>(timer.nsecsElapsed()) / 1e6; }

}  // namespace

void CPanelDriver::open() {
  m_pPanel = std::make_unique<TC::CBasketTasksPanel>(1, nullptr);
  m_pTable = m_pPanel->findChild<TC::CHpfBasketStatusTable*>();
  m_pPanel->resize(1600, 900);
  m_pPanel->show();
  QObject::connect(m_pPanel.get(), &TC::CBasketTasksPanel::sigRunningTasks, [this] { ++m_nRefreshes; });
}

double CPanelDriver::loadFirstRow() {
  QElapsedTimer wall;
  wall.start();
  load();
  while (m_pTable->rowCount() == 0) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  m_pTable->viewport()->repaint();
  return millisecondsOf(wall);
}

void CPanelDriver::publish(int status) {
  ++m_nSecond;
  for (int task = 0; task < m_load.size().tasks; ++task) {
    desk::SPublication publication;
    publication.m_pDetail = m_load.detail(task, m_nSecond);
    publication.m_pDetail->m_nStatus = status;
    m_desk.publishTask(publication);
  }
}

void CPanelDriver::fireTimer() {
  m_services.manualClock()->advanceTo(m_services.manualClock()->clockMSec() + REFRESH_MSEC);
  m_services.manualClock()->firePendingTimer();
}

double CPanelDriver::refresh() {
  QElapsedTimer wall;
  wall.start();
  const int before = m_nRefreshes;
  fireTimer();
  while (m_nRefreshes == before) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  m_pTable->viewport()->repaint();
  return millisecondsOf(wall);
}

void CPanelDriver::idle(double msec) {
  QElapsedTimer wall;
  wall.start();
  while (millisecondsOf(wall) < msec) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

double CPanelDriver::longestTurn(const std::function<void()>& act) {
  bool done = false;
  const auto whole = [&] {
    act();
    done = true;
  };
  QMetaObject::invokeMethod(m_pTable, whole, Qt::QueuedConnection);
  QAbstractEventDispatcher& events = *QAbstractEventDispatcher::instance();
  double longest = 0;
  CStopwatch watch;
  const auto lap = [&] {
    longest = std::max(longest, watch.elapsed().cpu);
    watch = CStopwatch();
  };
  // An act may run an event loop of its own.
  const auto nested = QObject::connect(&events, &QAbstractEventDispatcher::awake, lap);
  QElapsedTimer quiet;
  QElapsedTimer wall;
  quiet.start();
  wall.start();
  while (quiet.elapsed() < QUIET_MSEC || !done) {
    watch = CStopwatch();
    const bool worked = events.processEvents(QEventLoop::AllEvents);
    lap();
    if (worked || !m_desk.gate().isIdle()) quiet.restart();
    if (!worked) QThread::usleep(100);
    if (wall.elapsed() > GIVE_UP_MSEC) qFatal("an act on the panel does not end");
  }
  QObject::disconnect(nested);
  return longest;
}

}  // namespace bench
