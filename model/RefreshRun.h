/// What the steps of one run of CBasketTask::updateDetail, and of a load, share. Only for that class's own sources.
#pragma once

#include "CBasketTask.h"
#include "tc/CTradeClient.h"

namespace TC {

struct CBasketTask::SRefresh {
  enum class EOrder : char { Unknown, Known, Cancelled };
  struct STarget {
    double amount;  ///< CNY
    bool unpriced;  ///< a volume without a price
  };

  /// Asks the host all that it is asked in the run, before anything is changed: it may fail, and then the rows go on
  /// with what was known before.
  SRefresh(const CBasketTask& task, const ksservice::CTaskDetail& itsDetail);

  static STarget askTarget(const ksservice::CCodeOrderParam& param);

  const ksservice::CTaskDetail& detail;
  /// The detail's state before this run; null for a detail that the task did not know.
  const boost::shared_ptr<ksservice::CTaskDetail> before;
  const SAccount account;
  std::vector<STarget> targets;                         ///< by parameter
  boost::shared_ptr<const TC::CTaskProgress> progress;  ///< of a server task, where the host knows it
  std::vector<EOrder> orders;                           ///< by order, of a task of the terminal's own
};

struct CBasketTask::SLoad {
  std::set<std::string> own;  ///< keys of details
  bool patches = false;
};

}  // namespace TC
