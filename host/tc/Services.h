/// The services of the terminal as the panel reaches them. The terminal implements and installs them once, before it
/// makes a panel; the accessors hand out what is installed.
#pragma once

#include <string>
#include <vector>

#include "ksservice/CBasketHedgeParam.h"

namespace ksservice {
class IDataCenter;
class ITaskCenter;
}  // namespace ksservice
namespace utils {
class IHostClock;
class IJobMonitor;
}  // namespace utils

namespace TC {

class CBasketHedgeManager;
class CExchangeClient;
class CItCommandCenter;
class CMsgService;
class CQuoteClient;
class CStockUnitConfig;
class CTimeService;
class CTradeClient;
class CTradingCalendar;
class CUserConfig;

/// The user's stored hedge settings. Any thread.
class IHedgeSettings {
 public:
  virtual ~IHedgeSettings() = default;
  virtual bool loadHedgeParam(int commandId, ksservice::CBasketHedgeParam& param) const = 0;
};

/// Not owned; each must be set and must outlive every panel.
struct SServices {
  ksservice::IDataCenter* dataCenter = nullptr;
  ksservice::ITaskCenter* taskCenter = nullptr;
  utils::IHostClock* clock = nullptr;
  utils::IJobMonitor* jobMonitor = nullptr;
  CBasketHedgeManager* hedgeManager = nullptr;
  CItCommandCenter* commandCenter = nullptr;
  CExchangeClient* exchangeClient = nullptr;
  CMsgService* msgService = nullptr;
  CQuoteClient* quoteClient = nullptr;
  CStockUnitConfig* stockUnitConfig = nullptr;
  CTimeService* timeService = nullptr;
  CTradeClient* tradeClient = nullptr;
  CTradingCalendar* tradingCalendar = nullptr;
  CUserConfig* userConfig = nullptr;
  IHedgeSettings* hedgeSettings = nullptr;
};

/// Installs the services for the process, all or none: gives the names of those that the set lacks, which are said on
/// standard error too, and then what was installed before stays. An empty set takes them away. GUI thread, while no
/// panel exists.
std::vector<std::string> installServices(const SServices& services);
/// Another number after each installServices. Any thread.
unsigned servicesNumber();

CBasketHedgeManager& getBasketHedgeManager();
CItCommandCenter& getItCommandCenter();
CExchangeClient& getExchangeClient();
CMsgService& getMsgService();
CQuoteClient& getQuoteClient();
CStockUnitConfig& getStockUnitConfig();
CTimeService& getTimeService();
CTradeClient& getTradeClient();
CTradingCalendar& getTradingCalendar();
CUserConfig& getUserConfig();
utils::IJobMonitor& getJobMonitor();

/// The user's stored hedge settings of a command; false when there are none.
bool loadHedgeParam(int commandId, ksservice::CBasketHedgeParam& param);

}  // namespace TC
