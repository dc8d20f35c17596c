#pragma once

#include <boost/shared_ptr.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "ksservice/COrderInfo.h"
#include "utils/BSONObj.h"
#include "utils/KSError.h"

namespace TC {

/// One entry of the order-detail map of a server task's progress.
struct CProgressOrder {
  std::string m_strMapKey;  ///< key in the order-detail map; holds the account's display identifier
  ksservice::COrderDetail m_detail;
  int m_nParamIndex = 0;  ///< index of the task's code order parameter that the order belongs to
};

/// Progress of a server task, never changed once handed out.
struct CTaskProgress {
  std::vector<CProgressOrder> m_orders;
};

/// Server task key to security key to number.
using OrderProcessMap = std::map<std::string, std::map<std::string, int>>;
/// result: an empty document when all is well.
using OrderProcessCompletion =
    std::function<void(const OrderProcessMap& data, const utils::KSError& error, const bson::BSONObj& result)>;

/// The connection that carries server tasks. Any thread.
class CTradeClient {
 public:
  virtual ~CTradeClient() = default;
  /// Null while the server has reported no progress of the task.
  virtual boost::shared_ptr<const CTaskProgress> getTaskProgress(const std::string& detailKey) const = 0;
  /// ELoginStatus of the account; ELS_None for an unknown one. See ksservice::isLoginStatusReady.
  virtual int getLoginStatus(const std::string& accountKey) const = 0;
  /// Asks the server how much of each security the tasks have finished or may still fill. The call returns at once;
  /// the completion is called once, on a thread of the host, or never when the host ends first. flag: 0.
  virtual void queryOrderProcess(const std::vector<std::string>& serverTaskKeys, OrderProcessCompletion completion,
                                 int flag) = 0;
};

}  // namespace TC
