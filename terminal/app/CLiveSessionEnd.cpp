// How a session ends.
#include <QCoreApplication>
#include <QThread>
#include <utility>

#include "CLiveSession.h"
#include "DayStart.h"
#include "Sessions.h"
#include "tc/ITradeDockableWidget.h"

namespace app {
void CLiveSession::finish() {
  if (std::exchange(m_bFinished, true)) return;
  endEngine();
  settle();
  if (m_pRecorder) m_pRecorder->recordDump("end");
  if (m_pOutput) m_pOutput->dump(*m_pPanel, "end");
  if (m_pState) m_bViewKept = m_pState->save(m_pPanel->param(), m_window);
  Q_EMIT sigEnded();
}

void CLiveSession::endDay() {
  if (m_bFinished || std::exchange(m_bDayEnded, true)) return;
  // Baskets that are not sent stay drafts.
  m_pBasketDesk.reset();
  endEngine();
  m_pLog->append(m_pThread->now(), QStringLiteral("交易日已结束"), CLogDock::ELevel::Info);
}

/// What the engine delivered is in the panel's caches. One refresh more shows it all.
void CLiveSession::endEngine() {
  if (m_bEngineEnded.exchange(true)) return;
  m_clockTimer.stop();
  m_pThread->stop();
  for (const engine::Act& act : m_pThread->takeLeft()) refuseAfterEnd(act);
  closeLog();
  settle();
  m_services.liveClock()->firePendingTimer();
  settle();
  showClock();
}

/// The engine has stopped; a day is over when its clock has passed the close, or the user says so.
void CLiveSession::closeLog() {
  if (!m_pKeeper) return;
  std::string fault = m_pKeeper->flush();
  const bool over = m_bDayEnded || m_pSimulation->now() > exchange::DAY_CLOSES;
  if (fault.empty() && over) fault = m_pDay->finish(m_pSimulation->now());
  if (fault.empty() && over) {
    m_pLog->append(m_pSimulation->now(), QStringLiteral("日志头 ") + QString::fromStdString(m_pDay->head()),
                   CLogDock::ELevel::Info);
    fault = writeHead(*m_pDay, m_options.m_strDay);
  }
  if (fault.empty()) return;
  m_pLog->append(m_pSimulation->now(), QStringLiteral("日志写入失败：") + QString::fromStdString(fault),
                 CLogDock::ELevel::Warning);
}

/// Any thread.
void CLiveSession::post(engine::Act act) {
  addProof(act);
  if (!m_bEngineEnded) return m_pThread->post(std::move(act));
  QMetaObject::invokeMethod(
      this, [this, act = std::move(act)] { refuseAfterEnd(act); }, Qt::QueuedConnection);
}

/// Who waits for an answer gets one; what only tells the host something is told in the log.
void CLiveSession::refuseAfterEnd(const engine::Act& act) {
  const QString over = QStringLiteral("交易日已结束");
  const utils::KSError fault(over.toStdString());
  desk::CRequests& requests = m_desk.requests();
  if (std::holds_alternative<engine::SCreateTask>(act)) {
    requests.replyToCreate(fault, 0);
  } else if (std::holds_alternative<engine::SOperateServerTask>(act)) {
    requests.replyToOperation(fault, {});
  } else if (std::holds_alternative<engine::SQueryProcess>(act)) {
    requests.replyToQuery({}, fault, {});
  } else {
    m_pLog->append(m_pThread->now(), over + QStringLiteral("，操作未执行"), CLogDock::ELevel::Warning);
  }
}

/// Until the panel's queue is empty and what its jobs queued for the GUI thread has run.
void CLiveSession::settle() {
  do {
    while (!m_desk.gate().isIdle()) {
      QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
      QThread::msleep(1);
    }
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  } while (!m_desk.gate().isIdle());
}

}  // namespace app
