#include "BasketStaging.h"

#include <QSet>
#include <algorithm>
#include <utility>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CHpfBasketStatusData.h"
#include "ksservice/Operations.h"
#include "tc/CExchangeClient.h"
#include "tc/Services.h"

namespace TC {
namespace {

int msecOfDay(const QTime& time) { return time.isValid() ? time.msecsSinceStartOfDay() : -1; }

SRowFigures figuresOf(const CBasketTaskItem& node) {
  SRowFigures figures;
  figures.tradedAmount = node.m_dTradedAmount;
  figures.totalAmount = node.m_dTotalAmount;
  figures.totalVolume = node.m_nTotalVolume;
  figures.tradedVolume = node.m_nFinishedVolume;
  figures.canceledCount = node.m_nCanceledCount;
  figures.orderCount = node.m_nOrderCount;
  figures.orderCount2 = node.m_nOrderCount2;
  figures.status = node.m_nStatus;
  figures.startMSec = msecOfDay(node.m_startTime);
  figures.endMSec = msecOfDay(node.m_endTime);
  return figures;
}

/// A row keeps the first start time that it showed, and the latest end time while its node has one.
void keepTimes(const SRowFigures& shown, SRowFigures& figures) {
  if (shown.startMSec >= 0) figures.startMSec = shown.startMSec;
  if (figures.endMSec >= 0 && shown.endMSec > figures.endMSec) figures.endMSec = shown.endMSec;
}

/// What the root's row shows of its status. While a patch that was accepted has not shown up, its own text gives way.
struct SShownRoot {
  int status;
  QString statusText;
};

SShownRoot shownRoot(const CBasketTask& task) {
  const CBasketTaskItem& root = *task.getRoot();
  const int shown = task.shownStatus();
  return {shown, shown == root.m_nStatus ? root.m_strRemark : QString()};
}

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

/// The row key of a node: the node's own key, which holds the task's, and for the second of two accounts that share
/// a display id the account's key too. The one place where row keys are formed.
QString rowKey(const CBasketTaskItem& node, QSet<QString>& taken) {
  QString key = node.m_strKey;
  if (taken.contains(key)) key += QLatin1Char('@') + QString::fromStdString(node.m_strAccountKey);
  while (taken.contains(key)) key += QLatin1Char('@');
  taken.insert(key);
  return key;
}

struct SNode {
  const CBasketTaskItem* item;
  int parent;
  int depth;
};

/// The nodes of a task in pre-order: the order of its rows.
void flatten(const CBasketTaskItem& node, int parent, int depth, std::vector<SNode>& out) {
  const int index = static_cast<int>(out.size());
  out.push_back({&node, parent, depth});
  for (const CBasketTaskItem* child : node.m_children) flatten(*child, index, depth + 1, out);
}

/// shown: the figures of the same rows that were staged last, null when the rows are new.
std::vector<SRowFigures> figuresOf(const std::vector<SNode>& nodes, const FiguresPtr& shown) {
  std::vector<SRowFigures> figures;
  figures.reserve(nodes.size());
  for (const SNode& node : nodes) {
    figures.push_back(figuresOf(*node.item));
    if (shown) keepTimes((*shown)[figures.size() - 1], figures.back());
  }
  return figures;
}

std::vector<SRowShape> shapeOf(const CBasketTask& task, const std::vector<SNode>& nodes, CSharedTexts& shared) {
  std::vector<SRowShape> shape;
  shape.reserve(nodes.size());
  QSet<QString> taken;
  for (const SNode& node : nodes) {
    const CBasketTaskItem& item = *node.item;
    SRowShape row;
    row.key = rowKey(item, taken);
    row.nodeKey = item.m_strKey;
    row.treeKey = item.m_strHpfTreeKey;
    row.displayName = item.m_strName;
    row.scriptName = shared.one(madeKey(item, task.getGroupId()));
    row.market = item.m_strMarket;
    row.code = shared.one(codeOf(item));
    row.operations = item.m_vecOperations;
    row.parent = node.parent;
    row.depth = node.depth;
    row.hedge = &item == task.getHedgeItem();
    shape.push_back(std::move(row));
  }
  return shape;
}

int hedgeRowOf(const std::vector<SRowShape>& shape) {
  const auto row = std::find_if(shape.begin(), shape.end(), [](const SRowShape& r) { return r.hedge; });
  return row == shape.end() ? -1 : static_cast<int>(row - shape.begin());
}

QString instrumentName(const SRowShape& row) {
  if (row.code.isEmpty()) return QString();
  const auto info = getExchangeClient().getCodeInfo(row.market.toStdString(), row.code.toStdString());
  return info ? QString::fromStdString(info->m_strName) : QString();
}

/// A node and what of it is not the node's own: the text of its status cell.
struct SShownNode {
  const CBasketTaskItem& item;
  const QString& statusText;
};

SRowTexts textsOf(const SShownNode& shown, const SRowShape& row, CSharedTexts& shared) {
  const CBasketTaskItem& node = shown.item;
  SRowTexts texts;
  texts.account = node.m_strAccounts;
  if (node.isEmpty()) texts.accountName = node.m_strAccountName;
  texts.instrumentName = shared.one(instrumentName(row));
  texts.statusText = shown.statusText;
  texts.investRemark = node.m_strCommandText;
  texts.algoTag = node.m_strLocalInfoKey;
  if (row.parent < 0) texts.tradeParam = orderTypeToString(node.m_nOrderType);
  return texts;
}

/// Compares in place: texts seldom change, and copying them for every row of every refresh would be most of its cost.
/// A name, once known, is not looked up again; an unknown instrument is, since the host may have learnt it.
bool sameTexts(const SShownNode& now, const SRowShape& row, const SRowTexts& shown) {
  const CBasketTaskItem& node = now.item;
  return shown.account == node.m_strAccounts && shown.statusText == now.statusText &&
         shown.investRemark == node.m_strCommandText && shown.algoTag == node.m_strLocalInfoKey &&
         (!node.isEmpty() || shown.accountName == node.m_strAccountName) &&
         (row.parent >= 0 || shown.tradeParam == orderTypeToString(node.m_nOrderType)) &&
         (!shown.instrumentName.isEmpty() || shown.instrumentName == instrumentName(row));
}

/// rootStatus: the text of the root's status cell.
SShownNode shownNode(const std::vector<SNode>& nodes, std::size_t row, const QString& rootStatus) {
  const CBasketTaskItem& item = *nodes[row].item;
  return {item, row == 0 ? rootStatus : item.m_strRemark};
}

std::vector<SRowTexts> textsOf(const std::vector<SNode>& nodes, const QString& rootStatus,
                               const std::vector<SRowShape>& shape, CSharedTexts& shared) {
  std::vector<SRowTexts> texts;
  texts.reserve(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    texts.push_back(textsOf(shownNode(nodes, i, rootStatus), shape[i], shared));
  }
  return texts;
}

bool sameTexts(const std::vector<SNode>& nodes, const QString& rootStatus, const std::vector<SRowShape>& shape,
               const std::vector<SRowTexts>& shown) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (!sameTexts(shownNode(nodes, i, rootStatus), shape[i], shown[i])) return false;
  }
  return true;
}

/// The figures of the amount column, once all that they hang on is known.
void fillAmounts(const std::vector<SRowShape>& shape, const std::vector<SRowTexts>& texts, int hedgeRow,
                 std::vector<SRowFigures>& figures) {
  const SRowFigures* hedge = hedgeRow < 0 ? nullptr : &figures[static_cast<std::size_t>(hedgeRow)];
  for (std::size_t i = 0; i < figures.size(); ++i) {
    figures[i].amount = shownAmount(shape[i], texts[i], figures[i], hedge);
  }
}

/// A row is finished when all that it ordered was filled; one that ordered nothing is not.
bool isFinished(const SRowFigures& figures) {
  return figures.totalVolume == figures.tradedVolume && figures.totalVolume != 0;
}

/// The finished children of the root, and of each child the leading run of finished ones.
RowFlags finishedRows(const std::vector<SRowShape>& shape, const std::vector<SRowFigures>& figures) {
  RowFlags flags(shape.size());
  bool leading = true;  // among the grandchildren under the current child
  for (std::size_t i = 1; i < shape.size(); ++i) {
    if (shape[i].depth == 1) leading = true;
    if (shape[i].depth > 2) continue;
    const bool finished = isFinished(figures[i]);
    // The run ends at the first unfinished one: intended.
    if (shape[i].depth == 2) leading = leading && finished;
    if (finished && leading) flags.set(i);
  }
  return flags;
}

}  // namespace

void CBasketStaging::beginRefresh() {
  std::vector<StagedBatch> outdated;  // goes when the mutex is free again
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_nRefreshDay = m_nDay;
  outdated.swap(m_outdated);
}

void CBasketStaging::giveBack(StagedBatch outdated) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_outdated.push_back(std::move(outdated));
}

void CBasketStaging::stageTask(const boost::shared_ptr<CBasketTask>& task) {
  if (!task || !task->getRoot()) return;
  SStagedTask staged;
  {
    const boost::recursive_mutex::scoped_lock lock(task->mutex());
    SLast& last = lastOf(task->getKey());
    // A new day brings new task objects under old keys, and a batch of the old day never arrived.
    if (last.task.lock() != task || last.day != m_nRefreshDay) {
      last = SLast(last.slot);
      last.task = task;
      last.day = m_nRefreshDay;
    }
    walk(*task, last, staged);
  }
  put(std::move(staged));
}

/// What was staged last under a key; its slot alone before the first time.
CBasketStaging::SLast& CBasketStaging::lastOf(const QString& taskKey) {
  SLast& last = m_last[taskKey];
  if (last.slot < 0) last.slot = static_cast<int>(m_last.size()) - 1;
  return last;
}

void CBasketStaging::walk(const CBasketTask& task, SLast& last, SStagedTask& staged) {
  std::vector<SNode> nodes;
  if (last.figures) nodes.reserve(last.figures->size());
  flatten(*task.getRoot(), -1, 0, nodes);
  const bool sameShape = last.shape && last.shapeVersion == task.shapeVersion();
  if (!sameShape) {
    staged.shape = last.shape = std::make_shared<const std::vector<SRowShape>>(shapeOf(task, nodes, m_sharedTexts));
    last.shapeVersion = task.shapeVersion();
    last.hedgeRow = hedgeRowOf(*last.shape);
  }

  auto figures = std::make_shared<std::vector<SRowFigures>>(figuresOf(nodes, sameShape ? last.figures : nullptr));
  const SShownRoot root = shownRoot(task);
  figures->front().status = root.status;
  if (!sameShape || !sameTexts(nodes, root.statusText, *last.shape, *last.texts)) {
    staged.texts = last.texts =
        std::make_shared<const std::vector<SRowTexts>>(textsOf(nodes, root.statusText, *last.shape, m_sharedTexts));
  }
  fillAmounts(*last.shape, *last.texts, last.hedgeRow, *figures);
  last.figures = std::move(figures);
  RowFlags finished = finishedRows(*last.shape, *last.figures);
  if (!last.finished || *last.finished != finished) {
    last.finished = std::make_shared<const RowFlags>(std::move(finished));
  }
  fillIn(task, last, staged);
}

/// What every staged copy of a task has beside the arrays that changed.
void CBasketStaging::fillIn(const CBasketTask& task, const SLast& last, SStagedTask& staged) {
  const SRowFigures& root = last.figures->front();
  staged.slot = last.slot;
  staged.task = last.task;
  staged.facts = {task.getKey(), task.getRoot()->m_strHpfTreeKey, task.getBasketName(), task.getGroupId(),
                  last.hedgeRow, task.getRoot()->m_nStatus,       root.amount};
  staged.figures = last.figures;
  staged.finished = last.finished;
}

void CBasketStaging::stageStatus(const boost::shared_ptr<CBasketTask>& task, const QString& accountKey,
                                 const QString& rowKey) {
  if (!task) return;
  const auto known = m_last.find(task->getKey());
  if (known == m_last.end()) return;
  SLast& last = known->second;
  const boost::recursive_mutex::scoped_lock lock(task->mutex());
  // Of a tree that changed since, everything comes with the stageTask that follows the change.
  if (last.task.lock() != task || last.day != m_nRefreshDay || last.shapeVersion != task->shapeVersion()) return;
  std::vector<SNode> nodes;
  nodes.reserve(last.figures->size());
  flatten(*task->getRoot(), -1, 0, nodes);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const CBasketTaskItem& node = *nodes[i].item;
    if (node.m_strAccountKey != accountKey.toStdString() || (*last.shape)[i].scriptName != rowKey) continue;
    putStatus(task, last, i, node);
    return;
  }
}

void CBasketStaging::putStatus(const boost::shared_ptr<CBasketTask>& task, SLast& last, std::size_t row,
                               const CBasketTaskItem& node) {
  const bool sameText = (*last.texts)[row].statusText == node.m_strRemark;
  if (sameText && (*last.figures)[row].status == node.m_nStatus) return;
  SStagedTask staged;
  auto figures = std::make_shared<std::vector<SRowFigures>>(*last.figures);
  (*figures)[row].status = node.m_nStatus;
  last.figures = std::move(figures);
  if (!sameText) {
    auto texts = std::make_shared<std::vector<SRowTexts>>(*last.texts);
    (*texts)[row].statusText = node.m_strRemark;
    staged.texts = last.texts = std::move(texts);
  }
  fillIn(*task, last, staged);
  put(std::move(staged));
}

void CBasketStaging::stageClear(const QString& taskKey) {
  const auto known = m_last.find(taskKey);
  if (known == m_last.end()) return;
  known->second = SLast(known->second.slot);
  SStagedTask staged;
  staged.slot = known->second.slot;
  staged.facts.taskKey = taskKey;
  staged.clear = true;
  put(std::move(staged));
}

void CBasketStaging::put(SStagedTask staged) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  if (m_nRefreshDay != m_nDay) return;
  const auto slot = static_cast<std::size_t>(staged.slot);
  if (slot >= m_waiting.size()) m_waiting.resize(slot + 1);
  if (m_waiting[slot].batch != m_nBatch) {
    m_waiting[slot] = {m_nBatch, m_staged.size()};
    m_staged.push_back(std::move(staged));
    return;
  }
  SStagedTask& waiting = m_staged[m_waiting[slot].place];
  if (!staged.clear) {
    // What the GUI thread has not taken yet stays valid where the newer copy brings nothing of its own.
    staged.clear = waiting.clear;
    if (!staged.shape) staged.shape = std::move(waiting.shape);
    if (!staged.texts) staged.texts = std::move(waiting.texts);
  }
  waiting = std::move(staged);
}

StagedBatch CBasketStaging::take() {
  StagedBatch staged;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    staged.swap(m_staged);
    ++m_nBatch;
  }
  const auto reshapes = [](const SStagedTask& task) { return task.clear || task.shape; };
  if (std::any_of(staged.begin(), staged.end(), reshapes)) {
    const auto before = [](const SStagedTask& a, const SStagedTask& b) { return a.facts.taskKey < b.facts.taskKey; };
    std::sort(staged.begin(), staged.end(), before);
  }
  return staged;
}

void CBasketStaging::startNewDay() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  ++m_nDay;
  ++m_nBatch;
  m_staged.clear();
}

}  // namespace TC
