#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "CDesk.h"
#include "CHostServices.h"
#include "docks/CBlotter.h"
#include "past/CPastDay.h"

namespace app {

/// Puts a desk where it stood at a moment of a kept day, and on to a later one: the panel gets the newest detail of
/// each key, the blotter everything. Time goes forward only; for an earlier moment there is a new desk. GUI thread.
class CPastDesk {
 public:
  /// All must outlive this object. The desk has its session, accounts and instruments, and nobody else fills it.
  /// dayStart: 00:00 of the day, seconds since the epoch.
  CPastDesk(const CPastDay& day, const daylog::IDayLog& log, std::int64_t dayStart, desk::CDesk& desk,
            desk::CHostServices& services, CBlotter& blotter);

  /// msec: since midnight; nothing for a moment that has passed.
  void advanceTo(std::int64_t msec);
  std::int64_t now() const { return m_nNow; }
  /// The next moment up to msec at which a task is told first, or msec. Who stops at each of these and lets the panel
  /// take it in sees the same wherever he comes from: of tasks that come together the panel has an order of its own.
  std::int64_t nextStop(std::int64_t msec) const;

 private:
  struct STask {
    ksservice::CTaskDetail m_detail;              ///< with its orders and parameters, as it is now
    std::shared_ptr<const PastParams> m_pParams;  ///< those that the detail has
    std::vector<ksservice::COrderInfoPtr> m_orders;
    std::vector<ksservice::COrderDetailPtr> m_orderDetails;
    std::vector<int> m_lines;  ///< of the orders
    bool m_bNew = true;        ///< its parameters have not been published
    bool m_bChanged = false;
    std::set<std::size_t> m_changedOrders;  ///< since the panel was told last
  };

  void take(const SPastTask& past);
  void takeParams(STask& task, const std::shared_ptr<const PastParams>& params) const;
  static void takeReport(STask& task, const SPastReport& report);
  void take(const SPastHedge& hedge);
  void takeEntries(std::int64_t msec);
  void takeQuotes(std::int64_t msec);
  void publish(STask& task);
  desk::SPublication publicationOf(const STask& task, const std::vector<std::size_t>& changed) const;
  void setNow(std::int64_t msec);

  const CPastDay& m_day;
  const daylog::IDayLog& m_log;
  std::int64_t m_nDayStart;
  desk::CDesk& m_desk;
  desk::CHostServices& m_services;
  CBlotter& m_blotter;
  std::int64_t m_nNow = -1;
  std::size_t m_nTask = 0;  ///< the next ones of the day
  std::size_t m_nHedge = 0;
  std::size_t m_nQuotes = 0;
  std::size_t m_nEntry = 0;
  std::map<std::string, STask> m_tasks;
  std::vector<STask*> m_changed;  ///< in the order in which they changed
};

}  // namespace app
