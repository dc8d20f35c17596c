/// Tasks for the tests of the table in a few words.
#pragma once

#include <boost/make_shared.hpp>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "TaskDetails.h"
#include "TaskKeys.h"

namespace test {

using TaskPtr = boost::shared_ptr<TC::CBasketTask>;

/// A task without details, as the panel makes it.
inline TaskPtr makeTask(int id) {
  auto task = boost::make_shared<TC::CBasketTask>(TC::taskKey(id), id, id + 1000);
  task->getRoot()->setHpfTreeKey(TC::taskDisplayId(1, id));
  return task;
}

/// Gives the task a detail of one account with a row of 1000 at 10 CNY for each code, of which `traded` are filled.
inline ksservice::CTaskDetailPtr update(const TaskPtr& task, int number, const std::string& accountKey,
                                        const std::string& displayId,
                                        const std::vector<std::pair<std::string, int>>& traded) {
  ksservice::CTaskDetailPtr detail = testkit::makeDetail(task->getGroupId(), number);
  const auto account = testkit::makeAccount(accountKey, displayId);
  for (const auto& [code, volume] : traded) {
    testkit::addParam(*detail, account, code, 1000, 10);
    if (volume > 0)
      testkit::addOrder(*detail, std::string(accountKey).append("-").append(code), code, 1000, volume, 10);
  }
  task->updateDetail(detail);
  return detail;
}

/// Gives the task a hedge row of two lots.
inline void addHedge(const TaskPtr& task, const std::string& accountKey, const std::string& displayId,
                     const std::string& code, int operation = ksservice::EOT_SellOpen) {
  ksservice::CTaskDetailPtr detail = testkit::makeDetail(task->getGroupId(), 1);
  const auto account = testkit::makeAccount(accountKey, displayId);
  account->m_nType = 1;
  testkit::addParam(*detail, account, code, 2, 4000, operation);
  task->updateHedge(detail);
}

}  // namespace test
