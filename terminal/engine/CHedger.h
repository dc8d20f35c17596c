#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "CEngine.h"
#include "CHedge.h"

namespace engine {

/// The hedge manager: sells futures against what the baskets of an engine trade, one hedge for each basket, known by
/// the basket's task identifier (the group). The panel decides when a hedge starts, pauses and ends; while it runs, its
/// target follows the basket's traded amount and orders go out for what is missing.
///
/// What it reports on the desk (EHedgeState): none before the start and, while the basket still trades, after the stop;
/// running while the basket trades or lots are missing; paused when it was paused or its orders are used up. A hedge
/// that has nothing left to do for a basket that has ended reports "paused" too: the task would wait for any other.
///
/// Everything on the engine's thread.
class CHedger : public ITaskFollower {
 public:
  /// Tell the panel; called on the engine's thread.
  struct SHooks {
    std::function<void(int taskId, int lots)> m_volume;    ///< a hedge's new target
    std::function<void(int taskId, int status)> m_status;  ///< a hedge has used its orders up
  };

  /// Follows the engine from now on; all three must outlive the hedger.
  CHedger(desk::CDesk& desk, exchange::IMarket& market, CEngine& engine);
  ~CHedger() override;
  CHedger(const CHedger&) = delete;
  CHedger& operator=(const CHedger&) = delete;

  void setHooks(SHooks hooks) { m_hooks = std::move(hooks); }

  /// Parameters for the next start of the group's hedge; one that has started takes its new settings over.
  /// commandId: the basket's command.
  void setParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param);
  /// Starts the hedge or lets a paused one go on. A hedge that was stopped stays so. What cannot be traded (instrument,
  /// account) starts nothing and is told as an event.
  void start(int groupId);
  /// No further order is sent; one that works stays.
  void pause(int groupId);
  /// Ends the hedge for good and cancels its order.
  void stop(int groupId);

  void beforePublishing() override;
  void afterPublishing() override;

 private:
  struct SGiven {
    int m_nCommandId = 0;
    ksservice::CBasketHedgeParam m_param;
  };

  CHedge* find(int groupId) const;
  std::string fault(const ksservice::CBasketHedgeParam& param, SHedgeIdentity& identity) const;
  boost::shared_ptr<ksservice::COrderCommand> makeCommand(int groupId, int basketCommandId, int taskId) const;
  void follow(int groupId, CHedge& hedge);
  void storeTarget(int groupId, const CHedge& hedge);
  void tradeInTurn();
  bool trade(CHedge& hedge);
  void replaceStale(CHedge& hedge, double price);
  void checkLimit(int groupId, CHedge& hedge);
  double orderPrice(const CHedge& hedge) const;
  int stateOf(int groupId, const CHedge& hedge) const;
  void report(int groupId, CHedge& hedge);
  void tellUsed(int groupId, const CHedge& hedge) const;
  void tell(int groupId, const std::string& text, bool warning = false) const;

  desk::CDesk& m_desk;
  exchange::IMarket& m_market;
  CEngine& m_engine;
  SHooks m_hooks;
  std::map<int, SGiven> m_params;                   ///< by group
  std::map<int, std::unique_ptr<CHedge>> m_hedges;  ///< those that were started, by group
  int m_nFirstGroup = 0;                            ///< from which on it is their turn to trade
};

}  // namespace engine
