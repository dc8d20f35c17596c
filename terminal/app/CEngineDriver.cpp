#include "CEngineDriver.h"

namespace app {

void CEngineDriver::createTask(const desk::SCreateRequest& request) { m_post(engine::SCreateTask{request}); }

void CEngineDriver::operateServerTask(const std::string& serverTaskKey, const desk::OpRecordPtr& record) {
  m_post(engine::SOperateServerTask{serverTaskKey, record->m_nOperation});
}

void CEngineDriver::queryOrderProcess(const std::vector<std::string>& serverTaskKeys) {
  m_post(engine::SQueryProcess{serverTaskKeys});
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
  m_post(engine::SOperateTask{taskId, account->getKey(), operation});
}

void CEngineDriver::cancelOrders(const std::string& detailKey, const std::vector<std::string>& orderKeys) {
  m_post(engine::SCancelOrders{detailKey, orderKeys});
}

void CEngineDriver::setHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) {
  m_post(engine::SSetHedge{groupId, commandId, param});
}

void CEngineDriver::startHedge(int groupId) { m_post(engine::SSteerHedge{groupId, engine::EHedgeAct::Start}); }

void CEngineDriver::pauseHedge(int groupId) { m_post(engine::SSteerHedge{groupId, engine::EHedgeAct::Pause}); }

void CEngineDriver::stopHedge(int groupId) { m_post(engine::SSteerHedge{groupId, engine::EHedgeAct::Stop}); }

}  // namespace app
