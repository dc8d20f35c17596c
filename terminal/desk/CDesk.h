#pragma once

#include <QTimeZone>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CJobGate.h"
#include "COrderLog.h"
#include "CRequests.h"
#include "Holdings.h"
#include "IDeskObserver.h"
#include "InstrumentMap.h"
#include "ksservice/CBasketHedgeParam.h"
#include "ksservice/CSubscribers.h"
#include "ksservice/CTaskDetail.h"
#include "tc/CExchangeClient.h"
#include "tc/CQuoteClient.h"
#include "tc/CTradeClient.h"

namespace desk {

/// What the user's settings say.
struct SSettings {
  bool m_bHasRevokeTask = true;
  bool m_bHasUpStopPrice = true;
  bool m_bRawQuantity = false;
  bool m_bQuietActivation = false;
  std::string m_strOrderSetting;       ///< the first stored order setting
  std::map<int, int> m_tradeSettings;  ///< settings of the trader type by number
};

/// Who is logged in, and when.
struct SSession {
  std::string m_strUser;
  std::string m_strLogin;  ///< login identity text
  int m_nTraderType = EMTT_Stock;
  qint64 m_nNow = 0;  ///< time of the host's time service, seconds since the epoch
  QTimeZone m_timeZone = QTimeZone::utc();
  SSettings m_settings;
};

struct SAccount {
  boost::shared_ptr<const ksservice::CAccountInfo> m_pInfo;  ///< never null
  bool m_bConfigured = true;                                 ///< the user configuration has data for it
  bool m_bLoginReady = true;
  bool m_bFiltered = false;      ///< the user filtered it out
  bool m_bBrokerMatches = true;  ///< its broker's type matches the trader type
};

struct SQuoteUpdate {
  std::string m_strMarket;
  std::string m_strCode;
  TC::CQuote m_quote;
};

/// How a task detail reaches the panel: by the data centre's feed, by the panel's signal, or not at all. It is placed
/// in the data centre in each case.
enum class EVia { Feed, Signal, Store };

/// What is known of the order with a tag; null: nothing (any more).
using OrderDetailEntry = std::pair<ksservice::CMavOrderTag, ksservice::COrderDetailPtr>;

/// What an order traded at once.
struct SOrderFill {
  std::size_t m_nOrder = 0;  ///< its place among the orders of its publication
  int m_nTime = 0;           ///< seconds since the epoch
  int m_nQuantity = 0;
  double m_dAmount = 0;  ///< CNY
};

struct SPublication {
  ksservice::CTaskDetailPtr m_pDetail;           ///< never null; not changed by anybody from now on
  std::vector<OrderDetailEntry> m_orderDetails;  ///< those that changed since the last publication
  EVia m_eVia = EVia::Feed;
  bool m_bCommandKnown = true;  ///< the command record is entered in the command centre too
  bool m_bSameParams = false;   ///< the parameters are those of the detail that was published under the key before
  /// Of a server task: its orders and which of their details changed, which no panel knows; for observers alone.
  std::vector<ksservice::COrderInfoPtr> m_serverOrders{};
  std::vector<OrderDetailEntry> m_serverOrderDetails{};
  /// What the orders have traded since the last publication, and when those that are new were sent (seconds since the
  /// epoch), both in their order; for observers alone, and empty where nobody knows it, as in a replay.
  std::vector<SOrderFill> m_fills{};
  std::vector<int> m_sent{};
};

/// The state behind every host service, filled by one driver (an engine, a journal player). Any thread may read at any
/// time; changes come from the driver's thread. Calls nobody under its lock.
class CDesk {
 public:
  using SignalHook = std::function<void(const ksservice::CTaskDetailPtr&)>;

  CDesk() = default;
  CDesk(const CDesk&) = delete;
  CDesk& operator=(const CDesk&) = delete;

  // What drivers say. While a recording is made a call may wait for the end of a panel's job.
  void setSession(const SSession& session);
  /// Moves the time of the host's time service; no observer is told.
  void setNow(qint64 seconds);
  /// Adds the account or replaces the one with its key.
  void addAccount(const SAccount& account);
  void setInstrument(const TC::CCodeInfo& info);
  void setQuote(const std::string& market, const std::string& code, const TC::CQuote& quote);
  void setQuotes(const std::vector<SQuoteUpdate>& quotes);
  void setCommand(const boost::shared_ptr<const ksservice::COrderCommand>& command);
  void setHedgeParam(EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param);
  void setHedgeState(int groupId, int status);
  void setProgress(const std::string& detailKey, const TC::CTaskProgress& progress);
  /// Stores the detail and what came with it, then tells the panel on the calling thread.
  void publishTask(const SPublication& publication);
  /// Money and positions of an account; no observer is told.
  void setHoldings(const std::string& account, std::shared_ptr<const SHoldings> holdings);
  /// Every task detail and what is known of their orders, commands, hedges and progress, as at the end of a trading
  /// day: commands are numbered anew then, perhaps from the same number. No observer is told.
  void forgetTasks();

  // What services read.
  SSession session() const;
  /// Time of the host's time service, seconds since the epoch.
  qint64 now() const;
  std::string userName() const;
  std::string loginIdentity() const;
  SSettings settings() const;
  QTimeZone timeZone() const;
  /// A setting of the trader type by its number, 0 when it is missing.
  int tradeSetting(int number) const;
  /// Accounts in the order in which they were added.
  std::vector<SAccount> accounts() const;
  /// False for an account that nobody added.
  bool findAccount(const std::string& key, SAccount& account) const;
  /// Null while nothing is known of the account's money and positions.
  std::shared_ptr<const SHoldings> holdings(const std::string& account) const;
  /// Null for an unknown instrument; market may be a market or an exchange short code.
  boost::shared_ptr<const TC::CCodeInfo> codeInfo(const std::string& market, const std::string& code) const;
  bool quote(const std::string& market, const std::string& code, TC::CQuote& quote) const;
  /// Null for an unknown command.
  boost::shared_ptr<const ksservice::COrderCommand> command(int commandId) const;
  /// The command with a key as COrderCommand::genKey forms it.
  boost::shared_ptr<const ksservice::COrderCommand> commandByKey(const std::string& key) const;
  bool hedgeParam(EHedgeSource source, int commandId, ksservice::CBasketHedgeParam& param) const;
  int hedgeState(int groupId) const;
  /// Null while nothing was reported.
  boost::shared_ptr<const TC::CTaskProgress> progress(const std::string& detailKey) const;
  /// The newest detail of every key, in key order.
  std::vector<ksservice::CTaskDetailPtr> taskDetails() const;
  /// Null for an unknown key.
  ksservice::CTaskDetailPtr taskDetail(const std::string& key) const;
  ksservice::COrderDetailPtr orderDetail(const ksservice::CMavOrderTag& tag) const;
  /// As the services of these names say it.
  ksservice::SOrderChanges orderChanges(std::uint64_t since) const;
  std::uint64_t paramsVersion(const ksservice::CTaskDetail& detail) const;
  std::uint64_t instrumentsVersion() const;

  // What the panel asks for, through the services. Any thread; never waits for a job.
  utils::CSubscriptionHandle subscribeTasks(ksservice::DataCallback callback);
  void updateData(const ksservice::CTaskDetailPtr& detail);
  void giveHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param);
  /// The parameters that the group was given last; false when it was given none.
  bool givenHedgeParam(int groupId, ksservice::CBasketHedgeParam& param) const;
  /// From now on the hedge manager has no parameters for the command of the group: a hedge is started once by them, and
  /// not again after it was paused, stopped or reached its limit.
  void startHedge(int groupId);
  /// The same without asking the driver: it was done without the panel, as in a day that is run again.
  void noteHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param);
  void noteHedgeStarted(int groupId);
  /// The same while a panel is there. One that has not met the task yet still gets the parameters, as they are stored
  /// by then, and its start of what runs already is kept from the driver.
  void noteHedgeStartedUnmet(int groupId);
  void showMsg(const QString& text, int kind) const;

  /// Takes details that are published with EVia::Signal; an empty one drops them. Any thread, while none is published.
  void setSignalHook(SignalHook hook);
  /// An observer is told from now on until it is removed. GUI thread, while no driver runs.
  void addObserver(IDeskObserver* observer);
  void removeObserver(IDeskObserver* observer);
  /// Calls what for each observer; for the services.
  void tellObservers(const std::function<void(IDeskObserver&)>& what) const;

  CJobGate& gate() { return m_gate; }
  /// What the panel asks a driver to do.
  CRequests& requests() { return m_requests; }

 private:
  struct STagHash {
    std::size_t operator()(const ksservice::CMavOrderTag& tag) const { return tag.hash(); }
  };

  struct SStored {
    ksservice::CTaskDetailPtr m_pDetail;
    std::uint64_t m_nParams = 0;  ///< version of the parameters; 0: unknown
  };

  void enterCommand(const boost::shared_ptr<const ksservice::COrderCommand>& command);
  void store(const SPublication& publication);

  CJobGate m_gate;
  CRequests m_requests{m_gate, [this](const std::function<void(IDeskObserver&)>& what) { tellObservers(what); }};
  ksservice::CSubscribers m_subscribers;

  mutable std::shared_mutex m_mutex;  ///< guards everything below but the observers
  SSession m_session;
  std::vector<SAccount> m_accounts;
  std::unordered_map<std::string, std::shared_ptr<const SHoldings>> m_holdings;  ///< by account
  CInstrumentMap<boost::shared_ptr<const TC::CCodeInfo>> m_instruments;
  CInstrumentMap<TC::CQuote> m_quotes;
  std::unordered_map<int, boost::shared_ptr<const ksservice::COrderCommand>> m_commands;
  std::map<std::pair<EHedgeSource, int>, ksservice::CBasketHedgeParam> m_hedgeParams;
  struct SGivenHedge {
    int m_nCommandId = 0;
    ksservice::CBasketHedgeParam m_param;
  };
  std::unordered_map<int, SGivenHedge> m_givenHedges;  ///< by group: what it was given last
  std::set<int> m_startedUnmet;                        ///< commands whose hedge the panel is still to start
  std::unordered_map<int, int> m_hedgeStates;
  std::unordered_map<std::string, boost::shared_ptr<const TC::CTaskProgress>> m_progress;
  std::map<std::string, SStored> m_details;
  std::unordered_map<ksservice::CMavOrderTag, ksservice::COrderDetailPtr, STagHash> m_orderDetails;
  COrderLog m_orderLog;
  std::uint64_t m_nParams = 0;       ///< the newest version of parameters
  std::uint64_t m_nInstruments = 1;  ///< grows with each instrument that is set
  SignalHook m_signalHook;

  mutable std::mutex m_observerMutex;
  std::vector<IDeskObserver*> m_observers;
};

}  // namespace desk
