#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "CDesk.h"
#include "COrderSheet.h"
#include "IOrderOwner.h"
#include "ksservice/CBasketHedgeParam.h"
#include "tc/CBasketHedgeManager.h"

namespace engine {

/// Futures that a traded amount (CNY) calls for, rounded to whole lots; 0 without a price. price: index points.
int hedgeLots(double amount, double ratio, double price, double multiplier);

/// What the orders and the detail of one hedge are made of.
struct SHedgeIdentity {
  boost::shared_ptr<ksservice::COrderCommand> m_pCommand;  ///< of the hedge; its task number is the basket's
  boost::shared_ptr<ksservice::CAccountInfo> m_pAccount;   ///< of type 1
  ksservice::CStockInfo m_stock;
  int m_nTaskId = 0;         ///< identifier of the hedge's own detail
  int m_nInstrument = -1;    ///< at the market
  double m_dMultiplier = 1;  ///< CNY per index point
};

/// The hedge of one basket: its target, its orders, and whether it may go on. Knows no market and no clock: the hedger
/// tells it what happened. Everything on the engine's thread.
class CHedge : public IOrderOwner {
 public:
  enum class EMode {
    Running,
    Paused,   ///< until the user resumes the task
    AtLimit,  ///< its orders, or its account's of the day, are used up: paused, and a resume grants its own anew
    Stopped   ///< for good
  };

  CHedge(SHedgeIdentity identity, const ksservice::CBasketHedgeParam& param);

  const SHedgeIdentity& identity() const { return m_identity; }
  const std::string& accountKey() const override { return m_identity.m_pAccount->getKey(); }
  const ksservice::CBasketHedgeParam& param() const { return m_param; }
  /// Takes new settings; what is traded, for whom and how stays as it was.
  void setParam(const ksservice::CBasketHedgeParam& param);

  EMode mode() const { return m_eMode; }
  /// Each returns whether it changed anything; a stopped hedge stays stopped.
  bool resume();
  bool pause();
  bool stop();

  int target() const { return m_nTarget; }
  /// Raises the target; a lower one changes nothing. Returns whether it grew.
  bool raiseTarget(int lots);
  /// Lots that no order stands for yet.
  std::int64_t missing() const { return m_nTarget - m_orders.tradedVolume() - m_orders.workingVolume(); }
  /// Lots of the next order, so that no more than the lots at a time are in the market; 0 while the hedge does not run,
  /// nothing is missing, or the orders are used up.
  int nextOrder() const;
  /// Becomes AtLimit when something is missing for which it may send no order any more, which is so, too, when its
  /// account's day is over. Returns whether it did.
  bool checkLimit(bool dayOver);
  /// Whether most of the orders are used up; true once for each grant of orders.
  bool takeWarning();
  /// Orders sent since the hedge was started, or resumed after its limit.
  int used() const { return m_nUsed; }
  /// An order went out; returns its index. msec: since midnight.
  int send(std::uint64_t marketId, int lots, double price, std::int64_t msec, int seconds);
  bool hasWorkingOrder() const { return m_orders.workingCount() > 0; }
  std::vector<std::uint64_t> workingOrders() const { return m_orders.workingOrders(); }
  /// The market's number of an order that works since a time, milliseconds since midnight, or longer at another price
  /// than this; each once, 0 for none.
  std::uint64_t takeStale(std::int64_t since, double price);
  /// Whether an order that was sent after a time, milliseconds since midnight, was refused.
  bool wasRejectedAfter(std::int64_t msec) const;
  /// Why its orders do not get to the market, for want of money or position; empty when the last one did.
  const std::string& shortage() const { return m_strShortage; }

  void onAccepted(int order) override;
  void onRejected(int order, const SRefusal& refusal, int seconds) override;
  void onFilled(int order, int quantity, double amount, int seconds) override;
  void onCancelled(int order, const std::string& message, int seconds) override;
  /// It was filled meanwhile, which is told by its fills.
  void onCancelRejected(int, const std::string&) override {}

  /// The state that the hedge manager reports last (EHedgeState). Returns whether it changed.
  bool setState(int state);
  int state() const { return m_nState; }
  bool isDirty() const { return m_bDirty; }
  /// A fresh detail of the state as it is.
  desk::SPublication publish();

 private:
  static constexpr std::int64_t CANCELLING = std::numeric_limits<std::int64_t>::max();

  ksservice::CCodeOrderParam makeParam() const;
  int status() const;
  void orderEnded(int seconds);

  SHedgeIdentity m_identity;
  ksservice::CBasketHedgeParam m_param;
  std::string m_strKey;
  COrderSheet m_orders;
  std::vector<std::int64_t> m_sent;  ///< of each order: when it was sent, or CANCELLING
  EMode m_eMode = EMode::Running;
  int m_nTarget = 0;
  int m_nUsed = 0;  ///< orders since the hedge was started, or resumed after its limit
  bool m_bWarned = false;
  std::string m_strShortage;
  int m_nState = TC::EHS_None;
  bool m_bDirty = true;
  int m_nStartTime = ksservice::UNSET_INT;
  int m_nEndTime = ksservice::UNSET_INT;
};

}  // namespace engine
