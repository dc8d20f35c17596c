#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace TC {

/// Remembers in which slot of a detail an instrument's operation counts, so that a refresh builds no key: the places
/// of a list mostly hold the instruments that they held last time, and the others are found by hash.
class CSlotMemo {
 public:
  static constexpr int NO_ROW = -1;

  /// The slot of the list's place, NO_ROW when no row exists. resolve() is asked once for each instrument and
  /// operation.
  template <typename Resolve>
  int at(std::size_t place, const std::string& market, const std::string& code, int operation, const Resolve& resolve) {
    Entry*& entry = m_places[place];
    if (!entry || !same(entry->first, market, code, operation)) entry = &find(market, code, operation);
    if (entry->second == UNRESOLVED) entry->second = resolve();
    return entry->second;
  }
  /// Makes room for a list of this length; to be called before at().
  void setLength(std::size_t length) { m_places.resize(length, nullptr); }
  void clear();

 private:
  struct SView {
    std::string_view market;
    std::string_view code;
    int operation;
  };
  struct SKey {
    std::string market;
    std::string code;
    int operation;
    operator SView() const { return {market, code, operation}; }
  };
  struct SHash {
    using is_transparent = void;
    std::size_t operator()(const SView& key) const;
  };
  struct SEqual {
    using is_transparent = void;
    bool operator()(const SView& a, const SView& b) const {
      return a.operation == b.operation && a.code == b.code && a.market == b.market;
    }
  };
  using Entry = std::pair<const SKey, int>;
  static constexpr int UNRESOLVED = -2;

  static bool same(const SKey& key, const std::string& market, const std::string& code, int operation) {
    return key.operation == operation && key.code == code && key.market == market;
  }
  Entry& find(const std::string& market, const std::string& code, int operation);

  std::unordered_map<SKey, int, SHash, SEqual> m_entries;
  std::vector<Entry*> m_places;  ///< entries keep their address
};

}  // namespace TC
