/// What the host says of a detail. All of it is asked before anything of a task is changed: the host may fail, and then
/// the rows go on with what was known before.
#pragma once

#include <boost/shared_ptr.hpp>
#include <vector>

#include "CountedDetail.h"
#include "EBasketTaskType.h"
#include "ksservice/CTaskDetail.h"
#include "tc/CTradeClient.h"

namespace TC {

/// What of a detail has to be counted, and what the host says of it.
struct SDetailFacts {
  struct SAnswer {
    int place;  ///< in the list of orders
    EKnownOrder known;
  };

  /// Asks the host. counted: what of the detail was counted last; null where nothing was. Worker thread, with or
  /// without the task's mutex.
  SDetailFacts(EBasketTaskType itsPart, ksservice::CTaskDetailPtr itsDetail, const SCountedDetail* counted);

  EBasketTaskType part;
  ksservice::CTaskDetailPtr detail;
  SHostState host;
  bool whole = true;                                ///< nothing that was counted before stands
  bool countsLines = true;                          ///< the parameters are to be counted
  std::vector<STarget> targets;                     ///< by parameter, where they are counted and the part has any
  boost::shared_ptr<const CTaskProgress> progress;  ///< null where none counts
  bool countsOrders = false;                        ///< of the detail itself: they are not the server's
  std::vector<int> changed;      ///< places of the orders that are others than before, in list order; of a whole all
  std::vector<SAnswer> answers;  ///< of the orders that were asked for

 private:
  bool stands(const SCountedDetail& counted) const;
  bool targetsStand(const SCountedDetail& counted) const;
  bool findChanged(const SCountedDetail& counted);
  void askTargets();
  void askOrders(const SCountedDetail& counted);
  void askOrder(int place);
};

}  // namespace TC
