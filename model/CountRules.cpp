#include "CountRules.h"

#include "TaskRules.h"
#include "ksservice/Helpers.h"

namespace TC {

using ksservice::COrderInfo;

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

void setRemark(CBasketTaskItem& row, const QString& text, CRowChanges& changes) {
  if (row.m_strRemark == text) return;
  row.m_strRemark = text;
  changes.note(row);
}

bool isUnpricedFill(const COrderInfo& order) { return isZero(order.m_dTradedAmount) && order.m_nTradedVolume >= 1; }

void addOrder(SOrderShare& share, const COrderInfo& order, EKnownOrder known, const SCountRules& rules) {
  share.traded += order.m_nTradedVolume;
  share.amount += order.m_dTradedAmount;
  ++share.orders;
  if (known != EKnownOrder::Unknown) ++share.knownOrders;
  if (known == EKnownOrder::Cancelled) ++share.cancelled;
  if (rules.pricesFills && isUnpricedFill(order)) share.amount += order.m_nTradedVolume * order.m_dPrice;
}

bool tells(const COrderInfo& order, const SCountRules& rules) {
  if (!ksservice::COrderDetailHelper::completed(order) || order.m_nTradedVolume >= order.m_nVolume) return false;
  return rules.everyTextIsMessage ? !order.m_strMessage.empty() : order.m_bHasMessage;
}

}  // namespace TC
