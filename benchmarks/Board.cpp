#include "Board.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <numeric>

#include "BasketColumns.h"
#include "TaskKeys.h"

namespace bench {
namespace {

/// A sparse refresh changes one row in this many.
constexpr int SPARSE = 100;

}  // namespace

CBoard::CBoard(const CLoad& load) : m_load(load) {
  for (int i = 0; i < load.size().tasks; ++i) {
    ksservice::CTaskDetailPtr detail = load.detail(i, m_nSecond);
    const int id = detail->m_nTaskId;
    const auto task = boost::make_shared<TC::CBasketTask>(TC::taskKey(id), id, detail->m_pCommand->m_nCommandId);
    task->getRoot()->setHpfTreeKey(TC::taskDisplayId(detail->m_pCommand->m_nTraderType, id));
    task->updateDetail(detail);
    m_tasks.push_back(task);
    m_blocks.push_back(std::make_unique<TC::CTaskBlock>(TC::EPD_Amount));
  }
  snapshot();
}

void CBoard::advance(CLoad::EProgress progress) {
  ++m_nSecond;
  for (int i = 0; i < taskCount(); ++i) {
    ksservice::CTaskDetailPtr detail = m_load.detail(i, m_nSecond, progress);
    task(i)->updateDetail(detail);
  }
  snapshot();
}

void CBoard::snapshot() {
  // Staged in their order from the start, the tasks have their places for slots.
  for (const auto& task : m_tasks) m_staging.stageTask(task);
  TC::StagedBatch batch = m_staging.take();
  for (TC::SStagedTask& staged : batch) m_blocks[static_cast<std::size_t>(staged.slot)]->take(staged);
}

int CBoard::rowCount() const {
  return std::accumulate(m_blocks.begin(), m_blocks.end(), 0,
                         [](int sum, const std::unique_ptr<TC::CTaskBlock>& block) { return sum + block->size(); });
}

SChange CBoard::everything() const {
  SChange change;
  change.tasks.resize(m_tasks.size());
  std::iota(change.tasks.begin(), change.tasks.end(), 0);
  return change;
}

SChange CBoard::someTasks() const {
  SChange change = everything();
  change.tasks.resize(std::max<std::size_t>(1, m_tasks.size() / SPARSE));
  return change;
}

SChange CBoard::someRows() const {
  SChange change = everything();
  change.rows = std::max(1, rows(0).size() / SPARSE);
  return change;
}

QString cellText(const TC::CHpfBasketStatusData& row, int column) {
  if (column == TC::EBC_Tree) return row.shape.displayName;
  if (column == TC::EBC_Orders) return TC::orderText(row.figures.orderCount, row.figures.orderCount2);
  const TC::CellText form = TC::basketColumns()[static_cast<std::size_t>(column)].text;
  return form ? form(row, TC::EPD_Amount) : QString();
}

bool isFinished(const TC::CHpfBasketStatusData& row) { return !row.isRoot() && row.figures.unfilled == 0; }

const std::vector<int>& figureColumns() {
  static const std::vector<int> columns = {TC::EBC_Amount, TC::EBC_Progress, TC::EBC_Orders, TC::EBC_Unfilled};
  return columns;
}

}  // namespace bench
