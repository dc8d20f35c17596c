#include "TestHost.h"

#include <QTimer>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <condition_variable>

namespace test {
namespace {

using Lock = std::lock_guard<std::mutex>;

/// The value under a key, or the fallback.
template <typename Map>
typename Map::mapped_type valueOf(const Map& map, const typename Map::key_type& key,
                                  typename Map::mapped_type fallback = {}) {
  const auto found = map.find(key);
  return found == map.end() ? fallback : found->second;
}

struct SSubscription : utils::ISubscription {
  explicit SSubscription(std::function<void()> end) : m_end(std::move(end)) {}
  ~SSubscription() override { m_end(); }
  std::function<void()> m_end;
};

}  // namespace

struct CTestHost::SServiceSet {
  /// A service over the data of its host.
  template <typename Service>
  struct THosted : Service {
    explicit THosted(CTestHost& host) : m_host(host) {}
    template <typename Value>
    Value get(const Value& value) const {
      const Lock lock(m_host.m_mutex);
      return value;
    }
    template <typename Map>
    typename Map::mapped_type find(const Map& map, const typename Map::key_type& key) const {
      const Lock lock(m_host.m_mutex);
      return valueOf(map, key);
    }
    CTestHost& m_host;
  };

  struct SDataCenter : THosted<ksservice::IDataCenter> {
    using THosted::THosted;
    utils::CSubscriptionHandle subscribe(int dataType, ksservice::DataCallback callback) override {
      const Lock lock(m_host.m_mutex);
      const int id = m_host.m_nNextSubscriber++;
      if (dataType == ksservice::DATA_TYPE_TASK_DETAIL) m_host.m_subscribers[id] = std::move(callback);
      return std::make_unique<SSubscription>([this, id] {
        const std::lock_guard<std::recursive_mutex> delivery(m_host.m_deliveryMutex);
        const Lock end(m_host.m_mutex);
        m_host.m_subscribers.erase(id);
      });
    }
    std::vector<ksservice::CTaskDetailPtr> taskDetails() const override {
      const Lock lock(m_host.m_mutex);
      std::vector<ksservice::CTaskDetailPtr> details;
      for (const auto& entry : m_host.m_details) details.push_back(entry.second);
      return details;
    }
    std::string loginIdentity() const override { return "L1"; }
    int commandNumber(int commandId) const override { return find(m_host.m_commandNumbers, commandId); }
    ksservice::CTaskDetailPtr taskDetail(const std::string& key) const override { return find(m_host.m_details, key); }
    ksservice::COrderDetailPtr orderDetail(const ksservice::CMavOrderTag& tag) const override {
      m_host.meet("order");
      return find(m_host.m_orderDetails, tag);
    }
    void updateData(const ksservice::CTaskDetailPtr& detail) override {
      const Lock lock(m_host.m_mutex);
      m_host.m_details[detail->getKey()] = detail;
      m_host.m_updated.push_back(detail);
    }
  };

  struct SExchange : THosted<TC::CExchangeClient> {
    using THosted::THosted;
    boost::shared_ptr<const TC::CCodeInfo> getCodeInfo(const std::string& market,
                                                       const std::string& code) const override {
      m_host.meet(code);
      return find(m_host.m_instruments, {market, code});
    }
  };

  struct SQuotes : THosted<TC::CQuoteClient> {
    using THosted::THosted;
    bool getQuote(const std::string& market, const std::string& code, TC::CQuote& quote) const override {
      const Lock lock(m_host.m_mutex);
      const auto found = m_host.m_quotes.find({market, code});
      if (found == m_host.m_quotes.end()) return false;
      quote = found->second;
      return true;
    }
  };

  struct STrade : THosted<TC::CTradeClient> {
    using THosted::THosted;
    boost::shared_ptr<const TC::CTaskProgress> getTaskProgress(const std::string& detailKey) const override {
      m_host.meet(detailKey);
      return find(m_host.m_progress, detailKey);
    }
    int getLoginStatus(const std::string&) const override { return ksservice::ELS_Ready; }
    void queryOrderProcess(const std::vector<std::string>& keys, TC::OrderProcessCompletion completion, int) override {
      const Lock lock(m_host.m_mutex);
      m_host.m_queries.push_back({keys, std::move(completion)});
    }
  };

  struct STaskCenter : THosted<ksservice::ITaskCenter> {
    using THosted::THosted;
    using Account = boost::shared_ptr<const ksservice::CAccountInfo>;
    void operateTask(const boost::shared_ptr<const ksservice::CTaskOpRecord>& record, int taskId,
                     const Account& account) override {
      m_host.record({ECall::OperateLocal, keyOf(account), taskId, record, {}});
    }
    void pauseTask(int taskId, const Account& account) override {
      m_host.record({ECall::PauseLocal, keyOf(account), taskId, {}, {}});
    }
    void resumeTask(int taskId, const Account& account) override {
      m_host.record({ECall::ResumeLocal, keyOf(account), taskId, {}, {}});
    }
    static std::string keyOf(const Account& account) { return account ? account->getKey() : std::string(); }
  };

  struct SCommands : THosted<TC::CItCommandCenter> {
    using THosted::THosted;
    boost::shared_ptr<const ksservice::COrderCommand> getCommand(const std::string& commandKey) const override {
      return find(m_host.m_commands, commandKey);
    }
    void createTask(const ksservice::COrderCommand& command, const std::vector<ksservice::CCodeOrderParam>& params,
                    EMavTraderType traderType, int hedgeType, CreateCompletion completion, int taskId) override {
      const Lock lock(m_host.m_mutex);
      m_host.m_creations.push_back({command, params, traderType, hedgeType, std::move(completion), taskId});
    }
    void operateServerTask(const std::string& serverTaskKey,
                           const boost::shared_ptr<const ksservice::CTaskOpRecord>& record,
                           OperateCompletion completion) override {
      m_host.record({ECall::OperateServer, serverTaskKey, 0, record, std::move(completion)});
    }
  };

  struct STime : THosted<TC::CTimeService> {
    using THosted::THosted;
    int currentTime() const override { return get(m_host.m_nTime); }
  };

  struct SHedge : THosted<TC::CBasketHedgeManager> {
    using THosted::THosted;
    int status(int groupId) const override { return find(m_host.m_hedgeStates, groupId); }
    bool getHedgeParam(int, ksservice::CBasketHedgeParam&) const override {
      m_host.meet("hedge");
      return false;
    }
    void setParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) override {
      const Lock lock(m_host.m_mutex);
      m_host.m_hedgeCalls.push_back({groupId, commandId, param});
    }
    void startHedge(int groupId) override {
      const Lock lock(m_host.m_mutex);
      m_host.m_startedHedges.push_back(groupId);
    }
    bool getItem(int groupId, ksservice::CBasketHedgeParam& param) const override {
      const Lock lock(m_host.m_mutex);
      const auto given = std::find_if(m_host.m_hedgeCalls.rbegin(), m_host.m_hedgeCalls.rend(),
                                      [groupId](const SHedgeCall& call) { return call.group == groupId; });
      if (given == m_host.m_hedgeCalls.rend()) return false;
      param = given->param;
      return true;
    }
    void pauseHedge(int groupId) override { m_host.record({ECall::PauseHedge, {}, groupId, {}, {}}); }
    void stopHedge(int groupId) override { m_host.record({ECall::StopHedge, {}, groupId, {}, {}}); }
  };

  struct SUser : THosted<TC::CUserConfig> {
    using THosted::THosted;
    std::string userName() const override { return "u1"; }
    boost::shared_ptr<const ksservice::CAccountInfo> getAccountData(const std::string& accountKey) const override {
      m_host.meet(accountKey);
      return find(m_host.m_accounts, accountKey);
    }
    std::vector<boost::shared_ptr<const ksservice::CAccountInfo>> getAccounts() const override {
      const Lock lock(m_host.m_mutex);
      std::vector<boost::shared_ptr<const ksservice::CAccountInfo>> accounts;
      for (const auto& entry : m_host.m_accounts) accounts.push_back(entry.second);
      return accounts;
    }
    bool isAccountFilter(const std::string&) const override { return false; }
    bool isBrokerMatched(const std::string&, EMavTraderType) const override { return true; }
    std::vector<std::string> getOrderSettings() const override {
      const Lock lock(m_host.m_mutex);
      if (m_host.m_strOrderSetting.empty()) return {};
      return {m_host.m_strOrderSetting};
    }
    int getTradeSetting(EMavTraderType, int setting) const override { return find(m_host.m_tradeSettings, setting); }
    bool hasRevokeTask() const override { return get(m_host.m_bRevokeTask); }
    bool hasUpStopPrice() const override { return get(m_host.m_bUpStopPrice); }
    bool isRawQuantity() const override { return false; }
    bool isQuietActivation() const override { return get(m_host.m_bQuietActivation); }
  };

  struct SMessages : THosted<TC::CMsgService> {
    using THosted::THosted;
    void showMsg(const QString& text, int kind) override {
      const Lock lock(m_host.m_mutex);
      m_host.m_messages.emplace_back(text, kind);
    }
  };

  struct SHedgeSettings : TC::IHedgeSettings {
    bool loadHedgeParam(int, ksservice::CBasketHedgeParam&) const override { return false; }
  };

  struct SClock : THosted<utils::IHostClock> {
    using THosted::THosted;
    double clockMSec() const override { return get(m_host.m_dClock); }
    QTimeZone timeZone() const override { return get(m_host.m_timeZone); }
    void singleShot(int msec, QObject* context, std::function<void()> action) override {
      {
        const Lock lock(m_host.m_mutex);
        if (m_host.m_bHoldTimers) return m_host.m_timers.push_back({msec, context, std::move(action)});
      }
      QTimer::singleShot(msec, context, std::move(action));
    }
  };

  struct SJobs : utils::IJobMonitor {
    void jobPosted(utils::EPanelJob) override {
      const Lock lock(m_mutex);
      ++m_nPosted;
    }
    void jobBegins(utils::EPanelJob) override {}
    void jobEnded(utils::EPanelJob job) override {
      const Lock lock(m_mutex);
      ++m_nEnded;
      m_nRefreshes += job == utils::EPanelJob::Refresh ? 1 : 0;
      m_changed.notify_all();
    }
    std::mutex m_mutex;
    std::condition_variable m_changed;
    long m_nPosted = 0;
    long m_nEnded = 0;
    long m_nRefreshes = 0;
  };

  explicit SServiceSet(CTestHost& owner) : host(owner) {}

  void install() {
    TC::SServices services;
    services.dataCenter = &dataCenter;
    services.taskCenter = &taskCenter;
    services.commandCenter = &commands;
    services.timeService = &time;
    services.clock = &clock;
    services.jobMonitor = &jobs;
    services.hedgeManager = &hedge;
    services.exchangeClient = &exchange;
    services.msgService = &messages;
    services.quoteClient = &quotes;
    services.stockUnitConfig = &stockUnits;
    services.tradeClient = &trade;
    services.tradingCalendar = &calendar;
    services.userConfig = &user;
    services.hedgeSettings = &hedgeSettings;
    TC::installServices(services);
  }

  CTestHost& host;
  SDataCenter dataCenter{host};
  SExchange exchange{host};
  SQuotes quotes{host};
  STrade trade{host};
  STaskCenter taskCenter{host};
  SCommands commands{host};
  STime time{host};
  SHedge hedge{host};
  SUser user{host};
  SMessages messages{host};
  SHedgeSettings hedgeSettings;
  SClock clock{host};
  SJobs jobs;
  TC::CStockUnitConfig stockUnits;
  TC::CTradingCalendar calendar;
};

template <typename Record>
Record CTestHost::take(Record& record) {
  const Lock lock(m_mutex);
  return std::exchange(record, {});
}

CTestHost::CTestHost() : m_services(std::make_unique<SServiceSet>(*this)) {
  m_services->install();
  utils::CLogCenter::instance().setObserver([this](const std::string& message) {
    const Lock lock(m_mutex);
    m_log.push_back(message);
  });
}

CTestHost::~CTestHost() {
  utils::CLogCenter::instance().setObserver({});
  TC::installServices({});
}

void CTestHost::record(SCall call) {
  const Lock lock(m_mutex);
  m_calls.push_back(std::move(call));
}

void CTestHost::moveClock(double msec) {
  const Lock lock(m_mutex);
  m_dClock += msec;
}

void CTestHost::holdTimers() {
  const Lock lock(m_mutex);
  m_bHoldTimers = true;
}

std::vector<int> CTestHost::heldTimers() const {
  const Lock lock(m_mutex);
  std::vector<int> times;
  for (const STimer& timer : m_timers) {
    if (timer.context) times.push_back(timer.msec);
  }
  return times;
}

void CTestHost::fireTimers() {
  for (const STimer& timer : take(m_timers)) {
    if (timer.context) timer.action();
  }
}

long CTestHost::waitForJobs() {
  SServiceSet::SJobs& jobs = m_services->jobs;
  std::unique_lock<std::mutex> lock(jobs.m_mutex);
  jobs.m_changed.wait(lock, [&jobs] { return jobs.m_nPosted == jobs.m_nEnded; });
  return jobs.m_nRefreshes;
}

bool CTestHost::hasJobs() const {
  SServiceSet::SJobs& jobs = m_services->jobs;
  const Lock lock(jobs.m_mutex);
  return jobs.m_nPosted != jobs.m_nEnded;
}

void CTestHost::store(const ksservice::CTaskDetailPtr& detail) {
  const Lock lock(m_mutex);
  m_details[detail->getKey()] = detail;
}

void CTestHost::deliver(const ksservice::CTaskDetailPtr& detail) {
  store(detail);
  const std::lock_guard<std::recursive_mutex> delivery(m_deliveryMutex);
  std::map<int, ksservice::DataCallback> subscribers;
  {
    const Lock lock(m_mutex);
    subscribers = m_subscribers;
  }
  for (const auto& subscriber : subscribers) subscriber.second(detail);
}

std::vector<ksservice::CTaskDetailPtr> CTestHost::takeUpdatedDetails() { return take(m_updated); }
std::vector<CTestHost::SHedgeCall> CTestHost::takeHedgeParams() { return take(m_hedgeCalls); }
std::vector<int> CTestHost::takeStartedHedges() { return take(m_startedHedges); }
std::vector<CTestHost::SCall> CTestHost::takeCalls() { return take(m_calls); }
std::vector<CTestHost::SCreation> CTestHost::takeCreations() { return take(m_creations); }
std::vector<CTestHost::SQuery> CTestHost::takeQueries() { return take(m_queries); }
std::vector<std::pair<QString, int>> CTestHost::takeMessages() { return take(m_messages); }
std::vector<std::string> CTestHost::takeLog() { return take(m_log); }

TC::CTradingCalendar& CTestHost::calendar() { return m_services->calendar; }
TC::CStockUnitConfig& CTestHost::stockUnits() { return m_services->stockUnits; }

}  // namespace test
