/// The hedge manager on a simulated day: how the target follows the basket, how the orders follow the target, and what
/// pause, resume, stop and the limit of orders do.
#include <gtest/gtest.h>

#include <algorithm>

#include "Rig.h"

namespace {

using namespace ksservice;
using engine::hedgeLots;

/// A rig whose baskets can be hedged with an index future on the account F1.
struct SHedgeRig : SRig {
  explicit SHedgeRig(std::uint64_t seed = 1, double rejectRate = 0) : SRig(seed, rejectRate, 4) {
    addAccount("F1", 1);
    addAccount("S1");
    TC::CCodeInfo info;
    info.m_strMarket = "CFFEX";
    info.m_strCode = "IF2612";
    info.m_strName = "沪深300期指2612";
    info.m_dMultiplier = 300;
    m_desk.setInstrument(info);
    hedger().setHooks(
        {[this](int, int lots) { m_targets.push_back(lots); }, [this](int task, int) { m_limits.push_back(task); }});
    m_param.m_bEnabled = true;
    m_param.m_strMarket = "CFFEX";
    m_param.m_strCode = "IF2612";
    m_param.m_strAccount = "F1";
  }

  engine::CHedger& hedger() { return m_simulation.hedger(); }

  /// Starts the rig's basket, every line so many times, and its hedge; returns the basket's number.
  int startHedged(std::size_t accounts = 1, int times = 1) {
    engine::SBasketOrder order = basket(accounts);
    for (engine::SOrderLine& line : order.m_lines) line.m_nQuantity *= times;
    const int task = engine().startBasket(order);
    hedger().setParam(task, task, m_param);
    hedger().start(task);
    return task;
  }

  /// The hedge detail that was published last; null before the first.
  CTaskDetailPtr hedge() const {
    CTaskDetailPtr found;
    for (const CTaskDetailPtr& detail : m_details) {
      if (detail->m_pCommand->m_nBasketType == ECBT_Hedge) found = detail;
    }
    return found;
  }

  int target() const { return m_targets.empty() ? 0 : m_targets.back(); }
  int traded() const { return tradedOf(*hedge()); }

  CBasketHedgeParam m_param;
  std::vector<int> m_targets;
  std::vector<int> m_limits;
};

TEST(HedgeLotsTest, AreWholeAndNoneWithoutAPrice) {
  EXPECT_EQ(hedgeLots(1200000, 1, 4000, 300), 1);
  EXPECT_EQ(hedgeLots(599999, 1, 4000, 300), 0);
  EXPECT_EQ(hedgeLots(600000, 1, 4000, 300), 1) << "half a lot is rounded up";
  EXPECT_EQ(hedgeLots(12000000, 0.5, 4000, 300), 5);
  EXPECT_EQ(hedgeLots(12000000, 1, 0, 300), 0);
  EXPECT_EQ(hedgeLots(0, 1, 4000, 300), 0);
  EXPECT_EQ(hedgeLots(12000000, 0, 4000, 300), 0);
  EXPECT_GT(hedgeLots(1e300, 1, 4000, 300), 0) << "beyond any count, but no overflow";
}

TEST(HedgeTest, FollowsTheBasketToItsEnd) {
  SHedgeRig rig;
  const int task = rig.startHedged();
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Running);
  ASSERT_TRUE(rig.hedge()) << "the panel hears of the hedge before it trades";
  EXPECT_TRUE(rig.hedge()->m_orders.empty());
  rig.runTo(10, 0);

  const CTaskDetail& basket = rig.newest("101-1");
  double amount = 0;
  for (const COrderInfoPtr& order : basket.m_orders) amount += order->m_dTradedAmount;
  const double price =
      rig.m_simulation.market().quote(rig.m_simulation.market().findInstrument("CFFEX", "IF2612")).m_dLast;
  EXPECT_GE(rig.target(), hedgeLots(amount, 1, price, 300));
  EXPECT_LE(rig.target(), hedgeLots(amount, 1, price * 0.95, 300));
  EXPECT_TRUE(std::is_sorted(rig.m_targets.begin(), rig.m_targets.end()));
  EXPECT_EQ(rig.traded(), rig.target());

  const CTaskDetail& hedge = *rig.hedge();
  EXPECT_EQ(hedge.m_pCommand->m_nTaskId, task);
  EXPECT_EQ(hedge.m_pCommand->m_strUser, "u1");
  EXPECT_NE(hedge.m_nTaskId, task);
  EXPECT_NE(hedge.m_pCommand->m_nCommandId, basket.m_pCommand->m_nCommandId);
  EXPECT_EQ(rig.m_desk.command(task)->m_nBasketType, ECBT_Basket) << "the basket's command is still its own";
  ASSERT_EQ(hedge.m_params.size(), 1u);
  EXPECT_EQ(hedge.m_params[0].m_pAccount->m_nType, 1);
  EXPECT_EQ(hedge.m_params[0].m_nOperation, EOT_SellOpen);
  EXPECT_EQ(hedge.m_params[0].m_nVolume, rig.target());
  for (const COrderInfoPtr& order : hedge.m_orders) {
    EXPECT_LE(order->m_nVolume, rig.m_param.m_nOrderLots);
    EXPECT_EQ(order->m_nOperation, EOT_SellOpen);
    EXPECT_NEAR(order->m_dTradedAmount, order->m_nTradedVolume * order->m_dPrice * 300, 0.02 * order->m_dTradedAmount);
    EXPECT_TRUE(rig.m_desk.orderDetail(order->m_tag));
  }
}

TEST(HedgeTest, RestsWhenTheBasketHasEndedUntilAPatchOfItTrades) {
  SHedgeRig rig;
  const int task = rig.startHedged();
  rig.runTo(9, 30, 2);
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Running);
  rig.engine().operate(task, {}, ETO_Cancel);
  rig.runTo(9, 40);
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Cancelled);
  const int target = rig.target();
  EXPECT_EQ(rig.traded(), target);
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Paused) << "any other state would keep the task running";
  EXPECT_EQ(rig.hedge()->m_nStatus, ETS_Finished);
  EXPECT_EQ(rig.m_details.back(), rig.hedge()) << "the panel asks for the state once more";

  std::vector<int> states;  // that the panel finds when it hears of the patch
  const auto subscription = rig.m_desk.subscribeTasks([&](const boost::shared_ptr<ksservice::IData>& data) {
    const auto detail = boost::dynamic_pointer_cast<CTaskDetail>(data);
    if (detail->m_pCommand->m_bPatch) states.push_back(rig.m_desk.hedgeState(task));
  });
  rig.engine().startPatch(*rig.m_desk.command(task), {{rig.m_accounts[0], rig.basket().m_lines}}, std::nullopt);
  ASSERT_FALSE(states.empty());
  EXPECT_EQ(states.front(), TC::EHS_Running) << "otherwise the patch would look paused";
  rig.runTo(10, 10);
  EXPECT_GT(rig.target(), target);
  EXPECT_EQ(rig.traded(), rig.target());
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Paused);
}

TEST(HedgeTest, ParametersWaitForThePanelAndTheStoredOnesKeepTheTarget) {
  SHedgeRig rig;
  engine::SBasketOrder order = rig.basket();
  order.m_hedge = rig.m_param;
  const int task = rig.engine().startBasket(order);
  CBasketHedgeParam param;
  ASSERT_TRUE(rig.m_desk.hedgeParam(desk::EHedgeSource::Manager, task, param));
  EXPECT_EQ(param.m_strCode, "IF2612");
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_None) << "nobody has started it";
  rig.hedger().setParam(task, task, param);
  rig.hedger().start(task);
  rig.runTo(10, 0);
  ASSERT_TRUE(rig.m_desk.hedgeParam(desk::EHedgeSource::Stored, task, param));
  EXPECT_EQ(param.m_nVolume, rig.target());
  EXPECT_GT(param.m_nVolume, 0);
}

TEST(HedgeTest, PauseKeepsTheTargetAndResumeCatchesUp) {
  SHedgeRig rig;
  const int task = rig.startHedged();
  rig.runTo(9, 30, 5);
  rig.hedger().pause(task);
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Paused);
  rig.runTo(9, 30, 6);
  const int target = rig.target();
  const int traded = rig.traded();
  ASSERT_GT(traded, 0);
  rig.runTo(9, 45);
  EXPECT_EQ(rig.target(), target);
  EXPECT_EQ(rig.traded(), traded);
  rig.hedger().pause(task);

  rig.hedger().start(task);
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Running);
  EXPECT_EQ(rig.traded(), traded);
  rig.runTo(9, 50);
  EXPECT_GT(rig.target(), target);
  EXPECT_EQ(rig.traded(), rig.target());
}

TEST(HedgeTest, StopCancelsTheOrderAndIsForGood) {
  SHedgeRig rig;
  rig.m_param.m_nPriceType = EPT_LimitUp;  // a sale that waits
  const int task = rig.startHedged();
  rig.runTo(9, 30, 3);
  ASSERT_FALSE(rig.hedge()->m_orders.empty());
  ASSERT_FALSE(rig.hedge()->m_orders.back()->m_bCompleted);
  rig.hedger().stop(task);
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_None);
  rig.runTo(9, 30, 4);
  EXPECT_TRUE(rig.m_desk.orderDetail(rig.hedge()->m_orders.back()->m_tag)->m_bCancelled);
  EXPECT_EQ(rig.hedge()->m_nStatus, ETS_Cancelled);
  const std::size_t orders = rig.hedge()->m_orders.size();

  rig.hedger().start(task);
  rig.hedger().setParam(task, task, rig.m_param);
  rig.hedger().start(task);
  rig.runTo(9, 30, 8);
  EXPECT_EQ(rig.hedge()->m_orders.size(), orders);
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Running);
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_None);
  rig.runTo(10, 0);
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Finished);
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Paused) << "the task must not wait for it";
}

TEST(HedgeTest, OrdersAreReplacedWhenThePriceLeavesThem) {
  SHedgeRig rig;
  rig.m_param.m_nPriceType = EPT_Latest;
  rig.startHedged(1, 10);
  rig.runTo(10, 0);
  int replaced = 0;
  for (const COrderInfoPtr& order : rig.hedge()->m_orders) {
    EXPECT_TRUE(order->m_bCompleted);
    if (!rig.m_desk.orderDetail(order->m_tag)->m_bCancelled) continue;
    EXPECT_LT(order->m_nTradedVolume, order->m_nVolume);
    ++replaced;
  }
  EXPECT_GT(replaced, 0);
  EXPECT_EQ(rig.traded(), rig.target());
}

TEST(HedgeTest, StopsAtItsLimitOfOrdersAndAResumeGrantsThemAnew) {
  SHedgeRig rig;
  rig.m_param.m_nOrderLimit = 3;
  rig.m_param.m_nOrderLots = 1;
  const int task = rig.startHedged();
  rig.runTo(9, 40);
  EXPECT_EQ(rig.hedge()->m_orders.size(), 3u);
  EXPECT_EQ(rig.m_limits, std::vector<int>{task}) << "told once";
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Paused);
  EXPECT_TRUE(rig.heard("已达到最大委托次数"));
  EXPECT_EQ(rig.heard("已用 2 笔委托, 上限 3 笔"), 1) << "told before";
  const int target = rig.target();
  EXPECT_GT(target, rig.traded());

  rig.hedger().start(task);
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Running);
  rig.runTo(9, 50);
  EXPECT_GT(rig.target(), target);
  EXPECT_EQ(rig.hedge()->m_orders.size(), 6u);
  EXPECT_EQ(rig.m_limits.size(), 2u);
  EXPECT_EQ(rig.heard("已用 2 笔委托, 上限 3 笔"), 2);
}

TEST(HedgeTest, ARefusedOrderIsTriedAgainASecondLaterAndUsesUpTheLimit) {
  SHedgeRig rig(1, 0.5);
  rig.m_param.m_nOrderLimit = 10;
  rig.m_param.m_nOperation = EOT_BuyOpen;
  const int task = rig.startHedged(1, 10);
  rig.runTo(9, 29, 59);
  EXPECT_TRUE(rig.hedge()->m_orders.empty()) << "an order wasted on a refusal outside the sessions";
  int refused = 0;
  std::int64_t sentAt = 0;
  for (std::int64_t now = exchange::MORNING_BEGINS; now < exchange::clockTime(9, 40); now += 100) {
    const CTaskDetailPtr before = rig.hedge();
    rig.m_simulation.advanceTo(now);
    if (rig.hedge()->m_orders.size() == before->m_orders.size()) continue;
    if (!before->m_orders.empty() && before->m_orders.back()->m_bHasMessage) {
      ++refused;
      EXPECT_GE(now - sentAt, 1000);
    }
    sentAt = now;
  }
  EXPECT_GT(refused, 1);
  EXPECT_EQ(rig.hedge()->m_orders.front()->m_nOperation, EOT_BuyOpen);
  EXPECT_EQ(rig.hedge()->m_orders.size(), 10U);
  EXPECT_EQ(rig.m_desk.hedgeState(task), TC::EHS_Paused);
}

TEST(HedgeTest, WhatCannotBeTradedStartsNothing) {
  SHedgeRig rig;
  const auto refused = [&](auto change, const char* told) {
    CBasketHedgeParam param = rig.m_param;
    change(param);
    rig.hedger().setParam(7, 7, param);
    rig.hedger().start(7);
    EXPECT_TRUE(rig.m_desk.hedgeState(7) == TC::EHS_None && !rig.hedge()) << told;
    EXPECT_TRUE(rig.heard(told)) << told;
  };
  refused([](CBasketHedgeParam& param) { param.m_strAccount = "S1"; }, "S1 不是期货账户");
  refused([](CBasketHedgeParam& param) { param.m_strAccount = "X"; }, "X 不存在");
  refused([](CBasketHedgeParam& param) { param.m_strCode = "IF2712"; }, "IF2712 不存在");
  refused([](CBasketHedgeParam& param) { param.m_bEnabled = false; }, "");
  rig.hedger().start(8);
  rig.hedger().pause(8);
  rig.hedger().stop(8);
  EXPECT_FALSE(rig.hedge());
}

/// Two hundred days, in parts that may run side by side.
constexpr int DAYS_OF_PART = 50;

class HedgeDays : public testing::TestWithParam<int> {};

TEST_P(HedgeDays, NeverExceedTheTargetNorLagByMoreThanARound) {
  int lots = 0;
  for (int day = 1; day <= DAYS_OF_PART; ++day) {
    const std::uint64_t seed = std::uint64_t(GetParam()) * DAYS_OF_PART + std::uint64_t(day);
    SHedgeRig rig(seed);
    rig.startHedged(1 + seed % 2, 10);
    // The basket trades within a minute; afterwards nothing moves but the market.
    for (std::int64_t now = exchange::MORNING_BEGINS; now <= exchange::clockTime(9, 31); now += 100) {
      rig.m_simulation.advanceTo(now);
      ASSERT_GE(rig.target(), rig.traded()) << "day " << seed;
      ASSERT_LE(rig.target() - rig.traded(), rig.m_param.m_nOrderLots) << "day " << seed;
    }
    rig.runTo(15, 1);
    ASSERT_EQ(rig.traded(), rig.target()) << "at the end of day " << seed;
    lots += rig.target();
  }
  EXPECT_GT(lots, 50 * DAYS_OF_PART);
}

INSTANTIATE_TEST_SUITE_P(Seeds, HedgeDays, testing::Range(0, 4));

}  // namespace
