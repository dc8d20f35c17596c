#include "CSimulation.h"

namespace engine {

CSimulation::CSimulation(desk::CDesk& desk, const std::vector<exchange::SInstrument>& instruments,
                         exchange::SExchangeSettings exchangeSettings, const SEngineSettings& engineSettings,
                         std::int64_t startMsec, const MakeLine& makeLine)
    : m_exchange(instruments, exchangeSettings),
      m_pLine(makeLine ? makeLine(m_exchange) : nullptr),
      m_market(m_pLine ? static_cast<exchange::IMarket&>(*m_pLine) : m_exchange),
      m_engine(desk, m_market, engineSettings),
      m_hedger(desk, m_market, m_engine),
      m_server(desk, m_engine, engineSettings.m_nReplyMsec),
      m_nStep(engineSettings.m_nPublishMsec),
      m_nNow(startMsec) {
  m_exchange.advanceTo(m_nNow);
  m_engine.advanceTo(m_nNow);
}

void CSimulation::advanceTo(std::int64_t msec) {
  while (m_nNow + m_nStep <= msec) {
    m_nNow += m_nStep;
    m_exchange.advanceTo(m_nNow);
    if (m_pLine) m_pLine->advanceTo(m_nNow);
    m_engine.advanceTo(m_nNow);
    m_server.advanceTo(m_nNow);
    if (m_secondHook && m_nNow % 1000 == 0) m_secondHook(m_nNow, stateHash());
  }
}

std::int64_t CSimulation::stepFrom(std::int64_t msec) const {
  // Also of what lies before now.
  const std::int64_t into = (msec - m_nNow) % m_nStep;
  if (into == 0) return msec;
  return msec - into + (into > 0 ? m_nStep : 0);
}

std::uint64_t CSimulation::stateHash() const {
  CStateHash hash;
  hash.add(static_cast<std::uint64_t>(m_nNow));
  m_engine.addTo(hash);
  return hash.value();
}

}  // namespace engine
