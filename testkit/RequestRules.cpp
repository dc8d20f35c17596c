#include <boost/make_shared.hpp>
#include <mutex>
#include <thread>

#include "HostRules.h"
#include "TaskDetails.h"
#include "tc/CItCommandCenter.h"
#include "tc/Services.h"

namespace testkit {
namespace {

using namespace ksservice;

/// What became of a request.
class CAnswer {
 public:
  void take(const utils::KSError& error, int value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_nTimes;
    m_nValue = value;
    m_strError = error.errorMsg();
  }
  int times() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nTimes;
  }
  int value() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nValue;
  }
  std::string error() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_strError;
  }

 private:
  mutable std::mutex m_mutex;
  int m_nTimes = 0;
  int m_nValue = 0;
  std::string m_strError;
};

/// Asks, answers, and looks at what comes.
void tryRequest(CTrial& trial, const char* name, const std::function<void(const std::shared_ptr<CAnswer>&)>& ask,
                const std::function<void()>& answer, int value, const std::string& error) {
  const auto got = std::make_shared<CAnswer>();
  ask(got);
  const std::string what = name;
  trial.expect(got->times() == 0, what + " called its completion before it returned");
  answer();
  trial.expect(trial.waitFor([&] { return got->times() > 0; }), what + " was answered, and its completion not called");
  trial.watch();
  trial.expect(got->times() < 2, what + " called its completion more than once");
  if (got->times() == 0) return;
  trial.expect(got->error() == error, what + " told the error \"" + got->error() + "\" instead of \"" + error + "\"");
  trial.expect(got->value() == value,
               what + " gave " + std::to_string(got->value()) + " instead of " + std::to_string(value));
}

void createTasks(CTrial& trial) {
  const CTaskDetailPtr task = CTrial::makeTask();
  const auto ask = [&task](const std::shared_ptr<CAnswer>& got) {
    TC::getItCommandCenter().createTask(
        *task->m_pCommand, task->m_params, EMavTraderType(task->m_pCommand->m_nTraderType), 0,
        [got](const utils::KSError& error, int taskId) { got->take(error, taskId); }, task->m_nTaskId);
  };
  tryRequest(trial, "createTask", ask, [&] { trial.driver().answerCreation({}, 900123); }, 900123, {});
  tryRequest(
      trial, "createTask", ask, [&] { trial.driver().answerCreation(utils::KSError("资金不足"), 0); }, 0, "资金不足");
}

void operateTasks(CTrial& trial) {
  const auto record = boost::make_shared<CTaskOpRecord>();
  record->m_nOperation = ETO_Cancel;
  const auto ask = [&record](const std::shared_ptr<CAnswer>& got) {
    TC::getItCommandCenter().operateServerTask(
        "testkit-1", record, [got](const utils::KSError& error, const bson::BSONObj& reply) {
          got->take(error, reply.stringField("ErrorMsg") == "任务已结束" ? 1 : 0);
        });
  };
  const auto refusal = bson::BSONObj::fromJson(R"({"ErrorMsg":"任务已结束"})");
  tryRequest(trial, "operateServerTask", ask, [&] { trial.driver().answerOperation({}, *refusal); }, 1, {});
  tryRequest(
      trial, "operateServerTask", ask, [&] { trial.driver().answerOperation(utils::KSError("连接已断开"), {}); }, 0,
      "连接已断开");
}

void queryProgress(CTrial& trial) {
  const auto ask = [](const std::shared_ptr<CAnswer>& got) {
    TC::getTradeClient().queryOrderProcess(
        {"testkit-1"},
        [got](const TC::OrderProcessMap& process, const utils::KSError& error, const bson::BSONObj&) {
          const auto task = process.find("testkit-1");
          got->take(error,
                    task == process.end() || !task->second.contains("SH.600000") ? 0 : task->second.at("SH.600000"));
        },
        0);
  };
  tryRequest(trial, "queryOrderProcess", ask,
             [&] {
               trial.driver().answerQuery({{"testkit-1", {{"SH.600000", 300}}}}, {});
             },
             300, {});
  tryRequest(
      trial, "queryOrderProcess", ask, [&] { trial.driver().answerQuery({}, utils::KSError("查询超时")); }, 0,
      "查询超时");
}

/// Two of a kind are answered in the order in which they were asked.
void answerInOrder(CTrial& trial) {
  const CTaskDetailPtr task = CTrial::makeTask();
  const auto first = std::make_shared<CAnswer>();
  const auto second = std::make_shared<CAnswer>();
  for (const auto& got : {first, second}) {
    TC::getItCommandCenter().createTask(
        *task->m_pCommand, task->m_params, EMavTraderType(task->m_pCommand->m_nTraderType), 0,
        [got](const utils::KSError& error, int taskId) { got->take(error, taskId); }, task->m_nTaskId);
  }
  trial.driver().answerCreation({}, 900201);
  trial.driver().answerCreation({}, 900202);
  trial.waitFor([&] { return first->times() > 0 && second->times() > 0; });
  trial.expect(first->value() == 900201 && second->value() == 900202,
               "two requests to create a task got one another's answers");
}

}  // namespace

std::vector<STriedRule> requestRules() {
  return {
      {{"create", "GUI thread; answered on a thread of the host",
        "createTask returns at once; its completion comes later and once, with what the server said",
        "a patch is sent twice, or its box never ends"},
       createTasks},
      {{"operate", "GUI thread or the panel's worker; answered on a thread of the host",
        "operateServerTask returns at once; its completion comes later and once, an \"ErrorMsg\" with it",
        "a refused cancel looks as if it had been taken"},
       operateTasks},
      {{"query", "GUI thread; answered on a thread of the host",
        "queryOrderProcess returns at once; its completion comes later and once, with the numbers of each security",
        "a patch orders what the algorithm still fills"},
       queryProgress},
      {{"answers", "a thread of the host", "each request gets its own answer", "a patch is taken for another one"},
       answerInOrder},
  };
}

}  // namespace testkit
