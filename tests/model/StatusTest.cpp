/// The finish that overrides, the status of a hedge that has filled, start and end.
#include "TaskFixture.h"

namespace {

using namespace ksservice;

class CStatusTest : public CTaskTest {
 protected:
  /// Detail 1 in a status, with so much of its 1000 bought and of its 500 sold.
  DetailPtr inStatus(int status, int bought = 0, int sold = 0) const {
    DetailPtr made = twoLines();
    made->m_nStatus = status;
    made->m_orders = {buy("o1", 1000, bought, bought * 10),
                      order("o2", "SZ", "000001", EOT_Sell, 500, sold, sold * 10)};
    return made;
  }
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
  host.change([](auto& session) { session.m_timeZone = QTimeZone("Asia/Shanghai"); });
  EXPECT_TRUE(startAfter(UNSET_INT).isNull());
  EXPECT_EQ(startAfter(1763688600), QTime(9, 30));
  EXPECT_EQ(startAfter(1763688600 + 60), QTime(9, 30));
  EXPECT_EQ(startAfter(1763688600 - 60), QTime(9, 29));
  EXPECT_EQ(startAfter(UNSET_INT), QTime(9, 29));
}

TEST_F(CStatusTest, TheEndIsTheLatestOfWhatHasEnded) {
  host.change([](auto& session) { session.m_timeZone = QTimeZone("Asia/Shanghai"); });
  const auto deliver = [this](DetailPtr made, int status, int seconds) {
    made->m_nStatus = status;
    made->m_nEndTime = seconds;
    made->m_pCommand->m_bPatch ? task.updatePatch(made) : update(made);
    return root.m_endTime;
  };
  const int open = 1763688600;  // 09:30
  EXPECT_TRUE(deliver(twoLines(1), ETS_Running, open + 600).isNull()) << "it trades";
  EXPECT_TRUE(deliver(twoLines(1), ETS_Cancelled, UNSET_INT).isNull()) << "nobody says when";
  EXPECT_EQ(deliver(twoLines(2), ETS_Cancelled, open), QTime(9, 30));
  EXPECT_EQ(deliver(twoLines(3), ETS_ExecutionError, open - 60), QTime(9, 30)) << "whichever came last";
  EXPECT_EQ(deliver(twoLines(4), ETS_Cancelled, UNSET_INT), QTime(9, 30)) << "one that does not say hides no other";
  DetailPtr patch = patchDetail(900);
  patch->m_params = twoLines()->m_params;
  EXPECT_TRUE(deliver(patch, ETS_Running, open + 900).isNull());
  EXPECT_EQ(deliver(next(patch), ETS_Cancelled, open + 60), QTime(9, 31));
}

TEST_F(CStatusTest, AHedgeThatHasFilledHoldsNothingUp) {
  DetailPtr hedged = detail(9);
  hedged->m_params = {param(futuresAccount, "CFFEX", "IF2612", EOT_SellOpen, 3, 0)};
  host.setAccount(*futuresAccount);
  update(inStatus(ETS_Finished, 900, 500));
  task.setHedgeParam(hedgeParam(3), false);
  EXPECT_EQ(task.status(), ETS_Running) << "its row is open";
  hedged->m_orders = {order("h1", "CFFEX", "IF2612", EOT_SellOpen, 3, 3, 1)};
  task.updateHedge(hedged);
  EXPECT_EQ(task.status(), ETS_Finished);
}

}  // namespace
