/// The records of operations, and which of them goes where: to the command centre for a server task, to the task centre
/// for one of the terminal's own. Never with a task's mutex held: nothing here has a task.
#pragma once

#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>

#include "ksservice/CTaskDetail.h"
#include "ksservice/CTaskOpRecord.h"
#include "utils/BSONObj.h"
#include "utils/KSError.h"

namespace TC {

using OpRecordPtr = boost::shared_ptr<const ksservice::CTaskOpRecord>;
/// The server's answer to one send of an operation (ETaskOperation). Called on any thread.
using OperationReply = std::function<void(const utils::KSError&, const bson::BSONObj&, int operation)>;

/// A record of now and of the user.
OpRecordPtr makeRecord(int operation);
/// A record whose remark says who ended the task.
OpRecordPtr makeEndRecord(int operation);

void sendOperation(const ksservice::CTaskDetail& detail, const OpRecordPtr& record, const OperationReply& reply);
/// Sends an operation, and what else it takes on a task of the terminal's own.
void carryOut(const ksservice::CTaskDetail& detail, const OpRecordPtr& record, const OperationReply& reply);

/// What an answer says of a failure, in words for the user; empty for none.
std::string failureOf(const utils::KSError& error, const bson::BSONObj& reply);

}  // namespace TC
