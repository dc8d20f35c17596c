#pragma once

#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>
#include <vector>

#include "ksservice/CTaskDetail.h"
#include "ksservice/CTaskOpRecord.h"
#include "utils/BSONObj.h"
#include "utils/KSError.h"

namespace TC {

/// Commands and the tasks made from them, on the server's side. Any thread; no call waits for the server. A completion
/// is called once, on a thread of the host, or never when the host ends first.
class CItCommandCenter {
 public:
  /// taskId: identifier of the task that was made; 0 on failure.
  using CreateCompletion = std::function<void(const utils::KSError& error, int taskId)>;
  using OperateCompletion = std::function<void(const utils::KSError& error, const bson::BSONObj& reply)>;

  virtual ~CItCommandCenter() = default;

  /// Null for an unknown key.
  virtual boost::shared_ptr<const ksservice::COrderCommand> getCommand(const std::string& commandKey) const = 0;
  /// Makes a task of the lines. hedgeType: 1 for a patch that the user confirmed line by line, 0 for a direct one.
  /// taskId: the task that the new one belongs to. Refused with a text: no line, or a volume below 1.
  virtual void createTask(const ksservice::COrderCommand& command,
                          const std::vector<ksservice::CCodeOrderParam>& params, EMavTraderType traderType,
                          int hedgeType, CreateCompletion completion, int taskId) = 0;
  /// Carries an operation out on a server task. A refusal comes as an error or as a reply with the text "ErrorMsg".
  virtual void operateServerTask(const std::string& serverTaskKey,
                                 const boost::shared_ptr<const ksservice::CTaskOpRecord>& record,
                                 OperateCompletion completion) = 0;
};

}  // namespace TC
