#include "OwnDetails.h"

#include "TaskRules.h"
#include "ksservice/Helpers.h"

namespace TC {

using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;

QString COwnDetails::take(const CTaskDetailPtr& detail) {
  m_bReached = true;
  takeServerTask(detail);
  if (const auto& command = detail->m_pCommand) {
    m_strBasketName = QString::fromStdString(command->m_strBasketName);
    m_nTraderType = command->m_nTraderType;
  }
  if (detail->m_params.empty()) return {};
  m_details[detail->getKey()] = detail;
  return algorithmRemark(*detail);
}

void COwnDetails::replace(const CTaskDetailPtr& detail) {
  m_details[detail->getKey()] = detail;
  takeServerTask(detail);
}

void COwnDetails::takeServerTask(const CTaskDetailPtr& detail) {
  if (detail->m_bServerTask) m_serverTasks[progressKeyOf(*detail)] = detail;
}

const CTaskDetailPtr* COwnDetails::serverTask(const std::string& progressKey) const {
  const auto known = m_serverTasks.find(progressKey);
  return known == m_serverTasks.end() ? nullptr : &*known;
}

bool COwnDetails::isServerRun() const { return !m_details.isEmpty() && m_details.first()->m_bServerTask; }

QString COwnDetails::algoParams() const {
  const bool known = !m_details.isEmpty() && m_details.first()->m_pCommand;
  return known ? QString::fromStdString(m_details.first()->m_pCommand->m_strAlgoParams) : QString();
}

QString COwnDetails::algorithmRemark(const CTaskDetail& detail) const {
  if (!detail.m_bServerTask) return {};
  const CTaskDetailPtr* known = serverTask(progressKeyOf(detail));
  const bool named = known && !(*known)->m_strInstance.empty();
  return QString::fromStdString(named ? (*known)->m_strInstance : detail.m_strMessage);
}

std::string COwnDetails::progressKeyOf(const CTaskDetail& detail) {
  // Without a command record there is no other name than the server's own.
  const bool byCommand = detail.m_nTaskId >= FIRST_COMMAND_KEYED_TASK && detail.m_pCommand;
  return byCommand ? detail.m_pCommand->m_strAlgoTaskKey : ksservice::CTaskHelper::genServerTaskKey(detail);
}

}  // namespace TC
