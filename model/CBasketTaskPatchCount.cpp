/// What details of patch tasks make of their task: figures, announcements, and the status that it shows while they
/// exist.
#include <algorithm>
#include <utility>

#include "EHpfBasketTaskStatus.h"
#include "RefreshRun.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/Services.h"

namespace TC {

using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;

void CBasketTask::updatePatch(boost::shared_ptr<CTaskDetail>& detail) {
  if (!detail) return;
  bool dropped = false;
  bool loads = false;
  {
    const Lock lock(m_mutex);
    updatePatchCnt(detail);
    if (m_load) {
      m_load->patches = loads = true;
    } else {
      sumAll();
      dropped = dropsForHedge();
      formRoot();
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
  {
    const Lock lock(m_mutex);
    if (!patched || !isFilled()) return;
  }
  getBasketHedgeManager().stopHedge(m_nGroupId);
  announceRoot();
}

void CBasketTask::updatePatchCnt(boost::shared_ptr<CTaskDetail>& detail) {
  if (!detail) return;
  const Lock lock(m_mutex);
  storeAlgoDetail(detail);
  noteArrival(*detail);
  m_patches.takeMessages(*detail);
  if (!detail->m_strMessage.empty()) m_pRoot->m_strRemark = QString::fromStdString(detail->m_strMessage);
  m_patches.take(detail);
  announcePatch(*detail);
}

/// True, once, when nothing but the hedge is unfinished and the hedge manager does not trade it.
bool CBasketTask::dropsForHedge() {
  const SStatusFacts own = statusFacts(m_mapDetails);
  const DetailMap& patches = m_patches.details();
  const bool over = std::all_of(patches.begin(), patches.end(),
                                [](const auto& patch) { return patch->m_nStatus == ksservice::ETS_Finished; });
  if (!over || own.anyDropped || own.hedgeState == EHS_Running || isFilled() || !onlyHedgeUnfinished()) return false;
  return !std::exchange(m_bDroppedForHedge, true);
}

void CBasketTask::announcePatch(const CTaskDetail& detail) {
  const DetailMap& patches = m_patches.details();
  const bool allEnded = std::all_of(patches.begin(), patches.end(),
                                    [](const auto& patch) { return patch->m_nStatus >= ksservice::ETS_Finished; });
  const int status = detail.m_nStatus;
  for (const SLedgerRow* row : m_patches.rowsOf(detail)) {
    CBasketTaskItem& item = *row->item;
    if (item.isFilled()) continue;
    if (status == ksservice::ETS_Finished) {
      if (!std::exchange(item.m_bPatching, false)) continue;
      Q_EMIT sigTaskStatus(item.m_strKey, EHBTS_PatchFailed, item.m_nOrderType);
    } else if (status == ksservice::ETS_Cancelled || status == ksservice::ETS_ExecutionError) {
      item.m_bPatching = false;
      Q_EMIT sigTaskStatus(item.m_strKey, EHBTS_PatchFailed, item.m_nOrderType);
      if (!allEnded) continue;
      m_pRoot->m_bPatching = false;
      announcePatchState(EHBTS_PatchFailed, item.m_nOrderType);
    } else if (!hasEnded(status)) {
      m_pRoot->m_bPatching = true;
      announcePatchState(EHBTS_Patching, item.m_nOrderType);
    }
  }
}

/// Of the root, with the row's order type, not its own: that is intended. What was accepted and has not come outweighs
/// it.
void CBasketTask::announcePatchState(int status, int orderType) {
  Q_EMIT sigTaskStatus(m_pRoot->m_strHpfTreeKey, waitOf().waiting ? shownStatus() : status, orderType);
}

ksservice::ETaskStatus CBasketTask::patchTaskStatus() {
  const Lock lock(m_mutex);
  SStatusFacts facts = statusFacts(m_patches.details());
  facts.allFinished = facts.allFinished || m_patches.details().isEmpty();
  facts.hedgeRowFinished = true;  // patch tasks that are all finished do not wait for the hedge
  return verdict(facts, "CBasketTask::patchTaskStatus");
}

}  // namespace TC
