/// Operations on a whole task: what is asked of the host, and what its answers announce. Nothing is asked of the host
/// and nothing is announced with the mutex held, unless the caller holds it.
#include <QApplication>
#include <boost/make_shared.hpp>

#include "CBasketTask.h"
#include "EHpfBasketTaskStatus.h"
#include "gv/CMessageBox.h"
#include "ksservice/Helpers.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CItCommandCenter.h"
#include "tc/CTimeService.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
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
  if (patches) list.insert(list.end(), m_mapPatchDetails.begin(), m_mapPatchDetails.end());
  return list;
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

void CBasketTask::setHedgeStatus(int status) {
  const Lock lock(m_mutex);
  if (m_pHedgeItem) m_pHedgeItem->m_nStatus = status;
}

bool CBasketTask::settle(ksservice::ETaskStatus expected) {
  const Lock lock(m_mutex);
  if (status() != expected) return false;
  m_pRoot->m_nStatus = expected;
  return true;
}

void CBasketTask::announce(int status) {
  Q_EMIT sigTaskStatus(m_pRoot->m_strHpfTreeKey, status, getOrderType(m_strKey));
}

void CBasketTask::cancel(QString text) {
  const OpRecordPtr record = makeEndRecord(ksservice::ETO_Cancel);
  for (const auto& detail : details(true, true)) send(*detail, record);
  getBasketHedgeManager().stopHedge(m_nGroupId);
  bool cancelled = false;
  {
    const Lock lock(m_mutex);
    if (m_pHedgeItem) m_pHedgeItem->m_bPatching = false;
    setHedgeStatus(ksservice::ETS_Cancelled);
    cancelled = settle(ksservice::ETS_Cancelled);
    if (cancelled) m_pRoot->m_bPatching = false;
  }
  if (cancelled) announce(ksservice::ETS_Cancelled);
  if (onlyHedgeUnfinished()) drop(text);
}

/// Compared are volumes: everything but what the hedge was to trade.
bool CBasketTask::onlyHedgeUnfinished() const {
  const Lock lock(m_mutex);
  if (!m_pHedgeItem || m_pRoot->m_bUnset) return false;
  return m_pRoot->finishedVolume() >= m_pRoot->totalVolume() - m_pHedgeItem->totalVolume();
}

void CBasketTask::pause(QString /*text*/) {
  const OpRecordPtr record = makeRecord(ksservice::ETO_Pause);
  for (const auto& detail : details(true, true)) {
    send(*detail, record);
    if (detail->m_bServerTask || detail->m_nStatus != ksservice::ETS_Running) continue;
    ksservice::TraderCenter::instance().getTaskCenter().pauseTask(detail->m_nTaskId, firstAccount(*detail));
  }
  getBasketHedgeManager().pauseHedge(m_nGroupId);
  setHedgeStatus(ksservice::ETS_Paused);
  if (settle(ksservice::ETS_Paused)) announce(ksservice::ETS_Paused);
}

void CBasketTask::resume(QString /*text*/) {
  const OpRecordPtr record = makeRecord(ksservice::ETO_Resume);
  for (const auto& detail : details(true, true)) {
    send(*detail, record);
    if (detail->m_bServerTask || detail->m_nStatus != ksservice::ETS_Paused) continue;
    ksservice::TraderCenter::instance().getTaskCenter().resumeTask(detail->m_nTaskId, firstAccount(*detail));
  }
  resumeHedge();
  if (settle(ksservice::ETS_Running)) announce(ksservice::ETS_Running);
  if (!details(false, true).empty()) settlePatches(nullptr);
}

/// A hedge that has ended is not started again.
void CBasketTask::resumeHedge() {
  {
    const Lock lock(m_mutex);
    if (!m_pHedgeItem || m_pHedgeItem->m_nStatus >= ksservice::ETS_Finished) return;
    m_pHedgeItem->m_nStatus = ksservice::ETS_Running;
    showHedgeRunning();
  }
  getBasketHedgeManager().startHedge(m_nGroupId);
}

void CBasketTask::drop(QString /*text*/) {
  unpatch(QString());
  const OpRecordPtr record = makeRecord(ksservice::ETO_Drop);
  for (const auto& detail : details(true, false)) send(*detail, record);
  {
    const Lock lock(m_mutex);
    m_pRoot->m_bPatching = false;
    if (m_pHedgeItem) m_pHedgeItem->m_bPatching = false;
  }
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
  }
  // The hedge row's key with the root's order type: that is intended.
  if (!hedgeKey.isEmpty()) Q_EMIT sigTaskStatus(hedgeKey, EHBTS_PatchFailed, getOrderType(m_strKey));
  const OpRecordPtr record = makeEndRecord(ksservice::ETO_Drop);
  for (const auto& detail : details(false, true)) send(*detail, record);
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
  announceEnded(rootStatus());
  utils::logInfo(this, "CBasketTask::onOperateOrbTask", "onOperateOrbTask %1%-%2% error: %3%", m_nGroupId, operation,
                 message);
}

int CBasketTask::rootStatus() const {
  const Lock lock(m_mutex);
  return m_pRoot->m_nStatus;
}

void CBasketTask::announceEnded(int status) {
  Q_EMIT sigOperationEnded(m_pRoot->m_strHpfTreeKey);
  announce(status);
}

void CBasketTask::slotShowOperateOrbTaskError(QString message) {
  const auto self = weak_from_this().lock();  // the box runs an event loop in which the panel may let go of the task
  GV::CMessageBox::information(QApplication::activeWindow(), QStringLiteral("Operate task fail"), message);
}

}  // namespace TC
