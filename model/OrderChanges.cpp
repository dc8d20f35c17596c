#include "OrderChanges.h"

#include "ksservice/TraderCenter.h"
#include "tc/Services.h"

namespace TC {

COrderChanges& COrderChanges::instance() {
  static COrderChanges changes;
  return changes;
}

COrderChanges::Moment COrderChanges::look() {
  const unsigned services = servicesNumber();
  std::uint64_t since = 0;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_nServices == services) since = m_nVersion;
  }
  const ksservice::SOrderChanges changes = ksservice::TraderCenter::instance().getDataCenter().orderChanges(since);
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (changes.all || m_nServices != services) {
    m_allNew = ++m_now;
  } else if (!changes.tags.empty()) {
    ++m_now;
    m_last.resize(LENGTH, 0);
    for (const std::size_t tag : changes.tags) m_last[tag % LENGTH] = m_now;
  }
  // Of two threads that look at once the later answer may be entered first.
  if (m_nServices != services || m_nVersion < changes.version) m_nVersion = changes.version;
  m_nServices = services;
  return m_now;
}

bool COrderChanges::isAllNew(Moment since) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return since < m_allNew;
}

void COrderChanges::findNew(Moment since, const std::vector<Tag>& tags, std::vector<int>& places) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (since == m_now || m_last.empty()) return;
  for (std::size_t place = 0; place < tags.size(); ++place) {
    if (m_last[tags[place] % LENGTH] > since) places.push_back(static_cast<int>(place));
  }
}

}  // namespace TC
