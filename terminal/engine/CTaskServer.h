#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "CEngine.h"

namespace engine {

/// The server's side of what a panel asks for: makes tasks, operates server tasks, tells their progress. A request is
/// carried out and answered when its way is over, through the desk; those of one kind in the order in which they came.
/// Everything on the engine's thread, under its virtual clock.
class CTaskServer {
 public:
  /// Both must outlive the server. latencyMsec: the way of a request and its answer, in simulated time.
  CTaskServer(desk::CDesk& desk, CEngine& engine, int latencyMsec);

  /// Makes a task of the lines that patches the task of the command. Refused with a text: no line, a volume below 1, an
  /// account or an instrument that is not known, a command that is gone, more than is left of a line, parameters that
  /// no algorithm can run by.
  void createTask(const desk::SCreateRequest& request);
  /// Refused with a reply whose field "ErrorMsg" says why: a task that is not known, or that is over. What is so
  /// already is done.
  void operateServerTask(const std::string& serverTaskKey, int operation);
  /// Answers what is finished or may still fill; refused when a task is not known.
  void queryOrderProcess(const std::vector<std::string>& serverTaskKeys);

  /// Answers the request of a kind with a refusal, in its turn, and carries nothing out.
  void refuseCreation(const std::string& text);
  void refuseOperation(const std::string& text);

  /// Whether requests that come from now on are answered. Those of which the askers are gone are not: their answers
  /// would be taken for those of others.
  void setAnswering(bool answering) { m_bAnswering = answering; }

  /// Carries out what has arrived by then, milliseconds since midnight.
  void advanceTo(std::int64_t msec);

 private:
  struct SRequest {
    std::int64_t m_nTime;
    bool m_bAnswered;
    std::function<void()> m_carryOut;
  };

  void post(std::function<void()> carryOut);
  void replyToCreation(const std::string& fault, int task);
  void replyToOperation(const std::string& fault);
  void replyToQuery(const TC::OrderProcessMap& data, const std::string& fault);
  void answerCreation(const desk::SCreateRequest& request);
  void answerOperation(const std::string& serverTaskKey, int operation);
  void answerQuery(const std::vector<std::string>& serverTaskKeys);
  std::string fault(const desk::SCreateRequest& request) const;
  std::string fault(const ksservice::CCodeOrderParam& param) const;
  std::string excess(const desk::SCreateRequest& request) const;
  std::vector<SAccountLines> makeParts(const desk::SCreateRequest& request) const;
  SOrderLine makeLine(const ksservice::CCodeOrderParam& param) const;

  desk::CDesk& m_desk;
  CEngine& m_engine;
  int m_nLatencyMsec;
  std::deque<SRequest> m_requests;  ///< on their way, the oldest first
  bool m_bAnswering = true;
  bool m_bAnswered = true;  ///< of the one that is being carried out
};

}  // namespace engine
