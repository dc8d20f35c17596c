#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "CLedger.h"
#include "COrderRates.h"
#include "CReportOrder.h"
#include "CStateHash.h"
#include "IMarket.h"
#include "IOrderOwner.h"

namespace engine {

/// By what the market's chance knows an order: its owner's key and its place among the owner's orders.
std::uint64_t orderLuck(std::string_view owner, int index);

/// The way of orders and cancels to a market, each account's no faster than it may send and within its money and
/// positions, and of the market's reports to the owners of the orders. An order never waits here, or its price would be
/// old by the time it goes: who has one asks first whether it may go. A cancel waits until it may. All on one thread,
/// the one that steps the engine.
class COrderRouter : public exchange::IMarketListener {
 public:
  /// Listens to the market from now on, which must outlive the router. dayStart: 00:00 of the trading day, seconds
  /// since the epoch.
  COrderRouter(exchange::IMarket& market, SOrderLimits limits, const exchange::SFeeRates& fees, std::int64_t dayStart);
  ~COrderRouter() override;
  COrderRouter(const COrderRouter&) = delete;
  COrderRouter& operator=(const COrderRouter&) = delete;

  /// Brings the clock to msec since midnight; cancels that waited go out, and what was lost on the way from the market
  /// is asked for again. Never goes back.
  void advanceTo(std::int64_t msec);

  /// The number that submit() wants for the next order.
  std::uint64_t nextId() const { return m_orders.size() + 1; }
  /// Whether a new order of an account may go out now.
  bool mayOrder(const std::string& account) { return m_rates.mayOrder(m_rates.numberOf(account), m_nNow); }
  /// Whether an order may be cancelled now so that another takes its place.
  bool mayReplace(const std::string& account) { return m_rates.mayReplace(m_rates.numberOf(account), m_nNow); }
  /// Whether no order of an account may go out any more today.
  bool isDayOver(const std::string& account) { return m_rates.isDayOver(m_rates.numberOf(account)); }
  /// Sends an order; its owner, which must outlive the router, is told of it by the index that it has there. Only while
  /// its account mayOrder(). One that its account cannot pay or deliver is rejected within the call, and counts for no
  /// limit. operation: EOperationType.
  void submit(IOrderOwner& owner, int index, const exchange::SMarketOrder& order, const ksservice::CStockInfo& stock,
              int operation);
  /// Cancels an order as soon as its account may send a cancel; nothing for one that has ended by then or that is being
  /// cancelled already.
  void cancel(std::uint64_t id);

  COrderRates& rates() { return m_rates; }
  CLedger& ledger() { return m_ledger; }

  /// Folds in all that was sent and reported, and what each account has and has sent by now.
  void addTo(CStateHash& hash) const;

  void onReport(const exchange::SReport& report) override;

 private:
  struct SOrderRef {
    IOrderOwner* m_pOwner = nullptr;
    int m_nOrder = 0;
    int m_nAccount = 0;
    bool m_bCancelling = false;
    bool m_bOver = false;
  };

  SOrderRef& ref(std::uint64_t id) { return m_orders[id - 1]; }
  double worstPrice(const exchange::SMarketOrder& order) const;
  void askAgain();
  void take(const exchange::SReport& report);
  void enter(const exchange::SReport& report);
  void sendCancels(int account);
  int seconds(std::int64_t msec) const { return static_cast<int>(m_nDayStart + msec / 1000); }

  exchange::IMarket& m_market;
  std::int64_t m_nDayStart;
  std::int64_t m_nNow = 0;
  COrderRates m_rates;
  CLedger m_ledger;
  CReportOrder m_reports;
  std::int64_t m_nAsked = -1;       ///< when what is missing was asked for, or was seen to be missing; -1: nothing is
  CStateHash m_history;             ///< of all that was sent and reported
  std::vector<SOrderRef> m_orders;  ///< by the order's number at the market, less 1
};

}  // namespace engine
