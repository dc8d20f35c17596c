#include "DetailFacts.h"

#include "TaskRules.h"
#include "ksservice/Helpers.h"
#include "tc/CExchangeClient.h"
#include "tc/Services.h"

namespace TC {
namespace {

using ksservice::CCodeOrderParam;
using ksservice::COrderDetailHelper;

/// By what the exchange client says now: a multiplier or a type may change during the day.
SDetailFacts::STarget askTarget(const CCodeOrderParam& param) {
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

SDetailFacts::EOrder askOrder(const ksservice::COrderInfoPtr& order) {
  const auto known = order ? COrderDetailHelper::getOrderDetailByMavTag(order->m_tag) : nullptr;
  if (!known) return SDetailFacts::EOrder::Unknown;
  return COrderDetailHelper::isOrderCanceled(*known) ? SDetailFacts::EOrder::Cancelled : SDetailFacts::EOrder::Known;
}

bool isServers(EServerCount count, const ksservice::CTaskDetail& detail) {
  if (!detail.m_bServerTask || count == EServerCount::Orders) return false;
  return count == EServerCount::ProgressElseOrders || detail.m_pCommand;
}

}  // namespace

const SCountRules& countRules(EBasketTaskType part) {
  static const SCountRules own = {.targets = true,
                                  .server = EServerCount::Progress,
                                  .pricesFills = true,
                                  .progressCancels = false,
                                  .progressNamesRow = true,
                                  .everyTextIsMessage = false,
                                  .estimatesEverything = false};
  static const SCountRules patch = {.targets = false,
                                    .server = EServerCount::ProgressElseOrders,
                                    .pricesFills = false,
                                    .progressCancels = true,
                                    .progressNamesRow = false,
                                    .everyTextIsMessage = true,
                                    .estimatesEverything = true};
  static const SCountRules hedge = {.targets = false,
                                    .server = EServerCount::Orders,
                                    .pricesFills = false,
                                    .progressCancels = false,
                                    .progressNamesRow = false,
                                    .everyTextIsMessage = false,
                                    .estimatesEverything = false};
  return part == EBTT_Own ? own : part == EBTT_Patch ? patch : hedge;
}

SDetailFacts::SDetailFacts(EBasketTaskType itsPart, const ksservice::CTaskDetail& itsDetail)
    : part(itsPart), detail(itsDetail) {
  const SCountRules& rules = countRules(part);
  if (rules.targets) {
    targets.reserve(detail.m_params.size());
    for (const CCodeOrderParam& param : detail.m_params) targets.push_back(askTarget(param));
  }
  countsOrders = !isServers(rules.server, detail);
  if (!countsOrders) {
    progress = getTradeClient().getTaskProgress(detail.getKey());
    countsOrders = !progress && rules.server == EServerCount::ProgressElseOrders;
  }
  if (!countsOrders) return;
  orders.reserve(detail.m_orders.size());
  for (const ksservice::COrderInfoPtr& order : detail.m_orders) orders.push_back(askOrder(order));
}

}  // namespace TC
