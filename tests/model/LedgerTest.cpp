/// What each detail adds to a row, and what must hold however the details come.
#include <random>

#include "DetailCounter.h"
#include "TaskFixture.h"
#include "TaskTree.h"

namespace {

using namespace TC;
using namespace ksservice;

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
  void count(EBasketTaskType part, const DetailPtr& made, const DetailPtr& before = nullptr) {
    static const CDetailCounter::Orders none;
    counter.count(SDetailFacts(part, *made), before ? before->m_orders : none, {});
  }
  static DetailPtr withOrders(DetailPtr made, std::vector<OrderPtr> orders) {
    made->m_orders = std::move(orders);
    return made;
  }
  CBasketTaskItem& ledgerRow() { return *tree.stockRows("A1").value("SH.600000买入"); }

  const STaskIdentity id = {this, "组合任务123", 123, 77};
  CTaskTree tree{id};
  CRowLedger ledger;
  CDetailCounter counter{id, ledger, tree.stocks()};
  CBasketTaskItem* hedgeRow = nullptr;
};

TEST_F(CLedgerTest, AnOrderCountsAlikeWhosesoeverItIs) {
  const std::vector<OrderPtr> orders = {buy("o1", 300, 100, 1000), ended(buy("o2", 200, 50, 0))};
  count(EBTT_Own, withOrders(twoLines(1), orders));
  const CBasketTaskItem own = ledgerRow();
  EXPECT_EQ(own.m_nTradedVolume, 150);
  EXPECT_EQ(own.m_nCurOrderCount, 2);
  EXPECT_DOUBLE_EQ(own.m_dTradedAmount, 1500) << "a fill without an amount counts at its order's price";

  DetailPtr patch = withOrders(patchDetail(900), orders);
  patch->m_params = twoLines()->m_params;
  count(EBTT_Patch, patch);
  EXPECT_EQ(ledgerRow().m_nPatchVolume, 150);
  EXPECT_EQ(ledgerRow().m_nFinishedVolume, 300);
  EXPECT_DOUBLE_EQ(ledgerRow().m_dPatchAmount, 1000) << "of a patch it counts as it is";

  counter.countHedge({SDetailFacts(EBTT_Hedge, *patch)}, *hedgeRow);
  EXPECT_EQ(hedgeRow->m_nFinishedVolume, 150) << "whatever instrument it names";
  EXPECT_EQ(hedgeRow->m_nOrderCount, 2);
}

TEST_F(CLedgerTest, TheSameDetailsGiveTheSameFiguresInWhateverOrderTheyCame) {
  std::mt19937 random(7);
  std::vector<DetailPtr> details;
  for (int number = 1; number <= 8; ++number) {
    const DetailPtr made = number <= 4 ? twoLines(number) : patchDetail(900 + number);
    made->m_params = twoLines()->m_params;
    details.push_back(withOrders(made, {buy("o" + std::to_string(number), 100, 30, number % 3 == 0 ? 1e16 : 1)}));
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
    const CBasketTaskItem& row = ledgerRow();
    figures.insert(QString::asprintf("%a %a", row.m_dCurAmount, row.m_dPatchAmount).toStdString());
    EXPECT_EQ(row.m_nFinishedVolume, 240);
    EXPECT_EQ(row.m_mapOrders.size(), 8);
  }
  EXPECT_EQ(figures.size(), 1u) << "sums of doubles hang on their order";
}

TEST_F(CLedgerTest, FillsFollowRowsThatComeAndLinesThatMove) {
  const OrderPtr connect = order("h", "HGT", "00700", EOT_Buy, 100, 40, 400);
  const DetailPtr made = withOrders(twoLines(), {connect});
  count(EBTT_Own, made);
  EXPECT_TRUE(counter.takeAwaiting().empty()) << "no row is better yet";
  DetailPtr later = detail(2);
  later->m_params = {param(mainAccount, "HK", "00700", EOT_Buy, 200, 10)};
  place(*later);
  const std::set<CDetailCounter::Counted> awaiting = counter.takeAwaiting();
  ASSERT_EQ(awaiting, (std::set<CDetailCounter::Counted>{{EBTT_Own, made->getKey()}}));
  count(EBTT_Own, made, made);
  EXPECT_EQ(tree.stockRows("A1").value("HK.00700买入")->m_nTradedVolume, 40);

  // The detail's lines move to another account: what they gave here goes.
  const DetailPtr moved = next(made);
  for (CCodeOrderParam& line : moved->m_params) line.m_pAccount = secondAccount;
  count(EBTT_Own, moved, made);
  EXPECT_EQ(tree.stockRows("A1").value("HK.00700买入")->m_nTradedVolume, 0);
  EXPECT_TRUE(tree.stockRows("A1").value("HK.00700买入")->m_mapOrders.isEmpty());
}

}  // namespace
