#include "ksservice/Helpers.h"

#include <algorithm>

#include "ksservice/Operations.h"
#include "ksservice/TraderCenter.h"
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

CTaskDetailPtr CAccountData::getData(int dataType, const std::string& key) {
  if (dataType != DATA_TYPE_TASK_DETAIL) return nullptr;
  return TraderCenter::instance().getDataCenter().taskDetail(key);
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

namespace {

/// The price that the quote has for a type; 0 for one that it lacks.
double quotedPrice(const TC::CQuote& quote, int priceType, int operation) {
  switch (priceType) {
    case EPT_Counterpart:
      return DataHelper::isBuy(operation) ? quote.m_dAsk : quote.m_dBid;
    case EPT_Latest:
      return quote.m_dLast;
    case EPT_LimitUp:
      return quote.m_dLimitUp;
    case EPT_LimitDown:
      return quote.m_dLimitDown;
    default:
      return quote.m_dOrder;
  }
}

}  // namespace

double CPriceDataHelper::getPriceForOrder(const TC::CQuote& quote, int priceType, int operation, double offset,
                                          const SAutoPrice& autoPrice, bool algorithm) {
  const double price = algorithm ? quote.m_dOrder : quotedPrice(quote, priceType, operation);
  return (price > 0 || !autoPrice.m_bOrderPriceInstead ? price : quote.m_dOrder) + offset;
}

void CPriceDataHelper::adaptPriceType(CCodeOrderParam& param) {
  const std::string& market = param.m_stock.m_strMarket;
  if (param.m_nPriceType == EPT_MarketSZ && market == "SH") {
    param.m_nPriceType = EPT_MarketSH;
  } else if (param.m_nPriceType == EPT_MarketSH && market == "SZ") {
    param.m_nPriceType = EPT_MarketSZ;
  }
  if (!isLotMarket(market) || !isRealMarketPrice(param.m_nPriceType)) return;
  if (isSupportMarketPrice(market, param.m_stock.m_strCode, param.m_nPriceType)) return;
  param.m_nPriceType = limitType(param.m_nOperation);
}

int CPriceDataHelper::limitType(int operation) { return DataHelper::isBuy(operation) ? EPT_Limit : EPT_SellerLimit; }

void replaceMarketToHK(QString& key) {
  for (const char* const name : CONNECT_MARKETS) {
    const QLatin1String market(name);
    if (!key.contains(market)) continue;
    key.replace(market, QLatin1String(HONG_KONG));
    return;
  }
}

bool isRealMarketPrice(int priceType) { return priceType == EPT_MarketSH || priceType == EPT_MarketSZ; }

bool isLotMarket(const std::string& market) {
  return market == "SH" || market == "SZ" || market == "SSE" || market == "SZSE";
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

int getTradeMinUnit(const std::string& market, const std::string& code, int /*operation*/) {
  const auto info = TC::getExchangeClient().getCodeInfo(market, code);
  return info ? info->m_nTradeMinUnit : 0;
}

int getUiMinUnit(const std::string& market, const std::string& code, bool /*buy*/) {
  const auto info = TC::getExchangeClient().getCodeInfo(market, code);
  return info ? info->m_nUiMinUnit : 0;
}

bool isTypedStock(int stockType, const std::string& market, const std::string& code, const std::string& /*subType*/) {
  return StockTypeCenter::isTypedStock(market, code, stockType);
}

}  // namespace ksservice
