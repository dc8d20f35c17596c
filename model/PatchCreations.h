#pragma once

#include <vector>

#include "PatchRules.h"

namespace TC {

/// The patches that were sent and whose tasks have not shown up whole. What they were to order counts as taken until
/// the details of their tasks tell more, or their creation is known to have failed. Guarded by the task's mutex.
class CPatchCreations {
 public:
  /// The task of a detail that bears no identifier of its own.
  static constexpr int NO_TASK = -1;

  /// Returns the number under which the host's answer comes.
  int add(LineVolumes ordered);
  /// The host made a task; NO_TASK: which one is not known. What came of it before has to be told again.
  void answered(int creation, int taskId);
  /// No task was made; returns what it was to order, nothing for an unknown creation.
  LineVolumes failed(int creation);
  /// A detail of a patch task has come. isNew: the detail was not known before; allEnded: none of the task's known
  /// details sends any more. A new one whose task is nobody's belongs to the oldest creation without an answer that
  /// orders one of its lines.
  void arrived(int taskId, bool isNew, bool allEnded, const LineVolumes& planned);
  /// Whether nothing has come yet of one of them.
  bool isPending() const;
  /// What is still to show up.
  LineVolumes outstanding() const;

 private:
  struct SCreation {
    int number;
    int taskId;
    bool arrived;
    bool anonymous;  ///< arrived in details without an identifier of their own
    LineVolumes ordered;
    LineVolumes outstanding;
  };

  SCreation* ownerOf(int taskId, const LineVolumes& planned);

  std::vector<SCreation> m_creations;  ///< oldest first
  int m_nNext = 1;
};

}  // namespace TC
