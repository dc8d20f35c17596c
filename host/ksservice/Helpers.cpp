#include "ksservice/Helpers.h"

#include <algorithm>

#include "ksservice/TraderCenter.h"
#include "tc/CQuoteClient.h"
#include "tc/Services.h"

namespace ksservice {

COrderDetailPtr COrderDetailHelper::getOrderDetailByMavTag(const CMavOrderTag& tag) {
  return TraderCenter::instance().getDataCenter().orderDetail(tag);
}

void COrderDetailHelper::getOrderDetailsByMavTags(const std::vector<COrderInfoPtr>& orders,
                                                  std::vector<COrderDetailPtr>& out) {
  for (const COrderInfoPtr& order : orders) {
    if (COrderDetailPtr detail = getOrderDetailByMavTag(order->m_tag)) out.push_back(std::move(detail));
  }
}

void CAccountData::updateData(const CTaskDetailPtr& detail) {
  TraderCenter::instance().getDataCenter().updateData(detail);
}

bool StockTypeCenter::isTypedStock(const std::string& market, const std::string& code, int stockType) {
  const auto info = TC::getExchangeClient().getCodeInfo(market, code);
  return info && isTypedStock(*info, stockType);
}

bool StockTypeCenter::isTypedStock(const TC::CCodeInfo& info, int stockType) {
  return std::find(info.m_types.begin(), info.m_types.end(), stockType) != info.m_types.end();
}

double CPriceDataHelper::getPriceForCalc(const std::string& market, const std::string& code) {
  TC::CQuote quote;
  return TC::getQuoteClient().getQuote(market, code, quote) ? quote.m_dCalc : 0;
}

bool isSupportMarketPrice(const std::string& market, const std::string& code, int priceType) {
  const auto info = TC::getExchangeClient().getCodeInfo(market, code);
  return info && isSupportMarketPrice(*info, priceType);
}

bool isSupportMarketPrice(const TC::CCodeInfo& info, int priceType) {
  const auto& types = info.m_marketPriceTypes;
  return std::find(types.begin(), types.end(), priceType) != types.end();
}

int getStockTradeUnit(const std::string& market, const std::string& code) {
  const auto info = TC::getExchangeClient().getCodeInfo(market, code);
  return info ? std::max(1, info->m_nTradeUnit) : 1;
}

}  // namespace ksservice
