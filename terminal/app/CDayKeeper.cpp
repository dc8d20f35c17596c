#include "CDayKeeper.h"

#include <algorithm>

#include "ActJson.h"
#include "CSimulation.h"
#include "DayStart.h"
#include "SessionSetup.h"

namespace app {
namespace {

constexpr std::chrono::seconds MARKS_FOLLOW{1};
constexpr std::int64_t PROGRESS_MSEC = 60000;

/// Holds the marks of a log against the state as it is formed again.
class CMarkCheck {
 public:
  explicit CMarkCheck(const std::vector<daylog::SMark>& marks)
      : m_marks(marks), m_bOutputs(std::any_of(marks.begin(), marks.end(), [](const daylog::SMark& mark) {
          return !mark.m_strOutputs.empty();
        })) {}

  /// False for one behind the last mark.
  bool check(const daylog::SMark& now) {
    while (m_nNext < m_marks.size() && m_marks[m_nNext].m_nMsec < now.m_nMsec) ++m_nNext;
    if (m_nNext == m_marks.size()) return false;
    const daylog::SMark& kept = m_marks[m_nNext];
    if (kept.m_nMsec != now.m_nMsec || !m_strFault.empty()) return true;
    if (kept.m_nHash != now.m_nHash) {
      m_strFault = "at " + momentText(now.m_nMsec) +
                   " the state differs from the one that was kept: perhaps another build made the day";
    } else if (m_bOutputs && kept.m_strOutputs != now.m_strOutputs) {
      m_strFault = "at " + momentText(now.m_nMsec) + " orders, fills or messages differ from those that were kept";
    }
    return true;
  }

  std::int64_t end() const { return m_marks.empty() ? -1 : m_marks.back().m_nMsec; }
  /// Empty while all are the same.
  const std::string& fault() const { return m_strFault; }

 private:
  const std::vector<daylog::SMark>& m_marks;
  bool m_bOutputs;
  std::size_t m_nNext = 0;
  std::string m_strFault;
};

}  // namespace

std::string CDayKeeper::keep(std::int64_t msec, const std::vector<engine::Act>& acts, int actsLine) {
  std::vector<daylog::SEntry> entries;
  entries.reserve(acts.size());
  for (const engine::Act& act : acts) {
    SActText text = toText(act, actsLine);
    entries.push_back({0, msec, std::move(text.m_strKind), std::move(text.m_strBody)});
  }
  std::string fault = append(entries);
  if (fault.empty() || !std::all_of(acts.begin(), acts.end(), engine::onlyEnds)) return fault;
  return m_log.appendFromReserve(entries);
}

/// With the marks that are held back.
std::string CDayKeeper::append(const std::vector<daylog::SEntry>& entries) {
  std::string fault = m_log.append(entries, m_marks);
  if (fault.empty()) m_marks.clear();
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_strFault = fault;
  return fault;
}

std::string CDayKeeper::fault() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_strFault;
}

void CDayKeeper::mark(daylog::SMark mark) {
  m_marks.push_back(std::move(mark));
  if (std::chrono::steady_clock::now() - m_flushed >= MARKS_FOLLOW) flush();
}

std::string CDayKeeper::flush() {
  m_flushed = std::chrono::steady_clock::now();
  return m_marks.empty() ? std::string() : append({});
}

std::string runAgain(const daylog::IDayLog& log, engine::CSimulation& simulation, desk::CDesk& desk,
                     const SAgain& again) {
  CMarkCheck check(log.marks());
  simulation.setSecondHook([&](std::int64_t msec, std::uint64_t hash) {
    desk.setNow(tradingDayStart() + msec / 1000);
    daylog::SMark mark{msec, hash, again.m_pOutputs ? again.m_pOutputs->take(msec) : std::string()};
    if (again.m_onSecond) again.m_onSecond(mark);
    if (!check.check(mark)) again.m_onNew(std::move(mark));
  });
  simulation.server().setAnswering(false);
  std::string fault;
  const auto runTo = [&](std::int64_t msec) {
    while (fault.empty() && simulation.now() < msec) {
      const std::int64_t before = simulation.now();
      simulation.advanceTo(std::min(msec, before + PROGRESS_MSEC));
      fault = check.fault();
      // Nobody kept it so; the clock would never come to it.
      if (fault.empty() && simulation.now() == before) fault = std::to_string(msec) + " ms is no step of the clock";
      if (fault.empty() && !again.m_progress(simulation.now())) fault = "given up";
    }
  };
  for (const daylog::SEntry& entry : log.entries()) {
    if (entry.m_strKind == DAY_ENTRY) continue;
    runTo(entry.m_nMsec);
    if (!fault.empty() || entry.m_strKind == daylog::END_ENTRY) break;
    const auto act = toAct({entry.m_strKind, entry.m_strBody}, desk, fault);
    if (!act) {
      fault.insert(0, "entry " + std::to_string(entry.m_nNumber) + ": ");
      break;
    }
    engine::carryOut(*act, simulation);
    engine::noteHedge(*act, desk);
  }
  runTo(check.end());
  simulation.server().setAnswering(true);
  simulation.setSecondHook({});
  return fault;
}

}  // namespace app
