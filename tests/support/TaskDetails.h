/// Task details for tests in a few words.
#pragma once

#include <boost/make_shared.hpp>
#include <string>

#include "ksservice/CTaskDetail.h"

namespace test {

inline boost::shared_ptr<ksservice::CAccountInfo> makeAccount(const std::string& key, const std::string& displayId) {
  auto account = boost::make_shared<ksservice::CAccountInfo>();
  account->m_strKey = key;
  account->m_strDisplayId = displayId;
  account->m_strName = "name of " + key;
  return account;
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

}  // namespace test
