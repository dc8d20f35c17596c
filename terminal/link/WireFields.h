/// Which member of a record stands under which number in its message, once for writing, reading and hashing. The
/// numbers are those of `proto/desklink/v1`.
#pragma once

#include "CDesk.h"
#include "ksservice/CTaskDetail.h"

namespace desklink {

// Calls visit(number, member) for each field; member gives the record's own: `member(record)`.

template <typename Visit>
void eachField(const ksservice::CAccountInfo&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_strKey; });
  visit(
      2, [](auto& r) -> auto& { return r.m_nType; });
  visit(
      3, [](auto& r) -> auto& { return r.m_strDisplayId; });
  visit(
      4, [](auto& r) -> auto& { return r.m_strName; });
}

template <typename Visit>
void eachField(const ksservice::COrderCommand&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_strKey; });
  visit(
      2, [](auto& r) -> auto& { return r.m_nCommandId; });
  visit(
      3, [](auto& r) -> auto& { return r.m_nTaskId; });
  visit(
      4, [](auto& r) -> auto& { return r.m_nTraderType; });
  visit(
      5, [](auto& r) -> auto& { return r.m_strUser; });
  visit(
      6, [](auto& r) -> auto& { return r.m_strLogin; });
  visit(
      7, [](auto& r) -> auto& { return r.m_nBasketType; });
  visit(
      8, [](auto& r) -> auto& { return r.m_bPatch; });
  visit(
      9, [](auto& r) -> auto& { return r.m_strBasketName; });
  visit(
      10, [](auto& r) -> auto& { return r.m_strText; });
  visit(
      11, [](auto& r) -> auto& { return r.m_strLocalInfo; });
  visit(
      12, [](auto& r) -> auto& { return r.m_nOrderType; });
  visit(
      13, [](auto& r) -> auto& { return r.m_strAlgoTaskKey; });
  visit(
      14, [](auto& r) -> auto& { return r.m_strAlgoParams; });
  visit(
      15, [](auto& r) -> auto& { return r.m_nType; });
  visit(
      16, [](auto& r) -> auto& { return r.m_nNumber; });
}

/// Without its account, which stands in a list of its own.
template <typename Visit>
void eachField(const ksservice::CCodeOrderParam&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_nType; });
  visit(
      2, [](auto& r) -> auto& { return r.m_nOperation; });
  visit(
      3, [](auto& r) -> auto& { return r.m_nOrderType; });
  visit(
      4, [](auto& r) -> auto& { return r.m_stock.m_strMarket; });
  visit(
      5, [](auto& r) -> auto& { return r.m_stock.m_strCode; });
  visit(
      6, [](auto& r) -> auto& { return r.m_stock.m_strName; });
  visit(
      7, [](auto& r) -> auto& { return r.m_nPriceType; });
  visit(
      8, [](auto& r) -> auto& { return r.m_dPrice; });
  visit(
      9, [](auto& r) -> auto& { return r.m_nVolume; });
  visit(
      10, [](auto& r) -> auto& { return r.m_nHandled; });
}

/// Without its key and its lists.
template <typename Visit>
void eachField(const ksservice::CTaskDetail&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_nTaskId; });
  visit(
      2, [](auto& r) -> auto& { return r.m_nNumber; });
  visit(
      3, [](auto& r) -> auto& { return r.m_nBusinessNumber; });
  visit(
      4, [](auto& r) -> auto& { return r.m_nStatus; });
  visit(
      5, [](auto& r) -> auto& { return r.m_strMessage; });
  visit(
      6, [](auto& r) -> auto& { return r.m_nStartTime; });
  visit(
      7, [](auto& r) -> auto& { return r.m_nEndTime; });
  visit(
      8, [](auto& r) -> auto& { return r.m_bServerTask; });
  visit(
      9, [](auto& r) -> auto& { return r.m_strInstance; });
}

template <typename Visit>
void eachField(const ksservice::COrderInfo&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_strKey; });
  visit(
      2, [](auto& r) -> auto& { return r.m_strMarket; });
  visit(
      3, [](auto& r) -> auto& { return r.m_strCode; });
  visit(
      4, [](auto& r) -> auto& { return r.m_nOperation; });
  visit(
      5, [](auto& r) -> auto& { return r.m_nVolume; });
  visit(
      6, [](auto& r) -> auto& { return r.m_nTradedVolume; });
  visit(
      7, [](auto& r) -> auto& { return r.m_dPrice; });
  visit(
      8, [](auto& r) -> auto& { return r.m_dTradedAmount; });
  visit(
      9, [](auto& r) -> auto& { return r.m_strMessage; });
  visit(
      10, [](auto& r) -> auto& { return r.m_bHasMessage; });
  visit(
      11, [](auto& r) -> auto& { return r.m_bCompleted; });
  visit(
      12, [](auto& r) -> auto& { return r.m_tag; });
}

template <typename Visit>
void eachField(const ksservice::COrderDetail&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_strKey; });
  visit(
      2, [](auto& r) -> auto& { return r.m_strMarket; });
  visit(
      3, [](auto& r) -> auto& { return r.m_strCode; });
  visit(
      4, [](auto& r) -> auto& { return r.m_nTradedVolume; });
  visit(
      5, [](auto& r) -> auto& { return r.m_dTradedAmount; });
  visit(
      6, [](auto& r) -> auto& { return r.m_bCancelled; });
}

/// Without its time zone and its settings.
template <typename Visit>
void eachField(const desk::SSession&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_strUser; });
  visit(
      2, [](auto& r) -> auto& { return r.m_strLogin; });
  visit(
      3, [](auto& r) -> auto& { return r.m_nTraderType; });
  visit(
      4, [](auto& r) -> auto& { return r.m_nNow; });
}

/// Without those by number.
template <typename Visit>
void eachField(const desk::SSettings&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_bHasRevokeTask; });
  visit(
      2, [](auto& r) -> auto& { return r.m_bHasUpStopPrice; });
  visit(
      3, [](auto& r) -> auto& { return r.m_bRawQuantity; });
  visit(
      4, [](auto& r) -> auto& { return r.m_bQuietActivation; });
  visit(
      5, [](auto& r) -> auto& { return r.m_strOrderSetting; });
}

/// Without the account itself.
template <typename Visit>
void eachField(const desk::SAccount&, Visit&& visit) {
  visit(
      2, [](auto& r) -> auto& { return r.m_bConfigured; });
  visit(
      3, [](auto& r) -> auto& { return r.m_bLoginReady; });
  visit(
      4, [](auto& r) -> auto& { return r.m_bFiltered; });
  visit(
      5, [](auto& r) -> auto& { return r.m_bBrokerMatches; });
}

/// Without its lists.
template <typename Visit>
void eachField(const TC::CCodeInfo&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_strMarket; });
  visit(
      2, [](auto& r) -> auto& { return r.m_strCode; });
  visit(
      3, [](auto& r) -> auto& { return r.m_strName; });
  visit(
      4, [](auto& r) -> auto& { return r.m_strPinyin; });
  visit(
      5, [](auto& r) -> auto& { return r.m_dMultiplier; });
  visit(
      6, [](auto& r) -> auto& { return r.m_bSpecial; });
  visit(
      7, [](auto& r) -> auto& { return r.m_nTradeMinUnit; });
  visit(
      8, [](auto& r) -> auto& { return r.m_nUiMinUnit; });
  visit(
      9, [](auto& r) -> auto& { return r.m_nTradeUnit; });
}

template <typename Visit>
void eachField(const TC::CQuote&, Visit&& visit) {
  visit(
      3, [](auto& r) -> auto& { return r.m_dLast; });
  visit(
      4, [](auto& r) -> auto& { return r.m_dBid; });
  visit(
      5, [](auto& r) -> auto& { return r.m_dAsk; });
  visit(
      6, [](auto& r) -> auto& { return r.m_dCalc; });
  visit(
      7, [](auto& r) -> auto& { return r.m_dOrder; });
  visit(
      8, [](auto& r) -> auto& { return r.m_dLimitUp; });
  visit(
      9, [](auto& r) -> auto& { return r.m_dLimitDown; });
}

template <typename Visit>
void eachField(const ksservice::CBasketHedgeParam&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_bEnabled; });
  visit(
      2, [](auto& r) -> auto& { return r.m_bHandedOver; });
  visit(
      3, [](auto& r) -> auto& { return r.m_strMarket; });
  visit(
      4, [](auto& r) -> auto& { return r.m_strCode; });
  visit(
      5, [](auto& r) -> auto& { return r.m_strAccount; });
  visit(
      6, [](auto& r) -> auto& { return r.m_nOperation; });
  visit(
      7, [](auto& r) -> auto& { return r.m_nVolume; });
  visit(
      8, [](auto& r) -> auto& { return r.m_dRatio; });
  visit(
      9, [](auto& r) -> auto& { return r.m_nOrderLots; });
  visit(
      10, [](auto& r) -> auto& { return r.m_nOrderLimit; });
  visit(
      11, [](auto& r) -> auto& { return r.m_nPriceType; });
}

template <typename Visit>
void eachField(const ksservice::CTaskOpRecord&, Visit&& visit) {
  visit(
      1, [](auto& r) -> auto& { return r.m_nOperation; });
  visit(
      2, [](auto& r) -> auto& { return r.m_nTime; });
  visit(
      3, [](auto& r) -> auto& { return r.m_strOperator; });
  visit(
      4, [](auto& r) -> auto& { return r.m_strRemark; });
}

}  // namespace desklink
