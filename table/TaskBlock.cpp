#include "TaskBlock.h"

#include <utility>

namespace TC {

CHpfBasketStatusData STaskRows::data(int row) const {
  const auto index = static_cast<std::size_t>(row);
  const SRowTexts& rowTexts = (*texts)[index];
  const bool replaced = row == 0 && rootStatusTextSet;
  return {facts,
          (*shape)[index],
          rowTexts,
          (*figures)[index],
          facts.hedgeRow < 0 ? nullptr : &(*figures)[static_cast<std::size_t>(facts.hedgeRow)],
          replaced ? rootStatusText : rowTexts.statusText};
}

FiguresPtr CTaskBlock::take(const SStagedTask& staged) {
  FiguresPtr outdated = std::move(m_previous);
  m_task = staged.task;
  m_state.facts = staged.facts;
  m_previous = staged.shape ? nullptr : m_state.figures;
  if (staged.shape) m_state.shape = staged.shape;
  if (staged.texts) m_state.texts = staged.texts;
  m_state.figures = staged.figures;
  m_state.rootStatusTextSet = false;
  m_orderCounts.clear();
  ++m_nVersion;
  return outdated;
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
  m_state.rootStatusText = text;
  m_state.rootStatusTextSet = true;
}

std::pair<int, int> CTaskBlock::orderCounts(int row) const {
  const auto announced = m_orderCounts.constFind(row);
  if (announced != m_orderCounts.constEnd()) return *announced;
  const SRowFigures& counted = figures()[static_cast<std::size_t>(row)];
  return {counted.orderCount, counted.orderCount2};
}

}  // namespace TC
