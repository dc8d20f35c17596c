#include "BasketStaging.h"

#include <algorithm>
#include <utility>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CHpfBasketStatusData.h"
#include "RowKeys.h"

namespace TC {
namespace {

/// Where each row of a shape was in the one before.
std::vector<int> placesBefore(const ShapePtr& before, const IndexPtr& index, const std::vector<SRowShape>& shape) {
  std::vector<int> places(shape.size(), -1);
  if (!before) return places;
  for (std::size_t i = 0; i < shape.size(); ++i) places[i] = index->find(*before, rowKey(shape[i]));
  return places;
}

/// values in the places of the rows now; 0 for a row that is new.
AmountsPtr moved(const AmountsPtr& values, const std::vector<int>& before) {
  if (!values) return nullptr;
  auto placed = std::make_shared<std::vector<double>>(before.size());
  for (std::size_t i = 0; i < before.size(); ++i) {
    if (before[i] >= 0) (*placed)[i] = (*values)[static_cast<std::size_t>(before[i])];
  }
  return placed;
}

/// What the GUI thread has not taken yet stays valid where the newer copy brings nothing of its own.
void join(SStagedTask& waiting, SStagedTask& newer) {
  if (!newer.texts) newer.texts = std::move(waiting.texts);
  if (!newer.shape) {
    newer.amountsBefore = std::move(waiting.amountsBefore);
    newer.shape = std::move(waiting.shape);
    newer.index = std::move(waiting.index);
    newer.before = std::move(waiting.before);
    return;
  }
  newer.amountsBefore = moved(waiting.amountsBefore, newer.before);
  if (!waiting.shape) return;
  for (int& place : newer.before) place = place < 0 ? -1 : waiting.before[static_cast<std::size_t>(place)];
}

}  // namespace

void CBasketStaging::beginRefresh(unsigned day) {
  std::vector<StagedBatch> outdated;  // goes when the mutex is free again
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    outdated.swap(m_outdated);
    // Slots are given anew, and nothing waits in those of the day before.
    if (m_nRefreshDay != day && m_nDay == day) m_waiting.clear();
  }
  if (m_nRefreshDay != day) {
    m_nRefreshDay = day;
    m_last.clear();
    m_sharedTexts = CSharedTexts();
    m_instruments = CInstruments();
  }
  m_instruments.beginRefresh();
}

void CBasketStaging::giveBack(StagedBatch outdated) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_outdated.push_back(std::move(outdated));
}

void CBasketStaging::stageTask(const boost::shared_ptr<CBasketTask>& task) {
  if (!task || !task->getRoot() || !task->isReached()) return;
  SStagedTask staged;
  const boost::recursive_mutex::scoped_lock lock(task->mutex());
  SLast& last = lastOf(task->getKey());
  SLast now = last;
  if (last.task.lock() != task) {
    // Its rows come anew, in the place of those that stand there.
    now = SLast(last.slot);
    now.shape = last.shape;
    now.index = last.index;
    now.amounts = last.amounts;
    now.whole = true;
  }
  now.task = task;
  // Only what will arrive is known from now on: whatever fails before that is staged anew as a whole.
  last.whole = true;
  const SChangedRows changed = task->takeChanges();
  if (changed.all || now.whole || now.shapeVersion != task->shapeVersion() ||
      now.instrumentsRefresh != m_instruments.refresh() || !follow(*task, changed.rows, now, staged)) {
    walk(*task, now, staged);
  }
  fillIn(*task, now, staged);
  put(std::move(staged));
  last = std::move(now);
}

/// What was staged last under a key; its slot alone before the first time.
CBasketStaging::SLast& CBasketStaging::lastOf(const QString& taskKey) {
  SLast& last = m_last[taskKey];
  if (last.slot < 0) last.slot = static_cast<int>(m_last.size()) - 1;
  return last;
}

void CBasketStaging::walk(const CBasketTask& task, SLast& last, SStagedTask& staged) {
  const std::vector<SNode> nodes = nodesOf(task, last.shape ? last.shape->size() : 0);
  auto figures = std::make_shared<std::vector<SRowFigures>>(figuresOf(nodes));
  staged.amountsBefore = last.amounts;
  const bool sameShape = last.shape && !last.cleared && last.texts && last.shapeVersion == task.shapeVersion();
  if (!sameShape) reshape(task, nodes, last, staged);
  if (!sameShape || !sameTexts(nodes, *last.instruments, m_instruments, *last.texts)) {
    staged.texts = last.texts = std::make_shared<const STaskTexts>(textsOf(nodes, *last.instruments, m_instruments));
  }
  last.instrumentsRefresh = m_instruments.refresh();
  last.amounts =
      std::make_shared<const std::vector<double>>(amountsOf(*last.shape, *last.texts, last.hedgeRow, *figures));
  last.figures = std::move(figures);
  last.filled.resize(nodes.size());
  for (std::size_t row = 0; row < nodes.size(); ++row) {
    last.filled.set(row, isFilled((*last.figures)[row], *nodes[row].item));
  }
  RowFlags finished = finishedRows(*last.shape, last.filled);
  if (!last.finished || *last.finished != finished) {
    last.finished = std::make_shared<const RowFlags>(std::move(finished));
  }
  last.whole = false;
}

/// Where a node stands among the rows that were staged last; -1 where it does not.
int CBasketStaging::rowOf(const CBasketTaskItem& item, const SLast& last) {
  const auto inner =
      std::find_if(last.inner.begin(), last.inner.end(), [&](const auto& each) { return each.first == &item; });
  if (inner != last.inner.end()) return inner->second;
  const auto parent =
      std::find_if(last.inner.begin(), last.inner.end(), [&](const auto& each) { return each.first == item.parent(); });
  if (parent == last.inner.end()) return -1;
  // Those beside a row are rows, too.
  const int row = parent->second + 1 + item.m_nPlace;
  const bool fits = row < static_cast<int>(last.shape->size()) &&
                    (*last.shape)[static_cast<std::size_t>(row)].parent == parent->second;
  return fits ? row : -1;
}

/// Stages what has changed alone; false, and nothing done, where more has changed than the figures of some rows.
bool CBasketStaging::follow(const CBasketTask& task, const std::vector<CBasketTaskItem*>& changed, SLast& last,
                            SStagedTask& staged) {
  auto figures = std::make_shared<std::vector<SRowFigures>>(*last.figures);
  RowFlags filled = last.filled;
  std::vector<std::size_t> rows;
  rows.reserve(changed.size());
  for (const CBasketTaskItem* item : changed) {
    const int place = rowOf(*item, last);
    if (place < 0) return false;
    const auto row = static_cast<std::size_t>(place);
    const SNode node = nodeOf(task, *item, (*last.shape)[row].parent, (*last.shape)[row].depth);
    if (!sameTexts(node, last.texts->of(row))) return false;
    (*figures)[row] = figuresOf(node);
    filled.set(row, isFilled((*figures)[row], *item));
    rows.push_back(row);
  }
  staged.amountsBefore = last.amounts;
  last.amounts = amountsAfter(last, *figures, rows);
  last.figures = std::move(figures);
  if (filled == last.filled) return true;
  last.filled = std::move(filled);
  RowFlags finished = finishedRows(*last.shape, last.filled);
  if (*last.finished != finished) last.finished = std::make_shared<const RowFlags>(std::move(finished));
  return true;
}

/// The amounts of the rows that changed anew; of all where the hedge's has, since others are shown without it.
AmountsPtr CBasketStaging::amountsAfter(const SLast& last, const std::vector<SRowFigures>& figures,
                                        const std::vector<std::size_t>& rows) {
  const auto hedgeRow = static_cast<std::size_t>(last.hedgeRow);
  const bool hedges = last.hedgeRow >= 0;
  if (hedges && figures[hedgeRow].tradedAmount != (*last.figures)[hedgeRow].tradedAmount) {
    return std::make_shared<const std::vector<double>>(amountsOf(*last.shape, *last.texts, last.hedgeRow, figures));
  }
  auto amounts = std::make_shared<std::vector<double>>(*last.amounts);
  for (const std::size_t row : rows) {
    (*amounts)[row] =
        shownAmount((*last.shape)[row], last.texts->of(row), figures[row], hedges ? &figures[hedgeRow] : nullptr);
  }
  return amounts;
}

void CBasketStaging::reshape(const CBasketTask& task, const std::vector<SNode>& nodes, SLast& last,
                             SStagedTask& staged) {
  staged.shape = std::make_shared<const std::vector<SRowShape>>(shapeOf(task, nodes, m_sharedTexts));
  staged.before = placesBefore(last.shape, last.index, *staged.shape);
  staged.amountsBefore = moved(last.amounts, staged.before);
  staged.index = last.index = std::make_shared<const CRowIndex>(*staged.shape);
  last.shape = staged.shape;
  last.shapeVersion = task.shapeVersion();
  last.cleared = false;
  last.hedgeRow = hedgeRowOf(task, nodes);
  last.inner.clear();
  for (std::size_t row = 0; row < nodes.size(); ++row) {
    if (!nodes[row].item->isEmpty()) last.inner.emplace_back(nodes[row].item, static_cast<int>(row));
  }
  last.instruments = std::make_shared<const std::vector<int>>(instrumentsOf(nodes, *last.shape, m_instruments));
}

/// What every staged copy of a task has beside the arrays that changed.
void CBasketStaging::fillIn(const CBasketTask& task, SLast& last, SStagedTask& staged) {
  // A start time that was shown stays, whatever becomes of the node's.
  if (last.startMSec < 0) last.startMSec = msecOfDay(task.getRoot()->m_startTime);
  staged.slot = last.slot;
  staged.task = last.task;
  const CBasketTaskItem& root = *task.getRoot();
  staged.facts = {task.getKey(),  root.m_strHpfTreeKey,  task.getBasketName(), task.getGroupId(),        last.hedgeRow,
                  root.m_nStatus, last.amounts->front(), last.startMSec,       msecOfDay(root.m_endTime)};
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
  if (!last.figures || last.cleared || last.task.lock() != task) return;
  if (last.shapeVersion != task->shapeVersion()) return;
  const std::vector<SNode> nodes = nodesOf(*task, last.figures->size());
  const std::string account = accountKey.toStdString();
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const CBasketTaskItem& node = *nodes[i].item;
    if (node.m_strAccountKey == account && (*last.shape)[i].scriptName == rowKey) putStatus(*task, last, i, node);
  }
}

void CBasketStaging::putStatus(const CBasketTask& task, SLast& last, std::size_t row, const CBasketTaskItem& node) {
  const bool sameText = last.texts->of(row).statusText == node.m_strRemark;
  if (sameText && (*last.figures)[row].status == node.m_nStatus) return;
  SLast now = last;
  SStagedTask staged;
  auto figures = std::make_shared<std::vector<SRowFigures>>(*last.figures);
  (*figures)[row].status = node.m_nStatus;
  now.figures = std::move(figures);
  staged.amountsBefore = last.amounts;
  if (!sameText) {
    auto texts = std::make_shared<STaskTexts>(*last.texts);
    SRowTexts own = texts->of(row);
    own.statusText = node.m_strRemark;
    const auto known = std::find(texts->sets.begin(), texts->sets.end(), own);
    texts->setOf[row] = static_cast<int>(known - texts->sets.begin());
    if (known == texts->sets.end()) texts->sets.push_back(std::move(own));
    staged.texts = now.texts = std::move(texts);
  }
  fillIn(task, now, staged);
  put(std::move(staged));
  last = std::move(now);
}

void CBasketStaging::stageClear(const QString& taskKey) {
  const auto known = m_last.find(taskKey);
  if (known != m_last.end()) known->second.cleared = known->second.whole = true;
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
  join(waiting, staged);
  waiting = std::move(staged);
}

StagedBatch CBasketStaging::take() {
  StagedBatch staged;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    staged.swap(m_staged);
    ++m_nBatch;
  }
  const auto reshapes = [](const SStagedTask& task) { return task.shape != nullptr; };
  if (std::any_of(staged.begin(), staged.end(), reshapes)) {
    const auto before = [](const SStagedTask& a, const SStagedTask& b) { return a.facts.taskKey < b.facts.taskKey; };
    std::sort(staged.begin(), staged.end(), before);
  }
  return staged;
}

void CBasketStaging::startDay(unsigned day) {
  StagedBatch dropped;  // goes when the mutex is free again
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_nDay = day;
  ++m_nBatch;
  m_staged.swap(dropped);
}

}  // namespace TC
