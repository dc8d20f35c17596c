#include "tc/COpBasketStockParamsWidget.h"

#include <QVBoxLayout>
#include <algorithm>

namespace TC {

COpBasketStockParamsWidget::COpBasketStockParamsWidget(int accountType, QWidget* parent)
    : GV::CBaseWidget(parent), m_pTable(new CGlobalOrderParamTable(accountType, this)) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(m_pTable);
}

void COpBasketStockParamsWidget::load(const ksservice::CCodeOrderParam& param, const QString& algoText) {
  m_loaded = param;
  m_strLoadedAlgo = algoText;
  m_pTable->loadFromOrderParam(param, algoText);
}

void COpBasketStockParamsWidget::hideEvent(QHideEvent* event) {
  GV::CBaseWidget::hideEvent(event);
  if (!m_bSaveParam) m_pTable->loadFromOrderParam(m_loaded, m_strLoadedAlgo);
}

void COpBasketStockParamsWidget::fillParams(const std::string& /*securityKey*/, int volume,
                                            ksservice::CCodeOrderParam& param, double limit) const {
  m_pTable->applyTo(param);
  param.m_nVolume = volume;
  param.m_dPrice = std::min(param.m_dPrice, limit);
}

}  // namespace TC
