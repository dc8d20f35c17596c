#include "ModelRun.h"

#include <boost/make_shared.hpp>

#include "CBasketTask.h"
#include "TaskKeys.h"
#include "ksservice/Helpers.h"

namespace bench {
namespace {

using ksservice::COrderDetailHelper;

const QString MODEL = QStringLiteral("updateDetail");
const QString FLOOR = QStringLiteral("floor");
constexpr int SPARSE = 100;  ///< one order of so many is fresh

/// The figures of a row that come from its orders.
struct SSum {
  double amount = 0;
  int traded = 0;
  int orders = 0;
  int known = 0;
  int cancelled = 0;
};

class CModelRun {
 public:
  explicit CModelRun(const CLoad& load)
      : m_load(load), m_sums(static_cast<std::size_t>(load.size().tasks) * static_cast<std::size_t>(load.size().rows)) {
    for (int task = 0; task < load.size().tasks; ++task) {
      m_details.push_back(load.detail(task, m_nSecond));
      load.publish(m_details.back());
      const int id = m_details.back()->m_nTaskId;
      m_tasks.push_back(boost::make_shared<TC::CBasketTask>(TC::taskKey(id), id, id));
      m_tasks.back()->updateDetail(m_details.back());
    }
    const int orders = load.size().rows * load.size().ordersPerRow;
    for (int order = 0; order < orders; ++order) m_rowOfOrder.push_back(load.rowOfOrder(order));
  }

  void publishFresh() {
    ++m_nSecond;
    for (int task = 0; task < m_load.size().tasks; ++task) {
      m_details[static_cast<std::size_t>(task)] = m_load.detail(task, m_nSecond);
      m_load.publish(m_details[static_cast<std::size_t>(task)]);
    }
  }

  /// New details whose orders are those of the details before, as a host publishes a change of status.
  void publishShared() {
    for (auto& detail : m_details) {
      detail = boost::make_shared<ksservice::CTaskDetail>(*detail);
      m_load.publish(detail);
    }
  }

  /// ... but one in a hundred of them, as a host publishes fills.
  void publishFills() {
    ++m_nSecond;
    for (int task = 0; task < m_load.size().tasks; ++task) {
      auto& detail = m_details[static_cast<std::size_t>(task)];
      detail = boost::make_shared<ksservice::CTaskDetail>(*detail);
      const int orders = static_cast<int>(detail->m_orders.size());
      for (int i = m_nSecond % SPARSE; i < orders; i += SPARSE) {
        detail->m_orders[static_cast<std::size_t>(i)] = m_load.order(task, i, m_nSecond);
      }
      m_load.publish(detail);
    }
  }

  /// The floor has details of its own, so that freeing those before is part of its work as it is of the model's.
  void publishToFloor() {
    m_next.clear();
    for (const auto& detail : m_details) {
      const auto copy = boost::make_shared<ksservice::CTaskDetail>(*detail);
      for (ksservice::COrderInfoPtr& order : copy->m_orders) order = boost::make_shared<ksservice::COrderInfo>(*order);
      m_next.push_back(copy);
    }
    if (m_floor.empty()) m_floor.resize(m_next.size());
  }

  void update(std::size_t tasks) {
    for (std::size_t task = 0; task < tasks; ++task) m_tasks[task]->updateDetail(m_details[task]);
  }

  /// Takes the details that were published to it, one after the other.
  void sum() {
    for (std::size_t task = 0; task < m_next.size(); ++task) {
      SSum* sums = &m_sums[task * static_cast<std::size_t>(m_load.size().rows)];
      std::fill(sums, sums + m_load.size().rows, SSum());
      const auto& orders = m_next[task]->m_orders;
      for (std::size_t i = 0; i < orders.size(); ++i) add(*orders[i], sums[m_rowOfOrder[i]]);
      m_floor[task] = std::move(m_next[task]);
    }
  }

  /// The floor must have summed what the model did, or its time would mean nothing.
  void check() const {
    for (std::size_t task = 0; task < m_tasks.size(); ++task) {
      int orders = 0;
      int known = 0;
      for (int row = 0; row < m_load.size().rows; ++row) {
        const SSum& sum = m_sums[task * static_cast<std::size_t>(m_load.size().rows) + static_cast<std::size_t>(row)];
        orders += sum.orders;
        known += sum.known;
      }
      const TC::CBasketTaskItem& root = *m_tasks[task]->getRoot();
      if (orders != root.m_nOrderCount || known != root.m_nOrderCount2) qFatal("model and floor count differently");
    }
  }

  std::size_t tasks() const { return m_tasks.size(); }

 private:
  static void add(const ksservice::COrderInfo& order, SSum& sum) {
    sum.traded += order.m_nTradedVolume;
    sum.amount += order.m_dTradedAmount;
    ++sum.orders;
    const auto detail = COrderDetailHelper::getOrderDetailByMavTag(order.m_tag);
    if (!detail) return;
    ++sum.known;
    if (COrderDetailHelper::isOrderCanceled(*detail)) ++sum.cancelled;
  }

  const CLoad& m_load;
  int m_nSecond = 0;
  std::vector<ksservice::CTaskDetailPtr> m_details;
  std::vector<ksservice::CTaskDetailPtr> m_next;   ///< published to the floor
  std::vector<ksservice::CTaskDetailPtr> m_floor;  ///< ... and taken
  std::vector<boost::shared_ptr<TC::CBasketTask>> m_tasks;
  std::vector<int> m_rowOfOrder;
  std::vector<SSum> m_sums;
};

}  // namespace

void runModel(const CLoad& load, int runs, CReport& report) {
  CModelRun run(load);
  CLimit limit;
  const auto add = [&](const QString& name, const QString& subject, const std::function<void()>& prepare,
                       const std::function<void()>& work) {
    report.add(name, subject, measure(runs, limit, prepare, work));
  };
  const auto fresh = [&] { run.publishFresh(); };
  const auto update = [&] { run.update(run.tasks()); };
  const auto sum = [&] { run.sum(); };
  add(work::ALL_FRESH, MODEL, fresh, update);
  run.publishToFloor();
  run.sum();
  run.check();
  add(
      work::ALL_FRESH, FLOOR, [&] { run.publishToFloor(); }, sum);
  add(
      work::SOME_FRESH, MODEL, [&] { run.publishFills(); }, update);
  add(
      work::SOME_FRESH, FLOOR, [&] { run.publishToFloor(); }, sum);
  run.check();
  add(
      work::NONE_FRESH, MODEL, [&] { run.publishShared(); }, update);
  add(work::ONE_TASK, MODEL, fresh, [&] { run.update(1); });
}

void measureModelBytes(const CLoad& load, CReport& report) {
  std::vector<ksservice::CTaskDetailPtr> details;
  for (int second = 0; second < 2; ++second) {
    for (int task = 0; task < load.size().tasks; ++task) details.push_back(load.detail(task, second));
  }
  std::vector<boost::shared_ptr<TC::CBasketTask>> tasks;
  for (int task = 0; task < load.size().tasks; ++task) {
    const int id = details[static_cast<std::size_t>(task)]->m_nTaskId;
    tasks.push_back(boost::make_shared<TC::CBasketTask>(TC::taskKey(id), id, id));
  }
  for (std::size_t i = 0; i < details.size(); ++i) tasks[i % tasks.size()]->updateDetail(details[i]);
  const double with = heapBytes();
  tasks.clear();
  const double rows = static_cast<double>(load.size().tasks) * load.size().rows;
  report.addValue(load.size().ordersPerRow == 1 ? work::MODEL_BYTES_ONE : work::MODEL_BYTES_TEN, MODEL,
                  (with - heapBytes()) / rows, QStringLiteral("bytes"));
}

}  // namespace bench
