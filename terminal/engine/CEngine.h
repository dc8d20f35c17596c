#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "CAlgoTask.h"
#include "CDesk.h"
#include "COrderRouter.h"
#include "IMarket.h"
#include "IOrderOwner.h"
#include "LineVolumes.h"

namespace engine {

struct SEngineSettings {
  std::int64_t m_nDayStart = 0;  ///< 00:00 of the trading day at the exchange, seconds since the epoch
  SOrderLimits m_limits;         ///< of each account
  exchange::SFeeRates m_fees{};  ///< that all accounts pay
  int m_nPublishMsec = 100;      ///< a task publishes at most one detail in this time
  int m_nProgressMsec = 10000;   ///< a server task publishes its progress at most once in this time
  int m_nReplyMsec = 200;        ///< until a request to the server is carried out and answered
  int m_nTellMsec = 10000;       ///< how often refusals and the like are told in the log
  int m_nQuoteMsec = 3000;       ///< how often the quotes of the securities in use are taken to the desk
  int m_nHoldingsMsec = 1000;    ///< an account's money and positions go to the desk at most once in this time
  int m_nFirstTaskId = 1;
  std::string m_strUser;
  std::string m_strLogin;
  int m_nTraderType = EMTT_Stock;
};

/// What one account is to trade.
struct SAccountLines {
  boost::shared_ptr<const ksservice::CAccountInfo> m_pAccount;
  std::vector<SOrderLine> m_lines;
};

/// A basket to trade at once.
struct SBasketOrder {
  std::string m_strName;
  std::string m_strText;  ///< the command's text
  std::vector<SOrderLine> m_lines;
  std::vector<boost::shared_ptr<ksservice::CAccountInfo>> m_accounts;  ///< share lines evenly; none only with parts
  std::vector<SAccountLines> m_parts;                                  ///< what each is to trade instead, if not empty
  std::optional<TC::SAlgoParams> m_algo;                               ///< none: one order a security at once
  /// What the hedge manager and the user's settings offer the panel for this basket; none: it is not hedged.
  std::optional<ksservice::CBasketHedgeParam> m_hedge;
};

/// Something that a user may want to read in the log.
struct SEngineEvent {
  std::int64_t m_nMsec = 0;  ///< since midnight of the trading day
  std::string m_strText;     ///< Chinese
  bool m_bWarning = false;   ///< something does not go as it was meant to
  bool m_bFollows = true;    ///< from what entered the engine, so that it is told again when that enters again
};

/// Runs basket tasks on a desk against a market: one order a security at the opposite best price, or child orders on an
/// algorithm's schedule; one task detail for each account, a fresh detail for each change. Stepped by a virtual clock:
/// it waits for nothing and starts no thread, and the same calls give the same details in the same order. All on one
/// thread, the one that steps it.
class CEngine {
 public:
  using EventHook = std::function<void(const SEngineEvent&)>;

  /// Listens to the market from now on; both must outlive the engine.
  CEngine(desk::CDesk& desk, exchange::IMarket& market, SEngineSettings settings);
  ~CEngine() = default;
  CEngine(const CEngine&) = delete;
  CEngine& operator=(const CEngine&) = delete;

  /// Takes every event from now on; an empty hook ends it.
  void setEventHook(EventHook hook) { m_eventHook = std::move(hook); }

  /// Gives an account money and positions, before it trades; one without is not limited by any. The desk gets the
  /// quotes of what it holds.
  void openAccount(const std::string& account, const SAccountStart& start);

  /// Starts a task: its details are published at once, its orders go out as the clock moves, while the market trades
  /// continuously or holds a call auction that the task takes part in.
  /// Lines of which the market knows no instrument are rejected like orders. Returns the task's identifier.
  int startBasket(const SBasketOrder& basket);

  /// Starts a task that belongs to the command's task and trades what that one left over. The command gets an
  /// identifier of its own. Returns the new task's identifier.
  int startPatch(const ksservice::COrderCommand& command, const std::vector<SAccountLines>& parts,
                 const std::optional<TC::SAlgoParams>& algo);

  /// Brings the clock to msec since midnight: sends what may be sent by then and publishes what changed. The market
  /// must have been brought there before. Never goes back.
  void advanceTo(std::int64_t msec);

  /// The desk gets the quotes of an instrument from now on; those of a basket's lines it gets anyway.
  void watch(const std::string& market, const std::string& code);

  /// Carries out an ETaskOperation on the terminal's own sub-tasks of a task, of one account or (empty) of all. False
  /// when there is no such sub-task or the operation changes nothing in its state.
  bool operate(int taskId, const std::string& accountKey, int operation);
  /// The same on one sub-task of the server.
  bool operate(const std::string& serverTaskKey, int operation);
  /// Cancels orders of one sub-task, by their keys, as its user's wish: what they leave open is not sent again. Those
  /// that have ended are passed over.
  void cancelOrders(const std::string& detailKey, const std::vector<std::string>& orderKeys);
  /// What may still be ordered of each line of a basket.
  LineVolumes remainders(int basketId) const { return remaindersOf(basketId, m_subTasks); }
  /// The server's sub-task with a key; null for an unknown one.
  const CAlgoTask* serverTask(const std::string& key) const;

  // For what trades beside the baskets.

  /// One follower; null for none.
  void setFollower(ITaskFollower* follower) { m_pFollower = follower; }
  /// A number that no other task of the session has.
  int newTaskId() { return m_settings.m_nFirstTaskId + m_nTasks++; }
  /// For what it sends and cancels itself.
  COrderRouter& router() { return m_router; }
  /// Delivers a detail that is not a basket's.
  void deliver(const desk::SPublication& publication);
  /// What all sub-tasks of a basket and of its patches have traded, CNY, bought and sold alike.
  double tradedAmount(int basketId) const;
  /// Whether some sub-task of the basket or of its patches has not ended.
  bool isTrading(int basketId) const;
  void tell(const std::string& text, bool warning = false) const;
  /// Of something that did not enter.
  void tellRefusal(const std::string& text) const;
  /// Milliseconds since midnight.
  std::int64_t now() const { return m_nNow; }
  /// Seconds since the epoch.
  int seconds() const { return static_cast<int>(m_settings.m_nDayStart + m_nNow / 1000); }

  /// Folds in what was published, and what router and ledger know.
  void addTo(CStateHash& hash) const;
  /// Task details published so far.
  std::uint64_t publishedCount() const { return m_nPublished; }

 private:
  /// An instrument and the quote of it that the desk knows.
  struct SWatched {
    int m_nInstrument;
    std::string m_strMarket;
    std::string m_strCode;
    TC::CQuote m_quote;
  };

  boost::shared_ptr<ksservice::COrderCommand> makeCommand(const SBasketOrder& basket);
  void start(const boost::shared_ptr<ksservice::COrderCommand>& command, int taskId,
             const std::vector<SAccountLines>& parts, const std::optional<TC::SAlgoParams>& algo);
  std::vector<SAccountLines> partsOf(const SBasketOrder& basket) const;
  void knowRules(std::vector<SOrderLine>& lines) const;
  void endSchedules();
  void runSchedules();
  void replaceStale(CSubTask& task);
  bool maySend(const CSubTask& task);
  void sendDue();
  void sendNext(CSubTask& task);
  exchange::SMarketOrder priceOrder(const CSubTask& task, const CSubTask::SOrderDue& due);
  bool carryOut(CSubTask& task, int operation);
  bool apply(CSubTask& task, int operation);
  bool cancelWorking(const CSubTask& task);
  void stopAll();
  void haltAtDayLimit();
  void activate(CSubTask& task);
  void publishChanges();
  void publish(CSubTask& task);
  void tellIncidents(CSubTask& task) const;
  void publishQuotes();
  void publishHoldings();
  void tellReached();
  void tellBeyond();
  std::string displayId(const std::string& account) const;

  desk::CDesk& m_desk;
  exchange::IMarket& m_market;
  SEngineSettings m_settings;
  COrderRouter m_router;
  EventHook m_eventHook;
  ITaskFollower* m_pFollower = nullptr;
  std::int64_t m_nNow = 0;
  std::int64_t m_nNextQuotes = 0;
  std::int64_t m_nNextTell = 0;
  std::int64_t m_nNextHoldings = 0;
  int m_nTasks = 0;
  std::uint64_t m_nPublished = 0;
  CStateHash m_history;  ///< of what was published
  std::vector<std::unique_ptr<CSubTask>> m_subTasks;
  std::vector<CSubTask*> m_active;  ///< those that are not settled
  std::vector<SWatched> m_watched;  ///< instruments in use
  std::unordered_set<int> m_watchedInstruments;
};

}  // namespace engine
