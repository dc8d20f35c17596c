// The refresh cycle: the worker drains the caches into the tasks and stages the rows that changed; the GUI thread
// applies them and arms the next refresh.
#include <QMetaObject>
#include <QThread>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketDelegates.h"
#include "CHpfBasketOptionDelegate.h"
#include "CHpfBasketStatusTable.h"
#include "DetailKind.h"
#include "TaskKeys.h"
#include "TaskRules.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/Services.h"
#include "utils/Clock.h"
#include "utils/Guarded.h"
#include "utils/Log.h"

namespace TC {
namespace {

/// A task is a QObject of the GUI thread, but the worker may hold its last reference.
void releaseTask(CBasketTask* task) {
  if (QThread::currentThread() == task->thread()) {
    delete task;
  } else {
    task->deleteLater();
  }
}

}  // namespace

void CBasketTasksPanel::slotTimeout() {
  m_workQueue->post(utils::EPanelJob::Refresh, [this] { doUpdateTasks(); });
  m_lastRefreshMSec = utils::clockMSec();
}

void CBasketTasksPanel::retartTimer() {
  const auto elapsed = static_cast<int>(utils::clockMSec() - m_lastRefreshMSec);
  if (elapsed <= REFRESH_MSEC) {
    utils::singleShot(REFRESH_MSEC - elapsed, this, [this] { slotTimeout(); });
    return;
  }
  slotTimeout();
}

void CBasketTasksPanel::finishRefresh() {
  utils::guarded("CBasketTasksPanel::finishRefresh", "table", [this] {
    updateTable(m_nFilter, false);
    Q_EMIT sigRunningTasks(tradeType(), m_nRunningCount);
  });
  retartTimer();
}

// A queued call to this panel is dropped by Qt when the panel goes first, and the destructor ends the worker before.
void CBasketTasksPanel::doUpdateTasks() {
  bool worked = false;
  {
    const CTaskAnnouncements::CHold hold(*m_pAnnouncements);
    utils::guarded("CBasketTasksPanel::doUpdateTasks", "refresh", [&] { worked = refreshTasks(); });
  }
  // Whatever became of it: the next one is armed, once.
  QMetaObject::invokeMethod(
      this, [this, worked] { worked ? finishRefresh() : retartTimer(); }, Qt::QueuedConnection);
}

/// False when there was nothing to do.
bool CBasketTasksPanel::refreshTasks() {
  const double start = utils::clock();
  SDetailMaps work;
  SWork done;
  if (!m_caches.takeWork(work, done.day)) return false;
  m_pTable->beginRefresh(done.day);
  // Tasks first, so that a hedge or a patch never waits for a task of the same refresh.
  forEach(work.task, [&](const ksservice::CTaskDetailPtr& detail) { applyTaskDetail(detail, done); });
  forEach(work.hedge, [&](const ksservice::CTaskDetailPtr& detail) { applyHedgeDetail(detail, done); });
  forEach(work.patch, [&](const ksservice::CTaskDetailPtr& detail) { applyPatchDetail(detail, done); });
  stage(done);
  forEach(work.status, [&](const ksservice::CTaskDetailPtr& detail) { setTableStatus(detail, done); });
  utils::logInfo(this, "CBasketTasksPanel::doUpdateTasks",
                 "update cost: %1%, task cache: %2%, patch cache: %3%, hedge cache: %4%, status cache: %5%",
                 utils::clock() - start, work.task.size(), work.patch.size(), work.hedge.size(), work.status.size());
  return true;
}

/// A fault costs the detail with which it came, not the ones beside it.
void CBasketTasksPanel::forEach(const DetailMap& details,
                                const std::function<void(const ksservice::CTaskDetailPtr&)>& apply) {
  for (const auto& entry : details) {
    utils::guarded("CBasketTasksPanel::doUpdateTasks", entry.first, [&] { apply(entry.second); });
  }
}

void CBasketTasksPanel::applyTaskDetail(ksservice::CTaskDetailPtr detail, SWork& done) {
  if (!detail->m_pCommand) return;
  const boost::shared_ptr<CBasketTask> task = findOrCreateTask(*detail, done.day);
  if (!task) return;
  setHedgeParam(*task, *detail->m_pCommand);
  // Asked before the update, which files the detail: an unknown one changes the shape of the tree.
  const bool known = task->contains(detail, EBTT_Own);
  task->updateDetail(detail);
  if (!known) m_pTable->clearTask(*task);
  done.tasks[task->getKey()] = task;
}

// Hedge and patch details of a task that is not known are dropped: they are not kept for a later refresh.
void CBasketTasksPanel::applyHedgeDetail(ksservice::CTaskDetailPtr detail, SWork& done) {
  const boost::shared_ptr<CBasketTask> task = findTask(*detail, done.day);
  if (!task) return;
  if (!task->contains(detail, EBTT_Hedge)) m_pTable->clearTask(*task);
  task->updateHedge(detail);
  done.tasks[task->getKey()] = task;
}

void CBasketTasksPanel::applyPatchDetail(ksservice::CTaskDetailPtr detail, SWork& done) {
  const boost::shared_ptr<CBasketTask> task = findTask(*detail, done.day);
  if (!task) return;
  task->updatePatch(detail);
  done.tasks[task->getKey()] = task;
}

/// Shows the status that the task holds for the row of the detail's first line. A task that was staged whole in this
/// refresh shows it already.
void CBasketTasksPanel::setTableStatus(const ksservice::CTaskDetailPtr& detail, const SWork& done) {
  if (detail->m_params.empty() || !detail->m_params.front().m_pAccount) return;
  const boost::shared_ptr<CBasketTask> task = findTask(*detail, done.day);
  if (!task) return;
  const ksservice::CAccountInfo& account = *detail->m_params.front().m_pAccount;
  const QString accountKey = QString::fromStdString(account.getKey());
  task->noteAccount(accountKey, accountDisplayIDQs(account));
  if (done.tasks.contains(task->getKey())) return;
  m_pTable->resetStatus(task, accountKey, task->getTreeItemKey(detail->m_params.front()));
}

void CBasketTasksPanel::setHedgeParam(CBasketTask& task, const ksservice::COrderCommand& command) {
  const char* const function = "CBasketTasksPanel::doUpdateTasks";
  if (isEtfHedge(command)) {
    utils::logInfo(this, function, "[cmd|%1%] [task|%2%-%3%] is etf hedge param.", command.m_nCommandId,
                   command.m_nTaskId, command.m_strBasketName);
    return;
  }
  ksservice::CBasketHedgeParam param;
  if (getBasketHedgeManager().getHedgeParam(command.m_nCommandId, param)) {
    task.setHedgeParam(param, true);
    utils::logInfo(this, function, "command %1% set hedge param.", command.m_nCommandId);
  } else {
    utils::logInfo(this, function, "command %1% has no hedge param, do not set.", command.m_nCommandId);
  }
}

TaskMap CBasketTasksPanel::tasks() const {
  const std::lock_guard<std::mutex> lock(m_tasksMutex);
  return m_tasks;
}

boost::shared_ptr<CBasketTask> CBasketTasksPanel::findTask(const QString& key) const {
  const std::lock_guard<std::mutex> lock(m_tasksMutex);
  return m_tasks.value(key);
}

/// For a job, which works on the tasks of its day alone.
boost::shared_ptr<CBasketTask> CBasketTasksPanel::findTask(const ksservice::CTaskDetail& detail,
                                                           unsigned jobDay) const {
  if (!detail.m_pCommand) return nullptr;
  const QString key = taskKey(detail.m_pCommand->m_nTaskId);
  const std::lock_guard<std::mutex> lock(m_tasksMutex);
  return m_nTasksDay == jobDay ? m_tasks.value(key) : nullptr;
}

boost::shared_ptr<CBasketTask> CBasketTasksPanel::findOrCreateTask(const ksservice::CTaskDetail& detail,
                                                                   unsigned jobDay) {
  if (boost::shared_ptr<CBasketTask> known = findTask(detail, jobDay)) return known;
  boost::shared_ptr<CBasketTask> task = createTask(detail, jobDay);
  const std::lock_guard<std::mutex> lock(m_tasksMutex);
  if (m_nTasksDay != jobDay) return nullptr;
  m_tasks.insert(task->getKey(), task);
  return task;
}

boost::shared_ptr<CBasketTask> CBasketTasksPanel::createTask(const ksservice::CTaskDetail& detail, unsigned jobDay) {
  const ksservice::COrderCommand& command = *detail.m_pCommand;
  boost::shared_ptr<CBasketTask> task(
      new CBasketTask(taskKey(command.m_nTaskId), command.m_nTaskId, command.m_nCommandId), releaseTask);
  const QString displayId = taskDisplayId(command.m_nTraderType, command.m_nTaskId);
  task->getRoot()->setHpfTreeKey(displayId);
  task->moveToThread(thread());
  task->setDisposal([disposal = m_pDisposal](std::shared_ptr<void> rest) { disposal->take(std::move(rest)); });
  m_pAnnouncements->listen(*task, jobDay);
  connect(task.get(), &CBasketTask::sigShowOperateOrbTaskError, task.get(), &CBasketTask::slotShowOperateOrbTaskError,
          Qt::QueuedConnection);
  // Direct: it comes on the GUI thread without the mutex, and the host has the lines before the task is dropped.
  connect(task.get(), SIGNAL(sigPatchCreateTask(QString)), this, SIGNAL(sigPatchCreateTask(QString)));
  if (detail.m_nTaskId >= FIRST_COMMAND_KEYED_TASK) {
    CHpfBasketOptionDelegate* options = m_pTable->getTaskOptionDelegate();
    QMetaObject::invokeMethod(
        options, [options, displayId] { options->registerCommandKeyed(displayId); }, Qt::QueuedConnection);
  }
  return task;
}

void CBasketTasksPanel::stage(const SWork& done) {
  for (const auto& entry : done.tasks) {
    utils::guarded("CBasketTasksPanel::stage", entry.first.toStdString(), [&] { stageTask(entry.second); });
  }
}

void CBasketTasksPanel::stageTask(const boost::shared_ptr<CBasketTask>& task) {
  m_pTable->updateTask(task);
  m_pAnnouncements->onStaged(*task);
}

/// What tasks announced reaches the delegates before the rows of the job in which they did, which have the last word.
void CBasketTasksPanel::deliverAnnouncements() {
  const GV::CModelBatch batch(*m_pTable->dataModel());
  CHpfBasketOptionDelegate& options = *m_pTable->getTaskOptionDelegate();
  CHpfBasketOrderDelegate& orders = *m_pTable->getTaskOrderDelegate();
  for (const STaskAnnouncements& task : m_pAnnouncements->take()) {
    for (const auto& [name, ended, status, type] : task.statuses) {
      ended ? options.slotOperationEnded(name) : options.slotTaskStatus(name, status, type);
    }
    for (const auto& [name, count, knownCount] : task.orders) orders.slotTaskOrder(name, count, knownCount);
  }
}

}  // namespace TC
