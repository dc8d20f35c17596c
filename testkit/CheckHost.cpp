#include "CheckHost.h"

#include <atomic>
#include <boost/make_shared.hpp>
#include <sstream>

#include "HostRules.h"
#include "TaskDetails.h"
#include "ksservice/TraderCenter.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace testkit {

using namespace ksservice;

bool CTrial::waitFor(const std::function<bool()>& holds, int msec) const {
  constexpr int STEP_MSEC = 5;
  QElapsedTimer clock;
  clock.start();
  for (;;) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, STEP_MSEC);
    if (holds()) return true;
    if (clock.elapsed() > msec) return false;
    QThread::msleep(STEP_MSEC);
    m_driver.passTime(STEP_MSEC);
  }
}

CTaskDetailPtr CTrial::makeTask() {
  static std::atomic<int> next{900000};
  CTaskDetailPtr detail = makeDetail(next++);
  detail->m_pCommand->m_strUser = TC::getUserConfig().userName();
  detail->m_pCommand->m_strLogin = TraderCenter::instance().getDataCenter().loginIdentity();
  addParam(*detail, makeAccount("testkit", "testkit"), "600000", 1000, 10);
  addOrder(*detail, detail->getKey() + "-1", "600000", 1000, 100, 10);
  return detail;
}

CTaskDetailPtr CTrial::makeNewer(const CTaskDetail& task) {
  auto newer = boost::make_shared<CTaskDetail>(task);
  const auto order = boost::make_shared<COrderInfo>(*task.m_orders.at(0));
  order->m_nTradedVolume += 100;
  order->m_dTradedAmount += 1000;
  newer->m_orders[0] = order;
  return newer;
}

std::string CTrial::textOf(const CTaskDetail& detail) {
  std::ostringstream text;
  text << detail.getKey() << ' ' << detail.m_nTaskId << ' ' << detail.m_nNumber << ' ' << detail.m_nStatus << ' '
       << detail.m_strMessage << ' ' << detail.m_nStartTime << ' ' << detail.m_nEndTime;
  for (const COrderInfoPtr& order : detail.m_orders) {
    text << " order " << order->getKey() << ' ' << order->m_nVolume << ' ' << order->m_nTradedVolume << ' '
         << order->m_dTradedAmount << ' ' << order->m_bCompleted << ' ' << order->m_strMessage;
  }
  for (const CCodeOrderParam& param : detail.m_params) {
    text << " line " << param.getKey() << ' ' << param.m_nVolume << ' ' << param.m_dPrice << ' ' << param.m_nHandled;
  }
  return text.str();
}

bool CTrial::deliver(const CTaskDetailPtr& detail) {
  m_driver.deliver(detail, {});
  const std::string text = textOf(*detail);
  return waitFor([&] {
    const CTaskDetailPtr kept = TraderCenter::instance().getDataCenter().taskDetail(detail->getKey());
    return kept && textOf(*kept) == text;
  });
}

const std::vector<STriedRule>& triedRules() {
  static const std::vector<STriedRule> RULES = [] {
    std::vector<STriedRule> rules = dataRules();
    for (const auto& more : {requestRules(), clockRules()}) rules.insert(rules.end(), more.begin(), more.end());
    return rules;
  }();
  return RULES;
}

std::vector<SRule> hostRules() { return {triedRules().begin(), triedRules().end()}; }

std::vector<SViolation> tryRule(const STriedRule& rule, IHostDriver& driver, int patience) {
  CTrial trial(driver, patience);
  try {
    rule.m_try(trial);
  } catch (const std::exception& error) {
    trial.violate(std::string("thrown at the caller: ") + error.what());
  } catch (...) {
    trial.violate("thrown at the caller");
  }
  std::vector<SViolation> violations;
  for (const std::string& what : trial.found()) violations.push_back({rule.m_pName, what});
  return violations;
}

std::vector<SViolation> checkHost(IHostDriver& driver, int patience) {
  std::vector<SViolation> violations;
  for (const STriedRule& rule : triedRules()) {
    for (SViolation& each : tryRule(rule, driver, patience)) violations.push_back(std::move(each));
  }
  return violations;
}

}  // namespace testkit
