/// The hedge row of a task: how parameters and details make and count it, its target, its limit, its cancelling.
#include "EHpfBasketTaskStatus.h"
#include "TaskFixture.h"

namespace {

using namespace ksservice;
using Spy = QSignalSpy;

class CHedgeTest : public CTaskTest {
 protected:
  CHedgeTest() {
    futuresAccount->m_nType = 1;
    host.setAccount(*futuresAccount);
    TC::CCodeInfo info;
    info.m_strMarket = "CFFEX";
    info.m_strCode = "IF2612";
    info.m_dMultiplier = 300;
    host.setInstrument(info);
    TC::CQuote quote;
    quote.m_dLast = 3990;
    quote.m_dCalc = 4000;
    host.setQuote("CFFEX", "IF2612", quote);
  }

  static CBasketHedgeParam hedgeParam(int volume = 3, bool handedOver = false) {
    CBasketHedgeParam made;
    made.m_bEnabled = true;
    made.m_bHandedOver = handedOver;
    made.m_strMarket = "CFFEX";
    made.m_strCode = "IF2612";
    made.m_strAccount = "F1";
    made.m_nVolume = volume;
    return made;
  }

  /// A hedge detail of an identifier of its own, with a target of 3 lots on an account.
  static DetailPtr hedgeDetail(int id, const AccountPtr& account) {
    DetailPtr made = detail();
    made->m_nTaskId = id;
    made->m_strKey = CTaskDetail::genKey(id, 1);
    made->m_pCommand->m_nBasketType = ECBT_Hedge;
    made->m_params = {param(account, "CFFEX", "IF2612", EOT_SellOpen, 3, 0)};
    return made;
  }
  DetailPtr hedgeDetail(int id = 900) const { return hedgeDetail(id, futuresAccount); }

  /// One lot at 4,000 points for each that is traded.
  static OrderPtr sale(const std::string& key, int lots, int traded, double amount = 0) {
    return order(key, "CFFEX", "IF2612", EOT_SellOpen, lots, traded, amount != 0 ? amount : traded * 1200000.0);
  }

  void updateHedge(DetailPtr made) { task.updateHedge(made); }
  bool updateHedgeCnt(DetailPtr made) { return task.updateHedgeCnt(made); }
  TC::CBasketTaskItem& hedge() { return *task.getHedgeItem(); }

  const AccountPtr futuresAccount = account("F1", "8001", "期货账户");
};

TEST_F(CHedgeTest, ParametersMakeTheRowAndGoToTheManager) {
  update(twoLines());
  Spy orders(&task, &TC::CBasketTask::sigTaskOrder);
  Spy statuses(&task, &TC::CBasketTask::sigTaskStatus);
  host.takeLog();
  task.setHedgeParam(hedgeParam(), true);

  ASSERT_TRUE(task.getHedgeItem());
  EXPECT_EQ(tree(), "组合任务123\n 期货\n  CFFEX.IF2612卖出开仓\n 证券\n  SH.600000买入\n  SZ.000001卖出\n");
  EXPECT_EQ(hedge().m_strName, "IF2612");
  EXPECT_EQ(hedge().m_strStockKey, "IF2612") << "the code alone";
  EXPECT_EQ(hedge().m_strMarket, "CFFEX");
  EXPECT_EQ(hedge().m_strAccounts, "8001");
  EXPECT_EQ(hedge().m_strAccountName, "期货账户");
  EXPECT_EQ(hedge().m_vecOperations, QVector<int>{EOT_SellOpen});
  EXPECT_EQ(hedge().m_nTotalVolume, 3);
  EXPECT_EQ(hedge().m_dTotalAmount, 3 * 4000.0 * 300) << "at the price for calculation";
  EXPECT_TRUE(hedge().isHedge());
  EXPECT_TRUE(hedge().m_bPatching);
  EXPECT_EQ(root.m_strAccounts, "1001/8001");
  EXPECT_EQ(root.m_strAccountName, "主账户") << "the first account's";
  EXPECT_EQ(root.m_vecOperations, (QVector<int>{EOT_Buy, EOT_Sell, EOT_SellOpen}));
  EXPECT_EQ(root.m_nTotalVolume, 1503);

  EXPECT_EQ(orders.last().at(0).toString(), root.getKey()) << "not the tree key";
  EXPECT_EQ(statuses.last().at(0).toString(), "T");
  EXPECT_EQ(statuses.last().at(1).toInt(), ETS_Running);
  const std::vector<std::string> log = host.takeLog();
  EXPECT_TRUE(std::any_of(log.begin(), log.end(), [](const std::string& line) {
    return line.find("futures_map F1 : size 0 -> 1.") != std::string::npos;
  }));
  const auto given = host.takeHedgeParams();
  ASSERT_EQ(given.size(), 1u);
  EXPECT_EQ(given[0].group, 123);
  EXPECT_EQ(given[0].command, 77);
  EXPECT_EQ(host.takeStartedHedges(), std::vector<int>{123});
}

TEST_F(CHedgeTest, ParametersOfAnAccountThatTradesNoFuturesMakeNoRow) {
  update(twoLines());
  CBasketHedgeParam param = hedgeParam();
  param.m_strAccount = "unknown";
  task.setHedgeParam(param, true);
  EXPECT_FALSE(task.getHedgeItem());
  EXPECT_EQ(host.takeHedgeParams().size(), 1u) << "the manager decides for itself";
  EXPECT_EQ(host.takeStartedHedges().size(), 1u);
}

TEST_F(CHedgeTest, ATaskMadeAnewFindsItsHedgeAsTheManagerHasIt) {
  task.setHedgeParam(hedgeParam(3, true), false);
  EXPECT_FALSE(hedge().m_bPatching) << "nothing runs";
  host.setHedgeState(123, TC::EHS_Running);
  TC::CBasketTask anew("组合任务123", 123, 77);
  anew.setHedgeParam(hedgeParam(), false);
  EXPECT_TRUE(anew.getHedgeItem()->m_bPatching);
  host.setHedgeState(123, TC::EHS_Paused);
  host.takeHedgeParams();
  DetailPtr ended = twoLines();
  ended->m_nStatus = ETS_Cancelled;
  anew.updateDetail(ended);
  EXPECT_EQ(anew.getRoot()->m_nStatus, ETS_Cancelled);
  EXPECT_TRUE(host.takeHedgeParams().empty()) << "handed over before, says the manager";
}

TEST_F(CHedgeTest, OnlyDetailsOfAFuturesAccountCount) {
  update(twoLines());
  Spy orders(&task, &TC::CBasketTask::sigTaskOrder);
  Spy statuses(&task, &TC::CBasketTask::sigTaskStatus);
  DetailPtr empty = hedgeDetail();
  empty->m_params.clear();
  for (const DetailPtr& made : {hedgeDetail(900, mainAccount), hedgeDetail(900, nullptr), empty, DetailPtr()}) {
    EXPECT_FALSE(updateHedgeCnt(made));
    updateHedge(made);
  }
  EXPECT_FALSE(task.getHedgeItem());
  EXPECT_EQ(root.m_strAccounts, "1001");
  EXPECT_TRUE(orders.isEmpty());
  EXPECT_TRUE(statuses.isEmpty());
}

TEST_F(CHedgeTest, TheRowSumsEveryHedgeDetailHoweverOftenTheyCome) {
  update(twoLines());
  task.setHedgeParam(hedgeParam(10), true);
  DetailPtr first = hedgeDetail(900);
  DetailPtr second = hedgeDetail(901);
  first->m_orders = {sale("h1", 2, 2, 2400000.1), sale("h2", 2, 1, 1200000.2)};
  second->m_orders = {sale("h3", 1, 1, 1200000.3)};
  host.setOrderDetail("h1", false);
  host.setOrderDetail("h2", true);
  for (const DetailPtr& made : {second, first, second}) updateHedge(made);
  EXPECT_EQ(hedge().m_nTradedVolume, 4);
  EXPECT_EQ(hedge().m_nFinishedVolume, 4);
  EXPECT_EQ(hedge().m_dCurAmount, 0 + 2400000.1 + 1200000.2 + 1200000.3) << "in the order of the details' keys";
  EXPECT_EQ(hedge().m_nCurOrderCount, 3);
  EXPECT_EQ(hedge().m_nCurOrderCount2, 2);
  EXPECT_EQ(hedge().m_nCanceledCount, 1);
  EXPECT_EQ(hedge().m_mapOrders.size(), 3);
  EXPECT_EQ(root.m_nFinishedVolume, 4);
  EXPECT_EQ(root.m_nCanceledCount, 1);
  EXPECT_EQ(root.m_dTradedAmount, hedge().m_dTradedAmount);

  DetailPtr emptied = next(first);
  emptied->m_orders.clear();
  updateHedge(emptied);
  EXPECT_EQ(hedge().m_nFinishedVolume, 1);
  EXPECT_EQ(hedge().m_nOrderCount, 1);
  EXPECT_EQ(root.m_nCanceledCount, 0);
  DetailPtr last = next(second);
  last->m_orders.clear();
  updateHedge(last);
  EXPECT_EQ(hedge().m_nFinishedVolume, 0);
  EXPECT_EQ(hedge().m_dTradedAmount, 0);
}

TEST_F(CHedgeTest, ACountAloneRaisesTheCancelledCountOfTheRootOnce) {
  update(twoLines());
  DetailPtr made = hedgeDetail();
  made->m_orders = {sale("h1", 2, 1)};
  host.setOrderDetail("h1", true);
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(updateHedgeCnt(made));
  EXPECT_EQ(hedge().m_nCanceledCount, 1);
  EXPECT_EQ(root.m_nCanceledCount, 1);
  EXPECT_EQ(hedge().m_nTotalVolume, 3) << "the detail's own target, where no parameters came before";
}

TEST_F(CHedgeTest, TheRowsAmountLeavesPatchesOut) {
  update(twoLines());
  updateHedge(hedgeDetail());
  hedge().m_nPatchVolume = 2;
  hedge().m_dPatchAmount = 7;
  hedge().m_nPatchOrderCount = 4;
  hedge().m_nPatchOrderCount2 = 5;
  DetailPtr made = hedgeDetail();
  made->m_orders = {sale("h1", 1, 1)};
  updateHedge(made);
  EXPECT_EQ(hedge().m_nFinishedVolume, 3);
  EXPECT_EQ(hedge().m_nOrderCount, 5);
  EXPECT_EQ(hedge().m_nOrderCount2, 5);
  EXPECT_EQ(hedge().m_dTradedAmount, 1200000) << "intended: other rows add the patches' amount";
}

TEST_F(CHedgeTest, AnOrderThatEndedUnfilledTellsWhyUntilEverythingIsTraded) {
  update(twoLines());
  updateHedge(hedgeDetail());
  const auto withMessage = [](const std::string& key, int lots, int traded, bool completed) {
    OrderPtr made = sale(key, lots, traded);
    made->m_strMessage = "拒绝";
    made->m_bHasMessage = true;
    made->m_bCompleted = completed;
    return made;
  };
  DetailPtr made = hedgeDetail();
  made->m_orders = {withMessage("h1", 2, 1, false), withMessage("h2", 1, 1, true)};
  updateHedge(made);
  EXPECT_EQ(hedge().m_strRemark, "");
  made = next(made);
  made->m_orders[0] = withMessage("h1", 2, 1, true);
  updateHedge(made);
  EXPECT_EQ(hedge().m_strRemark, "拒绝");
  made = next(made);
  made->m_orders.push_back(sale("h3", 1, 1));
  updateHedge(made);
  EXPECT_EQ(hedge().m_strRemark, "") << "three lots of three";

  hedge().m_bHedge = false;
  made = next(made);
  made->m_orders.pop_back();
  updateHedge(made);
  EXPECT_EQ(hedge().m_strRemark, "") << "nothing hedges by itself any more";
}

TEST_F(CHedgeTest, TheTargetIsPricedOnceThenWithEachGrowth) {
  update(twoLines());
  updateHedge(hedgeDetail());
  EXPECT_EQ(hedge().m_dTotalAmount, 3 * 4000.0 * 300);
  TC::CQuote quote;
  quote.m_dCalc = 5000;
  host.setQuote("CFFEX", "IF2612", quote);
  updateHedge(hedgeDetail());
  EXPECT_EQ(hedge().m_dTotalAmount, 3 * 4000.0 * 300);
  EXPECT_EQ(root.m_dTotalAmount, 15000 + 3 * 4000.0 * 300);

  task.updateHedgeVolume(5);
  EXPECT_EQ(hedge().m_nTotalVolume, 3) << "the hedge is not enabled";
  task.setHedgeParam(hedgeParam(), false);
  Spy statuses(&task, &TC::CBasketTask::sigTaskStatus);
  Spy orders(&task, &TC::CBasketTask::sigTaskOrder);
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

TEST_F(CHedgeTest, AnUnknownInstrumentHasNoAmount) {
  update(twoLines());
  CBasketHedgeParam param = hedgeParam();
  param.m_strCode = "IF2701";
  task.setHedgeParam(param, false);
  EXPECT_EQ(hedge().m_dTotalAmount, 0);
  task.updateHedgeVolume(7);
  EXPECT_EQ(hedge().m_nTotalVolume, 7);
  EXPECT_EQ(hedge().m_dTotalAmount, 0);
}

TEST_F(CHedgeTest, AGrowingTargetShowsHowTheHedgeStandsOnceHandedOver) {
  update(twoLines());
  task.setHedgeParam(hedgeParam(0, true), true);
  DetailPtr made = hedgeDetail();
  made->m_orders = {sale("h1", 4, 4)};
  updateHedge(made);
  Spy statuses(&task, &TC::CBasketTask::sigTaskStatus);
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

TEST_F(CHedgeTest, RootEndsWithTheHedge) {
  DetailPtr own = twoLines();
  own->m_nStatus = ETS_Finished;
  own->m_orders = {buy("o1", 1000, 1000, 10000), order("o2", "SZ", "000001", EOT_Sell, 500, 500, 5000)};
  task.setHedgeParam(hedgeParam(), true);
  host.setHedgeState(123, TC::EHS_Running);
  update(own);
  EXPECT_EQ(root.m_nStatus, ETS_Running) << "the hedge lacks three lots";
  DetailPtr made = hedgeDetail();
  made->m_nEndTime = 34260;
  made->m_nStatus = ETS_Finished;
  made->m_orders = {sale("h1", 3, 3)};
  updateHedge(made);
  EXPECT_EQ(root.m_nStatus, ETS_Finished);
  EXPECT_EQ(root.m_endTime, QTime(9, 31));
  made = next(made);
  made->m_orders = {sale("h1", 3, 2)};
  updateHedge(made);
  EXPECT_EQ(root.m_nStatus, ETS_Running);
  EXPECT_TRUE(root.m_endTime.isNull());
}

TEST_F(CHedgeTest, TheLimitOfOrdersPausesTheTaskAndAResumeHedgesOn) {
  update(twoLines());
  task.updateHedgeStatus(1);
  EXPECT_TRUE(host.takeCalls().empty()) << "no hedge";
  task.setHedgeParam(hedgeParam(), true);
  task.updateHedgeStatus(1);
  EXPECT_FALSE(hedge().m_bHedge);
  EXPECT_FALSE(hedge().m_bPatching);
  EXPECT_EQ(hedge().m_strRemark, "已达到自动套利最大委托次数限制, 请手动对冲剩余部分!");
  EXPECT_EQ(hedge().m_nStatus, ETS_Paused);
  const auto calls = host.takeCalls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[0].kind, test::CTestHost::ECall::OperateLocal);
  EXPECT_EQ(calls[0].record->m_nOperation, ETO_Pause);
  EXPECT_EQ(calls[1].kind, test::CTestHost::ECall::PauseLocal);
  EXPECT_EQ(calls[2].kind, test::CTestHost::ECall::PauseHedge);

  host.takeStartedHedges();
  task.resume(QString());
  EXPECT_EQ(host.takeStartedHedges(), std::vector<int>{123});
  EXPECT_TRUE(hedge().m_bHedge);
  EXPECT_TRUE(hedge().m_bPatching);
  EXPECT_EQ(hedge().m_strRemark, "") << "nobody has to hedge by hand";
}

TEST_F(CHedgeTest, CancelNeedsTheRowsOwnKey) {
  update(twoLines());
  updateHedge(hedgeDetail());
  const QString key = hedge().getKey();
  task.cancelHedge(key);
  EXPECT_TRUE(host.takeCalls().empty()) << "the hedge is not enabled";
  task.setHedgeParam(hedgeParam(), true);
  Spy statuses(&task, &TC::CBasketTask::sigTaskStatus);
  for (const QString& other : {root.getKey(), row("SH.600000买入").getKey(), QString(), key + "x"}) {
    task.cancelHedge(other);
  }
  EXPECT_TRUE(host.takeCalls().empty());
  EXPECT_TRUE(statuses.isEmpty());
  EXPECT_TRUE(hedge().m_bHedge);

  task.cancelHedge(key);
  const auto calls = host.takeCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].kind, test::CTestHost::ECall::StopHedge);
  EXPECT_EQ(calls[0].id, 123);
  ASSERT_EQ(statuses.size(), 1);
  EXPECT_EQ(statuses[0], (QVariantList{key, int(TC::EHBTS_HedgeCancelled), hedge().m_nOrderType}));
  EXPECT_FALSE(hedge().m_bHedge);
  EXPECT_FALSE(hedge().m_bPatching);
  task.resume(QString());
  EXPECT_FALSE(hedge().m_bPatching) << "what the user cancelled does not look as if it ran";
}

}  // namespace
