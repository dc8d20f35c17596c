#include "RootFacts.h"

#include <algorithm>

#include "EHpfBasketTaskStatus.h"
#include "Notices.h"
#include "PatchBook.h"
#include "TaskHedge.h"
#include "TaskRules.h"
#include "TaskTree.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/Services.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace TC {

using namespace ksservice;

// Rules: values in, values out

namespace {

bool hedgeRowRuns(const SStatusFacts& facts) {
  return facts.hedgeState == EHS_None && facts.hasHedgeRow && facts.hedgeRowStatus != ETS_Paused &&
         facts.hedgeRowStatus != ETS_Cancelled;
}

bool allDone(const SStatusFacts& facts) {
  const bool waitsForHedge = facts.hedgeEnabled && facts.hasHedgeRow && !facts.hedgeRowFinished;
  return facts.allFinished && !waitsForHedge;
}

bool hasEndTime(int status) { return status == ETS_Finished || status == ETS_Cancelled || status == ETS_Dropped; }

}  // namespace

void addDetailStatus(SStatusFacts& facts, int status, bool first) {
  const bool finished = status == ETS_Finished;
  const bool ended = finished || status == ETS_Cancelled || status == ETS_ExecutionError;
  facts.allFinished = finished && (first || facts.allFinished);
  facts.allEnded = ended && (first || facts.allEnded);
  facts.anyDropped = facts.anyDropped || status == ETS_Dropped;
  facts.anyPaused = facts.anyPaused || status == ETS_Paused;
}

SStatusVerdict deriveStatus(const SStatusFacts& facts) {
  if (facts.anyDropped) return {ETS_Dropped, EStatusRule::Dropped};
  if (allDone(facts)) return {ETS_Finished, EStatusRule::AllFinished};
  if (facts.hedgeState == EHS_Running) return {ETS_Running, EStatusRule::HedgeRuns};
  if (hedgeRowRuns(facts)) return {ETS_Running, EStatusRule::HedgeRowRuns, true};
  if (facts.allEnded) return {ETS_Cancelled, EStatusRule::AllEnded, false, true};
  if (facts.anyPaused) return {ETS_Paused, EStatusRule::SomePaused};
  if (facts.hedgeEnabled && facts.hedgeState == EHS_Paused) return {ETS_Paused, EStatusRule::HedgePaused};
  return {ETS_Running, EStatusRule::Trading};
}

SStatusVerdict rootVerdict(const SRootFacts& facts) {
  SStatusVerdict own = deriveStatus(facts.own);
  SStatusVerdict patches = deriveStatus(facts.patches);
  patches.ofPatches = true;
  if (facts.filled) {
    // What was traded decides, but the end of the details may hand the hedge over all the same.
    own.status = ETS_Finished;
    own.rule = EStatusRule::Filled;
    return own;
  }
  // What still trades under a dropped task can be cancelled.
  if (facts.own.anyDropped) return facts.patchTrades ? patches : own;
  if (!facts.own.allEnded || !facts.hasPatches) return own;
  if (patches.status != ETS_Finished) return patches;
  if (facts.own.hedgeState == EHS_Running) return {ETS_Running, EStatusRule::HedgeRuns};
  return {ETS_Cancelled, EStatusRule::PatchesOver};
}

QString ruleText(EStatusRule rule) {
  switch (rule) {
    case EStatusRule::Filled:
      return QStringLiteral("全部成交，包括对冲");
    case EStatusRule::Dropped:
      return QStringLiteral("有子任务被放弃");
    case EStatusRule::AllFinished:
      return QStringLiteral("子任务全部完成，且不等待对冲");
    case EStatusRule::HedgeRuns:
      return QStringLiteral("自动对冲正在进行");
    case EStatusRule::HedgeRowRuns:
      return QStringLiteral("对冲行还没有结束");
    case EStatusRule::AllEnded:
      return QStringLiteral("子任务全部结束，但没有全部完成");
    case EStatusRule::SomePaused:
      return QStringLiteral("有子任务已暂停");
    case EStatusRule::HedgePaused:
      return QStringLiteral("自动对冲已暂停");
    case EStatusRule::Trading:
      return QStringLiteral("还有子任务在交易");
    case EStatusRule::PatchesOver:
      return QStringLiteral("任务已撤销，补单已全部完成");
  }
  return {};
}

// Facts of a task

SStatusFacts CRootFacts::statusFacts(const DetailMap& details) const {
  SStatusFacts facts;
  bool first = true;
  for (const auto& detail : details) {
    addDetailStatus(facts, detail->m_nStatus, first);
    first = false;
  }
  facts.hedgeEnabled = m_hedge.isEnabled();
  if (const CBasketTaskItem* row = m_hedge.row()) {
    facts.hasHedgeRow = true;
    facts.hedgeRowFinished = row->isFilled();
    facts.hedgeRowStatus = row->m_nStatus;
  }
  facts.hedgeState = getBasketHedgeManager().status(m_id.groupId);
  return facts;
}

SStatusFacts CRootFacts::patchFacts() const {
  SStatusFacts facts = statusFacts(m_patches.details());
  facts.allFinished = facts.allFinished || m_patches.details().isEmpty();
  facts.hedgeRowFinished = true;  // patch tasks that are all finished do not wait for the hedge
  return facts;
}

SRootFacts CRootFacts::facts() const {
  SRootFacts facts;
  facts.filled = m_tree.isFilled();
  facts.own = statusFacts(m_own.all());
  facts.hasPatches = !m_patches.details().isEmpty();
  if (!facts.hasPatches) return facts;
  facts.patchTrades = m_patches.trades();
  facts.patches = patchFacts();
  return facts;
}

ETaskStatus CRootFacts::carryOut(const SStatusVerdict& verdict) {
  const char* const function = verdict.ofPatches ? "CBasketTask::patchTaskStatus" : "CBasketTask::status";
  if (verdict.hedgeRowRuns) utils::logInfo(m_id.task, function, "m_pHedgeItem status running");
  if (verdict.ended) m_hedge.handOver();
  return verdict.status;
}

ETaskStatus CRootFacts::takeOwnStatus() { return carryOut(deriveStatus(statusFacts(m_own.all()))); }

ETaskStatus CRootFacts::takePatchStatus() {
  SStatusVerdict verdict = deriveStatus(patchFacts());
  verdict.ofPatches = true;
  return carryOut(verdict);
}

ETaskStatus CRootFacts::takeStatus() { return m_tree.isFilled() ? ETS_Finished : carryOut(rootVerdict(facts())); }

void CRootFacts::form(CNotices& notices) {
  m_tree.root().m_nStatus = carryOut(rootVerdict(facts()));
  formEndTime();
  if (m_tree.isFilled()) m_hedge.endMark(notices);
}

bool CRootFacts::onlyHedgeUnfinished() const {
  const CBasketTaskItem& root = m_tree.root();
  const CBasketTaskItem* row = m_hedge.row();
  // Compared are volumes: everything but what the hedge was to trade.
  return row && !root.m_bUnset && root.finishedVolume() >= root.totalVolume() - row->totalVolume();
}

bool CRootFacts::isLeftToHedge() const {
  const SStatusFacts own = statusFacts(m_own.all());
  const DetailMap& patches = m_patches.details();
  const bool over =
      std::all_of(patches.begin(), patches.end(), [](const auto& patch) { return patch->m_nStatus == ETS_Finished; });
  return over && !own.anyDropped && own.hedgeState != EHS_Running && !m_tree.isFilled() && onlyHedgeUnfinished();
}

int CRootFacts::shownStatus() const {
  const CPatchStore::SWait waiting = wait();
  if (waiting.waiting) return waiting.dropped ? static_cast<int>(ETS_Dropped) : EHBTS_Patching;
  return m_tree.root().m_nStatus;
}

// Times and texts

/// The latest end of what has ended.
void CRootFacts::formEndTime() {
  QTime& end = m_tree.root().m_endTime;
  end = QTime();
  if (!hasEndTime(shownStatus())) return;
  int latest = UNSET_INT;
  for (const DetailMap* details : {&m_own.all(), &m_patches.details(), &m_hedge.details()}) {
    for (const auto& detail : *details) {
      if (detail->m_nEndTime == UNSET_INT || !hasEnded(detail->m_nStatus)) continue;
      latest = latest == UNSET_INT ? detail->m_nEndTime : std::max(latest, detail->m_nEndTime);
    }
  }
  if (latest != UNSET_INT) end = timeOfDay(latest);
}

void CRootFacts::noteOwn(const CTaskDetail& detail) {
  CBasketTaskItem& root = m_tree.root();
  if (detail.m_nStartTime != UNSET_INT) {
    const QTime start = timeOfDay(detail.m_nStartTime);
    if (root.m_startTime.isNull() || root.m_startTime > start) root.m_startTime = start;
  }
  const auto& command = detail.m_pCommand;
  if (!command) return;
  root.m_strCommandText = QString::fromStdString(command->m_strText);
  if (detail.m_bServerTask) noteMessage(detail);
  if (detail.m_nTaskId < FIRST_COMMAND_KEYED_TASK) return;
  const std::vector<std::string> parts = utils::split(command->m_strLocalInfo, ORDER_LOCAL_INFO_SPLITTER);
  if (parts.size() < 5) return;
  root.m_strLocalInfoKey = QString::fromStdString(parts[4] + ORDER_LOCAL_INFO_SPLITTER + parts[1]);
}

void CRootFacts::notePatch(const CTaskDetail& detail) { noteMessage(detail); }

void CRootFacts::noteMessage(const CTaskDetail& detail) {
  const QString text = QString::fromStdString(detail.m_strMessage);
  QString& remark = m_tree.root().m_strRemark;
  // An equal one is not exchanged, so that copies of it stay shared.
  if (!text.isEmpty() && remark != text) remark = text;
}

}  // namespace TC
