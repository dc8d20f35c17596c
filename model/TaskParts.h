#pragma once

#include <boost/thread/recursive_mutex.hpp>
#include <memory>
#include <set>
#include <string>

#include "DetailCounter.h"
#include "FigureSums.h"
#include "OwnDetails.h"
#include "PatchBook.h"
#include "PatchOffers.h"
#include "PatchState.h"
#include "RootFacts.h"
#include "RowExplanation.h"
#include "RowLedger.h"
#include "TaskHedge.h"
#include "TaskShape.h"
#include "TaskTree.h"

namespace TC {

/// What a task is made of. Each part has its own state and knows those above it at most; none knows the task.
struct STaskParts {
  explicit STaskParts(const STaskIdentity& itsId) : id(itsId) {}

  const STaskIdentity id;
  COwnDetails own;
  CTaskTree tree{id};
  CTaskShape shape{id, tree};
  CRowLedger ledger;
  CFigureSums sums;
  CDetailCounter counter{id, ledger, tree.stocks()};
  CTaskHedge hedge{id, tree, ledger, counter};
  CPatchBook patches{tree, counter};
  CRootFacts root{id, tree, own, hedge, patches};
  CPatchState patch;
  CPatchOffers offers{id, tree, own, patches, patch, root};
  std::shared_ptr<const SPatchProof> proof;  ///< of the patch that was sent last; null before the first

  /// What a load has brought so far, while one goes on.
  struct SLoad {
    std::set<std::string> own;  ///< keys of details
    bool patches = false;
    bool isNew = false;  ///< a detail was not known: the root may name accounts and operations in another order
  };
  std::unique_ptr<SLoad> load;
};

/// The parts of a task and the mutex that guards them. There is no way to the parts but a CTaskLock.
class CTaskGuard {
 public:
  explicit CTaskGuard(const STaskIdentity& id) : m_parts(id) {}

  boost::recursive_mutex& mutex() { return m_mutex; }
  const STaskIdentity& id() const { return m_parts.id; }
  /// The root stays for the task's whole life; what stands in it needs the mutex as any other node.
  CBasketTaskItem& root() const { return m_parts.tree.root(); }

 private:
  friend class CTaskLock;

  boost::recursive_mutex m_mutex;
  STaskParts m_parts;
};

/// Holds a task's mutex and gives its parts. What needs the mutex takes a lock as an argument; what must not hold it
/// has none to give, and asserts that isHeldHere is false. Only the task makes locks, its parts never do.
class CTaskLock {
 public:
  explicit CTaskLock(CTaskGuard& guard) : m_lock(guard.m_mutex), m_parts(guard.m_parts) { ++heldHere(); }
  CTaskLock(const CTaskLock&) = delete;
  CTaskLock& operator=(const CTaskLock&) = delete;
  ~CTaskLock() { --heldHere(); }

  STaskParts* operator->() const { return &m_parts; }
  /// Whether this thread holds such a lock of any task; what it took through CBasketTask::mutex does not count.
  static bool isHeldHere() { return heldHere() > 0; }

 private:
  static int& heldHere();

  boost::recursive_mutex::scoped_lock m_lock;
  STaskParts& m_parts;
};

}  // namespace TC
