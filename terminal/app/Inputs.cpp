#include "Inputs.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <set>
#include <utility>

#include "CAlgoSchedule.h"
#include "SessionSetup.h"
#include "utils/Keys.h"

namespace app {
namespace {

/// A file of the project's own data: beside an installed program, else in the source tree.
std::string dataFile(const char* name) {
  const QDir installed(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/panel-basket-tasks"));
  const QDir folder = installed.exists() ? installed : QDir(QStringLiteral(PBT_DATA_DIR));
  return folder.filePath(QString::fromLatin1(name)).toStdString();
}

void addFaults(const std::vector<basket::SFault>& faults, SInputs& inputs) {
  for (const basket::SFault& fault : faults) inputs.m_faults.push_back(fault.toString());
}

/// An entry of a file that only carries the reference price of a kind of futures.
bool isKind(const exchange::SInstrument& instrument) {
  return instrument.m_kind == exchange::EKind::IndexFuture && instrument.m_strCode.size() == 2;
}

basket::CSecurities securitiesOf(const std::vector<exchange::SInstrument>& instruments, std::int64_t dayStart) {
  std::vector<basket::SSecurity> securities;
  const auto futures = exchange::listedIndexFutures(exchange::dateOf(dayStart), instruments);
  for (const auto* list : {&instruments, &futures}) {
    for (const exchange::SInstrument& instrument : *list) {
      if (isKind(instrument)) continue;
      securities.push_back({instrument.m_strMarket, instrument.m_strCode, instrument.m_strName});
    }
  }
  return basket::CSecurities(std::move(securities));
}

/// The futures that baskets can be hedged by: those of the file, but for entries that only carry a kind's reference
/// price, and those that are always listed.
std::set<std::string> listedFutures(const std::vector<exchange::SInstrument>& instruments, std::int64_t dayStart) {
  std::set<std::string> codes;
  const auto always = exchange::listedIndexFutures(exchange::dateOf(dayStart), instruments);
  for (const auto* list : {&instruments, &always}) {
    for (const exchange::SInstrument& instrument : *list) {
      const bool future = instrument.m_kind == exchange::EKind::IndexFuture;
      if (future && !isKind(instrument)) codes.insert(instrument.m_strCode);
    }
  }
  return codes;
}

void checkHedge(const SOptions& options, std::int64_t dayStart, SInputs& inputs) {
  if (!options.m_hedge) {
    if (options.m_nHedgeOrders) inputs.m_faults.emplace_back("option --hedge-orders goes only with --hedge");
    return;
  }
  const std::set<std::string> codes = listedFutures(inputs.m_instruments, dayStart);
  if (codes.contains(options.m_hedge->m_strCode)) return;
  std::string known;
  for (const std::string& code : codes) known += (known.empty() ? "" : ", ") + code;
  inputs.m_faults.push_back("option --hedge: '" + options.m_hedge->m_strCode + "' is not listed; listed are " + known);
}

void checkAlgo(const SOptions& options, SInputs& inputs) {
  const auto algo = makeAlgo(options);
  if (!algo || engine::CAlgoSchedule::fault(*algo, options.m_nStartMinute * std::int64_t{60000}).empty()) return;
  inputs.m_faults.push_back("option --algo: no trading time is left after --start, it ends at " +
                            TC::formatSecondOfDay(algo->m_nEnd));
}

/// instruments: the file that lists them.
void readBasket(const std::string& file, const std::string& instruments, const basket::CSecurities& securities,
                SInputs& inputs) {
  basket::SBasketFile read = basket::readBasketFile(file, securities);
  addFaults(read.m_faults, inputs);
  if (read.m_nUnlisted > 0) {
    inputs.m_faults.push_back(file + ": what is listed stands in " + instruments +
                              "; the option --instruments names another file");
  }
  const QString name = QFileInfo(QString::fromStdString(file)).completeBaseName();
  inputs.m_baskets.push_back({name.toStdString(), std::move(read.m_lines)});
}

void readAccountFiles(const SOptions& options, const basket::ListedTest& isListed, SInputs& inputs) {
  if (!options.m_strPositions.empty()) {
    const auto isAccount = [names = accountNames(options)](const std::string& text) {
      return std::any_of(names.begin(), names.end(), [&text](const SAccountName& name) { return name.fits(text); });
    };
    basket::SPositionFile file = basket::readPositionFile(options.m_strPositions, isAccount, isListed);
    addFaults(file.m_faults, inputs);
    inputs.m_positions = std::move(file.m_lines);
  }
  if (options.m_strFees.empty()) return;
  const basket::SFeeFile file = basket::readFeeFile(options.m_strFees);
  addFaults(file.m_faults, inputs);
  inputs.m_fees = file.m_rates;
}

}  // namespace

std::string instrumentFileOf(const SOptions& options) {
  return options.m_strInstruments.empty() ? dataFile("instruments.csv") : options.m_strInstruments;
}

std::vector<std::string> basketFilesOf(const SOptions& options) {
  return options.m_baskets.empty() ? std::vector<std::string>{dataFile("baskets/basket300.csv")} : options.m_baskets;
}

SInputs readListed(const SOptions& options) {
  SInputs inputs;
  basket::SInstrumentFile file = basket::readInstrumentFile(instrumentFileOf(options));
  addFaults(file.m_faults, inputs);
  inputs.m_instruments = std::move(file.m_instruments);
  if (!options.m_strFees.empty()) inputs.m_fees = basket::readFeeFile(options.m_strFees).m_rates;
  return inputs;
}

SInputs readInputs(const SOptions& options, std::int64_t dayStart) {
  SInputs inputs;
  const std::string instruments = instrumentFileOf(options);
  basket::SInstrumentFile file = basket::readInstrumentFile(instruments);
  addFaults(file.m_faults, inputs);
  inputs.m_instruments = std::move(file.m_instruments);

  checkHedge(options, dayStart, inputs);
  checkAlgo(options, inputs);

  // Without a list of instruments nothing is known of any, so the baskets are only read for their own faults.
  const basket::CSecurities securities =
      file.isGood() ? securitiesOf(inputs.m_instruments, dayStart) : basket::CSecurities();
  for (const std::string& each : basketFilesOf(options)) readBasket(each, instruments, securities, inputs);
  basket::ListedTest isListed;
  if (file.isGood()) {
    isListed = [&securities](std::string_view market, std::string_view code) {
      return securities.find(market, code) >= 0;
    };
  }
  readAccountFiles(options, isListed, inputs);
  if (!options.m_strActs.empty()) {
    desk::CDesk desk;
    addAccounts(desk, options);
    const std::int64_t begin = options.m_nStartMinute * std::int64_t{60000};
    inputs.m_acts = readActs(options.m_strActs, begin, desk, inputs.m_faults);
  }
  return inputs;
}

std::set<std::string> suspendedOf(const SInputs& inputs) {
  std::set<std::string> suspended;
  for (const exchange::SInstrument& instrument : inputs.m_instruments) {
    if (instrument.m_dVolume > 0) continue;
    suspended.insert(utils::mavStockKey(instrument.m_strMarket, instrument.m_strCode));
  }
  return suspended;
}

}  // namespace app
