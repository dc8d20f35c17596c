/// What parameters, orders and progress add to rows.
#include "TaskFixture.h"
#include "tc/CTradeClient.h"

namespace {

using namespace ksservice;

class CCountingTest : public CTaskTest {
 protected:
  /// Target amount of 200 SH.600000 at the price, the instrument being known as info says.
  double target(TC::CCodeInfo info, int priceType, double price) {
    info.m_strMarket = "SH";
    info.m_strCode = "600000";
    host.desk().setInstrument(info);
    TC::CBasketTask fresh("t", 1, 1);
    DetailPtr made = detail();
    made->m_params = {param(mainAccount, "SH", "600000", EOT_Buy, 200, price)};
    made->m_params.front().m_nPriceType = priceType;
    fresh.updateDetail(made);
    return fresh.getRoot()->m_dTotalAmount;
  }
};

TEST_F(CCountingTest, TheTargetAmountTakesTheMultiplierOfPlainInstrumentsOnly) {
  TC::CCodeInfo plain;
  plain.m_dMultiplier = 300;
  EXPECT_DOUBLE_EQ(target(plain, EPT_Limit, 10), 200.0 * 10 * 300);
  TC::CCodeInfo special = plain;
  special.m_bSpecial = true;
  EXPECT_DOUBLE_EQ(target(special, EPT_Limit, 10), 200.0 * 10) << "no multiplier";
  TC::CCodeInfo hundred = special;
  hundred.m_types = {5, STOCK_TYPE_BY_HUNDRED};
  EXPECT_DOUBLE_EQ(target(hundred, EPT_Limit, 10), 200.0 * 100);
  update(twoLines());
  EXPECT_DOUBLE_EQ(row("SZ.000001卖出").m_dTotalAmount, 500.0 * 10) << "unknown instrument: multiplier 1";
}

TEST_F(CCountingTest, TargetAmountAtMarketPriceTakesTheQuote) {
  TC::CCodeInfo info;
  info.m_marketPriceTypes = {EPT_MarketSH};
  EXPECT_DOUBLE_EQ(target(info, EPT_MarketSH, 10), 0) << "no quote yet";
  EXPECT_EQ(takeLog("basket panel total money error").size(), 1u);
  TC::CQuote quote;
  quote.m_dCalc = 12;
  host.desk().setQuote("SH", "600000", quote);
  EXPECT_DOUBLE_EQ(target(info, EPT_MarketSH, 10), 200.0 * 12);
  EXPECT_DOUBLE_EQ(target(info, EPT_MarketSZ, 10), 200.0 * 10) << "not a market price on this instrument";
  EXPECT_EQ(takeLog("basket panel total money error").size(), 0u);
}

TEST_F(CCountingTest, OrderDetailsAreAskedForOnEveryRefresh) {
  DetailPtr made = twoLines();
  made->m_orders = {buy("o1", 300, 200, 2000)};
  update(made);
  EXPECT_EQ(root.m_nOrderCount2, 0);
  host.setOrderDetail("o1", true);
  task.updateOrderDetail();
  EXPECT_EQ(root.m_nOrderCount2, 1);
  EXPECT_EQ(root.m_nCanceledCount, 1);
}

TEST_F(CCountingTest, StoredOrderIsTheLaterOfOneKey) {
  const TC::CBasketTaskItem* bought = nullptr;
  const auto stored = [&] { return bought->m_mapOrders.value("k"); };
  DetailPtr made = twoLines();
  OrderPtr first = buy("k", 100, 10, 100), last = buy("k", 100, 20, 200);
  made->m_orders = {first, last};
  update(made);
  bought = &row("SH.600000买入");
  EXPECT_EQ(stored(), last);

  DetailPtr later = next(made);
  later->m_orders[0] = buy("k", 100, 15, 150);
  update(later);
  EXPECT_EQ(stored(), last) << "unchanged, and still behind the changed one";

  DetailPtr other = twoLines(2);
  other->m_orders = {buy("k", 100, 1, 10)};
  update(other);
  EXPECT_EQ(stored(), other->m_orders[0]);
  update(next(later));
  EXPECT_EQ(stored(), last);
  EXPECT_EQ(bought->m_nTradedVolume, 15 + 20 + 1) << "all are counted all the same";
}

TEST_F(CCountingTest, ServerTaskWithoutCommandCountsItsOrders) {
  DetailPtr made = twoLines();
  made->m_bServerTask = true;
  made->m_pCommand = nullptr;
  made->m_strMessage = "message";
  made->m_orders = {buy("o1", 100, 70, 700)};
  host.desk().setProgress("123-1", TC::CTaskProgress());
  update(made);
  EXPECT_EQ(root.m_nTradedVolume, 70);
  EXPECT_EQ(root.m_strRemark, "");
}

TEST_F(CCountingTest, AServerTaskRemarksItsInstanceElseWhatItSaidLast) {
  DetailPtr made = onServer(twoLines()->m_params);
  made->m_params[0].m_nOrderType = EORT_Algo;
  made->m_strMessage = "waiting";
  update(made);
  EXPECT_EQ(row("SH.600000买入").m_strRemark, "waiting");
  made = next(made);
  made->m_strInstance = "TWAP-7";
  made->m_strMessage.clear();
  update(made);
  EXPECT_EQ(row("SH.600000买入").m_strRemark, "TWAP-7");
  EXPECT_EQ(row("SZ.000001卖出").m_strRemark, "") << "a plain order type";
  EXPECT_EQ(root.m_strRemark, "waiting") << "an empty message changes nothing";
}

}  // namespace
