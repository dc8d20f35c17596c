#include "past/CPastDriver.h"

#include <QThread>
#include <utility>

namespace app {
namespace {

const char* const REFUSAL = "回看中，不能操作";

}  // namespace

bool CPastDriver::asksByItself() const { return QThread::currentThread() != thread() || m_bAnnouncing; }

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

void CPastDriver::refuseUser() {
  if (!asksByItself()) refuse({});
}

void CPastDriver::createTask(const desk::SCreateRequest&) {
  refuse([this] { m_desk.requests().replyToCreate(utils::KSError(REFUSAL), 0); });
}

void CPastDriver::operateServerTask(const std::string&, const desk::OpRecordPtr&) {
  if (!asksByItself()) {
    return refuse([this] { m_desk.requests().replyToOperation(utils::KSError(REFUSAL), {}); });
  }
  QMetaObject::invokeMethod(
      this, [this] { m_desk.requests().replyToOperation({}, {}); }, Qt::QueuedConnection);
}

void CPastDriver::queryOrderProcess(const std::vector<std::string>&) {
  refuse([this] { m_desk.requests().replyToQuery({}, utils::KSError(REFUSAL), {}); });
}

}  // namespace app
