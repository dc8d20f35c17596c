/// The sums up the tree, and the root's status, times and keys.
#include <algorithm>
#include <boost/make_shared.hpp>
#include <iterator>

#include "CBasketTask.h"
#include "ksservice/Helpers.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/Services.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CTaskDetail;

namespace {

/// What an inner node sums up from its children.
constexpr int CBasketTaskItem::*SUMMED_COUNTS[] = {
    &CBasketTaskItem::m_nOrderCount,      &CBasketTaskItem::m_nOrderCount2,   &CBasketTaskItem::m_nCurOrderCount,
    &CBasketTaskItem::m_nCurOrderCount2,  &CBasketTaskItem::m_nCanceledCount, &CBasketTaskItem::m_nPatchOrderCount,
    &CBasketTaskItem::m_nPatchOrderCount2};
constexpr struct {
  int CBasketTaskItem::*member;
  CWideVolume CBasketTaskItem::*sum;
} SUMMED_VOLUMES[] = {{&CBasketTaskItem::m_nTotalVolume, &CBasketTaskItem::m_total},
                      {&CBasketTaskItem::m_nFinishedVolume, &CBasketTaskItem::m_finished},
                      {&CBasketTaskItem::m_nTradedVolume, &CBasketTaskItem::m_traded},
                      {&CBasketTaskItem::m_nPatchVolume, &CBasketTaskItem::m_patched}};
constexpr double CBasketTaskItem::*SUMMED_AMOUNTS[] = {&CBasketTaskItem::m_dTradedAmount,
                                                       &CBasketTaskItem::m_dTotalAmount, &CBasketTaskItem::m_dCurAmount,
                                                       &CBasketTaskItem::m_dPatchAmount};

void sumChildren(CBasketTaskItem& node) {
  for (const auto member : SUMMED_COUNTS) node.*member = 0;
  for (const auto member : SUMMED_AMOUNTS) node.*member = 0;
  long long volumes[std::size(SUMMED_VOLUMES)] = {};
  node.m_bUnset = false;
  for (const CBasketTaskItem* child : qAsConst(node.m_children)) {
    for (const auto member : SUMMED_COUNTS) node.*member += child->*member;
    for (const auto member : SUMMED_AMOUNTS) node.*member += child->*member;
    for (std::size_t i = 0; i < std::size(SUMMED_VOLUMES); ++i) {
      volumes[i] += (child->*SUMMED_VOLUMES[i].sum).of(child->*SUMMED_VOLUMES[i].member);
    }
    node.m_bUnset = node.m_bUnset || child->m_bUnset;
  }
  for (std::size_t i = 0; i < std::size(SUMMED_VOLUMES); ++i) {
    node.*SUMMED_VOLUMES[i].member = (node.*SUMMED_VOLUMES[i].sum).set(volumes[i]);
  }
}

bool hasEndTime(int status) {
  return status == ksservice::ETS_Finished || status == ksservice::ETS_Cancelled || status == ksservice::ETS_Dropped;
}

}  // namespace

void CBasketTask::recursiveUpdate(CBasketTaskItem* n) {
  const Lock lock(m_mutex);
  sumUp(n);
}

void CBasketTask::sumUp(CBasketTaskItem* n) {
  if (n->isEmpty()) return;
  for (CBasketTaskItem* child : qAsConst(n->m_children)) sumUp(child);
  sumChildren(*n);
  utils::CLogCenter& log = utils::CLogCenter::instance();
  if (log.isDebugEnabled()) {
    log.debug(QString::asprintf("CBasketTask::recursiveUpdate : %s, %d, %d, %d", qUtf8Printable(n->m_strKey),
                                n->m_nTotalVolume, n->m_nFinishedVolume, n->childCount())
                  .toStdString());
  }
  Q_EMIT sigTaskOrder(n->m_strHpfTreeKey, n->m_nOrderCount, n->m_nOrderCount2);
}

SStatusFacts CBasketTask::statusFacts(const DetailMap& details) const {
  SStatusFacts facts;
  bool first = true;
  for (const auto& detail : details) {
    addDetailStatus(facts, detail->m_nStatus, first);
    first = false;
  }
  facts.hedgeEnabled = m_hedgeParam.m_bEnabled;
  if (m_pHedgeItem) {
    facts.hasHedgeRow = true;
    facts.hedgeRowFinished = m_pHedgeItem->isFilled();
    facts.hedgeRowStatus = m_pHedgeItem->m_nStatus;
  }
  facts.hedgeState = getBasketHedgeManager().status(m_nGroupId);
  return facts;
}

ksservice::ETaskStatus CBasketTask::status() {
  const Lock lock(m_mutex);
  return verdict(statusFacts(m_mapDetails), "CBasketTask::status");
}

ksservice::ETaskStatus CBasketTask::verdict(const SStatusFacts& facts, const char* function) {
  const SStatusVerdict verdict = deriveStatus(facts);
  if (verdict.hedgeRowRuns) utils::logInfo(this, function, "m_pHedgeItem status running");
  if (verdict.ended) handHedgeOver();
  return verdict.status;
}

void CBasketTask::handHedgeOver() {
  // A hedge that the user has ended is not offered to the manager again.
  if (!m_hedgeParam.m_bEnabled || m_hedgeParam.m_bHandedOver || m_bHedgeCancelled) return;
  m_hedgeParam.m_bHandedOver = true;
  getBasketHedgeManager().setParam(m_nGroupId, m_nCommandId, m_hedgeParam);
}

void CBasketTask::updateStartTime(const CTaskDetail& detail) {
  if (detail.m_nStartTime == ksservice::UNSET_INT) return;
  const QTime start = timeOfDay(detail.m_nStartTime);
  if (m_pRoot->m_startTime.isNull() || m_pRoot->m_startTime > start) m_pRoot->m_startTime = start;
}

/// The latest end of what has ended. It hangs on the details as they are, not on which of them came last.
QTime CBasketTask::endTime() const {
  if (!hasEndTime(shownStatus())) return {};
  int latest = ksservice::UNSET_INT;
  for (const DetailMap* details : {&m_mapDetails, &m_patches.details(), &m_mapHedgeDetails}) {
    for (const auto& detail : *details) {
      if (detail->m_nEndTime == ksservice::UNSET_INT || !hasEnded(detail->m_nStatus)) continue;
      latest = latest == ksservice::UNSET_INT ? detail->m_nEndTime : std::max(latest, detail->m_nEndTime);
    }
  }
  return latest == ksservice::UNSET_INT ? QTime() : timeOfDay(latest);
}

/// Whether everything was traded, what the hedge is to trade included.
bool CBasketTask::isFilled() const { return !m_pRoot->isEmpty() && m_pRoot->isFilled(); }

int CBasketTask::rootStatusNow() {
  SRootFacts facts;
  facts.filled = isFilled();
  const SStatusFacts own = statusFacts(m_mapDetails);
  facts.ownDropped = own.anyDropped;
  facts.ownTrades = !own.allEnded;
  facts.own = [this] { return status(); };
  facts.hedgeState = own.hedgeState;
  const DetailMap& patches = m_patches.details();
  facts.hasPatches = !patches.isEmpty();
  facts.patches = [this] { return patchTaskStatus(); };
  facts.patchTrades =
      std::any_of(patches.begin(), patches.end(), [](const auto& patch) { return !hasEnded(patch->m_nStatus); });
  return rootStatus(facts);
}

void CBasketTask::formRoot() {
  m_pRoot->m_nStatus = rootStatusNow();
  m_pRoot->m_endTime = endTime();
  if (!isFilled()) return;
  status();  // what was traded decides, but the end of the details may hand the hedge over all the same
  endHedgeMark();
}

void CBasketTask::updateRoot() {
  const Lock lock(m_mutex);
  recursiveUpdate(m_pRoot.get());
  formRoot();
  announceRoot();
}

void CBasketTask::writeBackFinished(const CTaskDetail& detail) {
  // The delivered record belongs to its giver, so a copy carries the new status.
  const auto finished = boost::make_shared<CTaskDetail>(detail);
  finished->m_nStatus = ksservice::ETS_Finished;
  m_mapDetails[finished->getKey()] = finished;
  storeAlgoDetail(finished);
  ksservice::CAccountData::updateData(finished);
}

void CBasketTask::updateLocalInfoKey(const CTaskDetail& detail) {
  if (detail.m_nTaskId < FIRST_COMMAND_KEYED_TASK || !detail.m_pCommand) return;
  constexpr char SPLITTER = ksservice::ORDER_LOCAL_INFO_SPLITTER;
  const std::vector<std::string> parts = utils::split(detail.m_pCommand->m_strLocalInfo, SPLITTER);
  if (parts.size() < 5) return;
  m_pRoot->m_strLocalInfoKey = QString::fromStdString(parts[4] + SPLITTER + parts[1]);
}

}  // namespace TC
