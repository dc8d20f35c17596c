#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimeZone>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ksservice/CBasketHedgeParam.h"
#include "ksservice/CTaskDetail.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CExchangeClient.h"
#include "tc/CItCommandCenter.h"
#include "tc/CMsgService.h"
#include "tc/CQuoteClient.h"
#include "tc/CStockUnitConfig.h"
#include "tc/CTimeService.h"
#include "tc/CTradeClient.h"
#include "tc/CTradingCalendar.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Clock.h"
#include "utils/JobMonitor.h"
#include "utils/Log.h"

namespace test {

/// A host for tests: every service over plain data that a test sets, and a record of what was asked of it. Installs
/// itself for its life. The set and take operations and the services may be called on any thread.
class CTestHost {
 public:
  struct SHedgeCall {
    int group = 0;
    int command = 0;
    ksservice::CBasketHedgeParam param;
  };
  enum class ECall { OperateLocal, PauseLocal, ResumeLocal, OperateServer, PauseHedge, StopHedge };
  /// One request without parameters of its own.
  struct SCall {
    ECall kind;
    std::string key;  ///< server task key, or account key of a local task
    int id;           ///< task identifier of a local task, group of a hedge
    boost::shared_ptr<const ksservice::CTaskOpRecord> record;
    TC::CItCommandCenter::OperateCompletion completion;
  };
  struct SCreation {
    ksservice::COrderCommand command;
    std::vector<ksservice::CCodeOrderParam> params;
    int traderType;
    int hedgeType;
    TC::CItCommandCenter::CreateCompletion completion;
    int taskId;
  };
  struct SQuery {
    std::vector<std::string> tasks;
    TC::OrderProcessCompletion completion;
  };

  CTestHost();
  ~CTestHost();
  CTestHost(const CTestHost&) = delete;
  CTestHost& operator=(const CTestHost&) = delete;

  // What the host knows
  void setInstrument(const TC::CCodeInfo& info);
  void setQuote(const std::string& market, const std::string& code, const TC::CQuote& quote);
  /// An order detail for the tag, cancelled or not.
  void setOrderDetail(const std::string& tag, bool cancelled);
  void setProgress(const std::string& detailKey, const TC::CTaskProgress& progress);
  void setHedgeState(int group, int state) { put(m_hedgeStates, group, state); }
  /// An account that the user configuration has data for.
  void setAccount(const ksservice::CAccountInfo& account);
  void setCommandNumber(int command, int number) { put(m_commandNumbers, command, number); }
  /// A command that the command centre knows.
  void setCommand(const ksservice::COrderCommand& command);
  /// The first stored order setting; empty: none.
  void setOrderSetting(const std::string& setting) { set(m_strOrderSetting, setting); }
  /// A setting of every trader type.
  void setTradeSetting(int setting, int value) { put(m_tradeSettings, setting, value); }
  /// Whether an activated panel stays quiet.
  void setQuietActivation(bool quiet) { set(m_bQuietActivation, quiet); }
  /// Seconds of the time service.
  void setTime(int seconds) { set(m_nTime, seconds); }
  void setTimeZone(const QTimeZone& zone) { set(m_timeZone, zone); }
  /// Whether the user may cancel tasks; true at first.
  void setRevokeTask(bool allowed) { set(m_bRevokeTask, allowed); }
  /// Whether the user is offered the limit price; true at first.
  void setUpStopPrice(bool offered) { set(m_bUpStopPrice, offered); }
  /// Called with the code, account or detail key for which the host is asked ("order" and "hedge" where there is
  /// none), on the asking thread: a test holds who asks, or throws at him. Empty: nothing.
  void setMeeting(std::function<void(const std::string& key)> meeting);
  void moveClock(double msec);
  /// From now on the host's timers wait for the test; until then they go off in real time.
  void holdTimers();
  /// Milliseconds of the timers that wait and whose context lives, in the order in which they were asked for.
  std::vector<int> heldTimers() const;
  /// Runs the timers that wait and whose context lives; what they ask for waits in turn. GUI thread.
  void fireTimers();
  /// Waits until the panels' queues have no job left; returns how many refreshes have ended since the host was made.
  long waitForJobs();
  /// Whether the panels' queues have a job left.
  bool hasJobs() const;
  /// Places a detail in the data centre and tells the subscribers, on the calling thread.
  void deliver(const ksservice::CTaskDetailPtr& detail);
  /// Places a detail in the data centre only.
  void store(const ksservice::CTaskDetailPtr& detail);
  void forgetDetails();

  // What was asked of the host, oldest first; each call empties its record
  std::vector<ksservice::CTaskDetailPtr> takeUpdatedDetails();
  std::vector<SHedgeCall> takeHedgeParams();
  std::vector<int> takeStartedHedges();
  std::vector<SCall> takeCalls();
  std::vector<SCreation> takeCreations();
  std::vector<SQuery> takeQueries();
  std::vector<std::pair<QString, int>> takeMessages();
  std::vector<std::string> takeLog();

  TC::CTradingCalendar& calendar();
  TC::CStockUnitConfig& stockUnits();

 private:
  struct SServiceSet;
  struct STimer {
    int msec;
    QPointer<QObject> context;
    std::function<void()> action;
  };
  using Instrument = std::pair<std::string, std::string>;
  struct STagHash {
    std::size_t operator()(const ksservice::CMavOrderTag& tag) const { return tag.hash(); }
  };

  template <typename Value>
  void set(Value& member, const Value& value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    member = value;
  }
  void put(std::map<int, int>& values, int key, int value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    values[key] = value;
  }
  void record(SCall call);
  void meet(const std::string& key) const;
  template <typename Record>
  Record take(Record& record);

  std::recursive_mutex m_deliveryMutex;  ///< held while subscribers are called, so that one can be waited for
  mutable std::mutex m_mutex;
  std::map<Instrument, boost::shared_ptr<const TC::CCodeInfo>> m_instruments;
  std::map<Instrument, TC::CQuote> m_quotes;
  std::unordered_map<ksservice::CMavOrderTag, ksservice::COrderDetailPtr, STagHash> m_orderDetails;
  std::map<std::string, boost::shared_ptr<const TC::CTaskProgress>> m_progress;
  std::map<int, int> m_hedgeStates;
  std::map<std::string, boost::shared_ptr<const ksservice::CAccountInfo>> m_accounts;
  std::map<int, int> m_commandNumbers;
  std::map<std::string, boost::shared_ptr<const ksservice::COrderCommand>> m_commands;
  std::string m_strOrderSetting;
  std::map<int, int> m_tradeSettings;
  bool m_bQuietActivation = false;
  int m_nTime = 0;
  std::map<std::string, ksservice::CTaskDetailPtr> m_details;
  std::map<int, ksservice::DataCallback> m_subscribers;
  int m_nNextSubscriber = 0;
  QTimeZone m_timeZone = QTimeZone::utc();
  double m_dClock = 0;
  std::function<void(const std::string&)> m_meeting;
  bool m_bRevokeTask = true;
  bool m_bUpStopPrice = true;
  bool m_bHoldTimers = false;
  std::vector<STimer> m_timers;

  std::vector<ksservice::CTaskDetailPtr> m_updated;
  std::vector<SHedgeCall> m_hedgeCalls;
  std::vector<int> m_startedHedges;
  std::vector<SCall> m_calls;
  std::vector<SCreation> m_creations;
  std::vector<SQuery> m_queries;
  std::vector<std::pair<QString, int>> m_messages;
  std::vector<std::string> m_log;

  std::unique_ptr<SServiceSet> m_services;
};

}  // namespace test
