#include "Market.h"

#include <cmath>
#include <sstream>

namespace markets {

SInstrument share(const std::string& market, const std::string& code, double prevClose, double dayValue,
                  const std::string& name) {
  SInstrument instrument;
  instrument.m_strMarket = market;
  instrument.m_strCode = code;
  instrument.m_strName = name;
  instrument.m_dPrevClose = prevClose;
  instrument.m_dVolume = std::round(dayValue / prevClose);
  return instrument;
}

std::vector<SInstrument> assortment() {
  return {
      share("SH", "600000", 10.05, 5e8), share("SZ", "000001", 12.34, 5e7), share("SZ", "300750", 250.6, 3e9),
      share("SH", "688981", 88.88, 8e8), share("BJ", "832982", 370, 2e8),   share("SZ", "002024", 1.9, 2e7, "ST样本"),
      share("SH", "600600", 0.07, 1e7),  share("SH", "600519", 1480, 5e9),  share("SH", "601000", 6.6, 2e6)};
}

SExchangeSettings settings(std::uint64_t seed, double rejectRate) {
  SExchangeSettings settings;
  settings.m_nSeed = seed;
  settings.m_nDayStart = dayStartOf(MONDAY);
  settings.m_dRejectRate = rejectRate;
  return settings;
}

std::vector<EReport> CListener::kinds(std::uint64_t id) const {
  std::vector<EReport> kinds;
  for (const SHeard& heard : m_heard) {
    if (heard.m_report.m_nId == id) kinds.push_back(heard.m_report.m_kind);
  }
  return kinds;
}

std::string CListener::message(std::uint64_t id) const {
  std::string message;
  for (const SHeard& heard : m_heard) {
    if (heard.m_report.m_nId == id) message = heard.m_report.m_pMessage;
  }
  return message;
}

int CListener::filled(std::uint64_t id) const {
  int filled = 0;
  for (const SHeard& heard : m_heard) {
    const bool fill = heard.m_report.m_nId == id && heard.m_report.m_kind == EReport::Filled;
    filled += fill ? heard.m_report.m_nQuantity : 0;
  }
  return filled;
}

std::string CListener::text() const {
  std::ostringstream text;
  text.precision(17);
  for (const SHeard& heard : m_heard) {
    const SReport& report = heard.m_report;
    text << report.m_nTime << ' ' << report.m_nId << ' ' << static_cast<int>(report.m_kind) << ' ' << report.m_nQuantity
         << ' ' << report.m_nLeft << ' ' << report.m_dPrice << ' ' << report.m_dAmount << ' ' << report.m_pMessage
         << '\n';
  }
  return text.str();
}

SMarketOrder limitOrder(std::uint64_t id, int instrument, bool buy, double price, int quantity) {
  SMarketOrder order;
  order.m_nId = id;
  order.m_nInstrument = instrument;
  order.m_bBuy = buy;
  order.m_dPrice = price;
  order.m_nQuantity = quantity;
  return order;
}

}  // namespace markets
