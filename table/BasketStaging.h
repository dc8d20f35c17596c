#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <mutex>
#include <vector>

#include "StagedRows.h"

namespace TC {

/// Carries rows from the panel's worker to the GUI thread.
///
/// Why: the worker must never touch what the view paints, and the GUI thread must never wait for a refresh. The
/// worker walks a changed task under the task's mutex and stages copies; the GUI thread takes everything that was
/// staged by one swap. Figures are staged on each call, texts and the shape of the tree only when they changed, by
/// comparison with what was staged last, which is shared with the table and not copied. Of a task that tells which rows
/// changed only these are looked at.
class CBasketStaging {
 public:
  /// Stages the task's rows as they are now. Worker thread (or any, one at a time for one task).
  void stageTask(const boost::shared_ptr<CBasketTask>& task);
  /// Stages status and status text of an instrument row when they changed since the task was staged; where the account
  /// has a hedge row of the same key, of both. As stageTask.
  void stageStatus(const boost::shared_ptr<CBasketTask>& task, const QString& accountKey, const QString& rowKey);
  /// The next stageTask brings the task's rows anew; until then they stay. As stageTask.
  void stageClear(const QString& taskKey);

  /// Everything staged since the last call, by a swap. GUI thread.
  StagedBatch take();
  /// Takes back a batch with what the table needs no more. It is freed by the worker's next refresh: freeing so many
  /// large arrays would be most of what a refresh costs the GUI thread. GUI thread.
  void giveBack(StagedBatch outdated);
  /// Drops what was staged, and from now on what a refresh of an earlier day stages. GUI thread.
  void startDay(unsigned day);

  /// A refresh of a day's tasks begins. What is known of an earlier day's is let go; what the host says of instruments
  /// is asked anew. Worker thread.
  void beginRefresh(unsigned day);

 private:
  struct SLast {
    explicit SLast(int itsSlot = -1) : slot(itsSlot) {}

    int slot;
    boost::weak_ptr<CBasketTask> task;
    unsigned shapeVersion = 0;
    bool whole = true;     ///< all rows are to be looked at
    bool cleared = false;  ///< the rows are to come anew
    int hedgeRow = -1;
    int startMSec = -1;
    std::shared_ptr<const std::vector<int>> instruments;        ///< of the rows, by number
    unsigned instrumentsRefresh = 0;                            ///< of what is known of these
    std::vector<std::pair<const CBasketTaskItem*, int>> inner;  ///< nodes with children, and their rows
    ShapePtr shape;
    IndexPtr index;
    TextsPtr texts;
    FiguresPtr figures;
    AmountsPtr amounts;  ///< what the amount column shows of the figures
    RowFlags filled;     ///< see isFilled
    FlagsPtr finished;
  };

  /// Where a task stands in a batch.
  struct SWaiting {
    unsigned batch = 0;
    std::size_t place = 0;
  };

  void walk(const CBasketTask& task, SLast& last, SStagedTask& staged);
  static bool follow(const CBasketTask& task, const std::vector<CBasketTaskItem*>& changed, SLast& last,
                     SStagedTask& staged);
  static int rowOf(const CBasketTaskItem& item, const SLast& last);
  static AmountsPtr amountsAfter(const SLast& last, const std::vector<SRowFigures>& figures,
                                 const std::vector<std::size_t>& rows);
  void reshape(const CBasketTask& task, const std::vector<SNode>& nodes, SLast& last, SStagedTask& staged);
  SLast& lastOf(const QString& taskKey);
  static void fillIn(const CBasketTask& task, SLast& last, SStagedTask& staged);
  void putStatus(const CBasketTask& task, SLast& last, std::size_t row, const CBasketTaskItem& node);
  void put(SStagedTask staged);

  std::map<QString, SLast> m_last;  ///< the worker's own
  unsigned m_nRefreshDay = 0;       ///< the worker's own: the day of everything above and of the next two
  CSharedTexts m_sharedTexts;       ///< the worker's own
  CInstruments m_instruments;       ///< the worker's own
  std::mutex m_mutex;               ///< guards everything below; nothing else is done under it
  std::vector<StagedBatch> m_outdated;
  StagedBatch m_staged;
  std::vector<SWaiting> m_waiting;  ///< by slot
  unsigned m_nBatch = 1;
  unsigned m_nDay = 0;
};

}  // namespace TC
