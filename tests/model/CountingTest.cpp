/// What parameters, orders and progress add to rows.
#include "TaskFixture.h"

namespace {

using namespace ksservice;

class CCountingTest : public CTaskTest {
 protected:
  long logged(const std::string& text) {
    const auto lines = host.takeLog();
    return std::count(lines.begin(), lines.end(), text);
  }

  /// Target amount of 200 SH.600000 at the price, the instrument being known as info says.
  double target(TC::CCodeInfo info, int priceType, double price) {
    info.m_strMarket = "SH";
    info.m_strCode = "600000";
    host.setInstrument(info);
    TC::CBasketTask fresh("t", 1, 1);
    DetailPtr made = detail();
    made->m_params = {param(mainAccount, "SH", "600000", EOT_Buy, 200, price)};
    made->m_params.front().m_nPriceType = priceType;
    fresh.updateDetail(made);
    return fresh.getRoot()->m_dTotalAmount;
  }

  static TC::CProgressOrder progressOrder(const std::string& mapKey, const std::string& market, const std::string& code,
                                          int index) {
    TC::CProgressOrder made;
    made.m_strMapKey = mapKey;
    made.m_detail.m_strMarket = market;
    made.m_detail.m_strCode = code;
    made.m_detail.m_nTradedVolume = 100;
    made.m_detail.m_dTradedAmount = 1100;
    made.m_nParamIndex = index;
    return made;
  }
};

TEST_F(CCountingTest, TargetAmountByKindOfInstrument) {
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
  EXPECT_EQ(logged("basket panel total money error"), 1);
  TC::CQuote quote;
  quote.m_dCalc = 12;
  host.setQuote("SH", "600000", quote);
  EXPECT_DOUBLE_EQ(target(info, EPT_MarketSH, 10), 200.0 * 12);
  EXPECT_DOUBLE_EQ(target(info, EPT_MarketSZ, 10), 200.0 * 10) << "not a market price on this instrument";
  EXPECT_EQ(logged("basket panel total money error"), 0);
}

TEST_F(CCountingTest, InstrumentThatBecomesKnownLaterCountsFromThenOn) {
  DetailPtr made = twoLines();
  update(made);
  EXPECT_DOUBLE_EQ(row("SH.600000买入").m_dTotalAmount, 10000);
  TC::CCodeInfo info;
  info.m_strMarket = "SH";
  info.m_strCode = "600000";
  info.m_dMultiplier = 2;
  host.setInstrument(info);
  update(next(made));
  EXPECT_DOUBLE_EQ(row("SH.600000买入").m_dTotalAmount, 20000);
}

TEST_F(CCountingTest, OrdersAreCountedByInstrumentAndOperation) {
  host.setOrderDetail("o1", false);
  host.setOrderDetail("o2", true);
  DetailPtr made = twoLines();
  made->m_orders = {buy("o1", 300, 200, 2100),
                    buy("o2", 300, 100, 1000),
                    buy("o3", 100, 0, 0),
                    nullptr,
                    order("o4", "SZ", "000001", EOT_Buy, 100, 100, 1000),
                    order("o5", "SZ", "000001", EOT_Sell, 500, 500, 4900)};
  update(made);

  const TC::CBasketTaskItem& bought = row("SH.600000买入");
  EXPECT_EQ(bought.m_nTradedVolume, 300);
  EXPECT_EQ(bought.m_nFinishedVolume, 300);
  EXPECT_DOUBLE_EQ(bought.m_dTradedAmount, 3100);
  EXPECT_EQ(bought.m_nOrderCount, 3);
  EXPECT_EQ(bought.m_nOrderCount2, 2);
  EXPECT_EQ(bought.m_nCanceledCount, 1);
  EXPECT_EQ(bought.m_mapOrders.size(), 3);
  EXPECT_DOUBLE_EQ(bought.m_dTotalAmount, 10000) << "a local task keeps its target";
  EXPECT_EQ(row("SZ.000001卖出").m_nTradedVolume, 500) << "the buy of the same security has no row";
  EXPECT_EQ(root.m_nTradedVolume, 800);
  EXPECT_EQ(root.m_nOrderCount, 4);
  EXPECT_EQ(root.m_nCanceledCount, 1);

  DetailPtr empty = next(made);
  empty->m_orders.clear();
  update(empty);
  EXPECT_EQ(bought.m_nFinishedVolume, 0);
  EXPECT_DOUBLE_EQ(bought.m_dTradedAmount, 0);
  EXPECT_EQ(root.m_nOrderCount, 0);
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

TEST_F(CCountingTest, MissingAmountsAreMadeFromThePrice) {
  DetailPtr made = twoLines();
  made->m_nBusinessNumber = 42;
  made->m_orders = {buy("o1", 300, 200, 0), buy("o2", 300, 0, 0), buy("o3", 100, 100, 1234)};
  update(made);
  EXPECT_DOUBLE_EQ(root.m_dTradedAmount, 200 * 10 + 1234);
  EXPECT_EQ(logged("[basket panel] fix task money by biz num 123-42"), 1);
}

TEST_F(CCountingTest, ConnectOrdersFindTheirHongKongRows) {
  DetailPtr made = detail();
  made->m_params = {param(mainAccount, "HK", "00700", EOT_Buy, 300, 10),
                    param(mainAccount, "HK", "00005", EOT_Sell, 300, 10),
                    param(mainAccount, "HGT", "00388", EOT_Buy, 300, 10)};
  made->m_orders = {
      order("o1", "HGT", "00700", EOT_Buy, 100, 100, 1000), order("o2", "SGT", "00700", EOT_Buy, 100, 50, 500),
      order("o3", "SGT", "00005", EOT_Sell, 100, 20, 200), order("o4", "HGT", "00388", EOT_Buy, 100, 30, 300)};
  update(made);
  EXPECT_EQ(row("HK.00700买入").m_nTradedVolume, 150);
  EXPECT_EQ(row("HK.00005卖出").m_nTradedVolume, 20);
  EXPECT_EQ(row("HGT.00388买入").m_nTradedVolume, 30) << "there is no row of Hong Kong's";
}

TEST_F(CCountingTest, DetailsThatShareARowLoseNoFills) {
  DetailPtr first = twoLines(1), second = twoLines(2);
  first->m_orders = {buy("o1", 500, 100, 1000)};
  second->m_orders = {buy("o2", 500, 30, 300)};
  update(first);
  update(second);
  const TC::CBasketTaskItem& shared = row("SH.600000买入");
  EXPECT_EQ(shared.m_nTotalVolume, 2000);
  EXPECT_EQ(shared.m_nTradedVolume, 130);
  EXPECT_DOUBLE_EQ(shared.m_dTotalAmount, 20000);

  DetailPtr later = next(first);
  later->m_orders = {buy("o1", 500, 400, 4000)};
  update(later);
  EXPECT_EQ(shared.m_nTradedVolume, 430);
  EXPECT_DOUBLE_EQ(shared.m_dCurAmount, 4300);
  EXPECT_EQ(shared.m_nOrderCount, 2);
}

TEST_F(CCountingTest, OrderOnARowOfAnotherDetailCountsOnce) {
  DetailPtr first = twoLines(1), other = detail(2);
  other->m_params = {param(mainAccount, "SZ", "300750", EOT_Buy, 100, 10)};
  other->m_orders = {buy("o2", 500, 30, 300)};
  update(other);
  EXPECT_EQ(root.m_nTradedVolume, 0) << "no row takes it yet";
  update(first);
  update(next(other));
  EXPECT_EQ(row("SH.600000买入").m_nTradedVolume, 30) << "the row is found once it exists";
  update(next(first));
  update(next(other));
  EXPECT_EQ(row("SH.600000买入").m_nTradedVolume, 30);
  EXPECT_DOUBLE_EQ(row("SH.600000买入").m_dTotalAmount, 10000);
}

TEST_F(CCountingTest, PatchFiguresStayAndAreAdded) {
  DetailPtr made = twoLines();
  made->m_orders = {buy("o1", 500, 100, 1000)};
  update(made);
  TC::CBasketTaskItem& patched = row("SH.600000买入");
  DetailPtr patch = patchDetail(124);
  patch->m_params = {param(mainAccount, "SH", "600000", EOT_Buy, 400, 10)};
  patch->m_orders = {buy("p1", 300, 40, 410), buy("p2", 100, 0, 0)};
  host.setOrderDetail("p1", false);
  task.updatePatch(patch);
  update(next(made));
  EXPECT_EQ(patched.m_nFinishedVolume, 140);
  EXPECT_DOUBLE_EQ(patched.m_dTradedAmount, 1410);
  EXPECT_EQ(patched.m_nOrderCount, 3);
  EXPECT_EQ(patched.m_nOrderCount2, 1);
  EXPECT_DOUBLE_EQ(patched.m_dTotalAmount, 10000) << "a local task's target is not estimated";
  EXPECT_EQ(root.m_nPatchVolume, 40);
  EXPECT_EQ(root.m_nTradedVolume, 100);
}

TEST_F(CCountingTest, RemarkOfAnOrderThatEndedUnfilled) {
  const auto rejected = [this](const std::string& key, const std::string& text) {
    OrderPtr made = buy(key, 300, 100, 1000);
    made->m_bCompleted = true;
    made->m_bHasMessage = true;
    made->m_strMessage = text;
    return made;
  };
  DetailPtr made = twoLines();
  OrderPtr open = rejected("o1", "open"), filled = rejected("o2", "filled"), silent = rejected("o3", "silent");
  open->m_bCompleted = false;
  filled->m_nTradedVolume = 300;
  silent->m_bHasMessage = false;
  made->m_orders = {open, filled, silent};
  made->m_strMessage = "message of the detail";
  update(made);
  EXPECT_EQ(row("SH.600000买入").m_strRemark, "");
  EXPECT_EQ(root.m_strRemark, "") << "only a server task's message is shown";

  DetailPtr later = next(made);
  later->m_orders.push_back(rejected("o4", "资金不足"));
  later->m_orders.push_back(rejected("o5", "超过涨停价"));
  update(later);
  EXPECT_EQ(row("SH.600000买入").m_strRemark, "超过涨停价") << "the last one stands";
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

TEST_F(CCountingTest, OrdersMayChangeTheirPlaces) {
  DetailPtr made = twoLines();
  made->m_orders = {buy("o1", 100, 10, 100), order("o2", "SZ", "000001", EOT_Sell, 100, 20, 200)};
  update(made);
  DetailPtr later = next(made);
  std::swap(later->m_orders[0], later->m_orders[1]);
  later->m_orders.push_back(buy("o3", 100, 1, 10));
  update(later);
  EXPECT_EQ(row("SH.600000买入").m_nTradedVolume, 11);
  EXPECT_EQ(row("SZ.000001卖出").m_nTradedVolume, 20);
  EXPECT_EQ(row("SH.600000买入").m_mapOrders.keys(), QList<std::string>({"o1", "o3"}));
}

TEST_F(CCountingTest, ServerTaskIsCountedByItsProgress) {
  DetailPtr made = twoLines();
  made->m_bServerTask = true;
  made->m_strMessage = "running";
  made->m_orders = {buy("o1", 100, 70, 700)};
  update(made);
  EXPECT_EQ(root.m_nTradedVolume, 0) << "no progress yet; its order list does not count";
  EXPECT_EQ(root.m_strRemark, "running");
  EXPECT_DOUBLE_EQ(row("SH.600000买入").m_dTotalAmount, 10000);

  TC::CTaskProgress progress;
  progress.m_orders = {progressOrder("X1001", "SH", "600000", 0), progressOrder("1002", "SH", "600000", 0),
                       progressOrder("1001", "SZ", "000001", 9), progressOrder("1001", "SZ", "999999", -1),
                       progressOrder("1001", "HGT", "00700", 0)};
  host.setProgress("123-1", progress);
  made = next(made);
  made->m_strMessage.clear();
  made->m_params.push_back(param(mainAccount, "SH", "600001", EOT_None, 100, 10));
  update(made);
  const TC::CBasketTaskItem& bought = row("SH.600000买入");
  EXPECT_EQ(bought.m_nTradedVolume, 100) << "the map key must hold the row's account";
  EXPECT_EQ(bought.m_nCurOrderCount2, 1);
  EXPECT_DOUBLE_EQ(bought.m_dTotalAmount, 1000 * 1100.0 / 100) << "estimated from what was traded";
  EXPECT_EQ(row("SZ.000001卖出").m_nTradedVolume, 100) << "without a valid index the instrument decides";
  EXPECT_EQ(root.m_nOrderCount, 2);
  EXPECT_EQ(root.m_strRemark, "running") << "an empty message changes nothing";
  EXPECT_EQ(bought.m_mapOrders.size(), 0);
}

TEST_F(CCountingTest, ProgressOrdersOfAParameterWithoutOperationAreSkipped) {
  DetailPtr made = twoLines();
  made->m_bServerTask = true;
  made->m_params.push_back(param(mainAccount, "SH", "600001", EOT_None, 100, 10));
  TC::CTaskProgress progress;
  progress.m_orders = {progressOrder("1001", "SH", "600001", 2)};
  host.setProgress("123-1", progress);
  update(made);
  EXPECT_EQ(row("SH.600001-1").m_nTradedVolume, 0);
}

TEST_F(CCountingTest, ServerTaskWithoutCommandCountsItsOrders) {
  DetailPtr made = twoLines();
  made->m_bServerTask = true;
  made->m_pCommand = nullptr;
  made->m_strMessage = "message";
  made->m_orders = {buy("o1", 100, 70, 700)};
  host.setProgress("123-1", TC::CTaskProgress());
  update(made);
  EXPECT_EQ(root.m_nTradedVolume, 70);
  EXPECT_EQ(root.m_strRemark, "");
}

TEST_F(CCountingTest, RemarkOfAlgorithmRowsOfServerTasks) {
  DetailPtr made = twoLines();
  made->m_params[0].m_nOrderType = EORT_Algo;
  made->m_strInstance = "TWAP-7";
  made->m_strMessage = "waiting";
  update(made);
  EXPECT_EQ(row("SH.600000买入").m_strRemark, "") << "a local task";
  made = next(made);
  made->m_bServerTask = true;
  update(made);
  EXPECT_EQ(row("SH.600000买入").m_strRemark, "TWAP-7");
  EXPECT_EQ(row("SZ.000001卖出").m_strRemark, "") << "a plain order type";
  made = next(made);
  made->m_strInstance.clear();
  update(made);
  EXPECT_EQ(row("SH.600000买入").m_strRemark, "waiting");
}

}  // namespace
