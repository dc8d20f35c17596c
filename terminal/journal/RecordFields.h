/// The fields of those records that stand in lines of a journal and in the calls that a replay puts out.
#pragma once

#include "Lines.h"

namespace journal {

/// What a command line and the command of a task line have in common.
template <typename Archive>
void commandFields(Archive& a, ksservice::COrderCommand& command) {
  a.required("id", command.m_nCommandId);
  a.optional("number", command.m_nNumber);
  a.optional("taskId", command.m_nTaskId);
  a.optional("traderType", command.m_nTraderType);
  a.optional("user", command.m_strUser);
  a.optional("login", command.m_strLogin);
  a.optional("basketType", command.m_nBasketType);
  a.optional("patch", command.m_bPatch);
  a.optional("basketName", command.m_strBasketName);
  a.optional("text", command.m_strText);
  a.optional("localInfo", command.m_strLocalInfo);
  a.optional("orderType", command.m_nOrderType);
  a.optional("algoTaskKey", command.m_strAlgoTaskKey);
  a.optional("algoParams", command.m_strAlgoParams);
}

/// What the terminal's hedge manager trades by, and whether it has the parameters already; a line without these has the
/// usual settings.
template <typename Archive>
void hedgeSettingFields(Archive& a, ksservice::CBasketHedgeParam& param) {
  const ksservice::CBasketHedgeParam usual;
  a.optional("handedOver", param.m_bHandedOver);
  a.optional("ratio", param.m_dRatio, usual.m_dRatio);
  a.optional("orderLots", param.m_nOrderLots, usual.m_nOrderLots);
  a.optional("orderLimit", param.m_nOrderLimit, usual.m_nOrderLimit);
  a.optional("priceType", param.m_nPriceType, usual.m_nPriceType);
}

template <typename Archive>
void paramFields(Archive& a, STaskParam& each) {
  ksservice::CCodeOrderParam& param = each.m_param;
  a.optional("account", each.m_strAccount);
  a.optional("type", param.m_nType);
  a.optional("operation", param.m_nOperation);
  a.optional("orderType", param.m_nOrderType);
  a.optional("market", param.m_stock.m_strMarket);
  a.optional("code", param.m_stock.m_strCode);
  a.optional("name", param.m_stock.m_strName);
  a.optional("priceType", param.m_nPriceType);
  a.optional("price", param.m_dPrice);
  a.optional("volume", param.m_nVolume);
  a.optional("handled", param.m_nHandled);
}

}  // namespace journal
