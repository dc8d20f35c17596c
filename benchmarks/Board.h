/// The tasks of the load, and their rows as plain values.
#pragma once

#include <boost/shared_ptr.hpp>
#include <memory>
#include <vector>

#include "BasketStaging.h"
#include "CBasketTask.h"
#include "Load.h"
#include "TaskBlock.h"

namespace bench {

/// The rows that changed: of each named task the first rows, all of them for rows 0.
struct SChange {
  std::vector<int> tasks;
  int rows = 0;
};

/// The one source of every subject: the panel's table stages the tasks, the others read the rows. GUI thread.
class CBoard {
 public:
  /// Fills every task with the load's second 0.
  explicit CBoard(const CLoad& load);

  /// Brings every task to the next second.
  void advance(CLoad::EProgress progress = CLoad::EProgress::Running);

  int taskCount() const { return static_cast<int>(m_tasks.size()); }
  int rowCount() const;
  const boost::shared_ptr<TC::CBasketTask>& task(int index) const { return m_tasks[static_cast<std::size_t>(index)]; }
  const TC::CTaskBlock& rows(int task) const { return *m_blocks[static_cast<std::size_t>(task)]; }

  SChange everything() const;
  /// The first tasks that make up a hundredth of the rows, at least one.
  SChange someTasks() const;
  /// A hundredth of the rows of each task, at least one row.
  SChange someRows() const;

 private:
  void snapshot();

  const CLoad& m_load;
  int m_nSecond = 0;
  std::vector<boost::shared_ptr<TC::CBasketTask>> m_tasks;
  TC::CBasketStaging m_staging;
  std::vector<std::unique_ptr<TC::CTaskBlock>> m_blocks;
};

/// The text that every subject shows in a cell.
QString cellText(const TC::CHpfBasketStatusData& row, int column);
/// Whether the filter of finished rows hides the row.
bool isFinished(const TC::CHpfBasketStatusData& row);
/// Columns whose texts change with the figures.
const std::vector<int>& figureColumns();

}  // namespace bench
