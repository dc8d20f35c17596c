#include "SafetyTruth.h"

#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace test {
namespace {

using namespace ksservice;

struct STrade {
  int m_nTraded = 0;
  int m_nOpen = 0;
  double m_dAmount = 0;
};

/// What the orders of a detail have done, by row key.
std::map<std::string, STrade> tradesOf(CSafetyMarket& market, const CTaskDetail& detail) {
  std::map<std::string, STrade> trades;
  for (const COrderInfoPtr& order : detail.m_orders) {
    STrade& trade = trades[rowKeyOf({order->m_strMarket, order->m_strCode, {}}, order->m_nOperation)];
    trade.m_nTraded += order->m_nTradedVolume;
    trade.m_dAmount += order->m_dTradedAmount;
    if (!order->m_bCompleted) trade.m_nOpen += order->m_nVolume - order->m_nTradedVolume;
  }
  if (!detail.m_bServerTask) return trades;
  if (const auto progress = market.desk().progress(detail.getKey())) {
    for (const TC::CProgressOrder& order : progress->m_orders) {
      const CCodeOrderParam& param = detail.m_params[static_cast<std::size_t>(order.m_nParamIndex)];
      STrade& trade = trades[rowKeyOf(param.m_stock, param.m_nOperation)];
      trade.m_nTraded += order.m_detail.m_nTradedVolume;
      trade.m_dAmount += order.m_detail.m_dTradedAmount;
    }
  }
  const auto process = market.serverTask(detail.getKey())->orderProcess();
  for (const CCodeOrderParam& param : detail.m_params) {
    STrade& trade = trades[rowKeyOf(param.m_stock, param.m_nOperation)];
    trade.m_nOpen =
        process.at(utils::mavStockKey(param.m_stock.m_strMarket, param.m_stock.m_strCode)) - trade.m_nTraded;
  }
  return trades;
}

}  // namespace

std::string rowKeyOf(const CStockInfo& stock, int operation) {
  return utils::mavStockKey(stock.m_strMarket, stock.m_strCode) + operationValueToString(operation);
}

LineKey lineKey(int basket, const CCodeOrderParam& param) {
  return {basket, param.m_pAccount->getKey(), rowKeyOf(param.m_stock, param.m_nOperation)};
}

Truth truthOf(CSafetyMarket& market) {
  Truth truth;
  for (const CTaskDetailPtr& detail : market.desk().taskDetails()) {
    const int basket = detail->m_pCommand->m_nTaskId;
    const bool ended = detail->m_nStatus >= ETS_Finished;
    auto trades = tradesOf(market, *detail);
    for (const CCodeOrderParam& param : detail->m_params) {
      SLineTruth& line = truth[lineKey(basket, param)];
      const STrade& trade = trades[rowKeyOf(param.m_stock, param.m_nOperation)];
      if (!detail->m_pCommand->m_bPatch) line.m_nTarget += param.m_nVolume;
      line.m_nTraded += trade.m_nTraded;
      line.m_dAmount += trade.m_dAmount;
      line.m_nMayTrade += ended ? trade.m_nTraded + trade.m_nOpen : param.m_nVolume;
    }
  }
  return truth;
}

}  // namespace test
