#pragma once

#include <QTime>

#include "OwnDetails.h"
#include "PatchStore.h"
#include "TaskIdentity.h"
#include "ksservice/Enumerations.h"

namespace TC {

class CNotices;
class CPatchBook;
class CTaskHedge;
class CTaskTree;

/// What a task's status follows from. The four of "details" hold for no task without details.
struct SStatusFacts {
  bool anyDropped = false;
  bool allFinished = false;  ///< every detail is finished
  bool allEnded = false;     ///< every detail is finished, cancelled or in error
  bool anyPaused = false;
  bool hedgeEnabled = false;
  bool hasHedgeRow = false;
  bool hedgeRowFinished = false;
  int hedgeRowStatus = 0;
  int hedgeState = 0;  ///< EHedgeState, as the hedge manager reports it
};

/// Adds one detail's status to the facts; first: it is the first that is added.
void addDetailStatus(SStatusFacts& facts, int status, bool first);

/// Which rule decided a status.
enum class EStatusRule {
  Filled,        ///< everything was traded
  Dropped,       ///< a detail was given up
  AllFinished,   ///< every detail is finished, and no hedge is waited for
  HedgeRuns,     ///< the hedge manager is at work
  HedgeRowRuns,  ///< the hedge row has not ended
  AllEnded,      ///< every detail has ended, not all of them finished
  SomePaused,    ///< a detail is paused
  HedgePaused,   ///< the hedge is paused
  Trading,       ///< nothing else holds
  PatchesOver    ///< the task was cancelled and its patches are finished
};
/// In words for the user.
QString ruleText(EStatusRule rule);

struct SStatusVerdict {
  ksservice::ETaskStatus status = ksservice::ETS_Running;
  EStatusRule rule = EStatusRule::Trading;
  bool hedgeRowRuns = false;  ///< running only because of the hedge row
  bool ended = false;         ///< the details have ended, and the hedge may begin
  bool ofPatches = false;     ///< it is that of the patches, not of the task's own details
};

SStatusVerdict deriveStatus(const SStatusFacts& facts);

/// What the status of a root follows from.
struct SRootFacts {
  bool filled = false;  ///< everything was traded, the hedge included
  SStatusFacts own;
  bool hasPatches = false;
  bool patchTrades = false;  ///< a detail of a patch has not ended
  SStatusFacts patches;
};

/// The one place where a root's status is formed.
SStatusVerdict rootVerdict(const SRootFacts& facts);

/// The status and the times of a task's root, and what else it says of the task as a whole, formed from the facts of
/// all parts, so that they do not hang on which detail came last.
class CRootFacts {
 public:
  using DetailMap = COwnDetails::DetailMap;

  /// All must outlive the facts.
  CRootFacts(const STaskIdentity& id, CTaskTree& tree, const COwnDetails& own, CTaskHedge& hedge,
             const CPatchBook& patches)
      : m_id(id), m_tree(tree), m_own(own), m_hedge(hedge), m_patches(patches) {}

  /// Takes what a detail of the task, of its own or of a patch, says of the whole.
  void noteOwn(const ksservice::CTaskDetail& detail);
  void notePatch(const ksservice::CTaskDetail& detail);

  /// Forms status and times of the root from the details as they are. Asks the hedge manager, and hands the hedge's
  /// parameters to it when the details have ended.
  void form(CNotices& notices);
  // Each of these hands the hedge's parameters over, too, when the details have ended.
  /// The status that form would give now.
  ksservice::ETaskStatus takeStatus();
  /// The status of the task's own details and the hedge, and that of its patches and the hedge, each taken alone.
  ksservice::ETaskStatus takeOwnStatus();
  ksservice::ETaskStatus takePatchStatus();
  /// The same of details that the task does not hold, without handing anything over.
  SStatusVerdict verdictOf(const DetailMap& own) const { return deriveStatus(statusFacts(own)); }
  /// Forms the end time anew: it hangs on what the root shows.
  void formEndTime();

  /// True when nothing but the hedge is unfinished, by volumes.
  bool onlyHedgeUnfinished() const;
  /// True when that is so after details of patches, and nothing trades any more.
  bool isLeftToHedge() const;

  /// Under which the store knows what was accepted in patches of the task.
  CPatchStore::Task storeKey() const { return {m_own.traderType(), m_id.groupId}; }
  /// What a root's status follows from now, asked of the hedge manager and of all parts.
  SRootFacts facts() const;
  CPatchStore::SWait wait() const { return CPatchStore::instance().waitOf(storeKey()); }
  /// What the root's row shows: its status, but EHBTS_Patching from the acceptance of a patch until its first detail
  /// has come, or ETS_Dropped when the task was dropped meanwhile.
  int shownStatus() const;
  /// What of the root is announced beside its own status: a patch that is waited for outweighs it.
  int shownOr(int status) const { return wait().waiting ? shownStatus() : status; }

 private:
  SStatusFacts statusFacts(const DetailMap& details) const;
  SStatusFacts patchFacts() const;
  void noteMessage(const ksservice::CTaskDetail& detail);
  ksservice::ETaskStatus carryOut(const SStatusVerdict& verdict);

  const STaskIdentity& m_id;
  CTaskTree& m_tree;
  const COwnDetails& m_own;
  CTaskHedge& m_hedge;
  const CPatchBook& m_patches;
};

}  // namespace TC
