/// A trading day on the simulated exchange with a panel on it, without a window and stepped by hand.
#pragma once

#include <boost/make_shared.hpp>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "CDesk.h"
#include "CEngineDriver.h"
#include "CHostServices.h"
#include "CSimulation.h"
#include "tc/ITradeDockableWidget.h"

namespace test {

using Random = std::mt19937_64;

inline int below(Random& random, int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }
/// True in so many of a hundred cases.
inline bool chance(Random& random, int percent) { return below(random, 100) < percent; }

/// Spoils some of the requests on their way, so that the server refuses them or leaves part of an answer out.
class CUnreliableDriver : public app::CEngineDriver {
 public:
  CUnreliableDriver(Random& random, Post post) : CEngineDriver(std::move(post)), m_random(random) {}

  void createTask(const desk::SCreateRequest& request) override;
  void operateServerTask(const std::string& serverTaskKey, const desk::OpRecordPtr& record) override;
  void queryOrderProcess(const std::vector<std::string>& serverTaskKeys) override;

 private:
  Random& m_random;
};

/// What a seed decides before the day begins: securities, baskets, accounts, how the market and the server behave.
struct SDayPlan {
  explicit SDayPlan(std::uint64_t seed);

  Random m_random;
  std::vector<exchange::SInstrument> m_instruments;
  std::vector<boost::shared_ptr<ksservice::CAccountInfo>> m_accounts;
  std::vector<engine::SBasketOrder> m_baskets;
  exchange::SExchangeSettings m_exchange;
  engine::SEngineSettings m_engine;

 private:
  void planBasket();
};

/// The whole stack of a live terminal but its window. GUI thread.
class CSafetyMarket {
 public:
  explicit CSafetyMarket(SDayPlan& plan, desk::IDeskObserver& observer);
  CSafetyMarket(const CSafetyMarket&) = delete;
  CSafetyMarket& operator=(const CSafetyMarket&) = delete;
  ~CSafetyMarket();

  desk::CDesk& desk() { return m_desk; }
  TC::ITradeDockableWidget& panel() { return *m_pPanel; }
  std::int64_t now() const { return m_pSimulation->now(); }

  /// Carries out what the panel asked for and lets time pass, until msec since midnight.
  void advanceTo(std::int64_t msec);
  /// Has the panel refresh itself, which settle() waits for; false when no refresh is due.
  bool startRefresh();
  /// Until no job and no queued call is left.
  void settle();
  const engine::CAlgoTask* serverTask(const std::string& key) { return m_pSimulation->engine().serverTask(key); }

 private:
  void fillDesk(const SDayPlan& plan);

  desk::IDeskObserver& m_observer;
  desk::CDesk m_desk;
  desk::CHostServices m_services;
  std::deque<app::CEngineDriver::Operation> m_operations;
  CUnreliableDriver m_driver;
  std::unique_ptr<engine::CSimulation> m_pSimulation;
  std::unique_ptr<TC::ITradeDockableWidget> m_pPanel;
};

}  // namespace test
