#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "IDeskDriver.h"
#include "tc/CItCommandCenter.h"
#include "tc/CTradeClient.h"

namespace desk {

class CJobGate;
class IDeskObserver;

/// What the panel asks of the host: tells the observers, hands it to the driver, and keeps the completions until they
/// are answered, each kind in the order of its requests. Any thread; nobody is called under the lock.
class CRequests {
 public:
  using TellObservers = std::function<void(const std::function<void(IDeskObserver&)>&)>;

  CRequests(CJobGate& gate, TellObservers tell) : m_gate(gate), m_tell(std::move(tell)) {}
  CRequests(const CRequests&) = delete;
  CRequests& operator=(const CRequests&) = delete;

  /// Null: requests are told and kept, but nobody carries them out. While no request comes.
  void setDriver(IDeskDriver* driver) { m_pDriver = driver; }

  // What the panel asks.
  void createTask(const SCreateRequest& request, TC::CItCommandCenter::CreateCompletion completion);
  void operateServerTask(const std::string& serverTaskKey, const OpRecordPtr& record,
                         TC::CItCommandCenter::OperateCompletion completion);
  void queryOrderProcess(const std::vector<std::string>& serverTaskKeys, TC::OrderProcessCompletion completion);
  void operateLocalTask(int taskId, const AccountPtr& account, const OpRecordPtr& record);
  void pauseLocalTask(int taskId, const AccountPtr& account);
  void resumeLocalTask(int taskId, const AccountPtr& account);
  /// By the user of the terminal, not by the panel: no observer is told.
  void cancelOrders(const std::string& detailKey, const std::vector<std::string>& orderKeys);
  void setHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param);
  /// runs: the driver has started it already.
  void startHedge(int groupId, bool runs);
  void pauseHedge(int groupId);
  void stopHedge(int groupId);

  // What the driver answers: the oldest request of the kind that is unanswered; false when there is none. While a
  // recording is made a call may wait for the end of a panel's job. Never on the GUI thread then.
  bool replyToCreate(const utils::KSError& error, int taskId);
  bool replyToOperation(const utils::KSError& error, const bson::BSONObj& reply);
  bool replyToQuery(const TC::OrderProcessMap& data, const utils::KSError& error, const bson::BSONObj& result);

 private:
  template <typename Completion>
  bool takeOldest(std::deque<Completion>& waiting, Completion& out);

  CJobGate& m_gate;
  TellObservers m_tell;
  IDeskDriver* m_pDriver = nullptr;

  std::mutex m_mutex;  ///< guards the rest
  std::deque<TC::CItCommandCenter::CreateCompletion> m_creations;
  std::deque<TC::CItCommandCenter::OperateCompletion> m_operations;
  std::deque<TC::OrderProcessCompletion> m_queries;
};

}  // namespace desk
