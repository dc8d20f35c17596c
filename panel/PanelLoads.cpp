// What the panel reads from the data centre beside the feed: the first load, the reload of an account, and the hedge
// manager's notices.
#include <QMetaObject>
#include <algorithm>

#include "CBasketTask.h"
#include "CBasketTaskItem.h"
#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "DetailKind.h"
#include "TaskRules.h"
#include "ksservice/TraderCenter.h"
#include "tc/CTradeClient.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "tc/TaskEvents.h"
#include "utils/Guarded.h"

namespace TC {
namespace {

using Details = std::vector<ksservice::CTaskDetailPtr>;

/// A detail is of the account of its first line; a patch of those of all its lines.
bool fallsOn(const ksservice::CTaskDetail& detail, EDetailKind kind, const std::set<std::string>& accountKeys) {
  const auto isOneOf = [&accountKeys](const ksservice::CCodeOrderParam& param) {
    return param.m_pAccount && accountKeys.contains(param.m_pAccount->getKey());
  };
  const auto& params = detail.m_params;
  const auto end = kind == EDetailKind::Patch || params.empty() ? params.end() : params.begin() + 1;
  return std::any_of(params.begin(), end, isOneOf);
}

/// Details of so many tasks come first in a load; each further portion has twice as many, up to the largest.
constexpr std::size_t FIRST_PORTION = 64;
constexpr std::size_t LARGEST_PORTION = 512;

/// The details of tasks of one trader type in portions, all details of a task in one, the tasks in the order of their
/// rows: whoever waits for thousands sees the first at once. In a portion the details keep their order.
std::vector<Details> portionsOf(const Details& details) {
  std::map<int, std::size_t> portionOf;  // by task
  for (const ksservice::CTaskDetailPtr& detail : details) portionOf[detail->m_pCommand->m_nTaskId];
  std::size_t portion = 0;
  std::size_t room = FIRST_PORTION;
  for (std::size_t size = room; auto& entry : portionOf) {
    if (room == 0) {
      ++portion;
      room = size = std::min(size * 2, LARGEST_PORTION);
    }
    entry.second = portion;
    --room;
  }
  std::vector<Details> portions(portion + 1);
  for (const ksservice::CTaskDetailPtr& detail : details) {
    portions[portionOf[detail->m_pCommand->m_nTaskId]].push_back(detail);
  }
  return portions;
}

}  // namespace

/// What the data centre knows. The feed told it before, or will: a refresh must not go back behind it.
std::vector<ksservice::CTaskDetailPtr> CBasketTasksPanel::readDetails(unsigned& day) {
  const DetailMap waiting = m_caches.waiting(day);
  std::vector<ksservice::CTaskDetailPtr> details = ksservice::TraderCenter::instance().getDataCenter().taskDetails();
  m_caches.renew(waiting, details);
  return details;
}

void CBasketTasksPanel::initTasks() {
  unsigned day = 0;
  Details details = readDetails(day);
  m_pTable->beginRefresh(day);
  std::erase_if(details, [this](const ksservice::CTaskDetailPtr& detail) { return !isOwn(*detail); });
  for (const Details& portion : portionsOf(details)) {
    load([&] { loadTasks(portion, day); });
  }
}

void CBasketTasksPanel::loadTasks(const Details& details, unsigned day) {
  SWork loaded;
  loaded.day = day;
  const auto forEachOf = [&details](const std::function<void(const ksservice::CTaskDetailPtr&)>& take) {
    for (const ksservice::CTaskDetailPtr& detail : details) {
      utils::guarded("CBasketTasksPanel::initTasks", detail->getKey(), [&] { take(detail); });
    }
  };
  // A hedge or a patch needs its task, so each kind has a pass of its own.
  for (const EDetailKind kind : {EDetailKind::Own, EDetailKind::Hedge, EDetailKind::Patch}) {
    forEachOf([&](ksservice::CTaskDetailPtr detail) {
      if (kindOf(*detail, EDetailWay::Load) != kind) return;
      if (kind == EDetailKind::Own) return loadOwn(detail, loaded);
      const boost::shared_ptr<CBasketTask> task = findTask(*detail, day);
      if (!task) return;
      beginLoad(task, loaded);
      kind == EDetailKind::Hedge ? task->updateHedge(detail) : task->updatePatch(detail);
    });
  }
  endLoads(loaded);
  stageInOrder(loaded);
  forEachOf([&](const ksservice::CTaskDetailPtr& detail) { setTableStatus(detail, loaded); });
}

void CBasketTasksPanel::loadOwn(ksservice::CTaskDetailPtr detail, SWork& loaded) {
  const boost::shared_ptr<CBasketTask> task = findOrCreateTask(*detail, loaded.day);
  if (!task) return;
  beginLoad(task, loaded);
  ksservice::CBasketHedgeParam param;
  if (loadHedgeParam(detail->m_pCommand->m_nCommandId, param)) task->setHedgeParam(param, false);
  task->updateDetail(detail);
}

void CBasketTasksPanel::beginLoad(const boost::shared_ptr<CBasketTask>& task, SWork& loaded) {
  if (loaded.tasks.try_emplace(task->getKey(), task).second) task->beginLoad();
}

/// A task that the host fails keeps the rows that it shows until its next detail.
void CBasketTasksPanel::endLoads(SWork& loaded) {
  std::erase_if(loaded.tasks, [](const auto& entry) {
    return !utils::guarded("CBasketTasksPanel::endLoads", entry.first.toStdString(), [&] { entry.second->endLoad(); });
  });
}

void CBasketTasksPanel::stageInOrder(const SWork& loaded) {
  std::vector<boost::shared_ptr<CBasketTask>> order;
  for (const auto& entry : loaded.tasks) order.push_back(entry.second);
  std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
    return basketTaskIdLessThan(a->getRoot()->m_strHpfTreeKey, b->getRoot()->m_strHpfTreeKey);
  });
  for (const boost::shared_ptr<CBasketTask>& task : order) {
    utils::guarded("CBasketTasksPanel::stageInOrder", task->getKey().toStdString(), [&] { stageTask(task); });
  }
}

void CBasketTasksPanel::postLoad(utils::EPanelJob kind, std::function<void()> work) {
  m_workQueue->post(kind, [this, work = std::move(work)] { load(work); });
}

/// Does a load's work, of which the GUI thread then gets what was announced and after that the rows.
void CBasketTasksPanel::load(const std::function<void()>& work) {
  {
    const CTaskAnnouncements::CHold hold(*m_pAnnouncements);
    work();
  }
  const auto apply = [this] {
    utils::guarded("CBasketTasksPanel::load", "table", [this] { updateTable(m_nFilter, false); });
  };
  QMetaObject::invokeMethod(this, apply, Qt::QueuedConnection);
}

void CBasketTasksPanel::requestAccount(const ksservice::CAccountInfo& account) {
  postLoad(utils::EPanelJob::AccountReload, [this, account] { doRequestAccount(account); });
}

void CBasketTasksPanel::refreshAccounts() {
  std::set<std::string> keys;
  for (const auto& account : getUserConfig().getAccounts()) {
    if (!isBrokerTypeMatchTradeType(*account, tradeType())) continue;
    if (getUserConfig().isAccountFilter(account->getKey())) continue;
    if (ksservice::isLoginStatusReady(getTradeClient().getLoginStatus(account->getKey())))
      keys.insert(account->getKey());
  }
  if (keys.empty()) return;
  postLoad(utils::EPanelJob::AccountReload, [this, keys] { doRequestAccounts(keys); });
}

void CBasketTasksPanel::doRequestAccount(const ksservice::CAccountInfo& account) {
  doRequestAccounts({account.getKey()});
}

void CBasketTasksPanel::doRequestAccounts(const std::set<std::string>& accountKeys) {
  SWork loaded;
  const std::vector<ksservice::CTaskDetailPtr> details = readDetails(loaded.day);
  m_pTable->beginRefresh(loaded.day);
  for (const ksservice::CTaskDetailPtr& detail : details) {
    utils::guarded("CBasketTasksPanel::doRequestAccount", detail->getKey(),
                   [&] { reload(detail, accountKeys, loaded); });
  }
  endLoads(loaded);
  stageInOrder(loaded);
}

/// Patches and hedges are only counted; the sums and the status follow at the end of the load.
void CBasketTasksPanel::reload(ksservice::CTaskDetailPtr detail, const std::set<std::string>& accountKeys,
                               SWork& loaded) {
  if (!isOwn(*detail)) return;
  const EDetailKind kind = kindOf(*detail, EDetailWay::Load);
  if (!fallsOn(*detail, kind, accountKeys)) return;
  const boost::shared_ptr<CBasketTask> task = findTask(*detail, loaded.day);
  if (!task) return;
  beginLoad(task, loaded);
  if (kind == EDetailKind::Own) task->updateDetail(detail);
  if (kind == EDetailKind::Patch) task->updatePatchCnt(detail);
  if (kind == EDetailKind::Hedge) task->updateHedgeCnt(detail);
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
  postLoad(utils::EPanelJob::Staging, [this, task] {
    SWork one;
    one.day = m_caches.day();
    m_pTable->beginRefresh(one.day);
    if (findTask(task->getKey()) == task) one.tasks[task->getKey()] = task;
    stage(one);
  });
}

}  // namespace TC
