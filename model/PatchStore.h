#pragma once

#include <QObject>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "PatchCreations.h"

namespace TC {

/// What was accepted in patches, of every task, for as long as the trading day lasts: it outlives the task's objects,
/// so that closing and opening a panel, a second panel or another trader type forget nothing that is on its way. One
/// for the process. Emptied by a new trading day, and when other services are installed. Any thread.
class CPatchStore : public QObject {
  Q_OBJECT

 public:
  /// Trader type and number of a task.
  using Task = std::pair<int, int>;

  static CPatchStore& instance();

  /// Runs an action on what is known of a task, with the store's mutex held: it must call nothing else. Tells when what
  /// the task is to show is another afterwards.
  template <typename Action>
  auto of(const Task& task, Action action) {
    const CChange change(*this, task);
    return action(change.creations());
  }
  /// Tells what is known of a task of a patch's detail, once for each key.
  void noteArrival(const Task& task, const ksservice::CTaskDetail& detail);
  /// A number for a creation, which no other has had.
  int newNumber();

  /// Whether the user waits for a patch of the task, and whether it was dropped meanwhile.
  struct SWait {
    bool waiting = false;
    bool dropped = false;

    bool operator==(const SWait& other) const = default;
  };
  SWait waitOf(const Task& task);

  /// To be called before a panel subscribes to the calendar itself, so that a new day finds the store empty.
  void attach();

 Q_SIGNALS:
  /// What a task is to show has changed, whoever caused it. On the calling thread: connect it queued.
  void sigChanged(int traderType, int taskId);

 private:
  /// Holds the mutex, and compares what is shown at its end.
  class CChange {
   public:
    CChange(CPatchStore& store, const Task& task);
    CChange(const CChange&) = delete;
    CChange& operator=(const CChange&) = delete;
    ~CChange();
    CPatchCreations& creations() const { return *m_pCreations; }

   private:
    CPatchStore& m_store;
    Task m_task;
    std::unique_lock<std::mutex> m_lock;
    CPatchCreations* m_pCreations;
    SWait m_before;
  };

  CPatchStore() = default;
  void clear();

  std::mutex m_mutex;  ///< guards the rest; nothing else is locked or called under it
  std::map<Task, CPatchCreations> m_tasks;
  int m_nNext = 1;
  unsigned m_nServices = 0;  ///< the set of services that the rest is of
};

}  // namespace TC
