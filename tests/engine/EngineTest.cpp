#include "CEngine.h"

#include <random>
#include <set>

#include "Rig.h"
#include "ksservice/Operations.h"

using namespace ksservice;

namespace {

constexpr double CENT = 0.01;

/// Every field of a detail that the engine fills, as text.
std::string print(const CTaskDetail& detail) {
  std::string text = detail.getKey() + " " + std::to_string(detail.m_nStatus) + " " + detail.m_strMessage + " " +
                     std::to_string(detail.m_nStartTime) + " " + std::to_string(detail.m_nEndTime);
  for (const COrderInfoPtr& order : detail.m_orders) {
    text += "\n" + order->getKey() + " " + order->m_strCode + " " + std::to_string(order->m_nVolume) + " " +
            std::to_string(order->m_nTradedVolume) + " " + std::to_string(order->m_dTradedAmount) + " " +
            std::to_string(order->m_dPrice) + " " + order->m_strMessage + (order->m_bCompleted ? " end" : "");
  }
  return text;
}

class Engine : public testing::Test, protected SRig {};
using EngineOperations = Engine;
/// One that needs five seconds for an account's part of the rig's basket.
class SlowEngine : public testing::Test, protected SRig {
 protected:
  SlowEngine() : SRig(1, 0, {.m_nPerSecond = 10}) {}
};
using EngineRejects = Engine;

/// An exchange that keeps what it said of each order, as the order is to be shown.
class CTap : public exchange::CExchange, public exchange::IMarketListener {
 public:
  using CExchange::CExchange;

  void setListener(exchange::IMarketListener* listener) override {
    m_pListener = listener;
    CExchange::setListener(this);
  }
  void submit(const exchange::SMarketOrder& order) override {
    m_orders[order.m_nId].m_strCode = instruments()[static_cast<std::size_t>(order.m_nInstrument)].m_strCode;
    CExchange::submit(order);
  }
  void onReport(const exchange::SReport& report) override {
    COrderInfo& order = m_orders[report.m_nId];
    order.m_nTradedVolume += report.m_kind == exchange::EReport::Filled ? report.m_nQuantity : 0;
    order.m_dTradedAmount += report.m_dAmount;
    order.m_bCompleted = report.m_nLeft == 0;
    m_pListener->onReport(report);
  }

  std::map<std::uint64_t, COrderInfo> m_orders;

 private:
  exchange::IMarketListener* m_pListener = nullptr;
};

TEST_F(Engine, DetailsSayWhatTheMarketReported) {
  for (std::uint64_t seed = 1; seed <= 8; ++seed) {
    SRig rig(seed);
    CTap market(SRig::makeInstruments(), SRig::exchangeSettings(seed, 0.1));
    engine::CEngine engine(rig.m_desk, market, SRig::engineSettings());
    market.advanceTo(exchange::DAY_OPENS);
    engine.advanceTo(exchange::DAY_OPENS);
    engine.startBasket(rig.basket());
    for (std::int64_t now = exchange::DAY_OPENS; now <= exchange::DAY_CLOSES; now += 100) {
      market.advanceTo(now);
      engine.advanceTo(now);
    }
    const CTaskDetail& detail = rig.newest("101-1");
    ASSERT_EQ(detail.m_orders.size(), market.m_orders.size());
    for (const auto& [id, reported] : market.m_orders) {
      const COrderInfo& order = *detail.m_orders[id - 1];
      EXPECT_EQ(order.m_strCode, reported.m_strCode);
      EXPECT_EQ(order.m_nTradedVolume, reported.m_nTradedVolume);
      EXPECT_NEAR(order.m_dTradedAmount, reported.m_dTradedAmount, CENT);
      EXPECT_EQ(order.m_bCompleted, reported.m_bCompleted);
    }
  }
}

TEST_F(Engine, TradesABasketThroughTheDayAndTakesItsQuotesToTheDesk) {
  TC::CQuote quote;
  EXPECT_FALSE(m_desk.quote("SH", "600002", quote));
  engine().startBasket(basket());
  engine().watch("CFFEX", "IF2612");
  runTo(9, 29, 59);
  EXPECT_TRUE(newest("101-1").m_orders.empty()) << "sent before the market matches";
  EXPECT_EQ(newest("101-1").m_nStartTime, UNSET_INT);
  runTo(9, 30, 1);
  const CTaskDetail& early = newest("101-1");
  EXPECT_EQ(early.m_nStatus, ETS_Running);
  EXPECT_EQ(early.m_nStartTime, SRig::DAY_START + exchange::MORNING_BEGINS / 1000);
  EXPECT_GT(early.m_orders.size(), 30u);
  runTo(10, 0);
  ASSERT_TRUE(m_desk.quote("SH", "600002", quote));
  EXPECT_GT(quote.m_dAsk, quote.m_dBid);
  EXPECT_NEAR(quote.m_dLast, 7, 0.7);
  ASSERT_TRUE(m_desk.quote("CFFEX", "IF2612", quote));
  EXPECT_GT(quote.m_dLast, 0);
  runTo(15, 0, 5);
  const CTaskDetail& late = newest("101-1");
  EXPECT_EQ(late.m_orders.size(), late.m_params.size());
  EXPECT_GT(tradedOf(late), targetOf(late) * 9 / 10);
  EXPECT_EQ(late.m_nStatus, tradedOf(late) == targetOf(late) ? ETS_Finished : ETS_Cancelled);
  EXPECT_NE(late.m_nEndTime, UNSET_INT);
  for (const COrderInfoPtr& order : late.m_orders) {
    EXPECT_TRUE(order->m_bCompleted);
    EXPECT_LE(order->m_nTradedVolume, order->m_nVolume);
    const COrderDetailPtr detail = m_desk.orderDetail(order->m_tag);
    ASSERT_TRUE(detail);
    EXPECT_EQ(detail->m_nTradedVolume, order->m_nTradedVolume);
    EXPECT_EQ(detail->m_bCancelled, order->m_nTradedVolume < order->m_nVolume);
    const double over = order->m_dTradedAmount - order->m_dPrice * order->m_nTradedVolume;
    EXPECT_LE(DataHelper::isBuy(order->m_nOperation) ? over : -over, CENT);
  }

  // A start after the close ends at once.
  engine().startBasket(basket());
  runTo(15, 31);
  EXPECT_EQ(newest("102-1").m_nStatus, ETS_Cancelled);
  EXPECT_EQ(heard("任务 [102] 等待开盘"), 0);
}

TEST_F(Engine, ADetailIsFreshAndSharesTheOrdersThatDidNotChange) {
  SRig rig(3, 0.05, {.m_nPerSecond = 10});
  std::vector<std::string> printed;
  std::map<std::string, CTaskDetailPtr> last;
  std::size_t shared = 0;
  std::size_t fresh = 0;
  std::set<std::string> keys;  // of the details of a step
  const auto subscription = rig.m_desk.subscribeTasks([&](const boost::shared_ptr<IData>& data) {
    const auto detail = boost::dynamic_pointer_cast<CTaskDetail>(data);
    printed.push_back(print(*detail));
    EXPECT_TRUE(keys.insert(detail->getKey()).second) << "a task is published once a step";
    const CTaskDetailPtr before = std::exchange(last[detail->getKey()], detail);
    for (std::size_t i = 0; before && i < before->m_orders.size(); ++i) {
      const COrderInfo& was = *before->m_orders[i];
      const COrderInfo& is = *detail->m_orders[i];
      const bool same = was.m_nTradedVolume == is.m_nTradedVolume && was.m_bCompleted == is.m_bCompleted;
      shared += before->m_orders[i] == detail->m_orders[i] ? 1 : 0;
      fresh += same ? 0 : 1;
      EXPECT_TRUE(same || before->m_orders[i] != detail->m_orders[i]);
    }
  });
  rig.engine().startBasket(rig.basket(2));
  for (std::int64_t now = exchange::DAY_OPENS; now <= exchange::clockTime(15, 1); now += 100) {
    if (now == exchange::clockTime(9, 45)) rig.engine().operate(101, "A1", ETO_Cancel);
    keys.clear();
    rig.m_simulation.advanceTo(now);
  }
  EXPECT_GT(fresh, 40U);
  EXPECT_GT(shared, 10 * fresh);
  ASSERT_EQ(printed.size(), rig.m_details.size());
  for (std::size_t i = 0; i < printed.size(); ++i) EXPECT_EQ(print(*rig.m_details[i]), printed[i]) << "changed later";
}

TEST_F(SlowEngine, PauseHoldsBackWhatWasNotSentAndResumeSendsIt) {
  engine().startBasket(basket(2));
  m_simulation.advanceTo(exchange::MORNING_BEGINS + 500);
  EXPECT_TRUE(engine().operate(101, "A1", ETO_Pause));
  EXPECT_FALSE(engine().operate(101, "A1", ETO_Pause)) << "it is paused already";
  const std::size_t sent = newest("101-1").m_orders.size();
  EXPECT_GT(sent, 0u);
  runTo(9, 40);
  EXPECT_EQ(newest("101-1").m_nStatus, ETS_Paused);
  EXPECT_EQ(newest("101-1").m_orders.size(), sent);
  EXPECT_GT(tradedOf(newest("101-1")), 0) << "what works goes on working";
  EXPECT_EQ(newest("101-2").m_orders.size(), newest("101-2").m_params.size()) << "only one account pauses";
  EXPECT_TRUE(engine().operate(101, "A1", ETO_Resume));
  EXPECT_EQ(newest("101-1").m_nStatus, ETS_Running);
  EXPECT_FALSE(engine().operate(101, "A1", ETO_Resume));
  runTo(9, 42);
  EXPECT_EQ(newest("101-1").m_orders.size(), newest("101-1").m_params.size());
}

TEST_F(EngineOperations, CancelEndsTheTaskWhenItsOrdersHaveEnded) {
  engine().startBasket(basket());
  m_simulation.advanceTo(exchange::MORNING_BEGINS);
  EXPECT_TRUE(engine().operate(101, "", ETO_Cancel));
  EXPECT_EQ(newest("101-1").m_nStatus, ETS_Running) << "orders still work";
  EXPECT_FALSE(engine().operate(101, "", ETO_Resume));
  const std::size_t sent = newest("101-1").m_orders.size();
  runTo(9, 31);
  const CTaskDetail& detail = newest("101-1");
  EXPECT_EQ(detail.m_nStatus, ETS_Cancelled);
  EXPECT_EQ(detail.m_orders.size(), sent) << "nothing is sent after a cancel";
  for (const COrderInfoPtr& order : detail.m_orders) EXPECT_TRUE(order->m_bCompleted);
  EXPECT_EQ(heard("委托已全部成交（"), 1) << "the orders on their way filled first";
  EXPECT_EQ(detail.m_strMessage, "") << "what filled is no fault";
  const std::size_t delivered = m_details.size();
  runTo(15, 1);
  EXPECT_EQ(m_details.size(), delivered) << "an ended task is quiet";
}

/// What is left of a line is known at each moment, also between two of its orders.
TEST_F(EngineOperations, OfALineThatTakesSeveralOrders) {
  const auto left = [](SRig& rig) {
    long long sum = 0;
    for (const auto& [line, volume] : rig.engine().remainders(101)) sum += volume;
    return sum;
  };
  const std::vector<engine::SOrderLine> lines = {line("SH", "600002", EOT_Buy, 2500000),
                                                 line("SH", "688008", EOT_Buy, 100150),
                                                 line("BJ", "830008", EOT_Sell, 1000050)};
  start(lines);
  runTo(9, 31);
  std::vector<int> volumes;
  for (const COrderInfoPtr& order : newest("101-1").m_orders) volumes.push_back(order->m_nVolume);
  EXPECT_EQ(volumes, (std::vector<int>{1000000, 1000000, 500000, 99950, 200, 1000000, 50}));
  EXPECT_EQ(heard("委托被拒绝"), 0);
  EXPECT_EQ(left(*this), 0);

  SRig slow(1, 0, {.m_nPerSecond = 1});
  slow.start(lines);
  slow.runTo(9, 30, 2);
  EXPECT_EQ(left(slow), 0);
  ASSERT_TRUE(slow.engine().operate(101, "", ETO_Cancel));
  EXPECT_EQ(slow.newest("101-1").m_orders.size(), 2u);
  EXPECT_EQ(left(slow), targetOf(slow.newest("101-1")) - 2000000);
  slow.runTo(9, 31);
  EXPECT_EQ(left(slow), targetOf(slow.newest("101-1")) - tradedOf(slow.newest("101-1")));
}

TEST_F(EngineOperations, CancelBeforeTheOpenEndsAtOnceAndADropLeavesNoOrderInTheMarket) {
  engine().startBasket(basket());
  engine().startBasket(basket());
  EXPECT_TRUE(engine().operate(101, "", ETO_Cancel));
  EXPECT_EQ(newest("101-1").m_nStatus, ETS_Cancelled);
  EXPECT_TRUE(engine().operate(101, "", ETO_Drop));
  EXPECT_EQ(newest("101-1").m_nStatus, ETS_Dropped);
  EXPECT_FALSE(engine().operate(101, "", ETO_Drop));
  EXPECT_FALSE(engine().operate(999, "", ETO_Drop));
  m_simulation.advanceTo(exchange::MORNING_BEGINS + 700);
  EXPECT_TRUE(engine().operate(102, "", ETO_Drop));
  EXPECT_EQ(newest("102-1").m_nStatus, ETS_Dropped) << "at once";
  runTo(9, 35);
  EXPECT_TRUE(newest("101-1").m_orders.empty());
  EXPECT_EQ(newest("102-1").m_nStatus, ETS_Dropped);
  for (const COrderInfoPtr& order : newest("102-1").m_orders) EXPECT_TRUE(order->m_bCompleted);
}

/// Also when it has given up already what its account may not send any more.
TEST_F(EngineOperations, ACancelThatAnAuctionRefusesPausesTheTaskUntilItsUserAsksAgain) {
  for (const int perDay : {19000, 40}) {
    SRig rig(1, 0, {.m_nPerDay = perDay}, exchange::clockTime(9, 15));
    std::vector<engine::SOrderLine> lines = rig.basket().m_lines;
    lines.push_back(line("SH", "600000", EOT_Buy, 1000));
    lines.back().m_bOwnPrice = true;
    lines.back().m_nPriceType = EPT_MarketSH;
    const std::string key = rig.start(lines);
    EXPECT_EQ(rig.heard("等待开盘"), 0);
    rig.runTo(9, 21);
    EXPECT_EQ(rig.newest(key).m_orders.size(), 40u) << "a market price waits for continuous trading";
    EXPECT_TRUE(rig.engine().operate(101, "", ETO_Cancel));
    EXPECT_FALSE(rig.engine().operate(101, "", ETO_Cancel)) << "while it is on its way";
    rig.runTo(9, 24, 59);
    EXPECT_EQ(rig.newest(key).m_nStatus, ETS_Paused);
    EXPECT_EQ(rig.heard("集合竞价此时段不接受撤单（40 笔撤单未成）"), 1) << "asked once";
    EXPECT_EQ(rig.newest(key).m_strMessage, perDay > 40 ? "" : "账户今日报撤已达上限，余量未委托");
    EXPECT_EQ(tradedOf(rig.newest(key)), 0);
    rig.runTo(9, 25);
    const int traded = tradedOf(rig.newest(key));
    EXPECT_GT(traded, targetOf(rig.newest(key)) / 10);
    rig.runTo(9, 29);
    EXPECT_EQ(tradedOf(rig.newest(key)), traded);
    EXPECT_EQ(rig.newest(key).m_nStatus, ETS_Paused);
    EXPECT_TRUE(rig.engine().operate(101, "", ETO_Cancel));
    rig.runTo(9, 29, 1);
    EXPECT_EQ(rig.newest(key).m_nStatus, ETS_Cancelled);
    EXPECT_EQ(tradedOf(rig.newest(key)), traded);
  }
}

TEST_F(EngineRejects, AreKeptWithTheMarketsWords) {
  SRig rig(1, 1);
  rig.engine().startBasket(rig.basket());
  rig.runTo(9, 40);
  const CTaskDetail& refused = rig.newest("101-1");
  EXPECT_EQ(refused.m_nStatus, ETS_ExecutionError);
  EXPECT_EQ(refused.m_strMessage, "交易所流量控制，委托被拒绝（40 笔委托被拒绝）");
  for (const COrderInfoPtr& order : refused.m_orders) {
    EXPECT_TRUE(order->m_bHasMessage && !order->m_strMessage.empty());
    EXPECT_FALSE(rig.m_desk.orderDetail(order->m_tag)) << "an order that was never accepted has no detail";
  }
}

TEST_F(EngineRejects, AreToldByReasonWithEachSecurity) {
  const std::string key =
      start({line("SH", "601999", EOT_Buy, 100), line("SH", "600010", EOT_Buy, 150), line("SZ", "1011", EOT_Buy, 250),
             line("SH", "688008", EOT_Buy, 150), line("SH", "601999", EOT_Buy, 200), line("SH", "600012", EOT_Sell, 1),
             line("SZ", "009999", EOT_Buy, 100)});
  runTo(9, 31);
  const CTaskDetail& detail = newest(key);
  EXPECT_EQ(detail.m_nStatus, ETS_Cancelled) << "a remainder is left to be patched";
  EXPECT_EQ(detail.m_strMessage,
            "数量不是整手（2 笔委托被拒绝）；数量低于最小申报数量（1 笔委托被拒绝）；"
            "证券停牌（2 笔委托被拒绝）；证券未上市（1 笔委托被拒绝）");
  EXPECT_EQ(detail.m_orders[1]->m_strMessage, "数量不是整手");
  EXPECT_FALSE(detail.m_orders[5]->m_bHasMessage);
  EXPECT_EQ(heard("! 任务 [101-1] 数量不是整手（2 笔委托被拒绝）: SH.600010, SZ.1011"), 1);
  EXPECT_EQ(heard("任务 [101-1] 数量低于最小申报数量（1 笔委托被拒绝）: SH.688008"), 1);
  EXPECT_EQ(heard("任务 [101-1] 证券停牌（2 笔委托被拒绝）: SH.601999 ×2"), 1);
  EXPECT_EQ(heard("任务 [101-1] 证券未上市（1 笔委托被拒绝）: SZ.009999"), 1);
  EXPECT_EQ(heard("已撤销: 数量不是整手（2 笔委托被拒绝）"), 1);
}

TEST_F(EngineRejects, OrdersThatTheMarketCancelsKeepItsWords) {
  std::vector<engine::SOrderLine> lines = {line("SH", "600000", EOT_Sell, 1000000),
                                           line("SH", "600002", EOT_Sell, 1000000)};
  lines[1].m_bOwnPrice = true;
  lines[1].m_nPriceType = EPT_MarketSH;
  const std::string key = start(lines);
  runTo(9, 31);
  EXPECT_EQ(newest(key).m_orders[1]->m_strMessage, "市价委托剩余部分自动撤销");
  runTo(15, 1);
  EXPECT_EQ(newest(key).m_orders[0]->m_strMessage, "收市，未成交部分自动撤销");
  EXPECT_EQ(newest(key).m_strMessage,
            "市价委托剩余部分自动撤销（1 笔委托被撤销）；收市，未成交部分自动撤销（1 笔委托被撤销）");
}

engine::SOrderLine makeLine(int number, int quantity, int lot, int minimum) {
  return {.m_stock = {"SH", std::to_string(600000 + number), {}},
          .m_nQuantity = quantity,
          .m_rules = {.m_nBuyMinimum = minimum, .m_nBuyStep = lot}};
}

TEST(SplitLines, KeepsEveryShareInWholeLotsForAllButTheFirstAccount) {
  std::mt19937 random(7);
  for (int round = 0; round < 500; ++round) {
    const int accounts = 1 + static_cast<int>(random() % 7);
    std::vector<engine::SOrderLine> lines;
    for (int i = 0; i < 10; ++i) {
      const int lot = random() % 3 ? 100 : 1;
      lines.push_back(makeLine(i, 1 + static_cast<int>(random() % 5000), lot, random() % 2 ? 2 * lot : lot));
    }
    const auto parts = engine::splitLines(lines, accounts);
    ASSERT_EQ(parts.size(), static_cast<std::size_t>(accounts));
    std::map<std::string, int> sums;
    for (const auto& account : parts) {
      for (const engine::SOrderLine& part : account) {
        EXPECT_GT(part.m_nQuantity, 0);
        sums[part.m_stock.m_strCode] += part.m_nQuantity;
        if (&account == &parts[0]) continue;
        EXPECT_EQ(part.m_nQuantity % part.m_rules.m_nBuyStep, 0);
        EXPECT_GE(part.m_nQuantity, part.m_rules.m_nBuyMinimum);
      }
    }
    for (const engine::SOrderLine& line : lines) EXPECT_EQ(sums[line.m_stock.m_strCode], line.m_nQuantity);
  }
}

TEST(SplitLines, SharesEvenlyAndGivesTheRemainderToTheFirst) {
  const auto parts = engine::splitLines({makeLine(0, 1050, 100, 100), makeLine(1, 250, 100, 200)}, 3);
  ASSERT_EQ(parts[0].size(), 2u);
  EXPECT_EQ(parts[0][0].m_nQuantity, 450);
  EXPECT_EQ(parts[1][0].m_nQuantity, 300);
  EXPECT_EQ(parts[2][0].m_nQuantity, 300);
  // A third of 250 is below the smallest quantity that may be bought: the line stays whole.
  EXPECT_EQ(parts[0][1].m_nQuantity, 250);
  EXPECT_EQ(parts[1].size(), 1u);
}

}  // namespace
