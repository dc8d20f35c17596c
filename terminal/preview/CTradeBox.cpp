#include "CTradeBox.h"

#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "gv/Scaling.h"
#include "tc/COpBasketStockParamsWidget.h"

namespace preview {
namespace {

constexpr int MOST_OFFSET = 1000;
constexpr double MOST_HEDGE_RATIO = 10;
constexpr int STOCK_ACCOUNT = 0;
constexpr double TEN_THOUSAND = 10000;
constexpr double PERCENT = 0.01;
constexpr double MOST_LIMIT = 100'000'000;

}  // namespace

CTradeBox::CTradeBox(CDraft& draft, const std::vector<std::string>& futures, QWidget* parent)
    : QWidget(parent),
      m_draft(draft),
      m_pParams(new TC::COpBasketStockParamsWidget(STOCK_ACCOUNT, this)),
      m_pOffset(new QSpinBox(this)),
      m_pHedged(new QCheckBox(QStringLiteral("股指期货对冲"), this)),
      m_pFuture(new QComboBox(this)),
      m_pRatio(new QDoubleSpinBox(this)) {
  m_pOffset->setRange(-MOST_OFFSET, MOST_OFFSET);
  m_pOffset->setButtonSymbols(QAbstractSpinBox::NoButtons);
  m_pOffset->setSuffix(QStringLiteral(" 跳"));
  m_pOffset->setToolTip(
      QStringLiteral("委托价比价格类型多让几个最小变动价位：正数更易成交，负数挂得更远；不影响市价和算法"));
  auto* offset = new QFormLayout;
  offset->addRow(QStringLiteral("价格让步"), m_pOffset);
  offset->setContentsMargins(12, 0, 12, 0);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(m_pParams);
  layout->addLayout(offset);
  layout->addWidget(createHedge(futures));
  layout->addStretch(1);
  // A field takes effect as it is typed, once it is right.
  connect(
      &m_pParams->table(), &TC::CGlobalOrderParamTable::sigInputChecked, this,
      [this] {
        m_pParams->table().commitEdits();
        takeTrade();
      },
      Qt::QueuedConnection);
  connect(m_pOffset, qOverload<int>(&QSpinBox::valueChanged), this, [this] { takeTrade(); });
  showState();
}

QWidget* CTradeBox::createHedge(const std::vector<std::string>& futures) {
  auto* box = new QWidget(this);
  for (const std::string& code : futures) m_pFuture->addItem(QString::fromStdString(code));
  m_pRatio->setRange(0.01, MOST_HEDGE_RATIO);
  m_pRatio->setSingleStep(0.1);
  m_pRatio->setButtonSymbols(QAbstractSpinBox::NoButtons);
  m_pHedged->setEnabled(!futures.empty());
  auto* form = new QFormLayout(box);
  GV::setScaledMargins(*form, {12, 8, 12, 0});
  form->addRow(m_pHedged);
  form->addRow(QStringLiteral("合约"), m_pFuture);
  form->addRow(QStringLiteral("比例"), m_pRatio);
  connect(m_pHedged, &QCheckBox::toggled, this, [this] { takeHedge(); });
  connect(m_pFuture, qOverload<int>(&QComboBox::activated), this, [this] { takeHedge(); });
  connect(m_pRatio, qOverload<double>(&QDoubleSpinBox::valueChanged), this, [this] { takeHedge(); });
  return box;
}

QString CTradeBox::fault() const { return m_pParams->table().inputError(); }

void CTradeBox::showState() {
  m_bShowing = true;
  const SDraftState& state = m_draft.state();
  ksservice::CCodeOrderParam param;
  param.m_nOrderType = state.m_trade.m_nOrderType;
  param.m_nPriceType = state.m_trade.m_nPriceType;
  m_pParams->load(param, QString::fromStdString(state.m_trade.m_strAlgo));
  m_pOffset->setValue(state.m_trade.m_nOffsetTicks);
  m_pHedged->setChecked(state.m_hedge.m_bEnabled);
  const int future = m_pFuture->findText(QString::fromStdString(state.m_hedge.m_strCode));
  // One that is not there must not look like another.
  if (future >= 0 || state.m_hedge.m_bEnabled) m_pFuture->setCurrentIndex(future);
  m_pRatio->setValue(state.m_hedge.m_dRatio);
  m_bShowing = false;
  for (QWidget* each : {static_cast<QWidget*>(m_pFuture), static_cast<QWidget*>(m_pRatio)}) {
    each->setEnabled(m_pHedged->isChecked());
  }
}

void CTradeBox::takeTrade() {
  if (m_bShowing) return;
  STradeParams trade;
  ksservice::CCodeOrderParam param;
  param.m_nOperation = ksservice::EOT_Buy;
  m_pParams->table().applyTo(param);
  trade.m_nOrderType = param.m_nOrderType;
  trade.m_nPriceType = param.m_nPriceType;
  trade.m_nOffsetTicks = m_pOffset->value();
  trade.m_strAlgo = m_pParams->table().getAlgParamsStr();
  m_draft.setTrade(trade);
  m_pOffset->setEnabled(trade.m_strAlgo.empty());
}

void CTradeBox::takeHedge() {
  if (m_bShowing) return;
  SHedgeChoice hedge;
  hedge.m_bEnabled = m_pHedged->isChecked();
  hedge.m_strCode = m_pFuture->currentText().toStdString();
  hedge.m_dRatio = m_pRatio->value();
  m_draft.setHedge(hedge);
  m_pFuture->setEnabled(hedge.m_bEnabled);
  m_pRatio->setEnabled(hedge.m_bEnabled);
}

CLimitsBox::CLimitsBox(CDraft& draft, QWidget* parent) : QWidget(parent), m_draft(draft) {
  auto* form = new QFormLayout(this);
  GV::setScaledMargins(*form, {12, 12, 12, 8});
  const QString amount = QStringLiteral(" 万元");
  addField(*form, QStringLiteral("单行金额"), {nullptr, &draft::SLimits::m_dLine, TEN_THOUSAND}, amount);
  addField(*form, QStringLiteral("单账户金额"), {nullptr, &draft::SLimits::m_dAccount, TEN_THOUSAND}, amount);
  addField(*form, QStringLiteral("整篮金额"), {nullptr, &draft::SLimits::m_dBasket, TEN_THOUSAND}, amount);
  addField(*form, QStringLiteral("占日均量"), {nullptr, &draft::SLimits::m_dVolumeShare, PERCENT},
           QStringLiteral(" %"));
  auto* note = new QLabel(QStringLiteral("超过上限的行和篮子会被标出，0 为不限。"), this);
  note->setWordWrap(true);
  form->addRow(note);
  showState();
}

void CLimitsBox::addField(QFormLayout& form, const QString& title, SField field, const QString& suffix) {
  auto* box = new QDoubleSpinBox(this);
  box->setAccessibleName(title);
  box->setRange(0, MOST_LIMIT);
  box->setDecimals(1);
  box->setGroupSeparatorShown(true);
  box->setButtonSymbols(QAbstractSpinBox::NoButtons);
  box->setSuffix(suffix);
  form.addRow(title, box);
  field.m_pBox = box;
  m_fields.push_back(field);
  connect(box, qOverload<double>(&QDoubleSpinBox::valueChanged), this, [this, field](double value) {
    draft::SLimits limits = m_draft.state().m_limits;
    limits.*field.m_pMember = value * field.m_dUnit;
    m_draft.setLimits(limits);
    Q_EMIT sigChanged();
  });
}

void CLimitsBox::showState() {
  for (const SField& field : m_fields) {
    const QSignalBlocker quiet(field.m_pBox);
    field.m_pBox->setValue(m_draft.state().m_limits.*field.m_pMember / field.m_dUnit);
  }
}

}  // namespace preview
