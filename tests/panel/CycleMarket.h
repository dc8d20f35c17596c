/// Tasks of two trader types as a terminal tells of them: details that come, grow and end, version by version.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "RandomDays.h"
#include "ksservice/CTaskDetail.h"

namespace test {

/// A delivered detail is never changed: each version is a record of its own.
class CCycleMarket {
 public:
  using Details = std::map<std::string, ksservice::CTaskDetailPtr>;

  explicit CCycleMarket(Random& random) : m_random(random) {}

  /// Forgets everything; tasks are numbered from here on, and are hedged or not.
  void startDay(int firstTask, bool hedges);
  /// The next version of some detail of a trader type, or the first of a new one; null for one that is among the keys
  /// of those told already, to which it is added.
  ksservice::CTaskDetailPtr next(int type, std::set<std::string>& told);
  /// The next version of a known detail; a status above 0 is the one that it takes, unless it has ended.
  ksservice::CTaskDetailPtr renew(const std::string& key, int status = 0);
  /// The newest version of each detail of a trader type.
  Details newest(int type) const;
  std::vector<std::string> keysOf(int type, int task) const;
  int firstTask() const { return m_nFirstTask; }
  bool hasHedges() const { return m_bHedges; }

 private:
  ksservice::CTaskDetailPtr any(int type);
  ksservice::CTaskDetailPtr start(int type, int task, int number);
  ksservice::CTaskDetailPtr startPatch(int type, int task);
  ksservice::CTaskDetailPtr add(const ksservice::CTaskDetailPtr& detail);

  Random& m_random;
  int m_nFirstTask = 1;
  bool m_bHedges = false;
  Details m_newest;
};

constexpr int CYCLE_TASKS = 5;

/// The task that a detail belongs to; of a patch, the patched one.
inline int taskOf(const ksservice::CTaskDetail& detail) { return detail.m_pCommand->m_nTaskId; }

}  // namespace test
