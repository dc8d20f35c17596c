/// The status of a task, of its details, its patches and its hedge; the finish that overrides; start and end.
#include "RootFacts.h"
#include "TaskFixture.h"
#include "tc/CBasketHedgeManager.h"

namespace {

using namespace TC;
using namespace ksservice;

SStatusFacts factsOf(const std::vector<int>& statuses) {
  SStatusFacts facts;
  for (std::size_t i = 0; i < statuses.size(); ++i) addDetailStatus(facts, statuses[i], i == 0);
  return facts;
}

int statusBy(const SStatusFacts& facts) { return deriveStatus(facts).status; }
int statusOf(const std::vector<int>& statuses) { return statusBy(factsOf(statuses)); }

TEST(RootFacts, StatusOfDetailsWithoutHedge) {
  EXPECT_EQ(statusOf({3, 11, 7}), ETS_Dropped);
  EXPECT_EQ(statusOf({7, 7}), ETS_Finished);
  EXPECT_EQ(statusOf({7, 8, 10}), ETS_Cancelled);
  EXPECT_EQ(statusOf({8, 9}), ETS_Running) << "9 is not counted as ended";
  EXPECT_EQ(statusOf({7, 4, 8}), ETS_Paused);
  EXPECT_EQ(statusOf({4, 8, 12}), ETS_Paused);
  EXPECT_EQ(statusOf({7, 3}), ETS_Running);
  EXPECT_EQ(statusOf({3, 7}), ETS_Running);
  EXPECT_EQ(statusOf({}), ETS_Running) << "no detail: neither finished nor ended";
}

TEST(RootFacts, StatusWithHedge) {
  SStatusFacts facts = factsOf({7, 7});
  facts.hedgeEnabled = true;
  EXPECT_EQ(statusBy(facts), ETS_Finished) << "enabled, but no hedge row yet";
  facts.hasHedgeRow = true;
  facts.hedgeRowStatus = ETS_Cancelled;
  EXPECT_EQ(statusBy(facts), ETS_Cancelled) << "all finished, the hedge row not";
  EXPECT_TRUE(deriveStatus(facts).ended);
  facts.hedgeRowStatus = ETS_Running;
  EXPECT_EQ(statusBy(facts), ETS_Running);
  EXPECT_TRUE(deriveStatus(facts).hedgeRowRuns);
  facts.hedgeState = EHS_Paused;
  EXPECT_EQ(statusBy(facts), ETS_Cancelled) << "the row counts only while the manager does nothing";
  facts.hedgeState = EHS_Running;
  EXPECT_EQ(statusBy(facts), ETS_Running);
  facts.hedgeRowFinished = true;
  EXPECT_EQ(statusBy(facts), ETS_Finished) << "before the manager's state is looked at";
  facts = factsOf({3});
  facts.hedgeState = EHS_Paused;
  EXPECT_EQ(statusBy(facts), ETS_Running) << "a paused hedge pauses only a task with hedge";
  facts.hedgeEnabled = true;
  EXPECT_EQ(statusBy(facts), ETS_Paused);
  facts.hedgeState = EHS_None;
  EXPECT_EQ(statusBy(facts), ETS_Running);
}

TEST(RootFacts, TheRootFollowsWhatStillTradesBeforeWhatHasEnded) {
  const struct {
    std::vector<int> own, patches;
    int status;
    const char* why;
  } CASES[] = {
      {{8}, {}, ETS_Cancelled, "no patches"},
      {{8}, {3}, ETS_Running, "a patch trades"},
      {{8}, {4}, ETS_Paused, "a patch is paused"},
      {{8}, {7}, ETS_Cancelled, "the patches have ended, and not everything is filled"},
      {{8}, {7, 11}, ETS_Dropped, "a patch was dropped"},
      {{8, 3}, {8}, ETS_Running, "a detail of its own trades"},
      {{11, 8}, {8}, ETS_Dropped, "dropped"},
      {{11, 8}, {3, 8}, ETS_Running, "dropped, but what still trades can be cancelled"},
  };
  for (const auto& one : CASES) {
    SCOPED_TRACE(one.why);
    SRootFacts facts;
    facts.own = factsOf(one.own);
    facts.patches = factsOf(one.patches);
    facts.hasPatches = !one.patches.empty();
    facts.patchTrades = facts.hasPatches && !facts.patches.allEnded && !facts.patches.anyDropped;
    EXPECT_EQ(rootVerdict(facts).status, one.status);
    facts.filled = true;
    EXPECT_EQ(rootVerdict(facts).status, ETS_Finished) << "everything is traded";
    EXPECT_EQ(rootVerdict(facts).ended, facts.own.allEnded) << "the end hands the hedge over all the same";
    facts.filled = false;
    facts.own.hedgeState = facts.patches.hedgeState = EHS_Running;
    EXPECT_EQ(rootVerdict(facts).status, one.status == ETS_Dropped ? ETS_Dropped : ETS_Running) << "the hedge trades";
  }
}

class CStatusTest : public CTaskTest {
 protected:
  CStatusTest() {
    host.change([](auto& session) { session.m_timeZone = QTimeZone("Asia/Shanghai"); });
  }
  /// Detail 1 in a status, with so much of its 1000 bought and of its 500 sold.
  DetailPtr inStatus(int status, int bought = 0, int sold = 0) const {
    DetailPtr made = twoLines();
    made->m_nStatus = status;
    made->m_orders = {buy("o1", 1000, bought, bought * 10), sell("o2", 500, sold)};
    return made;
  }

  static constexpr int OPEN = 1763688600;  ///< 09:30
};

TEST_F(CStatusTest, EverythingTradedIsFinishedWhateverElse) {
  DetailPtr made = inStatus(ETS_Dropped, 1000, 500);
  update(made);
  const auto updated = host.takeUpdatedDetails();
  ASSERT_EQ(updated.size(), 1u);
  EXPECT_NE(updated[0], made);
  EXPECT_EQ(updated[0]->m_nStatus, ETS_Finished);
  EXPECT_EQ(updated[0]->m_orders, made->m_orders);
  EXPECT_EQ(made->m_nStatus, ETS_Dropped) << "a delivered record is never changed";
  EXPECT_EQ(task.status(), ETS_Finished) << "the task keeps the corrected copy";
  update(inStatus(ETS_Finished, 1000, 500));
  EXPECT_TRUE(host.takeUpdatedDetails().empty()) << "nothing to correct";
  update(inStatus(ETS_Running, 999, 500));
  EXPECT_EQ(root.m_nStatus, ETS_Running);
}

TEST_F(CStatusTest, StartIsTheEarliestTimeOfDay) {
  const auto startAfter = [this](int seconds) {
    DetailPtr made = inStatus(ETS_Running);
    made->m_nStartTime = seconds;
    update(made);
    return root.m_startTime;
  };
  EXPECT_TRUE(startAfter(UNSET_INT).isNull());
  EXPECT_EQ(startAfter(OPEN), QTime(9, 30));
  EXPECT_EQ(startAfter(OPEN + 60), QTime(9, 30));
  EXPECT_EQ(startAfter(OPEN - 60), QTime(9, 29));
  EXPECT_EQ(startAfter(UNSET_INT), QTime(9, 29));
}

TEST_F(CStatusTest, TheEndIsTheLatestOfWhatHasEnded) {
  const auto deliver = [this](DetailPtr made, int status, int seconds) {
    made->m_nStatus = status;
    made->m_nEndTime = seconds;
    made->m_pCommand->m_bPatch ? task.updatePatch(made) : update(made);
    return root.m_endTime;
  };
  EXPECT_TRUE(deliver(twoLines(1), ETS_Running, OPEN + 600).isNull()) << "it trades";
  EXPECT_TRUE(deliver(twoLines(1), ETS_Cancelled, UNSET_INT).isNull()) << "nobody says when";
  EXPECT_EQ(deliver(twoLines(2), ETS_Cancelled, OPEN), QTime(9, 30));
  EXPECT_EQ(deliver(twoLines(3), ETS_ExecutionError, OPEN - 60), QTime(9, 30)) << "whichever came last";
  EXPECT_EQ(deliver(twoLines(4), ETS_Cancelled, UNSET_INT), QTime(9, 30)) << "one that does not say hides no other";
  DetailPtr patch = patchDetail(900);
  patch->m_params = twoLines()->m_params;
  EXPECT_TRUE(deliver(patch, ETS_Running, OPEN + 900).isNull());
  EXPECT_EQ(deliver(next(patch), ETS_Cancelled, OPEN + 60), QTime(9, 31));
}

TEST_F(CStatusTest, AHedgeThatHasFilledHoldsNothingUp) {
  host.setAccount(*futuresAccount);
  update(inStatus(ETS_Finished, 900, 500));
  task.setHedgeParam(hedgeParam(3), false);
  EXPECT_EQ(task.status(), ETS_Running) << "its row is open";
  DetailPtr hedged = detail(9);
  hedged->m_params = {param(futuresAccount, "CFFEX", "IF2612", EOT_SellOpen, 3, 0)};
  hedged->m_orders = {order("h1", "CFFEX", "IF2612", EOT_SellOpen, 3, 3, 1)};
  task.updateHedge(hedged);
  EXPECT_EQ(task.status(), ETS_Finished);
}

}  // namespace
