#include "RootFacts.h"
#include "TaskRules.h"

#include <gtest/gtest.h>

#include <vector>

#include "ksservice/Helpers.h"
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

TEST(TaskRules, TaskIdentifiersSortAsNumbers) {
  EXPECT_TRUE(basketTaskIdLessThan("9", "10"));
  EXPECT_FALSE(basketTaskIdLessThan("10", "9"));
  EXPECT_TRUE(basketTaskIdLessThan("10", "11"));
  EXPECT_FALSE(basketTaskIdLessThan("10", "10"));
}

TEST(TaskRules, ConnectMarketsBecomeHongKong) {
  const auto replaced = [](QString key) {
    replaceMarketToHK(key);
    return key;
  };
  EXPECT_EQ(replaced("HGT.00700买入"), "HK.00700买入");
  EXPECT_EQ(replaced("SGT.00700SGT"), "HK.00700HK");
  EXPECT_EQ(replaced("HGT.SGT"), "HK.SGT") << "one market at a time";
  EXPECT_EQ(replaced("hgt.1"), "hgt.1");
  EXPECT_EQ(replaced("SH.600000买入"), "SH.600000买入");
}

TEST(TaskRules, AccountsAreJoinedOnceEach) {
  EXPECT_EQ(joinAccount("", "1001"), "1001");
  EXPECT_EQ(joinAccount("1001", "1002"), "1001/1002");
  EXPECT_EQ(joinAccount("1001/1002", "1002"), "1001/1002");
  EXPECT_EQ(joinAccount("1001", "100"), "1001/100") << "a part counts only whole";
}

TEST(TaskRules, ZeroHasATolerance) {
  EXPECT_TRUE(isZero(0) && isZero(9e-6) && isZero(-9e-6));
  EXPECT_FALSE(isZero(1e-5) || isZero(-1e-5));
}

TEST(TaskRules, StatusOfDetailsWithoutHedge) {
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

TEST(TaskRules, StatusWithHedge) {
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

  SStatusFacts running = factsOf({3});
  running.hedgeState = EHS_Paused;
  EXPECT_EQ(statusBy(running), ETS_Running) << "a paused hedge pauses only a task with hedge";
  running.hedgeEnabled = true;
  EXPECT_EQ(statusBy(running), ETS_Paused);
  running.hedgeState = EHS_None;
  EXPECT_EQ(statusBy(running), ETS_Running);
}

}  // namespace
