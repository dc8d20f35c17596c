#include "CHostServices.h"

#include <utility>

#include "CDesk.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CMsgService.h"
#include "tc/CStockUnitConfig.h"
#include "tc/CTradingCalendar.h"
#include "tc/CUserConfig.h"

namespace desk {
namespace {

class CDataCenterFace : public ksservice::IDataCenter {
 public:
  explicit CDataCenterFace(CDesk& desk) : m_desk(desk) {}

  utils::CSubscriptionHandle subscribe(int dataType, ksservice::DataCallback callback) override {
    // Task details are the one data type that has a feed here; a subscription to another stays silent.
    if (dataType != ksservice::DATA_TYPE_TASK_DETAIL) return CSubscribers().add(std::move(callback));
    return m_desk.subscribeTasks(std::move(callback));
  }
  std::vector<ksservice::CTaskDetailPtr> taskDetails() const override { return m_desk.taskDetails(); }
  std::string loginIdentity() const override { return m_desk.loginIdentity(); }
  int commandNumber(int commandId) const override {
    const auto command = m_desk.command(commandId);
    return command ? command->m_nNumber : 0;
  }
  ksservice::COrderDetailPtr orderDetail(const ksservice::CMavOrderTag& tag) const override {
    return m_desk.orderDetail(tag);
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

 private:
  const CDesk& m_desk;
};

class CQuoteFace : public TC::CQuoteClient {
 public:
  explicit CQuoteFace(const CDesk& desk) : m_desk(desk) {}
  bool getQuote(const std::string& market, const std::string& code, TC::CQuote& quote) const override {
    return m_desk.quote(market, code, quote);
  }

 private:
  const CDesk& m_desk;
};

class CTradeFace : public TC::CTradeClient {
 public:
  explicit CTradeFace(const CDesk& desk) : m_desk(desk) {}
  boost::shared_ptr<const TC::CTaskProgress> getTaskProgress(const std::string& detailKey) const override {
    return m_desk.progress(detailKey);
  }
  bool isLoginReady(const std::string& accountKey) const override {
    SAccount account;
    return m_desk.findAccount(accountKey, account) && account.m_bLoginReady;
  }

 private:
  const CDesk& m_desk;
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
  void startHedge(int groupId) override { m_desk.startHedge(groupId); }

 private:
  CDesk& m_desk;
};

class CUserFace : public TC::CUserConfig {
 public:
  explicit CUserFace(const CDesk& desk) : m_desk(desk) {}
  std::string userName() const override { return m_desk.userName(); }
  boost::shared_ptr<const ksservice::CAccountInfo> getAccount(const std::string& accountKey) const override {
    SAccount account;
    return m_desk.findAccount(accountKey, account) && account.m_bConfigured ? account.m_pInfo : nullptr;
  }
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
        m_exchange(desk),
        m_quotes(desk),
        m_trade(desk),
        m_hedge(desk),
        m_user(desk),
        m_messages(desk),
        m_hedgeSettings(desk),
        m_pClock(makeClock(desk, clock)) {}

  CDataCenterFace m_dataCenter;
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

void CHostServices::install() {
  TC::SServices services;
  services.dataCenter = &m_pFaces->m_dataCenter;
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
  TC::installServices(services);
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
