#include "DayFork.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "ActJson.h"
#include "CDayRun.h"
#include "DayStart.h"
#include "ForkActs.h"
#include "JsonText.h"
#include "Sessions.h"
#include "tc/AlgoParams.h"

namespace app {
namespace {

constexpr std::int64_t SECOND_MSEC = 1000;
constexpr double BASIS_POINTS = 10000;

/// What a day came to for a basket.
struct SEnd {
  std::int64_t m_nTarget = 0;
  std::int64_t m_nFilled = 0;
  double m_dAmount = 0;
  double m_dTradedTarget = 0;
  double m_dCost = 0;
  double m_dFees = 0;
  double m_dMeanDrift = 0;
  double m_dMaxDrift = 0;
  std::size_t m_nOrders = 0;
};

SEnd endOf(const STaskCourse& course) {
  SEnd end;
  for (const SCourseLine& line : course.m_lines) {
    end.m_nTarget += line.m_nTarget;
    end.m_nFilled += line.m_nTraded;
    end.m_dAmount += line.m_dAmount;
  }
  end.m_dTradedTarget = course.m_dTradedTarget;
  end.m_dCost = course.m_dCost;
  end.m_dFees = course.m_dFees;
  for (const SCourseSample& sample : course.m_samples) {
    const double drift = std::abs(static_cast<double>(sample.m_fHedgeTarget) - static_cast<double>(sample.m_fHedged));
    end.m_dMeanDrift += drift / static_cast<double>(course.m_samples.size());
    end.m_dMaxDrift = std::max(end.m_dMaxDrift, drift);
  }
  return end;
}

/// Counts the orders of each basket as they are told.
class COrderCount : public desk::IDeskObserver {
 public:
  void onTask(const desk::SPublication& publication) override {
    const ksservice::CTaskDetail& detail = *publication.m_pDetail;
    if (!detail.m_pCommand) return;
    m_tasks[detail.m_pCommand->m_nTaskId][detail.getKey()] =
        (detail.m_bServerTask ? publication.m_serverOrders : detail.m_orders).size();
  }
  std::size_t of(int task) const {
    std::size_t sum = 0;
    const auto found = m_tasks.find(task);
    if (found == m_tasks.end()) return 0;
    for (const auto& [key, count] : found->second) sum += count;
    return sum;
  }
  std::vector<int> tasks() const {
    std::vector<int> tasks;
    for (const auto& [task, details] : m_tasks) tasks.push_back(task);
    return tasks;
  }

 private:
  std::map<int, std::map<std::string, std::size_t>> m_tasks;
};

std::map<int, SEnd> endsOf(const CDayRun& run, const COrderCount& count) {
  std::map<int, SEnd> ends;
  for (const int task : count.tasks()) {
    const auto course = run.blotter().course(task);
    if (!course || course->m_lines.empty()) continue;
    ends[task] = endOf(*course);
    ends[task].m_nOrders = count.of(task);
  }
  return ends;
}

std::string number(double value, int digits) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(digits) << value;
  return text.str();
}

/// One line of the table for each; another figure is another line.
struct SFigure {
  const char* m_pName;
  double (*m_value)(const SEnd& end);
  int m_nDigits;
};
const SFigure FIGURES[] = {
    {"filled, shares", [](const SEnd& end) { return static_cast<double>(end.m_nFilled); }, 0},
    {"filled, % of target",
     [](const SEnd& end) {
       return end.m_nTarget > 0 ? 100.0 * static_cast<double>(end.m_nFilled) / static_cast<double>(end.m_nTarget) : 0;
     },
     2},
    {"amount, CNY", [](const SEnd& end) { return end.m_dAmount; }, 2},
    {"average price, CNY",
     [](const SEnd& end) { return end.m_nFilled > 0 ? end.m_dAmount / static_cast<double>(end.m_nFilled) : 0; }, 4},
    {"slippage, bp",
     [](const SEnd& end) { return end.m_dTradedTarget > 0 ? end.m_dCost / end.m_dTradedTarget * BASIS_POINTS : 0; }, 2},
    {"fees, CNY", [](const SEnd& end) { return end.m_dFees; }, 2},
    {"hedge drift, lots on average", [](const SEnd& end) { return end.m_dMeanDrift; }, 2},
    {"hedge drift, most lots", [](const SEnd& end) { return end.m_dMaxDrift; }, 0},
    {"orders sent", [](const SEnd& end) { return static_cast<double>(end.m_nOrders); }, 0}};

void tell(std::ostream& out, const std::string& title, const SEnd& was, const SEnd& imagined) {
  out << title << "\n";
  out << std::left << std::setw(32) << "" << std::right << std::setw(20) << "as it was" << std::setw(20) << "imagined"
      << std::setw(20) << "difference"
      << "\n";
  for (const SFigure& figure : FIGURES) {
    const double before = figure.m_value(was);
    const double after = figure.m_value(imagined);
    out << std::left << std::setw(32) << (std::string("  ") + figure.m_pName) << std::right << std::setw(20)
        << number(before, figure.m_nDigits) << std::setw(20) << number(after, figure.m_nDigits) << std::setw(20)
        << number(after - before, figure.m_nDigits) << "\n";
  }
}

/// A day that nobody has lived.
class CImagined {
 public:
  CImagined(const SFork& fork, const daylog::IDayLog& log) : m_fork(fork), m_log(log), m_run(log) {
    m_run.desk().addObserver(&m_count);
    m_run.setOnMark([this](daylog::SMark mark) { m_marks.push_back(std::move(mark)); });
  }
  ~CImagined() { m_run.desk().removeObserver(&m_count); }

  /// Empty, or why it cannot be imagined.
  std::string live(std::int64_t end) {
    std::string fault = m_run.fault();
    if (fault.empty()) fault = m_run.runAgain(m_fork.m_nAt);
    if (fault.empty()) fault = checkTask();
    if (!fault.empty()) return fault;
    SForkActs acts = forkActs(m_fork.m_strWith, tasks(), m_run, fault);
    if (!fault.empty()) return fault;
    carryOut(acts.m_now);
    std::vector<SHedgeStart> hedges = hedgeStarts(forked());
    while (m_run.now() < end && !(acts.m_later.empty() && hedges.empty())) {
      const std::int64_t second = m_run.now() / SECOND_MSEC * SECOND_MSEC + SECOND_MSEC;
      m_run.runOn(std::min({end, second, hedges.empty() ? end : hedges.front().m_nMsec}));
      std::erase_if(hedges, [this](const SHedgeStart& start) {
        if (start.m_nMsec > m_run.now()) return false;
        carryOut({start.m_act});
        return true;
      });
      std::erase_if(acts.m_later, [this](const SForkActs::SLater& later) {
        if (m_run.simulation().engine().isTrading(later.m_nTask)) return false;
        carryOut(later.m_acts());
        return true;
      });
    }
    m_run.runOn(end);
    return {};
  }

  std::map<int, SEnd> ends() const { return endsOf(m_run, m_count); }

  std::string keep() const {
    if (std::filesystem::exists(m_fork.m_strOut)) return m_fork.m_strOut + ": is there already";
    const daylog::SOpenedDay day = daylog::openDay(m_fork.m_strOut);
    if (!day.m_pLog) return day.m_strFault;
    std::vector<daylog::SEntry> entries;
    for (const daylog::SEntry& entry : m_log.entries()) {
      if (entry.m_nMsec <= m_fork.m_nAt) entries.push_back(entry);
    }
    nlohmann::ordered_json first = journal::parseJson(entries.front().m_strBody);
    first[IMAGINED] = {{"of", std::filesystem::absolute(m_fork.m_strFile).string()},
                       {"head", m_log.head()},
                       {"at", momentText(m_fork.m_nAt)},
                       {"with", m_fork.m_strWith}};
    entries.front().m_strBody = first.dump();
    entries.insert(entries.end(), m_acts.begin(), m_acts.end());
    std::string fault = day.m_pLog->append(entries, m_marks);
    return fault.empty() ? day.m_pLog->finish(m_run.now()) : fault;
  }

 private:
  std::string checkTask() {
    const std::vector<int> known = m_count.tasks();
    if (m_fork.m_nTask && std::find(known.begin(), known.end(), *m_fork.m_nTask) == known.end()) {
      return "there is no task " + std::to_string(*m_fork.m_nTask) + " at " + momentText(m_fork.m_nAt);
    }
    return tasks().empty() ? "no basket trades at " + momentText(m_fork.m_nAt) : std::string();
  }

  struct SHedgeStart {
    std::int64_t m_nMsec = 0;
    engine::Act m_act;
  };

  /// The tasks whose hedges are another thing from the moment on.
  std::vector<int> forked() {
    const bool hedges =
        m_fork.m_strWith == "pause" || m_fork.m_strWith == "cancel" || m_fork.m_strWith.rfind("hedge", 0) == 0;
    return hedges ? tasks() : std::vector<int>();
  }

  /// A panel starts hedges by itself, once each: of the other tasks they start when they did, by what was given until
  /// then. What its user did to them afterwards is not done.
  std::vector<SHedgeStart> hedgeStarts(const std::vector<int>& forked) {
    std::vector<SHedgeStart> starts;
    std::set<int> started;
    for (const daylog::SEntry& entry : m_log.entries()) {
      if (entry.m_strKind != "setHedge" && entry.m_strKind != "hedge") continue;
      std::string fault;
      const auto act = toAct({entry.m_strKind, entry.m_strBody}, m_run.desk(), fault);
      if (!act) continue;
      const auto* given = std::get_if<engine::SSetHedge>(&*act);
      const auto* steered = std::get_if<engine::SSteerHedge>(&*act);
      if (steered && steered->m_eAct != engine::EHedgeAct::Start) continue;
      const int task = given ? given->m_nGroupId : steered->m_nGroupId;
      if (started.contains(task)) continue;
      if (steered) started.insert(task);
      if (entry.m_nMsec <= m_fork.m_nAt || std::count(forked.begin(), forked.end(), task) > 0) continue;
      starts.push_back({entry.m_nMsec, *act});
    }
    return starts;
  }

  std::vector<int> tasks() {
    std::vector<int> tasks;
    for (const int task : m_count.tasks()) {
      if (m_fork.m_nTask.value_or(task) != task || !m_run.simulation().engine().isTrading(task)) continue;
      tasks.push_back(task);
    }
    return tasks;
  }

  void carryOut(const std::vector<engine::Act>& acts) {
    for (const engine::Act& act : acts) {
      const SActText text = toText(act);
      m_acts.push_back({0, m_run.simulation().now(), text.m_strKind, text.m_strBody});
      m_run.simulation().server().setAnswering(false);
      engine::carryOut(act, m_run.simulation());
      engine::noteHedge(act, m_run.desk());
    }
  }

  const SFork& m_fork;
  const daylog::IDayLog& m_log;
  CDayRun m_run;
  COrderCount m_count;
  std::vector<daylog::SMark> m_marks;
  std::vector<daylog::SEntry> m_acts;
};

}  // namespace

std::string forkDay(const SFork& fork, std::ostream& out) {
  const daylog::SOpenedDay day = daylog::readDay(fork.m_strFile);
  if (!day.m_pLog) return day.m_strFault;
  const daylog::IDayLog& log = *day.m_pLog;
  const std::int64_t last =
      std::max(log.entries().back().m_nMsec, log.marks().empty() ? 0 : log.marks().back().m_nMsec);
  if (fork.m_nAt < log.entries().front().m_nMsec || fork.m_nAt > last) {
    return fork.m_strFile + ": the day goes from " + momentText(log.entries().front().m_nMsec) + " to " +
           momentText(last);
  }
  const std::int64_t end = std::max(last, DAY_ENDS);
  CDayRun run(log);
  COrderCount count;
  if (!run.fault().empty()) return fork.m_strFile + ": " + run.fault();
  run.desk().addObserver(&count);
  std::string fault = run.runAgain();
  run.runOn(end);
  run.desk().removeObserver(&count);
  if (!fault.empty()) return fork.m_strFile + ": " + fault;
  CImagined imagined(fork, log);
  if (fault = imagined.live(end); !fault.empty()) return fork.m_strFile + ": " + fault;

  out << fork.m_strFile << ", from " << momentText(fork.m_nAt) << " on with " << fork.m_strWith << "\n";
  if (!log.isFinished())
    out << "the day is not over: as it was goes on without further acts from " << momentText(last) << "\n";
  const std::map<int, SEnd> was = endsOf(run, count);
  const std::map<int, SEnd> then = imagined.ends();
  for (const auto& [task, ended] : was) {
    // A task that came later was never imagined.
    const auto other = then.find(task);
    tell(out, "task " + std::to_string(task), ended, other == then.end() ? SEnd() : other->second);
  }
  return fork.m_strOut.empty() ? std::string() : imagined.keep();
}

}  // namespace app
