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

}  // namespace

CHpfBasketStatusTable::CHpfBasketStatusTable(int id, QWidget* parent) : GV::CHpfTreeTable(parent) {
  setProperty("tableId", id);
  createUi();
}

// The rows view the blocks, so they go first.
CHpfBasketStatusTable::~CHpfBasketStatusTable() { dataModel()->clear(); }

void CHpfBasketStatusTable::clearTask(const CBasketTask& task) { m_staging.stageClear(task.getKey()); }

void CHpfBasketStatusTable::applyStaged() {
  StagedBatch batch = m_staging.take();
  if (batch.empty()) return;
  reserveRows(batch);
  {
    const GV::CModelBatch guard(*dataModel());
    // Where most tasks changed, to name each would cost more than to look at all.
    const bool most = batch.size() * 2 > m_blocks.size();
    for (SStagedTask& staged : batch) {
      const CTaskBlock* block = apply(staged);
      if (block && !most) dataModel()->rowsChanged(block->nodes.front());
    }
    if (most) allRowsChanged();
  }
  m_staging.giveBack(std::move(batch));
}

/// A first load brings most rows at once: room for just these instead of up to twice as many.
void CHpfBasketStatusTable::reserveRows(const StagedBatch& batch) {
  int rows = 0;
  for (const SStagedTask& staged : batch) rows += staged.shape ? static_cast<int>(staged.shape->size()) : 0;
  if (rows > dataModel()->rows().count()) dataModel()->reserve(dataModel()->rows().count() + rows);
}

/// Gives the task's block, null when its rows went.
CTaskBlock* CHpfBasketStatusTable::apply(SStagedTask& staged) {
  const auto slot = static_cast<std::size_t>(staged.slot);
  if (slot >= m_blocks.size()) m_blocks.resize(slot + 1);
  std::unique_ptr<CTaskBlock>& block = m_blocks[slot];
  if (!staged.figures) {
    removeBlock(staged.slot);
    return nullptr;
  }
  if (!block) {
    block = std::make_unique<CTaskBlock>();
    m_slots.insert(staged.facts.taskKey, staged.slot);
  }
  if (staged.shape) {
    reshape(*block, staged);
  } else {
    block->take(staged);
  }
  touch(*block);
  followOrders(*block);
  return block.get();
}

/// Brings the rows in line with a new shape: those whose key stays keep their record, and with it folding, selection
/// and buttons.
void CHpfBasketStatusTable::reshape(CTaskBlock& block, SStagedTask& staged) {
  QHash<QString, StatusRowPtr> kept;
  QSet<QString> hiddenKeys;
  for (std::size_t i = 0; i < block.nodes.size(); ++i) {
    const StatusRowPtr record = rowOf(block.nodes[i]);
    kept.insert(record->key(), record);
    if (block.hidden[i]) hiddenKeys.insert(record->key());
  }
  const ShapePtr newShape = staged.shape;
  const std::vector<SRowShape>& shape = *newShape;
  std::vector<StatusRowPtr> rows;
  rows.reserve(shape.size());
  RowFlags hidden(shape.size());
  QHash<int, QStringList> order;  // children's keys by parent row, where a kept row must be put in its place
  for (const SRowShape& row : shape) {
    const StatusRowPtr record = kept.take(row.key);
    hidden[rows.size()] = hiddenKeys.contains(row.key);
    rows.push_back(record ? record : boost::make_shared<CHpfBasketStatusTableData>(row.key, m_eProcessDisplay));
    order[row.parent].append(row.key);
  }
  for (const StatusRowPtr& gone : kept) {
    logRow("remove", gone->key());
    dataModel()->removeDataByKey(gone->key());
  }
  block.take(staged);
  block.hidden = block.wantHidden = hidden;
  block.allShown = hidden.none();
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i]->bind(&block, static_cast<int>(i));
  insertMissing(block, rows);
  order.remove(-1);
  for (auto children = order.constBegin(); children != order.constEnd(); ++children) {
    dataModel()->reorderChildren(shape[static_cast<std::size_t>(children.key())].key, children.value());
  }
}

void CHpfBasketStatusTable::insertMissing(CTaskBlock& block, const std::vector<StatusRowPtr>& rows) {
  block.nodes.clear();
  block.nodes.reserve(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const StatusRowPtr& row = rows[i];
    if (!row->isInTable()) {
      const int parent = block.shape()[i].parent;
      dataModel()->insertData(row, parent < 0 ? QString() : block.shape()[static_cast<std::size_t>(parent)].key);
      logRow("insert", row->key());
      if (parent < 0) expandItem(*row, true);
    }
    block.nodes.push_back(dataModel()->nodeOf(*row));
  }
}

void CHpfBasketStatusTable::removeBlock(int slot) {
  const std::unique_ptr<CTaskBlock> block = std::move(m_blocks[static_cast<std::size_t>(slot)]);
  if (!block) return;
  m_slots.remove(block->facts().taskKey);
  m_touched.removeOne(block.get());
  m_pending.removeOne(block.get());
  if (block->running) --m_nRunning;
  for (const SRowShape& row : block->shape()) logRow("remove", row.key);
  dataModel()->removeDataByKey(block->shape().front().key);
}

StatusRowPtr CHpfBasketStatusTable::rowOf(int node) const {
  return boost::static_pointer_cast<CHpfBasketStatusTableData>(dataModel()->rows().row(node));
}

void CHpfBasketStatusTable::startNewDay() {
  m_staging.startNewDay();
  dataModel()->clear();
  m_touched.clear();
  m_pending.clear();
  m_nRunning = 0;
  m_blocks.clear();
  m_slots.clear();
  m_pOptionDelegate->clear();
}

CTaskBlock* CHpfBasketStatusTable::blockOf(const QString& taskKey) const {
  const auto slot = m_slots.constFind(taskKey);
  return slot == m_slots.constEnd() ? nullptr : m_blocks[static_cast<std::size_t>(*slot)].get();
}

CTaskBlock* CHpfBasketStatusTable::blockOf(const CBasketTask& task) const { return blockOf(task.getKey()); }

StatusRowPtr CHpfBasketStatusTable::getDataByKey(const QString& key) const {
  const int node = dataModel()->find(rowKeyOf(key));
  return node < 0 ? nullptr : rowOf(node);
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
  if (status == ksservice::ETS_Cancelled || status == ksservice::ETS_Dropped) return canceledTaskDoNext(*task);
  block->setRootStatusText(batchStatusToString(status));
  dataModel()->rowsChanged(block->nodes.front());
}

void CHpfBasketStatusTable::canceledTaskDoNext(const CBasketTask& task) {
  if (const CTaskBlock* block = blockOf(task)) dataModel()->rowsChanged(block->nodes.front());
}

bool CHpfBasketStatusTable::checkRootTaskItem(const CBasketTask& task, const QString& key) const {
  const CTaskBlock* block = blockOf(task);
  return block && !block->nodes.empty() && rowOf(block->nodes.front())->key() == key;
}

void CHpfBasketStatusTable::onOrderCounts(const QString& key, int reported, int received) {
  const StatusRowPtr row = getDataByKey(key);
  if (!row) return;
  row->block()->setOrderCounts(row->row(), reported, received);
  dataModel()->rowChanged(dataModel()->nodeOf(*row));
}

void CHpfBasketStatusTable::slotUpdateStockUnit() { allRowsChanged(); }

}  // namespace TC
