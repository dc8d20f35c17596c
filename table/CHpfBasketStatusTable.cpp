#include "CHpfBasketStatusTable.h"

#include "CBasketTask.h"
#include "CHpfBasketStatusModel.h"
#include "TaskKeys.h"
#include "tc/CTaskOrdersWidget.h"
#include "utils/Log.h"

namespace TC {
namespace {

void logRow(const char* what, const STaskRows& rows, int row) {
  utils::CLogCenter::instance().debug("m_statusMap " + std::string(what) + " key " + rows.key(row).toStdString() + ".");
}

/// Tells of the rows that go with a new shape, and of those that come.
void logGoing(const STaskRows& rows, const std::vector<int>& before) {
  if (!utils::CLogCenter::instance().isDebugEnabled()) return;
  RowFlags stays(static_cast<std::size_t>(rows.size()));
  for (const int place : before) {
    if (place >= 0) stays.set(static_cast<std::size_t>(place));
  }
  for (int row = 0; row < rows.size(); ++row) {
    if (!stays[static_cast<std::size_t>(row)]) logRow("remove", rows, row);
  }
}

void logComing(const STaskRows& rows, const std::vector<int>& before) {
  if (!utils::CLogCenter::instance().isDebugEnabled()) return;
  for (int row = 0; row < rows.size(); ++row) {
    if (before[static_cast<std::size_t>(row)] < 0) logRow("insert", rows, row);
  }
}

}  // namespace

CHpfBasketStatusTable::CHpfBasketStatusTable(int id, QWidget* parent) : GV::CHpfTreeTable(parent) {
  setProperty("tableId", id);
  createUi();
}

// The model views the blocks, so it goes first.
CHpfBasketStatusTable::~CHpfBasketStatusTable() { dataModel()->clear(); }

void CHpfBasketStatusTable::clearTask(const CBasketTask& task) { m_staging.stageClear(task.getKey()); }

void CHpfBasketStatusTable::applyStaged() {
  StagedBatch batch = m_staging.take();
  if (batch.empty()) return;
  {
    const GV::CModelBatch guard(*dataModel());
    // Where most tasks changed, to name each would cost more than to look at all.
    const bool most = batch.size() * 2 > m_blocks.size();
    for (SStagedTask& staged : batch) {
      const CTaskBlock& block = apply(staged);
      if (!most) dataModel()->blockChanged(block);
    }
    if (most) allRowsChanged();
  }
  m_staging.giveBack(std::move(batch));
}

CTaskBlock& CHpfBasketStatusTable::apply(SStagedTask& staged) {
  const auto slot = static_cast<std::size_t>(staged.slot);
  if (slot >= m_blocks.size()) m_blocks.resize(slot + 1);
  std::unique_ptr<CTaskBlock>& block = m_blocks[slot];
  if (!block) {
    block = std::make_unique<CTaskBlock>(m_eProcessDisplay);
    m_slots.insert(staged.facts.taskKey, staged.slot);
    begin(*block, staged);
  } else if (staged.shape) {
    reshape(*block, staged);
  } else {
    block->take(staged);
  }
  touch(*block);
  m_pOptionDelegate->rowsCame(block->facts().taskKey);
  followOrders(*block);
  return *block;
}

/// The first rows of a task.
void CHpfBasketStatusTable::begin(CTaskBlock& block, SStagedTask& staged) {
  block.take(staged);
  logComing(block.rows(), staged.before);
  block.hidden = block.wantHidden = RowFlags(static_cast<std::size_t>(block.size()));
  dataModel()->addBlock(block, true);
}

/// Brings the rows in line with a new shape: those whose key stays keep folding, selection and buttons.
void CHpfBasketStatusTable::reshape(CTaskBlock& block, SStagedTask& staged) {
  dataModel()->announceByReset();
  logGoing(block.rows(), staged.before);
  block.take(staged);
  logComing(block.rows(), staged.before);
  dataModel()->reshapeBlock(block, staged.before);
  block.hidden = block.wantHidden = dataModel()->tree().flags(block.number(), GV::CTreeBlocks::Hidden);
  block.allShown = block.hidden.none();
}

void CHpfBasketStatusTable::startDay(unsigned day) {
  m_staging.startDay(day);
  dataModel()->clear();
  m_touched.clear();
  m_pending.clear();
  m_nRunning = 0;
  StagedBatch rest;
  for (const std::unique_ptr<CTaskBlock>& block : m_blocks) {
    if (block) rest.push_back(block->letGo());
  }
  m_staging.giveBack(std::move(rest));
  m_blocks.clear();
  m_slots.clear();
  m_pOptionDelegate->clear();
  m_pOrdersWidget->close();
}

CTaskBlock* CHpfBasketStatusTable::blockOf(const QString& taskKey) const {
  const auto slot = m_slots.constFind(taskKey);
  return slot == m_slots.constEnd() ? nullptr : m_blocks[static_cast<std::size_t>(*slot)].get();
}

CTaskBlock* CHpfBasketStatusTable::blockOf(const CBasketTask& task) const { return blockOf(task.getKey()); }

/// A root has its task's key; every other row's begins with its task's number.
int CHpfBasketStatusTable::blockNumberOf(const QString& rowKey) const {
  const CTaskBlock* block = blockOf(rowKey);
  const int end = block ? -1 : rowKey.indexOf(NODE_KEY_SEPARATOR);
  bool isNumber = false;
  const int task = end < 0 ? 0 : rowKey.leftRef(end).toInt(&isNumber);
  if (isNumber) block = blockOf(taskKey(task));
  return block ? block->number() : -1;
}

StatusRowPtr CHpfBasketStatusTable::getDataByKey(const QString& key) const {
  const GV::STreeRow row = dataModel()->find(rowKeyOf(key));
  return row.isValid() ? boost::static_pointer_cast<CHpfBasketStatusTableData>(dataModel()->record(row)) : nullptr;
}

bool CHpfBasketStatusTable::getBasketTaskItemByKey(const QString& key, boost::shared_ptr<CBasketTask>& task,
                                                   QString& nodeKey) const {
  const StatusRowPtr row = getDataByKey(key);
  if (!row) return false;
  task = row->taskBlock()->task();
  nodeKey = row->nodeKey();
  return task != nullptr;
}

/// The block of the task whose key a node's key begins with, or whose display id a row's tree key begins with.
const CTaskBlock* CHpfBasketStatusTable::blockNaming(const QString& name) const {
  const int taskId = taskIdOfDisplayId(name.left(name.size() - TREE_KEY_ORDINAL_DIGITS));
  if (taskId >= 0) return blockOf(taskKey(taskId));
  for (int end = name.indexOf(NODE_KEY_SEPARATOR); end >= 0; end = name.indexOf(NODE_KEY_SEPARATOR, end + 1)) {
    if (const CTaskBlock* block = blockOf(name.left(end))) return block;
  }
  return nullptr;
}

/// Rows are named by their own key, their node's key, the display id of a task or the tree key of a row: gives the
/// first, which for a root is known before the row exists; empty for a name that no row has.
QString CHpfBasketStatusTable::rowKeyOf(const QString& name) const {
  if (name.isEmpty() || dataModel()->find(name).isValid()) return name;
  const int taskId = taskIdOfDisplayId(name);
  if (taskId >= 0) return taskKey(taskId);
  const CTaskBlock* block = blockNaming(name);
  const int row = block ? block->rowNamed(name) : -1;
  return row < 0 ? QString() : block->key(row);
}

CHpfBasketOptionDelegate::SRowRef CHpfBasketStatusTable::resolve(const QString& name) const {
  const QString key = rowKeyOf(name);
  const GV::STreeRow row = dataModel()->find(key);
  if (!row.isValid()) return {key};
  const auto& block = static_cast<const CTaskBlock&>(dataModel()->tree().source(row.block));
  return {key, block.task().get(), row.row == block.facts().hedgeRow};
}

void CHpfBasketStatusTable::slotTaskStatus(CBasketTask* task, QString, int status) {
  CTaskBlock* block = task ? blockOf(*task) : nullptr;
  if (!block) return;
  // The walks over the patch marks change nothing of their own: for these two the rows are only formed again.
  if (status == ksservice::ETS_Cancelled || status == ksservice::ETS_Dropped) return canceledTaskDoNext(*task);
  block->setRootStatusText(batchStatusToString(status));
  dataModel()->blockChanged(*block);
}

void CHpfBasketStatusTable::canceledTaskDoNext(const CBasketTask& task) {
  if (const CTaskBlock* block = blockOf(task)) dataModel()->blockChanged(*block);
}

bool CHpfBasketStatusTable::checkRootTaskItem(const CBasketTask& task, const QString& key) const {
  const CTaskBlock* block = blockOf(task);
  return block && block->key(0) == key;
}

void CHpfBasketStatusTable::onOrderCounts(const QString& key, int reported, int received) {
  const StatusRowPtr row = getDataByKey(key);
  if (!row) return;
  row->taskBlock()->setOrderCounts(row->row(), reported, received);
  dataModel()->rowChanged(GV::CHpfTreeTableModel::treeRowOf(*row));
}

void CHpfBasketStatusTable::slotUpdateStockUnit() { allRowsChanged(); }

}  // namespace TC
