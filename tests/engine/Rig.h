#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <map>
#include <string>
#include <vector>

#include "CSimulation.h"
#include "TaskDetails.h"
#include "ksservice/TraderCenter.h"

/// What the orders of a detail have traded, and what its parameters want.
inline int tradedOf(const ksservice::CTaskDetail& detail) {
  int traded = 0;
  for (const auto& order : detail.m_orders) traded += order->m_nTradedVolume;
  return traded;
}
inline int targetOf(const ksservice::CTaskDetail& detail) {
  int target = 0;
  for (const auto& param : detail.m_params) target += param.m_nVolume;
  return target;
}

/// A desk, a simulated exchange of a few dozen securities and an engine on it, with everything that is published kept.
struct SRig {
  explicit SRig(std::uint64_t seed = 1, double rejectRate = 0, engine::SOrderLimits limits = {},
                std::int64_t begin = exchange::DAY_OPENS)
      : m_simulation(m_desk, makeListed(), exchangeSettings(seed, rejectRate), engineSettings(limits), begin) {
    m_subscription = m_desk.subscribeTasks([this](const boost::shared_ptr<ksservice::IData>& data) {
      m_details.push_back(boost::dynamic_pointer_cast<ksservice::CTaskDetail>(data));
      m_newest[data->getKey()] = m_details.back();
    });
    engine().setEventHook([this](const engine::SEngineEvent& event) {
      m_events.push_back((event.m_bWarning ? "! " : "") + event.m_strText);
    });
    addAccount("A1");
    addAccount("A2");
  }

  void addAccount(const std::string& key, int type = 0) {
    m_accounts.push_back(testkit::makeAccount(key, std::to_string(1001 + m_accounts.size())));
    m_accounts.back()->m_nType = type;
    m_desk.addAccount({m_accounts.back()});
  }

  static constexpr std::int64_t DAY_START = 1795363200;  ///< 2026-11-23 at the exchange

  static exchange::SInstrument makeInstrument(const char* market, const std::string& code, double close,
                                              double volume) {
    return {market, code, code, close, 0, volume};
  }

  static std::vector<exchange::SInstrument> makeInstruments() {
    std::vector<exchange::SInstrument> instruments;
    for (int i = 0; i < 40; ++i) {
      const double volume = i == 0 ? 2e5 : 1e7 + 1e6 * i;  // one that hardly trades
      instruments.push_back(
          makeInstrument(i % 2 ? "SZ" : "SH", std::to_string(i % 2 ? 1000 + i : 600000 + i), 5 + i, volume));
    }
    return instruments;
  }

  /// The securities, some whose buys follow other rules, one that is suspended, and index futures that are more liquid
  /// than usual.
  static std::vector<exchange::SInstrument> makeListed() {
    std::vector<exchange::SInstrument> listed = makeInstruments();
    listed.insert(listed.end(), {makeInstrument("SH", "688008", 60, 2e7),
                                 makeInstrument("BJ", "830008", 12, 5e6),
                                 makeInstrument("SH", "601999", 8, 0),
                                 {"CFFEX", "IF", "IF", 4000, 0, 1e6, exchange::EKind::IndexFuture}});
    return listed;
  }

  static exchange::SExchangeSettings exchangeSettings(std::uint64_t seed, double rejectRate) {
    return {.m_nSeed = seed, .m_nDayStart = DAY_START, .m_dRejectRate = rejectRate};
  }

  static engine::SEngineSettings engineSettings(engine::SOrderLimits limits = {}) {
    return {.m_nDayStart = DAY_START, .m_limits = limits, .m_nFirstTaskId = 101, .m_strUser = "u1", .m_strLogin = "L1"};
  }

  /// Buys and sells of every security, for the first accounts of the rig.
  engine::SBasketOrder basket(std::size_t accounts = 1) const {
    engine::SBasketOrder basket;
    basket.m_strName = "test";
    for (const exchange::SInstrument& instrument : makeInstruments()) {
      const int number = static_cast<int>(basket.m_lines.size());
      basket.m_lines.push_back(line(instrument.m_strMarket, instrument.m_strCode,
                                    number % 3 ? ksservice::EOT_Buy : ksservice::EOT_Sell, 10000 + 100 * number));
      basket.m_lines.back().m_dReference = instrument.m_dPrevClose;
    }
    basket.m_accounts.assign(m_accounts.begin(), m_accounts.begin() + static_cast<std::ptrdiff_t>(accounts));
    return basket;
  }

  static engine::SOrderLine line(const std::string& market, const std::string& code, int operation, int quantity) {
    return {.m_stock = {market, code, code}, .m_nOperation = operation, .m_nQuantity = quantity, .m_rules = {}};
  }
  /// Starts a basket of these lines, or of the rig's, for the first account; returns the key of its sub-task.
  std::string start(std::vector<engine::SOrderLine> lines, const std::optional<TC::SAlgoParams>& algo = std::nullopt) {
    engine::SBasketOrder order = basket();
    order.m_lines = std::move(lines);
    order.m_algo = algo;
    return std::to_string(engine().startBasket(order)) + "-1";
  }

  /// How many of the engine's events name a text.
  std::ptrdiff_t heard(const std::string& text) const {
    return std::count_if(m_events.begin(), m_events.end(),
                         [&](const std::string& event) { return event.find(text) != std::string::npos; });
  }

  engine::CEngine& engine() { return m_simulation.engine(); }
  void runTo(int hours, int minutes, int seconds = 0) {
    m_simulation.advanceTo(exchange::clockTime(hours, minutes) + seconds * std::int64_t{1000});
  }
  const ksservice::CTaskDetail& newest(const std::string& key) const { return *m_newest.at(key); }

  desk::CDesk m_desk;
  std::vector<ksservice::CTaskDetailPtr> m_details;  ///< all that were delivered, in order
  std::map<std::string, ksservice::CTaskDetailPtr> m_newest;
  std::vector<boost::shared_ptr<ksservice::CAccountInfo>> m_accounts;
  std::vector<std::string> m_events;
  utils::CSubscriptionHandle m_subscription;
  engine::CSimulation m_simulation;
};
