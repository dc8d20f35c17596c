/// What the tests of the exchange share: instruments, and a listener that keeps what it hears.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "CExchange.h"

namespace markets {

using namespace exchange;

inline constexpr SDate MONDAY{2026, 11, 23};

inline SInstrument share(const std::string& market, const std::string& code, double prevClose, double dayValue,
                         const std::string& name = "样本") {
  return {market, code, name, prevClose, 0, std::round(dayValue / prevClose)};
}

/// One of every kind of rule: main board, 20 % boards, BJ, ST, a penny share, a dear one, one that hardly trades.
inline std::vector<SInstrument> assortment() {
  return {
      share("SH", "600000", 10.05, 5e8), share("SZ", "000001", 12.34, 5e7), share("SZ", "300750", 250.6, 3e9),
      share("SH", "688981", 88.88, 8e8), share("BJ", "832982", 370, 2e8),   share("SZ", "002024", 1.9, 2e7, "ST样本"),
      share("SH", "600600", 0.07, 1e7),  share("SH", "600519", 1480, 5e9),  share("SH", "601000", 6.6, 2e6)};
}

inline SExchangeSettings settings(std::uint64_t seed, double rejectRate = 0) {
  return {.m_nSeed = seed, .m_nDayStart = dayStartOf(MONDAY), .m_dRejectRate = rejectRate};
}

inline SMarketOrder limitOrder(std::uint64_t id, int instrument, bool buy, double price, int quantity) {
  return {id, instrument, buy, false, price, quantity};
}
inline SMarketOrder marketOrder(std::uint64_t id, int instrument, bool buy, int quantity) {
  return {id, instrument, buy, true, 0, quantity};
}

class CListener : public IMarketListener {
 public:
  explicit CListener(CExchange& exchange) { exchange.setListener(this); }
  void onReport(const SReport& report) override { m_heard.push_back(report); }

  const std::vector<SReport>& heard() const { return m_heard; }
  /// The reports about an order, a letter each: accepted, rejected, filled, cancelled, or X for a rejected cancel;
  /// behind them the message of the last one.
  std::string told(std::uint64_t id) const {
    std::string kinds;
    std::string message;
    for (const SReport& heard : m_heard) {
      if (heard.m_nId != id) continue;
      kinds += "arfcX"[static_cast<int>(heard.m_kind)];
      message = heard.m_pMessage;
    }
    return kinds + message;
  }
  /// Everything that was heard, one line a report.
  std::string text() const {
    std::ostringstream text;
    text.precision(17);
    for (const SReport& heard : m_heard) {
      text << heard.m_nTime << ' ' << heard.m_nId << ' ' << static_cast<int>(heard.m_kind) << ' ' << heard.m_nQuantity
           << ' ' << heard.m_nLeft << ' ' << heard.m_dPrice << ' ' << heard.m_dAmount << ' ' << heard.m_pMessage
           << '\n';
    }
    return text.str();
  }

 private:
  std::vector<SReport> m_heard;
};

}  // namespace markets
