/// What the worker brings to a task: details of its own, of its hedge and of its patches. Each update asks the host for
/// all that it counts by before a figure changes, since the host may fail; counts; sums; forms the root, for which the
/// hedge manager is asked; and tells what has changed.
#include <boost/make_shared.hpp>

#include "CBasketTask.h"
#include "FigureSums.h"
#include "TaskParts.h"
#include "TaskSpeech.h"
#include "ksservice/Helpers.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/Services.h"
#include "utils/Guarded.h"

namespace TC {

using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;

namespace {

using Accounts = std::optional<CTaskShape::Accounts>;

SDetailFacts askOwn(const CTaskLock& task, const CTaskDetailPtr& detail) {
  return {EBTT_Own, detail, task->counter.counted(EBTT_Own, detail->getKey())};
}

/// Of a detail that was not known.
void addRows(const CTaskLock& task, const CTaskDetail& detail) {
  const QString account = accountOf(detail).key;
  for (CBasketTaskItem* row : task->tree.place(detail)) {
    task->ledger.addRow(*row, false);
    task->counter.onNewRow(*row, account);
  }
  task->ledger.changes().noteAll();
}

/// Counts the details again of which something belongs on rows that have come since. A host that fails costs the
/// detail.
void countAwaiting(const CTaskLock& task) {
  for (const auto& [part, key] : task->counter.takeAwaiting()) {
    if (part == EBTT_Patch) {
      task->patches.recount(key);
      continue;
    }
    const CTaskDetailPtr detail = task->own.find(key);
    if (!detail) continue;
    utils::guarded("CBasketTask::countAwaiting", key,
                   [&] { task->counter.count(askOwn(task, detail), {task->own.algorithmRemark(*detail)}); });
  }
}

/// Hangs the rows anew.
void build(const CTaskLock& task, const CTaskShape::Accounts& accounts) {
  task->ledger.changes().noteAll();
  task->shape.build(accounts);
}

void sum(const CTaskLock& task, CNotices& notices) {
  CRowChanges& changes = task->ledger.changes();
  if (CBasketTaskItem* hedge = task->hedge.row()) changes.note(*hedge);
  task->sums.sum(task->tree.root(), changes.takeForSums(), notices);
}

void sumAll(const CTaskLock& task, CNotices& notices) {
  const CBasketTaskItem& root = task->tree.root();
  sum(task, notices);
  notices.orders(root.m_strHpfTreeKey, root.m_nOrderCount, root.m_nOrderCount2);
}

/// Everything is traded: that is the end of the task, whatever the detail says. The delivered record belongs to its
/// giver, so a copy carries the new status.
void writeBackFilled(const CTaskLock& task, const CTaskDetailPtr& detail) {
  if (!task->tree.isFilled() || detail->m_nStatus == ksservice::ETS_Finished) return;
  const auto finished = boost::make_shared<CTaskDetail>(*detail);
  finished->m_nStatus = ksservice::ETS_Finished;
  task->own.replace(finished);
  task->counter.exchange(EBTT_Own, finished);
  ksservice::CAccountData::updateData(finished);
}

void formRoot(const CTaskLock& task, CNotices& notices) {
  task->root.form(notices);
  const CBasketTaskItem& root = task->tree.root();
  notices.status(root.m_strHpfTreeKey, task->root.shownStatus(), root.m_nOrderType);
}

/// True, once, when nothing but the hedge is unfinished and the hedge manager does not trade it.
bool dropsForHedge(const CTaskLock& task) { return task->root.isLeftToHedge() && task->hedge.takeDrop(); }

}  // namespace

// Own details

void CBasketTask::updateDetail(DetailPtr& d) {
  if (!d) return;
  const CTaskLock task(*m_guard);
  const SDetailFacts facts = askOwn(task, d);
  const bool isNew = !d->m_params.empty() && !task->own.knows(d->getKey());
  Accounts accounts;
  // Rows that are not in the shape yet: those of a load at whose end the host failed.
  const bool shapes = isNew || (!d->m_params.empty() && task->shape.isBehind());
  if (shapes && !task->load) accounts = task->shape.askAccounts(accountOf(*d).key);

  const QString algorithmRemark = task->own.take(d);
  if (d->m_params.empty()) return;
  task->tree.root().m_nOrderType = d->m_params.front().m_nOrderType;
  if (isNew) {
    addRows(task, *d);
  } else if (!task->tree.follow(*d)) {
    return;  // it has changed to an account without rows: there is nothing to count
  }
  task->counter.count(facts, {algorithmRemark});
  if (task->load) {
    task->load->own.insert(d->getKey());
    task->load->isNew = task->load->isNew || isNew;
    task->root.noteOwn(*d);
    return;
  }
  if (accounts) {
    countAwaiting(task);
    build(task, *accounts);
  }
  CSpeech notices(*this);
  sumAll(task, notices);
  writeBackFilled(task, d);
  task->root.noteOwn(*d);
  formRoot(task, notices);
}

void CBasketTask::updateOrderDetail() {
  const CTaskLock task(*m_guard);
  const COwnDetails::DetailMap details = task->own.all();
  for (CTaskDetailPtr detail : details) updateDetail(detail);
}

// Loads

void CBasketTask::beginLoad() {
  const CTaskLock task(*m_guard);
  if (!task->load) task->load = std::make_unique<STaskParts::SLoad>();
}

void CBasketTask::endLoad() {
  bool dropped = false;
  bool patched = false;
  {
    const CTaskLock task(*m_guard);
    if (!task->load) return;
    const std::unique_ptr<STaskParts::SLoad> load = std::move(task->load);
    patched = load->patches;
    if (load->isNew || task->shape.isBehind()) {
      const CTaskShape::Accounts accounts = task->shape.askAccounts();
      countAwaiting(task);
      build(task, accounts);
    }
    CSpeech notices(*this);
    sumAll(task, notices);
    for (const std::string& key : load->own) writeBackFilled(task, task->own.find(key));
    dropped = patched && dropsForHedge(task);
    task->root.form(notices);
  }
  announcePatched(dropped, patched);
}

// Figures and shape alone

void CBasketTask::reorganize() {
  const CTaskLock task(*m_guard);
  build(task, task->shape.askAccounts());
}

void CBasketTask::recursiveUpdate(CBasketTaskItem* n) {
  const CTaskLock task(*m_guard);
  CSpeech notices(*this);
  task->ledger.changes().noteAll();
  CFigureSums().sum(*n, {}, notices);
}

void CBasketTask::recursiveClear(CBasketTaskItem* n) {
  const CTaskLock task(*m_guard);
  task->ledger.changes().noteAll();
  clearBelow(*n);
}

void CBasketTask::noteAccount(const QString& accountKey, const QString& text) {
  CTaskLock(*m_guard)->shape.noteAccount(accountKey, text);
}

// Hedge

void CBasketTask::setHedgeParam(const ksservice::CBasketHedgeParam& p, bool start) {
  {
    const CTaskLock task(*m_guard);
    CTaskDetailPtr detail = task->hedge.setParam(p);
    updateHedge(detail);
    task->hedge.started(start);
    task->hedge.giveToManager();
  }
  if (start) getBasketHedgeManager().startHedge(getGroupId());
}

void CBasketTask::updateHedge(DetailPtr& d) {
  const CTaskLock task(*m_guard);
  if (!CTaskHedge::isHedge(d)) return;
  const double lot = task->hedge.askLot(*d);
  updateHedgeCnt(d);
  task->hedge.price(lot);
  if (task->load) return;
  CSpeech notices(*this);
  sum(task, notices);
  // The root's key, not its tree key: that is intended.
  const CBasketTaskItem& root = task->tree.root();
  notices.orders(root.m_strKey, root.m_nOrderCount, root.m_nOrderCount2);
  formRoot(task, notices);
}

bool CBasketTask::updateHedgeCnt(DetailPtr& d) {
  const CTaskLock task(*m_guard);
  if (!CTaskHedge::isHedge(d)) return false;
  const CTaskHedge::SFacts facts = task->hedge.ask(d);
  Accounts accounts;
  if (!task->hedge.row() && !task->load) accounts = task->shape.askAccounts(accountOf(*d).key);
  task->hedge.take(facts, task->own.all().isEmpty());
  if (accounts) build(task, *accounts);
  return true;
}

void CBasketTask::updateHedgeVolume(int volume) {
  const CTaskLock task(*m_guard);
  if (!task->hedge.raise(volume)) return;
  CSpeech notices(*this);
  sum(task, notices);
  task->hedge.noteTarget(notices);
}

// Patches

namespace {

/// Notes what it makes of the rows and of the root.
void countPatch(const CTaskLock& task, const CTaskDetailPtr& detail, CNotices& notices) {
  task->own.takeServerTask(detail);
  CPatchStore::instance().noteArrival(task->root.storeKey(), *detail);
  task->root.notePatch(*detail);
  task->patches.take(detail);
  const bool waiting = task->root.wait().waiting;
  task->patches.note(*detail, waiting ? std::optional(task->root.shownStatus()) : std::nullopt, notices);
}

}  // namespace

void CBasketTask::updatePatchCnt(DetailPtr& detail) {
  if (!detail) return;
  const CTaskLock task(*m_guard);
  CSpeech notices(*this);
  countPatch(task, detail, notices);
}

void CBasketTask::updatePatch(DetailPtr& detail) {
  if (!detail) return;
  bool dropped = false;
  bool loads = false;
  {
    const CTaskLock task(*m_guard);
    CSpeech notices(*this);
    countPatch(task, detail, notices);
    if (task->load) {
      task->load->patches = loads = true;
    } else {
      sumAll(task, notices);
      dropped = dropsForHedge(task);
      task->root.form(notices);
    }
  }
  sendOwed(*detail);
  if (!loads) announcePatched(dropped, true);
}

/// patched: details of patches have come. Without the mutex.
void CBasketTask::announcePatched(bool dropped, bool patched) {
  if (dropped) {
    drop(QString());
  } else {
    announceRoot();
  }
  if (!patched || !CTaskLock(*m_guard)->tree.isFilled()) return;
  getBasketHedgeManager().stopHedge(getGroupId());
  announceRoot();
}

}  // namespace TC
