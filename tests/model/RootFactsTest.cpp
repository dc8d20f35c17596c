/// The status of a task, of its details, its patches and its hedge.
#include "RootFacts.h"

#include <gtest/gtest.h>

#include <vector>

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

  SStatusFacts running = factsOf({3});
  running.hedgeState = EHS_Paused;
  EXPECT_EQ(statusBy(running), ETS_Running) << "a paused hedge pauses only a task with hedge";
  running.hedgeEnabled = true;
  EXPECT_EQ(statusBy(running), ETS_Paused);
  running.hedgeState = EHS_None;
  EXPECT_EQ(statusBy(running), ETS_Running);
}

TEST(RootFacts, TheRootFollowsWhatStillTradesBeforeWhatHasEnded) {
  struct SCase {
    std::vector<int> own;
    std::vector<int> patches;
    int status;
    const char* why;
  };
  const SCase cases[] = {
      {{8}, {}, ETS_Cancelled, "no patches"},
      {{8}, {3}, ETS_Running, "a patch trades"},
      {{8}, {4}, ETS_Paused, "a patch is paused"},
      {{8}, {7}, ETS_Cancelled, "the patches have ended, and not everything is filled"},
      {{8}, {7, 11}, ETS_Dropped, "a patch was dropped"},
      {{8, 3}, {8}, ETS_Running, "a detail of its own trades"},
      {{11, 8}, {8}, ETS_Dropped, "dropped"},
      {{11, 8}, {3, 8}, ETS_Running, "dropped, but what still trades can be cancelled"},
  };
  for (const SCase& one : cases) {
    SRootFacts facts;
    facts.own = factsOf(one.own);
    facts.patches = factsOf(one.patches);
    facts.hasPatches = !one.patches.empty();
    facts.patchTrades = facts.hasPatches && !facts.patches.allEnded && !facts.patches.anyDropped;
    EXPECT_EQ(rootVerdict(facts).status, one.status) << one.why;
    facts.own.hedgeState = facts.patches.hedgeState = EHS_Running;
    if (one.patches == std::vector<int>{7}) {
      EXPECT_EQ(rootVerdict(facts).status, ETS_Running) << "the hedge trades";
    }
    facts.filled = true;
    EXPECT_EQ(rootVerdict(facts).status, ETS_Finished) << "everything is traded: " << one.why;
  }
  SRootFacts filled;
  filled.own = factsOf({8});
  filled.filled = true;
  EXPECT_TRUE(rootVerdict(filled).ended) << "the end of the details hands the hedge over all the same";
}

}  // namespace
