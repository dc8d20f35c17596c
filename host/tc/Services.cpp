#include "tc/Services.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "ksservice/TraderCenter.h"
#include "tc/CUserConfig.h"
#include "utils/Clock.h"

namespace TC {
namespace {

SServices g_services;
std::atomic<unsigned> g_servicesNumber{0};

/// A service that is asked for before it was installed is a fault of the terminal that no panel can work around.
template <typename Service>
Service& installed(Service* service, const char* name) {
  if (!service) {
    std::fprintf(stderr, "host service '%s' is not installed\n", name);
    std::abort();
  }
  return *service;
}

}  // namespace

void installServices(const SServices& services) {
  g_services = services;
  ++g_servicesNumber;
}

unsigned servicesNumber() { return g_servicesNumber; }

CBasketHedgeManager& getBasketHedgeManager() { return installed(g_services.hedgeManager, "hedge manager"); }
CItCommandCenter& getItCommandCenter() { return installed(g_services.commandCenter, "command centre"); }
CExchangeClient& getExchangeClient() { return installed(g_services.exchangeClient, "exchange client"); }
CMsgService& getMsgService() { return installed(g_services.msgService, "message service"); }
CQuoteClient& getQuoteClient() { return installed(g_services.quoteClient, "quote client"); }
CStockUnitConfig& getStockUnitConfig() { return installed(g_services.stockUnitConfig, "stock unit configuration"); }
CTimeService& getTimeService() { return installed(g_services.timeService, "time service"); }
CTradeClient& getTradeClient() { return installed(g_services.tradeClient, "trade client"); }
CTradingCalendar& getTradingCalendar() { return installed(g_services.tradingCalendar, "trading calendar"); }
CUserConfig& getUserConfig() { return installed(g_services.userConfig, "user configuration"); }
utils::IJobMonitor& getJobMonitor() { return installed(g_services.jobMonitor, "job monitor"); }

bool isBrokerTypeMatchTradeType(const ksservice::CAccountInfo& account, EMavTraderType type) {
  return getUserConfig().isBrokerMatched(account.getKey(), type);
}

bool loadHedgeParam(int commandId, ksservice::CBasketHedgeParam& param) {
  return installed(g_services.hedgeSettings, "hedge settings").loadHedgeParam(commandId, param);
}

}  // namespace TC

namespace ksservice {

TraderCenter& TraderCenter::instance() {
  static TraderCenter center;
  return center;
}

IDataCenter& TraderCenter::getDataCenter() const { return TC::installed(TC::g_services.dataCenter, "data centre"); }
ITaskCenter& TraderCenter::getTaskCenter() const { return TC::installed(TC::g_services.taskCenter, "task centre"); }

}  // namespace ksservice

namespace utils {

double clockMSec() { return TC::installed(TC::g_services.clock, "clock").clockMSec(); }

double clock() { return clockMSec() / 1000; }

void singleShot(int msec, QObject* context, std::function<void()> action) {
  TC::installed(TC::g_services.clock, "clock").singleShot(msec, context, std::move(action));
}

}  // namespace utils

namespace GV {

QDateTime secondToQDateTime(int seconds) {
  return QDateTime::fromSecsSinceEpoch(seconds, TC::installed(TC::g_services.clock, "clock").timeZone());
}

}  // namespace GV
