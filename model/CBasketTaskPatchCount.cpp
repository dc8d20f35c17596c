/// How the details of patch tasks are linked to their task and counted into its rows, and the status that the task
/// shows while patch tasks exist.
#include <algorithm>

#include "CBasketTask.h"
#include "EHpfBasketTaskStatus.h"
#include "TaskKeys.h"
#include "ksservice/Helpers.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CTradeClient.h"
#include "tc/Services.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::COrderDetailHelper;
using ksservice::COrderInfoPtr;
using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;

namespace {

std::string accountKeyOf(const CCodeOrderParam& param) {
  return param.m_pAccount ? param.m_pAccount->getKey() : std::string();
}

PatchId idOf(const CTaskDetail& detail) { return {detail.m_nTaskId, detail.m_nNumber}; }

bool endsUnfilled(const CTaskDetail& detail) {
  return detail.m_nStatus == ksservice::ETS_Cancelled || detail.m_nStatus == ksservice::ETS_ExecutionError;
}

}  // namespace

/// The rows of a patch detail as its orders name them: by security and operation, on the account of the line.
class CPatchRows {
 public:
  using FindOfLine = std::function<SLedgerRow*(const CCodeOrderParam& param)>;
  using Find = std::function<SLedgerRow*(const std::string& accountKey, const QString& rowKey)>;

  CPatchRows(const CTaskDetail& detail, const FindOfLine& findOfLine, Find find) : m_find(std::move(find)) {
    if (!detail.m_params.empty()) m_account = accountKeyOf(detail.m_params.front());
    for (const CCodeOrderParam& param : detail.m_params) {
      SLedgerRow* row = findOfLine(param);
      const ksservice::CStockInfo& stock = param.m_stock;
      if (row) m_rows.insert({orderRowKey(stock.m_strMarket, stock.m_strCode, param.m_nOperation), row});
    }
  }

  /// Null where no row exists. An order without a line of its own counts too: no fill is lost.
  SLedgerRow* at(const std::string& market, const std::string& code, int operation) const {
    const QString key = orderRowKey(market, code, operation);
    const auto known = m_rows.find(key);
    return known != m_rows.end() ? known->second : m_find(m_account, key);
  }

 private:
  Find m_find;
  std::string m_account;
  std::map<QString, SLedgerRow*> m_rows;
};

namespace {

using RowShares = std::map<SLedgerRow*, SRowShare>;

void addProgress(RowShares& shares, const CTaskDetail& detail, const CTaskProgress& progress, const CPatchRows& rows) {
  for (const CProgressOrder& order : progress.m_orders) {
    const CCodeOrderParam* param = paramOf(detail, order);
    const ksservice::COrderDetail& known = order.m_detail;
    SLedgerRow* row = param ? rows.at(known.m_strMarket, known.m_strCode, param->m_nOperation) : nullptr;
    if (!row) continue;
    SRowShare share;
    share.traded = known.m_nTradedVolume;
    share.amount = known.m_dTradedAmount;
    share.orders = share.knownOrders = 1;
    share.cancelled = COrderDetailHelper::isOrderCanceled(known);
    shares[row].add(share);
  }
}

void addOrders(RowShares& shares, const CTaskDetail& detail, const CPatchRows& rows) {
  for (COrderInfoPtr order : detail.m_orders) {
    SLedgerRow* row = order ? rows.at(order->m_strMarket, order->m_strCode, order->m_nOperation) : nullptr;
    if (!row) continue;
    SRowShare share;
    share.traded = order->m_nTradedVolume;
    share.amount = order->m_dTradedAmount;
    share.orders = 1;
    if (const auto known = COrderDetailHelper::getOrderDetailByMavTag(order->m_tag)) {
      share.knownOrders = 1;
      share.cancelled = COrderDetailHelper::isOrderCanceled(*known);
    }
    shares[row].add(share);
    row->item->insertOrder(order);
  }
}

RowShares patchShares(const CTaskDetail& detail, const CPatchRows& rows) {
  RowShares shares;
  const auto progress = detail.m_bServerTask ? getTradeClient().getTaskProgress(detail.getKey()) : nullptr;
  if (progress) {
    addProgress(shares, detail, *progress, rows);
  } else {
    addOrders(shares, detail, rows);
  }
  for (auto& share : shares) share.second.progress = detail.m_bServerTask;
  return shares;
}

}  // namespace

void CBasketTask::updatePatch(boost::shared_ptr<CTaskDetail>& detail) {
  if (!detail) return;
  {
    const Lock lock(m_mutex);
    updatePatchCnt(detail);
    recursiveUpdate(m_pRoot.get());
    Q_EMIT sigTaskOrder(m_pRoot->m_strHpfTreeKey, m_pRoot->m_nOrderCount, m_pRoot->m_nOrderCount2);
  }
  settlePatches(detail.get());
}

void CBasketTask::updatePatchCnt(boost::shared_ptr<CTaskDetail>& detail) {
  if (!detail) return;
  const Lock lock(m_mutex);
  storeAlgoDetail(detail);
  takePatchMessages(*detail);
  countPatches(linkPatch(detail));
  announcePatch(*detail);
}

SLedgerRow* CBasketTask::rowOn(const std::string& accountKey, const QString& rowKey) {
  const CBasketTaskItem* item = m_stockMap.value(QString::fromStdString(accountKey)).value(rowKey);
  return item ? &m_ledger.row(item) : nullptr;
}

/// The row that a line of a patch falls on, also one that goes through a connect market.
SLedgerRow* CBasketTask::patchRowOf(const CCodeOrderParam& param) {
  const std::string account = accountKeyOf(param);
  if (SLedgerRow* row = rowOn(account, rowKeyOf(param))) return row;
  return rowOn(account, orderRowKey(param.m_stock.m_strMarket, param.m_stock.m_strCode, param.m_nOperation));
}

CPatchRows CBasketTask::patchRows(const CTaskDetail& detail) {
  return CPatchRows(
      detail, [this](const CCodeOrderParam& param) { return patchRowOf(param); },
      [this](const std::string& account, const QString& row) { return rowOn(account, row); });
}

void CBasketTask::takePatchMessages(const CTaskDetail& detail) {
  const CPatchRows rows = patchRows(detail);
  for (const COrderInfoPtr& order : detail.m_orders) {
    if (detail.m_bServerTask || !order || order->m_strMessage.empty()) continue;
    const bool unfilled = COrderDetailHelper::completed(*order) && order->m_nTradedVolume < order->m_nVolume;
    SLedgerRow* row = unfilled ? rows.at(order->m_strMarket, order->m_strCode, order->m_nOperation) : nullptr;
    if (row) row->item->m_strRemark = QString::fromStdString(order->m_strMessage);
  }
  if (!detail.m_strMessage.empty()) m_pRoot->m_strRemark = QString::fromStdString(detail.m_strMessage);
}

/// Files the detail and returns the rows that it touches. A detail that comes before a row of the task is kept, and
/// linked to the row when that has come.
std::vector<SLedgerRow*> CBasketTask::linkPatch(const CTaskDetailPtr& detail) {
  std::vector<SLedgerRow*> rows;
  const auto link = [&](SLedgerRow* row) {
    if (!row) return false;
    row->patches.try_emplace(idOf(*detail));
    if (std::find(rows.begin(), rows.end(), row) == rows.end()) rows.push_back(row);
    return true;
  };
  bool placed = true;
  for (const CCodeOrderParam& param : detail->m_params) {
    placed = link(patchRowOf(param)) && placed;
  }
  if (placed) {
    m_mapUnplacedPatches.remove(detail->getKey());
  } else {
    m_mapUnplacedPatches[detail->getKey()] = detail;
  }
  if (rows.empty()) return rows;
  const bool isNew = !m_mapPatchDetails.contains(detail->getKey());
  m_mapPatchDetails[detail->getKey()] = detail;
  noteArrival(*detail, isNew);
  const CPatchRows known = patchRows(*detail);
  for (const COrderInfoPtr& order : detail->m_orders) {
    if (order) link(known.at(order->m_strMarket, order->m_strCode, order->m_nOperation));
  }
  return rows;
}

void CBasketTask::placePatches() {
  const DetailMap unplaced = m_mapUnplacedPatches;
  for (CTaskDetailPtr detail : unplaced) updatePatchCnt(detail);
}

/// The host's newest record of a patch task, or the one that came last.
CTaskDetailPtr CBasketTask::newestPatch(const PatchId& id) const {
  const std::string key = CTaskDetail::genKey(id.first, id.second);
  if (CTaskDetailPtr newest = ksservice::CAccountData::getData(ksservice::DATA_TYPE_TASK_DETAIL, key)) return newest;
  const auto known = std::find_if(m_mapPatchDetails.begin(), m_mapPatchDetails.end(),
                                  [&id](const auto& detail) { return idOf(*detail) == id; });
  return known == m_mapPatchDetails.end() ? nullptr : *known;
}

/// Counts the rows' patches anew, each patch task as the host knows it now.
void CBasketTask::countPatches(const std::vector<SLedgerRow*>& rows) {
  std::map<PatchId, RowShares> shares;
  for (SLedgerRow* row : rows) {
    for (auto& [id, share] : row->patches) {
      auto known = shares.find(id);
      if (known == shares.end()) {
        const CTaskDetailPtr newest = newestPatch(id);
        known = shares.emplace(id, newest ? patchShares(*newest, patchRows(*newest)) : RowShares()).first;
      }
      const auto found = known->second.find(row);
      share = found == known->second.end() ? SRowShare() : found->second;
    }
    settleRow(*row);
  }
}

void CBasketTask::announcePatch(const CTaskDetail& detail) {
  const bool allEnded = std::all_of(m_mapPatchDetails.begin(), m_mapPatchDetails.end(),
                                    [](const auto& patch) { return patch->m_nStatus >= ksservice::ETS_Finished; });
  const QString rootKey = m_pRoot->m_strHpfTreeKey;
  for (const CCodeOrderParam& param : detail.m_params) {
    const SLedgerRow* row = patchRowOf(param);
    if (!row || row->item->isFilled()) continue;
    CBasketTaskItem& item = *row->item;
    // The root is announced with the row's order type, not its own: that is intended.
    if (endsUnfilled(detail)) {
      item.m_bPatching = false;
      Q_EMIT sigTaskStatus(item.m_strKey, EHBTS_PatchFailed, item.m_nOrderType);
      if (!allEnded) continue;
      m_pRoot->m_bPatching = false;
      Q_EMIT sigTaskStatus(rootKey, EHBTS_PatchFailed, item.m_nOrderType);
    } else if (!hasEnded(detail.m_nStatus)) {
      m_pRoot->m_bPatching = true;
      Q_EMIT sigTaskStatus(rootKey, EHBTS_Patching, item.m_nOrderType);
    }
  }
}

void CBasketTask::noteArrival(const CTaskDetail& detail, bool isNew) {
  // A detail that bears its basket's number has none of its own.
  const bool named = detail.m_nTaskId != m_nGroupId && detail.m_nTaskId != ksservice::UNSET_INT;
  const bool allEnded = std::all_of(m_mapPatchDetails.begin(), m_mapPatchDetails.end(), [&detail](const auto& patch) {
    return patch->m_nTaskId != detail.m_nTaskId || hasEnded(patch->m_nStatus);
  });
  m_creations.arrived(named ? detail.m_nTaskId : CPatchCreations::NO_TASK, isNew, named && allEnded,
                      plannedVolumes(detail.m_params, ELineAccount::Each));
}

ksservice::ETaskStatus CBasketTask::patchTaskStatus() {
  const Lock lock(m_mutex);
  SStatusFacts facts = statusFacts(m_mapPatchDetails);
  facts.allFinished = facts.allFinished || m_mapPatchDetails.isEmpty();
  facts.hedgeRowFinished = true;  // patch tasks that are all finished do not wait for the hedge
  return verdict(facts, "CBasketTask::patchTaskStatus");
}

/// The root's status: what its own details say while one of them may still trade or was dropped, else what its patch
/// tasks say. So a late fill of the task itself does not offer another patch while one runs.
int CBasketTask::derivedRootStatus() {
  const Lock lock(m_mutex);
  const ksservice::ETaskStatus own = status();
  if (m_mapPatchDetails.isEmpty() || !statusFacts(m_mapDetails).allEnded) return own;
  const ksservice::ETaskStatus patches = patchTaskStatus();
  if (patches != ksservice::ETS_Finished) return patches;
  return m_pRoot->isFilled() ? ksservice::ETS_Finished : ksservice::ETS_Cancelled;
}

/// Sets the root's status as its patch tasks have it; true when instead the whole task is to be dropped, since nothing
/// but its hedge is unfinished.
bool CBasketTask::settleByPatches() {
  const ksservice::ETaskStatus patches = patchTaskStatus();
  if (statusFacts(m_mapDetails).anyDropped) {
    m_pRoot->m_nStatus = ksservice::ETS_Dropped;  // its patches do not bring a dropped task back
  } else if (patches != ksservice::ETS_Finished) {
    m_pRoot->m_nStatus = patches;
  } else if (m_pRoot->isFilled()) {
    m_pRoot->m_nStatus = ksservice::ETS_Finished;
  } else if (onlyHedgeUnfinished()) {
    return true;
  } else {
    m_pRoot->m_nStatus = ksservice::ETS_Cancelled;
  }
  return false;
}

/// Settles and announces the root's status; detail: the patch detail that caused it, or null.
void CBasketTask::settlePatches(const CTaskDetail* detail) {
  bool dropped = false;
  bool finished = false;
  int settled = 0;
  {
    const Lock lock(m_mutex);
    dropped = settleByPatches();
    settled = m_pRoot->m_nStatus;
    finished = m_pRoot->isFilled();
    if (finished) m_pRoot->m_nStatus = ksservice::ETS_Finished;
    if (finished && detail) updateEndTime(*detail);
  }
  if (dropped) {
    drop(QString());
  } else {
    announce(settled);
  }
  if (!finished) return;
  getBasketHedgeManager().stopHedge(m_nGroupId);
  announce(ksservice::ETS_Finished);
}

}  // namespace TC
