#include "CHpfBasketStatusTable.h"

#include <QSet>
#include <algorithm>
#include <boost/make_shared.hpp>

#include "CBasketTask.h"
#include "CHpfBasketDelegates.h"
#include "CHpfBasketStatusModel.h"
#include "TaskKeys.h"
#include "tc/CStockUnitConfig.h"
#include "tc/Services.h"
#include "utils/Log.h"

namespace TC {
namespace {

void logRow(const char* what, const QString& key) {
  auto& log = utils::CLogCenter::instance();
  if (log.isDebugEnabled()) log.debug("m_statusMap " + std::string(what) + " key " + key.toStdString() + ".");
}

/// A child is finished when all that it ordered was filled; one that ordered nothing is not.
bool isFinished(const SRowFigures& figures) {
  return figures.totalVolume == figures.tradedVolume && figures.totalVolume != 0;
}

}  // namespace

CHpfBasketStatusTable::CHpfBasketStatusTable(int id, QWidget* parent) : GV::CHpfTreeTable(parent) {
  setProperty("tableId", id);
  createUi();
}

// The rows view the blocks, so they go first.
CHpfBasketStatusTable::~CHpfBasketStatusTable() { dataModel()->clear(); }

void CHpfBasketStatusTable::clearTask(const CBasketTask& task) { m_staging.stageClear(task.getKey()); }

void CHpfBasketStatusTable::applyStaged() {
  const std::vector<SStagedTask> batch = m_staging.take();
  if (batch.empty()) return;
  reserveRows(batch);
  const GV::CModelBatch guard(*dataModel());
  std::vector<FiguresPtr> outdated;
  outdated.reserve(batch.size());
  for (const SStagedTask& staged : batch) outdated.push_back(apply(staged));
  m_staging.giveBack(std::move(outdated));
}

/// A first load brings most rows at once: room for just these instead of up to twice as many.
void CHpfBasketStatusTable::reserveRows(const std::vector<SStagedTask>& batch) {
  int rows = 0;
  for (const SStagedTask& staged : batch) rows += staged.shape ? static_cast<int>(staged.shape->size()) : 0;
  if (rows > dataModel()->rows().count()) dataModel()->reserve(dataModel()->rows().count() + rows);
}

FiguresPtr CHpfBasketStatusTable::apply(const SStagedTask& staged) {
  if (!staged.figures) {
    removeBlock(staged.facts.taskKey);
    return nullptr;
  }
  std::shared_ptr<CTaskBlock>& block = m_blocks[staged.facts.taskKey];
  if (!block) block = std::make_shared<CTaskBlock>();
  FiguresPtr outdated;
  if (staged.shape) {
    reshape(*block, staged);
  } else {
    outdated = block->take(staged);
  }
  subtreeChanged(*block->rows.front());
  followOrders(*block);
  return outdated;
}

/// Brings the rows in line with a new shape: those whose key stays keep their record, and with it folding, selection
/// and buttons.
void CHpfBasketStatusTable::reshape(CTaskBlock& block, const SStagedTask& staged) {
  QHash<QString, StatusRowPtr> kept;
  QSet<QString> hiddenKeys;
  for (std::size_t i = 0; i < block.rows.size(); ++i) {
    kept.insert(block.rows[i]->key(), block.rows[i]);
    if (block.hidden[i]) hiddenKeys.insert(block.rows[i]->key());
  }
  const std::vector<SRowShape>& shape = *staged.shape;
  std::vector<StatusRowPtr> rows;
  rows.reserve(shape.size());
  RowFlags hidden;
  QHash<int, QStringList> order;  // children's keys by parent row, where a kept row must be put in its place
  for (const SRowShape& row : shape) {
    const StatusRowPtr record = kept.take(row.key);
    rows.push_back(record ? record : boost::make_shared<CHpfBasketStatusTableData>(row.key, m_eProcessDisplay));
    hidden.push_back(hiddenKeys.contains(row.key));
    order[row.parent].append(row.key);
  }
  for (const StatusRowPtr& gone : kept) {
    logRow("remove", gone->key());
    dataModel()->removeDataByKey(gone->key());
  }
  block.take(staged);
  block.rows = rows;
  block.hidden = block.wantHidden = hidden;
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i]->bind(&block, static_cast<int>(i));
  insertMissing(block);
  order.remove(-1);
  for (auto children = order.constBegin(); children != order.constEnd(); ++children) {
    dataModel()->reorderChildren(shape[static_cast<std::size_t>(children.key())].key, children.value());
  }
}

void CHpfBasketStatusTable::insertMissing(const CTaskBlock& block) {
  for (std::size_t i = 0; i < block.rows.size(); ++i) {
    const StatusRowPtr& row = block.rows[i];
    if (row->isInTable()) continue;
    const int parent = block.shape()[i].parent;
    dataModel()->insertData(row, parent < 0 ? QString() : block.shape()[static_cast<std::size_t>(parent)].key);
    logRow("insert", row->key());
    if (parent < 0) expandItem(*row, true);
  }
}

void CHpfBasketStatusTable::removeBlock(const QString& taskKey) {
  const std::shared_ptr<CTaskBlock> block = m_blocks.take(taskKey);
  if (!block || block->rows.empty()) return;
  for (const StatusRowPtr& row : block->rows) logRow("remove", row->key());
  dataModel()->removeDataByKey(block->rows.front()->key());
}

void CHpfBasketStatusTable::startNewDay() {
  m_staging.startNewDay();
  dataModel()->clear();
  m_blocks.clear();
  m_pOptionDelegate->clear();
}

CTaskBlock* CHpfBasketStatusTable::blockOf(const QString& taskKey) const {
  const auto block = m_blocks.constFind(taskKey);
  return block == m_blocks.constEnd() ? nullptr : block->get();
}

CTaskBlock* CHpfBasketStatusTable::blockOf(const CBasketTask& task) const { return blockOf(task.getKey()); }

int CHpfBasketStatusTable::shownStatus(const CBasketTask& task) const {
  const CTaskBlock* block = blockOf(task);
  return block ? block->figures().front().status : -1;
}

void CHpfBasketStatusTable::showTask(const CBasketTask& task) {
  CTaskBlock* block = blockOf(task);
  if (!block) return;
  // Rows below the grandchildren are left alone; no filter ever hides them.
  std::fill(block->wantHidden.begin(), block->wantHidden.end(), false);
}

void CHpfBasketStatusTable::hideTask(const CBasketTask& task) {
  if (CTaskBlock* block = blockOf(task)) block->wantHidden[0] = true;
}

void CHpfBasketStatusTable::filterFinished(const CBasketTask& task, bool on) {
  CTaskBlock* block = blockOf(task);
  if (!block) return;
  // After showTask nothing is hidden: then the usual pass, without the filter, need not look at the figures.
  const RowFlags& hiding = block->wantHidden;
  if (!on && std::find(hiding.begin(), hiding.end(), true) == hiding.end()) return;
  const std::vector<SRowShape>& shape = block->shape();
  const std::vector<SRowFigures>& figures = block->figures();
  bool leading = true;  // among the grandchildren under the current child
  for (std::size_t i = 1; i < shape.size(); ++i) {
    if (shape[i].depth == 1) leading = true;
    if (shape[i].depth > 2) continue;
    const bool finished = isFinished(figures[i]);
    // The walk over the children of a child stops at the first unfinished one: intended.
    if (shape[i].depth == 2) leading = leading && finished;
    if (finished && leading) block->wantHidden[i] = on;
  }
}

void CHpfBasketStatusTable::endUpdate() {
  const GV::CModelBatch guard(*dataModel());
  for (const std::shared_ptr<CTaskBlock>& block : m_blocks) {
    if (block->hidden == block->wantHidden) continue;
    for (std::size_t i = 0; i < block->hidden.size(); ++i) {
      if (block->hidden[i] == block->wantHidden[i]) continue;
      hideItem(*block->rows[i], block->wantHidden[i] != 0);
    }
    block->hidden = block->wantHidden;
  }
}

StatusRowPtr CHpfBasketStatusTable::getDataByKey(const QString& key) const {
  const int node = dataModel()->find(rowKeyOf(key));
  if (node < 0) return nullptr;
  return boost::static_pointer_cast<CHpfBasketStatusTableData>(dataModel()->rows().at(node).row);
}

bool CHpfBasketStatusTable::getBasketTaskItemByKey(const QString& key, boost::shared_ptr<CBasketTask>& task,
                                                   QString& nodeKey) const {
  const StatusRowPtr row = getDataByKey(key);
  if (!row) return false;
  task = row->block()->task();
  nodeKey = row->data().shape.nodeKey;
  return task != nullptr;
}

/// Signals come under several names of one row: its own key, the node's key, which is the same unless two accounts
/// share a display id, the display id of a task, or the tree key of a row. A name whose row does not exist yet
/// resolves as far as it can.
QString CHpfBasketStatusTable::rowKeyOf(const QString& name) const {
  if (dataModel()->find(name) >= 0) return name;
  const int taskId = taskIdOfDisplayId(name);
  if (taskId >= 0) return taskKey(taskId);
  const int rootId = taskIdOfDisplayId(name.left(name.size() - TREE_KEY_ORDINAL_DIGITS));
  if (const CTaskBlock* block = blockOf(taskKey(rootId))) {
    const auto& shape = block->shape();
    const auto row = std::find_if(shape.begin(), shape.end(), [&](const SRowShape& r) { return r.treeKey == name; });
    if (row != shape.end()) return row->key;
  }
  return name;
}

CHpfBasketOptionDelegate::SRowRef CHpfBasketStatusTable::resolve(const QString& name) const {
  const StatusRowPtr row = getDataByKey(name);
  return {rowKeyOf(name), row ? row->block()->task().get() : nullptr};
}

void CHpfBasketStatusTable::slotTaskStatus(CBasketTask* task, QString, int status) {
  CTaskBlock* block = task ? blockOf(*task) : nullptr;
  if (!block) return;
  // The walks over the patch marks change nothing of their own: for these two the rows are only formed again.
  if (status != ksservice::ETS_Cancelled && status != ksservice::ETS_Dropped) {
    block->setRootStatusText(batchStatusToString(status));
  }
  subtreeChanged(*block->rows.front());
}

void CHpfBasketStatusTable::onOrderCounts(const QString& key, int reported, int received) {
  const StatusRowPtr row = getDataByKey(key);
  if (!row) return;
  row->block()->setOrderCounts(row->row(), reported, received);
  dataModel()->rowChanged(dataModel()->nodeOf(*row));
}

void CHpfBasketStatusTable::slotUpdateStockUnit() { allRowsChanged(); }

}  // namespace TC
