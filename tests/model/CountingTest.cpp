/// What parameters, orders and progress add to rows, and what must hold however the details come.
#include <random>

#include "DetailCounter.h"
#include "TaskFixture.h"
#include "TaskTree.h"
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

class CLedgerTest : public CTaskTest {
 protected:
  CLedgerTest() {
    place(*twoLines());
    DetailPtr hedged = detail(9);
    hedged->m_params = {param(mainAccount, "CF", "IF2101", EOT_SellOpen, 5, 0)};
    hedgeRow = &tree.placeHedge(*hedged, false);
    ledger.addRow(*hedgeRow, true);
  }

  void place(const CTaskDetail& made) {
    for (CBasketTaskItem* row : tree.place(made)) {
      ledger.addRow(*row, false);
      counter.onNewRow(*row, accountOf(made).key);
    }
  }
  void count(EBasketTaskType part, const DetailPtr& made, const DetailPtr& before = detail()) {
    counter.count(SDetailFacts(part, *made), before->m_orders, {});
  }
  /// With the lines of both rows.
  DetailPtr withOrders(DetailPtr made, std::vector<OrderPtr> orders) const {
    made->m_params = twoLines()->m_params;
    made->m_orders = std::move(orders);
    return made;
  }
  CBasketTaskItem& rowOf(const QString& key = "SH.600000买入") { return *tree.stockRows("A1").value(key); }

  const STaskIdentity id = {this, "组合任务123", 123, 77};
  CTaskTree tree{id};
  CRowLedger ledger;
  CDetailCounter counter{id, ledger, tree.stocks()};
  CBasketTaskItem* hedgeRow = nullptr;
};

TEST_F(CLedgerTest, AnOrderCountsAlikeWhosesoeverItIs) {
  const std::vector<OrderPtr> orders = {buy("o1", 300, 100, 1000), ended(buy("o2", 200, 50, 0))};
  count(EBTT_Own, withOrders(detail(), orders));
  EXPECT_EQ(rowOf().m_nTradedVolume, 150);
  EXPECT_EQ(rowOf().m_nCurOrderCount, 2);
  EXPECT_DOUBLE_EQ(rowOf().m_dTradedAmount, 1500) << "a fill without an amount counts at its order's price";
  const DetailPtr patch = withOrders(patchDetail(900), orders);
  count(EBTT_Patch, patch);
  EXPECT_EQ(rowOf().m_nPatchVolume, 150);
  EXPECT_EQ(rowOf().m_nFinishedVolume, 300);
  EXPECT_DOUBLE_EQ(rowOf().m_dPatchAmount, 1000) << "of a patch it counts as it is";
  counter.countHedge({SDetailFacts(EBTT_Hedge, *patch)}, *hedgeRow);
  EXPECT_EQ(hedgeRow->m_nFinishedVolume, 150) << "whatever instrument it names";
  EXPECT_EQ(hedgeRow->m_nOrderCount, 2);
}

TEST_F(CLedgerTest, TheSameDetailsGiveTheSameFiguresInWhateverOrderTheyCame) {
  std::mt19937 random(7);
  std::vector<DetailPtr> details;
  for (int number = 1; number <= 8; ++number) {
    details.push_back(withOrders(number <= 4 ? detail(number) : patchDetail(900 + number),
                                 {buy("o" + std::to_string(number), 100, 30, number % 3 == 0 ? 1e16 : 1)}));
  }
  std::set<std::string> figures;
  for (int round = 0; round < 20; ++round) {
    std::shuffle(details.begin(), details.end(), random);
    CRowLedger fresh;
    CDetailCounter alone{id, fresh, tree.stocks()};
    for (CBasketTaskItem* row : tree.stockRows("A1")) fresh.addRow(*row, false);
    for (const DetailPtr& made : details) {
      alone.count(SDetailFacts(made->m_pCommand->m_bPatch ? EBTT_Patch : EBTT_Own, *made), {}, {});
    }
    figures.insert(QString::asprintf("%a %a", rowOf().m_dCurAmount, rowOf().m_dPatchAmount).toStdString());
    EXPECT_EQ(rowOf().m_nFinishedVolume, 240);
    EXPECT_EQ(rowOf().m_mapOrders.size(), 8);
  }
  EXPECT_EQ(figures.size(), 1u) << "sums of doubles hang on their order";
}

TEST_F(CLedgerTest, FillsFollowRowsThatComeAndLinesThatMove) {
  const DetailPtr made = withOrders(detail(), {order("h", "HGT", "00700", EOT_Buy, 100, 40, 400)});
  count(EBTT_Own, made);
  EXPECT_TRUE(counter.takeAwaiting().empty()) << "no row is better yet";
  DetailPtr later = detail(2);
  later->m_params = {param(mainAccount, "HK", "00700", EOT_Buy, 200, 10)};
  place(*later);
  ASSERT_EQ(counter.takeAwaiting(), (std::set<CDetailCounter::Counted>{{EBTT_Own, made->getKey()}}));
  count(EBTT_Own, made, made);
  EXPECT_EQ(rowOf("HK.00700买入").m_nTradedVolume, 40);
  // The detail's lines move to another account: what they gave here goes.
  const DetailPtr moved = next(made);
  for (CCodeOrderParam& line : moved->m_params) line.m_pAccount = secondAccount;
  count(EBTT_Own, moved, made);
  EXPECT_EQ(rowOf("HK.00700买入").m_nTradedVolume, 0);
  EXPECT_TRUE(rowOf("HK.00700买入").m_mapOrders.isEmpty());
}

}  // namespace
