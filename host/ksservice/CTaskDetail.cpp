#include "ksservice/CTaskDetail.h"

#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace ksservice {

std::string CCodeOrderParam::getKey() const {
  return (m_pAccount ? m_pAccount->getKey() : std::string()) + "/" +
         utils::mavStockKey(m_stock.m_strMarket, m_stock.m_strCode) + operationValueToString(m_nOperation);
}

std::string COrderCommand::genKey(int commandId, int number) {
  return std::to_string(commandId) + "-" + std::to_string(number);
}

std::string CTaskDetail::genKey(int taskId, int number) {
  return std::to_string(taskId) + "-" + std::to_string(number);
}

std::string CTaskDetail::toString() const {
  return "key=" + getKey() + " status=" + std::to_string(m_nStatus) + " params=" + std::to_string(m_params.size()) +
         " orders=" + std::to_string(m_orders.size()) + " message=" + m_strMessage;
}

}  // namespace ksservice

namespace TC {

QString accountDisplayIDQs(const ksservice::CAccountInfo& account) {
  return QString::fromStdString(account.m_strDisplayId);
}

}  // namespace TC
