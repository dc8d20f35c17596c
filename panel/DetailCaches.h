#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "DetailKind.h"
#include "ksservice/CTaskDetail.h"

namespace TC {

using DetailMap = std::map<std::string, ksservice::CTaskDetailPtr>;

/// The newest detail of each key, by what the detail is about.
struct SDetailMaps {
  DetailMap task;
  DetailMap patch;
  DetailMap hedge;
  DetailMap status;  ///< every detail, also those of the other three

  bool hasWork() const { return !task.empty() || !patch.empty() || !hedge.empty(); }
};

/// The four caches between the feed and the refresh. Any thread; its mutex is held only to store and to swap.
class CDetailCaches {
 public:
  /// The number of the panel's day: it grows with each trading day and with each change of the trader type. What was
  /// taken on an earlier one is of tasks that are gone.
  unsigned day() const;
  /// Files a detail that was looked at on a day; false, and nothing is filed, when that is over.
  bool store(const ksservice::CTaskDetailPtr& detail, EDetailWay way, unsigned day);
  /// Takes all four caches when there is work for a refresh, and tells the day that they are of; otherwise takes
  /// nothing, since details that only carry a status wait for one.
  bool takeWork(SDetailMaps& out, unsigned& day);
  /// Every detail that waits for a refresh, by key, and the day that they are of.
  DetailMap waiting(unsigned& day) const;
  /// Puts these states in the place of what waited then and still does, so that a refresh does not show what is older
  /// than what was read since.
  void renew(const DetailMap& waiting, const std::vector<ksservice::CTaskDetailPtr>& newest);
  /// Empties the caches. To be called when tasks and table are ready for the day, since a refresh may begin at once.
  void startDay(unsigned day);

 private:
  mutable std::mutex m_cacheMutex;  ///< guards the next two; nothing else is locked under it
  SDetailMaps m_caches;
  unsigned m_nDay = 0;
};

}  // namespace TC
