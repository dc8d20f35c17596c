#pragma once

#include <QString>
#include <cstdint>
#include <vector>

namespace TC {

struct SRowShape;

/// Finds the rows of a shape by their keys, and keeps no copy of these. Made once, then any thread.
class CRowIndex {
 public:
  explicit CRowIndex(const std::vector<SRowShape>& shape);

  /// -1 for a key that no row of the shape has.
  int find(const std::vector<SRowShape>& shape, const QString& key) const;

 private:
  std::size_t home(uint hash) const { return (hash * 0x9E3779B1U) >> m_nShift; }
  std::size_t next(std::size_t slot) const { return (slot + 1) & (m_slots.size() - 1); }

  std::vector<std::int32_t> m_slots;  ///< rows, -1 for a free one; a power of two, some always free
  int m_nShift = 32;
};

}  // namespace TC
