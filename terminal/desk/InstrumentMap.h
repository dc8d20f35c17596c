#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "utils/Keys.h"

namespace desk {

/// Values by instrument, found by market and code, by the market's exchange short code and code, or by an empty market
/// and the code. A look-up builds no text. Not thread-safe.
template <typename Value>
class CInstrumentMap {
 public:
  void set(const std::string& market, const std::string& code, Value value) {
    const std::string shortCode = utils::exchangeShortCode(market);
    if (!shortCode.empty() && shortCode != market) m_byShortCode.insert_or_assign({shortCode, code}, value);
    m_byShortCode.insert_or_assign({std::string(), code}, value);
    m_byMarket.insert_or_assign({market, code}, std::move(value));
  }

  /// Null for an unknown instrument. The market itself goes before a short code of another market.
  const Value* find(std::string_view market, std::string_view code) const {
    const SView view{market, code};
    if (const auto found = m_byMarket.find(view); found != m_byMarket.end()) return &found->second;
    const auto found = m_byShortCode.find(view);
    return found != m_byShortCode.end() ? &found->second : nullptr;
  }

 private:
  struct SView {
    std::string_view market;
    std::string_view code;
  };
  struct SKey {
    std::string market;
    std::string code;
    operator SView() const { return {market, code}; }
  };
  struct SHash {
    using is_transparent = void;
    std::size_t operator()(const SView& view) const {
      const std::hash<std::string_view> hash;
      return hash(view.code) * 31 + hash(view.market);
    }
  };
  struct SEqual {
    using is_transparent = void;
    bool operator()(const SView& a, const SView& b) const { return a.code == b.code && a.market == b.market; }
  };
  using Map = std::unordered_map<SKey, Value, SHash, SEqual>;

  Map m_byMarket;
  Map m_byShortCode;
};

}  // namespace desk
