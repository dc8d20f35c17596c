#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace TC {

/// In which slot of a detail an instrument's operation counts, so that its row is looked for once.
class CSlotMemo {
 public:
  /// resolve() is asked for what is not known.
  template <typename Resolve>
  int at(const std::string& market, const std::string& code, int operation, const Resolve& resolve) {
    const auto known = m_slots.find(SView{market, code, operation});
    if (known != m_slots.end()) return known->second;
    const int slot = resolve();
    learn(market, code, operation, slot);
    return slot;
  }
  void learn(const std::string& market, const std::string& code, int operation, int slot) {
    m_slots.emplace(SKey{market, code, operation}, slot);
  }
  bool isEmpty() const { return m_slots.empty(); }
  void clear() { m_slots.clear(); }

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
    std::size_t operator()(const SView& key) const {
      constexpr std::size_t MIX = 0x9e3779b97f4a7c15u;
      const std::hash<std::string_view> hash;
      return ((hash(key.code) * MIX) ^ hash(key.market)) * MIX + static_cast<std::size_t>(key.operation);
    }
  };
  struct SEqual {
    using is_transparent = void;
    bool operator()(const SView& a, const SView& b) const {
      return a.operation == b.operation && a.code == b.code && a.market == b.market;
    }
  };

  std::unordered_map<SKey, int, SHash, SEqual> m_slots;
};

}  // namespace TC
