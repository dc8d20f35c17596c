// What the panel reads from the data centre beside the feed: the first load, the reload of an account, and the hedge
// manager's notices.
#include <QMetaObject>
#include <algorithm>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "TaskKeys.h"
#include "TaskRules.h"
#include "ksservice/TraderCenter.h"
#include "tc/CTradeClient.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace TC {
namespace {

/// What a detail is to the loads. They tell a patch by the patch flag, and know no signal feed.
enum class EDetailKind { Own, Hedge, Patch, Other };

EDetailKind kindOf(const ksservice::COrderCommand& command) {
  switch (command.m_nBasketType) {
    case ksservice::ECBT_Basket:
      return command.m_bPatch ? EDetailKind::Patch : EDetailKind::Own;
    case ksservice::ECBT_EtfHedge:
    case ksservice::ECBT_EtfHedge2:
      return command.m_bPatch ? EDetailKind::Other : EDetailKind::Own;
    case ksservice::ECBT_Hedge:
      return EDetailKind::Hedge;
    default:
      return EDetailKind::Other;
  }
}

}  // namespace

/// What the data centre knows. The feed told it before, or will: a refresh must not go back behind it.
std::vector<ksservice::CTaskDetailPtr> CBasketTasksPanel::readDetails() {
  const DetailMap waiting = m_caches.waiting();
  std::vector<ksservice::CTaskDetailPtr> details = ksservice::TraderCenter::instance().getDataCenter().taskDetails();
  m_caches.renew(waiting, details);
  return details;
}

void CBasketTasksPanel::initTasks() {
  const unsigned jobDay = day();
  m_pTable->beginRefresh();
  std::vector<ksservice::CTaskDetailPtr> details = readDetails();
  const auto isForeign = [this](const ksservice::CTaskDetailPtr& detail) { return !isOwn(*detail); };
  details.erase(std::remove_if(details.begin(), details.end(), isForeign), details.end());
  QSet<QString> loaded;
  // A hedge or a patch needs its task, so each kind has a pass of its own.
  for (const EDetailKind kind : {EDetailKind::Own, EDetailKind::Hedge, EDetailKind::Patch}) {
    for (ksservice::CTaskDetailPtr detail : details) {
      if (kindOf(*detail->m_pCommand) != kind) continue;
      if (kind == EDetailKind::Own) {
        loadOwn(detail, jobDay, loaded);
      } else if (const boost::shared_ptr<CBasketTask> task = findTask(*detail)) {
        kind == EDetailKind::Hedge ? task->updateHedge(detail) : task->updatePatch(detail);
        loaded.insert(task->getKey());
      }
    }
  }
  stageInOrder(loaded);
  for (const ksservice::CTaskDetailPtr& detail : details) setTableStatus(detail, loaded);
  applyStagedLater();
}

void CBasketTasksPanel::loadOwn(ksservice::CTaskDetailPtr detail, unsigned jobDay, QSet<QString>& loaded) {
  const boost::shared_ptr<CBasketTask> task = findOrCreateTask(*detail, jobDay);
  if (!task) return;
  ksservice::CBasketHedgeParam param;
  if (loadHedgeParam(detail->m_pCommand->m_nCommandId, param)) task->setHedgeParam(param, false);
  task->updateDetail(detail);
  loaded.insert(task->getKey());
}

void CBasketTasksPanel::stageInOrder(const QSet<QString>& keys) {
  std::vector<boost::shared_ptr<CBasketTask>> order;
  for (const QString& key : keys) {
    if (const boost::shared_ptr<CBasketTask> task = findTask(key)) order.push_back(task);
  }
  std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
    return basketTaskIdLessThan(a->getRoot()->m_strHpfTreeKey, b->getRoot()->m_strHpfTreeKey);
  });
  for (const boost::shared_ptr<CBasketTask>& task : order) m_pTable->updateTask(task);
}

void CBasketTasksPanel::applyStagedLater() {
  QMetaObject::invokeMethod(
      this, [this] { updateTable(m_nFilter, false); }, Qt::QueuedConnection);
}

void CBasketTasksPanel::requestAccount(const ksservice::CAccountInfo& account) {
  m_workQueue->post(utils::EPanelJob::AccountReload, [this, account] { doRequestAccount(account); });
}

void CBasketTasksPanel::refreshAccounts() {
  for (const auto& account : getUserConfig().getAccounts()) {
    if (!isBrokerTypeMatchTradeType(*account, tradeType())) continue;
    if (getUserConfig().isAccountFilter(account->getKey())) continue;
    if (ksservice::isLoginStatusReady(getTradeClient().getLoginStatus(account->getKey()))) requestAccount(*account);
  }
}

// Patches and hedges are only counted; the sums and the status follow from the task's own details, which come last.
void CBasketTasksPanel::doRequestAccount(const ksservice::CAccountInfo& account) {
  m_pTable->beginRefresh();
  std::map<QString, boost::shared_ptr<CBasketTask>> found;
  std::vector<ksservice::CTaskDetailPtr> own;
  for (ksservice::CTaskDetailPtr detail : readDetails()) {
    if (!isOwn(*detail) || detail->m_params.empty()) continue;
    const auto& owner = detail->m_params.front().m_pAccount;
    if (!owner || owner->getKey() != account.getKey()) continue;
    const boost::shared_ptr<CBasketTask> task = findTask(*detail);
    if (!task) continue;
    found.emplace(task->getKey(), task);
    const EDetailKind kind = kindOf(*detail->m_pCommand);
    if (kind == EDetailKind::Own) own.push_back(detail);
    if (kind == EDetailKind::Patch) task->updatePatchCnt(detail);
    if (kind == EDetailKind::Hedge) task->updateHedgeCnt(detail);
  }
  for (ksservice::CTaskDetailPtr& detail : own) {
    const boost::shared_ptr<CBasketTask>& task = found[taskKey(detail->m_pCommand->m_nTaskId)];
    const bool known = task->contains(detail, EBTT_Own);
    task->updateDetail(detail);
    if (!known) m_pTable->clearTask(*task);
  }
  for (const auto& entry : found) {
    entry.second->updateRoot();
    m_pTable->updateTask(entry.second);
  }
  applyStagedLater();
}

void CBasketTasksPanel::slotHedgeVolume(int taskId, int volume) {
  const boost::shared_ptr<CBasketTask> task = findTask(taskKey(taskId));
  if (!task) return;
  task->updateHedgeVolume(volume);
  stageOne(task);
}

void CBasketTasksPanel::slotHedgeStatus(int taskId, int status) {
  const boost::shared_ptr<CBasketTask> task = findTask(taskKey(taskId));
  if (!task) return;
  task->updateHedgeStatus(status);
  stageOne(task);
}

/// A patch of a task was accepted, has shown up or failed: what the root shows follows at once.
void CBasketTasksPanel::onPatchesChanged(int traderType, int taskId) {
  if (traderType != tradeType()) return;
  const boost::shared_ptr<CBasketTask> task = findTask(taskKey(taskId));
  if (!task) return;
  task->onPatchesChanged();
  stageOne(task);
}

/// Has the worker stage a task that the GUI thread changed, so that its rows do not wait for its next detail.
void CBasketTasksPanel::stageOne(const boost::shared_ptr<CBasketTask>& task) {
  m_workQueue->post(utils::EPanelJob::Staging, [this, task] {
    m_pTable->beginRefresh();
    if (findTask(task->getKey()) == task) m_pTable->updateTask(task);
    applyStagedLater();
  });
}

}  // namespace TC
