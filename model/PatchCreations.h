#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "PatchRules.h"

namespace TC {

/// What was accepted in patches of one task: held line by line until the details of the tasks that the host makes of it
/// are to trade it, and what is still to be told to these details. Not thread safe.
///
/// Why it is formed from facts anew: details, the host's answers and what the user does come in any order, and none of
/// it may be counted twice or be forgotten. So only facts are kept: what was ordered, which details have come with
/// which lines, which task an answer named. What belongs to what follows from them each time.
///
/// A detail is of the task that the answer to a creation named. While there is none, a task whose details came after
/// the creation and are to trade nothing but lines of it, and no more, is taken for that of the oldest such creation:
/// that ends the wait, but frees nothing before its details together are to trade all that was ordered.
class CPatchCreations {
 public:
  /// An answer that names no task.
  static constexpr int NO_TASK = 0;

  /// basketId: the number of the task itself, under which details of patches come that have none of their own.
  explicit CPatchCreations(int basketId) : m_nBasketId(basketId) {}

  /// A patch that was sent at a time (clock in milliseconds) under a number that no other creation has.
  void add(int creation, LineVolumes ordered, double msec);
  /// The host made a task of it; NO_TASK: which one is not known.
  void answered(int creation, int taskId);
  /// No task was made; gives what it was to order, nothing for an unknown creation.
  LineVolumes failed(int creation);
  /// Lines that were handed over as a new basket.
  void handedOver(const LineVolumes& lines);
  bool knows(const std::string& detailKey) const { return m_known.contains(detailKey); }
  /// A detail of a patch, whoever's, has come for the first time; planned: what it is to trade.
  void arrived(const std::string& detailKey, int taskId, LineVolumes planned);

  /// Whether nothing has come yet of one of them, and the user still waits for it.
  bool isWaiting() const;
  /// Ends the wait for what was sent msec or more before now; false when it was not waited for so long.
  bool endWait(double now, double msec);
  /// What is still to show up.
  LineVolumes held() const;
  /// What new baskets have taken.
  const LineVolumes& taken() const { return m_taken; }

  /// The user ends, pauses or resumes (ETaskOperation) what was accepted so far: what comes of it later is to be told
  /// too. A pause is forgotten by a resume, an end by nothing.
  void operate(int operation);
  /// An operation was sent to a detail.
  void sent(const std::string& detailKey, int operation);
  /// The operation that a detail that has not ended is still to be sent; 0 for none.
  int owed(const std::string& detailKey) const;

  /// The whole task was dropped while it was waited for; off: the drop was refused.
  void setDropped(bool dropped) { m_bDropped = dropped && isWaiting(); }
  bool isDropped() const { return m_bDropped && isWaiting(); }

 private:
  /// The details of one task, in the order in which they came. A task is known by its number; one without a number of
  /// its own may be several.
  struct STask {
    struct SKnown {
      LineVolumes planned;
      int since = 0;  ///< the newest creation that was there before it
    };
    int id = 0;
    bool named = false;  ///< it has a number of its own
    std::vector<SKnown> details;
  };
  struct SCreation {
    int number = 0;
    double msec = 0;
    LineVolumes ordered;
    int taskId = NO_TASK;
    int stop = 0;
    bool paused = false;
    bool given = false;   ///< the user waits no longer
    std::set<int> taken;  ///< tasks that are taken for its own; formed by settle()
    LineVolumes left;     ///< formed by settle()
  };

  /// How much of what a creation ordered a task is to trade.
  enum class EMatch { Whole, Part };

  void settle();
  bool isAnswer(int taskId) const;
  const STask* findTask(int taskId) const;
  static std::vector<const STask::SKnown*> detailsOf(const STask& task, const SCreation& creation);
  static bool takeFor(SCreation& creation, const STask& task, EMatch match);
  bool isWaiting(const SCreation& creation) const;

  int m_nBasketId;
  std::vector<SCreation> m_creations;  ///< oldest first
  std::vector<STask> m_tasks;          ///< in the order of their first details
  std::map<std::string, int> m_known;  ///< the task of each detail, by its key
  int m_nLast = 0;                     ///< the newest creation's number
  LineVolumes m_taken;
  std::set<std::pair<std::string, int>> m_sent;  ///< detail key and operation
  bool m_bDropped = false;
};

}  // namespace TC
