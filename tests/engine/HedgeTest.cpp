/// The hedge manager on a simulated day: how the target follows the basket, how the orders follow the target, and what
/// pause, resume, stop and the limit of orders do.
#include "Rig.h"

namespace {

using namespace ksservice;
using engine::hedgeLots;

/// A rig whose baskets can be hedged with an index future on the account F1.
struct SHedgeRig : SRig {
  explicit SHedgeRig(std::uint64_t seed = 1, double rejectRate = 0, int perDay = 19000)
      : SRig(seed, rejectRate, {.m_nPerSecond = 10, .m_nPerDay = perDay}) {
    addAccount("F1", 1);
    addAccount("S1");
    TC::CCodeInfo info = testkit::makeInstrument("CFFEX", "IF2612");
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

  /// The rig's basket in five parts, for which its account needs twenty seconds.
  engine::SBasketOrder basket(std::size_t accounts = 1) const {
    engine::SBasketOrder basket = SRig::basket(accounts);
    for (engine::SOrderLine& line : basket.m_lines) line.m_nQuantity = line.m_nQuantity / 500 * 100;
    const std::vector<engine::SOrderLine> part = basket.m_lines;
    for (int i = 1; i < 5; ++i) basket.m_lines.insert(basket.m_lines.end(), part.begin(), part.end());
    return basket;
  }

  static constexpr int TASK = 101;  ///< a rig's first
  /// Starts the rig's basket, every line so many times, and its hedge.
  void startHedged(std::size_t accounts = 1, int times = 1) {
    engine::SBasketOrder order = basket(accounts);
    for (engine::SOrderLine& line : order.m_lines) line.m_nQuantity *= times;
    ASSERT_EQ(engine().startBasket(order), TASK);
    hedger().setParam(TASK, TASK, m_param);
    hedger().start(TASK);
  }

  /// The hedge detail that was published last; null before the first.
  CTaskDetailPtr hedge() const {
    const auto found = std::find_if(m_details.rbegin(), m_details.rend(), [](const CTaskDetailPtr& detail) {
      return detail->m_pCommand->m_nBasketType == ECBT_Hedge;
    });
    return found == m_details.rend() ? nullptr : *found;
  }

  int target() const { return m_targets.empty() ? 0 : m_targets.back(); }
  int traded() const { return tradedOf(*hedge()); }
  int state() const { return m_desk.hedgeState(TASK); }

  CBasketHedgeParam m_param;
  std::vector<int> m_targets;
  std::vector<int> m_limits;
};

class HedgeTest : public testing::Test, protected SHedgeRig {};

TEST(HedgeLotsTest, AreWholeAndNoneWithoutAPrice) {
  const std::tuple<double, double, double, int> cases[] = {
      {1200000, 1, 4000, 1}, {599999, 1, 4000, 0}, {600000, 1, 4000, 1},  {12000000, 0.5, 4000, 5},
      {12000000, 1, 0, 0},   {0, 1, 4000, 0},      {12000000, 0, 4000, 0}};
  for (const auto& [amount, ratio, price, lots] : cases)
    EXPECT_EQ(hedgeLots(amount, ratio, price, 300), lots) << amount;
  EXPECT_GT(hedgeLots(1e300, 1, 4000, 300), 0) << "beyond any count, but no overflow";
}

TEST_F(HedgeTest, FollowsTheBasketFromTheStartOnAndKeepsItsTarget) {
  engine::SBasketOrder order = basket();
  order.m_hedge = m_param;
  ASSERT_EQ(engine().startBasket(order), TASK);
  CBasketHedgeParam param;
  ASSERT_TRUE(m_desk.hedgeParam(desk::EHedgeSource::Manager, TASK, param));
  EXPECT_EQ(param.m_strCode, "IF2612");
  EXPECT_EQ(state(), TC::EHS_None) << "nobody has started it";
  hedger().setParam(TASK, TASK, param);
  hedger().start(TASK);
  EXPECT_EQ(state(), TC::EHS_Running);
  ASSERT_TRUE(hedge()) << "the panel hears of the hedge before it trades";
  EXPECT_TRUE(hedge()->m_orders.empty());
  runTo(10, 0);

  const CTaskDetail& traded = newest("101-1");
  double amount = 0;
  for (const COrderInfoPtr& each : traded.m_orders) amount += each->m_dTradedAmount;
  exchange::CExchange& market = m_simulation.market();
  const double price = market.quote(market.findInstrument("CFFEX", "IF2612")).m_dLast;
  EXPECT_GE(target(), hedgeLots(amount, 1, price, 300));
  EXPECT_LE(target(), hedgeLots(amount, 1, price * 0.95, 300));
  EXPECT_TRUE(std::is_sorted(m_targets.begin(), m_targets.end()));
  ASSERT_TRUE(m_desk.hedgeParam(desk::EHedgeSource::Stored, TASK, param));
  EXPECT_EQ(param.m_nVolume, target());

  const CTaskDetail& sold = *hedge();
  EXPECT_EQ(tradedOf(sold), target());
  EXPECT_EQ(sold.m_pCommand->m_nTaskId, TASK);
  EXPECT_EQ(sold.m_pCommand->m_strUser, "u1");
  EXPECT_NE(sold.m_nTaskId, TASK);
  EXPECT_NE(sold.m_pCommand->m_nCommandId, traded.m_pCommand->m_nCommandId);
  EXPECT_EQ(m_desk.command(TASK)->m_nBasketType, ECBT_Basket) << "the basket's command is still its own";
  ASSERT_EQ(sold.m_params.size(), 1u);
  EXPECT_EQ(sold.m_params[0].m_pAccount->m_nType, 1);
  EXPECT_EQ(sold.m_params[0].m_nOperation, EOT_SellOpen);
  EXPECT_EQ(sold.m_params[0].m_nVolume, target());
  for (const COrderInfoPtr& each : sold.m_orders) {
    EXPECT_LE(each->m_nVolume, m_param.m_nOrderLots);
    EXPECT_EQ(each->m_nOperation, EOT_SellOpen);
    EXPECT_NEAR(each->m_dTradedAmount, each->m_nTradedVolume * each->m_dPrice * 300, 0.02 * each->m_dTradedAmount);
    EXPECT_TRUE(m_desk.orderDetail(each->m_tag));
  }
}

TEST_F(HedgeTest, RestsWhenTheBasketHasEndedUntilAPatchOfItTrades) {
  startHedged();
  runTo(9, 30, 2);
  EXPECT_EQ(state(), TC::EHS_Running);
  engine().operate(TASK, {}, ETO_Cancel);
  runTo(9, 40);
  EXPECT_EQ(newest("101-1").m_nStatus, ETS_Cancelled);
  const int before = target();
  EXPECT_EQ(traded(), before);
  EXPECT_EQ(state(), TC::EHS_Paused) << "any other state would keep the task running";
  EXPECT_EQ(hedge()->m_nStatus, ETS_Finished);
  EXPECT_EQ(m_details.back(), hedge()) << "the panel asks for the state once more";

  std::vector<int> states;  // that the panel finds when it hears of the patch
  const auto subscription = m_desk.subscribeTasks([&](const auto&) {
    if (m_details.back()->m_pCommand->m_bPatch) states.push_back(state());
  });
  engine().startPatch(*m_desk.command(TASK), {{m_accounts[0], basket().m_lines}}, std::nullopt);
  ASSERT_FALSE(states.empty());
  EXPECT_EQ(states.front(), TC::EHS_Running) << "otherwise the patch would look paused";
  runTo(10, 10);
  EXPECT_GT(target(), before);
  EXPECT_EQ(traded(), target());
  EXPECT_EQ(state(), TC::EHS_Paused);
}

TEST_F(HedgeTest, PauseKeepsTheTargetAndResumeCatchesUp) {
  startHedged();
  runTo(9, 30, 5);
  hedger().pause(TASK);
  EXPECT_EQ(state(), TC::EHS_Paused);
  runTo(9, 30, 6);
  const auto figures = [this] { return std::pair(target(), traded()); };
  const auto before = figures();
  ASSERT_GT(before.second, 0);
  runTo(9, 30, 15);
  EXPECT_EQ(figures(), before);
  hedger().pause(TASK);
  hedger().start(TASK);
  EXPECT_EQ(state(), TC::EHS_Running);
  EXPECT_EQ(traded(), before.second);
  runTo(9, 50);
  EXPECT_GT(target(), before.first);
  EXPECT_EQ(traded(), target());
}

TEST_F(HedgeTest, StopCancelsTheOrderAndIsForGood) {
  m_param.m_nPriceType = EPT_LimitUp;  // a sale that waits
  startHedged();
  runTo(9, 30, 3);
  ASSERT_FALSE(hedge()->m_orders.empty());
  ASSERT_FALSE(hedge()->m_orders.back()->m_bCompleted);
  hedger().stop(TASK);
  EXPECT_EQ(state(), TC::EHS_None);
  runTo(9, 30, 4);
  EXPECT_TRUE(m_desk.orderDetail(hedge()->m_orders.back()->m_tag)->m_bCancelled);
  EXPECT_EQ(hedge()->m_nStatus, ETS_Cancelled);
  const std::size_t orders = hedge()->m_orders.size();

  hedger().start(TASK);
  hedger().setParam(TASK, TASK, m_param);
  hedger().start(TASK);
  runTo(9, 30, 8);
  EXPECT_EQ(hedge()->m_orders.size(), orders);
  EXPECT_EQ(newest("101-1").m_nStatus, ETS_Running);
  EXPECT_EQ(state(), TC::EHS_None);
  runTo(10, 0);
  EXPECT_EQ(newest("101-1").m_nStatus, ETS_Finished);
  EXPECT_EQ(state(), TC::EHS_Paused) << "the task must not wait for it";
}

TEST_F(HedgeTest, OrdersAreReplacedWhenThePriceLeavesThem) {
  m_param.m_nPriceType = EPT_Latest;
  startHedged(1, 10);
  runTo(10, 0);
  int replaced = 0;
  for (const COrderInfoPtr& order : hedge()->m_orders) {
    EXPECT_TRUE(order->m_bCompleted);
    if (!m_desk.orderDetail(order->m_tag)->m_bCancelled) continue;
    EXPECT_LT(order->m_nTradedVolume, order->m_nVolume);
    ++replaced;
  }
  EXPECT_GT(replaced, 0);
  EXPECT_EQ(traded(), target());
}

TEST_F(HedgeTest, StopsAtItsLimitOfOrdersAndAResumeGrantsThemAnew) {
  m_param.m_nOrderLimit = 3;
  m_param.m_nOrderLots = 1;
  startHedged();
  runTo(9, 40);
  EXPECT_EQ(hedge()->m_orders.size(), 3u);
  EXPECT_EQ(m_limits, std::vector<int>{TASK}) << "told once";
  EXPECT_EQ(state(), TC::EHS_Paused);
  EXPECT_TRUE(heard("已达到最大委托次数"));
  EXPECT_EQ(heard("已用 2 笔委托, 上限 3 笔"), 1) << "told before";
  const int before = target();
  EXPECT_GT(before, traded());

  hedger().start(TASK);
  EXPECT_EQ(state(), TC::EHS_Running);
  runTo(9, 50);
  EXPECT_GT(target(), before);
  EXPECT_EQ(hedge()->m_orders.size(), 6u);
  EXPECT_EQ(m_limits.size(), 2u);
  EXPECT_EQ(heard("已用 2 笔委托, 上限 3 笔"), 2);
}

TEST_F(HedgeTest, AtItsAccountsLimitOfADayItAsksForHedgingByHand) {
  SHedgeRig rig(1, 0, 12);
  rig.m_param.m_nOrderLots = 1;
  rig.startHedged(1, 200);
  rig.runTo(9, 50);
  EXPECT_EQ(rig.newest("101-1").m_orders.size(), 12U) << "the basket's account has a limit of its own";
  EXPECT_EQ(rig.hedge()->m_orders.size(), 12U);
  EXPECT_GT(rig.target(), rig.traded());
  EXPECT_EQ(rig.state(), TC::EHS_Paused);
  EXPECT_EQ(rig.m_limits, std::vector<int>{TASK});
  EXPECT_EQ(rig.heard("! 任务 [101] 套利已暂停: 账户今日报撤已达上限"), 1);
  EXPECT_EQ(rig.heard("今日报撤已达上限 12 笔"), 2);
  rig.hedger().start(TASK);
  rig.runTo(9, 51);
  EXPECT_EQ(rig.hedge()->m_orders.size(), 12U);
  EXPECT_EQ(rig.m_limits.size(), 2U) << "told anew";
}

TEST_F(HedgeTest, ARefusedOrderIsTriedAgainASecondLaterAndUsesUpTheLimit) {
  SHedgeRig rig(1, 0.5);
  rig.m_param.m_nOrderLimit = 10;
  rig.m_param.m_nOperation = EOT_BuyOpen;
  rig.startHedged(1, 10);
  rig.runTo(9, 29, 59);
  EXPECT_TRUE(rig.hedge()->m_orders.empty()) << "an order wasted on a refusal outside the sessions";
  int refused = 0;
  std::int64_t sentAt = 0;
  for (std::int64_t now = exchange::MORNING_BEGINS; now < exchange::clockTime(9, 40); now += 100) {
    const std::vector<COrderInfoPtr> before = rig.hedge()->m_orders;
    rig.m_simulation.advanceTo(now);
    if (rig.hedge()->m_orders.size() == before.size()) continue;
    if (!before.empty() && before.back()->m_bHasMessage) {
      ++refused;
      EXPECT_GE(now - sentAt, 1000);
    }
    sentAt = now;
  }
  EXPECT_GT(refused, 1);
  EXPECT_EQ(rig.hedge()->m_orders.front()->m_nOperation, EOT_BuyOpen);
  EXPECT_EQ(rig.hedge()->m_orders.size(), 10U);
  EXPECT_EQ(rig.state(), TC::EHS_Paused);
}

TEST_F(HedgeTest, WhatCannotBeTradedStartsNothing) {
  const auto refused = [&](auto change, const char* told) {
    CBasketHedgeParam param = m_param;
    change(param);
    hedger().setParam(7, 7, param);
    hedger().start(7);
    EXPECT_TRUE(m_desk.hedgeState(7) == TC::EHS_None && !hedge() && heard(told)) << told;
  };
  refused([](CBasketHedgeParam& param) { param.m_strAccount = "S1"; }, "S1 不是期货账户");
  refused([](CBasketHedgeParam& param) { param.m_strAccount = "X"; }, "X 不存在");
  refused([](CBasketHedgeParam& param) { param.m_strCode = "IF2712"; }, "IF2712 不存在");
  refused([](CBasketHedgeParam& param) { param.m_bEnabled = false; }, "");
  hedger().start(8);
  hedger().pause(8);
  hedger().stop(8);
  EXPECT_FALSE(hedge());
}

TEST(HedgeDays, NeverExceedTheTargetNorLagByMoreThanARound) {
  constexpr int days = 200;
  int lots = 0;
  for (std::uint64_t seed = 1; seed <= days; ++seed) {
    SCOPED_TRACE(seed);
    SHedgeRig rig(seed);
    rig.startHedged(1 + seed % 2, 4);
    // The basket trades within a minute; afterwards nothing moves but the market.
    for (std::int64_t now = exchange::MORNING_BEGINS; now <= exchange::clockTime(9, 31); now += 100) {
      rig.m_simulation.advanceTo(now);
      ASSERT_GE(rig.target(), rig.traded());
      ASSERT_LE(rig.target() - rig.traded(), rig.m_param.m_nOrderLots);
    }
    rig.runTo(15, 1);
    ASSERT_EQ(rig.traded(), rig.target()) << "at the end of the day";
    lots += rig.target();
  }
  EXPECT_GT(lots, 20 * days);
}

TEST(Hedge, WithoutMoneyItSaysSoOnceAndRestsBetweenItsOrders) {
  SHedgeRig rig;
  rig.engine().openAccount("F1", {200'000, {}});
  rig.startHedged(1, 4);
  rig.runTo(9, 33);
  EXPECT_EQ(rig.traded(), 1);
  EXPECT_LE(rig.hedge()->m_orders.size(), 6U);
  EXPECT_EQ(rig.heard("! 任务 [101] 套利可用资金不足：需 "), 1);
  EXPECT_EQ(rig.state(), TC::EHS_Running);
}

}  // namespace
