#include "DetailCaches.h"

#include <utility>

namespace TC {
namespace {

using ksservice::COrderCommand;

DetailMap* cacheOfFeed(const COrderCommand& command, SDetailMaps& caches) {
  switch (command.m_nBasketType) {
    case ksservice::ECBT_Basket:
      return command.m_bPatch ? &caches.patch : &caches.task;
    case ksservice::ECBT_Hedge:
      return &caches.hedge;
    case ksservice::ECBT_EtfHedge:
    case ksservice::ECBT_EtfHedge2:
      return &caches.task;
    default:
      return nullptr;
  }
}

DetailMap* cacheOfSignal(const COrderCommand& command, SDetailMaps& caches) {
  switch (command.m_nBasketType) {
    case ksservice::ECBT_SignalPatch:
      return &caches.patch;
    case ksservice::ECBT_Basket:
      return &caches.task;
    case ksservice::ECBT_Hedge:
      return &caches.hedge;
    default:
      return nullptr;
  }
}

/// Null for a detail that goes to the status cache only.
DetailMap* cacheOf(const ksservice::CTaskDetail& detail, EDetailSource source, SDetailMaps& caches) {
  if (!detail.m_pCommand) return nullptr;
  return source == EDetailSource::HostFeed ? cacheOfFeed(*detail.m_pCommand, caches)
                                           : cacheOfSignal(*detail.m_pCommand, caches);
}

}  // namespace

void CDetailCaches::store(const ksservice::CTaskDetailPtr& detail, EDetailSource source) {
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
  if (DetailMap* cache = cacheOf(*detail, source, m_caches)) (*cache)[detail->getKey()] = detail;
  m_caches.status[detail->getKey()] = detail;
}

bool CDetailCaches::takeWork(SDetailMaps& out) {
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
  if (!m_caches.hasWork()) return false;
  std::swap(out, m_caches);
  return true;
}

DetailMap CDetailCaches::waiting() const {
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
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

void CDetailCaches::clear() {
  SDetailMaps dropped;
  const std::lock_guard<std::mutex> lock(m_cacheMutex);
  std::swap(dropped, m_caches);
}

}  // namespace TC
