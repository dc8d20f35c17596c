#pragma once

#include <QHash>
#include <QString>
#include <vector>

namespace GV {

/// Finds nodes by the keys of their rows and keeps no copy of these: a key that is a text of its own for each of many
/// rows would be most of what a row takes. GUI thread only.
///
/// Nodes are above 0; their keys stay as they are.
class CKeyIndex {
 public:
  int count() const { return m_nCount; }
  void clear();
  void reserve(int nodes);
  /// The key must be new.
  void insert(const QString& key, int node);
  void remove(const QString& key, int node);

  /// -1 for an unknown key. hasKey: whether a node that is in the index has the key.
  template <typename HasKey>
  int find(const QString& key, const HasKey& hasKey) const {
    if (m_nCount == 0) return -1;
    const uint hash = qHash(key);
    for (std::size_t at = home(hash); m_slots[at].node != 0; at = next(at)) {
      if (m_slots[at].hash == hash && hasKey(m_slots[at].node)) return m_slots[at].node;
    }
    return -1;
  }

 private:
  /// Free while its node is 0.
  struct SSlot {
    uint hash = 0;
    int node = 0;
  };

  /// By the upper bits of a product, into which all bits of the hash go.
  std::size_t home(uint hash) const { return static_cast<std::size_t>((hash * 0x9E3779B1U) >> m_nShift); }
  std::size_t next(std::size_t at) const { return (at + 1) & (m_slots.size() - 1); }
  void put(const SSlot& slot);

  std::vector<SSlot> m_slots;  ///< a power of two; a node is in its home or behind it, with no free one between
  int m_nCount = 0;
  int m_nShift = 0;  ///< 32 less the bits of a place
};

}  // namespace GV
