#include "TaskBlock.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "RowKeys.h"
#include "TaskKeys.h"

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

QString STaskRows::key(int row) const { return rowKey((*shape)[static_cast<std::size_t>(row)]); }

QString STaskRows::nodeKey(int row) const {
  const SRowShape& node = (*shape)[static_cast<std::size_t>(row)];
  return node.parent < 0 ? facts.taskKey : nodeKey(node.parent) + NODE_KEY_SEPARATOR + node.scriptName;
}

std::vector<int> CTaskBlock::placesIn(const std::vector<SRowShape>& shape) const {
  std::vector<int> places(shape.size(), -1);
  if (size() == 0) return places;
  QHash<QString, int> known;
  known.reserve(size());
  for (int row = 0; row < size(); ++row) known.insert(m_state.key(row), row);
  for (std::size_t i = 0; i < shape.size(); ++i) places[i] = known.value(rowKey(shape[i]), -1);
  return places;
}

void CTaskBlock::take(SStagedTask& staged, const std::vector<int>& before) {
  m_task.swap(staged.task);
  std::swap(m_state.facts, staged.facts);
  m_state.figures.swap(staged.figures);
  m_previous.swap(staged.figures);
  m_finished.swap(staged.finished);
  if (staged.texts) m_state.texts.swap(staged.texts);
  if (staged.shape) {
    m_state.shape.swap(staged.shape);
    m_names.clear();
    if (m_previous) {
      auto placed = std::make_shared<std::vector<SRowFigures>>(before.size());
      for (std::size_t i = 0; i < before.size(); ++i) {
        if (before[i] >= 0) (*placed)[i] = (*m_previous)[static_cast<std::size_t>(before[i])];
      }
      m_previous = std::move(placed);
    }
  }
  m_state.rootStatusTextSet = false;
  if (!m_orderCounts.isEmpty()) m_orderCounts.clear();
  ++m_nVersion;
}

void CTaskBlock::listNames() const {
  for (int row = 0; row < size(); ++row) {
    const QString& treeKey = shape()[static_cast<std::size_t>(row)].treeKey;
    m_names.push_back({qHash(m_state.nodeKey(row)), row});
    if (!treeKey.isEmpty()) m_names.push_back({qHash(treeKey), row});
  }
  std::sort(m_names.begin(), m_names.end(),
            [](const SName& a, const SName& b) { return std::tie(a.hash, a.row) < std::tie(b.hash, b.row); });
}

int CTaskBlock::rowNamed(const QString& name) const {
  if (m_names.empty()) listNames();
  const uint hash = qHash(name);
  auto entry = std::lower_bound(m_names.begin(), m_names.end(), hash,
                                [](const SName& a, uint wanted) { return a.hash < wanted; });
  for (; entry != m_names.end() && entry->hash == hash; ++entry) {
    if (shape()[static_cast<std::size_t>(entry->row)].treeKey == name) return entry->row;
    if (m_state.nodeKey(entry->row) == name) return entry->row;
  }
  return -1;
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
