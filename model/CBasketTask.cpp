#include "CBasketTask.h"

#include "RefreshRun.h"
#include "TaskKeys.h"
#include "TaskRules.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "ksservice/TraderCenter.h"
#include "tc/Services.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::CTaskDetail;

CBasketTask::CBasketTask(const QString& key, int groupId, int commandId)
    : m_pRoot(std::make_unique<CBasketTaskItem>(key, key, QString(), QString(), QString(), QString(), commandId, 0)),
      m_strKey(key),
      m_nGroupId(groupId),
      m_nCommandId(commandId) {
  // Queued: it comes from whatever thread the host answers on.
  connect(this, &CBasketTask::sigPatchTask, this, &CBasketTask::slotPatchTask, Qt::QueuedConnection);
}

CBasketTask::~CBasketTask() = default;

bool CBasketTask::contains(const std::string& detailKey, EBasketTaskType type) const {
  const Lock lock(m_mutex);
  switch (type) {
    case EBTT_Own:
      return m_mapDetails.contains(detailKey);
    case EBTT_Hedge:
      return m_pHedgeItem != nullptr;
    case EBTT_Patch:
      return m_patches.details().contains(detailKey);
  }
  return false;
}

bool CBasketTask::contains(boost::shared_ptr<CTaskDetail>& d, EBasketTaskType type) const {
  return contains(d->getKey(), type);
}

CBasketTaskItem* CBasketTask::getItem(const QString& key) const { return m_pRoot->find(key); }

ksservice::EOrderType CBasketTask::getOrderType(const QString& key) {
  const Lock lock(m_mutex);
  const CBasketTaskItem* item = getItem(key);
  return item ? static_cast<ksservice::EOrderType>(item->m_nOrderType) : ksservice::EORT_Plain;
}

bool CBasketTask::isAlgoOrderType(const QString& key) {
  return ksservice::DataHelper::isAlgoOrderType(getOrderType(key));
}

QString CBasketTask::getTreeItemKey(const CCodeOrderParam& p) { return rowKeyOf(p); }

QString CBasketTask::rowKeyOf(const CCodeOrderParam& p) {
  return rowKey(p.m_stock.m_strMarket, p.m_stock.m_strCode, p.m_nOperation);
}

std::string CBasketTask::getCommandKey() const {
  const int number = ksservice::TraderCenter::instance().getDataCenter().commandNumber(m_nCommandId);
  return ksservice::COrderCommand::genKey(m_nCommandId, number);
}

bool CBasketTask::isServerRun() const {
  const Lock lock(m_mutex);
  return !m_mapDetails.isEmpty() && m_mapDetails.first()->m_bServerTask;
}

QString CBasketTask::getBasketName() const {
  const Lock lock(m_mutex);
  return m_strBasketName;
}

bool CBasketTask::isReached() const {
  const Lock lock(m_mutex);
  return m_bReached;
}

QMap<QString, CBasketTaskItem*>& CBasketTask::getStockDetailMap(const QString& accountKey) {
  return m_stockMap[accountKey];
}

void CBasketTask::getOrders(const QString& key, std::vector<boost::shared_ptr<ksservice::COrderDetail>>& details,
                            std::vector<boost::shared_ptr<ksservice::COrderInfo>>& orders) {
  // The nodes of an account stand together in the tree, so that the look-up goes account by account.
  std::vector<boost::shared_ptr<ksservice::COrderInfo>> found;
  {
    const Lock lock(m_mutex);
    if (CBasketTaskItem* item = getItem(key)) item->getOrders(found);
  }
  ksservice::COrderDetailHelper::getOrderDetailsByMavTags(found, details);
  orders.insert(orders.end(), found.begin(), found.end());
}

std::vector<CCodeOrderParam> CBasketTask::getParam(const QString& key) const {
  const Lock lock(m_mutex);
  std::vector<CCodeOrderParam> params;
  const CBasketTaskItem* node = getItem(key);
  if (!node) return params;
  for (const auto& detail : qAsConst(m_mapDetails)) {
    const QMap<QString, CBasketTaskItem*> rows = m_stockMap.value(accountOf(*detail).key);
    for (const CCodeOrderParam& param : detail->m_params) {
      const CBasketTaskItem* at = node == m_pRoot.get() ? node : rows.value(rowKeyOf(param));
      while (at && at != node) at = at->parent();
      if (at) params.push_back(param);
    }
  }
  return params;
}

QString CBasketTask::getAlgoParams() const {
  const Lock lock(m_mutex);
  const bool known = !m_mapDetails.isEmpty() && m_mapDetails.first()->m_pCommand;
  return known ? QString::fromStdString(m_mapDetails.first()->m_pCommand->m_strAlgoParams) : QString();
}

void CBasketTask::getAlgoTaskKey(const CTaskDetail& detail, std::string& out) {
  // Without a command record there is no other name than the server's own.
  const bool byCommand = detail.m_nTaskId >= FIRST_COMMAND_KEYED_TASK && detail.m_pCommand;
  out = byCommand ? detail.m_pCommand->m_strAlgoTaskKey : ksservice::CTaskHelper::genServerTaskKey(detail);
}

}  // namespace TC
