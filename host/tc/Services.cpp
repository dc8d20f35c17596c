#include "tc/Services.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "ksservice/TraderCenter.h"
#include "tc/CUserConfig.h"
#include "utils/Clock.h"

namespace TC {
namespace {

SServices g_services;
std::atomic<unsigned> g_servicesNumber{0};

/// A service that is asked for before they were installed is a fault of the terminal that no panel can work around.
template <typename Service>
Service& installed(Service* service) {
  if (!service) {
    std::fputs("the host's services are not installed\n", stderr);
    std::abort();
  }
  return *service;
}

}  // namespace

std::vector<std::string> installServices(const SServices& services) {
  const std::pair<const char*, bool> all[] = {
      {"data centre", services.dataCenter != nullptr},
      {"task centre", services.taskCenter != nullptr},
      {"clock", services.clock != nullptr},
      {"job monitor", services.jobMonitor != nullptr},
      {"hedge manager", services.hedgeManager != nullptr},
      {"command centre", services.commandCenter != nullptr},
      {"exchange client", services.exchangeClient != nullptr},
      {"message service", services.msgService != nullptr},
      {"quote client", services.quoteClient != nullptr},
      {"stock unit configuration", services.stockUnitConfig != nullptr},
      {"time service", services.timeService != nullptr},
      {"trade client", services.tradeClient != nullptr},
      {"trading calendar", services.tradingCalendar != nullptr},
      {"user configuration", services.userConfig != nullptr},
      {"hedge settings", services.hedgeSettings != nullptr},
  };
  std::vector<std::string> missing;
  for (const auto& [name, given] : all) {
    if (!given) missing.emplace_back(name);
  }
  if (missing.size() == std::size(all)) missing.clear();  // they are taken away
  if (!missing.empty()) {
    std::fputs("the host's services are not taken; these are missing:", stderr);
    for (const std::string& name : missing) std::fprintf(stderr, " '%s'", name.c_str());
    std::fputs("\n", stderr);
    return missing;
  }
  g_services = services;
  ++g_servicesNumber;
  return missing;
}

unsigned servicesNumber() { return g_servicesNumber; }

CBasketHedgeManager& getBasketHedgeManager() { return installed(g_services.hedgeManager); }
CItCommandCenter& getItCommandCenter() { return installed(g_services.commandCenter); }
CExchangeClient& getExchangeClient() { return installed(g_services.exchangeClient); }
CMsgService& getMsgService() { return installed(g_services.msgService); }
CQuoteClient& getQuoteClient() { return installed(g_services.quoteClient); }
CStockUnitConfig& getStockUnitConfig() { return installed(g_services.stockUnitConfig); }
CTimeService& getTimeService() { return installed(g_services.timeService); }
CTradeClient& getTradeClient() { return installed(g_services.tradeClient); }
CTradingCalendar& getTradingCalendar() { return installed(g_services.tradingCalendar); }
CUserConfig& getUserConfig() { return installed(g_services.userConfig); }
utils::IJobMonitor& getJobMonitor() { return installed(g_services.jobMonitor); }

bool isBrokerTypeMatchTradeType(const ksservice::CAccountInfo& account, EMavTraderType type) {
  return getUserConfig().isBrokerMatched(account.getKey(), type);
}

bool loadHedgeParam(int commandId, ksservice::CBasketHedgeParam& param) {
  return installed(g_services.hedgeSettings).loadHedgeParam(commandId, param);
}

}  // namespace TC

namespace ksservice {

TraderCenter& TraderCenter::instance() {
  static TraderCenter center;
  return center;
}

IDataCenter& TraderCenter::getDataCenter() const { return TC::installed(TC::g_services.dataCenter); }
ITaskCenter& TraderCenter::getTaskCenter() const { return TC::installed(TC::g_services.taskCenter); }

}  // namespace ksservice

namespace utils {

double clockMSec() { return TC::installed(TC::g_services.clock).clockMSec(); }

double clock() { return clockMSec() / 1000; }

void singleShot(int msec, QObject* context, std::function<void()> action) {
  TC::installed(TC::g_services.clock).singleShot(msec, context, std::move(action));
}

}  // namespace utils

namespace GV {

QDateTime secondToQDateTime(int seconds) {
  return QDateTime::fromSecsSinceEpoch(seconds, TC::installed(TC::g_services.clock).timeZone());
}

}  // namespace GV
