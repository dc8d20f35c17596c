#include "tc/COrderParamBaseTable.h"

#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"

namespace TC {

using ksservice::CPriceDataHelper;
using ksservice::DataHelper;

void COrderParamBaseTable::loadFromOrderParam(const ksservice::CCodeOrderParam& param, const QString& algoText) {
  m_nOrderType = param.m_nOrderType;
  m_bLoadedSmart = DataHelper::isAlgoOrderType(m_nOrderType);
  m_nAlgoOrderType = m_bLoadedSmart ? m_nOrderType : ksservice::EORT_Algo;
  // Whether a limit is the buyer's or the seller's follows from each line.
  m_nPriceType = param.m_nPriceType == ksservice::EPT_SellerLimit ? ksservice::EPT_Limit : param.m_nPriceType;
  m_bHasAlgorithm = false;
  SAlgoParams params;
  if (SAlgoParams::parse(algoText.toStdString(), params).empty()) setAlgorithm(m_nAlgoOrderType, params);
  showValues();
}

int COrderParamBaseTable::algorithmIndex() const {
  return isSmart() && m_bHasAlgorithm ? static_cast<int>(m_algoParams.m_eAlgorithm) : NO_ALGORITHM;
}

std::string COrderParamBaseTable::getAlgParamsStr() const {
  return algorithmIndex() == NO_ALGORITHM ? std::string() : m_algoParams.format();
}

void COrderParamBaseTable::applyTo(ksservice::CCodeOrderParam& param) const {
  param.m_nOrderType = m_nOrderType;
  const bool limit = m_nPriceType == ksservice::EPT_Limit;
  param.m_nPriceType = limit ? CPriceDataHelper::limitType(param.m_nOperation) : m_nPriceType;
}

bool COrderParamBaseTable::isSmart() const { return DataHelper::isAlgoOrderType(m_nOrderType); }

void COrderParamBaseTable::chooseTrade(bool smart) {
  m_nOrderType = smart ? m_nAlgoOrderType : static_cast<int>(ksservice::EORT_Plain);
  // A smart trade without any algorithm could not be sent; the one that was loaded has its own, shown or not.
  if (smart && !m_bLoadedSmart) m_bHasAlgorithm = true;
  showValues();
}

void COrderParamBaseTable::choosePriceType(int priceType) {
  m_nPriceType = priceType;
  showValues();
}

void COrderParamBaseTable::chooseAlgorithm(EAlgorithm algorithm) {
  m_bHasAlgorithm = true;
  m_algoParams.m_eAlgorithm = algorithm;
  showValues();
}

void COrderParamBaseTable::setAlgorithm(int orderType, const SAlgoParams& params) {
  m_nOrderType = m_nAlgoOrderType = orderType;
  m_bHasAlgorithm = true;
  m_algoParams = params;
  showValues();
}

}  // namespace TC
