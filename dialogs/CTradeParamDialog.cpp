#include "CTradeParamDialog.h"

#include <QShowEvent>

#include "gv/CDialogButtonRow.h"
#include "gv/CVerticalWidgetList.h"
#include "gv/Controls.h"
#include "gv/Scaling.h"
#include "tc/COpBasketStockParamsWidget.h"

namespace TC {
namespace {

constexpr int ID_SAVE = 10000;
constexpr QSize SIZE(270, 430);

int accountTypeOf(const ksservice::CCodeOrderParam& param) { return param.m_pAccount ? param.m_pAccount->m_nType : 0; }

}  // namespace

CTradeParamDialog::CTradeParamDialog(const ksservice::CCodeOrderParam& taskParam, const std::string& tradeParamText,
                                     QWidget* parent)
    : GV::CCommonDialog(parent), m_pWidget(new COpBasketStockParamsWidget(accountTypeOf(taskParam), this)) {
  setWindowTitle(QStringLiteral("交易参数设置"));
  GV::followScale(*this, [this] {
    setMinimumSize(GV::CUiResource::scaled(SIZE));
    resize(GV::CUiResource::scaled(SIZE));
  });
  table().setAlgoVisible(true);
  m_pWidget->setSaveParam(true);
  m_pWidget->load(taskParam, QString());
  m_pWidget->setExpandItemsHidden(false);
  const QString text = table().getUiParamByTrdTradeParam(taskParam.m_nOrderType, tradeParamText);
  if (!text.isEmpty()) table().setSingleMavAlgoParam(taskParam.m_nOrderType, text);

  auto* list = GV::CVerticalWidgetList::fill(this);
  list->addWidget(m_pWidget, true);
  list->addSpacing(10);
  m_pBottom = createBottom();
  list->addWidget(m_pBottom);
}

CGlobalOrderParamTable& CTradeParamDialog::table() const { return m_pWidget->table(); }

QWidget* CTradeParamDialog::createBottom() {
  auto* bottom = new GV::CDialogButtonRow(this);
  bottom->addStretch();
  GV::CPushButton* save = bottom->addButton(ID_SAVE, QStringLiteral("保存"));
  save->setDefault(true);
  // What is wrong in the fields cannot be saved; the table says what it is.
  connect(&table(), &CGlobalOrderParamTable::sigInputChecked, save, &QWidget::setEnabled);
  return bottom;
}

/// Where an Enter changes nothing: on a choice it would choose.
void CTradeParamDialog::showEvent(QShowEvent* event) {
  GV::CCommonDialog::showEvent(event);
  if (!event->spontaneous()) m_pBottom->setFocus();
}

bool CTradeParamDialog::handleEvent(int eventId, int id, int value, QString key, void* payload) {
  if (eventId == GV::EventButtonClicked && id == ID_SAVE) {
    accept();
    return true;
  }
  return GV::CCommonDialog::handleEvent(eventId, id, value, key, payload);
}

}  // namespace TC
