#include "SlotMemo.h"

#include <functional>

namespace TC {

std::size_t CSlotMemo::SHash::operator()(const SView& key) const {
  constexpr std::size_t MIX = 0x9e3779b97f4a7c15u;
  const std::hash<std::string_view> hash;
  return ((hash(key.code) * MIX) ^ hash(key.market)) * MIX + static_cast<std::size_t>(key.operation);
}

CSlotMemo::Entry& CSlotMemo::find(const std::string& market, const std::string& code, int operation) {
  const auto known = m_entries.find(SView{market, code, operation});
  if (known != m_entries.end()) return *known;
  return *m_entries.emplace(SKey{market, code, operation}, UNRESOLVED).first;
}

void CSlotMemo::clear() {
  m_places.clear();
  m_entries.clear();
}

}  // namespace TC
