#include "gv/CKeyIndex.h"

namespace GV {

namespace {
constexpr std::size_t kFewestSlots = 16;
}  // namespace

void CKeyIndex::clear() {
  m_slots = std::vector<SSlot>();
  m_nCount = 0;
}

void CKeyIndex::reserve(int nodes) {
  // One slot in five stays free.
  std::size_t slots = m_slots.empty() ? kFewestSlots : m_slots.size();
  while (slots * 4 < static_cast<std::size_t>(nodes) * 5) slots *= 2;
  if (slots == m_slots.size()) return;
  std::vector<SSlot> before(slots);
  before.swap(m_slots);
  m_nShift = 32;
  for (; slots > 1; slots /= 2) --m_nShift;
  for (const SSlot& slot : before) {
    if (slot.node != 0) put(slot);
  }
}

void CKeyIndex::put(const SSlot& slot) {
  std::size_t at = home(slot.hash);
  while (m_slots[at].node != 0) at = next(at);
  m_slots[at] = slot;
}

void CKeyIndex::insert(const QString& key, int node) {
  reserve(m_nCount + 1);
  put({qHash(key), node});
  ++m_nCount;
}

void CKeyIndex::remove(const QString& key, int node) {
  std::size_t hole = home(qHash(key));
  while (m_slots[hole].node != node) hole = next(hole);
  --m_nCount;
  // What stands behind moves up, unless it would come to stand before its home.
  for (std::size_t at = next(hole); m_slots[at].node != 0; at = next(at)) {
    const std::size_t mask = m_slots.size() - 1;
    const std::size_t fromHome = (at - home(m_slots[at].hash)) & mask;
    if (fromHome < ((at - hole) & mask)) continue;
    m_slots[hole] = m_slots[at];
    hole = at;
  }
  m_slots[hole] = SSlot();
}

}  // namespace GV
