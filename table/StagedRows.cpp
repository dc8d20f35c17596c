#include "StagedRows.h"

#include <algorithm>
#include <utility>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CHpfBasketStatusData.h"
#include "RowKeys.h"
#include "ksservice/Operations.h"

namespace TC {
namespace {

/// The code of a node's instrument: its stock key without the market, or, for a hedge row, the key as it is.
QString codeOf(const CBasketTaskItem& node) {
  const QString prefix = node.m_strMarket + QLatin1Char('.');
  return node.m_strStockKey.startsWith(prefix) ? node.m_strStockKey.mid(prefix.size()) : node.m_strStockKey;
}

/// The key with which the node was made: what stands behind its parent's key.
QString madeKey(const CBasketTaskItem& node, int taskId) {
  const CBasketTaskItem* parent = node.parent();
  return parent ? node.m_strKey.mid(parent->m_strKey.size() + 1) : QString::number(taskId);
}

void flatten(const CBasketTask& task, const CBasketTaskItem& node, int parent, int depth, std::vector<SNode>& out) {
  const int index = static_cast<int>(out.size());
  out.push_back(nodeOf(task, node, parent, depth));
  for (const CBasketTaskItem* child : node.m_children) flatten(task, *child, index, depth + 1, out);
}

SRowTexts textsOf(const SNode& place) {
  const CBasketTaskItem& node = *place.item;
  SRowTexts texts;
  texts.account = node.m_strAccounts;
  if (node.isEmpty()) texts.accountName = node.m_strAccountName;
  texts.statusText = *place.statusText;
  texts.investRemark = node.m_strCommandText;
  texts.algoTag = node.m_strLocalInfoKey;
  if (place.parent < 0) texts.tradeParam = orderTypeToString(node.m_nOrderType);
  return texts;
}

/// Most texts are one copy: they were taken from where they are compared with.
bool same(const QString& a, const QString& b) { return a.constData() == b.constData() || a == b; }

/// The place of a row's texts among the sets: one of the last few that are the same, else new.
int setOf(std::vector<SRowTexts>& sets, SRowTexts texts) {
  constexpr std::ptrdiff_t LOOKED_AT = 8;
  const auto last = sets.rbegin() + std::min(LOOKED_AT, static_cast<std::ptrdiff_t>(sets.size()));
  const auto known = std::find(sets.rbegin(), last, texts);
  if (known != last) return static_cast<int>(sets.rend() - known) - 1;
  sets.push_back(std::move(texts));
  return static_cast<int>(sets.size()) - 1;
}

}  // namespace

SNode nodeOf(const CBasketTask& task, const CBasketTaskItem& item, int parent, int depth) {
  static const QString none;
  SNode node{&item, parent, depth, item.m_nStatus, &item.m_strRemark};
  if (parent >= 0) return node;
  // While a patch that was accepted has not shown up, the root's own text gives way to what is shown of it.
  node.status = task.shownStatus();
  if (node.status != item.m_nStatus) node.statusText = &none;
  return node;
}

std::vector<SNode> nodesOf(const CBasketTask& task, std::size_t rows) {
  std::vector<SNode> nodes;
  nodes.reserve(rows);
  flatten(task, *task.getRoot(), -1, 0, nodes);
  return nodes;
}

std::vector<SRowShape> shapeOf(const CBasketTask& task, const std::vector<SNode>& nodes, CSharedTexts& shared) {
  std::vector<SRowShape> shape;
  shape.reserve(nodes.size());
  CRowKeyStems stems(task);
  for (const SNode& node : nodes) {
    const CBasketTaskItem& item = *node.item;
    SRowShape row;
    row.scriptName = shared.one(madeKey(item, task.getGroupId()));
    row.keyStem = stems.of(item);
    row.treeKey = item.m_strHpfTreeKey;
    row.displayName = item.m_strName;
    row.code = shared.one(codeOf(item));
    row.operations = item.m_vecOperations;
    row.amountFree = isAmountFree(row.operations);
    row.parent = node.parent;
    row.depth = static_cast<short>(node.depth);
    row.leaf = node.parent >= 0 && item.isEmpty();
    shape.push_back(std::move(row));
  }
  return shape;
}

int hedgeRowOf(const CBasketTask& task, const std::vector<SNode>& nodes) {
  const auto isHedge = [&task](const SNode& node) { return node.item == task.getHedgeItem(); };
  const auto row = std::find_if(nodes.begin(), nodes.end(), isHedge);
  return row == nodes.end() ? -1 : static_cast<int>(row - nodes.begin());
}

std::vector<int> instrumentsOf(const std::vector<SNode>& nodes, const std::vector<SRowShape>& shape,
                               CInstruments& instruments) {
  std::vector<int> numbers;
  numbers.reserve(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    numbers.push_back(instruments.numberOf(nodes[i].item->m_strMarket, shape[i].code));
  }
  return numbers;
}

STaskTexts textsOf(const std::vector<SNode>& nodes, const std::vector<int>& numbers, CInstruments& instruments) {
  STaskTexts texts;
  texts.setOf.reserve(nodes.size());
  texts.infoOf.reserve(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    texts.setOf.push_back(setOf(texts.sets, textsOf(nodes[i])));
    texts.infoOf.push_back(&instruments.info(numbers[i]));
  }
  texts.sets.shrink_to_fit();
  texts.infos = instruments.infos();
  return texts;
}

bool sameTexts(const std::vector<SNode>& nodes, const std::vector<int>& numbers, CInstruments& instruments,
               const STaskTexts& shown) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (!sameTexts(nodes[i], shown.of(i)) || shown.infoOf[i] != &instruments.info(numbers[i])) return false;
  }
  return true;
}

bool sameTexts(const SNode& place, const SRowTexts& shown) {
  const CBasketTaskItem& node = *place.item;
  return same(shown.account, node.m_strAccounts) && same(shown.statusText, *place.statusText) &&
         same(shown.investRemark, node.m_strCommandText) && same(shown.algoTag, node.m_strLocalInfoKey) &&
         (!node.isEmpty() || same(shown.accountName, node.m_strAccountName)) &&
         (place.parent >= 0 || shown.tradeParam == orderTypeToString(node.m_nOrderType));
}

SRowFigures figuresOf(const SNode& place) {
  const CBasketTaskItem& node = *place.item;
  SRowFigures figures;
  figures.tradedAmount = node.m_dTradedAmount;
  figures.totalAmount = node.m_dTotalAmount;
  figures.totalVolume = node.m_nTotalVolume;
  figures.tradedVolume = node.m_nFinishedVolume;
  figures.unfilled = CWideVolume::held(node.totalVolume() - node.finishedVolume());
  figures.orderCount = node.m_nOrderCount;
  figures.orderCount2 = node.m_nOrderCount2;
  figures.status = place.status;
  return figures;
}

std::vector<SRowFigures> figuresOf(const std::vector<SNode>& nodes) {
  std::vector<SRowFigures> figures;
  figures.reserve(nodes.size());
  for (const SNode& node : nodes) figures.push_back(figuresOf(node));
  return figures;
}

std::vector<double> amountsOf(const std::vector<SRowShape>& shape, const STaskTexts& texts, int hedgeRow,
                              const std::vector<SRowFigures>& figures) {
  const SRowFigures* hedge = hedgeRow < 0 ? nullptr : &figures[static_cast<std::size_t>(hedgeRow)];
  std::vector<double> amounts;
  amounts.reserve(figures.size());
  for (std::size_t i = 0; i < figures.size(); ++i) {
    amounts.push_back(shownAmount(shape[i], texts.of(i), figures[i], hedge));
  }
  return amounts;
}

int msecOfDay(const QTime& time) { return time.isValid() ? time.msecsSinceStartOfDay() : -1; }

bool isFilled(const SRowFigures& figures, const CBasketTaskItem& node) {
  return figures.unfilled == 0 && figures.totalVolume != 0 && !node.m_bUnset;
}

RowFlags finishedRows(const std::vector<SRowShape>& shape, const RowFlags& filled) {
  RowFlags flags(shape.size());
  bool leading = true;  // among the grandchildren under the current child
  for (std::size_t i = 1; i < shape.size(); ++i) {
    if (shape[i].depth == 1) leading = true;
    if (shape[i].depth > 2) continue;
    // The run ends at the first unfilled one: intended.
    if (shape[i].depth == 2) leading = leading && filled[i];
    if (filled[i] && leading) flags.set(i);
  }
  return flags;
}

}  // namespace TC
