#include "PatchCreations.h"

#include <algorithm>

namespace TC {
namespace {

using ksservice::ETO_Cancel;
using ksservice::ETO_Drop;
using ksservice::ETO_Pause;
using ksservice::ETO_Resume;

/// Without the lines that are to trade nothing.
LineVolumes cleaned(LineVolumes volumes) {
  for (auto line = volumes.begin(); line != volumes.end();) {
    line = line->second > 0 ? std::next(line) : volumes.erase(line);
  }
  return volumes;
}

void takeOff(LineVolumes& left, const LineVolumes& planned) {
  for (const auto& [line, volume] : planned) {
    const auto known = left.find(line);
    if (known == left.end()) continue;
    known->second -= volume;
    if (known->second <= 0) left.erase(known);
  }
}

bool isWithin(const LineVolumes& planned, const LineVolumes& ordered) {
  return std::all_of(planned.begin(), planned.end(), [&ordered](const auto& line) {
    const auto known = ordered.find(line.first);
    return known != ordered.end() && line.second <= known->second;
  });
}

}  // namespace

void CPatchCreations::add(int creation, LineVolumes ordered, double msec) {
  SCreation& added = m_creations.emplace_back();
  added.number = m_nLast = creation;
  added.msec = msec;
  added.ordered = added.left = cleaned(std::move(ordered));
  m_bDropped = false;
}

void CPatchCreations::answered(int creation, int taskId) {
  for (SCreation& one : m_creations) {
    if (one.number == creation) one.taskId = std::max(taskId, NO_TASK);
  }
  settle();
}

LineVolumes CPatchCreations::failed(int creation) {
  const auto found = std::find_if(m_creations.begin(), m_creations.end(),
                                  [creation](const SCreation& one) { return one.number == creation; });
  if (found == m_creations.end()) return {};
  LineVolumes ordered = std::move(found->ordered);
  m_creations.erase(found);
  settle();
  return ordered;
}

void CPatchCreations::handedOver(const LineVolumes& lines) { addVolumes(m_taken, cleaned(lines)); }

void CPatchCreations::arrived(const std::string& detailKey, int taskId, LineVolumes planned) {
  if (!m_known.emplace(detailKey, taskId).second) return;
  auto task = std::find_if(m_tasks.begin(), m_tasks.end(), [taskId](const STask& one) { return one.id == taskId; });
  if (task == m_tasks.end()) {
    const bool named = taskId != m_nBasketId && taskId != ksservice::UNSET_INT;
    task = m_tasks.insert(task, STask{taskId, named, {}});
  }
  task->details.push_back({cleaned(std::move(planned)), m_nLast});
  settle();
}

// What belongs to what

void CPatchCreations::settle() {
  for (SCreation& one : m_creations) {
    one.taken.clear();
    one.left = one.ordered;
    const STask* task = one.taskId == NO_TASK ? nullptr : findTask(one.taskId);
    if (!task) continue;
    for (const STask::SKnown* detail : detailsOf(*task, one)) takeOff(one.left, detail->planned);
  }
  // A task that is to trade just what was ordered goes before one that is to trade some of it.
  std::set<int> placed;
  for (const EMatch match : {EMatch::Whole, EMatch::Part}) {
    for (const STask& task : m_tasks) {
      if (isAnswer(task.id) || placed.contains(task.id)) continue;
      const bool found = std::any_of(m_creations.begin(), m_creations.end(),
                                     [&](SCreation& one) { return takeFor(one, task, match); });
      if (found) placed.insert(task.id);
    }
  }
}

bool CPatchCreations::isAnswer(int taskId) const {
  return std::any_of(m_creations.begin(), m_creations.end(),
                     [taskId](const SCreation& one) { return one.taskId == taskId; });
}

const CPatchCreations::STask* CPatchCreations::findTask(int taskId) const {
  const auto task =
      std::find_if(m_tasks.begin(), m_tasks.end(), [taskId](const STask& one) { return one.id == taskId; });
  return task == m_tasks.end() ? nullptr : &*task;
}

/// Those of a task that can be the creation's. Under a number that is nobody's own these are the ones that came later.
std::vector<const CPatchCreations::STask::SKnown*> CPatchCreations::detailsOf(const STask& task,
                                                                              const SCreation& creation) {
  std::vector<const STask::SKnown*> details;
  for (const STask::SKnown& detail : task.details) {
    if (task.named || detail.since >= creation.number) details.push_back(&detail);
  }
  return details;
}

/// False when the task cannot be the creation's.
bool CPatchCreations::takeFor(SCreation& creation, const STask& task, EMatch match) {
  if (creation.taskId != NO_TASK || creation.left.empty()) return false;
  LineVolumes planned;
  for (const STask::SKnown* detail : detailsOf(task, creation)) {
    if (detail->since < creation.number) return false;  // there before it was asked for
    addVolumes(planned, detail->planned);
  }
  const bool whole = planned == creation.ordered;
  if (planned.empty() || (match == EMatch::Whole ? !whole : !isWithin(planned, creation.ordered))) return false;
  creation.taken.insert(task.id);
  if (whole) creation.left.clear();
  return true;
}

// The wait

bool CPatchCreations::isWaiting(const SCreation& creation) const {
  if (creation.given || !creation.taken.empty()) return false;
  const STask* task = creation.taskId == NO_TASK ? nullptr : findTask(creation.taskId);
  return !task || detailsOf(*task, creation).empty();
}

bool CPatchCreations::isWaiting() const {
  return std::any_of(m_creations.begin(), m_creations.end(), [this](const SCreation& one) { return isWaiting(one); });
}

bool CPatchCreations::endWait(double now, double msec) {
  bool ended = false;
  for (SCreation& one : m_creations) {
    if (!isWaiting(one) || now - one.msec < msec) continue;
    one.given = ended = true;
  }
  return ended;
}

LineVolumes CPatchCreations::held() const {
  LineVolumes sum;
  for (const SCreation& one : m_creations) addVolumes(sum, one.left);
  return sum;
}

// What is still to be told

void CPatchCreations::operate(int operation) {
  for (SCreation& one : m_creations) {
    if (operation == ETO_Pause) one.paused = true;
    if (operation == ETO_Resume) one.paused = false;
    // Giving up outweighs a cancel.
    if (operation == ETO_Drop || operation == ETO_Cancel) one.stop = std::max(one.stop, operation);
  }
  if (operation != ETO_Resume) return;
  for (auto sent = m_sent.begin(); sent != m_sent.end();) {
    sent = sent->second == ETO_Pause ? m_sent.erase(sent) : std::next(sent);
  }
}

/// A stop counts as sent whichever of the two it was, so that a detail gets one.
void CPatchCreations::sent(const std::string& detailKey, int operation) {
  if (operation == ETO_Resume) return;
  m_sent.insert({detailKey, operation == ETO_Pause ? ETO_Pause : ETO_Drop});
}

int CPatchCreations::owed(const std::string& detailKey) const {
  const auto known = m_known.find(detailKey);
  if (known == m_known.end()) return 0;
  int stop = 0;
  bool paused = false;
  for (const SCreation& one : m_creations) {
    if (one.taskId != known->second && !one.taken.contains(known->second)) continue;
    stop = std::max(stop, one.stop);
    paused = paused || one.paused;
  }
  if (stop != 0) return m_sent.contains({detailKey, ETO_Drop}) ? 0 : stop;
  return paused && !m_sent.contains({detailKey, ETO_Pause}) ? ETO_Pause : 0;
}

}  // namespace TC
