#include "tc/CTaskParamWidget.h"

#include <QHBoxLayout>
#include <QLabel>

#include "gv/CUiResource.h"
#include "gv/Helpers.h"
#include "gv/Scaling.h"
#include "ksservice/Operations.h"

namespace TC {
namespace {

using ksservice::CCodeOrderParam;

CBaseTaskParamWidget::ShowObserver& showObserver() {
  static CBaseTaskParamWidget::ShowObserver observer;
  return observer;
}

/// The texts of all lines that differ, joined by "/".
QString join(const std::vector<CCodeOrderParam>& params, QString (*text)(const CCodeOrderParam&)) {
  QStringList texts;
  for (const CCodeOrderParam& param : params) {
    const QString one = text(param);
    if (!one.isEmpty() && !texts.contains(one)) texts.append(one);
  }
  return texts.join(QLatin1Char('/'));
}

}  // namespace

CBaseTaskParamWidget::CBaseTaskParamWidget(QWidget* parent)
    : QFrame(parent, Qt::Popup), m_pLayout(new QVBoxLayout(this)) {
  setAttribute(Qt::WA_DeleteOnClose);
  setFrameShape(QFrame::StyledPanel);
  GV::setScaledMargins(*m_pLayout, {10, 8, 10, 8});
  GV::setScaledSpacing(*m_pLayout, 4);
}

void CBaseTaskParamWidget::addLine(const QString& title, const QString& text) {
  auto* line = new QHBoxLayout;
  auto* name = new QLabel(title, this);
  name->setMinimumWidth(GV::CUiResource::scaled(72));
  line->addWidget(name);
  auto* value = new QLabel(text.isEmpty() ? QStringLiteral("--") : text, this);
  for (QLabel* label : {name, value}) label->setTextFormat(Qt::PlainText);
  line->addWidget(value, 1);
  m_pLayout->addLayout(line);
}

void CBaseTaskParamWidget::setParams(const std::vector<CCodeOrderParam>& params) {
  long long volume = 0;
  for (const CCodeOrderParam& param : params) volume += param.m_nVolume;
  addLine(QStringLiteral("交易方式"),
          join(params, [](const CCodeOrderParam& p) { return orderTypeToString(p.m_nOrderType); }));
  addLine(QStringLiteral("买卖方向"),
          join(params, [](const CCodeOrderParam& p) { return operationToString(p.m_nOperation); }));
  addLine(QStringLiteral("价格类型"), join(params, [](const CCodeOrderParam& p) {
            return ksservice::CEnumsDataHelper::priceTypeToFormatString(p.m_nPriceType);
          }));
  addLine(QStringLiteral("证券数"), QString::number(params.size()));
  addLine(QStringLiteral("委托数量"), QString::number(volume));
  if (params.size() == 1) {
    addLine(QStringLiteral("委托价格"), QString::number(params.front().m_dPrice, 'f', 3));
  }
}

void CBaseTaskParamWidget::popUp(const QString& rowKey, const QPoint& point) {
  adjustSize();
  move(GV::ptInsideScreen(point, size()));
  show();
  if (showObserver()) showObserver()(rowKey);
}

void CBaseTaskParamWidget::setShowObserver(ShowObserver observer) { showObserver() = std::move(observer); }

void CHpfBasketTaskParamWidget::setAlgoParams(const QString& text) { addLine(QStringLiteral("算法参数"), text); }

}  // namespace TC
