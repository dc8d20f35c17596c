#include "TaskRules.h"

#include <algorithm>
#include <cmath>

#include "ksservice/Helpers.h"
#include "utils/Clock.h"

namespace TC {

using namespace ksservice;

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

bool isSameInstrument(const std::string& market, const std::string& code, const CStockInfo& stock) {
  if (code != stock.m_strCode) return false;
  if (market == stock.m_strMarket) return true;
  // The markets differ: they are one only where a text that names a connect market is turned into Hong Kong's.
  QString one = QString::fromStdString(market);
  QString other = QString::fromStdString(stock.m_strMarket);
  replaceMarketToHK(one);
  replaceMarketToHK(other);
  return one == other;
}

SProgressParam paramOf(const CTaskDetail& detail, const CProgressOrder& order) {
  const auto& params = detail.m_params;
  const bool named = order.m_nParamIndex >= 0 && order.m_nParamIndex < static_cast<int>(params.size());
  const CCodeOrderParam* byIndex = named ? &params[static_cast<std::size_t>(order.m_nParamIndex)] : nullptr;
  const auto fits = [&order](const CCodeOrderParam& param) {
    return isSameInstrument(order.m_detail.m_strMarket, order.m_detail.m_strCode, param.m_stock);
  };
  SProgressParam found{byIndex, byIndex && fits(*byIndex)};
  if (!found.told) {
    const auto first = std::find_if(params.begin(), params.end(), [&fits](const CCodeOrderParam& param) {
      return param.m_nOperation != EOT_None && fits(param);
    });
    if (first != params.end()) found.param = &*first;
  }
  if (found.param && found.param->m_nOperation == EOT_None) found.param = nullptr;
  return found;
}

bool hasEnded(int status) {
  return status == ETS_Finished || status == ETS_Cancelled || status == ETS_ExecutionError || status == ETS_Dropped;
}

}  // namespace TC
