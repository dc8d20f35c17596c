#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

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

/// The way by which a detail came in. The two classify differently on purpose: the host's feed tells a patch by the
/// patch flag of a basket command and takes ETF hedge baskets as tasks, the signal takes type 0 as a patch.
enum class EDetailSource { HostFeed, Signal };

/// The four caches between the feed and the refresh. Any thread; its mutex is held only to store and to swap.
class CDetailCaches {
 public:
  void store(const ksservice::CTaskDetailPtr& detail, EDetailSource source);
  /// Takes all four caches when there is work for a refresh; otherwise takes nothing, since details that only carry a
  /// status wait for one.
  bool takeWork(SDetailMaps& out);
  /// Every detail that waits for a refresh, by key.
  DetailMap waiting() const;
  /// Puts these states in the place of what waited then and still does, so that a refresh does not show what is older
  /// than what was read since.
  void renew(const DetailMap& waiting, const std::vector<ksservice::CTaskDetailPtr>& newest);
  void clear();

 private:
  mutable std::mutex m_cacheMutex;
  SDetailMaps m_caches;
};

}  // namespace TC
