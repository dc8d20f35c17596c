/// A task at work on every thread that its users have: the panel's worker, the host's answers and the GUI.
#include <atomic>
#include <thread>

#include "PatchFixture.h"

namespace {

using namespace ksservice;
using TC::CBasketTaskItem;

class CTaskThreadsTest : public CPatchTaskTest {
 protected:
  static constexpr int DETAILS = 300;

  CTaskThreadsTest() {
    QObject::disconnect(&task, nullptr, nullptr, nullptr);
    host.setAccount(*futuresAccount);
    inDialog(press("选中补单"));
  }

  /// One of the task's own details, of which each fourth runs on the server.
  DetailPtr ownDetail(int number, int status) const {
    DetailPtr made = twoLinesOf(number % 2 == 0 ? mainAccount : secondAccount, number);
    made->m_bServerTask = number % 4 == 0;
    made->m_nStatus = status;
    made->m_nEndTime = number;
    if (!made->m_bServerTask) made->m_orders = {ended(buy("o" + std::to_string(number), 1000, number, number * 10))};
    return made;
  }
  DetailPtr patchOf(int id, int round) const {
    DetailPtr made = patchDetail(id);
    made->m_params = {buyLine(300)};
    made->m_orders = {ended(buy("p" + std::to_string(id), 300, round % 300, 0))};
    made->m_nStatus = ETS_Cancelled;
    return made;
  }

  /// What the worker does, in turn.
  void work(int round) {
    update(ownDetail(round % 8 == 0 ? 6 + round / 8 % (DETAILS - 5) : 1 + round % 5, ETS_Cancelled));
    if (round % 64 == 0) update(ownDetail(5, ETS_Running));
    deliverPatch(patchOf(500 + round % 7, round));
    DetailPtr sale = detailOf(900);
    sale->m_params = {param(futuresAccount, "CFFEX", "IF2612", EOT_SellOpen, 3, 0)};
    task.updateHedge(sale);
    task.setHedgeParam(hedge, false);
    task.noteAccount("A1", "1001");
    if (round % 16 == 0) task.updateOrderDetail();
    if (round % 16 == 8) task.recursiveUpdate(task.getRoot());
    task.reorganize();
    task.status();
    task.patchTaskStatus();
  }

  /// What the host answers: mostly that it failed, so that it is asked again.
  void answer(int round) {
    const auto error = round % 8 == 0 ? utils::KSError() : utils::KSError("任务已结束");
    for (const auto& query : host.takeQueries()) query.completion({{"123-4", {{"SH.600000", 100}}}}, error, {});
    for (const auto& call : host.takeCalls()) {
      if (call.completion) call.completion(error, {});
    }
    // Never accepted: what is accepted is held, and then there is nothing left to be patched again.
    for (const auto& creation : host.takeCreations()) {
      creation.completion(utils::KSError("资金不足"), 0);
      ++m_nPatches;
    }
  }

  void walk(const CBasketTaskItem& node) {
    m_nSeen += node.m_nTotalVolume + node.m_nStatus + static_cast<int>(node.m_mapOrders.size());
    for (const CBasketTaskItem* child : node.m_children) walk(*child);
  }
  void look() {
    const boost::recursive_mutex::scoped_lock lock(task.mutex());
    walk(root);
    if (const CBasketTaskItem* row = task.getItem(task.getKey() + "-1001")) m_nSeen += row->m_nTotalVolume;
  }

  /// What the GUI asks of a task.
  std::vector<std::function<void()>> asks() {
    const QString all = task.getKey();
    return {[this, all] {
              m_nSeen += task.contains("123-1", TC::EBTT_Own) + task.contains("500-1", TC::EBTT_Patch) +
                         task.contains("900-1", TC::EBTT_Hedge) + task.isServerRun() + task.shownStatus();
              m_nSeen += task.getOrderType(all) + task.isAlgoOrderType(all) + task.getBasketName().size() +
                         task.getAlgoParams().size() + static_cast<int>(task.getParam(all).size());
            },
            [this, all] {
              std::vector<COrderDetailPtr> details;
              std::vector<COrderInfoPtr> orders;
              task.getOrders(all, details, orders);
              m_nSeen += static_cast<int>(orders.size());
            },
            [this] { look(); },
            [this, all] { task.pause(all); },
            [this, all] { task.resume(all); },
            [this, all] { task.cancel(all); },
            [this] { task.updateHedgeVolume(++m_nTarget); },
            [this] { task.updateHedgeStatus(1); },
            [this] { task.cancelHedge(QString()); },
            [this] { task.cancelHedge(keyOf(task.getHedgeItem())); },
            [this, all] { patchAgain([&] { task.checkHasAlgoTask(all, EMTT_Stock); }); },
            [this, all] { patchAgain([&] { task.patch(all, 0); }); },
            [this] { patchAgain([&] { task.patch(keyOf(anyRow()), EPT_Latest); }); },
            [this] { m_nSeen += available(); },
            [this] { task.onPatchesChanged(); },
            [this] { task.unpatch(keyOf(anyRow())); },
            [this, all] { task.drop(all); },
            [this, all] { task.slotPatchTask(all, true); },
            [this, all] { patchAgain([&] { task.patchWithParam(all, {}, EMTT_Stock); }); }};
  }
  /// The user waits no longer for the patch before.
  void patchAgain(const std::function<void()>& patch) {
    host.moveClock(20000);
    task.cancel(task.getKey());
    patch();
    QCoreApplication::processEvents();
  }
  QString keyOf(const CBasketTaskItem* row) {
    const boost::recursive_mutex::scoped_lock lock(task.mutex());
    return row ? row->m_strKey : QString();
  }
  /// The first of an account. Rows live as long as their task.
  CBasketTaskItem* anyRow() {
    const boost::recursive_mutex::scoped_lock lock(task.mutex());
    return task.getStockDetailMap("A2").isEmpty() ? nullptr : task.getStockDetailMap("A2").first();
  }
  int available() {
    std::vector<CCodeOrderParam> params;
    if (CBasketTaskItem* row = anyRow()) task.calcAvailable(row, secondAccount, params, "A2", {});
    return static_cast<int>(params.size());
  }

  const CBasketHedgeParam hedge = hedgeParam();
  int m_nTarget = 3;
  std::atomic<int> m_nPatches = 0;
  int m_nSeen = 0;
};

TEST_F(CTaskThreadsTest, EveryoneAsksAtOnce) {
  constexpr int TIMES = 24;
  task.setHedgeParam(hedge, false);
  update(ownDetail(2, ETS_Cancelled));
  std::atomic<bool> stop = false;
  std::atomic<int> rounds = 0;
  std::thread worker([&] {
    while (!stop) work(rounds++);
  });
  std::thread answers([&] {
    for (int round = 0; !stop; ++round) answer(round);
  });
  for (const auto& ask : asks()) {
    for (int time = 0; time < TIMES; ++time) {
      ask();
      // However the threads are scheduled, the worker goes on meanwhile.
      for (const int seen = rounds; time % 4 == 0 && rounds == seen;) std::this_thread::yield();
    }
  }
  stop = true;
  worker.join();
  answers.join();
  EXPECT_GT(m_nPatches, 0);
  // What so many wrote at once is what one writes alone.
  const auto alone = boost::make_shared<TC::CBasketTask>(task.getKey(), 123, 77);
  alone->setHedgeParam(hedge, false);
  for (TC::CBasketTask* one : {&task, alone.get()}) {
    for (int number = 1; number <= DETAILS; ++number) {
      DetailPtr made = ownDetail(number, ETS_Cancelled);
      one->updateDetail(made);
    }
    for (int id = 500; id < 507; ++id) {
      DetailPtr made = patchOf(id, 0);
      one->updatePatch(made);
    }
  }
  const auto figures = [](const TC::CBasketTask& one) {
    const CBasketTaskItem& all = *one.getRoot();
    return std::tuple(all.m_nTotalVolume - one.getHedgeItem()->m_nTotalVolume, all.m_nFinishedVolume, all.m_nOrderCount,
                      all.m_strAccounts);
  };
  EXPECT_EQ(figures(task), figures(*alone));
}

}  // namespace
