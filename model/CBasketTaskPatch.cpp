/// A patch from the click to what the user chose: the query of what server tasks have finished, and the confirmation.
/// No dialog opens, and nothing is asked of the host, with the mutex held.
#include <algorithm>

#include "EHpfBasketTaskStatus.h"
#include "PatchOffer.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/CItCommandCenter.h"
#include "tc/CMsgService.h"
#include "tc/CTradeClient.h"
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
/// A query that has no answer after this time does not keep the user from asking again.
constexpr double ANSWER_MSEC = 10000;

void tell(const QString& text) { getMsgService().showBox(QStringLiteral("补单"), text); }

}  // namespace

// The states of a patch

/// False while another patch of the task is under way.
bool CBasketTask::beginPatch() {
  const bool waiting = waitOf().waiting;
  const Lock lock(m_mutex);
  const bool unanswered = m_patchPhase == EPatchPhase::Querying && utils::clockMSec() - m_dAskedMSec >= ANSWER_MSEC;
  if (waiting || m_eLetGo != ELetGo::Held || (m_patchPhase != EPatchPhase::None && !unanswered)) return false;
  m_patchPhase = EPatchPhase::Started;
  return true;
}

void CBasketTask::endPatch() {
  const Lock lock(m_mutex);
  m_patchPhase = EPatchPhase::None;
}

void CBasketTask::refusePatch() {
  tell(QStringLiteral("补单中"));
  announceEnded();
}

void CBasketTask::letGo(ELetGo why) {
  const Lock lock(m_mutex);
  m_eLetGo = why;
  endQuery();
}

// The query

void CBasketTask::checkHasAlgoTask(const QString& key, EMavTraderType traderType) {
  if (!beginPatch()) {
    refusePatch();
    return;
  }
  const std::vector<std::string> tasks = beginQuery();
  if (tasks.empty()) {
    patchWithParam(key, {}, traderType);
    return;
  }
  logInfo(this, "CBasketTask::checkHasAlgoTask", "task %1% QueryOrderProcess start", m_nGroupId);
  getTradeClient().queryOrderProcess(
      tasks,
      [weak = weak_from_this(), key, number = m_nQuery](const OrderProcessMap& data, const utils::KSError& error,
                                                        const bson::BSONObj& result) {
        const auto task = weak.lock();
        if (task && task->isNewestQuery(number)) task->onQueryOrderProcess(data, error, result, key);
      },
      0);
  // An answer may never come; the click has done what it can.
  announceEnded();
}

/// The server tasks that the query is about; remembers which of them had not ended when it was sent, since the answer
/// does not tell what they send afterwards.
std::vector<std::string> CBasketTask::beginQuery() {
  const Lock lock(m_mutex);
  std::vector<std::string> keys;
  m_runningWhenAsked.clear();
  for (const DetailMap* details : std::initializer_list<const DetailMap*>{&m_mapDetails, &m_patches.details()}) {
    for (const CTaskDetailPtr& detail : *details) {
      if (!detail->m_bServerTask) continue;
      keys.push_back(CTaskHelper::genServerTaskKey(*detail));
      if (!hasEnded(detail->m_nStatus)) m_runningWhenAsked.insert(keys.back());
    }
  }
  if (keys.empty()) return keys;
  m_patchPhase = EPatchPhase::Querying;
  ++m_nQuery;
  m_dAskedMSec = utils::clockMSec();
  return keys;
}

/// What is answered from now on starts no patch. With the mutex held.
void CBasketTask::endQuery() {
  if (m_patchPhase == EPatchPhase::Querying) m_patchPhase = EPatchPhase::None;
}

bool CBasketTask::isNewestQuery(int number) const {
  const Lock lock(m_mutex);
  return number == m_nQuery;
}

void CBasketTask::onQueryOrderProcess(const OrderProcessMap& data, const utils::KSError& err,
                                      const bson::BSONObj& result, const QString& key) {
  const char* const function = "CBasketTask::onQueryOrderProcess";
  logInfo(this, function, "task %1% QueryOrderProcess callback", m_nGroupId);
  bool ok = true;
  if (!err.success()) {
    logInfo(this, function, "QueryOrderProcess KSError %1%", err.errorMsg());
    ok = false;
  } else if (!result.isEmpty()) {
    logInfo(this, function, "QueryOrderProcess BoError %1%", result.toString());
    ok = false;
  }
  if (data.empty()) {
    logInfo(this, function, "QueryOrderProcess data.size == 0");
    ok = false;
  }
  for (const auto& [task, numbers] : data) {
    for (const auto& [security, number] : numbers) {
      logInfo(this, function, "QueryOrderProcess data %1% %2% %3%", task, security, number);
    }
  }
  {
    const Lock lock(m_mutex);
    m_mapProgress = data;
    m_nAnswered = m_nQuery;
  }
  Q_EMIT sigPatchTask(key, ok);
}

void CBasketTask::slotPatchTask(QString key, bool ok) {
  const auto self = weak_from_this().lock();  // the message or the dialog runs an event loop
  OrderProcessMap finished;
  {
    const Lock lock(m_mutex);
    // A second answer opens no second dialog, nor does one that came too late.
    if (m_patchPhase != EPatchPhase::Querying || m_nAnswered != m_nQuery) return;
    m_patchPhase = EPatchPhase::Started;
    finished = m_mapProgress;
  }
  if (ok) {
    patchWithParam(key, finished, ALGO_TRADER);
    return;
  }
  failQuery();
  endPatch();
}

void CBasketTask::failQuery() {
  tell(QStringLiteral("补单失败，查询三方算法任务进度失败"));
  logInfo(this, "CBasketTask::slotPatchTask", "task %1% patch QueryOrderProcess fail", m_nGroupId);
  announceEnded();
}

// The confirmation

void CBasketTask::patchWithParam(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType) {
  const auto self = weak_from_this().lock();  // the task is held while its own dialog is open
  bool begun = false;
  {
    const Lock lock(m_mutex);
    begun = m_patchPhase == EPatchPhase::Started || beginPatch();
    if (begun) {
      m_patchPhase = EPatchPhase::Confirming;
      m_bDroppedMeanwhile = false;
    }
  }
  if (!begun) {
    refusePatch();
    return;
  }
  confirmPatch(key, finished, traderType);
  endPatch();
}

void CBasketTask::confirmPatch(const QString& key, const OrderProcessMap& finished, EMavTraderType traderType) {
  const SNewest details = newest();
  if (!isCancelled(details)) {
    logInfo(this, "CBasketTask::patchWithParam", "task %1% is not cancel state", m_nGroupId);
    announceEnded();
    return;
  }
  if (key != m_strKey) return;
  if (!answersAll(details, finished)) {
    failQuery();
    return;
  }
  const SOffer offered = offer(finished);
  if (!offered.refused.isEmpty()) tellRefused(offered.refused);
  if (offered.params.empty()) {
    refuseOffer();
    return;
  }
  if (!stillHolds()) return;
  const ParamList own = getParam(key);
  if (own.empty()) {
    logInfo(this, "CBasketTask::patchWithParam", "task %1% get old param fail", m_nGroupId);
    announceEnded();
    return;
  }
  if (!m_pPatchConfirm) m_pPatchConfirm = makePatchConfirm();
  if (!m_pPatchConfirm) {
    tell(QStringLiteral("没有补单确认窗口，没有补单"));
    logInfo(this, "CBasketTask::patchWithParam", "task %1% nobody confirms a patch", m_nGroupId);
    announceEnded();
    return;
  }
  const PatchChoice choice =
      m_pPatchConfirm->confirm({offered.params, own, getAlgoParams().toStdString(), traderType == ALGO_TRADER});
  if (const auto* orders = std::get_if<SPatchOrders>(&choice)) {
    takePatch(*orders, finished);
  } else if (const auto* basket = std::get_if<SPatchBasket>(&choice)) {
    takeNewBasket(*basket, finished);
  } else {
    announceEnded();
    logInfo(this, "CBasketTask::patchWithParam", "User %1% give up patch task %2%", getUserConfig().userName(),
            m_strKey);
  }
}

/// A message for each row that has a remainder and is not offered, and how many more there are.
void CBasketTask::tellRefused(const QStringList& refused) {
  constexpr int MOST = 20;
  QStringList lines = {QStringLiteral("不能补单：")};
  lines += refused.mid(0, MOST);
  if (refused.size() > MOST) lines += QStringLiteral("等 %1 行").arg(refused.size() - MOST);
  tell(lines.join(QLatin1Char('\n')));
}

void CBasketTask::refuseOffer() {
  tell(QStringLiteral("可补单量为0"));
  logInfo(this, "CBasketTask::patchWithParam", "task %1% patch quantity is 0", m_nGroupId);
  announceEnded();
}

/// Whether what the user was asked is still to be done. It is not once the task was dropped or its day is over,
/// whatever its details say; that is told, but to nobody when the panel has gone.
bool CBasketTask::stillHolds() {
  QString reason;
  {
    const Lock lock(m_mutex);
    if (m_eLetGo == ELetGo::Held && !m_bDroppedMeanwhile) return true;
    if (m_eLetGo == ELetGo::NewTradingDay) {
      reason = QStringLiteral("交易日已变，没有补单");
    } else if (m_eLetGo == ELetGo::Held) {
      reason = QStringLiteral("任务已放弃，没有补单");
    }
  }
  if (reason.isEmpty()) return false;
  tell(reason);
  announceEnded();
  return false;
}

/// Says so when the lines may not be ordered any more.
bool CBasketTask::checkFits(const ParamList& params, const OrderProcessMap& finished) {
  if (!stillHolds()) return false;
  if (stillFits(params, finished)) return true;
  tell(QStringLiteral("可补单量已变化，没有补单，请重新操作"));
  logInfo(this, "CBasketTask::patchWithParam", "task %1% patch quantity has changed", m_nGroupId);
  announceEnded();
  return false;
}

void CBasketTask::takePatch(const SPatchOrders& chosen, const OrderProcessMap& finished) {
  if (!chosen.unpriced.empty()) {
    QStringList refused;
    for (const CCodeOrderParam& param : chosen.unpriced) refused << refusalLine(param, QStringLiteral("没有价格"));
    tellRefused(refused);
  }
  if (!stillHolds()) return;
  if (chosen.params.empty() && !chosen.unpriced.empty()) {
    refuseOffer();
  } else if (checkFits(chosen.params, finished)) {
    sendPatch(chosen);
  }
}

void CBasketTask::takeNewBasket(const SPatchBasket& chosen, const OrderProcessMap& finished) {
  if (!checkFits(chosen.params, finished)) return;
  const LineVolumes handed = plannedVolumes(chosen.params, ELineAccount::Each);
  CPatchStore::instance().of(storeKey(), [&handed](CPatchCreations& creations) { creations.handedOver(handed); });
  Q_EMIT sigPatchCreateTask(chosen.lines.join(QLatin1Char('\n')));
  drop(QString());
}

}  // namespace TC
