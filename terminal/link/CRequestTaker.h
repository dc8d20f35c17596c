#pragma once

#include <functional>
#include <string>

#include "CDesk.h"

namespace desklink::v1 {
class Request;
}

namespace desklink {

/// Asks an engine's desk for what terminals want. One thread at a time.
class CRequestTaker {
 public:
  /// Takes the answer to a request; on whatever thread the engine answers, perhaps before take() has returned.
  using Answer = std::function<void(const std::string& message)>;

  explicit CRequestTaker(desk::CDesk& desk) : m_desk(desk) {}

  /// False for what is no request, or one of a version or kind that this engine does not know.
  bool take(const std::string& message, const Answer& answer);

 private:
  bool create(const v1::Request& request, const Answer& answer);
  bool operateServerTask(const v1::Request& request, const Answer& answer);
  bool query(const v1::Request& request, const Answer& answer);
  bool operateLocal(const v1::Request& request);
  bool setHedge(const v1::Request& request);

  desk::CDesk& m_desk;
};

}  // namespace desklink
