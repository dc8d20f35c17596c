#include "CEngine.h"

#include <gtest/gtest.h>

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

/// An exchange that keeps what it said of each order.
class CTap : public exchange::CExchange, public exchange::IMarketListener {
 public:
  struct SFigures {
    std::string m_strCode;
    int m_nTraded = 0;
    double m_dAmount = 0;
    bool m_bOver = false;
  };

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
    SFigures& figures = m_orders[report.m_nId];
    figures.m_nTraded += report.m_kind == exchange::EReport::Filled ? report.m_nQuantity : 0;
    figures.m_dAmount += report.m_dAmount;
    figures.m_bOver = report.m_nLeft == 0;
    if (m_pListener != nullptr) m_pListener->onReport(report);
  }

  std::map<std::uint64_t, SFigures> m_orders;

 private:
  exchange::IMarketListener* m_pListener = nullptr;
};

TEST(Engine, DetailsSayWhatTheMarketReported) {
  for (std::uint64_t seed = 1; seed <= 8; ++seed) {
    SRig rig(seed);
    CTap market(SRig::makeInstruments(), SRig::exchangeSettings(seed, 0.1));
    engine::CEngine engine(rig.m_desk, market, SRig::engineSettings(50));
    market.advanceTo(exchange::DAY_OPENS);
    engine.advanceTo(exchange::DAY_OPENS);
    engine.startBasket(rig.basket());
    for (std::int64_t now = exchange::DAY_OPENS; now <= exchange::DAY_CLOSES; now += 100) {
      market.advanceTo(now);
      engine.advanceTo(now);
    }
    const CTaskDetail& detail = rig.newest("101-1");
    ASSERT_EQ(detail.m_orders.size(), market.m_orders.size());
    for (const COrderInfoPtr& order : detail.m_orders) {
      const std::uint64_t id = static_cast<std::uint64_t>(&order - detail.m_orders.data()) + 1;
      const CTap::SFigures& figures = market.m_orders.at(id);
      EXPECT_EQ(order->m_strCode, figures.m_strCode);
      EXPECT_EQ(order->m_nTradedVolume, figures.m_nTraded);
      EXPECT_NEAR(order->m_dTradedAmount, figures.m_dAmount, CENT);
      EXPECT_EQ(order->m_bCompleted, figures.m_bOver);
    }
  }
}

TEST(Engine, TradesABasketThroughTheDay) {
  SRig rig;
  rig.engine().startBasket(rig.basket());
  rig.runTo(9, 29, 59);
  EXPECT_TRUE(rig.newest("101-1").m_orders.empty()) << "sent before the market matches";
  EXPECT_EQ(rig.newest("101-1").m_nStartTime, UNSET_INT);
  rig.runTo(9, 30, 1);
  const CTaskDetail& early = rig.newest("101-1");
  EXPECT_EQ(early.m_nStatus, ETS_Running);
  EXPECT_EQ(early.m_nStartTime, SRig::DAY_START + exchange::MORNING_BEGINS / 1000);
  EXPECT_GT(early.m_orders.size(), 30u);
  rig.runTo(15, 0, 5);
  const CTaskDetail& late = rig.newest("101-1");
  EXPECT_EQ(late.m_orders.size(), late.m_params.size());
  EXPECT_GT(tradedOf(late), targetOf(late) * 9 / 10);
  EXPECT_EQ(late.m_nStatus, tradedOf(late) == targetOf(late) ? ETS_Finished : ETS_Cancelled);
  EXPECT_NE(late.m_nEndTime, UNSET_INT);
  for (const COrderInfoPtr& order : late.m_orders) {
    EXPECT_TRUE(order->m_bCompleted);
    EXPECT_LE(order->m_nTradedVolume, order->m_nVolume);
    const COrderDetailPtr detail = rig.m_desk.orderDetail(order->m_tag);
    ASSERT_TRUE(detail);
    EXPECT_EQ(detail->m_nTradedVolume, order->m_nTradedVolume);
    EXPECT_EQ(detail->m_bCancelled, order->m_nTradedVolume < order->m_nVolume);
    const bool buy = DataHelper::isBuy(order->m_nOperation);
    const double limit = order->m_dPrice * order->m_nTradedVolume;
    EXPECT_TRUE(buy ? order->m_dTradedAmount <= limit + CENT : order->m_dTradedAmount >= limit - CENT);
  }
}

TEST(Engine, ADetailIsFreshAndSharesTheOrdersThatDidNotChange) {
  SRig rig(3, 0.05);
  std::vector<std::string> printed;
  std::map<std::string, CTaskDetailPtr> newest;
  std::size_t shared = 0;
  std::size_t fresh = 0;
  std::set<std::string> keys;  // of the details of a step
  const auto subscription = rig.m_desk.subscribeTasks([&](const boost::shared_ptr<IData>& data) {
    const auto detail = boost::dynamic_pointer_cast<CTaskDetail>(data);
    printed.push_back(print(*detail));
    EXPECT_TRUE(keys.insert(detail->getKey()).second) << "a task is published once a step";
    const CTaskDetailPtr before = std::exchange(newest[detail->getKey()], detail);
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

TEST(EngineOperations, PauseHoldsBackWhatWasNotSentAndResumeSendsIt) {
  SRig rig;
  rig.engine().startBasket(rig.basket(2));
  rig.runTo(9, 30);
  rig.m_simulation.advanceTo(exchange::MORNING_BEGINS + 500);
  EXPECT_TRUE(rig.engine().operate(101, "A1", ETO_Pause));
  EXPECT_FALSE(rig.engine().operate(101, "A1", ETO_Pause)) << "it is paused already";
  const std::size_t sent = rig.newest("101-1").m_orders.size();
  EXPECT_GT(sent, 0u);
  rig.runTo(9, 40);
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Paused);
  EXPECT_EQ(rig.newest("101-1").m_orders.size(), sent);
  EXPECT_GT(tradedOf(rig.newest("101-1")), 0) << "what works goes on working";
  EXPECT_EQ(rig.newest("101-2").m_orders.size(), rig.newest("101-2").m_params.size()) << "only one account pauses";
  EXPECT_TRUE(rig.engine().operate(101, "A1", ETO_Resume));
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Running);
  EXPECT_FALSE(rig.engine().operate(101, "A1", ETO_Resume));
  rig.runTo(9, 42);
  EXPECT_EQ(rig.newest("101-1").m_orders.size(), rig.newest("101-1").m_params.size());
}

TEST(EngineOperations, CancelEndsTheTaskWhenItsOrdersHaveEnded) {
  SRig rig;
  rig.engine().startBasket(rig.basket());
  rig.m_simulation.advanceTo(exchange::MORNING_BEGINS + 400);
  EXPECT_TRUE(rig.engine().operate(101, "", ETO_Cancel));
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Running) << "orders still work";
  EXPECT_FALSE(rig.engine().operate(101, "", ETO_Resume));
  const std::size_t sent = rig.newest("101-1").m_orders.size();
  rig.runTo(9, 31);
  const CTaskDetail& detail = rig.newest("101-1");
  EXPECT_EQ(detail.m_nStatus, ETS_Cancelled);
  EXPECT_EQ(detail.m_orders.size(), sent) << "nothing is sent after a cancel";
  for (const COrderInfoPtr& order : detail.m_orders) EXPECT_TRUE(order->m_bCompleted);
  EXPECT_EQ(rig.heard("委托已全部成交（"), 1) << "the orders on their way filled first";
  EXPECT_EQ(detail.m_strMessage, "") << "what filled is no fault";
  const std::size_t delivered = rig.m_details.size();
  rig.runTo(15, 1);
  EXPECT_EQ(rig.m_details.size(), delivered) << "an ended task is quiet";
}

TEST(EngineOperations, CancelBeforeTheOpenEndsAtOnceAndDropHasTheLastWord) {
  SRig rig;
  rig.engine().startBasket(rig.basket());
  EXPECT_TRUE(rig.engine().operate(101, "", ETO_Cancel));
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Cancelled);
  EXPECT_TRUE(rig.engine().operate(101, "", ETO_Drop));
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Dropped);
  EXPECT_FALSE(rig.engine().operate(101, "", ETO_Drop));
  EXPECT_FALSE(rig.engine().operate(999, "", ETO_Drop));
  rig.runTo(9, 35);
  EXPECT_TRUE(rig.newest("101-1").m_orders.empty());
}

TEST(EngineOperations, DropOfARunningTaskLeavesNoOrderInTheMarket) {
  SRig rig;
  rig.engine().startBasket(rig.basket());
  rig.m_simulation.advanceTo(exchange::MORNING_BEGINS + 700);
  EXPECT_TRUE(rig.engine().operate(101, "", ETO_Drop));
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Dropped) << "at once";
  rig.runTo(9, 31);
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Dropped);
  for (const COrderInfoPtr& order : rig.newest("101-1").m_orders) EXPECT_TRUE(order->m_bCompleted);
}

TEST(EngineOperations, AStartAfterTheCloseEndsAtOnceAndWaitsForNothing) {
  SRig rig;
  rig.runTo(15, 30);
  rig.engine().startBasket(rig.basket());
  rig.runTo(15, 31);
  EXPECT_EQ(rig.newest("101-1").m_nStatus, ETS_Cancelled);
  EXPECT_EQ(rig.heard("等待开盘"), 0);
}

TEST(EngineRejects, AreKeptWithTheMarketsWords) {
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

TEST(EngineRejects, AreToldByReasonWithEachSecurity) {
  SRig rig;
  const std::string key = rig.start({SRig::line("SH", "601999", EOT_Buy, 100), SRig::line("SH", "600010", EOT_Buy, 150),
                                     SRig::line("SZ", "1011", EOT_Buy, 250), SRig::line("SH", "688008", EOT_Buy, 150),
                                     SRig::line("SH", "601999", EOT_Buy, 200), SRig::line("SH", "600012", EOT_Sell, 1),
                                     SRig::line("SZ", "009999", EOT_Buy, 100)});
  rig.runTo(9, 31);
  const CTaskDetail& detail = rig.newest(key);
  EXPECT_EQ(detail.m_nStatus, ETS_Cancelled) << "a remainder is left to be patched";
  EXPECT_EQ(detail.m_strMessage,
            "数量不是整手（2 笔委托被拒绝）；数量低于最小申报数量（1 笔委托被拒绝）；"
            "证券停牌（2 笔委托被拒绝）；证券未上市（1 笔委托被拒绝）");
  EXPECT_EQ(detail.m_orders[1]->m_strMessage, "数量不是整手");
  EXPECT_FALSE(detail.m_orders[5]->m_bHasMessage);
  EXPECT_EQ(rig.heard("! 任务 [101-1] 数量不是整手（2 笔委托被拒绝）: SH.600010, SZ.1011"), 1);
  EXPECT_EQ(rig.heard("任务 [101-1] 数量低于最小申报数量（1 笔委托被拒绝）: SH.688008"), 1);
  EXPECT_EQ(rig.heard("任务 [101-1] 证券停牌（2 笔委托被拒绝）: SH.601999 ×2"), 1);
  EXPECT_EQ(rig.heard("任务 [101-1] 证券未上市（1 笔委托被拒绝）: SZ.009999"), 1);
  EXPECT_EQ(rig.heard("已撤销: 数量不是整手（2 笔委托被拒绝）"), 1);
}

TEST(EngineRejects, OrdersThatTheMarketCancelsKeepItsWords) {
  SRig rig;
  std::vector<engine::SOrderLine> lines = {SRig::line("SH", "600000", EOT_Sell, 2000000),
                                           SRig::line("SH", "600002", EOT_Sell, 100000000)};
  lines[1].m_bOwnPrice = true;
  lines[1].m_nPriceType = EPT_MarketSH;
  const std::string key = rig.start(lines);
  rig.runTo(9, 31);
  EXPECT_EQ(rig.newest(key).m_orders[1]->m_strMessage, "市价委托剩余部分自动撤销");
  rig.runTo(15, 1);
  EXPECT_EQ(rig.newest(key).m_orders[0]->m_strMessage, "收市，未成交部分自动撤销");
  EXPECT_EQ(rig.newest(key).m_strMessage,
            "市价委托剩余部分自动撤销（1 笔委托被撤销）；收市，未成交部分自动撤销（1 笔委托被撤销）");
}

TEST(Engine, TakesQuotesOfTheSecuritiesInUseToTheDesk) {
  SRig rig;
  TC::CQuote quote;
  EXPECT_FALSE(rig.m_desk.quote("SH", "600002", quote));
  rig.engine().startBasket(rig.basket());
  rig.engine().watch("CFFEX", "IF2612");
  rig.runTo(10, 0);
  ASSERT_TRUE(rig.m_desk.quote("SH", "600002", quote));
  EXPECT_GT(quote.m_dAsk, quote.m_dBid);
  EXPECT_NEAR(quote.m_dLast, 7, 0.7);
  ASSERT_TRUE(rig.m_desk.quote("CFFEX", "IF2612", quote));
  EXPECT_GT(quote.m_dLast, 0);
}

}  // namespace
