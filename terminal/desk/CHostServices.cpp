#include "CHostServices.h"

#include <utility>

#include "CDesk.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CItCommandCenter.h"
#include "tc/CMsgService.h"
#include "tc/CStockUnitConfig.h"
#include "tc/CTimeService.h"
#include "tc/CTradingCalendar.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace desk {
namespace {

class CDataCenterFace : public ksservice::IDataCenter {
 public:
  explicit CDataCenterFace(CDesk& desk) : m_desk(desk) {}

  utils::CSubscriptionHandle subscribe(int dataType, ksservice::DataCallback callback) override {
    // Task details are the one data type that has a feed here; a subscription to another stays silent.
    if (dataType != ksservice::DATA_TYPE_TASK_DETAIL) return ksservice::CSubscribers().add(std::move(callback));
    return m_desk.subscribeTasks(std::move(callback));
  }
  std::vector<ksservice::CTaskDetailPtr> taskDetails() const override { return m_desk.taskDetails(); }
  std::string loginIdentity() const override { return m_desk.loginIdentity(); }
  int commandNumber(int commandId) const override {
    const auto command = m_desk.command(commandId);
    return command ? command->m_nNumber : 0;
  }
  ksservice::CTaskDetailPtr taskDetail(const std::string& key) const override { return m_desk.taskDetail(key); }
  ksservice::COrderDetailPtr orderDetail(const ksservice::CMavOrderTag& tag) const override {
    return m_desk.orderDetail(tag);
  }
  ksservice::SOrderChanges orderChanges(std::uint64_t since) const override { return m_desk.orderChanges(since); }
  std::uint64_t paramsVersion(const ksservice::CTaskDetail& detail) const override {
    return m_desk.paramsVersion(detail);
  }
  void updateData(const ksservice::CTaskDetailPtr& detail) override { m_desk.updateData(detail); }

 private:
  CDesk& m_desk;
};

class CExchangeFace : public TC::CExchangeClient {
 public:
  explicit CExchangeFace(const CDesk& desk) : m_desk(desk) {}
  boost::shared_ptr<const TC::CCodeInfo> getCodeInfo(const std::string& market,
                                                     const std::string& code) const override {
    return m_desk.codeInfo(market, code);
  }
  std::uint64_t version() const override { return m_desk.instrumentsVersion(); }

 private:
  const CDesk& m_desk;
};

class CQuoteFace : public TC::CQuoteClient {
 public:
  explicit CQuoteFace(const CDesk& desk) : m_desk(desk) {}
  bool getQuote(const std::string& market, const std::string& code, TC::CQuote& quote) const override {
    m_desk.tellObservers([&](IDeskObserver& observer) { observer.onQuoteRead(code); });
    return m_desk.quote(market, code, quote);
  }

 private:
  const CDesk& m_desk;
};

class CTaskCenterFace : public ksservice::ITaskCenter {
 public:
  explicit CTaskCenterFace(CDesk& desk) : m_desk(desk) {}
  void operateTask(const OpRecordPtr& record, int taskId, const AccountPtr& account) override {
    m_desk.requests().operateLocalTask(taskId, account, record);
  }
  void pauseTask(int taskId, const AccountPtr& account) override { m_desk.requests().pauseLocalTask(taskId, account); }
  void resumeTask(int taskId, const AccountPtr& account) override {
    m_desk.requests().resumeLocalTask(taskId, account);
  }

 private:
  CDesk& m_desk;
};

class CCommandFace : public TC::CItCommandCenter {
 public:
  explicit CCommandFace(CDesk& desk) : m_desk(desk) {}
  boost::shared_ptr<const ksservice::COrderCommand> getCommand(const std::string& commandKey) const override {
    return m_desk.commandByKey(commandKey);
  }
  void createTask(const ksservice::COrderCommand& command, const std::vector<ksservice::CCodeOrderParam>& params,
                  EMavTraderType traderType, int hedgeType, CreateCompletion completion, int taskId) override {
    m_desk.requests().createTask({command, params, traderType, hedgeType, taskId}, std::move(completion));
  }
  void operateServerTask(const std::string& serverTaskKey, const OpRecordPtr& record,
                         OperateCompletion completion) override {
    m_desk.requests().operateServerTask(serverTaskKey, record, std::move(completion));
  }

 private:
  CDesk& m_desk;
};

class CTimeFace : public TC::CTimeService {
 public:
  explicit CTimeFace(const CDesk& desk) : m_desk(desk) {}
  int currentTime() const override { return static_cast<int>(m_desk.now()); }

 private:
  const CDesk& m_desk;
};

class CTradeFace : public TC::CTradeClient {
 public:
  explicit CTradeFace(CDesk& desk) : m_desk(desk) {}
  boost::shared_ptr<const TC::CTaskProgress> getTaskProgress(const std::string& detailKey) const override {
    return m_desk.progress(detailKey);
  }
  int getLoginStatus(const std::string& accountKey) const override {
    SAccount account;
    const bool ready = m_desk.findAccount(accountKey, account) && account.m_bLoginReady;
    return ready ? ksservice::ELS_Ready : ksservice::ELS_None;
  }
  void queryOrderProcess(const std::vector<std::string>& serverTaskKeys, TC::OrderProcessCompletion completion,
                         int /*flag*/) override {
    m_desk.requests().queryOrderProcess(serverTaskKeys, std::move(completion));
  }

 private:
  CDesk& m_desk;
};

class CHedgeFace : public TC::CBasketHedgeManager {
 public:
  explicit CHedgeFace(CDesk& desk) : m_desk(desk) {}
  int status(int groupId) const override { return m_desk.hedgeState(groupId); }
  bool getHedgeParam(int commandId, ksservice::CBasketHedgeParam& param) const override {
    return m_desk.hedgeParam(EHedgeSource::Manager, commandId, param);
  }
  void setParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) override {
    m_desk.giveHedgeParam(groupId, commandId, param);
  }
  bool getItem(int groupId, ksservice::CBasketHedgeParam& param) const override {
    return m_desk.givenHedgeParam(groupId, param);
  }
  void startHedge(int groupId) override { m_desk.startHedge(groupId); }
  void pauseHedge(int groupId) override { m_desk.requests().pauseHedge(groupId); }
  void stopHedge(int groupId) override { m_desk.requests().stopHedge(groupId); }

 private:
  CDesk& m_desk;
};

class CUserFace : public TC::CUserConfig {
 public:
  explicit CUserFace(const CDesk& desk) : m_desk(desk) {}
  std::string userName() const override { return m_desk.userName(); }
  boost::shared_ptr<const ksservice::CAccountInfo> getAccountData(const std::string& accountKey) const override {
    SAccount account;
    return m_desk.findAccount(accountKey, account) && account.m_bConfigured ? account.m_pInfo : nullptr;
  }
  std::vector<boost::shared_ptr<const ksservice::CAccountInfo>> getAccounts() const override {
    std::vector<boost::shared_ptr<const ksservice::CAccountInfo>> accounts;
    for (const SAccount& account : m_desk.accounts()) {
      if (account.m_bConfigured) accounts.push_back(account.m_pInfo);
    }
    return accounts;
  }
  bool isAccountFilter(const std::string& accountKey) const override {
    SAccount account;
    return m_desk.findAccount(accountKey, account) && account.m_bFiltered;
  }
  bool isBrokerMatched(const std::string& accountKey, EMavTraderType) const override {
    SAccount account;
    return m_desk.findAccount(accountKey, account) && account.m_bBrokerMatches;
  }
  std::vector<std::string> getOrderSettings() const override {
    const std::string setting = m_desk.settings().m_strOrderSetting;
    return setting.empty() ? std::vector<std::string>() : std::vector<std::string>{setting};
  }
  int getTradeSetting(EMavTraderType, int setting) const override { return m_desk.tradeSetting(setting); }
  bool hasRevokeTask() const override { return m_desk.settings().m_bHasRevokeTask; }
  bool hasUpStopPrice() const override { return m_desk.settings().m_bHasUpStopPrice; }
  bool isRawQuantity() const override { return m_desk.settings().m_bRawQuantity; }
  bool isQuietActivation() const override { return m_desk.settings().m_bQuietActivation; }

 private:
  const CDesk& m_desk;
};

class CMsgFace : public TC::CMsgService {
 public:
  explicit CMsgFace(CDesk& desk) : m_desk(desk) {}
  void showMsg(const QString& text, int kind) override { m_desk.showMsg(text, kind); }

 private:
  CDesk& m_desk;
};

class CHedgeSettingsFace : public TC::IHedgeSettings {
 public:
  explicit CHedgeSettingsFace(const CDesk& desk) : m_desk(desk) {}
  bool loadHedgeParam(int commandId, ksservice::CBasketHedgeParam& param) const override {
    return m_desk.hedgeParam(EHedgeSource::Stored, commandId, param);
  }

 private:
  const CDesk& m_desk;
};

std::unique_ptr<utils::IHostClock> makeClock(const CDesk& desk, CHostServices::EClock clock) {
  if (clock == CHostServices::EClock::Manual) return std::make_unique<CManualClock>(desk);
  return std::make_unique<CLiveClock>(desk);
}

}  // namespace

struct CHostServices::SFaces {
  SFaces(CDesk& desk, EClock clock)
      : m_dataCenter(desk),
        m_tasks(desk),
        m_commands(desk),
        m_time(desk),
        m_exchange(desk),
        m_quotes(desk),
        m_trade(desk),
        m_hedge(desk),
        m_user(desk),
        m_messages(desk),
        m_hedgeSettings(desk),
        m_pClock(makeClock(desk, clock)) {}

  CDataCenterFace m_dataCenter;
  CTaskCenterFace m_tasks;
  CCommandFace m_commands;
  CTimeFace m_time;
  CExchangeFace m_exchange;
  CQuoteFace m_quotes;
  CTradeFace m_trade;
  CHedgeFace m_hedge;
  CUserFace m_user;
  CMsgFace m_messages;
  CHedgeSettingsFace m_hedgeSettings;
  TC::CTradingCalendar m_calendar;
  TC::CStockUnitConfig m_stockUnits;
  std::unique_ptr<utils::IHostClock> m_pClock;
};

CHostServices::CHostServices(CDesk& desk, EClock clock)
    : m_desk(desk), m_pFaces(std::make_unique<SFaces>(desk, clock)) {}

CHostServices::~CHostServices() { uninstall(); }

TC::SServices CHostServices::services() const {
  TC::SServices services;
  services.dataCenter = &m_pFaces->m_dataCenter;
  services.taskCenter = &m_pFaces->m_tasks;
  services.commandCenter = &m_pFaces->m_commands;
  services.timeService = &m_pFaces->m_time;
  services.clock = m_pFaces->m_pClock.get();
  services.jobMonitor = &m_desk.gate();
  services.hedgeManager = &m_pFaces->m_hedge;
  services.exchangeClient = &m_pFaces->m_exchange;
  services.msgService = &m_pFaces->m_messages;
  services.quoteClient = &m_pFaces->m_quotes;
  services.stockUnitConfig = &m_pFaces->m_stockUnits;
  services.tradeClient = &m_pFaces->m_trade;
  services.tradingCalendar = &m_pFaces->m_calendar;
  services.userConfig = &m_pFaces->m_user;
  services.hedgeSettings = &m_pFaces->m_hedgeSettings;
  return services;
}

void CHostServices::install() {
  TC::installServices(services());
  m_bInstalled = true;
}

void CHostServices::uninstall() {
  if (m_bInstalled) TC::installServices({});
  m_bInstalled = false;
}

CManualClock* CHostServices::manualClock() { return dynamic_cast<CManualClock*>(m_pFaces->m_pClock.get()); }

CLiveClock* CHostServices::liveClock() { return dynamic_cast<CLiveClock*>(m_pFaces->m_pClock.get()); }

void CHostServices::announce(std::function<void()> action) {
  QMetaObject::invokeMethod(
      &m_pFaces->m_calendar, [this, action = std::move(action)] { m_desk.gate().whenIdle(action); },
      Qt::AutoConnection);
}

void CHostServices::announceHedgeVolume(int taskId, int volume) {
  announce([this, taskId, volume] {
    m_desk.tellObservers([&](IDeskObserver& observer) { observer.onHedgeVolume(taskId, volume); });
    Q_EMIT m_pFaces->m_hedge.sigHedgeVolume(taskId, volume);
  });
}

void CHostServices::announceHedgeStatus(int taskId, int status) {
  announce([this, taskId, status] {
    m_desk.tellObservers([&](IDeskObserver& observer) { observer.onHedgeStatus(taskId, status); });
    Q_EMIT m_pFaces->m_hedge.sigHedgeStatus(taskId, status);
  });
}

void CHostServices::announceTradingDay(const std::string& date) {
  announce([this, date] {
    m_desk.tellObservers([&](IDeskObserver& observer) { observer.onTradingDay(date); });
    Q_EMIT m_pFaces->m_calendar.sigNewTradingDate(date);
  });
}

void CHostServices::announceStockUnitChange() {
  announce([this] {
    m_desk.tellObservers([](IDeskObserver& observer) { observer.onStockUnitChange(); });
    Q_EMIT m_pFaces->m_stockUnits.sigStockUnitChange();
  });
}

}  // namespace desk
