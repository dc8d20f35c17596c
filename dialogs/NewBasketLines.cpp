#include "NewBasketLines.h"

#include "gv/Helpers.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/Services.h"
#include "utils/Keys.h"

namespace TC {
namespace {

using namespace ksservice;

bool tradesByCode(const CAccountInfo& account) {
  return account.m_nType == 1 || account.m_nType == 5 || account.m_nType == 6;
}

boost::shared_ptr<const CCodeInfo> instrumentOf(const CCodeOrderParam& param) {
  const std::string market = tradesByCode(*param.m_pAccount) ? std::string() : param.m_stock.m_strMarket;
  return getExchangeClient().getCodeInfo(market, param.m_stock.m_strCode);
}

int unitOf(const CCodeInfo& instrument, int operation) {
  const std::string& market = instrument.m_strMarket;
  const std::string& code = instrument.m_strCode;
  if (isTypedStock(STOCK_TYPE_UI_UNIT, market, code, "")) return getUiMinUnit(market, code, isBuy(operation));
  return getTradeMinUnit(market, code, -1);
}

}  // namespace

SNewBasketLine newBasketLine(const CCodeOrderParam& param) {
  if (!param.m_pAccount || param.m_nVolume <= param.m_nHandled) return {};
  const auto instrument = instrumentOf(param);
  if (!instrument || isDirectRepay(param.m_nOperation)) return {};
  int quantity = param.m_nVolume - param.m_nHandled;
  // Securities are returned to the last share.
  if (param.m_nOperation != EOT_ReturnSecurities) {
    const int unit = unitOf(*instrument, param.m_nOperation);
    if (unit < 1) return {QString(), 0, true};
    quantity -= quantity % unit;
  }
  if (quantity < 1) return {};
  const QStringList fields = {GV::sToQs(utils::mavStockKey(param.m_stock.m_strMarket, param.m_stock.m_strCode)),
                              GV::sToQs(instrument->m_strName),
                              QString::number(quantity),
                              QStringLiteral("0"),
                              isBuy(param.m_nOperation) ? QStringLiteral("0") : QStringLiteral("1"),
                              QString::number(param.m_nOperation),
                              QString::number(param.m_nType)};
  return {fields.join(QLatin1Char('\t')), quantity, false};
}

}  // namespace TC
