/// What patch tasks mean for their task: its status while they exist.
#include "CBasketTask.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/Services.h"

namespace TC {

using ksservice::CTaskDetail;

ksservice::ETaskStatus CBasketTask::patchTaskStatus() {
  const Lock lock(m_mutex);
  SStatusFacts facts = statusFacts(m_mapPatchDetails);
  facts.allFinished = facts.allFinished || m_mapPatchDetails.isEmpty();
  facts.hedgeRowFinished = true;  // patch tasks that are all finished do not wait for the hedge
  return verdict(facts, "CBasketTask::patchTaskStatus");
}

/// The root's status as its patch tasks have it; true when instead the whole task is to be dropped, since nothing but
/// its hedge is unfinished.
bool CBasketTask::settleByPatches() {
  const ksservice::ETaskStatus patches = patchTaskStatus();
  if (patches != ksservice::ETS_Finished) {
    m_pRoot->m_nStatus = patches;
  } else if (m_pRoot->finished()) {
    m_pRoot->m_nStatus = ksservice::ETS_Finished;
  } else if (onlyHedgeUnfinished()) {
    return true;
  } else {
    m_pRoot->m_nStatus = ksservice::ETS_Cancelled;
  }
  return false;
}

/// Settles and announces the root's status; detail: the patch detail that caused it, or null.
void CBasketTask::settlePatches(const CTaskDetail* detail) {
  bool dropped = false;
  bool finished = false;
  int settled = 0;
  {
    const Lock lock(m_mutex);
    dropped = settleByPatches();
    settled = m_pRoot->m_nStatus;
    finished = m_pRoot->finished();
    if (finished) m_pRoot->m_nStatus = ksservice::ETS_Finished;
    if (finished && detail) updateEndTime(*detail);
  }
  if (dropped) {
    drop(QString());
  } else {
    announce(settled);
  }
  if (!finished) return;
  getBasketHedgeManager().stopHedge(m_nGroupId);
  announce(ksservice::ETS_Finished);
}

}  // namespace TC
