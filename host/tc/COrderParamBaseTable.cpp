#include "tc/COrderParamBaseTable.h"

#include "ksservice/Operations.h"

namespace TC {

using ksservice::DataHelper;

void COrderParamBaseTable::loadFromOrderParam(const ksservice::CCodeOrderParam& param, const QString& algoText) {
  m_nOrderType = param.m_nOrderType;
  m_nAlgoOrderType = DataHelper::isAlgoOrderType(m_nOrderType) ? m_nOrderType : ksservice::EORT_Algo;
  m_nLoadedPriceType = param.m_nPriceType;
  m_bTradeChosen = false;
  m_nPriceType.reset();
  m_bHasAlgorithm = false;
  SAlgoParams params;
  if (SAlgoParams::parse(algoText.toStdString(), params).empty()) setAlgorithm(m_nAlgoOrderType, params);
  showValues();
}

int COrderParamBaseTable::algorithmIndex() const {
  const bool smart = DataHelper::isAlgoOrderType(m_nOrderType) && m_bHasAlgorithm;
  return smart ? static_cast<int>(m_algoParams.m_eAlgorithm) : NO_ALGORITHM;
}

std::string COrderParamBaseTable::getAlgParamsStr() const {
  return algorithmIndex() == NO_ALGORITHM ? std::string() : m_algoParams.format();
}

void COrderParamBaseTable::applyTo(ksservice::CCodeOrderParam& param) const {
  const bool smart = DataHelper::isAlgoOrderType(m_nOrderType);
  if (m_bTradeChosen || algorithmIndex() != NO_ALGORITHM) param.m_nOrderType = m_nOrderType;
  if (smart || !m_nPriceType) return;
  param.m_nOrderType = ksservice::EORT_Plain;
  // A seller's limit has a type of its own.
  const bool sellerLimit = *m_nPriceType == ksservice::EPT_Limit && !DataHelper::isBuy(param.m_nOperation);
  param.m_nPriceType = sellerLimit ? ksservice::EPT_SellerLimit : *m_nPriceType;
}

void COrderParamBaseTable::chooseTrade(bool algorithmic) {
  m_bTradeChosen = true;
  m_nOrderType = algorithmic ? m_nAlgoOrderType : static_cast<int>(ksservice::EORT_Plain);
  // A smart trade without an algorithm could not be sent.
  if (algorithmic) m_bHasAlgorithm = true;
  showValues();
}

void COrderParamBaseTable::choosePriceType(std::optional<int> priceType) {
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
