/// Operations on a whole task: what is asked of the host, and what its answers announce. Nothing is asked of the host
/// and nothing is announced with the mutex held, unless the caller holds it.
#include <boost/make_shared.hpp>
#include <utility>

#include "CBasketTask.h"
#include "EHpfBasketTaskStatus.h"
#include "ksservice/Helpers.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CItCommandCenter.h"
#include "tc/CMsgService.h"
#include "tc/CTimeService.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Clock.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CTaskDetail;
using ksservice::CTaskOpRecord;

namespace {

boost::shared_ptr<CTaskOpRecord> makeRecord(int operation) {
  auto record = boost::make_shared<CTaskOpRecord>();
  record->m_nOperation = operation;
  record->m_nTime = getTimeService().currentTime();
  record->m_strOperator = getUserConfig().userName();
  return record;
}

/// A record whose remark says who ended the task.
boost::shared_ptr<CTaskOpRecord> makeEndRecord(int operation) {
  auto record = makeRecord(operation);
  record->m_strRemark = record->m_strOperator + "终止任务";
  return record;
}

boost::shared_ptr<const ksservice::CAccountInfo> firstAccount(const CTaskDetail& detail) {
  return detail.m_params.empty() ? nullptr : detail.m_params.front().m_pAccount;
}

/// The server knows a task that is dropped by its own key, whatever the command says.
std::string serverKeyFor(const CTaskDetail& detail, int operation) {
  if (operation == ksservice::ETO_Drop) return ksservice::CTaskHelper::genServerTaskKey(detail);
  std::string key;
  CBasketTask::getAlgoTaskKey(detail, key);
  return key;
}

}  // namespace

CBasketTask::DetailList CBasketTask::details(bool own, bool patches) const {
  const Lock lock(m_mutex);
  DetailList list;
  if (own) list.insert(list.end(), m_mapDetails.begin(), m_mapDetails.end());
  if (patches) {
    const auto known = m_patches.all();
    list.insert(list.end(), known.begin(), known.end());
  }
  return list;
}

/// The details that an operation goes to now. What was accepted in patches and has not come gets it when it comes.
CBasketTask::DetailList CBasketTask::reach(int operation, bool own) {
  const Lock lock(m_mutex);
  const DetailList patches = details(false, true);
  CPatchStore::instance().of(storeKey(), [&](CPatchCreations& creations) {
    creations.operate(operation);
    for (const auto& detail : patches) creations.sent(detail->getKey(), operation);
  });
  return own ? details(true, true) : patches;
}

void CBasketTask::send(const CTaskDetail& detail, const OpRecordPtr& record) {
  const int operation = record->m_nOperation;
  if (!detail.m_bServerTask) {
    ksservice::TraderCenter::instance().getTaskCenter().operateTask(record, detail.m_nTaskId, firstAccount(detail));
    return;
  }
  getItCommandCenter().operateServerTask(
      serverKeyFor(detail, operation), record,
      [weak = weak_from_this(), operation](const utils::KSError& error, const bson::BSONObj& reply) {
        if (const auto task = weak.lock()) task->onOperateOrbTask(error, reply, operation);
      });
}

/// Sends an operation, and what else it takes on a task of the terminal's own.
void CBasketTask::carryOut(const CTaskDetail& detail, const OpRecordPtr& record) {
  send(detail, record);
  if (detail.m_bServerTask) return;
  ksservice::ITaskCenter& tasks = ksservice::TraderCenter::instance().getTaskCenter();
  if (record->m_nOperation == ksservice::ETO_Pause && detail.m_nStatus == ksservice::ETS_Running) {
    tasks.pauseTask(detail.m_nTaskId, firstAccount(detail));
  } else if (record->m_nOperation == ksservice::ETO_Resume && detail.m_nStatus == ksservice::ETS_Paused) {
    tasks.resumeTask(detail.m_nTaskId, firstAccount(detail));
  }
}

/// Takes a status that an operation leads to, once the root's is formed so.
bool CBasketTask::settle(ksservice::ETaskStatus expected) {
  const Lock lock(m_mutex);
  if (rootStatusNow() != expected) return false;
  formRoot();
  return true;
}

void CBasketTask::announce(int status) {
  Q_EMIT sigTaskStatus(m_pRoot->m_strHpfTreeKey, status, getOrderType(m_strKey));
}

void CBasketTask::announceRoot() { announce(shownStatus()); }

void CBasketTask::cancel(QString text) {
  const OpRecordPtr record = makeEndRecord(ksservice::ETO_Cancel);
  for (const auto& detail : reach(ksservice::ETO_Cancel, true)) carryOut(*detail, record);
  getBasketHedgeManager().stopHedge(m_nGroupId);
  bool cancelled = false;
  bool dropped = false;
  {
    const Lock lock(m_mutex);
    if (m_pHedgeItem) {
      m_pHedgeItem->m_bPatching = false;
      m_pHedgeItem->m_nStatus = ksservice::ETS_Cancelled;
    }
    cancelled = settle(ksservice::ETS_Cancelled);
    if (cancelled) m_pRoot->m_bPatching = false;
    dropped = onlyHedgeUnfinished() && !std::exchange(m_bDroppedForHedge, true);
  }
  if (waitOf().waiting) {
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
  CPatchStore::instance().of(storeKey(),
                             [now](CPatchCreations& creations) { creations.endWait(now, LONG_ENOUGH_MSEC); });
  {
    const Lock lock(m_mutex);
    formRoot();
  }
  announceEnded();
}

/// Compared are volumes: everything but what the hedge was to trade.
bool CBasketTask::onlyHedgeUnfinished() const {
  const Lock lock(m_mutex);
  if (!m_pHedgeItem || m_pRoot->m_bUnset) return false;
  return m_pRoot->finishedVolume() >= m_pRoot->totalVolume() - m_pHedgeItem->totalVolume();
}

void CBasketTask::pause(QString /*text*/) {
  const OpRecordPtr record = makeRecord(ksservice::ETO_Pause);
  for (const auto& detail : reach(ksservice::ETO_Pause, true)) carryOut(*detail, record);
  getBasketHedgeManager().pauseHedge(m_nGroupId);
  {
    const Lock lock(m_mutex);
    // A hedge that has ended stays so: a resume must not start it.
    if (m_pHedgeItem && m_pHedgeItem->m_nStatus < ksservice::ETS_Finished)
      m_pHedgeItem->m_nStatus = ksservice::ETS_Paused;
  }
  if (settle(ksservice::ETS_Paused)) announceRoot();
}

void CBasketTask::resume(QString /*text*/) {
  const OpRecordPtr record = makeRecord(ksservice::ETO_Resume);
  const DetailList reached = reach(ksservice::ETO_Resume, true);
  for (const auto& detail : reached) carryOut(*detail, record);
  if (resumeHedge()) getBasketHedgeManager().startHedge(m_nGroupId);
  bool formed = false;
  {
    const Lock lock(m_mutex);
    formed = !m_patches.details().isEmpty();
    if (formed) formRoot();
  }
  if (formed || settle(ksservice::ETS_Running)) announceRoot();
}

/// False when there is none, or it has ended: that is not started again.
bool CBasketTask::resumeHedge() {
  const Lock lock(m_mutex);
  if (!m_pHedgeItem || m_pHedgeItem->m_nStatus >= ksservice::ETS_Finished) return false;
  m_pHedgeItem->m_nStatus = ksservice::ETS_Running;
  showHedgeRunning();
  return true;
}

void CBasketTask::drop(QString /*text*/) {
  unpatch(QString());
  const OpRecordPtr record = makeRecord(ksservice::ETO_Drop);
  for (const auto& detail : details(true, false)) send(*detail, record);
  {
    const Lock lock(m_mutex);
    m_pRoot->m_bPatching = false;
    if (m_pHedgeItem) m_pHedgeItem->m_bPatching = false;
    m_bDroppedMeanwhile = true;
    endQuery();
  }
  CPatchStore::instance().of(storeKey(), [](CPatchCreations& creations) { creations.setDropped(true); });
  // The root's own status is left to the details that follow, so that a drop that is refused can be undone on screen.
  announce(ksservice::ETS_Dropped);
}

void CBasketTask::unpatch(const QString& key) {
  QString hedgeKey;
  {
    const Lock lock(m_mutex);
    if (m_pHedgeItem && m_pHedgeItem->m_strKey == key) {
      m_pHedgeItem->m_bPatching = false;
      hedgeKey = key;
    }
    endQuery();
  }
  // The hedge row's key with the root's order type: that is intended.
  if (!hedgeKey.isEmpty()) Q_EMIT sigTaskStatus(hedgeKey, EHBTS_PatchFailed, getOrderType(m_strKey));
  const OpRecordPtr record = makeEndRecord(ksservice::ETO_Drop);
  for (const auto& detail : reach(ksservice::ETO_Drop, false)) send(*detail, record);
}

/// What the user asked for before the detail was there. Without the mutex.
void CBasketTask::sendOwed(const CTaskDetail& detail) {
  if (hasEnded(detail.m_nStatus)) return;
  const int operation = CPatchStore::instance().of(storeKey(), [&detail](CPatchCreations& creations) {
    const int owed = creations.owed(detail.getKey());
    if (owed != 0) creations.sent(detail.getKey(), owed);
    return owed;
  });
  if (operation != 0)
    carryOut(detail, operation == ksservice::ETO_Pause ? makeRecord(operation) : makeEndRecord(operation));
}

void CBasketTask::onOperateOrbTask(const utils::KSError& error, const bson::BSONObj& reply, int operation) {
  std::string message;
  if (!error.success()) message = error.errorMsg();
  if (!reply.isEmpty()) {
    const std::optional<std::string> text = reply.stringField("ErrorMsg");
    if (text && !text->empty()) message = *text;
  }
  if (message.empty()) return;
  Q_EMIT sigShowOperateOrbTaskError(QString::fromStdString(message));
  if (operation == ksservice::ETO_Drop) {
    CPatchStore::instance().of(storeKey(), [](CPatchCreations& creations) { creations.setDropped(false); });
  }
  announceEnded();
  utils::logInfo(this, "CBasketTask::onOperateOrbTask", "onOperateOrbTask %1%-%2% error: %3%", m_nGroupId, operation,
                 message);
}

void CBasketTask::announceEnded() {
  Q_EMIT sigOperationEnded(m_pRoot->m_strHpfTreeKey);
  announceRoot();
}

void CBasketTask::slotShowOperateOrbTaskError(QString message) {
  const auto self = weak_from_this().lock();  // the box runs an event loop in which the panel may let go of the task
  getMsgService().showBox(QStringLiteral("Operate task fail"), message);
}

}  // namespace TC
