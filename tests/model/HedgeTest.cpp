/// The hedge row of a task: what it counts, its target and its amount.
#include "EHpfBasketTaskStatus.h"
#include "TaskFixture.h"

namespace {

using namespace ksservice;

class CHedgeTest : public CTaskTest {
 protected:
  CHedgeTest() {
    host.setAccount(*futuresAccount);
    TC::CCodeInfo info = testkit::makeInstrument("CFFEX", "IF2612");
    info.m_dMultiplier = 300;
    host.desk().setInstrument(info);
    quote(4000);
    update(twoLines());
  }
  /// Tells the price for calculation, in points.
  void quote(double calc) {
    TC::CQuote quote;
    quote.m_dLast = 3990;
    quote.m_dCalc = calc;
    host.desk().setQuote("CFFEX", "IF2612", quote);
  }

  /// A hedge detail of an identifier of its own, with a target of 3 lots.
  DetailPtr hedgeDetail(int id = 900, std::vector<OrderPtr> orders = {}) const {
    DetailPtr made = detailOf(id);
    made->m_pCommand->m_nBasketType = ECBT_Hedge;
    made->m_params = {param(futuresAccount, "CFFEX", "IF2612", EOT_SellOpen, 3, 0)};
    made->m_orders = std::move(orders);
    return made;
  }
  /// One lot at 4,000 points for each that is traded.
  static OrderPtr sale(const std::string& key, int lots, int traded, double more = 0) {
    return order(key, "CFFEX", "IF2612", EOT_SellOpen, lots, traded, traded * 1200000.0 + more);
  }

  void updateHedge(DetailPtr made) { task.updateHedge(made); }
  TC::CBasketTaskItem& hedge() { return *task.getHedgeItem(); }
};

TEST_F(CHedgeTest, OnlyWhatIsOfAFuturesAccountMakesTheRow) {
  DetailPtr made = hedgeDetail(), none;
  for (const AccountPtr& account : {mainAccount, AccountPtr()}) {
    made->m_params[0].m_pAccount = account;
    EXPECT_FALSE(task.updateHedgeCnt(made));
  }
  made->m_params.clear();
  EXPECT_FALSE(task.updateHedgeCnt(made) || task.updateHedgeCnt(none));
  CBasketHedgeParam param = hedgeParam();
  param.m_strAccount = "unknown";
  task.setHedgeParam(param, true);
  EXPECT_FALSE(task.getHedgeItem());
  EXPECT_EQ(host.takeHedgeParams().size(), 1u) << "the manager decides for itself";
  EXPECT_EQ(host.takeStartedHedges().size(), 1u);
}

TEST_F(CHedgeTest, TheRowSumsEveryHedgeDetailHoweverOftenTheyCome) {
  task.setHedgeParam(hedgeParam(10), true);
  const DetailPtr first = hedgeDetail(900, {sale("h1", 2, 2, 0.1), sale("h2", 2, 1, 0.2)});
  const DetailPtr second = hedgeDetail(901, {order("h3", "SH", "600000", EOT_Buy, 1, 1, 1200000.3)});
  host.setOrderDetail("h1", false);
  host.setOrderDetail("h2", true);
  for (const DetailPtr& made : {second, first, second}) updateHedge(made);
  EXPECT_EQ(hedge().m_nFinishedVolume, 4) << "whatever instrument they name";
  EXPECT_EQ(hedge().m_dCurAmount, 0 + 2400000.1 + 1200000.2 + 1200000.3) << "in the order of the details' keys";
  EXPECT_EQ(hedge().m_nCurOrderCount2, 2);
  EXPECT_EQ(hedge().m_mapOrders.size(), 3);
  EXPECT_EQ(root.m_nCanceledCount, 1);
  EXPECT_EQ(root.m_dTradedAmount, hedge().m_dTradedAmount);
}

TEST_F(CHedgeTest, ACountAloneRaisesTheCancelledCountOfTheRootOnce) {
  DetailPtr made = hedgeDetail(900, {sale("h1", 2, 1)});
  host.setOrderDetail("h1", true);
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(task.updateHedgeCnt(made));
  EXPECT_EQ(hedge().m_nCanceledCount, 1);
  EXPECT_EQ(root.m_nCanceledCount, 1);
  EXPECT_EQ(hedge().m_nTotalVolume, 3) << "the detail's own target, where no parameters came before";
}

TEST_F(CHedgeTest, TheRowsAmountLeavesPatchesOut) {
  updateHedge(hedgeDetail());
  hedge().m_nPatchVolume = 2;
  hedge().m_dPatchAmount = 7;
  hedge().m_nPatchOrderCount = 4;
  hedge().m_nPatchOrderCount2 = 5;
  updateHedge(hedgeDetail(900, {sale("h1", 1, 1)}));
  EXPECT_EQ(hedge().m_nFinishedVolume, 3);
  EXPECT_EQ(hedge().m_nOrderCount, 5);
  EXPECT_EQ(hedge().m_nOrderCount2, 5);
  EXPECT_EQ(hedge().m_dTradedAmount, 1200000) << "intended: other rows add the patches' amount";
}

TEST_F(CHedgeTest, TheTargetIsPricedOnceThenWithEachGrowth) {
  updateHedge(hedgeDetail());
  EXPECT_EQ(hedge().m_dTotalAmount, 3 * 4000.0 * 300);
  quote(5000);
  updateHedge(hedgeDetail());
  EXPECT_EQ(hedge().m_dTotalAmount, 3 * 4000.0 * 300);
  EXPECT_EQ(root.m_dTotalAmount, 15000 + 3 * 4000.0 * 300);

  task.updateHedgeVolume(5);
  EXPECT_EQ(hedge().m_nTotalVolume, 3) << "the hedge is not enabled";
  task.setHedgeParam(hedgeParam(), false);
  QSignalSpy statuses(&task, &TC::CBasketTask::sigTaskStatus), orders(&task, &TC::CBasketTask::sigTaskOrder);
  for (const int volume : {0, 2, 3}) task.updateHedgeVolume(volume);
  EXPECT_EQ(hedge().m_nTotalVolume, 3);
  EXPECT_TRUE(orders.isEmpty());
  task.updateHedgeVolume(5);
  EXPECT_EQ(hedge().m_nTotalVolume, 5);
  EXPECT_EQ(hedge().m_dTotalAmount, 5 * 5000.0 * 300);
  EXPECT_EQ(root.m_nTotalVolume, 1505);
  EXPECT_FALSE(orders.isEmpty());
  EXPECT_TRUE(statuses.isEmpty()) << "the parameters were not handed over";
}

TEST_F(CHedgeTest, AGrowingTargetShowsHowTheHedgeStandsOnceHandedOver) {
  task.setHedgeParam(hedgeParam(0, true), true);
  updateHedge(hedgeDetail(900, {sale("h1", 4, 4)}));
  QSignalSpy statuses(&task, &TC::CBasketTask::sigTaskStatus);
  const auto shownFor = [&](int volume) {
    statuses.clear();
    task.updateHedgeVolume(volume);
    if (statuses.size() != 1) return 0;
    EXPECT_EQ(statuses[0].at(0).toString(), hedge().getKey());
    EXPECT_EQ(statuses[0].at(2).toInt(), hedge().m_nOrderType);
    return statuses[0].at(1).toInt();
  };
  EXPECT_EQ(shownFor(4), TC::EHBTS_PatchFinished);
  EXPECT_EQ(shownFor(5), TC::EHBTS_Patching);
  hedge().m_bPatching = false;
  EXPECT_EQ(shownFor(6), TC::EHBTS_PatchFailed);
  EXPECT_EQ(shownFor(6), 0);
}

TEST_F(CHedgeTest, TheRowIsBeingPatchedWhileItsHedgeRuns) {
  task.setHedgeParam(hedgeParam(), true);
  EXPECT_TRUE(hedge().m_bPatching);
  task.updateHedgeStatus(1);
  EXPECT_FALSE(hedge().m_bPatching) << "at its limit of orders";
  task.resume(QString());
  EXPECT_TRUE(hedge().m_bPatching);
  task.cancel(QString());
  EXPECT_FALSE(hedge().m_bPatching);
  hedge().m_bPatching = true;
  task.cancelHedge(hedge().getKey());
  EXPECT_FALSE(hedge().m_bPatching);
  task.resume(QString());
  EXPECT_FALSE(hedge().m_bPatching) << "what the user cancelled does not look as if it ran";
}

}  // namespace
