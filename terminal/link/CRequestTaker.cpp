#include "CRequestTaker.h"

#include <boost/make_shared.hpp>
#include <memory>

#include "Envelope.h"
#include "WireLines.h"
#include "WireRecord.h"
#include "desklink/v1/requests.pb.h"

namespace desklink {
namespace {

v1::Answer answerTo(const std::string& requestId, const utils::KSError& error) {
  v1::Answer answer;
  answer.set_version(WIRE_VERSION);
  answer.set_request_id(requestId);
  if (!error.success()) answer.set_error(error.errorMsg());
  return answer;
}

desk::OpRecordPtr recordOf(const v1::OpRecord& message) {
  auto record = boost::make_shared<ksservice::CTaskOpRecord>();
  readDifference(message, *record);
  return record;
}

desk::AccountPtr accountOf(const v1::LocalTask& message) {
  if (!message.has_account()) return nullptr;
  auto account = boost::make_shared<ksservice::CAccountInfo>();
  readDifference(message.account(), *account);
  return account;
}

}  // namespace

bool CRequestTaker::take(const std::string& message, const Answer& answer) {
  v1::Request request;
  if (!request.ParseFromString(message) || request.version() == 0 || request.version() > WIRE_VERSION) return false;
  switch (request.body_case()) {
    case v1::Request::kCreateTask:
      return create(request, answer);
    case v1::Request::kOperateServerTask:
      return operateServerTask(request, answer);
    case v1::Request::kQueryProcess:
      return query(request, answer);
    case v1::Request::kOperateLocalTask:
    case v1::Request::kPauseLocalTask:
    case v1::Request::kResumeLocalTask:
      return operateLocal(request);
    case v1::Request::kCancelOrders:
      m_desk.requests().cancelOrders(
          request.cancel_orders().detail_key(),
          {request.cancel_orders().order_keys().begin(), request.cancel_orders().order_keys().end()});
      return true;
    case v1::Request::kSetHedge:
      return setHedge(request);
    case v1::Request::kStartHedge:
      m_desk.startHedge(request.start_hedge());
      return true;
    case v1::Request::kPauseHedge:
      m_desk.requests().pauseHedge(request.pause_hedge());
      return true;
    case v1::Request::kStopHedge:
      m_desk.requests().stopHedge(request.stop_hedge());
      return true;
    case v1::Request::BODY_NOT_SET:
      break;
  }
  return false;
}

bool CRequestTaker::create(const v1::Request& request, const Answer& answer) {
  const v1::CreateTask& body = request.create_task();
  desk::SCreateRequest creation;
  readDifference(body.command(), creation.m_command);
  if (!readLines(body.lines(), creation.m_params)) return false;
  creation.m_nTraderType = body.trader_type();
  creation.m_nHedgeType = body.hedge_type();
  creation.m_nTaskId = body.task_id();
  m_desk.requests().createTask(creation, [id = request.id(), answer](const utils::KSError& error, int taskId) {
    v1::Answer message = answerTo(id, error);
    message.set_task_id(taskId);
    answer(message.SerializeAsString());
  });
  return true;
}

bool CRequestTaker::operateServerTask(const v1::Request& request, const Answer& answer) {
  const v1::OperateServerTask& body = request.operate_server_task();
  m_desk.requests().operateServerTask(
      body.task_key(), recordOf(body.record()),
      [id = request.id(), answer](const utils::KSError& error, const bson::BSONObj& reply) {
        v1::Answer message = answerTo(id, error);
        message.set_document(reply.toString());
        answer(message.SerializeAsString());
      });
  return true;
}

bool CRequestTaker::query(const v1::Request& request, const Answer& answer) {
  const auto& keys = request.query_process().task_keys();
  m_desk.requests().queryOrderProcess(
      {keys.begin(), keys.end()},
      [id = request.id(), answer](const TC::OrderProcessMap& data, const utils::KSError& error,
                                  const bson::BSONObj& result) {
        v1::Answer message = answerTo(id, error);
        message.set_document(result.toString());
        for (const auto& [task, volumes] : data) {
          v1::TaskVolumes& written = *message.add_tasks();
          written.set_task_key(task);
          for (const auto& [security, volume] : volumes) {
            v1::SecurityVolume& each = *written.add_volumes();
            each.set_security(security);
            each.set_volume(volume);
          }
        }
        answer(message.SerializeAsString());
      });
  return true;
}

bool CRequestTaker::operateLocal(const v1::Request& request) {
  if (request.has_pause_local_task()) {
    m_desk.requests().pauseLocalTask(request.pause_local_task().task_id(), accountOf(request.pause_local_task()));
  } else if (request.has_resume_local_task()) {
    m_desk.requests().resumeLocalTask(request.resume_local_task().task_id(), accountOf(request.resume_local_task()));
  } else {
    const v1::LocalTask& body = request.operate_local_task();
    m_desk.requests().operateLocalTask(body.task_id(), accountOf(body), recordOf(body.record()));
  }
  return true;
}

bool CRequestTaker::setHedge(const v1::Request& request) {
  ksservice::CBasketHedgeParam param;
  readDifference(request.set_hedge().param(), param);
  m_desk.giveHedgeParam(request.set_hedge().group_id(), request.set_hedge().command_id(), param);
  return true;
}

}  // namespace desklink
