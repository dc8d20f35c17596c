#include "WorkerRun.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <utility>

#include "BasketStaging.h"
#include "CBasketTask.h"
#include "TaskKeys.h"

namespace bench {
namespace {

constexpr int SPARSE = 100;  ///< one task of so many
constexpr int SOME_ROWS = 3;

class CWorkerRun {
 public:
  explicit CWorkerRun(const CLoad& load) : m_load(load) {
    for (int task = 0; task < load.size().tasks; ++task) {
      m_details.push_back(load.detail(task, 0));
      load.publish(m_details.back());
      const int id = m_details.back()->m_nTaskId;
      m_tasks.push_back(boost::make_shared<TC::CBasketTask>(TC::taskKey(id), id, id));
      m_tasks.back()->getRoot()->setHpfTreeKey(TC::taskDisplayId(EMTT_Stock, id));
    }
    refresh(load.size().tasks);
  }

  /// The first tasks get details of which the orders of some rows are fresh, those of all rows for 0.
  void publish(int tasks, int rows) {
    ++m_nSecond;
    for (int task = 0; task < tasks; ++task) {
      auto& detail = m_details[static_cast<std::size_t>(task)];
      detail = boost::make_shared<ksservice::CTaskDetail>(*detail);
      const int orders = static_cast<int>(detail->m_orders.size());
      for (int i = 0; i < (rows > 0 ? rows : orders); ++i) {
        detail->m_orders[static_cast<std::size_t>(i)] = m_load.order(task, i, m_nSecond);
      }
      m_load.publish(detail);
    }
  }

  void refresh(int tasks) {
    m_staging.beginRefresh(0);
    for (int task = 0; task < tasks; ++task) {
      const auto place = static_cast<std::size_t>(task);
      m_tasks[place]->updateDetail(m_details[place]);
      m_staging.stageTask(m_tasks[place]);
    }
    // As the table gives back what its rows needed before; it is freed by the next refresh.
    m_staging.giveBack(std::exchange(m_taken, m_staging.take()));
  }

 private:
  const CLoad& m_load;
  int m_nSecond = 0;
  std::vector<ksservice::CTaskDetailPtr> m_details;
  std::vector<boost::shared_ptr<TC::CBasketTask>> m_tasks;
  TC::CBasketStaging m_staging;
  TC::StagedBatch m_taken;
};

}  // namespace

void runWorker(const CLoad& load, int runs, CReport& report) {
  CWorkerRun run(load);
  CLimit limit;
  const int all = load.size().tasks;
  const auto add = [&](const QString& name, int tasks, int rows) {
    report.add(name, QStringLiteral("panel"),
               measure(
                   runs, limit, [&] { run.publish(tasks, rows); }, [&] { run.refresh(tasks); }));
  };
  add(work::WORKER_FULL, all, 0);
  add(work::WORKER_ROWS, all, SOME_ROWS);
  add(work::WORKER_TASKS, std::max(1, all / SPARSE), 0);
}

}  // namespace bench
