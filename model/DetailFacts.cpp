#include "DetailFacts.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "CountRules.h"
#include "TaskRules.h"
#include "ksservice/Helpers.h"
#include "ksservice/TraderCenter.h"
#include "tc/CExchangeClient.h"
#include "tc/Services.h"

namespace TC {
namespace {

using ksservice::CCodeOrderParam;
using ksservice::COrderDetailHelper;
using ksservice::COrderInfo;

/// By what the exchange client says now: a multiplier or a type may change during the day.
STarget askTarget(const CCodeOrderParam& param) {
  const std::string& market = param.m_stock.m_strMarket;
  const std::string& code = param.m_stock.m_strCode;
  const auto info = getExchangeClient().getCodeInfo(market, code);
  const bool marketPrice = info && ksservice::isSupportMarketPrice(*info, param.m_nPriceType);
  const double price = marketPrice ? ksservice::CPriceDataHelper::getPriceForCalc(market, code) : param.m_dPrice;
  const int volume = setVolume(param);
  const bool unpriced = isZero(price) && volume >= 1;
  const bool byHundred = info && ksservice::StockTypeCenter::isTypedStock(*info, ksservice::STOCK_TYPE_BY_HUNDRED);
  if (byHundred) return {volume * 100.0, unpriced, marketPrice};
  const double multiplier = info && !info->m_bSpecial ? info->m_dMultiplier : 1;
  return {volume * price * multiplier, unpriced, marketPrice};
}

bool isSameAccount(const CCodeOrderParam& one, const CCodeOrderParam& other) {
  if (one.m_pAccount == other.m_pAccount) return true;
  return one.m_pAccount && other.m_pAccount && one.m_pAccount->getKey() == other.m_pAccount->getKey() &&
         one.m_pAccount->m_strDisplayId == other.m_pAccount->m_strDisplayId;
}

/// In everything by which a parameter counts.
bool isSameParam(const CCodeOrderParam& one, const CCodeOrderParam& other) {
  return one.m_nOperation == other.m_nOperation && one.m_nOrderType == other.m_nOrderType &&
         one.m_nPriceType == other.m_nPriceType && one.m_dPrice == other.m_dPrice && one.m_nVolume == other.m_nVolume &&
         one.m_stock.m_strCode == other.m_stock.m_strCode && one.m_stock.m_strMarket == other.m_stock.m_strMarket &&
         isSameAccount(one, other);
}

/// Whether both count on one row.
bool isSameInstrument(const COrderInfo& one, const COrderInfo& other) {
  return one.m_nOperation == other.m_nOperation && one.m_strCode == other.m_strCode &&
         one.m_strMarket == other.m_strMarket;
}

bool isServers(EServerCount count, const ksservice::CTaskDetail& detail) {
  if (!detail.m_bServerTask || count == EServerCount::Orders) return false;
  return count == EServerCount::ProgressElseOrders || detail.m_pCommand;
}

}  // namespace

SDetailFacts::SDetailFacts(EBasketTaskType itsPart, ksservice::CTaskDetailPtr itsDetail, const SCountedDetail* counted)
    : part(itsPart), detail(std::move(itsDetail)) {
  static const SCountedDetail nothing;
  const SCountRules& rules = countRules(part);
  countsOrders = !isServers(rules.server, *detail);
  if (!countsOrders) {
    progress = getTradeClient().getTaskProgress(detail->getKey());
    countsOrders = !progress && rules.server == EServerCount::ProgressElseOrders;
  }
  // Before anything is asked that hangs on it, so that it is rather too old.
  host = {servicesNumber(), ksservice::TraderCenter::instance().getDataCenter().paramsVersion(*detail),
          getExchangeClient().version(), COrderChanges::instance().look()};
  whole = !counted || !stands(*counted) || (countsOrders && !findChanged(*counted));
  if (whole) counted = &nothing;
  countsLines = whole || (rules.targets && !targetsStand(*counted));
  if (countsLines && rules.targets) askTargets();
  if (countsOrders) askOrders(*counted);
}

/// Whether its rows and what its orders count on can be those of the last count.
bool SDetailFacts::stands(const SCountedDetail& counted) const {
  if (!counted.stands || counted.countsOrders != countsOrders || counted.host.services != host.services) return false;
  const ksservice::CTaskDetail& before = *counted.detail;
  if (before.m_bServerTask != detail->m_bServerTask) return false;
  if (host.params != 0 && host.params == counted.host.params) return true;
  return &before == detail.get() || std::equal(before.m_params.begin(), before.m_params.end(), detail->m_params.begin(),
                                               detail->m_params.end(), isSameParam);
}

/// A server's are counted each time, since its algorithm may say something else.
bool SDetailFacts::targetsStand(const SCountedDetail& counted) const {
  if (detail->m_bServerTask || host.instruments == 0 || host.instruments != counted.host.instruments) return false;
  return std::all_of(counted.quoted.begin(), counted.quoted.end(), [this](const SCountedDetail::SQuoted& quoted) {
    return askTarget(detail->m_params[static_cast<std::size_t>(quoted.param)]) == quoted.target;
  });
}

void SDetailFacts::askTargets() {
  targets.reserve(detail->m_params.size());
  for (const CCodeOrderParam& param : detail->m_params) targets.push_back(askTarget(param));
}

/// False where a place has an order that counts on another row than the one before it.
bool SDetailFacts::findChanged(const SCountedDetail& counted) {
  const auto& orders = detail->m_orders;
  const auto& before = counted.detail->m_orders;
  const std::size_t common = std::min(orders.size(), before.size());
  for (std::size_t i = 0; i < common; ++i) {
    if (orders[i].get() == before[i].get()) continue;
    if (!orders[i] || !before[i] || !isSameInstrument(*orders[i], *before[i])) return false;
    changed.push_back(static_cast<int>(i));
  }
  for (std::size_t i = common; i < orders.size(); ++i) changed.push_back(static_cast<int>(i));
  return true;
}

void SDetailFacts::askOrders(const SCountedDetail& counted) {
  const auto& orders = detail->m_orders;
  if (whole || COrderChanges::instance().isAllNew(counted.host.orders)) {
    if (whole) {
      changed.resize(orders.size());
      std::iota(changed.begin(), changed.end(), 0);
    }
    answers.reserve(orders.size());
    for (std::size_t i = 0; i < orders.size(); ++i) askOrder(static_cast<int>(i));
    return;
  }
  std::vector<int> places;
  COrderChanges::instance().findNew(counted.host.orders, counted.tags, places);
  for (const int place : changed) {
    const auto i = static_cast<std::size_t>(place);
    const auto& before = counted.detail->m_orders;
    if (i >= before.size() || !(orders[i]->m_tag == before[i]->m_tag)) places.push_back(place);
  }
  for (const int place : places) {
    if (static_cast<std::size_t>(place) < orders.size()) askOrder(place);
  }
}

void SDetailFacts::askOrder(int place) {
  const ksservice::COrderInfoPtr& order = detail->m_orders[static_cast<std::size_t>(place)];
  if (!order) return;
  const auto known = COrderDetailHelper::getOrderDetailByMavTag(order->m_tag);
  const bool cancelled = known && COrderDetailHelper::isOrderCanceled(*known);
  answers.push_back({place, cancelled ? EKnownOrder::Cancelled : known ? EKnownOrder::Known : EKnownOrder::Unknown});
}

}  // namespace TC
