/// Is a host as the panel expects it? A host's own test installs its services, writes a small driver and calls
/// checkHost.
#pragma once

#include <string>
#include <vector>

#include "ksservice/CTaskDetail.h"
#include "tc/CTradeClient.h"
#include "utils/BSONObj.h"
#include "utils/KSError.h"

namespace testkit {

/// How a check makes a host live. GUI thread, but for deliver, which any thread calls; each may return before what it
/// asks for has happened.
class IHostDriver {
 public:
  virtual ~IHostDriver() = default;

  /// The server tells the host of a task, and what is known of its orders (null: nothing any more). The host keeps it
  /// all and tells its subscribers of the task. The check never changes a detail that it gave.
  virtual void deliver(
      const ksservice::CTaskDetailPtr& detail,
      const std::vector<std::pair<ksservice::CMavOrderTag, ksservice::COrderDetailPtr>>& orderDetails) = 0;
  /// The server answers the oldest request of the kind that is not answered.
  virtual void answerCreation(const utils::KSError& error, int taskId) = 0;
  virtual void answerOperation(const utils::KSError& error, const bson::BSONObj& reply) = 0;
  virtual void answerQuery(const TC::OrderProcessMap& data, const utils::KSError& error) = 0;
  /// The hedge manager has another target for a task's hedge.
  virtual void announceHedgeVolume(int taskId, int lots) = 0;
  /// date: "yyyymmdd".
  virtual void announceTradingDay(const std::string& date) = 0;
  /// The host's clock moves on, so that its timers go off. A host whose clock runs by itself need not do anything.
  virtual void passTime(int /*msec*/) {}
};

struct SViolation {
  std::string m_strRule;  ///< of hostRules()
  std::string m_strWhat;  ///< what was seen
};

struct SRule {
  const char* m_pName;
  const char* m_pThread;     ///< on which the panel calls, or on which the host has to
  const char* m_pMust;       ///< what must hold
  const char* m_pOtherwise;  ///< what a user sees where it does not
};

/// What checkHost looks at, in its order.
std::vector<SRule> hostRules();

/// Tries the installed services. Task identifiers from 900000 on, the account "testkit" and the instrument
/// "SH.600000" are its own: the host need not know them before. GUI thread, with a QCoreApplication, while no panel
/// exists; events are handled meanwhile. It takes some seconds. patience: milliseconds for what the host does on
/// threads of its own. Empty for a host that is as it must be.
std::vector<SViolation> checkHost(IHostDriver& driver, int patience = 3000);

}  // namespace testkit
