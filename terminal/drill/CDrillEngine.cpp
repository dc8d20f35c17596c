#include "CDrillEngine.h"

#include <utility>

#include "DayStart.h"
#include "SessionSetup.h"

namespace drill {

/// A day's log on a disk that may be full: then only the reserve takes something.
class CDrillEngine::CDisk : public daylog::IDayLog {
 public:
  CDisk(std::unique_ptr<daylog::IDayLog> log, bool forgets) : m_pLog(std::move(log)), m_bForgets(forgets) {}

  void setFull(bool full) { m_bFull = full; }
  bool isFull() const { return m_bFull; }

  std::string append(const std::vector<daylog::SEntry>& entries, const std::vector<daylog::SMark>& marks) override {
    if (m_bFull) return "no space left on the drill's disk";
    const bool isAct = !entries.empty() && entries.front().m_strKind != app::DAY_ENTRY;
    if (m_bForgets && isAct && std::exchange(m_bForgets, false)) return {};
    return m_pLog->append(entries, marks);
  }
  std::string appendFromReserve(const std::vector<daylog::SEntry>& entries) override {
    return m_pLog->appendFromReserve(entries);
  }
  const std::vector<daylog::SEntry>& entries() const override { return m_pLog->entries(); }
  const std::vector<daylog::SMark>& marks() const override { return m_pLog->marks(); }
  std::string follow() override { return m_pLog->follow(); }
  std::string finish(std::int64_t msec) override { return m_pLog->finish(msec); }
  std::string head() const override { return m_pLog->head(); }

 private:
  std::unique_ptr<daylog::IDayLog> m_pLog;
  bool m_bForgets;
  bool m_bFull = false;
};

CDrillEngine::CDrillEngine(const SDrillPlan& plan, const std::filesystem::path& folder, SReportCard& card,
                           desk::IDeskObserver& observer)
    : m_plan(plan), m_folder(folder), m_card(card), m_observer(observer) {
  std::filesystem::create_directories(m_folder);
  open();
  const std::string fault = m_pDisk->append({{0, plan.startMsec(), app::DAY_ENTRY, "{}"}}, {});
  if (!fault.empty()) throw std::runtime_error(fault);
  m_pDesk->addObserver(&m_observer);
}

CDrillEngine::~CDrillEngine() {
  m_pDesk->removeObserver(&m_observer);
  m_pDesk->requests().setDriver(nullptr);
}

/// Stands at the beginning of the day.
void CDrillEngine::open() {
  daylog::SOpenedDay day = daylog::openDay(file().string());
  if (!day.m_pLog) throw std::runtime_error(day.m_strFault);
  m_pDisk = std::make_unique<CDisk>(std::move(day.m_pLog), m_plan.m_ePlant == EP_ForgottenEntry && m_nLife == 0);
  m_pKeeper = std::make_unique<app::CDayKeeper>(*m_pDisk);
  m_pDesk = std::make_unique<desk::CDesk>();
  m_pSimulation = m_plan.makeSimulation(*m_pDesk, [this](exchange::CExchange& exchange) {
    auto line = std::make_unique<CFaultyLine>(exchange, m_plan, m_card);
    m_pLine = line.get();
    return line;
  });
  m_pTaker = std::make_unique<app::CActTaker>(*m_pSimulation, *m_pDesk);
  m_pTaker->setKeeper(m_pKeeper.get());
  m_pDesk->requests().setDriver(&m_driver);
}

const std::vector<daylog::SEntry>& CDrillEngine::entries() const { return m_pDisk->entries(); }

void CDrillEngine::setHedgeHooks(engine::CHedger::SHooks hooks) {
  m_hooks = std::move(hooks);
  m_pSimulation->hedger().setHooks(m_hooks);
}

void CDrillEngine::stepTo(std::int64_t msec) {
  m_pSimulation->setSecondHook([this](std::int64_t second, std::uint64_t hash) {
    m_marks.push_back({second, hash, {}});
  });
  m_pTaker->take(std::exchange(m_acts, {}), 0);
  m_pSimulation->advanceTo(msec);
  m_pDesk->setNow(app::tradingDayStart() + now() / 1000);
}

void CDrillEngine::keepMarks() {
  if (!m_pDisk->isFull()) m_pDisk->append({}, std::exchange(m_marks, {}));
}

void CDrillEngine::fillDisk(bool full) { m_pDisk->setFull(full); }
void CDrillEngine::calm() { m_pLine->calm(); }

std::string CDrillEngine::die() {
  const std::string before = file().string();
  ++m_nLife;
  // As a process that is killed leaves them: what was appended is there, and nothing is closed.
  for (const char* part : {"", "-wal", "-shm"}) {
    if (std::filesystem::exists(before + part)) std::filesystem::copy_file(before + part, file().string() + part);
  }
  m_acts.clear();
  m_marks.clear();
  m_pDesk->removeObserver(&m_observer);
  m_pDesk->requests().setDriver(nullptr);
  m_pTaker.reset();
  m_pSimulation.reset();
  m_pKeeper.reset();
  m_pDisk.reset();
  // What is run again went wrong before, and was counted.
  const SReportCard counted = m_card;
  open();
  std::string fault = app::runAgain(*m_pDisk, *m_pSimulation, *m_pDesk, {});
  m_card = counted;
  m_pSimulation->hedger().setHooks(m_hooks);
  m_pDesk->addObserver(&m_observer);
  return fault;
}

}  // namespace drill
