#include "PatchFlow.h"

#include "TaskParts.h"
#include "TaskRules.h"
#include "ksservice/Helpers.h"
#include "tc/CMsgService.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Clock.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::CTaskDetailPtr;
using ksservice::CTaskHelper;
using utils::logInfo;

namespace {

/// The kind of trader that an algorithm's patch is for.
constexpr auto ALGO_TRADER = static_cast<EMavTraderType>(4);

}  // namespace

// The operations of the task

void CBasketTask::checkHasAlgoTask(const QString& key, EMavTraderType traderType) {
  CPatchFlow(*this).start(key, traderType);
}

void CBasketTask::onQueryOrderProcess(const OrderProcessMap& data, const utils::KSError& err,
                                      const bson::BSONObj& result, const QString& key) {
  CPatchFlow(*this).takeAnswer(data, err, result, key);
}

void CBasketTask::slotPatchTask(QString key, bool ok) {
  const auto self = weak_from_this().lock();  // the message or the dialog runs an event loop
  CPatchFlow(*this).goOn(key, ok);
}

void CBasketTask::patchWithParam(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType) {
  const auto self = weak_from_this().lock();  // the task is held while its own dialog is open
  CPatchFlow(*this).confirm(key, finished, traderType);
}

void CBasketTask::calcAvailable(CBasketTaskItem* item, AccountPtr account, ParamList& out, const QString& accountKey,
                                const OrderProcessMap& finished) {
  const auto known = CPatchOffers::askDetails();
  const CTaskLock task(*m_guard);
  for (const SLeftRow& left : task->offers.left(task->offers.newest(known), &finished, account)) {
    if (left.item != item || left.row.line.first != accountKey.toStdString()) continue;
    task->offers.logLeft(left);
    const auto param = CPatchOffers::paramOf(*item, account, left.remainder.volume);
    if (param && param->m_nVolume > 0) out.push_back(*param);
  }
}

int CBasketTask::getFinishedOrderNumForAlgoTask(const QString& accountKey, std::string& securityKey,
                                                const OrderProcessMap& finished) {
  return CTaskLock(*m_guard)->offers.finishedNumber(accountKey, securityKey, finished);
}

void CBasketTask::CPatchFlow::tell(const QString& text) {
  Q_ASSERT(!CTaskLock::isHeldHere());
  getMsgService().showBox(QStringLiteral("补单"), text);
}

/// A message for each row that has a remainder and is not offered, and how many more there are.
void CBasketTask::CPatchFlow::tellRefused(const QStringList& refused) {
  constexpr int MOST = 20;
  if (refused.isEmpty()) return;
  QStringList lines = {QStringLiteral("不能补单：")};
  lines += refused.mid(0, MOST);
  if (refused.size() > MOST) lines += QStringLiteral("等 %1 行").arg(refused.size() - MOST);
  tell(lines.join(QLatin1Char('\n')));
}

// The query

/// False while another patch of the task is under way.
bool CBasketTask::CPatchFlow::begin() {
  const CTaskLock task(*m_task.m_guard);
  return task->patch.begin(task->root.wait().waiting, utils::clockMSec());
}

void CBasketTask::CPatchFlow::end() { CTaskLock(*m_task.m_guard)->patch.end(); }

void CBasketTask::CPatchFlow::refuse() {
  tell(QStringLiteral("补单中"));
  m_task.announceEnded();
}

void CBasketTask::CPatchFlow::start(const QString& key, EMavTraderType traderType) {
  if (!begin()) return refuse();
  std::vector<std::string> serverKeys;
  const std::optional<int> query = ask(serverKeys);
  if (!query) return m_task.patchWithParam(key, {}, traderType);
  logInfo(&m_task, "CBasketTask::checkHasAlgoTask", "task %1% QueryOrderProcess start", m_task.getGroupId());
  Q_ASSERT(!CTaskLock::isHeldHere());
  getTradeClient().queryOrderProcess(
      serverKeys,
      [weak = m_task.weak_from_this(), key, number = *query](const OrderProcessMap& data, const utils::KSError& error,
                                                             const bson::BSONObj& result) {
        const auto task = weak.lock();
        if (!task || !CTaskLock(*task->m_guard)->patch.isNewest(number)) return;
        task->onQueryOrderProcess(data, error, result, key);
      },
      0);
  // An answer may never come; the click has done what it can.
  m_task.announceEnded();
}

/// The number of the query, and the server tasks that it is about; none when there are none.
std::optional<int> CBasketTask::CPatchFlow::ask(std::vector<std::string>& serverKeys) {
  const CTaskLock task(*m_task.m_guard);
  std::set<std::string> running;
  for (const auto* details : {&task->own.all(), &task->patches.details()}) {
    for (const CTaskDetailPtr& detail : *details) {
      if (!detail->m_bServerTask) continue;
      serverKeys.push_back(CTaskHelper::genServerTaskKey(*detail));
      if (!hasEnded(detail->m_nStatus)) running.insert(serverKeys.back());
    }
  }
  if (serverKeys.empty()) return std::nullopt;
  return task->patch.ask(std::move(running), utils::clockMSec());
}

void CBasketTask::CPatchFlow::takeAnswer(const OrderProcessMap& data, const utils::KSError& error,
                                         const bson::BSONObj& result, const QString& key) {
  const char* const function = "CBasketTask::onQueryOrderProcess";
  logInfo(&m_task, function, "task %1% QueryOrderProcess callback", m_task.getGroupId());
  bool ok = true;
  if (!error.success()) {
    logInfo(&m_task, function, "QueryOrderProcess KSError %1%", error.errorMsg());
    ok = false;
  } else if (!result.isEmpty()) {
    logInfo(&m_task, function, "QueryOrderProcess BoError %1%", result.toString());
    ok = false;
  }
  if (data.empty()) {
    logInfo(&m_task, function, "QueryOrderProcess data.size == 0");
    ok = false;
  }
  for (const auto& [server, numbers] : data) {
    for (const auto& [security, number] : numbers) {
      logInfo(&m_task, function, "QueryOrderProcess data %1% %2% %3%", server, security, number);
    }
  }
  CTaskLock(*m_task.m_guard)->patch.answer(data);
  Q_EMIT m_task.sigPatchTask(key, ok);
}

void CBasketTask::CPatchFlow::goOn(const QString& key, bool ok) {
  const std::optional<OrderProcessMap> finished = CTaskLock(*m_task.m_guard)->patch.goOn();
  if (!finished) return;
  if (ok) return m_task.patchWithParam(key, *finished, ALGO_TRADER);
  const SEnd ending{*this};
  failQuery();
}

void CBasketTask::CPatchFlow::failQuery() {
  tell(QStringLiteral("补单失败，查询三方算法任务进度失败"));
  logInfo(&m_task, "CBasketTask::slotPatchTask", "task %1% patch QueryOrderProcess fail", m_task.getGroupId());
  m_task.announceEnded();
}

// The confirmation

void CBasketTask::CPatchFlow::confirm(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType) {
  bool begun = false;
  {
    const CTaskLock task(*m_task.m_guard);
    begun = task->patch.confirm(task->root.wait().waiting, utils::clockMSec());
  }
  if (!begun) return refuse();
  const SEnd ending{*this};
  offer(key, finished, traderType);
}

void CBasketTask::CPatchFlow::offer(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType) {
  const char* const function = "CBasketTask::patchWithParam";
  bool cancelled = false;
  bool answered = false;
  SPatchLines offered;
  const auto known = CPatchOffers::askDetails();
  {
    const CTaskLock task(*m_task.m_guard);
    const SNewestDetails details = task->offers.newest(known);
    cancelled = task->offers.isCancelled(details);
    answered = CPatchOffers::answersAll(details, finished);
    if (cancelled && answered && key == m_task.getKey()) offered = task->offers.offer(details, finished);
  }
  if (!cancelled) {
    logInfo(&m_task, function, "task %1% is not cancel state", m_task.getGroupId());
    return m_task.announceEnded();
  }
  if (key != m_task.getKey()) return;
  if (!answered) return failQuery();
  tellRefused(offered.refused);
  if (offered.params.empty()) return refuseOffer();
  if (!stillHolds()) return;
  const ParamList own = m_task.getParam(key);
  if (own.empty()) {
    logInfo(&m_task, function, "task %1% get old param fail", m_task.getGroupId());
    return m_task.announceEnded();
  }
  const PatchChoice choice =
      choose({offered.params, own, m_task.getAlgoParams().toStdString(), traderType == ALGO_TRADER});
  if (const auto* orders = std::get_if<SPatchOrders>(&choice)) return take(*orders, finished);
  if (const auto* basket = std::get_if<SPatchBasket>(&choice)) return take(*basket, finished);
  m_task.announceEnded();
  logInfo(&m_task, function, "User %1% give up patch task %2%", getUserConfig().userName(), m_task.getKey());
}

/// Given up, and told so, where nobody can be asked.
PatchChoice CBasketTask::CPatchFlow::choose(const SPatchOffer& offer) {
  if (!m_task.m_pPatchConfirm) m_task.m_pPatchConfirm = makePatchConfirm();
  Q_ASSERT(!CTaskLock::isHeldHere());
  if (m_task.m_pPatchConfirm) return m_task.m_pPatchConfirm->confirm(offer);
  tell(QStringLiteral("没有补单确认窗口，没有补单"));
  return SPatchGivenUp();
}

void CBasketTask::CPatchFlow::refuseOffer() {
  tell(refusalText(ERefusal::Nothing));
  logInfo(&m_task, "CBasketTask::patchWithParam", "task %1% patch quantity is 0", m_task.getGroupId());
  m_task.announceEnded();
}

/// Whether what the user was asked is still to be done. Why it is not is told, but to nobody when the panel has gone.
bool CBasketTask::CPatchFlow::stillHolds() {
  ELetGo why = ELetGo::Held;
  {
    const CTaskLock task(*m_task.m_guard);
    if (task->patch.holds()) return true;
    why = task->patch.whyLetGo();
  }
  if (why == ELetGo::Closed) return false;
  tell(why == ELetGo::Held ? QStringLiteral("任务已放弃，没有补单") : QStringLiteral("交易日已变，没有补单"));
  m_task.announceEnded();
  return false;
}

/// Says so when the lines may not be ordered any more.
bool CBasketTask::CPatchFlow::checkFits(const ParamList& params, const OrderProcessMap& finished) {
  if (!stillHolds()) return false;
  const auto known = CPatchOffers::askDetails();
  {
    const CTaskLock task(*m_task.m_guard);
    if (task->offers.stillFits(task->offers.newest(known), params, finished)) return true;
  }
  tell(QStringLiteral("可补单量已变化，没有补单，请重新操作"));
  logInfo(&m_task, "CBasketTask::patchWithParam", "task %1% patch quantity has changed", m_task.getGroupId());
  m_task.announceEnded();
  return false;
}

void CBasketTask::CPatchFlow::take(const SPatchOrders& chosen, const OrderProcessMap& finished) {
  QStringList refused;
  for (const CCodeOrderParam& param : chosen.unpriced) refused << CPatchOffers::refusalLine(param, ERefusal::NoPrice);
  tellRefused(refused);
  if (!stillHolds()) return;
  if (chosen.params.empty() && !chosen.unpriced.empty()) return refuseOffer();
  if (checkFits(chosen.params, finished)) send(chosen, finished);
}

void CBasketTask::CPatchFlow::take(const SPatchBasket& chosen, const OrderProcessMap& finished) {
  if (!checkFits(chosen.params, finished)) return;
  const LineVolumes handed = plannedVolumes(chosen.params, ELineAccount::Each);
  const CPatchStore::Task key = CTaskLock(*m_task.m_guard)->root.storeKey();
  CPatchStore::instance().of(key, [&handed](CPatchCreations& creations) { creations.handedOver(handed); });
  Q_EMIT m_task.sigPatchCreateTask(chosen.lines.join(QLatin1Char('\n')));
  m_task.drop(QString());
}

}  // namespace TC
