/// The hedge of a task: futures that the hedge manager trades against the basket. The manager's parameters and every
/// detail of a hedge order come here; one row of the task shows them.
#include <boost/make_shared.hpp>

#include "CBasketTask.h"
#include "EHpfBasketTaskStatus.h"
#include "ksservice/Helpers.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CExchangeClient.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CBasketHedgeParam;
using ksservice::CCodeOrderParam;
using ksservice::COrderDetailHelper;
using ksservice::CTaskDetail;

namespace {

/// Only accounts of this type trade hedges.
constexpr int HEDGE_ACCOUNT_TYPE = 1;

/// A detail without identifier and orders, for the row that is to show the parameters before the first hedge order.
boost::shared_ptr<CTaskDetail> makeHedgeDetail(const CBasketHedgeParam& hedge) {
  CCodeOrderParam param;
  param.m_pAccount = getUserConfig().getAccountData(hedge.m_strAccount);
  param.m_stock.m_strMarket = hedge.m_strMarket;
  param.m_stock.m_strCode = hedge.m_strCode;
  if (const auto info = getExchangeClient().getCodeInfo(hedge.m_strMarket, hedge.m_strCode)) {
    param.m_stock.m_strName = info->m_strName;
  }
  param.m_nOperation = hedge.m_nOperation;
  param.m_nVolume = hedge.m_nVolume;
  auto detail = boost::make_shared<CTaskDetail>();
  detail->m_nTaskId = ksservice::UNSET_INT;
  detail->m_params.push_back(std::move(param));
  return detail;
}

/// What a lot is worth at the quote's price for calculation, CNY: 0 for an unknown instrument or without a quote.
double lotAmount(const std::string& market, const std::string& code) {
  const auto info = getExchangeClient().getCodeInfo(market, code);
  return info ? ksservice::CPriceDataHelper::getPriceForCalc(market, code) * info->m_dMultiplier : 0;
}

double lotAmount(const CBasketTaskItem& row) {
  return lotAmount(row.m_strMarket.toStdString(), row.m_strStockKey.toStdString());
}

/// By the row's own instrument, where there is a row.
double lotAmount(const CBasketTaskItem* row, const CCodeOrderParam& param) {
  return row ? lotAmount(*row) : lotAmount(param.m_stock.m_strMarket, param.m_stock.m_strCode);
}

std::vector<ksservice::COrderInfoPtr> ordersOf(const CPatchBook::DetailMap& details) {
  std::vector<ksservice::COrderInfoPtr> orders;
  for (const auto& detail : details) {
    std::copy_if(detail->m_orders.begin(), detail->m_orders.end(), std::back_inserter(orders),
                 [](const auto& order) { return order != nullptr; });
  }
  return orders;
}

/// Adds an order's figures and shows the order under the row. orderDetail: null where the host knows none.
void addHedgeOrder(CBasketTaskItem& row, ksservice::COrderInfoPtr order,
                   const ksservice::COrderDetailPtr& orderDetail) {
  row.m_nTradedVolume = row.m_traded.set(row.m_traded.of(row.m_nTradedVolume) + order->m_nTradedVolume);
  row.m_dCurAmount += order->m_dTradedAmount;
  ++row.m_nCurOrderCount;
  if (orderDetail) {
    ++row.m_nCurOrderCount2;
    if (COrderDetailHelper::isOrderCanceled(*orderDetail)) ++row.m_nCanceledCount;
  }
  const bool unfilled = COrderDetailHelper::completed(*order) && order->m_nTradedVolume < order->m_nVolume;
  if (row.m_bHedge && unfilled && order->m_bHasMessage) row.m_strRemark = QString::fromStdString(order->m_strMessage);
  row.insertOrder(order);
}

void settleHedgeRow(CBasketTaskItem& row) {
  row.m_nFinishedVolume =
      row.m_finished.set(row.m_patched.of(row.m_nPatchVolume) + row.m_traded.of(row.m_nTradedVolume));
  // Without the patches' amount, other than on every other row: that is intended.
  row.m_dTradedAmount = row.m_dCurAmount;
  row.m_nOrderCount = row.m_nPatchOrderCount + row.m_nCurOrderCount;
  row.m_nOrderCount2 = row.m_nPatchOrderCount2 + row.m_nCurOrderCount2;
}

}  // namespace

void CBasketTask::setHedgeParam(const CBasketHedgeParam& p, bool start) {
  const Lock lock(m_mutex);
  CBasketHedgeManager& manager = getBasketHedgeManager();
  // They are handed over once: a new set does not forget it, nor does a task object that was made anew.
  CBasketHedgeParam known;
  const bool knownHandedOver = manager.getItem(m_nGroupId, known) && known.m_bHandedOver;
  const bool handedOver = m_hedgeParam.m_bHandedOver || p.m_bHandedOver || knownHandedOver;
  m_hedgeParam = p;
  m_hedgeParam.m_bHandedOver = handedOver;

  boost::shared_ptr<CTaskDetail> detail = makeHedgeDetail(m_hedgeParam);
  updateHedge(detail);
  const bool runs = start || manager.status(m_nGroupId) == EHS_Running;
  if (m_pHedgeItem && runs) m_pHedgeItem->m_bPatching = true;
  manager.setParam(m_nGroupId, m_nCommandId, m_hedgeParam);
  if (start) manager.startHedge(m_nGroupId);
}

void CBasketTask::updateHedge(boost::shared_ptr<CTaskDetail>& d) {
  const Lock lock(m_mutex);
  // Asked before anything changes, as what updateHedgeCnt asks for: the host may fail.
  const double lot =
      m_bHedgeAmountPending && d && !d->m_params.empty() ? lotAmount(m_pHedgeItem, d->m_params.front()) : 0;
  if (!updateHedgeCnt(d)) return;
  if (m_pHedgeItem->finishedVolume() == m_pHedgeItem->totalVolume()) m_pHedgeItem->m_strRemark.clear();
  if (m_bHedgeAmountPending) {
    m_pHedgeItem->m_dTotalAmount = m_pHedgeItem->m_nTotalVolume * lot;
    m_bHedgeAmountPending = false;
  }
  if (m_load) return;
  recursiveUpdate(m_pRoot.get());
  // The root's key, not its tree key: that is intended.
  Q_EMIT sigTaskOrder(m_pRoot->m_strKey, m_pRoot->m_nOrderCount, m_pRoot->m_nOrderCount2);
  formRoot();
  announceRoot();
}

bool CBasketTask::updateHedgeCnt(boost::shared_ptr<CTaskDetail>& d) {
  const Lock lock(m_mutex);
  if (!d || d->m_params.empty()) return false;
  const auto& account = d->m_params.front().m_pAccount;
  if (!account || account->m_nType != HEDGE_ACCOUNT_TYPE) return false;
  DetailMap details = m_mapHedgeDetails;
  if (d->m_nTaskId != ksservice::UNSET_INT) details[d->getKey()] = d;
  const std::vector<ksservice::COrderInfoPtr> orders = ordersOf(details);
  std::vector<ksservice::COrderDetailPtr> known;
  known.reserve(orders.size());
  for (const auto& order : orders) known.push_back(COrderDetailHelper::getOrderDetailByMavTag(order->m_tag));
  if (!m_pHedgeItem) {
    if (!m_load) askAccounts(accountOf(*d).key);
    addHedgeRow(*d);
  }
  m_mapHedgeDetails.swap(details);
  m_pHedgeItem->m_nOrderType = d->m_params.front().m_nOrderType;
  countHedge(known);
  return true;
}

void CBasketTask::addHedgeRow(const CTaskDetail& d) {
  const SAccount account = accountOf(d);
  const CCodeOrderParam& param = d.m_params.front();
  const CRootNames::Place place{m_mapDetails.isEmpty() ? CRootNames::BeforeOwn : CRootNames::BehindOwn, d.getKey(), 0};
  m_rootNames.addOperation(place, param.m_nOperation);
  addAccount(place, account);
  const QString rowKey = getTreeItemKey(param);
  const QString code = QString::fromStdString(param.m_stock.m_strCode);
  auto row = std::make_unique<CBasketTaskItem>(code, rowKey, account.displayId, code,
                                               QString::fromStdString(param.m_stock.m_strMarket), account.name, 0);
  row->addTarget(param);
  row->m_vecOperations.append(param.m_nOperation);
  row->m_strAccountKey = account.key.toStdString();
  row->m_bHedge = true;
  m_pHedgeItem = m_ledger.addRow(std::move(row)).item.get();

  QMap<QString, CBasketTaskItem*>& rows = m_futuresMap[account.key];
  const int before = rows.size();
  rows.insert(rowKey, m_pHedgeItem);
  utils::logInfo(this, "CBasketTask::updateHedgeCnt", "futures_map %1% : size %2% -> %3%.", account.key, before,
                 rows.size());
  m_bNewRows = true;
  if (!m_load) buildTree();
}

/// known: what the host says of each order, null for nothing.
void CBasketTask::countHedge(const std::vector<ksservice::COrderDetailPtr>& known) {
  CBasketTaskItem& row = *m_pHedgeItem;
  const int cancelledBefore = row.m_nCanceledCount;
  row.m_nTradedVolume = row.m_nCurOrderCount = row.m_nCurOrderCount2 = row.m_nCanceledCount = 0;
  row.m_dCurAmount = 0;
  const std::vector<ksservice::COrderInfoPtr> orders = ordersOf(m_mapHedgeDetails);
  for (std::size_t i = 0; i < orders.size(); ++i) addHedgeOrder(row, orders[i], known[i]);
  // What was counted before is in the root already.
  m_pRoot->m_nCanceledCount += row.m_nCanceledCount - cancelledBefore;
  settleHedgeRow(row);
}

void CBasketTask::updateHedgeVolume(int volume) {
  const Lock lock(m_mutex);
  if (!m_hedgeParam.m_bEnabled || !m_pHedgeItem || m_pHedgeItem->m_nTotalVolume >= volume) return;
  const double lot = lotAmount(*m_pHedgeItem);
  m_pHedgeItem->m_nTotalVolume = m_pHedgeItem->m_total.set(volume);
  m_pHedgeItem->m_bUnset = false;
  m_pHedgeItem->m_dTotalAmount = volume * lot;
  recursiveUpdate(m_pRoot.get());
  if (!m_hedgeParam.m_bHandedOver) return;
  const int unfinished = m_pHedgeItem->m_bPatching ? EHBTS_Patching : EHBTS_PatchFailed;
  const int shown = m_pHedgeItem->isFilled() ? EHBTS_PatchFinished : unfinished;
  Q_EMIT sigTaskStatus(m_pHedgeItem->m_strKey, shown, m_pHedgeItem->m_nOrderType);
}

void CBasketTask::updateHedgeStatus(int /*status*/) {
  {
    const Lock lock(m_mutex);
    if (!m_hedgeParam.m_bEnabled || !m_pHedgeItem) return;
    m_pHedgeItem->m_bHedge = false;
    m_pHedgeItem->m_bPatching = false;
    m_pHedgeItem->m_strRemark = QStringLiteral("已达到自动套利最大委托次数限制, 请手动对冲剩余部分!");
  }
  pause(QString());
}

/// A hedge that was at its limit has new orders, so the row no longer asks the user to hedge by hand. What the user has
/// cancelled the manager does not start again; whether it does is the manager's to decide, so it is asked all the same.
void CBasketTask::showHedgeRunning() {
  if (m_bHedgeCancelled) return;
  if (!m_pHedgeItem->m_bHedge) m_pHedgeItem->m_strRemark.clear();
  m_pHedgeItem->m_bHedge = true;
  m_pHedgeItem->m_bPatching = true;
}

/// Everything has filled, or the hedge was stopped: its row offers no end of it any more.
void CBasketTask::endHedgeMark() {
  if (!m_pHedgeItem || !m_pHedgeItem->m_bPatching) return;
  m_pHedgeItem->m_bPatching = false;
  const int shown = m_pHedgeItem->isFilled() ? EHBTS_PatchFinished : EHBTS_PatchFailed;
  Q_EMIT sigTaskStatus(m_pHedgeItem->m_strKey, shown, m_pHedgeItem->m_nOrderType);
}

void CBasketTask::cancelHedge(const QString& key) {
  {
    const Lock lock(m_mutex);
    if (!m_hedgeParam.m_bEnabled || !m_pHedgeItem || key != m_pHedgeItem->m_strKey) return;
  }
  getBasketHedgeManager().stopHedge(m_nGroupId);
  const Lock lock(m_mutex);
  m_bHedgeCancelled = true;
  m_pHedgeItem->m_bHedge = false;
  m_pHedgeItem->m_bPatching = false;
  // So that the task can end, and a resume does not start the hedge again.
  m_pHedgeItem->m_nStatus = ksservice::ETS_Cancelled;
  Q_EMIT sigTaskStatus(m_pHedgeItem->m_strKey, EHBTS_HedgeCancelled, m_pHedgeItem->m_nOrderType);
}

}  // namespace TC
