/// What was accepted in a patch: the creation, the host's answer, and what has not come of it. Nothing is asked of the
/// host with the mutex held.
#include <algorithm>

#include "EHpfBasketTaskStatus.h"
#include "PatchOffer.h"
#include "ksservice/Operations.h"
#include "tc/CItCommandCenter.h"
#include "tc/CMsgService.h"
#include "tc/Services.h"
#include "utils/Clock.h"
#include "utils/Log.h"

namespace TC {

using ksservice::COrderCommand;
using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;

namespace {

/// What createTask is told of a patch that was confirmed line by line.
constexpr int CONFIRMED_PATCH = 1;

}  // namespace

// The creation

void CBasketTask::sendPatch(const SPatchOrders& chosen) {
  const auto command = getItCommandCenter().getCommand(getCommandKey());
  if (!command) {
    utils::logInfo(this, "CBasketTask::patchWithParam", "get command fail");
    announceEnded();
    return;
  }
  COrderCommand patch = *command;
  if (!chosen.algoParams.empty()) {
    patch.m_strAlgoParams = chosen.algoParams;
    patch.m_nOrderType = ksservice::EORT_Algo;
  } else if (!ksservice::DataHelper::isAlgoOrderType(chosen.orderType)) {
    // The user confirmed a plain trade, whatever the task itself was.
    patch.m_strAlgoParams.clear();
    patch.m_nOrderType = ksservice::EORT_Plain;
  }
  {
    const Lock lock(m_mutex);
    m_pRoot->m_bPatching = true;
  }
  noteArrivals(newest());
  createPatch(patch, chosen.params, CONFIRMED_PATCH);
  announceRoot();
}

/// What is ordered is held before the host hears of it, in a store that outlives the task's object and the panel.
void CBasketTask::createPatch(const COrderCommand& command, const ParamList& params, int hedgeType) {
  COrderCommand patch = command;
  patch.m_bPatch = true;
  const LineVolumes lines = plannedVolumes(params, ELineAccount::Each);
  getItCommandCenter().createTask(
      patch, params, static_cast<EMavTraderType>(command.m_nTraderType), hedgeType,
      [weak = weak_from_this(), task = storeKey(), creation = hold(lines), services = servicesNumber(), lines](
          const utils::KSError& error, int taskId) {
        if (services == servicesNumber()) takeCreateReply(weak, task, creation, lines, error, taskId);
      },
      m_nGroupId);
}

/// What is there before a patch is sent is not what the host makes of it.
void CBasketTask::noteArrivals(const SNewest& details) {
  for (const auto& patch : details.patches) noteArrival(*patch.second);
}

/// Gives the number of the creation.
int CBasketTask::hold(const LineVolumes& lines) {
  CPatchStore& store = CPatchStore::instance();
  const int number = store.newNumber();
  const double now = utils::clockMSec();
  store.of(storeKey(), [&](CPatchCreations& creations) { creations.add(number, lines, now); });
  const Lock lock(m_mutex);
  m_pRoot->m_endTime = endTime();
  return number;
}

/// The host's answer to a creation. Any thread; the task's object may have gone.
void CBasketTask::takeCreateReply(const boost::weak_ptr<CBasketTask>& weak, const CPatchStore::Task& key, int creation,
                                  const LineVolumes& lines, const utils::KSError& error, int taskId) {
  const bool made = error.success();
  CPatchStore::instance().of(key, [&](CPatchCreations& creations) {
    if (made) {
      creations.answered(creation, taskId);
    } else {
      creations.failed(creation);
    }
  });
  const QString message = QString::fromStdString(error.errorMsg());
  const auto task = weak.lock();
  if (!task) {
    if (!made) getMsgService().showMsg(QStringLiteral("补单失败 ") + message, EMK_TaskError);
    return;
  }
  CBasketTask* const raw = task.get();
  if (made) {
    for (const auto& detail : task->details(false, true)) task->sendOwed(*detail);
  } else {
    QMetaObject::invokeMethod(
        raw, [raw, lines, message] { raw->onPatchFailed(lines, message); }, Qt::QueuedConnection);
  }
}

void CBasketTask::onPatchFailed(const LineVolumes& lines, const QString& message) {
  const auto self = weak_from_this().lock();  // the message runs an event loop
  {
    const Lock lock(m_mutex);
    releaseRows(lines);
    formRoot();
  }
  getMsgService().showBox(QStringLiteral("补单"), message.isEmpty() ? QStringLiteral("补单失败") : message);
  announceEnded();
}

/// Rows that were ordered one by one and of which nothing comes.
void CBasketTask::releaseRows(const LineVolumes& lines) {
  const DetailMap& patches = m_patches.details();
  const bool runs = std::any_of(patches.begin(), patches.end(),
                                [](const CTaskDetailPtr& detail) { return !hasEnded(detail->m_nStatus); });
  m_pRoot->m_bPatching = runs || waitOf().waiting;
  for (auto rows = m_stockMap.cbegin(); rows != m_stockMap.cend(); ++rows) {
    for (CBasketTaskItem* item : *rows) {
      if (!item->m_bPatching || !lines.contains(patchLine(*item, rows.key()))) continue;
      item->m_bPatching = false;
      Q_EMIT sigTaskStatus(item->m_strKey, EHBTS_PatchFailed, item->m_nOrderType);
    }
  }
}

// What was accepted and has not come

CPatchStore::Task CBasketTask::storeKey() const {
  const Lock lock(m_mutex);
  return {m_nTraderType, m_nGroupId};
}

CPatchStore::SWait CBasketTask::waitOf() const { return CPatchStore::instance().waitOf(storeKey()); }

int CBasketTask::shownStatus() const {
  const CPatchStore::SWait wait = waitOf();
  if (wait.waiting) return wait.dropped ? static_cast<int>(ksservice::ETS_Dropped) : EHBTS_Patching;
  const Lock lock(m_mutex);
  return m_pRoot->m_nStatus;
}

void CBasketTask::onPatchesChanged() {
  {
    const Lock lock(m_mutex);
    formRoot();
  }
  announceRoot();
}

/// Tells the store of a patch detail, once.
void CBasketTask::noteArrival(const CTaskDetail& detail) {
  const std::string& key = detail.getKey();
  CPatchStore& store = CPatchStore::instance();
  if (store.of(storeKey(), [&key](CPatchCreations& creations) { return creations.knows(key); })) return;
  LineVolumes planned = plannedVolumes(detail.m_params, ELineAccount::Each);
  store.of(storeKey(),
           [&](CPatchCreations& creations) { creations.arrived(key, detail.m_nTaskId, std::move(planned)); });
}

}  // namespace TC
