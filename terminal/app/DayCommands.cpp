#include "DayCommands.h"

#include <iostream>

#include "AccountStart.h"
#include "CDayKeeper.h"
#include "DayStart.h"
#include "SessionSetup.h"
#include "past/PatchProofs.h"

namespace app {
namespace {

constexpr int EXIT_WRONG = 1;
constexpr int EXIT_NOT_DONE = 2;
const char* const USAGE = "day is verify FILE [--head HASH], head FILE or recover FILE OUT";

int refuse(const std::string& text) {
  std::cerr << text << std::endl;
  return EXIT_NOT_DONE;
}

/// Runs a day again from its entries alone. Empty, or how it differs, or why it cannot be run.
std::string runFromEntries(const daylog::IDayLog& log) {
  SOptions options;
  options.m_bHeadless = true;
  if (std::string fault = takeStart(log, {}, options); !fault.empty()) return fault;
  const SInputs inputs = readInputs(options, tradingDayStart());
  if (!inputs.m_faults.empty()) return inputs.m_faults.front();
  desk::CDesk desk;
  desk.setSession(makeSession(options));
  addAccounts(desk, options);
  engine::CSimulation simulation(desk, inputs.m_instruments, makeExchangeSettings(options),
                                 makeEngineSettings(options, inputs), options.m_nStartMinute * std::int64_t{60000});
  addInstruments(desk, simulation);
  openAccounts(options, inputs, simulation);
  CDayOutputs outputs(desk, [&simulation] { return simulation.now(); });
  desk.addObserver(&outputs);
  simulation.hedger().setHooks({[&outputs](int task, int lots) { outputs.addHedgeVolume(task, lots); },
                                [&outputs](int task, int status) { outputs.addHedgeStatus(task, status); }});
  simulation.engine().setEventHook([&outputs](const engine::SEngineEvent& event) {
    outputs.addMessage(event.m_nMsec, event.m_bWarning, event.m_strText);
  });
  SAgain again;
  again.m_pOutputs = &outputs;
  std::string fault = runAgain(log, simulation, desk, again);
  desk.removeObserver(&outputs);
  return fault;
}

SProofs proofsOf(const daylog::IDayLog& log) {
  try {
    CPastDay day;
    day.read(log, log.marks().size());
    return checkProofs(log.entries(), day);
  } catch (const std::exception& fault) {
    return {0, {fault.what()}};
  }
}

int verify(const std::string& file, const std::string& head) {
  const std::vector<std::string> findings = daylog::verifyDay(file, head);
  for (const std::string& finding : findings) std::cout << file << ": " << finding << "\n";
  if (!findings.empty()) return EXIT_WRONG;
  const daylog::SOpenedDay day = daylog::readDay(file);
  if (!day.m_pLog) return refuse(day.m_strFault);
  std::cout << file << ": " << day.m_pLog->entries().size() << " entries, " << day.m_pLog->marks().size()
            << " marks, each as it was kept\n";
  if (head.empty()) std::cout << file << ": without --head its end is not proved\n";
  if (day.m_pLog->entries().empty()) return 0;
  const SProofs proofs = proofsOf(*day.m_pLog);
  for (const std::string& wrong : proofs.m_faults) std::cout << file << ": " << wrong << "\n";
  if (!proofs.m_faults.empty()) return EXIT_WRONG;
  if (proofs.m_nProofs > 0) std::cout << file << ": " << proofs.m_nProofs << " confirmed patches, each proved\n";
  const std::string fault = runFromEntries(*day.m_pLog);
  std::cout << file << ": " << (fault.empty() ? "run again it is the same day" : fault) << "\n";
  return fault.empty() ? 0 : EXIT_WRONG;
}

int tellHead(const std::string& file) {
  const daylog::SOpenedDay day = daylog::readDay(file);
  if (!day.m_pLog) return refuse(day.m_strFault);
  std::cout << day.m_pLog->head() << "\n";
  return 0;
}

int recover(const std::string& file, const std::string& out) {
  const daylog::SRecovered recovered = daylog::recoverDay(file, out);
  if (!recovered.m_strFault.empty()) return refuse(recovered.m_strFault);
  for (const std::string& lost : recovered.m_lost) std::cout << file << ": " << lost << "\n";
  std::cout << out << ": " << recovered.m_nEntries << " entries, " << recovered.m_nMarks << " marks\n";
  return recovered.m_lost.empty() ? 0 : EXIT_WRONG;
}

}  // namespace

bool isDayCommand(const QStringList& words) {
  return words.isEmpty() || QStringList({"verify", "head", "recover"}).contains(words.first());
}

int runDayCommand(const QStringList& words) {
  const auto word = [&words](int place) { return words.value(place).toStdString(); };
  if (words.size() == 2 && word(0) == "verify") return verify(word(1), {});
  if (words.size() == 4 && word(0) == "verify" && word(2) == "--head") return verify(word(1), word(3));
  if (words.size() == 2 && word(0) == "head") return tellHead(word(1));
  if (words.size() == 3 && word(0) == "recover") return recover(word(1), word(2));
  return refuse(USAGE);
}

}  // namespace app
