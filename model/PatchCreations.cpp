#include "PatchCreations.h"

#include <algorithm>

namespace TC {
namespace {

bool meet(const LineVolumes& one, const LineVolumes& other) {
  return std::any_of(one.begin(), one.end(), [&other](const auto& line) { return other.count(line.first) > 0; });
}

}  // namespace

int CPatchCreations::add(LineVolumes ordered) {
  const int number = m_nNext++;
  LineVolumes outstanding = ordered;
  m_creations.push_back({number, NO_TASK, false, false, std::move(ordered), std::move(outstanding)});
  return number;
}

void CPatchCreations::answered(int creation, int taskId) {
  for (SCreation& one : m_creations) {
    if (one.number != creation || one.anonymous || taskId == NO_TASK || one.taskId == taskId) continue;
    // Another task was taken for this creation's: it did not end the wait for it.
    one.taskId = taskId;
    one.arrived = false;
    one.outstanding = one.ordered;
  }
}

LineVolumes CPatchCreations::failed(int creation) {
  const auto found = std::find_if(m_creations.begin(), m_creations.end(),
                                  [creation](const SCreation& one) { return one.number == creation; });
  if (found == m_creations.end()) return {};
  LineVolumes ordered = std::move(found->ordered);
  m_creations.erase(found);
  return ordered;
}

CPatchCreations::SCreation* CPatchCreations::ownerOf(int taskId, const LineVolumes& planned) {
  const auto find = [this](const auto& matches) -> SCreation* {
    const auto found = std::find_if(m_creations.begin(), m_creations.end(), matches);
    return found == m_creations.end() ? nullptr : &*found;
  };
  if (taskId == NO_TASK) {
    return find([&](const SCreation& one) { return meet(one.outstanding, planned); });
  }
  if (SCreation* known = find([&](const SCreation& one) { return one.taskId == taskId; })) return known;
  return find([&](const SCreation& one) { return one.taskId == NO_TASK && meet(one.outstanding, planned); });
}

void CPatchCreations::arrived(int taskId, bool isNew, bool allEnded, const LineVolumes& planned) {
  SCreation* owner = isNew ? ownerOf(taskId, planned) : nullptr;
  if (owner && taskId == NO_TASK) owner->anonymous = true;
  if (owner) owner->taskId = taskId;
  for (SCreation& one : m_creations) {
    const bool belongs = &one == owner || (taskId != NO_TASK && one.taskId == taskId);
    if (!belongs) continue;
    one.arrived = true;
    for (const auto& line : planned) one.outstanding.erase(line.first);
    if (allEnded) one.outstanding.clear();
  }
}

bool CPatchCreations::isPending() const {
  return std::any_of(m_creations.begin(), m_creations.end(), [](const SCreation& one) { return !one.arrived; });
}

LineVolumes CPatchCreations::outstanding() const {
  LineVolumes sum;
  for (const SCreation& one : m_creations) addVolumes(sum, one.outstanding);
  return sum;
}

}  // namespace TC
