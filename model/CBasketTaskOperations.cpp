/// What the user asks of a whole task: what is sent, and what its answers announce. Nothing is sent with the mutex
/// held.
#include "CBasketTask.h"
#include "EHpfBasketTaskStatus.h"
#include "TaskOperations.h"
#include "TaskParts.h"
#include "TaskRules.h"
#include "TaskSpeech.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CMsgService.h"
#include "tc/Services.h"
#include "utils/Clock.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CTaskDetailPtr;

namespace {

using DetailList = std::vector<CTaskDetailPtr>;

DetailList ownDetails(const CTaskLock& task) { return {task->own.all().begin(), task->own.all().end()}; }

/// The details of patches that an operation goes to now. What was accepted in patches and has not come gets it when it
/// comes.
DetailList reachPatches(const CTaskLock& task, int operation) {
  DetailList patches = task->patches.all();
  CPatchStore::instance().of(task->root.storeKey(), [&](CPatchCreations& creations) {
    creations.operate(operation);
    for (const CTaskDetailPtr& detail : patches) creations.sent(detail->getKey(), operation);
  });
  return patches;
}

/// The same and the task's own, which come first.
DetailList reachAll(const CTaskLock& task, int operation) {
  DetailList list = ownDetails(task);
  const DetailList patches = reachPatches(task, operation);
  list.insert(list.end(), patches.begin(), patches.end());
  return list;
}

/// The task is held weakly: the host may answer when it has gone.
OperationReply replyTo(CBasketTask& task) {
  Q_ASSERT(!CTaskLock::isHeldHere());
  return [weak = task.weak_from_this()](const utils::KSError& error, const bson::BSONObj& reply, int operation) {
    if (const auto known = weak.lock()) known->onOperateOrbTask(error, reply, operation);
  };
}

/// Takes a status that an operation leads to, once the root's is formed so.
bool settle(const CTaskLock& task, ksservice::ETaskStatus expected, CNotices& notices) {
  if (task->root.takeStatus() != expected) return false;
  task->root.form(notices);
  return true;
}

}  // namespace

void CBasketTask::cancel(QString text) {
  const OpRecordPtr record = makeEndRecord(ksservice::ETO_Cancel);
  const DetailList details = reachAll(CTaskLock(*m_guard), record->m_nOperation);
  for (const auto& detail : details) carryOut(*detail, record, replyTo(*this));
  getBasketHedgeManager().stopHedge(getGroupId());
  bool cancelled = false;
  bool dropped = false;
  bool waiting = false;
  {
    const CTaskLock task(*m_guard);
    task->hedge.cancelled();
    CSpeech notices(*this);
    cancelled = settle(task, ksservice::ETS_Cancelled, notices);
    if (cancelled) task->tree.root().m_bPatching = false;
    dropped = task->root.onlyHedgeUnfinished() && task->hedge.takeDrop();
    waiting = task->root.wait().waiting;
  }
  if (waiting) {
    giveUpWaiting();
  } else if (cancelled) {
    announceRoot();
  }
  if (dropped) drop(text);
}

/// The click on "撤销" has ended at once, since nothing may ever come that would end it. Who has waited long enough
/// waits no more.
void CBasketTask::giveUpWaiting() {
  constexpr double LONG_ENOUGH_MSEC = 10000;
  const double now = utils::clockMSec();
  {
    const CTaskLock task(*m_guard);
    CPatchStore::instance().of(task->root.storeKey(),
                               [now](CPatchCreations& creations) { creations.endWait(now, LONG_ENOUGH_MSEC); });
    CSpeech notices(*this);
    task->root.form(notices);
  }
  announceEnded();
}

void CBasketTask::pause(QString /*text*/) {
  const OpRecordPtr record = makeRecord(ksservice::ETO_Pause);
  const DetailList details = reachAll(CTaskLock(*m_guard), record->m_nOperation);
  for (const auto& detail : details) carryOut(*detail, record, replyTo(*this));
  getBasketHedgeManager().pauseHedge(getGroupId());
  bool paused = false;
  {
    const CTaskLock task(*m_guard);
    task->hedge.paused();
    CSpeech notices(*this);
    paused = settle(task, ksservice::ETS_Paused, notices);
  }
  if (paused) announceRoot();
}

void CBasketTask::resume(QString /*text*/) {
  const OpRecordPtr record = makeRecord(ksservice::ETO_Resume);
  const DetailList details = reachAll(CTaskLock(*m_guard), record->m_nOperation);
  for (const auto& detail : details) carryOut(*detail, record, replyTo(*this));
  if (CTaskLock(*m_guard)->hedge.resume()) getBasketHedgeManager().startHedge(getGroupId());
  bool formed = false;
  {
    const CTaskLock task(*m_guard);
    CSpeech notices(*this);
    formed = !task->patches.details().isEmpty();
    if (formed) {
      task->root.form(notices);
    } else {
      formed = settle(task, ksservice::ETS_Running, notices);
    }
  }
  if (formed) announceRoot();
}

void CBasketTask::drop(QString /*text*/) {
  unpatch(QString());
  const OpRecordPtr record = makeRecord(ksservice::ETO_Drop);
  const DetailList details = ownDetails(CTaskLock(*m_guard));
  for (const auto& detail : details) sendOperation(*detail, record, replyTo(*this));
  {
    const CTaskLock task(*m_guard);
    task->tree.root().m_bPatching = false;
    task->hedge.unmark();
    task->patch.drop();
    CPatchStore::instance().of(task->root.storeKey(), [](CPatchCreations& creations) { creations.setDropped(true); });
  }
  // The root's own status is left to the details that follow, so that a drop that is refused can be undone on screen.
  announce(ksservice::ETS_Dropped);
}

void CBasketTask::unpatch(const QString& key) {
  const OpRecordPtr record = makeEndRecord(ksservice::ETO_Drop);
  DetailList patches;
  bool hedge = false;
  {
    const CTaskLock task(*m_guard);
    task->patch.giveUp();
    patches = reachPatches(task, ksservice::ETO_Drop);
    hedge = task->hedge.isRow(key);
    if (hedge) task->hedge.unmark();
  }
  // The hedge row's key with the root's order type: that is intended.
  if (hedge) Q_EMIT sigTaskStatus(key, EHBTS_PatchFailed, getOrderType(getKey()));
  for (const auto& detail : patches) sendOperation(*detail, record, replyTo(*this));
}

/// What the user asked for before the detail was there. Without the mutex.
void CBasketTask::sendOwed(const ksservice::CTaskDetail& detail) {
  if (hasEnded(detail.m_nStatus)) return;
  const CPatchStore::Task key = CTaskLock(*m_guard)->root.storeKey();
  const int operation = CPatchStore::instance().of(key, [&detail](CPatchCreations& creations) {
    const int owed = creations.owed(detail.getKey());
    if (owed != 0) creations.sent(detail.getKey(), owed);
    return owed;
  });
  if (operation == 0) return;
  const bool pauses = operation == ksservice::ETO_Pause;
  carryOut(detail, pauses ? makeRecord(operation) : makeEndRecord(operation), replyTo(*this));
}

void CBasketTask::cancelHedge(const QString& key) {
  {
    const CTaskLock task(*m_guard);
    if (!task->hedge.isEnabled() || !task->hedge.isRow(key)) return;
  }
  getBasketHedgeManager().stopHedge(getGroupId());
  const CTaskLock task(*m_guard);
  CSpeech notices(*this);
  task->hedge.cancelledByUser(notices);
}

void CBasketTask::updateHedgeStatus(int /*status*/) {
  if (CTaskLock(*m_guard)->hedge.stopAtLimit()) pause(QString());
}

void CBasketTask::onOperateOrbTask(const utils::KSError& error, const bson::BSONObj& reply, int operation) {
  const std::string message = failureOf(error, reply);
  if (message.empty()) return;
  Q_EMIT sigShowOperateOrbTaskError(QString::fromStdString(message));
  if (operation == ksservice::ETO_Drop) {
    const CPatchStore::Task key = CTaskLock(*m_guard)->root.storeKey();
    CPatchStore::instance().of(key, [](CPatchCreations& creations) { creations.setDropped(false); });
  }
  announceEnded();
  utils::logInfo(this, "CBasketTask::onOperateOrbTask", "onOperateOrbTask %1%-%2% error: %3%", getGroupId(), operation,
                 message);
}

void CBasketTask::slotShowOperateOrbTaskError(QString message) {
  const auto self = weak_from_this().lock();  // the box runs an event loop in which the panel may let go of the task
  Q_ASSERT(!CTaskLock::isHeldHere());
  getMsgService().showBox(QStringLiteral("Operate task fail"), message);
}

void CBasketTask::letGo(ELetGo why) { CTaskLock(*m_guard)->patch.letGo(why); }

void CBasketTask::onPatchesChanged() {
  {
    const CTaskLock task(*m_guard);
    CSpeech notices(*this);
    task->root.form(notices);
  }
  announceRoot();
}

}  // namespace TC
