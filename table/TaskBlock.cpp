#include "TaskBlock.h"

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

#include "BasketColumns.h"
#include "RowKeys.h"
#include "TaskKeys.h"

namespace TC {
namespace {

const SBasketColumn* columnOf(int column) {
  return column < 0 || column >= EBC_Count ? nullptr : &basketColumns()[static_cast<std::size_t>(column)];
}

}  // namespace

// A state

CHpfBasketStatusData STaskRows::data(int row) const {
  const auto index = static_cast<std::size_t>(row);
  const SRowTexts& rowTexts = texts->of(index);
  const bool replaced = row == 0 && rootStatusTextSet;
  return {facts,
          (*shape)[index],
          rowTexts,
          *texts->infoOf[index],
          (*figures)[index],
          facts.hedgeRow < 0 ? nullptr : &(*figures)[static_cast<std::size_t>(facts.hedgeRow)],
          replaced ? rootStatusText : rowTexts.statusText};
}

QString STaskRows::key(int row) const { return rowKey((*shape)[static_cast<std::size_t>(row)]); }

QString STaskRows::nodeKey(int row) const {
  const SRowShape& node = (*shape)[static_cast<std::size_t>(row)];
  return node.parent < 0 ? facts.taskKey : nodeKey(node.parent) + NODE_KEY_SEPARATOR + node.scriptName;
}

std::pair<int, int> STaskRows::orderCounts(int row) const {
  const auto counts = announcedOrders.constFind(row);
  if (counts != announcedOrders.constEnd()) return *counts;
  const SRowFigures& counted = (*figures)[static_cast<std::size_t>(row)];
  return {counted.orderCount, counted.orderCount2};
}

int STaskRows::sortOrder(int row) const { return row == 0 ? facts.taskId : std::numeric_limits<int>::max(); }

QString STaskRows::text(int row, int column) const {
  if (column == EBC_Tree) return name(row);
  if (column == EBC_Orders) return orderText(orderCounts(row).first, orderCounts(row).second);
  return sortText(row, column);
}

double STaskRows::sortNumber(int row, int column) const {
  const SBasketColumn* of = columnOf(column);
  return of && of->sortFigure ? of->sortFigure(data(row)) : 0;
}

QString STaskRows::sortText(int row, int column) const {
  const SBasketColumn* of = columnOf(column);
  return of && of->text ? of->text(data(row), mode) : QString();
}

// The block

CTaskBlock::~CTaskBlock() {
  for (CHpfBasketStatusTableData* record : qAsConst(m_records)) record->unbind();
}

void CTaskBlock::take(SStagedTask& staged) {
  m_task.swap(staged.task);
  std::swap(m_state.facts, staged.facts);
  m_state.figures.swap(staged.figures);
  m_amountsBefore.swap(staged.amountsBefore);
  m_finished.swap(staged.finished);
  if (staged.texts) {
    m_state.texts.swap(staged.texts);
    ++m_nTextsVersion;
  }
  if (staged.shape) {
    m_state.shape.swap(staged.shape);
    m_index.swap(staged.index);
    m_names.clear();
    rebind(staged.before);
  }
  m_state.rootStatusTextSet = false;
  if (!m_state.announcedOrders.isEmpty()) m_state.announcedOrders.clear();
  m_readChanges.clear();
}

SStagedTask CTaskBlock::letGo() {
  SStagedTask rest;
  rest.shape.swap(m_state.shape);
  rest.index.swap(m_index);
  rest.texts.swap(m_state.texts);
  rest.figures.swap(m_state.figures);
  rest.amountsBefore.swap(m_amountsBefore);
  rest.finished.swap(m_finished);
  return rest;
}

/// The records go with their rows to the new places; those of rows that are gone are of no row any more.
void CTaskBlock::rebind(const std::vector<int>& before) {
  if (m_records.isEmpty()) return;
  QHash<int, CHpfBasketStatusTableData*> records;
  records.swap(m_records);
  for (std::size_t i = 0; i < before.size() && !records.isEmpty(); ++i) {
    CHpfBasketStatusTableData* record = before[i] < 0 ? nullptr : records.take(before[i]);
    if (!record) continue;
    record->bindTo(*this, static_cast<int>(i));
    m_records.insert(static_cast<int>(i), record);
  }
  for (CHpfBasketStatusTableData* record : qAsConst(records)) record->unbind();
}

StatusRowPtr CTaskBlock::statusRow(int row) {
  const auto known = m_records.constFind(row);
  if (known != m_records.constEnd()) return boost::static_pointer_cast<CHpfBasketStatusTableData>((*known)->self());
  auto record = boost::make_shared<CHpfBasketStatusTableData>();
  record->bindTo(*this, row);
  m_records.insert(row, record.get());
  return record;
}

void CTaskBlock::visitCounted(int column, const CountedVisitor& visit) const {
  visit(0, column == EBC_Amount ? facts().rootAmount : 0);
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

double CTaskBlock::takeAmountChange(int row) {
  if (m_readChanges.contains(row)) return 0;
  m_readChanges.insert(row);
  // The amount of a row that spans the hedge never counts as changed: intended, the hedge's own row tells.
  const CHpfBasketStatusData now = data(row);
  if (spansHedge(now.texts, now.hedge)) return 0;
  const double before = m_amountsBefore ? (*m_amountsBefore)[static_cast<std::size_t>(row)] : 0;
  return now.amount() - before;
}

void CTaskBlock::setRootStatusText(const QString& text) {
  m_state.rootStatusText = text;
  m_state.rootStatusTextSet = true;
}

}  // namespace TC
