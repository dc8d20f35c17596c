#include "TaskAnnouncements.h"

#include <algorithm>
#include <utility>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CHpfBasketOptionDelegate.h"

namespace TC {

void CTaskAnnouncements::listen(const CBasketTask& task, unsigned day) {
  std::size_t place = 0;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (day != m_nDay) return;
    place = m_tasks.size();
    m_tasks.push_back({task.getRoot()->m_strHpfTreeKey, {}});
    m_places.insert(task.getKey(), place);
  }
  // Direct: on whatever thread the task announces.
  const auto self = shared_from_this();
  connect(&task, &CBasketTask::sigOperationEnded, [self, place, day](const QString& name) {
    self->addStatus(place, day, {name, true, 0, 0});
  });
  connect(&task, &CBasketTask::sigTaskStatus, [self, place, day](const QString& name, int status, int type) {
    self->addStatus(place, day, {name, false, status, type});
  });
  connect(&task, &CBasketTask::sigTaskOrder, [self, place, day](const QString& name, int count, int knownCount) {
    self->addOrders(place, day, {name, count, knownCount});
  });
}

void CTaskAnnouncements::addStatus(std::size_t place, unsigned day, const STaskAnnouncements::SStatus& status) {
  bool tell = false;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    STaskAnnouncements* task = of(place, day);
    // To say at once again what was said last changes nothing.
    if (!task || (!task->statuses.empty() && task->statuses.back() == status)) return;
    task->statuses.push_back(status);
    tell = mustTell();
  }
  if (tell) Q_EMIT sigWaiting();
}

void CTaskAnnouncements::addOrders(std::size_t place, unsigned day, const STaskAnnouncements::SOrders& orders) {
  bool tell = false;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    STaskAnnouncements* task = of(place, day);
    if (!task) return;
    // The newest goes last, since a row has more than one name.
    std::erase_if(task->orders, [&orders](const auto& known) { return known.name == orders.name; });
    task->orders.push_back(orders);
    tell = mustTell();
  }
  if (tell) Q_EMIT sigWaiting();
}

/// Null for a task of another day.
STaskAnnouncements* CTaskAnnouncements::of(std::size_t place, unsigned day) {
  if (day != m_nDay) return nullptr;
  if (!std::exchange(m_tasks[place].waits, true)) m_waiting.push_back(place);
  return &m_tasks[place].announced;
}

bool CTaskAnnouncements::mustTell() { return std::this_thread::get_id() != m_holder && !std::exchange(m_bTold, true); }

void CTaskAnnouncements::startDay(unsigned day) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_nDay = day;
  m_tasks.clear();
  m_places.clear();
  m_waiting.clear();
}

std::vector<STaskAnnouncements> CTaskAnnouncements::take() {
  std::vector<STaskAnnouncements> taken;
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_bTold = false;
  for (const std::size_t place : m_waiting) {
    STask& task = m_tasks[place];
    task.waits = false;
    if (task.announced.statuses.empty() && task.announced.orders.empty()) continue;
    if (!task.announced.statuses.empty()) task.last = task.announced.statuses.back();
    taken.push_back(std::exchange(task.announced, {}));
  }
  m_waiting.clear();
  return taken;
}

void CTaskAnnouncements::onStaged(const CBasketTask& task) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto place = m_places.constFind(task.getKey());
  if (place == m_places.constEnd()) return;
  auto& [root, announced, last, waits] = m_tasks[*place];
  announced.orders.clear();
  // Only the root's: the status of a row that has not come yet waits for it, and may be forgotten.
  const bool known = announced.statuses.size() == 1 && announced.statuses.front() == last && last.name == root &&
                     !last.ended && !CHpfBasketOptionDelegate::isAlwaysApplied(last.type);
  if (known) announced.statuses.clear();
}

CTaskAnnouncements::CHold::CHold(CTaskAnnouncements& announcements) : m_announcements(announcements) {
  const std::lock_guard<std::mutex> lock(m_announcements.m_mutex);
  m_announcements.m_holder = std::this_thread::get_id();
}

CTaskAnnouncements::CHold::~CHold() {
  bool tell = false;
  {
    const std::lock_guard<std::mutex> lock(m_announcements.m_mutex);
    m_announcements.m_holder = {};
    tell = !m_announcements.m_waiting.empty() && m_announcements.mustTell();
  }
  if (tell) Q_EMIT m_announcements.sigWaiting();
}

}  // namespace TC
