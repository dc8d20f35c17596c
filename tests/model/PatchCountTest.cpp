/// How details of patch tasks are linked, counted and announced, and what they make of the task's status.
#include "PatchFixture.h"
#include "tc/CBasketHedgeManager.h"

namespace {

using namespace ksservice;

class CPatchCountTest : public CPatchTaskTest {
 protected:
  static OrderPtr reported(OrderPtr made, const std::string& message) {
    made->m_strMessage = message;
    return made;
  }
  /// Patch task `id` of so much of the buy in a status, with one order of so much traded.
  DetailPtr buyPatch(int id, int status, int volume, int traded) const {
    DetailPtr made = patchDetail(id);
    made->m_nStatus = status;
    made->m_params = {buyLine(volume)};
    made->m_orders = {ended(buy("p" + std::to_string(id), volume, traded, traded * 11))};
    return made;
  }
  static QString figures(const TC::CBasketTaskItem& item) {
    return QString::asprintf("%d+%d=%d of %d, amount %g+%g=%g of %g, orders %d/%d/%d", item.m_nTradedVolume,
                             item.m_nPatchVolume, item.m_nFinishedVolume, item.m_nTotalVolume, item.m_dCurAmount,
                             item.m_dPatchAmount, item.m_dTradedAmount, item.m_dTotalAmount, item.m_nOrderCount,
                             item.m_nOrderCount2, item.m_nCanceledCount);
  }
  std::string said(const DetailPtr& made) {
    deliverPatch(made);
    return takeEvents();
  }
};

TEST_F(CPatchCountTest, OrdersOfLocalPatchesCountByInstrumentAndOperation) {
  update(cancelled(200, 100));
  DetailPtr made = patchDetail(124);
  made->m_params = {buyLine(800), sellLine(400)};
  // The last one has ended without a word: the word before stands.
  made->m_orders = {reported(ended(buy("p1", 500, 300, 3300)), "价格超限"),
                    order("p2", "SZ", "000001", EOT_Sell, 400, 50, 0),  // counts as it is
                    order("p3", "SH", "600000", EOT_Sell, 70, 70, 700),
                    reported(buy("p4", 100, 0, 0), "open"),
                    ended(buy("p5", 100, 0, 0)),
                    OrderPtr()};
  made->m_strMessage = "补单任务";
  host.setOrderDetail("p1", true);
  host.setOrderDetail("p2", false);
  for (int i = 0; i < 2; ++i) {
    deliverPatch(next(made));
    EXPECT_EQ(figures(row("SH.600000买入")), "200+300=500 of 1000, amount 2000+3300=5300 of 10000, orders 4/1/1");
    EXPECT_EQ(figures(row("SZ.000001卖出")), "100+50=150 of 500, amount 1000+0=1000 of 5000, orders 2/1/0");
    EXPECT_EQ(figures(root), "300+350=650 of 1500, amount 3000+3300=6300 of 15000, orders 6/2/1");
  }
  EXPECT_EQ(row("SH.600000买入").m_strRemark, "价格超限");
  EXPECT_EQ(root.m_strRemark, "补单任务");
  EXPECT_EQ(row("SH.600000买入").m_mapOrders.size(), 4);
  made = next(made);
  made->m_orders.clear();
  deliverPatch(made);
  EXPECT_EQ(figures(row("SH.600000买入")), "200+0=200 of 1000, amount 2000+0=2000 of 10000, orders 1/0/0");
}

TEST_F(CPatchCountTest, AFillFollowsItsLineToAnotherAccount) {
  update(twoLines(1));
  update(twoLinesOf(secondAccount, 2));
  const auto linesOn = [this](const AccountPtr& buyer, const AccountPtr& seller) {
    DetailPtr made = patchDetail(124);
    made->m_params = {param(seller, "SZ", "000001", EOT_Sell, 300, 10), param(buyer, "SH", "600000", EOT_Buy, 500, 10)};
    made->m_orders = {buy("p1", 500, 40, 400)};
    deliverPatch(made);
    const TC::CBasketTaskItem &first = row("SH.600000买入", "A1"), &second = row("SH.600000买入", "A2");
    return QString::asprintf("%d/%d %d/%d", first.m_nPatchVolume, first.m_mapOrders.size(), second.m_nPatchVolume,
                             second.m_mapOrders.size());
  };
  EXPECT_EQ(linesOn(mainAccount, secondAccount), "40/1 0/0");
  EXPECT_EQ(linesOn(secondAccount, mainAccount), "0/0 40/1") << "the accounts change places";
  EXPECT_EQ(linesOn(mainAccount, mainAccount), "40/1 0/0");
}

TEST_F(CPatchCountTest, ProgressOfServerPatchesIsCountedAndEstimatesTheTarget) {
  update(cancelled(200, 0));
  DetailPtr made = patchDetail(124);
  made->m_bServerTask = true;
  made->m_params = {buyLine(800)};
  made->m_orders = {reported(ended(buy("p1", 800, 90, 990)), "不计")};
  deliverPatch(made);
  EXPECT_EQ(figures(row("SH.600000买入")), "200+90=290 of 1000, amount 2000+990=2990 of 10310.3, orders 2/0/0")
      << "its orders, while there is no progress";
  EXPECT_EQ(row("SH.600000买入").m_strRemark, "");
  TC::CTaskProgress progress;
  for (const int traded : {200, 100}) {
    ksservice::COrderDetail& order = progress.m_orders.emplace_back().m_detail;
    order.m_strMarket = "SH";
    order.m_strCode = "600000";
    order.m_nTradedVolume = traded;
    order.m_dTradedAmount = traded * 11;
    order.m_bCancelled = traded == 100;
  }
  host.desk().setProgress("124-1", progress);
  deliverPatch(next(made));
  EXPECT_EQ(figures(row("SH.600000买入")), "200+300=500 of 1000, amount 2000+3300=5300 of 10600, orders 3/2/1");
}

TEST_F(CPatchCountTest, ARowAddsUpItsPatchesAsTheHostKnowsThem) {
  update(cancelled(200, 500));
  deliverPatch(buyPatch(125, ETS_Cancelled, 500, 100));
  host.store(buyPatch(125, ETS_Cancelled, 500, 110));
  deliverPatch(buyPatch(124, ETS_Cancelled, 800, 41));
  EXPECT_EQ(row("SH.600000买入").m_nPatchVolume, 151) << "the newest record of each";
  DetailPtr only = buyPatch(126, ETS_Running, 400, 7);
  task.updatePatch(only);
  EXPECT_EQ(row("SH.600000买入").m_nPatchVolume, 158) << "the host has no record of it by its number";
}

TEST_F(CPatchCountTest, RowsAndRootAreAnnouncedWhileAPatchRunsAndWhenItEndsUnfilled) {
  DetailPtr own = cancelled(200, 0);
  own->m_params.front().m_nOrderType = EORT_Algo3;
  own->m_params.insert(own->m_params.begin(), sellLine(0));  // the root's type is that of the first line
  given(own);
  EXPECT_EQ(said(buyPatch(124, ETS_Running, 800, 0)), "status T 10000 13\nstatus T 3 0\n");
  EXPECT_TRUE(root.m_bPatching);
  row("SH.600000买入").m_bPatching = true;
  EXPECT_EQ(said(buyPatch(125, ETS_Cancelled, 100, 0)), "status 组合任务123-SH.600000买入 10001 13\nstatus T 3 0\n")
      << "another patch still runs";
  EXPECT_FALSE(row("SH.600000买入").m_bPatching);
  EXPECT_TRUE(root.m_bPatching);
  EXPECT_EQ(said(buyPatch(124, ETS_ExecutionError, 800, 100)),
            "status 组合任务123-SH.600000买入 10001 13\nstatus T 10001 13\nstatus T 8 0\n");
  EXPECT_FALSE(root.m_bPatching);
  row("SH.600000买入").m_bPatching = true;
  EXPECT_EQ(said(buyPatch(126, ETS_Finished, 100, 100)), "status 组合任务123-SH.600000买入 10001 13\nstatus T 8 0\n")
      << "it filled, the row did not";
  EXPECT_FALSE(row("SH.600000买入").m_bPatching);
  EXPECT_EQ(said(buyPatch(127, ETS_Running, 600, 600)), "status T 3 0\n") << "the row is full";
}

TEST_F(CPatchCountTest, TaskWithNothingButItsHedgeUnfinishedIsDroppedByAPatch) {
  addHedge(3);
  task.getHedgeItem()->m_nStatus = ETS_Cancelled;
  given(cancelled(200, 500));
  takeSends();
  EXPECT_EQ(said(buyPatch(124, ETS_Finished, 700, 700)), "status T 8 0\n") << "not only the hedge is missing";
  host.desk().setHedgeState(123, TC::EHS_Running);
  const DetailPtr rest = buyPatch(125, ETS_Finished, 100, 100);
  EXPECT_EQ(said(rest) + takeSends(), "status T 3 0\n") << "the hedge still trades";
  host.desk().setHedgeState(123, TC::EHS_Paused);
  EXPECT_EQ(said(next(rest)), "status T 11 0\n");
  EXPECT_EQ(takeSends(), "local 124@A1\nlocal 125@A1\nlocal 123@A1\n");
  EXPECT_EQ(said(next(rest)) + takeSends(), "status T 8 0\n") << "dropped once";
}

TEST_F(CPatchCountTest, PatchesHaveAStatusOfTheirOwnWhichTheHedgeHoldsUp) {
  update(twoLines());
  addHedge(3);
  host.desk().setHedgeState(123, TC::EHS_Running);
  EXPECT_EQ(task.patchTaskStatus(), ETS_Finished) << "also when there is none";
  deliverPatch(buyPatch(124, ETS_Finished, 100, 0));
  EXPECT_EQ(task.patchTaskStatus(), ETS_Finished) << "they do not wait for the hedge";
  host.takeHedgeParams();
  deliverPatch(buyPatch(124, ETS_Cancelled, 100, 0));
  EXPECT_EQ(task.patchTaskStatus(), ETS_Running);
  host.desk().setHedgeState(123, TC::EHS_None);
  EXPECT_EQ(task.patchTaskStatus(), ETS_Running);
  EXPECT_EQ(takeLog("m_pHedgeItem").back(), "m_pHedgeItem status running");
  EXPECT_TRUE(host.takeHedgeParams().empty()) << "it trades already";
  task.getHedgeItem()->m_nStatus = ETS_Cancelled;
  for (int i = 0; i < 2; ++i) EXPECT_EQ(task.patchTaskStatus(), ETS_Cancelled);
  EXPECT_EQ(host.takeHedgeParams().size(), 1u) << "handed over once";
}

}  // namespace
