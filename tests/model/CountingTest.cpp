/// What parameters, orders and progress add to rows, and what must hold however the details come.
#include <random>

#include "TaskFixture.h"
#include "tc/CTradeClient.h"

namespace {

using namespace TC;
using namespace ksservice;

class CCountingTest : public CTaskTest {
 protected:
  /// Target amount of 200 SH.600000 at 10 CNY, the instrument being known as info says.
  double target(CCodeInfo info, int priceType = EPT_Limit) {
    info.m_strMarket = "SH";
    info.m_strCode = "600000";
    host.desk().setInstrument(info);
    CBasketTask fresh("t", 1, 1);
    DetailPtr made = detail();
    made->m_params = {param(mainAccount, "SH", "600000", EOT_Buy, 200, 10)};
    made->m_params.front().m_nPriceType = priceType;
    fresh.updateDetail(made);
    return fresh.getRoot()->m_dTotalAmount;
  }
};

TEST_F(CCountingTest, TheTargetAmountTakesTheMultiplierOfPlainInstrumentsOnly) {
  CCodeInfo info;
  info.m_dMultiplier = 300;
  EXPECT_DOUBLE_EQ(target(info), 200.0 * 10 * 300);
  info.m_bSpecial = true;
  EXPECT_DOUBLE_EQ(target(info), 200.0 * 10) << "no multiplier";
  info.m_types = {5, STOCK_TYPE_BY_HUNDRED};
  EXPECT_DOUBLE_EQ(target(info), 200.0 * 100);
  update(twoLines());
  EXPECT_DOUBLE_EQ(row("SZ.000001卖出").m_dTotalAmount, 500.0 * 10) << "unknown instrument: multiplier 1";
}

TEST_F(CCountingTest, TargetAmountAtMarketPriceTakesTheQuote) {
  CCodeInfo info;
  info.m_marketPriceTypes = {EPT_MarketSH};
  EXPECT_DOUBLE_EQ(target(info, EPT_MarketSH), 0) << "no quote yet";
  EXPECT_EQ(takeLog("basket panel total money error").size(), 1u);
  CQuote quote;
  quote.m_dCalc = 12;
  host.desk().setQuote("SH", "600000", quote);
  EXPECT_DOUBLE_EQ(target(info, EPT_MarketSH), 200.0 * 12);
  EXPECT_DOUBLE_EQ(target(info, EPT_MarketSZ), 200.0 * 10) << "not a market price on this instrument";
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
  const auto stored = [this] { return row("SH.600000买入").m_mapOrders.value("k"); };
  DetailPtr made = twoLines();
  const OrderPtr last = buy("k", 100, 20, 200);
  made->m_orders = {buy("k", 100, 10, 100), last};
  update(made);
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
  EXPECT_EQ(row("SH.600000买入").m_nTradedVolume, 15 + 20 + 1) << "all are counted all the same";
}

TEST_F(CCountingTest, ServerTaskWithoutCommandCountsItsOrders) {
  DetailPtr made = twoLines();
  made->m_bServerTask = true;
  made->m_pCommand = nullptr;
  made->m_strMessage = "message";
  made->m_orders = {buy("o1", 100, 70, 700)};
  host.desk().setProgress("123-1", CTaskProgress());
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

TEST_F(CCountingTest, ADetailWhoseLinesMoveToAnotherAccountLeavesItsRows) {
  DetailPtr made = twoLines(), other = detail(2), moved = twoLinesOf(secondAccount, 1);
  made->m_orders = moved->m_orders = {buy("o1", 100, 30, 300), sell("o2", 100, 40)};
  other->m_params = {param(secondAccount, "SH", "600000", EOT_Buy, 100, 10)};
  for (const DetailPtr& one : {made, other, moved}) update(one);
  EXPECT_EQ(row("SH.600000买入", "A2").m_nTradedVolume, 30);
  EXPECT_EQ(root.m_nTradedVolume, 30) << "the other account has no row for the sale";
  EXPECT_TRUE(row("SH.600000买入").m_mapOrders.isEmpty() && row("SZ.000001卖出").m_mapOrders.isEmpty());
}

TEST_F(CCountingTest, TheSameDetailsGiveTheSameFiguresInWhateverOrderTheyCame) {
  std::mt19937 random(7);
  std::vector<DetailPtr> details;
  for (int number = 1; number <= 8; ++number) {
    DetailPtr made = number <= 4 ? twoLines(number) : patchDetail(900 + number);
    made->m_params = twoLines()->m_params;
    made->m_orders = {buy("o" + std::to_string(number), 100, 30, number % 3 == 0 ? 1e16 : 1)};
    details.push_back(made);
  }
  std::set<std::string> figures;
  for (int round = 0; round < 20; ++round) {
    std::shuffle(details.begin(), details.end(), random);
    CBasketTask fresh("t", 1, 1);
    for (DetailPtr& made : details) made->m_pCommand->m_bPatch ? fresh.updatePatch(made) : fresh.updateDetail(made);
    const CBasketTaskItem& row = *fresh.getStockDetailMap("A1").value("SH.600000买入");
    figures.insert(QString::asprintf("%a %a", row.m_dCurAmount, row.m_dPatchAmount).toStdString());
    EXPECT_EQ(row.m_nFinishedVolume, 240);
    EXPECT_EQ(row.m_mapOrders.size(), 8);
  }
  EXPECT_EQ(figures.size(), 1u) << "sums of doubles hang on their order";
}

}  // namespace
