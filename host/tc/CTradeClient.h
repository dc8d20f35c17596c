#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <utility>
#include <vector>

#include "ksservice/COrderInfo.h"

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

/// The connection that carries server tasks. Any thread.
class CTradeClient {
 public:
  virtual ~CTradeClient() = default;
  /// Null while the server has reported no progress of the task.
  virtual boost::shared_ptr<const CTaskProgress> getTaskProgress(const std::string& detailKey) const = 0;
  /// Whether the account is logged in and may be asked for its details.
  virtual bool isLoginReady(const std::string& accountKey) const = 0;
};

}  // namespace TC
