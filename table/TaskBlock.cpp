#include "TaskBlock.h"

namespace TC {

void CTaskBlock::take(const SStagedTask& staged) {
  m_task = staged.task;
  m_facts = staged.facts;
  m_previous = staged.shape ? nullptr : m_figures;
  if (staged.shape) m_shape = staged.shape;
  if (staged.texts) m_texts = staged.texts;
  m_figures = staged.figures;
  m_bRootStatusTextSet = false;
  m_orderCounts.clear();
  ++m_nVersion;
}

CHpfBasketStatusData CTaskBlock::data(int row) const {
  const auto index = static_cast<std::size_t>(row);
  const SRowTexts& texts = (*m_texts)[index];
  const bool replaced = row == 0 && m_bRootStatusTextSet;
  return {m_facts,
          (*m_shape)[index],
          texts,
          (*m_figures)[index],
          m_facts.hedgeRow < 0 ? nullptr : &(*m_figures)[static_cast<std::size_t>(m_facts.hedgeRow)],
          replaced ? m_strRootStatusText : texts.statusText};
}

double CTaskBlock::amountChange(int row) const {
  // The amount of a row that spans the hedge never counts as changed: intended, the hedge's own row tells.
  const CHpfBasketStatusData now = data(row);
  if (spansHedge(now)) return 0;
  if (!m_previous) return amountOf(now);
  const SRowFigures& before = (*m_previous)[static_cast<std::size_t>(row)];
  return amountOf(now) - amountOf({now.facts, now.shape, now.texts, before, nullptr, now.statusText});
}

void CTaskBlock::setRootStatusText(const QString& text) {
  m_strRootStatusText = text;
  m_bRootStatusTextSet = true;
}

std::pair<int, int> CTaskBlock::orderCounts(int row) const {
  const auto announced = m_orderCounts.constFind(row);
  if (announced != m_orderCounts.constEnd()) return *announced;
  const SRowFigures& figures = (*m_figures)[static_cast<std::size_t>(row)];
  return {figures.orderCount, figures.orderCount2};
}

}  // namespace TC
