/// What is told of a task: its nodes, its parameters, its states. The updates stand in CBasketTaskUpdates.cpp, what the
/// user asks for in CBasketTaskOperations.cpp and PatchFlow.cpp.
#include "CBasketTask.h"

#include "IPatchConfirm.h"
#include "TaskKeys.h"
#include "TaskParts.h"
#include "TaskSpeech.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "ksservice/TraderCenter.h"

namespace TC {

using ksservice::CCodeOrderParam;

CBasketTask::CBasketTask(const QString& key, int groupId, int commandId)
    : m_guard(std::make_unique<CTaskGuard>(STaskIdentity{this, key, groupId, commandId})) {
  // Queued: it comes from whatever thread the host answers on.
  connect(this, &CBasketTask::sigPatchTask, this, &CBasketTask::slotPatchTask, Qt::QueuedConnection);
}

CBasketTask::~CBasketTask() {
  if (m_disposal) m_disposal(std::shared_ptr<CTaskGuard>(std::move(m_guard)));
}

// Whose it is

QString CBasketTask::getKey() const { return m_guard->id().key; }
int CBasketTask::getGroupId() const { return m_guard->id().groupId; }
int CBasketTask::getCommandID() const { return m_guard->id().commandId; }
boost::recursive_mutex& CBasketTask::mutex() const { return m_guard->mutex(); }

QString CBasketTask::getTreeItemKey(const CCodeOrderParam& p) {
  return rowKey(p.m_stock.m_strMarket, p.m_stock.m_strCode, p.m_nOperation);
}

std::string CBasketTask::getCommandKey() const {
  const int command = getCommandID();
  const int number = ksservice::TraderCenter::instance().getDataCenter().commandNumber(command);
  return ksservice::COrderCommand::genKey(command, number);
}

void CBasketTask::getAlgoTaskKey(const ksservice::CTaskDetail& detail, std::string& out) {
  out = COwnDetails::progressKeyOf(detail);
}

// Nodes

CBasketTaskItem* CBasketTask::getRoot() const { return &m_guard->root(); }

CBasketTaskItem* CBasketTask::getHedgeItem() const { return CTaskLock(*m_guard)->hedge.row(); }

CBasketTaskItem* CBasketTask::getItem(const QString& key) const { return m_guard->root().find(key); }

ksservice::EOrderType CBasketTask::getOrderType(const QString& key) {
  const CTaskLock task(*m_guard);
  const CBasketTaskItem* item = getItem(key);
  return item ? static_cast<ksservice::EOrderType>(item->m_nOrderType) : ksservice::EORT_Plain;
}

bool CBasketTask::isAlgoOrderType(const QString& key) {
  return ksservice::DataHelper::isAlgoOrderType(getOrderType(key));
}

QMap<QString, CBasketTaskItem*>& CBasketTask::getStockDetailMap(const QString& accountKey) {
  return CTaskLock(*m_guard)->tree.stockRows(accountKey);
}

SChangedRows CBasketTask::takeChanges() {
  const CTaskLock task(*m_guard);
  CRowChanges& changes = task->ledger.changes();
  // These are few, and written by many.
  changes.noteShown(task->tree.root());
  for (CBasketTaskItem* node : task->shape.innerNodes()) changes.noteShown(*node);
  if (CBasketTaskItem* hedge = task->hedge.row()) changes.noteShown(*hedge);
  return changes.takeForTable();
}

unsigned CBasketTask::shapeVersion() const { return CTaskLock(*m_guard)->shape.version(); }

void CBasketTask::getOrders(const QString& key, std::vector<boost::shared_ptr<ksservice::COrderDetail>>& details,
                            std::vector<boost::shared_ptr<ksservice::COrderInfo>>& orders) {
  // The nodes of an account stand together in the tree, so that the look-up goes account by account.
  std::vector<boost::shared_ptr<ksservice::COrderInfo>> found;
  {
    const CTaskLock task(*m_guard);
    if (CBasketTaskItem* item = getItem(key)) item->getOrders(found);
  }
  ksservice::COrderDetailHelper::getOrderDetailsByMavTags(found, details);
  orders.insert(orders.end(), found.begin(), found.end());
}

// Details

bool CBasketTask::contains(const std::string& detailKey, EBasketTaskType type) const {
  const CTaskLock task(*m_guard);
  switch (type) {
    case EBTT_Own:
      return task->own.knows(detailKey);
    case EBTT_Hedge:
      return task->hedge.row() != nullptr;
    case EBTT_Patch:
      return task->patches.details().contains(detailKey);
  }
  return false;
}

bool CBasketTask::contains(DetailPtr& d, EBasketTaskType type) const { return contains(d->getKey(), type); }

bool CBasketTask::isServerRun() const { return CTaskLock(*m_guard)->own.isServerRun(); }
QString CBasketTask::getBasketName() const { return CTaskLock(*m_guard)->own.basketName(); }
bool CBasketTask::isReached() const { return CTaskLock(*m_guard)->own.isReached(); }
QString CBasketTask::getAlgoParams() const { return CTaskLock(*m_guard)->own.algoParams(); }

CBasketTask::ParamList CBasketTask::getParam(const QString& key) const {
  const CTaskLock task(*m_guard);
  ParamList params;
  const CBasketTaskItem* node = getItem(key);
  if (!node) return params;
  for (const auto& detail : task->own.all()) {
    const AccountRows rows = task->tree.stocks().value(accountOf(*detail).key);
    for (const CCodeOrderParam& param : detail->m_params) {
      const auto& [market, code, name] = param.m_stock;
      const CBasketTaskItem* at = node == getRoot() ? node : rows.value(rowKey(market, code, param.m_nOperation));
      while (at && at != node) at = at->parent();
      if (at) params.push_back(param);
    }
  }
  return params;
}

// States

ksservice::ETaskStatus CBasketTask::status() { return CTaskLock(*m_guard)->root.takeOwnStatus(); }
ksservice::ETaskStatus CBasketTask::patchTaskStatus() { return CTaskLock(*m_guard)->root.takePatchStatus(); }
int CBasketTask::shownStatus() const { return CTaskLock(*m_guard)->root.shownStatus(); }

// What it tells

CBasketTask::CSpeech::~CSpeech() {
  for (const SNotice& notice : list()) {
    if (notice.kind == SNotice::Status) {
      Q_EMIT m_task.sigTaskStatus(notice.key, notice.first, notice.second);
    } else {
      Q_EMIT m_task.sigTaskOrder(notice.key, notice.first, notice.second);
    }
  }
}

void CBasketTask::announce(int status) {
  const int orderType = getOrderType(getKey());
  Q_EMIT sigTaskStatus(getRoot()->m_strHpfTreeKey, status, orderType);
}

void CBasketTask::announceRoot() { announce(shownStatus()); }

void CBasketTask::announceEnded() {
  Q_EMIT sigOperationEnded(getRoot()->m_strHpfTreeKey);
  announceRoot();
}

}  // namespace TC
