/// What the steps of one run of CBasketTask::updateDetail, and of a load, share. Only for that class's own sources.
#pragma once

#include "CBasketTask.h"

namespace TC {

struct CBasketTask::SRefresh {
  const ksservice::CTaskDetail& detail;
  /// The detail's state before this run; null for a detail that the task did not know.
  const boost::shared_ptr<ksservice::CTaskDetail> before;
  const SAccount account;
};

struct CBasketTask::SLoad {
  std::set<std::string> own;  ///< keys of details
  bool patches = false;
};

}  // namespace TC
