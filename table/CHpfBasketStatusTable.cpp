#include "CHpfBasketStatusTable.h"

#include <boost/make_shared.hpp>

#include "CBasketTask.h"
#include "CHpfBasketStatusModel.h"
#include "TaskKeys.h"
#include "tc/CTaskOrdersWidget.h"
#include "utils/Log.h"

namespace TC {
namespace {

void logRow(const char* what, const STaskRows& rows, int row) {
  auto& log = utils::CLogCenter::instance();
  if (!log.isDebugEnabled()) return;
  log.debug("m_statusMap " + std::string(what) + " key " + rows.key(row).toStdString() + ".");
}

/// Whether a row that stays gets another parent.
bool movesRows(const CTaskBlock& block, const std::vector<SRowShape>& shape, const std::vector<int>& before) {
  for (std::size_t i = 0; i < shape.size(); ++i) {
    if (before[i] < 0) continue;
    const int parent = shape[i].parent < 0 ? -1 : before[static_cast<std::size_t>(shape[i].parent)];
    if (block.shape()[static_cast<std::size_t>(before[i])].parent != parent) return true;
  }
  return false;
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
      const CTaskBlock& block = apply(staged);
      if (!most) dataModel()->rowsChanged(block.nodes.front());
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

CTaskBlock& CHpfBasketStatusTable::apply(SStagedTask& staged) {
  const auto slot = static_cast<std::size_t>(staged.slot);
  if (slot >= m_blocks.size()) m_blocks.resize(slot + 1);
  std::unique_ptr<CTaskBlock>& block = m_blocks[slot];
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
  m_pOptionDelegate->rowsCame(block->facts().taskKey);
  followOrders(*block);
  return *block;
}

/// Brings the rows in line with a new shape: those whose key stays keep their record, and with it folding, selection
/// and buttons.
void CHpfBasketStatusTable::reshape(CTaskBlock& block, SStagedTask& staged) {
  const ShapePtr shape = staged.shape;
  const std::vector<int> before = block.placesIn(*shape);
  const bool isNew = block.nodes.empty();
  const bool moved = !isNew && movesRows(block, *shape, before);
  const RowFlags unfoldedBefore = unfoldedRows(block);
  std::vector<StatusRowPtr> rows;
  RowFlags hidden(shape->size());
  RowFlags unfolded(shape->size());
  unfolded[0] = true;  // a new root
  rows.reserve(shape->size());
  for (std::size_t i = 0; i < shape->size(); ++i) {
    if (before[i] < 0) {
      rows.push_back(boost::make_shared<CHpfBasketStatusTableData>(m_eProcessDisplay));
      continue;
    }
    const auto place = static_cast<std::size_t>(before[i]);
    rows.push_back(rowOf(block.nodes[place]));
    hidden[i] = block.hidden[place];
    unfolded[i] = unfoldedBefore[place];
  }
  if (!isNew) removeRows(block, before, moved);
  block.take(staged, before);
  block.hidden = block.wantHidden = hidden;
  block.allShown = hidden.none();
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i]->bind(&block, static_cast<int>(i));
  insertMissing(block, rows, unfolded);
  if (!isNew && !moved) putInOrder(block);
}

/// Removes the rows that are not in the places of a new shape; all: also those that are, which come anew elsewhere.
void CHpfBasketStatusTable::removeRows(const CTaskBlock& block, const std::vector<int>& before, bool all) {
  RowFlags stays(block.nodes.size());
  for (const int place : before) {
    if (place >= 0) stays.set(static_cast<std::size_t>(place));
  }
  for (int row = 0; row < block.size(); ++row) {
    if (stays[static_cast<std::size_t>(row)]) continue;
    logRow("remove", block.state(), row);
    if (!all) dataModel()->removeDataByKey(block.state().key(row));
  }
  if (!all) return;
  dataModel()->announceByReset();
  dataModel()->removeDataByKey(block.state().key(0));
}

/// unfolded: of the rows that come into the table, those that are expanded.
void CHpfBasketStatusTable::insertMissing(CTaskBlock& block, const std::vector<StatusRowPtr>& rows,
                                          const RowFlags& unfolded) {
  std::vector<int> hidden;
  QString parentKey;
  int parent = -1;
  block.nodes.clear();
  block.nodes.reserve(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const StatusRowPtr& row = rows[i];
    const bool missing = !row->isInTable();
    if (missing) {
      const int above = block.shape()[i].parent;
      if (above != parent) parentKey = block.state().key(above);
      parent = above;
      dataModel()->insertData(row, parentKey);
      logRow("insert", block.state(), static_cast<int>(i));
    }
    block.nodes.push_back(dataModel()->nodeOf(*row));
    if (missing && unfolded[i]) dataModel()->setExpanded(block.nodes.back(), true);
    if (missing && block.hidden[i]) hidden.push_back(block.nodes.back());
  }
  if (!hidden.empty()) dataModel()->setHidden(hidden, true);
}

/// Children that came stand behind those that were there.
void CHpfBasketStatusTable::putInOrder(const CTaskBlock& block) {
  QHash<int, QStringList> order;  // children's keys by parent row
  for (int row = 1; row < block.size(); ++row) {
    order[block.shape()[static_cast<std::size_t>(row)].parent].append(block.state().key(row));
  }
  for (auto children = order.constBegin(); children != order.constEnd(); ++children) {
    dataModel()->reorderChildren(block.state().key(children.key()), children.value());
  }
}

RowFlags CHpfBasketStatusTable::unfoldedRows(const CTaskBlock& block) const {
  RowFlags unfolded(block.nodes.size());
  for (std::size_t i = 0; i < block.nodes.size(); ++i) {
    unfolded[i] = dataModel()->rows().has(block.nodes[i], GV::CTreeRows::Expanded);
  }
  return unfolded;
}

StatusRowPtr CHpfBasketStatusTable::rowOf(int node) const {
  return boost::static_pointer_cast<CHpfBasketStatusTableData>(dataModel()->rows().row(node));
}

void CHpfBasketStatusTable::startDay(unsigned day) {
  m_staging.startDay(day);
  dataModel()->clear();
  m_touched.clear();
  m_pending.clear();
  m_nRunning = 0;
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

StatusRowPtr CHpfBasketStatusTable::getDataByKey(const QString& key) const {
  const int node = dataModel()->find(rowKeyOf(key));
  return node < 0 ? nullptr : rowOf(node);
}

bool CHpfBasketStatusTable::getBasketTaskItemByKey(const QString& key, boost::shared_ptr<CBasketTask>& task,
                                                   QString& nodeKey) const {
  const StatusRowPtr row = getDataByKey(key);
  if (!row) return false;
  task = row->block()->task();
  nodeKey = row->block()->state().nodeKey(row->row());
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
  if (name.isEmpty() || dataModel()->find(name) >= 0) return name;
  const int taskId = taskIdOfDisplayId(name);
  if (taskId >= 0) return taskKey(taskId);
  const CTaskBlock* block = blockNaming(name);
  const int row = block ? block->rowNamed(name) : -1;
  return row < 0 ? QString() : block->state().key(row);
}

CHpfBasketOptionDelegate::SRowRef CHpfBasketStatusTable::resolve(const QString& name) const {
  const QString key = rowKeyOf(name);
  const int node = dataModel()->find(key);
  if (node < 0) return {key};
  const StatusRowPtr row = rowOf(node);
  return {key, row->block()->task().get(), row->row() == row->block()->facts().hedgeRow};
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
  return block && rowOf(block->nodes.front())->key() == key;
}

void CHpfBasketStatusTable::onOrderCounts(const QString& key, int reported, int received) {
  const StatusRowPtr row = getDataByKey(key);
  if (!row) return;
  row->block()->setOrderCounts(row->row(), reported, received);
  dataModel()->rowChanged(dataModel()->nodeOf(*row));
}

void CHpfBasketStatusTable::slotUpdateStockUnit() { allRowsChanged(); }

}  // namespace TC
