#include "PatchPrices.h"

#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/Services.h"
#include "utils/Keys.h"

namespace TC {
namespace {

using namespace ksservice;

/// Account, instrument and operation.
std::string lineOf(const CCodeOrderParam& param) {
  QString row = QString::fromStdString(utils::mavStockKey(param.m_stock.m_strMarket, param.m_stock.m_strCode));
  replaceMarketToHK(row);
  const std::string account = param.m_pAccount ? param.m_pAccount->getKey() : std::string();
  return account + '/' + row.toStdString() + '/' + std::to_string(param.m_nOperation);
}

}  // namespace

void CPatchPrices::setTaskParams(const std::vector<CCodeOrderParam>& taskParams) {
  m_given.clear();
  for (const CCodeOrderParam& param : taskParams) m_given[lineOf(param)] = param.m_dPrice;
}

bool CPatchPrices::apply(CCodeOrderParam& param) const {
  CQuote quote;
  const bool quoted = getQuoteClient().getQuote(param.m_stock.m_strMarket, param.m_stock.m_strCode, quote);
  if (quoted) CPriceDataHelper::adaptPriceType(param);
  if (param.m_nPriceType == EPT_User) {
    const auto given = m_given.find(lineOf(param));
    param.m_dPrice = given == m_given.end() ? 0 : given->second;
    return param.m_dPrice > 0;
  }
  if (quoted) {
    const bool algorithm = DataHelper::isAlgoOrderType(param.m_nOrderType);
    param.m_dPrice =
        CPriceDataHelper::getPriceForOrder(quote, param.m_nPriceType, param.m_nOperation, 0, SAutoPrice(), algorithm);
  }
  return param.m_nPriceType != EPT_Counterpart || param.m_dPrice > 0;
}

}  // namespace TC
