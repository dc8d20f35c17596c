#include "CBasketPatchWidget.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QShowEvent>
#include <boost/make_shared.hpp>
#include <limits>

#include "CTradeParamDialog.h"
#include "NewBasketLines.h"
#include "gv/CDialogButtonRow.h"
#include "gv/CMessageBox.h"
#include "gv/CStandardHpfTable.h"
#include "gv/CVerticalWidgetList.h"
#include "gv/Controls.h"
#include "gv/Helpers.h"
#include "gv/Scaling.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/COpBasketStockParamsWidget.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace TC {
namespace {

using namespace ksservice;

/// Ids of the buttons, as event 5 carries them.
enum EButton : int { ID_ALL = 0, ID_INVERT = 1, ID_ORDER_TYPE = 2, ID_NEW_BASKET = 3, ID_PATCH = 4, ID_CANCEL = 5 };

constexpr double NO_LIMIT = std::numeric_limits<double>::max();

int buttonHeight() { return GV::CUiResource::getSize(QStringLiteral("tc_siz_account_btn_height")); }

/// Keeps a button as large as the resources say.
void followSize(QWidget& button, const QString& widthKey) {
  GV::followScale(button,
                  [&button, widthKey] { button.setFixedSize(GV::CUiResource::getSize(widthKey), buttonHeight()); });
}

GV::CPushButton* smallButton(int id, const QString& text, QWidget* parent) {
  auto* button = new GV::CSmallNoNormalButton(id, text, parent);
  followSize(*button, QStringLiteral("tc_siz_account_btn_width_small"));
  button->setAutoDefault(false);
  return button;
}

std::string stockKey(const CCodeOrderParam& param) {
  return utils::mavStockKey(param.m_stock.m_strMarket, param.m_stock.m_strCode);
}

}  // namespace

CBasketPatchDialog::CBasketPatchDialog()
    : m_pTable(new GV::CStandardHpfTable(this)),
      m_pModel(new CHpfOpPatchConfirmTableModel),
      m_pQuantities(new GV::CBaseTableColumnLineEditDelegate(this)),
      m_pCheckBoxes(new GV::CBaseTableColumnCheckBoxDelegate(this)) {
  m_pTable->setAccessibleName(QStringLiteral("补单明细"));
  setWindowTitle(QStringLiteral("补单"));
  GV::setScaledFixedSize(*this, {930, 400});
  createTable();
  auto* list = GV::CVerticalWidgetList::fill(this);
  list->addWidget(createTools());
  list->addWidget(m_pTable, true);
  list->addWidget(createBottom());
}

QWidget* CBasketPatchDialog::createTools() {
  auto* tools = new QWidget(this);
  auto* row = new QHBoxLayout(tools);
  GV::setScaledMargins(*row, {10, 6, 10, 6});
  GV::setScaledSpacing(*row, 6);
  row->addWidget(smallButton(ID_ALL, QStringLiteral("全选"), tools));
  row->addWidget(smallButton(ID_INVERT, QStringLiteral("反选"), tools));
  auto* label = new QLabel(QStringLiteral("当前交易参数"), tools);
  GV::followScale(*label, [label] { label->setFixedHeight(buttonHeight()); });
  label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  row->addWidget(label, 1);
  m_pOrderType = new GV::CSmallNoNormalButton(ID_ORDER_TYPE, QStringLiteral("普通交易"), tools);
  followSize(*m_pOrderType, QStringLiteral("tc_siz_account_btn_width"));
  m_pOrderType->setAutoDefault(false);
  row->addWidget(m_pOrderType);
  return tools;
}

void CBasketPatchDialog::createTable() {
  m_pTable->setDataModel(m_pModel);
  m_pTable->setCheckBoxColumn(PatchColumnSelect, m_pCheckBoxes);
  m_pTable->setLineEditColumn(PatchColumnQuantity, m_pQuantities);
  m_pTable->setOptions(m_pTable->options() & ~GV::CBaseHighPerformanceTable::OptionColumnMenu);
}

QWidget* CBasketPatchDialog::createBottom() {
  auto* bottom = new GV::CDialogButtonRow(this);
  bottom->addStretch();
  m_pNewBasketButton = bottom->addButton(ID_NEW_BASKET, QStringLiteral("新建篮子补单"));
  GV::CPushButton* patch = bottom->addButton(ID_PATCH, QStringLiteral("选中补单"));
  bottom->addButton(ID_CANCEL, QStringLiteral("取消"));
  // Both stand out as default buttons; of two, Qt presses the last one for an Enter that nobody else takes.
  for (GV::CPushButton* button : {m_pNewBasketButton, patch}) {
    button->setProperty("defaultButton", true);
    button->setDefault(true);
  }
  return bottom;
}

void CBasketPatchDialog::install() {
  setPatchConfirmFactory([] { return std::make_unique<CBasketPatchDialog>(); });
}

PatchChoice CBasketPatchDialog::confirm(const SPatchOffer& offer) {
  setTraderType(offer.algorithmic);
  setPatchParams(offer.lines, offer.taskParams, offer.algoParams);
  if (exec() != QDialog::Accepted) return SPatchGivenUp();
  if (isNewBasket()) return takeNewBasket();
  return takeParams();
}

void CBasketPatchDialog::setTraderType(bool algorithmic) { m_pNewBasketButton->setVisible(algorithmic); }

// Filling

void CBasketPatchDialog::setPatchParams(const PatchParams& params, const PatchParams& taskParams,
                                        const std::string& tradeParamText) {
  if (m_pTradeParams == nullptr) {
    m_pTradeParams =
        new CTradeParamDialog(taskParams.empty() ? CCodeOrderParam() : taskParams.front(), tradeParamText, this);
  }
  m_prices.setTaskParams(taskParams);
  showOrderType();
  m_keys.clear();
  m_pCheckBoxes->clearItems();
  m_pQuantities->clearItems();
  std::vector<CHpfOpPatchConfirmTableModel::DataPtr> rows;
  for (const CCodeOrderParam& param : params) {
    if (param.m_stock.m_strCode.empty()) continue;
    const QString key = uniqueKey(param);
    auto row = boost::make_shared<CHpfOpPatchConfirmData>(key, m_pModel, 0);
    row->m_param = param;
    row->m_nAvailable = param.m_nVolume;
    row->m_nPatchNum = param.m_nVolume;
    m_keys.insert(key);
    m_pCheckBoxes->setItemVisible(key, true);
    m_pCheckBoxes->setItemEnabled(key, true);
    m_pCheckBoxes->setItemChecked(key, true);
    m_pQuantities->setItemVisible(key, true);
    m_pQuantities->setItemText(key, QString::number(param.m_nVolume));
    rows.push_back(std::move(row));
  }
  m_pModel->setData(rows);
}

/// The parameter's key. Should two parameters share one, an edit must still reach the row that the user sees.
QString CBasketPatchDialog::uniqueKey(const CCodeOrderParam& param) const {
  const QString key = GV::sToQs(param.getKey());
  QString unique = key;
  for (int number = 2; m_keys.contains(unique); ++number) unique = key + QStringLiteral("#%1").arg(number);
  return unique;
}

int CBasketPatchDialog::orderType() const { return m_pTradeParams->table().orderType(); }

void CBasketPatchDialog::showOrderType() {
  m_pOrderType->setText(CEnumsDataHelper::orderTypeToFormatString(orderType()));
}

void CBasketPatchDialog::showEvent(QShowEvent* event) {
  GV::CCommonDialog::showEvent(event);
  if (event->spontaneous()) return;
  if (m_pModel->rowCount() > 0) m_pTable->setCurrentKey(m_pModel->rowAt(0).key());
  m_pTable->setFocus();
}

// Events

bool CBasketPatchDialog::handleEvent(int eventId, int id, int value, QString key, void* payload) {
  switch (eventId) {
    case GV::EventButtonClicked:
      if (pressed(id)) return true;
      break;
    case GV::EventDialogCheckBox:
      if (const auto row = m_pModel->find(key)) checkRow(*row, value != 0);
      return true;
    case GV::EventDialogLineEdit:
      if (payload != nullptr) editQuantity(key, *static_cast<const QString*>(payload));
      return true;
    default:
      break;
  }
  return GV::CCommonDialog::handleEvent(eventId, id, value, key, payload);
}

bool CBasketPatchDialog::pressed(int id) {
  switch (id) {
    case ID_ALL:
      for (const auto& row : m_pModel->patchRows()) checkRow(*row, true);
      return true;
    case ID_INVERT:
      for (const auto& row : m_pModel->patchRows()) checkRow(*row, !row->m_bChecked);
      return true;
    case ID_ORDER_TYPE:
      m_pTradeParams->exec();
      showOrderType();
      return true;
    case ID_NEW_BASKET:
    case ID_PATCH:
      m_bNewBasket = id == ID_NEW_BASKET;
      accept();
      return true;
    case ID_CANCEL:
      reject();
      return true;
    default:
      return false;
  }
}

void CBasketPatchDialog::checkRow(CHpfOpPatchConfirmData& row, bool on) {
  row.m_bChecked = on;
  m_pCheckBoxes->setItemChecked(row.key(), on);
}

/// There is no lower bound: what is negative or zero stays as it was entered, and the command centre refuses it.
void CBasketPatchDialog::editQuantity(const QString& key, const QString& text) {
  int number = text.toInt();  // 0 for what is no number
  const auto row = m_pModel->find(key);
  if (!row) return;
  const CCodeOrderParam& param = row->m_param;
  bool unitless = false;
  if (DataHelper::isBuy(param.m_nOperation) && isLotMarket(param.m_stock.m_strMarket)) {
    const int unit = getUiMinUnit(param.m_stock.m_strMarket, param.m_stock.m_strCode, isBuy(param.m_nOperation));
    unitless = unit < 1;
    number = unitless ? 0 : number / unit * unit;
  }
  number = std::min(number, row->m_nAvailable);
  row->setPatchNum(number);
  utils::logInfo(this, "CBasketPatchDialog::handleEvent", "user modify %1% m_nPatchNum to %2%", stockKey(param),
                 number);
  m_pQuantities->setItemText(key, QString::number(number));
  m_pModel->rowChanged(key);
  if (unitless) {
    GV::CMessageBox::information(this, windowTitle(),
                                 QStringLiteral("%1 没有有效的最小委托单位，不能补单").arg(GV::sToQs(stockKey(param))));
  }
}

// The outcome

SPatchOrders CBasketPatchDialog::takeParams() {
  SPatchOrders orders;
  for (const auto& row : m_pModel->patchRows()) {
    if (!row->m_bChecked) continue;
    CCodeOrderParam param = row->m_param;
    m_pTradeParams->widget().fillParams(stockKey(param), param.m_nVolume, param, NO_LIMIT);
    (m_prices.apply(param) ? orders.params : orders.unpriced).push_back(param);
  }
  const CGlobalOrderParamTable& table = m_pTradeParams->table();
  if (table.algorithmIndex() != CGlobalOrderParamTable::NO_ALGORITHM) orders.algoParams = table.getAlgParamsStr();
  orders.orderType = orderType();
  return orders;
}

SPatchBasket CBasketPatchDialog::takeNewBasket() {
  SPatchBasket basket;
  QStringList unitless;
  for (const auto& row : m_pModel->patchRows()) {
    if (!row->m_bChecked) continue;
    const SNewBasketLine line = newBasketLine(row->m_param);
    if (!line.m_strText.isEmpty()) {
      basket.lines.append(line.m_strText);
      basket.params.push_back(row->m_param);
      basket.params.back().m_nVolume = line.m_nQuantity;
    }
    if (line.m_bUnitless) unitless.append(GV::sToQs(stockKey(row->m_param)));
  }
  if (!unitless.isEmpty()) {
    GV::CMessageBox::information(
        this, windowTitle(),
        QStringLiteral("%1 没有有效的最小交易单位，没有列入新篮子").arg(unitless.join(QStringLiteral("、"))));
  }
  return basket;
}

}  // namespace TC
