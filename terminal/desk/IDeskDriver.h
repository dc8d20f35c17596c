#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "ksservice/CBasketHedgeParam.h"
#include "ksservice/CTaskDetail.h"
#include "ksservice/CTaskOpRecord.h"

namespace desk {

using OpRecordPtr = boost::shared_ptr<const ksservice::CTaskOpRecord>;
using AccountPtr = boost::shared_ptr<const ksservice::CAccountInfo>;

/// What the panel wants a task made of.
struct SCreateRequest {
  ksservice::COrderCommand m_command;
  std::vector<ksservice::CCodeOrderParam> m_params;
  int m_nTraderType = 0;
  int m_nHedgeType = 0;
  int m_nTaskId = 0;  ///< the task that the new one belongs to
};

/// Who carries out what the panel asks of the host. Called on the thread that asks, outside every lock of the desk: an
/// implementation only puts the request aside for its own thread. Requests with an answer are answered through
/// CDesk::requests(), those of one kind in the order in which they came.
class IDeskDriver {
 public:
  virtual ~IDeskDriver() = default;

  // Answered.
  virtual void createTask(const SCreateRequest&) {}
  virtual void operateServerTask(const std::string& /*serverTaskKey*/, const OpRecordPtr&) {}
  virtual void queryOrderProcess(const std::vector<std::string>& /*serverTaskKeys*/) {}

  // Not answered.
  virtual void operateLocalTask(int /*taskId*/, const AccountPtr&, const OpRecordPtr&) {}
  virtual void pauseLocalTask(int /*taskId*/, const AccountPtr&) {}
  virtual void resumeLocalTask(int /*taskId*/, const AccountPtr&) {}
  /// Cancels orders of a task's detail, known by their keys. An unknown one and one that has ended are passed over.
  virtual void cancelOrders(const std::string& /*detailKey*/, const std::vector<std::string>& /*orderKeys*/) {}
  virtual void setHedgeParam(int /*groupId*/, int /*commandId*/, const ksservice::CBasketHedgeParam&) {}
  virtual void startHedge(int /*groupId*/) {}
  virtual void pauseHedge(int /*groupId*/) {}
  virtual void stopHedge(int /*groupId*/) {}
};

}  // namespace desk
