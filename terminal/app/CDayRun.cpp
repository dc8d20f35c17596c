#include "CDayRun.h"

#include <algorithm>
#include <utility>

#include "AccountStart.h"
#include "DayStart.h"
#include "SessionSetup.h"

namespace app {
namespace {

/// What a log holds up to a moment.
class CLogUntil : public daylog::IDayLog {
 public:
  CLogUntil(const daylog::IDayLog& log, std::int64_t until) {
    for (const daylog::SEntry& entry : log.entries()) {
      if (entry.m_nMsec <= until) m_entries.push_back(entry);
    }
    for (const daylog::SMark& mark : log.marks()) {
      if (mark.m_nMsec <= until) m_marks.push_back(mark);
    }
  }
  std::string append(const std::vector<daylog::SEntry>&, const std::vector<daylog::SMark>&) override {
    return "is a part of a day";
  }
  std::string appendFromReserve(const std::vector<daylog::SEntry>&) override { return "is a part of a day"; }
  const std::vector<daylog::SEntry>& entries() const override { return m_entries; }
  const std::vector<daylog::SMark>& marks() const override { return m_marks; }
  std::string follow() override { return {}; }
  std::string finish(std::int64_t) override { return "is a part of a day"; }
  std::string head() const override { return {}; }

 private:
  std::vector<daylog::SEntry> m_entries;
  std::vector<daylog::SMark> m_marks;
};

}  // namespace

CDayRun::CDayRun(const daylog::IDayLog& log) : m_log(log) {
  m_options.m_bHeadless = true;
  if (m_strFault = takeStart(log, {}, m_options); !m_strFault.empty()) return;
  const SInputs inputs = readInputs(m_options, tradingDayStart());
  if (!inputs.m_faults.empty()) {
    m_strFault = inputs.m_faults.front();
    return;
  }
  m_desk.setSession(makeSession(m_options));
  addAccounts(m_desk, m_options);
  m_pSimulation = std::make_unique<engine::CSimulation>(m_desk, inputs.m_instruments, makeExchangeSettings(m_options),
                                                        makeEngineSettings(m_options, inputs),
                                                        m_options.m_nStartMinute * std::int64_t{60000});
  addInstruments(m_desk, *m_pSimulation);
  openAccounts(m_options, inputs, *m_pSimulation);
  m_pOutputs = std::make_unique<CDayOutputs>(m_desk, m_pSimulation);
  m_pBlotter = std::make_unique<CBlotter>(m_desk, CBlotter::MarketQuote(), inputs.m_fees);
  m_desk.addObserver(m_pOutputs.get());
  m_desk.addObserver(m_pBlotter.get());
  m_pSimulation->hedger().setHooks({[this](int task, int lots) {
                                      m_pOutputs->addHedgeVolume(task, lots);
                                      m_pBlotter->onHedgeVolume(task, lots);
                                    },
                                    [this](int task, int status) { m_pOutputs->addHedgeStatus(task, status); }});
  m_pSimulation->engine().setEventHook([this](const engine::SEngineEvent& event) {
    m_pOutputs->addMessage(event.m_nMsec, event.m_bWarning, event.m_strText);
  });
}

CDayRun::~CDayRun() {
  if (!m_pSimulation) return;
  m_desk.removeObserver(m_pBlotter.get());
  m_desk.removeObserver(m_pOutputs.get());
}

std::string CDayRun::runAgain(std::int64_t until) {
  SAgain again;
  again.m_pOutputs = m_pOutputs.get();
  again.m_onSecond = m_onMark;
  if (until < 0) return app::runAgain(m_log, *m_pSimulation, m_desk, again);
  const CLogUntil part(m_log, until);
  std::string fault = app::runAgain(part, *m_pSimulation, m_desk, again);
  if (fault.empty()) runOn(until);
  return fault;
}

void CDayRun::runOn(std::int64_t until) {
  m_pSimulation->setSecondHook([this](std::int64_t msec, std::uint64_t hash) {
    m_desk.setNow(tradingDayStart() + msec / 1000);
    m_onMark({msec, hash, m_pOutputs->take(msec)});
  });
  m_pSimulation->server().setAnswering(false);
  m_pSimulation->advanceTo(until);
  m_pSimulation->server().setAnswering(true);
  m_pSimulation->setSecondHook({});
}

}  // namespace app
