#include "DayCommands.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <iostream>
#include <map>
#include <optional>

#include "CDayRun.h"
#include "DayFork.h"
#include "DayMatch.h"
#include "DayStart.h"
#include "Instrument.h"
#include "SessionSetup.h"
#include "ksservice/Operations.h"
#include "past/DayTrail.h"
#include "past/PatchProofs.h"
#include "tc/AlgoParams.h"

namespace app {
namespace {

constexpr int EXIT_WRONG = 1;
constexpr int EXIT_NOT_DONE = 2;
const char* const USAGE =
    "day is verify FILE [--head HASH], head FILE, recover FILE OUT, match FILE BROKER [MARKET] or fork FILE --at "
    "HH:MM:SS --with CHANGE";

int refuse(const std::string& text) {
  std::cerr << text << std::endl;
  return EXIT_NOT_DONE;
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
  // From its entries alone.
  CDayRun run(*day.m_pLog);
  if (!run.fault().empty()) {
    std::cout << file << ": cannot be run again here, so that its outputs are not proved: " << run.fault() << "\n";
    return EXIT_NOT_DONE;
  }
  const std::string fault = run.runAgain();
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

/// What the day traded, order by order.
std::vector<SMatchOrder> tradedOrders(const daylog::IDayLog& log, std::string& fault) {
  SOptions options;
  options.m_bHeadless = true;
  // Of the day's files nothing is wanted but what the accounts are called.
  std::string otherFiles;
  if (fault = takeStart(log, {}, options, &otherFiles); !fault.empty()) return {};
  std::map<std::string, std::string> displayIds;
  for (const SAccountName& name : accountNames(options)) displayIds[name.m_strKey] = name.m_strDisplayId;
  CPastDay day;
  try {
    day.read(log, log.marks().size());
  } catch (const std::exception& error) {
    fault = error.what();
    return {};
  }
  std::vector<SMatchOrder> orders;
  std::map<std::string, std::vector<std::size_t>> places;
  for (const SPastTask& task : day.tasks()) {
    std::vector<std::size_t>& of = places[task.m_facts.getKey()];
    for (const SPastOrder& sent : task.m_sent) {
      of.push_back(orders.size());
      SMatchOrder& order = orders.emplace_back();
      order.m_strKey = sent.m_strKey;
      order.m_strMarket = sent.m_strMarket;
      order.m_strCode = sent.m_strCode;
      order.m_bBuy = ksservice::DataHelper::isBuy(sent.m_nOperation);
      order.m_strAccount = accountIn(task, sent);
      order.m_strDisplayId = displayIds[order.m_strAccount];
      if (sent.m_strMarket == exchange::FUTURES_MARKET)
        order.m_dMultiplier = exchange::futureMultiplier(sent.m_strCode);
    }
    for (const desk::SOrderFill& fill : task.m_fills) {
      orders.at(of.at(fill.m_nOrder)).m_fills.push_back({fill.m_nQuantity, fill.m_dAmount});
    }
  }
  return orders;
}

int match(const std::string& file, const std::vector<std::string>& others) {
  const daylog::SOpenedDay day = daylog::readDay(file);
  if (!day.m_pLog) return refuse(day.m_strFault);
  std::string fault;
  const std::vector<SMatchOrder> orders = tradedOrders(*day.m_pLog, fault);
  if (!fault.empty()) return refuse(file + ": " + fault);
  bool same = true;
  for (const std::string& other : others) {
    const SBrokerFile there = readBrokerFile(other);
    if (!there.m_strFault.empty()) return refuse(there.m_strFault);
    std::cout << file << " and " << other << "\n";
    same = matchDay(orders, there, std::cout) && same;
  }
  return same ? 0 : EXIT_WRONG;
}

/// "HH:MM:SS" as milliseconds since midnight; none for any other text.
std::optional<std::int64_t> timeOf(const QString& text) {
  const int second = TC::parseSecondOfDay(text.toStdString());
  if (second < 0) return std::nullopt;
  return second * std::int64_t{1000};
}

int forkWith(const QStringList& words) {
  SFork fork;
  fork.m_strFile = words.value(0).toStdString();
  bool show = false;
  bool moment = false;
  for (int i = 1; i < words.size(); ++i) {
    const QString& word = words.at(i);
    if (word == QLatin1String("--show")) {
      show = true;
      continue;
    }
    const QString value = words.value(++i);
    bool good = !value.isEmpty();
    if (word == QLatin1String("--at")) {
      const auto at = timeOf(value);
      good = moment = at.has_value();
      fork.m_nAt = at.value_or(0);
    } else if (word == QLatin1String("--task")) {
      fork.m_nTask = value.toInt(&good);
    } else if (word == QLatin1String("--with")) {
      fork.m_strWith = value.toStdString();
    } else if (word == QLatin1String("--out")) {
      fork.m_strOut = value.toStdString();
    } else {
      good = false;
    }
    if (!good) return refuse("day fork: wrong argument '" + word.toStdString() + " " + value.toStdString() + "'");
  }
  if (!moment || fork.m_strWith.empty()) return refuse("day fork needs --at HH:MM:SS and --with CHANGE");
  if (show && fork.m_strOut.empty()) {
    fork.m_strOut =
        QDir::temp().filePath(QStringLiteral("imagined-%1.db").arg(QCoreApplication::applicationPid())).toStdString();
  }
  if (const std::string fault = forkDay(fork, std::cout); !fault.empty()) return refuse(fault);
  std::cout.flush();
  if (show) {
    const QString program = QCoreApplication::applicationFilePath();
    if (!QProcess::startDetached(program, {DAY_WORD, QString::fromStdString(fork.m_strOut)}))
      return refuse("cannot show it");
  }
  return 0;
}

bool wants(const QStringList& words, const char* command, int count) {
  return words.size() == count && words.first() == QLatin1String(command);
}

}  // namespace

bool isDayCommand(const QStringList& words) {
  return words.isEmpty() || QStringList({"verify", "head", "recover", "fork", "match"}).contains(words.first());
}

int runDayCommand(const QStringList& words) {
  const auto word = [&words](int place) { return words.value(place).toStdString(); };
  if (wants(words, "verify", 2)) return verify(word(1), {});
  if (wants(words, "verify", 4) && word(2) == "--head") return verify(word(1), word(3));
  if (wants(words, "head", 2)) return tellHead(word(1));
  if (wants(words, "recover", 3)) return recover(word(1), word(2));
  if (wants(words, "match", 3)) return match(word(1), {word(2)});
  if (wants(words, "match", 4)) return match(word(1), {word(2), word(3)});
  if (words.value(0) == QLatin1String("fork")) return forkWith(words.mid(1));
  return refuse(USAGE);
}

}  // namespace app
