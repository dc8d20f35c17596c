#include "CTestHost.h"

#include <boost/make_shared.hpp>
#include <limits>

#include "ksservice/TraderCenter.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Log.h"

namespace testkit {

using namespace ksservice;

/// What stands before the desk's services.
struct CTestHost::SGates {
  template <typename Service>
  struct TGate : Service {
    TGate(CTestHost& host, Service*& service) : m_host(host), m_desk(*std::exchange(service, this)) {}
    CTestHost& m_host;
    Service& m_desk;
  };

  struct SDataCenter : TGate<IDataCenter> {
    using TGate::TGate;
    utils::CSubscriptionHandle subscribe(int type, DataCallback callback) override {
      return m_desk.subscribe(type, std::move(callback));
    }
    CTaskDetailPtr taskDetail(const std::string& key) const override { return m_desk.taskDetail(key); }
    std::vector<CTaskDetailPtr> taskDetails() const override { return m_desk.taskDetails(); }
    std::string loginIdentity() const override { return m_desk.loginIdentity(); }
    int commandNumber(int commandId) const override { return m_desk.commandNumber(commandId); }
    COrderDetailPtr orderDetail(const CMavOrderTag& tag) const override {
      m_host.meet("order");
      return m_desk.orderDetail(tag);
    }
    SOrderChanges orderChanges(std::uint64_t since) const override {
      m_host.meet("changes");
      return m_host.m_bTellsChanges ? m_desk.orderChanges(since) : IDataCenter::orderChanges(since);
    }
    std::uint64_t paramsVersion(const CTaskDetail& detail) const override {
      return m_host.m_bTellsChanges ? m_desk.paramsVersion(detail) : IDataCenter::paramsVersion(detail);
    }
    void updateData(const CTaskDetailPtr& detail) override { m_desk.updateData(detail); }
  };

  struct SExchange : TGate<TC::CExchangeClient> {
    using TGate::TGate;
    boost::shared_ptr<const TC::CCodeInfo> getCodeInfo(const std::string& market,
                                                       const std::string& code) const override {
      m_host.meet(code);
      return m_desk.getCodeInfo(market, code);
    }
    std::uint64_t version() const override {
      m_host.meet("version");
      return m_host.m_bTellsChanges ? m_desk.version() : CExchangeClient::version();
    }
  };

  struct STrade : TGate<TC::CTradeClient> {
    using TGate::TGate;
    boost::shared_ptr<const TC::CTaskProgress> getTaskProgress(const std::string& detailKey) const override {
      m_host.meet(detailKey);
      return m_desk.getTaskProgress(detailKey);
    }
    int getLoginStatus(const std::string& account) const override { return m_desk.getLoginStatus(account); }
    void queryOrderProcess(const std::vector<std::string>& keys, TC::OrderProcessCompletion completion, int) override {
      m_host.add(m_host.m_queries, {keys, std::move(completion)});
    }
  };

  struct SCommands : TGate<TC::CItCommandCenter> {
    using TGate::TGate;
    boost::shared_ptr<const COrderCommand> getCommand(const std::string& commandKey) const override {
      return m_desk.getCommand(commandKey);
    }
    void createTask(const COrderCommand& command, const std::vector<CCodeOrderParam>& params, EMavTraderType traderType,
                    int hedgeType, CreateCompletion completion, int taskId) override {
      m_host.add(m_host.m_creations, {{command, params, traderType, hedgeType, taskId}, std::move(completion)});
    }
    void operateServerTask(const std::string& serverTaskKey, const desk::OpRecordPtr& record,
                           OperateCompletion completion) override {
      m_host.meet("operate " + serverTaskKey);
      m_host.add(m_host.m_calls, {ECall::OperateServer, serverTaskKey, 0, record, std::move(completion)});
    }
  };

  struct SUser : TGate<TC::CUserConfig> {
    using TGate::TGate;
    std::string userName() const override { return m_desk.userName(); }
    boost::shared_ptr<const CAccountInfo> getAccountData(const std::string& accountKey) const override {
      m_host.meet(accountKey);
      return m_desk.getAccountData(accountKey);
    }
    std::vector<boost::shared_ptr<const CAccountInfo>> getAccounts() const override { return m_desk.getAccounts(); }
    bool isAccountFilter(const std::string& account) const override { return m_desk.isAccountFilter(account); }
    bool isBrokerMatched(const std::string& account, EMavTraderType type) const override {
      return m_desk.isBrokerMatched(account, type);
    }
    std::vector<std::string> getOrderSettings() const override { return m_desk.getOrderSettings(); }
    int getTradeSetting(EMavTraderType type, int setting) const override {
      return m_desk.getTradeSetting(type, setting);
    }
    bool hasRevokeTask() const override { return m_desk.hasRevokeTask(); }
    bool hasUpStopPrice() const override { return m_desk.hasUpStopPrice(); }
    bool isRawQuantity() const override { return m_desk.isRawQuantity(); }
    bool isQuietActivation() const override { return m_desk.isQuietActivation(); }
  };

  /// Asked when the hedge manager has no parameters.
  struct SHedgeSettings : TGate<TC::IHedgeSettings> {
    using TGate::TGate;
    bool loadHedgeParam(int commandId, CBasketHedgeParam& param) const override {
      m_host.meet("hedge");
      return m_desk.loadHedgeParam(commandId, param);
    }
  };

  SGates(CTestHost& host, TC::SServices services)
      : m_dataCenter(host, services.dataCenter),
        m_exchange(host, services.exchangeClient),
        m_trade(host, services.tradeClient),
        m_commands(host, services.commandCenter),
        m_user(host, services.userConfig),
        m_hedgeSettings(host, services.hedgeSettings),
        m_services(services) {
    TC::installServices(m_services);
  }
  ~SGates() { TC::installServices({}); }

  SDataCenter m_dataCenter;
  SExchange m_exchange;
  STrade m_trade;
  SCommands m_commands;
  SUser m_user;
  SHedgeSettings m_hedgeSettings;
  TC::SServices m_services;
};

CTestHost::CTestHost(EClock clock)
    : m_services(m_desk, clock), m_pGates(std::make_unique<SGates>(*this, m_services.services())) {
  change([](desk::SSession& session) {
    session.m_strUser = "u1";
    session.m_strLogin = "L1";
  });
  m_desk.requests().setDriver(this);
  m_desk.addObserver(this);
  m_desk.gate().setRecording(false, [this](utils::EPanelJob job) {
    const Lock lock(m_mutex);
    m_nRefreshes += job == utils::EPanelJob::Refresh ? 1 : 0;
  });
  utils::CLogCenter::instance().setObserver([this](const std::string& message) { add(m_log, message); });
}

CTestHost::~CTestHost() { utils::CLogCenter::instance().setObserver({}); }

void CTestHost::forgetProcess() { TC::installServices(m_pGates->m_services); }

void CTestHost::change(const std::function<void(desk::SSession&)>& what) {
  desk::SSession session = m_desk.session();
  what(session);
  m_desk.setSession(session);
}

void CTestHost::setAccount(const CAccountInfo& account) {
  desk::SAccount entry;
  entry.m_pInfo = boost::make_shared<const CAccountInfo>(account);
  m_desk.addAccount(entry);
}

void CTestHost::setCommand(const COrderCommand& command) {
  m_desk.setCommand(boost::make_shared<const COrderCommand>(command));
}

/// What the desk knows of orders comes with some task.
void CTestHost::setOrderDetail(const std::string& tag, bool cancelled) {
  const auto detail = boost::make_shared<COrderDetail>();
  detail->m_strKey = tag;
  detail->m_bCancelled = cancelled;
  m_desk.publishTask({boost::make_shared<CTaskDetail>(), {{CMavOrderTag(tag), detail}}, desk::EVia::Store, false});
}

void CTestHost::setMeeting(std::function<void(const std::string&)> meeting) {
  const Lock lock(m_mutex);
  m_meeting = std::move(meeting);
}

void CTestHost::meet(const std::string& key) const {
  std::function<void(const std::string&)> meeting;
  {
    const Lock lock(m_mutex);
    meeting = m_meeting;
  }
  if (meeting) meeting(key);
}

void CTestHost::moveClock(double msec) {
  desk::CManualClock& clock = *m_services.manualClock();
  clock.advanceTo(clock.clockMSec() + msec);
}

long CTestHost::waitForJobs() {
  m_desk.gate().waitIdle(std::numeric_limits<int>::max());
  const Lock lock(m_mutex);
  return m_nRefreshes;
}

void CTestHost::deliver(const CTaskDetailPtr& detail, desk::EVia via) { m_desk.publishTask({detail, {}, via, false}); }

void CTestHost::operateLocalTask(int taskId, const desk::AccountPtr& account, const desk::OpRecordPtr& record) {
  meet("operate " + std::to_string(taskId));
  add(m_calls, {ECall::OperateLocal, account ? account->getKey() : "", taskId, record, {}});
}

void CTestHost::pauseLocalTask(int taskId, const desk::AccountPtr& account) {
  add(m_calls, {ECall::PauseLocal, account ? account->getKey() : "", taskId, {}, {}});
}

void CTestHost::resumeLocalTask(int taskId, const desk::AccountPtr& account) {
  add(m_calls, {ECall::ResumeLocal, account ? account->getKey() : "", taskId, {}, {}});
}

void CTestHost::setHedgeParam(int groupId, int commandId, const CBasketHedgeParam& param) {
  add(m_hedgeParams, {groupId, commandId, param});
}

}  // namespace testkit
