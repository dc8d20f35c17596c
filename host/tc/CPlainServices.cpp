#include "tc/CPlainServices.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QTimer>

#include "tc/CBasketHedgeManager.h"
#include "tc/CItCommandCenter.h"
#include "tc/CMsgService.h"
#include "tc/CStockUnitConfig.h"
#include "tc/CTimeService.h"
#include "tc/CTradeClient.h"
#include "tc/CTradingCalendar.h"
#include "utils/Clock.h"
#include "utils/JobMonitor.h"
#include "utils/Log.h"

namespace TC {
namespace {

const char* const NO_SERVER = "没有服务器";

/// An answer never comes from within its request.
void later(std::function<void()> action) {
  QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(action), Qt::QueuedConnection);
}

class CMachineClock : public utils::IHostClock, public CTimeService {
 public:
  CMachineClock() { m_clock.start(); }
  double clockMSec() const override { return static_cast<double>(m_clock.nsecsElapsed()) / 1e6; }
  QTimeZone timeZone() const override { return QTimeZone::systemTimeZone(); }
  void singleShot(int msec, QObject* context, std::function<void()> action) override {
    QTimer::singleShot(msec, context, std::move(action));
  }
  int currentTime() const override { return static_cast<int>(QDateTime::currentSecsSinceEpoch()); }

 private:
  QElapsedTimer m_clock;
};

class CNoServer : public CItCommandCenter, public CTradeClient {
 public:
  boost::shared_ptr<const ksservice::COrderCommand> getCommand(const std::string&) const override { return nullptr; }
  void createTask(const ksservice::COrderCommand&, const std::vector<ksservice::CCodeOrderParam>&, EMavTraderType, int,
                  CreateCompletion completion, int) override {
    later([completion = std::move(completion)] { completion(utils::KSError(NO_SERVER), 0); });
  }
  void operateServerTask(const std::string&, const boost::shared_ptr<const ksservice::CTaskOpRecord>&,
                         OperateCompletion completion) override {
    later([completion = std::move(completion)] { completion(utils::KSError(NO_SERVER), {}); });
  }
  boost::shared_ptr<const CTaskProgress> getTaskProgress(const std::string&) const override { return nullptr; }
  int getLoginStatus(const std::string&) const override { return ksservice::ELS_Ready; }
  void queryOrderProcess(const std::vector<std::string>&, OrderProcessCompletion completion, int) override {
    later([completion = std::move(completion)] { completion({}, utils::KSError(NO_SERVER), {}); });
  }
};

class CNoHedges : public CBasketHedgeManager, public IHedgeSettings {
 public:
  int status(int) const override { return EHS_None; }
  bool getHedgeParam(int, ksservice::CBasketHedgeParam&) const override { return false; }
  void setParam(int, int, const ksservice::CBasketHedgeParam&) override {}
  bool getItem(int, ksservice::CBasketHedgeParam&) const override { return false; }
  void startHedge(int) override {}
  void pauseHedge(int) override {}
  void stopHedge(int) override {}
  bool loadHedgeParam(int, ksservice::CBasketHedgeParam&) const override { return false; }
};

class CLoggedMessages : public CMsgService {
 public:
  void showMsg(const QString& text, int) override { utils::logInfo(this, "showMsg", "%1%", text); }
};

class CNoMonitor : public utils::IJobMonitor {
 public:
  void jobPosted(utils::EPanelJob) override {}
  void jobBegins(utils::EPanelJob) override {}
  void jobEnded(utils::EPanelJob) override {}
};

}  // namespace

CPlainUserConfig::CPlainUserConfig(std::string userName, std::vector<Account> accounts)
    : m_strUserName(std::move(userName)), m_accounts(std::move(accounts)) {}

CPlainUserConfig::Account CPlainUserConfig::getAccountData(const std::string& accountKey) const {
  for (const Account& account : m_accounts) {
    if (account->getKey() == accountKey) return account;
  }
  return nullptr;
}

struct CPlainServices::SFaces {
  CMachineClock m_clock;
  CNoServer m_server;
  CNoHedges m_hedges;
  CLoggedMessages m_messages;
  CNoMonitor m_monitor;
  CTradingCalendar m_calendar;
  CStockUnitConfig m_units;
};

CPlainServices::CPlainServices() : m_pFaces(std::make_unique<SFaces>()) {}
CPlainServices::~CPlainServices() = default;

SServices CPlainServices::services() const {
  SServices services;
  services.clock = &m_pFaces->m_clock;
  services.timeService = &m_pFaces->m_clock;
  services.commandCenter = &m_pFaces->m_server;
  services.tradeClient = &m_pFaces->m_server;
  services.hedgeManager = &m_pFaces->m_hedges;
  services.hedgeSettings = &m_pFaces->m_hedges;
  services.msgService = &m_pFaces->m_messages;
  services.jobMonitor = &m_pFaces->m_monitor;
  services.tradingCalendar = &m_pFaces->m_calendar;
  services.stockUnitConfig = &m_pFaces->m_units;
  return services;
}

}  // namespace TC
