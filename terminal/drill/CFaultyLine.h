#pragma once

#include <deque>
#include <map>
#include <queue>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "CExchange.h"
#include "DrillPlan.h"

namespace drill {

/// What is true of a side of an instrument in the market, whatever anybody was told of it.
struct SMarketTruth {
  long long m_nTraded = 0;  ///< shares or lots
  long long m_nOpen = 0;    ///< in the market, or on the way there
  double m_dAmount = 0;     ///< CNY
  double m_dFees = 0;       ///< CNY
};
using MarketTruth = std::map<std::pair<int, bool>, SMarketTruth>;  ///< by instrument and whether it is bought

/// The line between an engine and the exchange: it loses, delays and doubles reports, holds cancels back, and refuses
/// orders in the exchange's stead. It numbers the reports and sends them again when it is asked to. All on the engine's
/// thread.
class CFaultyLine : public exchange::IMarketLine, private exchange::IMarketListener {
 public:
  /// All must outlive the line.
  CFaultyLine(exchange::CExchange& exchange, const SDrillPlan& plan, SReportCard& card);
  ~CFaultyLine() override { m_exchange.setListener(nullptr); }

  /// Nothing goes wrong any more.
  void calm() { m_bCalm = true; }
  /// Whether every report has arrived.
  bool isDelivered() const { return m_nArrived == m_sent.size(); }
  MarketTruth truth() const;
  long orderCount() const { return static_cast<long>(m_orders.size()); }
  /// That more was sent in a second or on the day than the accounts together may; empty: it was not.
  const std::string& rateFault() const { return m_strRateFault; }

  void advanceTo(std::int64_t msec) override;
  void setListener(exchange::IMarketListener* listener) override { m_pListener = listener; }
  int findInstrument(std::string_view market, std::string_view code) const override {
    return m_exchange.findInstrument(market, code);
  }
  void submit(const exchange::SMarketOrder& order) override;
  void cancel(std::uint64_t id) override;
  std::uint64_t newestReport() const override { return m_sent.size(); }
  void repeatReports(std::uint64_t from) override;
  exchange::SQuote quote(int instrument) override { return m_exchange.quote(instrument); }
  const exchange::SRules& rules(int instrument) const override { return m_exchange.rules(instrument); }
  exchange::EPhase phase(exchange::EKind kind) const override { return m_exchange.phase(kind); }

 private:
  struct SOrder {
    exchange::SMarketOrder m_order;
    int m_nTraded = 0;
    double m_dAmount = 0;
    bool m_bOver = false;
    bool m_bCancelOut = false;  ///< a cancel has been sent and has not arrived
  };
  struct SOnTheWay {
    std::int64_t m_nTime;
    std::uint64_t m_nSent;    ///< its place among all that was sent
    std::uint64_t m_nNumber;  ///< of a report; of a cancel the order's
    bool operator>(const SOnTheWay& other) const {
      return std::tie(m_nTime, m_nSent) > std::tie(other.m_nTime, other.m_nSent);
    }
  };
  using Queue = std::priority_queue<SOnTheWay, std::vector<SOnTheWay>, std::greater<>>;

  void onReport(const exchange::SReport& report) override;
  void send(exchange::SReport report);
  void dispatch(std::uint64_t number);
  void put(Queue& queue, std::uint64_t number, std::int64_t delay);
  void count();
  bool happens(EFault fault, int percent);

  exchange::CExchange& m_exchange;
  const SDrillPlan& m_plan;
  SReportCard& m_card;
  CDraw m_draw;
  exchange::IMarketListener* m_pListener = nullptr;
  bool m_bCalm = false;
  bool m_bLostFill = false;
  std::int64_t m_nNow;
  std::uint64_t m_nPut = 0;
  std::unordered_map<std::uint64_t, SOrder> m_orders;
  std::vector<exchange::SReport> m_sent;  ///< by number, less 1
  std::vector<bool> m_arrived;
  std::size_t m_nArrived = 0;
  std::size_t m_nNewest = 0;  ///< place of the newest that has arrived
  Queue m_reports;
  Queue m_cancels;
  std::deque<std::int64_t> m_recent;  ///< when orders and cancels of the last second were sent
  long m_nOfDay = 0;
  std::string m_strRateFault;
};

}  // namespace drill
