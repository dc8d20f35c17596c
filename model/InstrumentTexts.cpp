#include "InstrumentTexts.h"

#include <map>
#include <mutex>
#include <tuple>
#include <utility>

#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace TC {
namespace {

using Instrument = std::tuple<const std::string&, const std::string&, int>;

SInstrumentTexts makeTexts(const std::string& market, const std::string& code, int operation) {
  const QString stockKey = QString::fromStdString(utils::mavStockKey(market, code));
  return {QString::fromStdString(market + code),
          stockKey,
          QString::fromStdString(market),
          stockKey + ksservice::operationText(operation),
          {operation}};
}

}  // namespace

const SInstrumentTexts& instrumentTexts(const std::string& market, const std::string& code, int operation) {
  static std::mutex mutex;
  static std::map<std::tuple<std::string, std::string, int>, SInstrumentTexts, std::less<>> known;
  const Instrument instrument(market, code, operation);
  {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = known.find(instrument);
    if (found != known.end()) return found->second;
  }
  // Forming them takes a mutex of the host's.
  SInstrumentTexts texts = makeTexts(market, code, operation);
  const std::lock_guard<std::mutex> lock(mutex);
  return known.emplace(instrument, std::move(texts)).first->second;
}

}  // namespace TC
