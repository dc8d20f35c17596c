#include "COrderLog.h"

#include <algorithm>

namespace desk {

void COrderLog::add(std::size_t tag) {
  if (m_tags.empty()) m_tags.resize(LENGTH);
  m_tags[m_nVersion++ % LENGTH] = tag;
}

void COrderLog::forget() { m_nFirst = ++m_nVersion; }

ksservice::SOrderChanges COrderLog::since(std::uint64_t version) const {
  ksservice::SOrderChanges changes;
  changes.version = m_nVersion;
  const std::uint64_t oldest = m_nVersion > LENGTH ? m_nVersion - LENGTH : 1;
  changes.all = version < std::max(m_nFirst, oldest) || version > m_nVersion;
  if (changes.all) return changes;
  changes.tags.reserve(m_nVersion - version);
  for (std::uint64_t number = version; number < m_nVersion; ++number) changes.tags.push_back(m_tags[number % LENGTH]);
  return changes;
}

}  // namespace desk
