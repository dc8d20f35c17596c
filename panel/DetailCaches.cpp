#include "DetailCaches.h"

#include <utility>

namespace TC {
namespace {

/// Null for a detail that goes to the status cache only.
DetailMap* cacheOf(const ksservice::CTaskDetail& detail, EDetailWay way, SDetailMaps& caches) {
  switch (kindOf(detail, way)) {
    case EDetailKind::Own:
      return &caches.task;
    case EDetailKind::Hedge:
      return &caches.hedge;
    case EDetailKind::Patch:
      return &caches.patch;
    case EDetailKind::Other:
      return nullptr;
  }
  return nullptr;
}

}  // namespace

unsigned CDetailCaches::day() const {
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
  return m_nDay;
}

bool CDetailCaches::store(const ksservice::CTaskDetailPtr& detail, EDetailWay way, unsigned day) {
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
  if (day != m_nDay) return false;
  if (DetailMap* cache = cacheOf(*detail, way, m_caches)) (*cache)[detail->getKey()] = detail;
  m_caches.status[detail->getKey()] = detail;
  return true;
}

bool CDetailCaches::takeWork(SDetailMaps& out, unsigned& day) {
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
  if (!m_caches.hasWork()) return false;
  std::swap(out, m_caches);
  day = m_nDay;
  return true;
}

DetailMap CDetailCaches::waiting(unsigned& day) const {
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
  day = m_nDay;
  return m_caches.status;
}

void CDetailCaches::renew(const DetailMap& waiting, const std::vector<ksservice::CTaskDetailPtr>& newest) {
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
  for (const ksservice::CTaskDetailPtr& detail : newest) {
    const auto then = waiting.find(detail->getKey());
    if (then == waiting.end()) continue;
    for (DetailMap* cache : {&m_caches.task, &m_caches.patch, &m_caches.hedge, &m_caches.status}) {
      const auto now = cache->find(detail->getKey());
      if (now != cache->end() && now->second == then->second) now->second = detail;
    }
  }
}

void CDetailCaches::startDay(unsigned day) {
  SDetailMaps dropped;  // goes when the mutex is free again
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
  std::swap(dropped, m_caches);
  m_nDay = day;
}

}  // namespace TC
