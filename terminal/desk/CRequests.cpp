#include "CRequests.h"

#include <utility>

#include "CJobGate.h"
#include "IDeskObserver.h"

namespace desk {

using Lock = std::lock_guard<std::mutex>;

// The completion is kept before the driver hears of the request, which it may answer at once from its own thread.
void CRequests::createTask(const SCreateRequest& request, TC::CItCommandCenter::CreateCompletion completion) {
  m_tell([&](IDeskObserver& observer) { observer.onCreateTask(request); });
  {
    const Lock lock(m_mutex);
    m_creations.push_back(std::move(completion));
  }
  if (m_pDriver) m_pDriver->createTask(request);
}

void CRequests::operateServerTask(const std::string& serverTaskKey, const OpRecordPtr& record,
                                  TC::CItCommandCenter::OperateCompletion completion) {
  m_tell([&](IDeskObserver& observer) { observer.onOperateServerTask(serverTaskKey, *record); });
  {
    const Lock lock(m_mutex);
    m_operations.push_back(std::move(completion));
  }
  if (m_pDriver) m_pDriver->operateServerTask(serverTaskKey, record);
}

void CRequests::queryOrderProcess(const std::vector<std::string>& serverTaskKeys,
                                  TC::OrderProcessCompletion completion) {
  m_tell([&](IDeskObserver& observer) { observer.onQueryOrderProcess(serverTaskKeys); });
  {
    const Lock lock(m_mutex);
    m_queries.push_back(std::move(completion));
  }
  if (m_pDriver) m_pDriver->queryOrderProcess(serverTaskKeys);
}

void CRequests::operateLocalTask(int taskId, const AccountPtr& account, const OpRecordPtr& record) {
  m_tell([&](IDeskObserver& observer) { observer.onOperateLocalTask(taskId, account, *record); });
  if (m_pDriver) m_pDriver->operateLocalTask(taskId, account, record);
}

void CRequests::pauseLocalTask(int taskId, const AccountPtr& account) {
  m_tell([&](IDeskObserver& observer) { observer.onPauseLocalTask(taskId, account); });
  if (m_pDriver) m_pDriver->pauseLocalTask(taskId, account);
}

void CRequests::resumeLocalTask(int taskId, const AccountPtr& account) {
  m_tell([&](IDeskObserver& observer) { observer.onResumeLocalTask(taskId, account); });
  if (m_pDriver) m_pDriver->resumeLocalTask(taskId, account);
}

void CRequests::cancelOrders(const std::string& detailKey, const std::vector<std::string>& orderKeys) {
  if (m_pDriver) m_pDriver->cancelOrders(detailKey, orderKeys);
}

void CRequests::setHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) {
  m_tell([&](IDeskObserver& observer) { observer.onSetHedgeParam(groupId, commandId, param); });
  if (m_pDriver) m_pDriver->setHedgeParam(groupId, commandId, param);
}

void CRequests::startHedge(int groupId, bool runs) {
  m_tell([&](IDeskObserver& observer) { observer.onStartHedge(groupId); });
  if (m_pDriver && !runs) m_pDriver->startHedge(groupId);
}

void CRequests::pauseHedge(int groupId) {
  m_tell([&](IDeskObserver& observer) { observer.onPauseHedge(groupId); });
  if (m_pDriver) m_pDriver->pauseHedge(groupId);
}

void CRequests::stopHedge(int groupId) {
  m_tell([&](IDeskObserver& observer) { observer.onStopHedge(groupId); });
  if (m_pDriver) m_pDriver->stopHedge(groupId);
}

template <typename Completion>
bool CRequests::takeOldest(std::deque<Completion>& waiting, Completion& out) {
  const Lock lock(m_mutex);
  if (waiting.empty()) return false;
  out = std::move(waiting.front());
  waiting.pop_front();
  return true;
}

bool CRequests::replyToCreate(const utils::KSError& error, int taskId) {
  const CJobGate::CChange change(m_gate);
  TC::CItCommandCenter::CreateCompletion completion;
  if (!takeOldest(m_creations, completion)) return false;
  m_tell([&](IDeskObserver& observer) { observer.onCreateReply(error, taskId); });
  if (completion) completion(error, taskId);
  m_gate.fence();
  return true;
}

bool CRequests::replyToOperation(const utils::KSError& error, const bson::BSONObj& reply) {
  const CJobGate::CChange change(m_gate);
  TC::CItCommandCenter::OperateCompletion completion;
  if (!takeOldest(m_operations, completion)) return false;
  m_tell([&](IDeskObserver& observer) { observer.onServerReply(error, reply); });
  if (completion) completion(error, reply);
  m_gate.fence();
  return true;
}

bool CRequests::replyToQuery(const TC::OrderProcessMap& data, const utils::KSError& error,
                             const bson::BSONObj& result) {
  const CJobGate::CChange change(m_gate);
  TC::OrderProcessCompletion completion;
  if (!takeOldest(m_queries, completion)) return false;
  m_tell([&](IDeskObserver& observer) { observer.onOrderProcess(data, error, result); });
  if (completion) completion(data, error, result);
  m_gate.fence();
  return true;
}

}  // namespace desk
