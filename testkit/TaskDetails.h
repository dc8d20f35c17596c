/// Task details for tests in a few words.
#pragma once

#include <boost/make_shared.hpp>
#include <string>

#include "ksservice/CTaskDetail.h"
#include "tc/CExchangeClient.h"

namespace testkit {

inline boost::shared_ptr<ksservice::CAccountInfo> makeAccount(const std::string& key, const std::string& displayId) {
  auto account = boost::make_shared<ksservice::CAccountInfo>();
  account->m_strKey = key;
  account->m_strDisplayId = displayId;
  account->m_strName = "name of " + key;
  return account;
}

/// An instrument that is traded and entered in one unit.
inline TC::CCodeInfo makeInstrument(const std::string& market, const std::string& code, int unit = 1) {
  TC::CCodeInfo info;
  info.m_strMarket = market;
  info.m_strCode = code;
  info.m_nTradeMinUnit = info.m_nUiMinUnit = unit;
  return info;
}

/// A running basket detail of user "u1", login "L1", trader type 1; key "task-number".
inline ksservice::CTaskDetailPtr makeDetail(int taskId, int number = 1) {
  auto command = boost::make_shared<ksservice::COrderCommand>();
  command->m_nCommandId = taskId + 1000;
  command->m_nTaskId = taskId;
  command->m_nTraderType = 1;
  command->m_strUser = "u1";
  command->m_strLogin = "L1";
  command->m_nBasketType = ksservice::ECBT_Basket;
  command->m_strBasketName = "basket";
  auto detail = boost::make_shared<ksservice::CTaskDetail>();
  detail->m_strKey = ksservice::CTaskDetail::genKey(taskId, number);
  detail->m_nTaskId = taskId;
  detail->m_nNumber = number;
  detail->m_nStatus = ksservice::ETS_Running;
  detail->m_pCommand = command;
  return detail;
}

inline void addParam(ksservice::CTaskDetail& detail, const boost::shared_ptr<ksservice::CAccountInfo>& account,
                     const std::string& code, int volume, double price, int operation = ksservice::EOT_Buy) {
  ksservice::CCodeOrderParam param;
  param.m_pAccount = account;
  param.m_nOperation = operation;
  param.m_stock = {"SH", code, code};
  param.m_dPrice = price;
  param.m_nVolume = volume;
  detail.m_params.push_back(param);
}

/// An order; its tag is its key.
inline ksservice::COrderInfoPtr addOrder(ksservice::CTaskDetail& detail, const std::string& key,
                                         const std::string& code, int volume, int traded, double price,
                                         int operation = ksservice::EOT_Buy) {
  auto order = boost::make_shared<ksservice::COrderInfo>();
  order->m_strKey = key;
  order->m_strMarket = "SH";
  order->m_strCode = code;
  order->m_nOperation = operation;
  order->m_nVolume = volume;
  order->m_nTradedVolume = traded;
  order->m_dPrice = price;
  order->m_dTradedAmount = traded * price;
  order->m_tag = ksservice::CMavOrderTag(key);
  detail.m_orders.push_back(order);
  return order;
}

/// The detail of a task of account A1 with so many rows of 1000 at 10 CNY, of each of which so much has filled.
inline ksservice::CTaskDetailPtr makeFilled(int task, int rows, int traded) {
  ksservice::CTaskDetailPtr detail = makeDetail(task);
  const auto account = makeAccount("A1", "1001");
  for (int i = 0; i < rows; ++i) {
    const std::string code = std::to_string(600000 + i);
    addParam(*detail, account, code, 1000, 10.0);
    addOrder(*detail, std::to_string(task) + "/" + code, code, 1000, traded, 10.0);
  }
  return detail;
}

}  // namespace testkit
