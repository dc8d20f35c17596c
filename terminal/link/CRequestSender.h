#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CDesk.h"

namespace desklink::v1 {
class Answer;
class Request;
}  // namespace desklink::v1

namespace desklink {

/// What a terminal's panel asks goes out as messages: the driver of its desk's requests. Answers go to the requests
/// that they name, in whatever order they come. Any thread.
class CRequestSender : public desk::IDeskDriver {
 public:
  /// Takes one request, which CRequestTaker reads.
  using Send = std::function<void(const std::string& message)>;

  /// terminal: what no other terminal is called, and this one only once; the identifiers of its requests begin with it.
  CRequestSender(desk::CDesk& desk, std::string terminal, Send send)
      : m_desk(desk), m_strTerminal(std::move(terminal)), m_send(std::move(send)) {}

  /// False for what is no answer, or one that nobody waits for (any more).
  bool takeAnswer(const std::string& message);

  void createTask(const desk::SCreateRequest& request) override;
  void operateServerTask(const std::string& serverTaskKey, const desk::OpRecordPtr& record) override;
  void queryOrderProcess(const std::vector<std::string>& serverTaskKeys) override;
  void operateLocalTask(int taskId, const desk::AccountPtr& account, const desk::OpRecordPtr& record) override;
  void pauseLocalTask(int taskId, const desk::AccountPtr& account) override;
  void resumeLocalTask(int taskId, const desk::AccountPtr& account) override;
  void cancelOrders(const std::string& detailKey, const std::vector<std::string>& orderKeys) override;
  void setHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) override;
  void startHedge(int groupId) override;
  void pauseHedge(int groupId) override;
  void stopHedge(int groupId) override;

 private:
  enum class EKind { Create, Operate, Query };

  /// kind: an answer is waited for.
  void send(v1::Request& request, std::optional<EKind> kind = std::nullopt);
  void reply(EKind kind, const v1::Answer& answer);

  desk::CDesk& m_desk;
  std::string m_strTerminal;
  Send m_send;
  std::mutex m_mutex;  ///< guards the rest
  std::uint64_t m_nLast = 0;
  /// The desk answers the oldest of a kind: an answer that comes before those of older requests waits for them.
  std::map<EKind, std::deque<std::string>> m_waiting;
  std::map<std::string, std::string> m_early;  ///< messages, by request
};

}  // namespace desklink
