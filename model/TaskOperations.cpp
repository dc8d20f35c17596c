#include "TaskOperations.h"

#include <QCoreApplication>
#include <boost/make_shared.hpp>

#include "OwnDetails.h"
#include "ksservice/Helpers.h"
#include "ksservice/TraderCenter.h"
#include "tc/CItCommandCenter.h"
#include "tc/CTimeService.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Guarded.h"

namespace TC {

using ksservice::CTaskDetail;
using ksservice::CTaskOpRecord;

namespace {

boost::shared_ptr<CTaskOpRecord> newRecord(int operation) {
  auto record = boost::make_shared<CTaskOpRecord>();
  record->m_nOperation = operation;
  record->m_nTime = getTimeService().currentTime();
  record->m_strOperator = getUserConfig().userName();
  return record;
}

boost::shared_ptr<const ksservice::CAccountInfo> firstAccount(const CTaskDetail& detail) {
  return detail.m_params.empty() ? nullptr : detail.m_params.front().m_pAccount;
}

/// The server knows a task that is dropped by its own key, whatever the command says.
std::string serverKeyFor(const CTaskDetail& detail, int operation) {
  return operation == ksservice::ETO_Drop ? ksservice::CTaskHelper::genServerTaskKey(detail)
                                          : COwnDetails::progressKeyOf(detail);
}

void send(const CTaskDetail& detail, const OpRecordPtr& record, const OperationReply& reply) {
  const int operation = record->m_nOperation;
  if (!detail.m_bServerTask) {
    ksservice::TraderCenter::instance().getTaskCenter().operateTask(record, detail.m_nTaskId, firstAccount(detail));
    return;
  }
  getItCommandCenter().operateServerTask(serverKeyFor(detail, operation), record,
                                         [reply, operation](const utils::KSError& error, const bson::BSONObj& result) {
                                           reply(error, result, operation);
                                         });
}

/// What the local tasks of an account do beside the record.
void pauseOrResume(const CTaskDetail& detail, const OpRecordPtr& record) {
  if (detail.m_bServerTask) return;
  ksservice::ITaskCenter& tasks = ksservice::TraderCenter::instance().getTaskCenter();
  if (record->m_nOperation == ksservice::ETO_Pause && detail.m_nStatus == ksservice::ETS_Running) {
    tasks.pauseTask(detail.m_nTaskId, firstAccount(detail));
  } else if (record->m_nOperation == ksservice::ETO_Resume && detail.m_nStatus == ksservice::ETS_Paused) {
    tasks.resumeTask(detail.m_nTaskId, firstAccount(detail));
  }
}

/// A host that fails at one detail must not keep the others from their operation. It is told as a refusal is, when the
/// operation has done its part: a drop that could not be sent must undo what the drop has announced.
void orTell(const CTaskDetail& detail, const OpRecordPtr& record, const OperationReply& reply,
            const std::function<void()>& work) {
  if (utils::guarded("CBasketTask::sendOperation", detail.getKey(), work)) return;
  const utils::KSError fault("任务 " + detail.getKey() + " 的操作未能发出");
  QMetaObject::invokeMethod(
      QCoreApplication::instance(), [=] { reply(fault, {}, record->m_nOperation); }, Qt::QueuedConnection);
}

}  // namespace

OpRecordPtr makeRecord(int operation) { return newRecord(operation); }

OpRecordPtr makeEndRecord(int operation) {
  auto record = newRecord(operation);
  record->m_strRemark = record->m_strOperator + "终止任务";
  return record;
}

void sendOperation(const CTaskDetail& detail, const OpRecordPtr& record, const OperationReply& reply) {
  orTell(detail, record, reply, [&] { send(detail, record, reply); });
}

void carryOut(const CTaskDetail& detail, const OpRecordPtr& record, const OperationReply& reply) {
  orTell(detail, record, reply, [&] {
    send(detail, record, reply);
    pauseOrResume(detail, record);
  });
}

std::string failureOf(const utils::KSError& error, const bson::BSONObj& reply) {
  const std::optional<std::string> text = reply.isEmpty() ? std::nullopt : reply.stringField("ErrorMsg");
  if (text && !text->empty()) return *text;
  return error.success() ? std::string() : error.errorMsg();
}

}  // namespace TC
