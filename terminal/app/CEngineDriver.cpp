#include "CEngineDriver.h"

namespace app {

using engine::CSimulation;

void CEngineDriver::createTask(const desk::SCreateRequest& request) {
  m_post([request](CSimulation& simulation) { simulation.server().createTask(request); });
}

void CEngineDriver::operateServerTask(const std::string& serverTaskKey, const desk::OpRecordPtr& record) {
  m_post([serverTaskKey, operation = record->m_nOperation](CSimulation& simulation) {
    simulation.server().operateServerTask(serverTaskKey, operation);
  });
}

void CEngineDriver::queryOrderProcess(const std::vector<std::string>& serverTaskKeys) {
  m_post([serverTaskKeys](CSimulation& simulation) { simulation.server().queryOrderProcess(serverTaskKeys); });
}

void CEngineDriver::operateLocalTask(int taskId, const desk::AccountPtr& account, const desk::OpRecordPtr& record) {
  operate(taskId, account, record->m_nOperation);
}

void CEngineDriver::pauseLocalTask(int taskId, const desk::AccountPtr& account) {
  operate(taskId, account, ksservice::ETO_Pause);
}

void CEngineDriver::resumeLocalTask(int taskId, const desk::AccountPtr& account) {
  operate(taskId, account, ksservice::ETO_Resume);
}

void CEngineDriver::operate(int taskId, const desk::AccountPtr& account, int operation) {
  // An empty account would mean every one.
  if (!account || account->getKey().empty()) return;
  m_post([taskId, account = account->getKey(), operation](CSimulation& simulation) {
    simulation.engine().operate(taskId, account, operation);
  });
}

void CEngineDriver::cancelOrders(const std::string& detailKey, const std::vector<std::string>& orderKeys) {
  m_post([detailKey, orderKeys](CSimulation& simulation) { simulation.engine().cancelOrders(detailKey, orderKeys); });
}

void CEngineDriver::setHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) {
  m_post([groupId, commandId, param](CSimulation& simulation) {
    simulation.hedger().setParam(groupId, commandId, param);
  });
}

void CEngineDriver::startHedge(int groupId) {
  m_post([groupId](CSimulation& simulation) { simulation.hedger().start(groupId); });
}

void CEngineDriver::pauseHedge(int groupId) {
  m_post([groupId](CSimulation& simulation) { simulation.hedger().pause(groupId); });
}

void CEngineDriver::stopHedge(int groupId) {
  m_post([groupId](CSimulation& simulation) { simulation.hedger().stop(groupId); });
}

}  // namespace app
