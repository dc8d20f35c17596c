#include "CRequestSender.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "Envelope.h"
#include "WireLines.h"
#include "WireRecord.h"
#include "desklink/v1/requests.pb.h"

namespace desklink {
namespace {

void writeRecord(const desk::OpRecordPtr& record, v1::OpRecord& message) {
  writeDifference(ksservice::CTaskOpRecord(), *record, message);
}

void writeTask(int taskId, const desk::AccountPtr& account, v1::LocalTask& message) {
  message.set_task_id(taskId);
  if (account) writeDifference(ksservice::CAccountInfo(), *account, *message.mutable_account());
}

TC::OrderProcessMap volumesOf(const v1::Answer& answer) {
  TC::OrderProcessMap volumes;
  for (const v1::TaskVolumes& task : answer.tasks()) {
    auto& of = volumes[task.task_key()];
    for (const v1::SecurityVolume& each : task.volumes()) of[each.security()] = each.volume();
  }
  return volumes;
}

}  // namespace

void CRequestSender::send(v1::Request& request, std::optional<EKind> kind) {
  request.set_version(WIRE_VERSION);
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    request.set_id(m_strTerminal + '-' + std::to_string(++m_nLast));
    if (kind) m_waiting[*kind].push_back(request.id());
  }
  m_send(request.SerializeAsString());
}

bool CRequestSender::takeAnswer(const std::string& message) {
  v1::Answer answer;
  if (!answer.ParseFromString(message) || answer.version() == 0 || answer.version() > WIRE_VERSION) return false;
  // A damaged document is no empty one, which would say that it went well.
  if (!answer.document().empty() && !bson::BSONObj::fromJson(answer.document())) return false;
  std::vector<std::pair<EKind, v1::Answer>> due;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto waits = [&answer](const auto& kind) {
      return std::find(kind.second.begin(), kind.second.end(), answer.request_id()) != kind.second.end();
    };
    const auto kind = std::find_if(m_waiting.begin(), m_waiting.end(), waits);
    if (kind == m_waiting.end() || !m_early.try_emplace(answer.request_id(), message).second) return false;
    std::deque<std::string>& ids = kind->second;
    while (!ids.empty()) {
      const auto early = m_early.find(ids.front());
      if (early == m_early.end()) break;
      due.emplace_back(kind->first, v1::Answer());
      due.back().second.ParseFromString(early->second);
      m_early.erase(early);
      ids.pop_front();
    }
  }
  for (const auto& [of, each] : due) reply(of, each);
  return true;
}

void CRequestSender::reply(EKind kind, const v1::Answer& answer) {
  const utils::KSError error = answer.has_error() ? utils::KSError(answer.error()) : utils::KSError();
  const bson::BSONObj document = bson::BSONObj::fromJson(answer.document()).value_or(bson::BSONObj());
  switch (kind) {
    case EKind::Create:
      m_desk.requests().replyToCreate(error, answer.task_id());
      break;
    case EKind::Operate:
      m_desk.requests().replyToOperation(error, document);
      break;
    case EKind::Query:
      m_desk.requests().replyToQuery(volumesOf(answer), error, document);
      break;
  }
}

void CRequestSender::createTask(const desk::SCreateRequest& request) {
  v1::Request message;
  v1::CreateTask& body = *message.mutable_create_task();
  writeDifference(ksservice::COrderCommand(), request.m_command, *body.mutable_command());
  writeLines(request.m_params, *body.mutable_lines());
  body.set_trader_type(request.m_nTraderType);
  body.set_hedge_type(request.m_nHedgeType);
  body.set_task_id(request.m_nTaskId);
  send(message, EKind::Create);
}

void CRequestSender::operateServerTask(const std::string& serverTaskKey, const desk::OpRecordPtr& record) {
  v1::Request message;
  message.mutable_operate_server_task()->set_task_key(serverTaskKey);
  writeRecord(record, *message.mutable_operate_server_task()->mutable_record());
  send(message, EKind::Operate);
}

void CRequestSender::queryOrderProcess(const std::vector<std::string>& serverTaskKeys) {
  v1::Request message;
  message.mutable_query_process()->mutable_task_keys()->Assign(serverTaskKeys.begin(), serverTaskKeys.end());
  send(message, EKind::Query);
}

void CRequestSender::operateLocalTask(int taskId, const desk::AccountPtr& account, const desk::OpRecordPtr& record) {
  v1::Request message;
  writeTask(taskId, account, *message.mutable_operate_local_task());
  writeRecord(record, *message.mutable_operate_local_task()->mutable_record());
  send(message);
}

void CRequestSender::pauseLocalTask(int taskId, const desk::AccountPtr& account) {
  v1::Request message;
  writeTask(taskId, account, *message.mutable_pause_local_task());
  send(message);
}

void CRequestSender::resumeLocalTask(int taskId, const desk::AccountPtr& account) {
  v1::Request message;
  writeTask(taskId, account, *message.mutable_resume_local_task());
  send(message);
}

void CRequestSender::cancelOrders(const std::string& detailKey, const std::vector<std::string>& orderKeys) {
  v1::Request message;
  message.mutable_cancel_orders()->set_detail_key(detailKey);
  message.mutable_cancel_orders()->mutable_order_keys()->Assign(orderKeys.begin(), orderKeys.end());
  send(message);
}

void CRequestSender::setHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) {
  v1::Request message;
  message.mutable_set_hedge()->set_group_id(groupId);
  message.mutable_set_hedge()->set_command_id(commandId);
  writeDifference(ksservice::CBasketHedgeParam(), param, *message.mutable_set_hedge()->mutable_param());
  send(message);
}

void CRequestSender::startHedge(int groupId) {
  v1::Request message;
  message.set_start_hedge(groupId);
  send(message);
}

void CRequestSender::pauseHedge(int groupId) {
  v1::Request message;
  message.set_pause_hedge(groupId);
  send(message);
}

void CRequestSender::stopHedge(int groupId) {
  v1::Request message;
  message.set_stop_hedge(groupId);
  send(message);
}

}  // namespace desklink
