#include "RowIndex.h"

#include <QHash>

#include "RowKeys.h"

namespace TC {

CRowIndex::CRowIndex(const std::vector<SRowShape>& shape) {
  std::size_t slots = 2;
  m_nShift = 31;
  // One slot in five stays free.
  for (; slots * 4 < shape.size() * 5; slots *= 2) --m_nShift;
  m_slots.assign(slots, -1);
  for (std::size_t row = 0; row < shape.size(); ++row) {
    std::size_t slot = home(qHash(rowKey(shape[row])));
    while (m_slots[slot] >= 0) slot = next(slot);
    m_slots[slot] = static_cast<std::int32_t>(row);
  }
}

int CRowIndex::find(const std::vector<SRowShape>& shape, const QString& key) const {
  for (std::size_t slot = home(qHash(key)); m_slots[slot] >= 0; slot = next(slot)) {
    if (isRowKey(shape[static_cast<std::size_t>(m_slots[slot])], key)) return m_slots[slot];
  }
  return -1;
}

}  // namespace TC
