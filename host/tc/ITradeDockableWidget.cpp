#include "tc/ITradeDockableWidget.h"

namespace TC {

ITradeDockableWidget::ITradeDockableWidget(bool copiable, const QString& typeKey, int id, EMavTraderType tradeType,
                                           QWidget* parent)
    : GV::CBaseWidget(parent), m_bCopiable(copiable), m_strTypeKey(typeKey), m_nId(id), m_eTradeType(tradeType) {}

void ITradeDockableWidget::setAccountGroupSelectors(IAccountGroupSelector* first, IAccountGroupSelector* second) {
  m_pGroupSelector = first;
  m_pGroupSelector2 = second;
}

// Every kind of panel starts as one for stocks and may stand once; setTradeType says what it is to show.
EMavTraderType getTradeDockableWidgetMavTraderType(const QString&) { return EMTT_Stock; }
bool getTradeDockableWidgetCopiable(const QString&) { return false; }

}  // namespace TC
