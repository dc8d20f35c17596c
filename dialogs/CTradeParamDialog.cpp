#include "CTradeParamDialog.h"

#include <QHBoxLayout>

#include "gv/CVerticalWidgetList.h"
#include "gv/Controls.h"
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
  setMinimumSize(SIZE);
  resize(SIZE);
  table().setAlgoVisible(true);
  m_pWidget->setSaveParam(true);
  m_pWidget->load(taskParam, QString());
  m_pWidget->setExpandItemsHidden(false);
  const QString text = table().getUiParamByTrdTradeParam(taskParam.m_nOrderType, tradeParamText);
  if (!text.isEmpty()) table().setSingleMavAlgoParam(taskParam.m_nOrderType, text);

  auto* list = GV::CVerticalWidgetList::fill(this);
  list->addWidget(m_pWidget, true);
  list->addSpacing(10);
  list->addWidget(createBottom());
}

CGlobalOrderParamTable& CTradeParamDialog::table() const { return m_pWidget->table(); }

QWidget* CTradeParamDialog::createBottom() {
  auto* bottom = new QWidget(this);
  bottom->setFixedHeight(GV::CUiResource::getSize(QStringLiteral("tc_siz_setting_inner_bottom_btn_height")) + 15);
  auto* save = new GV::CPushButton(ID_SAVE, bottom);
  save->setText(QStringLiteral("保存"));
  save->setFixedSize(80, 26);
  save->setDefault(true);
  save->setFocusPolicy(Qt::NoFocus);
  auto* row = new QHBoxLayout(bottom);
  row->setContentsMargins(10, 0, 10, 0);
  row->addStretch(1);
  row->addWidget(save);
  // What is wrong in the fields cannot be saved; the table says what it is.
  connect(&table(), &CGlobalOrderParamTable::sigInputChecked, save, &QWidget::setEnabled);
  return bottom;
}

bool CTradeParamDialog::handleEvent(int eventId, int id, int value, QString key, void* payload) {
  if (eventId == GV::EventButtonClicked && id == ID_SAVE) {
    accept();
    return true;
  }
  return GV::CCommonDialog::handleEvent(eventId, id, value, key, payload);
}

}  // namespace TC
