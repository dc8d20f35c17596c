#include "PatchStore.h"

#include "tc/CTradingCalendar.h"
#include "tc/Services.h"

namespace TC {
namespace {

CPatchStore::SWait shownOf(const CPatchCreations& creations) { return {creations.isWaiting(), creations.isDropped()}; }

}  // namespace

CPatchStore& CPatchStore::instance() {
  static CPatchStore store;
  return store;
}

/// Services that come anew bring another host with other tasks, and another calendar.
void CPatchStore::attach() {
  const unsigned services = servicesNumber();
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_nServices == services) return;
    m_nServices = services;
    m_tasks.clear();
  }
  connect(
      &getTradingCalendar(), &CTradingCalendar::sigNewTradingDate, this, [this] { clear(); }, Qt::DirectConnection);
}

void CPatchStore::clear() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_tasks.clear();
}

int CPatchStore::newNumber() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_nNext++;
}

void CPatchStore::noteArrival(const Task& task, const ksservice::CTaskDetail& detail) {
  const std::string& key = detail.getKey();
  if (of(task, [&key](CPatchCreations& creations) { return creations.knows(key); })) return;
  LineVolumes planned = plannedVolumes(detail.m_params, ELineAccount::Each);
  of(task, [&](CPatchCreations& creations) { creations.arrived(key, detail.m_nTaskId, std::move(planned)); });
}

CPatchStore::SWait CPatchStore::waitOf(const Task& task) {
  attach();
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto known = m_tasks.find(task);
  return known == m_tasks.end() ? SWait() : shownOf(known->second);
}

CPatchStore::CChange::CChange(CPatchStore& store, const Task& task) : m_store(store), m_task(task) {
  store.attach();
  m_lock = std::unique_lock<std::mutex>(store.m_mutex);
  m_pCreations = &store.m_tasks.try_emplace(task, task.second).first->second;
  m_before = shownOf(*m_pCreations);
}

CPatchStore::CChange::~CChange() {
  const bool changed = shownOf(*m_pCreations) != m_before;
  m_lock.unlock();
  if (changed) Q_EMIT m_store.sigChanged(m_task.first, m_task.second);
}

}  // namespace TC
