/// What the tests of the exchange share: instruments, and a listener that keeps what it hears.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CExchange.h"

namespace markets {

using namespace exchange;

inline constexpr SDate MONDAY{2026, 11, 23};

SInstrument share(const std::string& market, const std::string& code, double prevClose, double dayValue,
                  const std::string& name = "样本");
/// One of every kind of rule: main board, 20 % boards, BJ, ST, a penny share, a dear one, one that hardly trades.
std::vector<SInstrument> assortment();
SExchangeSettings settings(std::uint64_t seed, double rejectRate = 0);

struct SHeard {
  SReport m_report;
  EPhase m_phase;
};

class CListener : public IMarketListener {
 public:
  explicit CListener(CExchange& exchange) : m_exchange(exchange) { exchange.setListener(this); }
  void onReport(const SReport& report) override { m_heard.push_back({report, m_exchange.phase()}); }

  const std::vector<SHeard>& heard() const { return m_heard; }
  /// The kinds of the reports about an order, in their order.
  std::vector<EReport> kinds(std::uint64_t id) const;
  /// The message of the last report about an order.
  std::string message(std::uint64_t id) const;
  int filled(std::uint64_t id) const;
  /// Everything that was heard, one line a report.
  std::string text() const;

 private:
  CExchange& m_exchange;
  std::vector<SHeard> m_heard;
};

SMarketOrder limitOrder(std::uint64_t id, int instrument, bool buy, double price, int quantity);

}  // namespace markets
