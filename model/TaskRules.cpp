#include "TaskRules.h"

#include <algorithm>
#include <cmath>

#include "tc/CBasketHedgeManager.h"
#include "utils/Clock.h"

namespace TC {
namespace {

using namespace ksservice;

bool hedgeRowRuns(const SStatusFacts& facts) {
  return facts.hedgeState == EHS_None && facts.hasHedgeRow && facts.hedgeRowStatus != ETS_Paused &&
         facts.hedgeRowStatus != ETS_Cancelled;
}

bool allDone(const SStatusFacts& facts) {
  const bool waitsForHedge = facts.hedgeEnabled && facts.hasHedgeRow && !facts.hedgeRowFinished;
  return facts.allFinished && !waitsForHedge;
}

}  // namespace

bool isZero(double value) { return std::fabs(value) < 1e-5; }

double estimateAmount(long long targetVolume, double tradedAmount, long long tradedVolume) {
  return static_cast<double>(targetVolume) * tradedAmount / static_cast<double>(tradedVolume);
}

int setVolume(const CCodeOrderParam& param) { return param.m_nVolume == UNSET_INT ? 0 : param.m_nVolume; }

QTime timeOfDay(int seconds) { return GV::secondToQDateTime(seconds).time(); }

QString joinAccount(const QString& accounts, const QString& displayId) {
  if (accounts.isEmpty()) return displayId;
  if (accounts.split(QLatin1Char('/')).contains(displayId)) return accounts;
  return accounts + QLatin1Char('/') + displayId;
}

bool basketTaskIdLessThan(const QString& a, const QString& b) {
  return a.size() != b.size() ? a.size() < b.size() : a < b;
}

void replaceMarketToHK(QString& key) {
  for (const QLatin1String market : {QLatin1String("HGT"), QLatin1String("SGT")}) {
    if (!key.contains(market)) continue;
    key.replace(market, QLatin1String("HK"));
    return;
  }
}

const CCodeOrderParam* paramOf(const CTaskDetail& detail, const CProgressOrder& order) {
  const auto& params = detail.m_params;
  if (order.m_nParamIndex >= 0 && order.m_nParamIndex < static_cast<int>(params.size())) {
    return &params[static_cast<std::size_t>(order.m_nParamIndex)];
  }
  const auto found = std::find_if(params.begin(), params.end(), [&](const CCodeOrderParam& param) {
    return param.m_stock.m_strCode == order.m_detail.m_strCode &&
           param.m_stock.m_strMarket == order.m_detail.m_strMarket;
  });
  return found == params.end() ? nullptr : &*found;
}

void addDetailStatus(SStatusFacts& facts, int status, bool first) {
  const bool finished = status == ETS_Finished;
  const bool ended = finished || status == ETS_Cancelled || status == ETS_ExecutionError;
  facts.allFinished = finished && (first || facts.allFinished);
  facts.allEnded = ended && (first || facts.allEnded);
  facts.anyDropped = facts.anyDropped || status == ETS_Dropped;
  facts.anyPaused = facts.anyPaused || status == ETS_Paused;
}

SStatusVerdict deriveStatus(const SStatusFacts& facts) {
  if (facts.anyDropped) return {ETS_Dropped};
  if (allDone(facts)) return {ETS_Finished};
  if (facts.hedgeState == EHS_Running) return {ETS_Running};
  if (hedgeRowRuns(facts)) return {ETS_Running, true};
  if (facts.allEnded) return {ETS_Cancelled, false, true};
  if (facts.anyPaused) return {ETS_Paused};
  return {facts.hedgeEnabled && facts.hedgeState == EHS_Paused ? ETS_Paused : ETS_Running};
}

}  // namespace TC
