#include "past/CPastDriver.h"

#include <utility>

namespace app {
namespace {

const char* const REFUSAL = "回看中，不能操作";

}  // namespace

/// Answers never come from within a request. Who gets one tells the user what it says.
void CPastDriver::refuse(std::function<void()> answer) {
  QMetaObject::invokeMethod(
      this,
      [this, answer = std::move(answer)] {
        if (answer) answer();
        m_tell(answer ? QString() : QString::fromUtf8(REFUSAL));
      },
      Qt::QueuedConnection);
}

void CPastDriver::createTask(const desk::SCreateRequest&) {
  refuse([this] { m_desk.requests().replyToCreate(utils::KSError(REFUSAL), 0); });
}

void CPastDriver::operateServerTask(const std::string&, const desk::OpRecordPtr&) {
  refuse([this] { m_desk.requests().replyToOperation(utils::KSError(REFUSAL), {}); });
}

void CPastDriver::queryOrderProcess(const std::vector<std::string>&) {
  refuse([this] { m_desk.requests().replyToQuery({}, utils::KSError(REFUSAL), {}); });
}

}  // namespace app
