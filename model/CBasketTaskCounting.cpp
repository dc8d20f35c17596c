/// What a detail's parameters, orders and progress add to the rows. The hot path of a refresh: nothing here builds a
/// text for each order.
#include <algorithm>
#include <utility>

#include "RefreshRun.h"
#include "TaskKeys.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/CExchangeClient.h"
#include "tc/CTradeClient.h"
#include "tc/Services.h"
#include "utils/Guarded.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::COrderDetailHelper;
using ksservice::COrderInfo;
using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;

namespace {

/// Texts seldom change; an equal one is not exchanged, so that copies of it stay shared.
void setText(QString& text, const QString& value) {
  if (text != value) text = value;
}

/// Whether the orders are the server's; the detail brings none then.
bool hasProgress(const CTaskDetail& detail) { return detail.m_bServerTask && detail.m_pCommand; }

/// Stores an order under its key. Where two places of the order lists bear one key, the row remembers it: then its
/// orders are stored in list order on every refresh, so that the later one stands as if all had been stored anew.
void storeOrder(SLedgerRow& row, const ksservice::COrderInfoPtr& order, const COrderInfo* before) {
  ksservice::COrderInfoPtr& stored = row.item->m_mapOrders[order->getKey()];
  if (stored == order) return;
  if (stored && stored.get() != before) row.repeatedKeys = true;
  stored = order;
}

}  // namespace

/// By what the exchange client says now: a multiplier or a type may change during the day.
CBasketTask::SRefresh::STarget CBasketTask::SRefresh::askTarget(const CCodeOrderParam& param) {
  const std::string& market = param.m_stock.m_strMarket;
  const std::string& code = param.m_stock.m_strCode;
  const auto info = getExchangeClient().getCodeInfo(market, code);
  const bool marketPrice = info && ksservice::isSupportMarketPrice(*info, param.m_nPriceType);
  const double price = marketPrice ? ksservice::CPriceDataHelper::getPriceForCalc(market, code) : param.m_dPrice;
  const int volume = setVolume(param);
  const bool unpriced = isZero(price) && volume >= 1;
  const bool byHundred = info && ksservice::StockTypeCenter::isTypedStock(*info, ksservice::STOCK_TYPE_BY_HUNDRED);
  if (byHundred) return {volume * 100.0, unpriced};
  const double multiplier = info && !info->m_bSpecial ? info->m_dMultiplier : 1;
  return {volume * price * multiplier, unpriced};
}

CBasketTask::SRefresh::SRefresh(const CBasketTask& task, const CTaskDetail& itsDetail)
    : detail(itsDetail),
      before(task.m_mapDetails.value(detail.getKey())),
      account(detail.m_params.empty() ? SAccount() : accountOf(detail)) {
  targets.reserve(detail.m_params.size());
  for (const CCodeOrderParam& param : detail.m_params) targets.push_back(askTarget(param));
  if (hasProgress(detail)) {
    progress = getTradeClient().getTaskProgress(detail.getKey());
    return;
  }
  orders.reserve(detail.m_orders.size());
  for (const ksservice::COrderInfoPtr& order : detail.m_orders) {
    const auto known = order ? COrderDetailHelper::getOrderDetailByMavTag(order->m_tag) : nullptr;
    const bool cancelled = known && COrderDetailHelper::isOrderCanceled(*known);
    orders.push_back(cancelled ? EOrder::Cancelled : known ? EOrder::Known : EOrder::Unknown);
  }
}

void CBasketTask::countDetail(const SRefresh& run) {
  static const std::vector<ksservice::COrderInfoPtr> none;
  CDetailShares& shares = m_ledger.detail(run.detail.getKey());
  const bool fileAnew = shares.restart(run.account.key, run.before ? run.before->m_orders : none);
  countTargets(run, shares);
  if (hasProgress(run.detail)) {
    countProgress(run, shares);
  } else {
    countOrders(run, shares, fileAnew);
  }
  for (const CDetailShares::SSlot& slot : shares.m_slots) {
    if (slot.message) setText(slot.row->item->m_strRemark, QString::fromStdString(*slot.message));
    settleRow(*slot.row);
  }
}

/// Remembers that what counts on this row, or now on another, belongs on it when it comes.
void CBasketTask::await(const SRefresh& run, const std::string& market, const std::string& code, int operation) {
  m_awaitedRows[{run.account.key, orderRowKey(market, code, operation)}].insert(run.detail.getKey());
}

/// The slot of the row on which an order counts.
int CBasketTask::slotOn(CDetailShares& shares, const SRefresh& run, const std::string& market, const std::string& code,
                        int operation) {
  const SFoundRow found = findRow(m_stockMap[run.account.key], market, code, operation);
  if (!found.best) await(run, market, code, operation);
  return found.row ? shares.slotOn(m_ledger.row(found.row)) : CSlotMemo::NO_ROW;
}

/// Counts the details again whose orders belong on rows that have come since.
void CBasketTask::countAwaited() {
  for (const std::string& key : std::exchange(m_awaiting, {})) {
    const CTaskDetailPtr detail = m_mapDetails.value(key);
    if (!detail || detail->m_params.empty()) continue;
    m_ledger.detail(key).lookAgain();
    utils::guarded("CBasketTask::countAwaited", key, [&] { countDetail(SRefresh(*this, *detail)); });
  }
}

void CBasketTask::countTargets(const SRefresh& run, CDetailShares& shares) {
  const auto& params = run.detail.m_params;
  const QString remark = run.detail.m_bServerTask ? algoRemark(run.detail) : QString();
  shares.m_paramSlots.setLength(params.size());
  for (std::size_t i = 0; i < params.size(); ++i) {
    const CCodeOrderParam& param = params[i];
    const int slot =
        shares.m_paramSlots.at(i, param.m_stock.m_strMarket, param.m_stock.m_strCode, param.m_nOperation, [&] {
          const CBasketTaskItem* item = m_stockMap[run.account.key].value(rowKeyOf(param));
          if (item) return shares.slotOn(m_ledger.row(item));
          await(run, param.m_stock.m_strMarket, param.m_stock.m_strCode, param.m_nOperation);
          return CSlotMemo::NO_ROW;
        });
    if (slot == CSlotMemo::NO_ROW) continue;
    CDetailShares::SSlot& at = shares.m_slots[static_cast<std::size_t>(slot)];
    at.share.target += run.targets[i].amount;
    if (run.targets[i].unpriced) {
      utils::logInfo(this, "CBasketTask::updateDetail", "basket panel total money error");
    }
    if (param.m_nOrderType != ksservice::EORT_Plain) at.share.orderType = param.m_nOrderType;
    if (run.detail.m_bServerTask && ksservice::DataHelper::isAlgoOrderType(param.m_nOrderType)) {
      setText(at.row->item->m_strRemark, remark);
    }
  }
}

QString CBasketTask::algoRemark(const CTaskDetail& detail) const {
  std::string key;
  getAlgoTaskKey(detail, key);
  const auto known = m_mapAlgoDetails.find(key);
  const bool named = known != m_mapAlgoDetails.end() && !(*known)->m_strInstance.empty();
  return QString::fromStdString(named ? (*known)->m_strInstance : detail.m_strMessage);
}

void CBasketTask::countProgress(const SRefresh& run, CDetailShares& shares) {
  const CTaskDetail& detail = run.detail;
  if (!detail.m_strMessage.empty()) setText(m_pRoot->m_strRemark, QString::fromStdString(detail.m_strMessage));
  if (!run.progress) return;
  const auto& orders = run.progress->m_orders;
  shares.m_orderSlots.setLength(orders.size());
  for (std::size_t i = 0; i < orders.size(); ++i) {
    const ksservice::COrderDetail& order = orders[i].m_detail;
    const CCodeOrderParam* param = paramOf(detail, orders[i]).param;
    if (!param) continue;
    const int slot = shares.m_orderSlots.at(i, order.m_strMarket, order.m_strCode, param->m_nOperation, [&] {
      return slotOn(shares, run, order.m_strMarket, order.m_strCode, param->m_nOperation);
    });
    if (slot == CSlotMemo::NO_ROW) continue;
    CDetailShares::SSlot& at = shares.m_slots[static_cast<std::size_t>(slot)];
    if (orders[i].m_strMapKey.find(at.row->accounts) == std::string::npos) continue;
    at.share.traded += order.m_nTradedVolume;
    at.share.amount += order.m_dTradedAmount;
    ++at.share.orders;
    ++at.share.knownOrders;
    at.share.progress = true;
  }
}

void CBasketTask::countOrders(const SRefresh& run, CDetailShares& shares, bool fileAnew) {
  static const std::vector<ksservice::COrderInfoPtr> none;
  const auto& orders = run.detail.m_orders;
  const auto& before = run.before ? run.before->m_orders : none;
  shares.m_orderSlots.setLength(orders.size());
  for (std::size_t i = 0; i < orders.size(); ++i) {
    if (!orders[i]) continue;
    const COrderInfo& order = *orders[i];
    const int slot = shares.m_orderSlots.at(i, order.m_strMarket, order.m_strCode, order.m_nOperation, [&] {
      return slotOn(shares, run, order.m_strMarket, order.m_strCode, order.m_nOperation);
    });
    if (slot == CSlotMemo::NO_ROW) continue;
    CDetailShares::SSlot& at = shares.m_slots[static_cast<std::size_t>(slot)];
    addOrder(run, i, at);
    const COrderInfo* earlier = i < before.size() ? before[i].get() : nullptr;
    if (fileAnew || earlier != &order || at.row->repeatedKeys) storeOrder(*at.row, orders[i], earlier);
  }
}

void CBasketTask::addOrder(const SRefresh& run, std::size_t place, CDetailShares::SSlot& slot) const {
  const COrderInfo& order = *run.detail.m_orders[place];
  const SRefresh::EOrder known = run.orders[place];
  SRowShare& share = slot.share;
  share.traded += order.m_nTradedVolume;
  share.amount += order.m_dTradedAmount;
  ++share.orders;
  if (known != SRefresh::EOrder::Unknown) ++share.knownOrders;
  if (known == SRefresh::EOrder::Cancelled) ++share.cancelled;
  if (isZero(order.m_dTradedAmount) && order.m_nTradedVolume >= 1) {
    share.amount += order.m_nTradedVolume * order.m_dPrice;
    utils::logInfo(this, "CBasketTask::updateDetail", "[basket panel] fix task money by biz num %1%-%2%",
                   run.detail.m_nTaskId, run.detail.m_nBusinessNumber);
  }
  const bool unfilled = COrderDetailHelper::completed(order) && order.m_nTradedVolume < order.m_nVolume;
  if (unfilled && order.m_bHasMessage) slot.message = &order.m_strMessage;
}

}  // namespace TC
