#include "CSummaryBar.h"

#include <QHBoxLayout>
#include <algorithm>
#include <array>
#include <cmath>

#include "LineTexts.h"
#include "gv/Scaling.h"

namespace preview {
namespace {

struct SFilterText {
  ELineFilter m_eFilter;
  const char* m_pText;
};

constexpr std::array<SFilterText, 5> FILTERS{{{ELineFilter::All, "全部"},
                                              {ELineFilter::Errors, "错误"},
                                              {ELineFilter::Warnings, "警告"},
                                              {ELineFilter::Changed, "有变化"},
                                              {ELineFilter::Unchecked, "未勾选"}}};

QString sidePart(const QString& side, int lines, double amount, double fees) {
  return QStringLiteral("%1 %2 行 %3（费用 %4）").arg(side).arg(lines).arg(amountText(amount), amountText(fees));
}

}  // namespace

CSummaryBar::CSummaryBar(CDraft& draft, QWidget* parent)
    : QWidget(parent),
      m_draft(draft),
      m_pFilters(new QButtonGroup(this)),
      m_pUncheck(new QPushButton(QStringLiteral("取消勾选全部错误行"), this)),
      m_pMerge(new QPushButton(QStringLiteral("合并重复"), this)),
      m_pTotals(new QLabel(this)) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  GV::setScaledSpacing(*row, 6);
  for (const SFilterText& each : FILTERS) {
    auto* button = new QPushButton(this);
    button->setCheckable(true);
    button->setAutoDefault(false);
    m_pFilters->addButton(button, static_cast<int>(each.m_eFilter));
    row->addWidget(button);
  }
  m_pFilters->button(static_cast<int>(ELineFilter::All))->setChecked(true);
  for (QPushButton* button : {m_pUncheck, m_pMerge}) {
    button->setAutoDefault(false);
    row->addWidget(button);
  }
  m_pTotals->setTextFormat(Qt::PlainText);
  m_pTotals->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  row->addWidget(m_pTotals, 1);
  connect(m_pFilters, &QButtonGroup::idClicked, this,
          [this](int id) { Q_EMIT sigFilter(static_cast<ELineFilter>(id)); });
  connect(m_pUncheck, &QPushButton::clicked, this, [this] { m_draft.uncheckErrors(); });
  connect(m_pMerge, &QPushButton::clicked, this, [this] { m_draft.mergeTwice(); });
  connect(&draft, &CDraft::sigJudged, this, [this] { showTotals(); });
  showTotals();
}

int CSummaryBar::countOf(ELineFilter filter) const {
  const std::vector<SDraftLine>& lines = m_draft.state().m_lines;
  switch (filter) {
    case ELineFilter::All:
      return static_cast<int>(lines.size());
    case ELineFilter::Errors:
      return m_draft.judgement().m_totals.m_nErrors;
    case ELineFilter::Warnings:
      return m_draft.judgement().m_totals.m_nWarnings;
    case ELineFilter::Changed:
      return static_cast<int>(std::count_if(lines.begin(), lines.end(),
                                            [](const SDraftLine& line) { return !line.m_strChange.isEmpty(); }));
    case ELineFilter::Unchecked:
      return static_cast<int>(
          std::count_if(lines.begin(), lines.end(), [](const SDraftLine& line) { return !line.m_line.m_bChecked; }));
  }
  return 0;
}

void CSummaryBar::showTotals() {
  for (const SFilterText& each : FILTERS) {
    const int count = countOf(each.m_eFilter);
    QAbstractButton* button = m_pFilters->button(static_cast<int>(each.m_eFilter));
    button->setText(QStringLiteral("%1 %2").arg(QString::fromUtf8(each.m_pText)).arg(count));
    // One that is pressed stays, or the filter could not be seen.
    button->setVisible(count > 0 || each.m_eFilter == ELineFilter::All || button->isChecked());
  }
  const draft::STotals& totals = m_draft.judgement().m_totals;
  m_pUncheck->setVisible(totals.m_nErrors > 0);
  const auto& findings = m_draft.judgement().m_findings;
  m_pMerge->setVisible(std::any_of(findings.begin(), findings.end(), [](const auto& ofLine) {
    return std::any_of(ofLine.begin(), ofLine.end(),
                       [](const draft::SFinding& finding) { return finding.m_kind == draft::EFinding::Twice; });
  }));
  QStringList parts;
  if (totals.m_nBuyLines > 0) {
    parts << sidePart(QStringLiteral("买入"), totals.m_nBuyLines, totals.m_dBuy, totals.m_dBuyFees);
  }
  if (totals.m_nSellLines > 0) {
    parts << sidePart(QStringLiteral("卖出"), totals.m_nSellLines, totals.m_dSell, totals.m_dSellFees);
  }
  const double net = totals.m_dBuy - totals.m_dSell;
  if (parts.size() == 2) {
    parts << QStringLiteral("%1 %2").arg(net >= 0 ? QStringLiteral("净买入") : QStringLiteral("净卖出"),
                                         amountText(std::abs(net)));
  }
  m_pTotals->setText(parts.join(QStringLiteral("   ")));
}

}  // namespace preview
