#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "CEngine.h"
#include "CExchange.h"
#include "CHedger.h"
#include "CTaskServer.h"

namespace engine {

/// An engine, its hedge manager and its server's side on a simulated exchange: one virtual clock for all. The clock
/// moves on a fixed grid of the engine's publishing time, so that what happens does not depend on how large the steps
/// are that it is asked for. All operations on one thread.
class CSimulation {
 public:
  /// The desk must outlive the simulation. startMsec: the time since midnight at which the clock stands at first.
  /// makeLine: what stands between the engine and the exchange; empty: nothing.
  using MakeLine = std::function<std::unique_ptr<exchange::IMarketLine>(exchange::CExchange&)>;
  CSimulation(desk::CDesk& desk, const std::vector<exchange::SInstrument>& instruments,
              exchange::SExchangeSettings exchangeSettings, const SEngineSettings& engineSettings,
              std::int64_t startMsec, const MakeLine& makeLine = {});

  /// Called at each whole second of the clock, after its step, with the state's hash: two runs that have the same one
  /// have had the same reports and published the same. Null ends it.
  using SecondHook = std::function<void(std::int64_t msec, std::uint64_t hash)>;
  void setSecondHook(SecondHook hook) { m_secondHook = std::move(hook); }
  std::uint64_t stateHash() const;

  /// Runs every step of the grid up to msec since midnight; a time that has passed changes nothing.
  void advanceTo(std::int64_t msec);
  /// The first step of the grid at or behind msec since midnight, run or not.
  std::int64_t stepFrom(std::int64_t msec) const;
  /// The last step that was run.
  std::int64_t now() const { return m_nNow; }

  exchange::CExchange& market() { return m_exchange; }
  CEngine& engine() { return m_engine; }
  CHedger& hedger() { return m_hedger; }
  CTaskServer& server() { return m_server; }

 private:
  exchange::CExchange m_exchange;
  std::unique_ptr<exchange::IMarketLine> m_pLine;  ///< null: none
  exchange::IMarket& m_market;                     ///< the line where there is one
  CEngine m_engine;
  CHedger m_hedger;
  CTaskServer m_server;
  std::int64_t m_nStep;
  std::int64_t m_nNow;
  SecondHook m_secondHook;
};

}  // namespace engine
