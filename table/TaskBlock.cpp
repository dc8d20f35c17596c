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

void CTaskBlock::take(SStagedTask& staged) {
  m_task.swap(staged.task);
  std::swap(m_state.facts, staged.facts);
  m_state.figures.swap(staged.figures);
  m_previous.swap(staged.figures);
  m_finished.swap(staged.finished);
  if (staged.texts) m_state.texts.swap(staged.texts);
  if (staged.shape) {
    m_state.shape.swap(staged.shape);
    m_previous = nullptr;
  }
  m_state.rootStatusTextSet = false;
  if (!m_orderCounts.isEmpty()) m_orderCounts.clear();
  ++m_nVersion;
}

double CTaskBlock::amountChange(int row) const {
  // The amount of a row that spans the hedge never counts as changed: intended, the hedge's own row tells.
  const CHpfBasketStatusData now = data(row);
  if (spansHedge(now.texts, now.hedge)) return 0;
  const double before = m_previous ? (*m_previous)[static_cast<std::size_t>(row)].amount : 0;
  return now.figures.amount - before;
}

void CTaskBlock::setRootStatusText(const QString& text) {
  m_state.rootStatusText = text;
  m_state.rootStatusTextSet = true;
}

std::pair<int, int> CTaskBlock::orderCounts(int row) const {
  const auto counts = m_orderCounts.constFind(row);
  if (counts != m_orderCounts.constEnd()) return *counts;
  const SRowFigures& counted = figures()[static_cast<std::size_t>(row)];
  return {counted.orderCount, counted.orderCount2};
}

}  // namespace TC
