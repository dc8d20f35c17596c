// Which rows of the status table a filter takes out of sight, and the count of running tasks that goes with the pass.
#include <algorithm>
#include <utility>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CHpfBasketStatusTable.h"

namespace TC {
namespace {

/// Notes a block once.
void note(QVector<CTaskBlock*>& blocks, bool CTaskBlock::*noted, CTaskBlock& block) {
  if (std::exchange(block.*noted, true)) return;
  blocks.append(&block);
}

/// The root's status: what was staged, but where the task may know a newer one, what the task says. While the worker is
/// rebuilding that task, again what was staged: the refresh that is running then ends with another pass.
int rootStatus(const CTaskBlock& block) {
  const int shown = block.facts().rootStatus;
  const boost::shared_ptr<CBasketTask> task = block.askTask ? block.task() : nullptr;
  if (!task) return shown;
  const boost::unique_lock<boost::recursive_mutex> lock(task->mutex(), boost::try_to_lock);
  return lock.owns_lock() ? task->getRoot()->m_nStatus : shown;
}

}  // namespace

void CHpfBasketStatusTable::touch(CTaskBlock& block) { note(m_touched, &CTaskBlock::touched, block); }

void CHpfBasketStatusTable::touchStatus(CTaskBlock& block) {
  block.askTask = true;
  touch(block);
}

void CHpfBasketStatusTable::askTasks() {
  for (const std::unique_ptr<CTaskBlock>& block : m_blocks) {
    if (block) touchStatus(*block);
  }
}

int CHpfBasketStatusTable::filterTasks(const STaskPass& pass) {
  if (pass != m_lastPass) {
    m_lastPass = pass;
    askTasks();
  }
  for (CTaskBlock* block : qAsConst(m_touched)) filterBlock(*block);
  m_touched.resize(0);
  endUpdate();
  return m_nRunning;
}

void CHpfBasketStatusTable::filterBlock(CTaskBlock& block) {
  const int status = rootStatus(block);
  const bool running = status == ksservice::ETS_Running;
  m_nRunning += static_cast<int>(running) - static_cast<int>(block.running);
  block.running = running;
  block.touched = block.askTask = false;
  const std::vector<int>& statuses = m_lastPass.statuses;
  const bool passes = statuses.empty() || std::find(statuses.begin(), statuses.end(), status) != statuses.end();
  if (passes && !m_lastPass.hideFinished && block.allShown) return;
  noteWish(block);
  if (!passes) {
    block.wantHidden.set(0);
  } else if (m_lastPass.hideFinished) {
    block.wantHidden = block.finished();
  } else {
    block.wantHidden.reset();
  }
}

/// Says that wantHidden may come to differ from what is shown.
void CHpfBasketStatusTable::noteWish(CTaskBlock& block) {
  block.allShown = false;
  note(m_pending, &CTaskBlock::pending, block);
}

void CHpfBasketStatusTable::showTask(const CBasketTask& task) {
  CTaskBlock* block = blockOf(task);
  if (!block) return;
  // Rows below the grandchildren are left alone; no filter ever hides them.
  block->wantHidden.reset();
  noteWish(*block);
}

void CHpfBasketStatusTable::hideTask(const CBasketTask& task) {
  CTaskBlock* block = blockOf(task);
  if (!block) return;
  block->wantHidden.set(0);
  noteWish(*block);
}

void CHpfBasketStatusTable::filterFinished(const CBasketTask& task, bool on) {
  CTaskBlock* block = blockOf(task);
  if (!block) return;
  if (on) {
    block->wantHidden |= block->finished();
  } else {
    block->wantHidden -= block->finished();
  }
  noteWish(*block);
}

void CHpfBasketStatusTable::endUpdate() {
  if (m_pending.isEmpty()) return;
  const GV::CModelBatch guard(*dataModel());
  for (CTaskBlock* block : qAsConst(m_pending)) {
    block->pending = false;
    block->allShown = block->wantHidden.none();
    if (block->hidden == block->wantHidden) continue;
    dataModel()->setHidden(*block, block->wantHidden);
    block->hidden = block->wantHidden;
  }
  m_pending.resize(0);
}

}  // namespace TC
