/// Status, times, the finish that overrides, and the hedge's parameters.
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

  static CBasketHedgeParam hedge(bool enabled = true, bool handedOver = false) {
    CBasketHedgeParam made;
    made.m_bEnabled = enabled;
    made.m_bHandedOver = handedOver;
    made.m_strCode = "IF2612";
    return made;
  }
};

TEST_F(CStatusTest, RootFollowsTheDetailsAndTheHedgeManager) {
  EXPECT_EQ(task.status(), ETS_Running) << "a task without details has not ended";
  update(inStatus(ETS_Paused));
  EXPECT_EQ(root.m_nStatus, ETS_Paused);
  update(inStatus(ETS_ExecutionError));
  EXPECT_EQ(root.m_nStatus, ETS_Cancelled);
  host.setHedgeState(123, TC::EHS_Running);
  update(inStatus(ETS_ExecutionError));
  EXPECT_EQ(root.m_nStatus, ETS_Running);
  update(inStatus(ETS_Dropped));
  EXPECT_EQ(root.m_nStatus, ETS_Dropped);
}

TEST_F(CStatusTest, EverythingTradedIsFinishedWhateverElse) {
  QSignalSpy statuses(&task, &TC::CBasketTask::sigTaskStatus);
  DetailPtr made = inStatus(ETS_Dropped, 1000, 500);
  update(made);
  EXPECT_EQ(root.m_nStatus, ETS_Finished);
  EXPECT_EQ(statuses.last().at(1).toInt(), ETS_Finished);

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
  host.setTimeZone(QTimeZone("Asia/Shanghai"));
  EXPECT_TRUE(startAfter(UNSET_INT).isNull());
  EXPECT_EQ(startAfter(1763688600), QTime(9, 30));
  EXPECT_EQ(startAfter(1763688600 + 60), QTime(9, 30));
  EXPECT_EQ(startAfter(1763688600 - 60), QTime(9, 29));
  EXPECT_EQ(startAfter(UNSET_INT), QTime(9, 29));
}

TEST_F(CStatusTest, EndIsTheLatestAndGoesWhenTheTaskRunsAgain) {
  const auto endAfter = [this](int status, int seconds) {
    DetailPtr made = inStatus(status);
    made->m_nEndTime = seconds;
    update(made);
    return root.m_endTime;
  };
  constexpr int NINE = 9 * 3600;
  EXPECT_TRUE(endAfter(ETS_Running, NINE).isNull());
  EXPECT_TRUE(endAfter(ETS_Cancelled, UNSET_INT).isNull());
  EXPECT_EQ(endAfter(ETS_Cancelled, NINE), QTime(9, 0));
  EXPECT_EQ(endAfter(ETS_Dropped, NINE + 60), QTime(9, 1));
  EXPECT_EQ(endAfter(ETS_Dropped, NINE), QTime(9, 0)) << "as the details are now";
  EXPECT_TRUE(endAfter(ETS_KeepsNoEndTime, NINE).isNull());
  EXPECT_EQ(endAfter(ETS_Finished, NINE + 60), QTime(9, 1));
  EXPECT_TRUE(endAfter(ETS_Paused, NINE).isNull());
}

TEST_F(CStatusTest, HedgeParametersAreHandedOverOnceWhenTheDetailsEnd) {
  task.setHedgeParam(hedge(), false);
  ASSERT_EQ(host.takeHedgeParams().size(), 1u) << "set by hand";
  update(inStatus(ETS_Running));
  EXPECT_TRUE(host.takeHedgeParams().empty());
  update(inStatus(ETS_Cancelled));
  const auto handed = host.takeHedgeParams();
  ASSERT_EQ(handed.size(), 1u);
  EXPECT_EQ(handed[0].group, 123);
  EXPECT_EQ(handed[0].command, 77);
  EXPECT_EQ(handed[0].param.m_strCode, "IF2612");
  EXPECT_TRUE(handed[0].param.m_bHandedOver);
  update(inStatus(ETS_Cancelled));
  EXPECT_TRUE(host.takeHedgeParams().empty());

  task.setHedgeParam(hedge(), false);
  host.takeHedgeParams();
  update(inStatus(ETS_ExecutionError));
  EXPECT_TRUE(host.takeHedgeParams().empty()) << "a new set of parameters does not forget it";
}

TEST_F(CStatusTest, HedgeIsHandedOverOnlyWhenEnabledAndStartedOnlyWhenAsked) {
  task.setHedgeParam(hedge(false), false);
  host.takeHedgeParams();
  update(inStatus(ETS_Cancelled));
  EXPECT_TRUE(host.takeHedgeParams().empty());
  EXPECT_TRUE(host.takeStartedHedges().empty());
  task.setHedgeParam(hedge(true, true), true);
  EXPECT_EQ(host.takeStartedHedges(), std::vector<int>{123});
  host.takeHedgeParams();
  update(inStatus(ETS_Cancelled));
  EXPECT_TRUE(host.takeHedgeParams().empty()) << "handed over already, says the record";
}

TEST_F(CStatusTest, PausedHedgePausesATaskWithHedge) {
  task.setHedgeParam(hedge(), false);
  host.setHedgeState(123, TC::EHS_Paused);
  update(inStatus(ETS_Running));
  EXPECT_EQ(root.m_nStatus, ETS_Paused);
}

}  // namespace
