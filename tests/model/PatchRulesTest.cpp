/// Remainders in values: lots, what an answer says, what a detail has taken, patches that have not shown up.
#include "PatchRules.h"

#include "PatchCreations.h"
#include "TaskFixture.h"
#include "TaskKeys.h"

namespace {

using namespace TC;
using namespace ksservice;

TEST(PatchRules, OnlyBuysOnTheFourMarketsTradeInLots) {
  for (const char* market : {"SH", "SZ", "SSE", "SZSE"}) EXPECT_TRUE(tradesInLots(EOT_Buy, market)) << market;
  for (const char* market : {"HK", "HGT", "CFFEX", "sh", "SHX", ""}) EXPECT_FALSE(tradesInLots(EOT_Buy, market));
  for (const int buy : {EOT_BuyOpen, EOT_BuyClose, EOT_Purchase, EOT_CollateralBuy}) {
    EXPECT_TRUE(tradesInLots(buy, "SH")) << buy;
  }
  for (const int other : {EOT_Sell, EOT_SellOpen, EOT_Redeem, EOT_CollateralIn, EOT_None}) {
    EXPECT_FALSE(tradesInLots(other, "SH")) << other;
  }
}

TEST(PatchRules, RemaindersAreRoundedDownToLots) {
  EXPECT_EQ(roundToLots(1250, 100, false), 1200);
  EXPECT_EQ(roundToLots(99, 100, false), 0);
  EXPECT_EQ(roundToLots(-150, 100, false), -100) << "towards zero";
  EXPECT_EQ(roundToLots(1250, 1, false), 1250);
  EXPECT_EQ(roundToLots(50, 100, true), 0);
  EXPECT_EQ(roundToLots(100, 100, true), 100);
  EXPECT_EQ(roundToLots(150, 100, true), 150);
  EXPECT_EQ(roundToLots(1250, 0, false), std::nullopt);
  EXPECT_EQ(roundToLots(1250, -100, false), std::nullopt);
}

TEST(PatchRules, AnswerCountsByInstrumentThroughEveryConnectMarket) {
  const std::map<std::string, int> numbers = {
      {"SH.600000", 300}, {"SH.6000001", 7}, {"HGT.00700", 20}, {"SGT.00700", 5}, {"SZ.000001", -50}};
  EXPECT_EQ(finishedNumber(numbers, "SH.600000"), 300);
  EXPECT_EQ(finishedNumber(numbers, "HK.00700"), 25);
  EXPECT_EQ(finishedNumber(numbers, "HGT.00700"), 25);
  EXPECT_EQ(finishedNumber(numbers, "SZ.000001"), 0) << "a number below 0 frees nothing";
  EXPECT_EQ(finishedNumber(numbers, "SZ.600000"), 0);
}

class CPatchRulesTest : public CTaskTest {
 protected:
  static std::string textOf(const LineVolumes& volumes) {
    std::string text;
    for (const auto& [line, volume] : volumes) {
      text += line.first + "/" + line.second.toStdString() + "=" + std::to_string(volume) + " ";
    }
    return text;
  }
};

TEST_F(CPatchRulesTest, OpenOrdersCountWholeAndEndedOnesWhatTheyTraded) {
  DetailPtr made = twoLines();
  made->m_orders = {ended(buy("o1", 300, 120, 0)), buy("o2", 200, 50, 0), nullptr, ended(buy("o3", 100, 0, 0))};
  EXPECT_EQ(textOf(takenVolumes({*made})), "A1/SH.600000买入=320 ");
  SPatchSource running{*made};
  running.maySend = true;
  EXPECT_EQ(textOf(takenVolumes(running)), "A1/SH.600000买入=1000 A1/SZ.000001卖出=500 ");
  made->m_orders.push_back(ended(buy("o4", 900, 900, 0)));
  EXPECT_EQ(textOf(takenVolumes(running)), "A1/SH.600000买入=1220 A1/SZ.000001卖出=500 ") << "more than was planned";
}

TEST_F(CPatchRulesTest, OfAServerTaskTheHighestFigureCounts) {
  DetailPtr made = twoLines();
  made->m_bServerTask = true;
  SPatchSource source{*made};
  EXPECT_EQ(textOf(takenVolumes(source)), "A1/SH.600000买入=1000 A1/SZ.000001卖出=500 ") << "nothing is known";

  std::map<std::string, int> answer = {{"SH.600000", 300}};
  source.answer = &answer;
  EXPECT_EQ(textOf(takenVolumes(source)), "A1/SH.600000买入=300 A1/SZ.000001卖出=0 ");

  const auto progress = boost::make_shared<CTaskProgress>();
  CProgressOrder order;
  order.m_detail.m_strMarket = "SH";
  order.m_detail.m_strCode = "600000";
  order.m_detail.m_nTradedVolume = 280;
  progress->m_orders = {order};
  source.progress = progress;
  EXPECT_EQ(textOf(takenVolumes(source)), "A1/SH.600000买入=300 A1/SZ.000001卖出=0 ");
  order.m_detail.m_nTradedVolume = 40;
  progress->m_orders.push_back(order);
  EXPECT_EQ(textOf(takenVolumes(source)), "A1/SH.600000买入=320 A1/SZ.000001卖出=0 ") << "the answer came too early";
  source.maySend = true;
  EXPECT_EQ(textOf(takenVolumes(source)), "A1/SH.600000买入=1000 A1/SZ.000001卖出=500 ");

  source.maySend = false;
  made->m_params = {param(mainAccount, "SH", "600000", EOT_Buy, 2000000000, 10),
                    param(mainAccount, "SH", "600000", EOT_Buy, 1500000000, 10)};
  answer = {{"SH.600000", 2147483646}};
  EXPECT_EQ(textOf(takenVolumes(source)), "A1/SH.600000买入=2147483646 ");
  answer = {{"SH.600000", 2147483647}};
  EXPECT_EQ(textOf(takenVolumes(source)), "A1/SH.600000买入=3500000000 ") << "as much as it can say, or more";
}

TEST_F(CPatchRulesTest, LinesAreThoseOfTheFirstAccountOrEachOfItsOwn) {
  DetailPtr made = detail();
  made->m_params = {param(mainAccount, "SH", "600000", EOT_Buy, 100, 10),
                    param(secondAccount, "SH", "600000", EOT_Buy, 40, 10),
                    param(secondAccount, "HGT", "00700", EOT_Buy, -5, 10)};
  EXPECT_EQ(textOf(plannedVolumes(made->m_params, ELineAccount::First)), "A1/HK.00700买入=0 A1/SH.600000买入=140 ");
  EXPECT_EQ(textOf(plannedVolumes(made->m_params, ELineAccount::Each)),
            "A1/SH.600000买入=100 A2/HK.00700买入=0 A2/SH.600000买入=40 ");
  made->m_orders = {ended(buy("o1", 60, 60, 0))};
  EXPECT_EQ(textOf(takenVolumes({*made})), "A1/SH.600000买入=60 A2/SH.600000买入=60 ") << "either account may have it";
  SPatchSource own{*made};
  own.account = ELineAccount::First;
  EXPECT_EQ(textOf(takenVolumes(own)), "A1/SH.600000买入=60 ");
}

/// Creations of basket 123, told in one line each.
class CPatchCreationsTest : public testing::Test {
 protected:
  static constexpr int REPLIED_NONE = CPatchCreations::NO_TASK;

  static LineVolumes lines(long long one, long long two = 0) { return {{{"A1", "x"}, one}, {{"A1", "y"}, two}}; }
  void arrive(const std::string& key, int task, long long one, long long two = 0) {
    creations.arrived(key, task, lines(one, two));
  }
  /// "x=100 y=50, waits": what is held, and whether it is waited for.
  std::string state() const {
    std::string text;
    for (const auto& [line, volume] : creations.held()) {
      text += line.second.toStdString() + "=" + std::to_string(volume) + " ";
    }
    return text + (creations.isWaiting() ? "waits" : "");
  }

  CPatchCreations creations{123};
};

TEST_F(CPatchCreationsTest, EachLineIsHeldUntilDetailsOfTheNamedTaskAreToTradeIt) {
  arrive("190-1", 190, 30);
  creations.add(1, lines(1000, 500), 0);
  creations.answered(1, 201);
  EXPECT_EQ(state(), "x=1000 y=500 waits");
  arrive("190-2", 190, 1000);
  EXPECT_EQ(state(), "x=1000 y=500 waits") << "another's patch";
  arrive("201-1", 201, 600);
  EXPECT_EQ(state(), "x=400 y=500 ");
  arrive("201-1", 201, 600);
  EXPECT_EQ(state(), "x=400 y=500 ") << "once for each detail";
  arrive("201-2", 201, 700);
  EXPECT_EQ(state(), "y=500 ") << "never more than is left";
  arrive("201-3", 201, 0, 500);
  EXPECT_EQ(state(), "");
  EXPECT_EQ(creations.failed(1), lines(1000, 500));
  EXPECT_TRUE(creations.failed(1).empty());
}

TEST_F(CPatchCreationsTest, WithoutAnAnswerATaskIsTakenForTheOldestThatItCanBe) {
  arrive("190-1", 190, 10);
  creations.add(1, lines(100), 0);
  creations.add(2, lines(100, 50), 0);
  arrive("190-2", 190, 100);
  EXPECT_EQ(state(), "x=200 y=50 waits") << "it was there before";
  arrive("201-1", 201, 0, 50);
  EXPECT_EQ(state(), "x=200 y=50 waits") << "of the second one, which frees nothing yet";
  arrive("202-1", 202, 101);
  EXPECT_EQ(state(), "x=200 y=50 waits") << "more than any ordered";
  arrive("203-1", 203, 100);
  EXPECT_EQ(state(), "x=100 y=50 ") << "just what the first one ordered";
  arrive("201-2", 201, 100);
  EXPECT_EQ(state(), "") << "all that the second one ordered, in two pieces";
  creations.answered(2, 204);
  EXPECT_EQ(state(), "x=100 y=50 waits") << "that was somebody else's";
  creations.answered(1, 201);
  EXPECT_EQ(state(), "x=100 y=50 waits") << "but it was the first one's";
  arrive("204-1", 204, 40);
  EXPECT_EQ(state(), "x=60 y=50 ");
  creations.failed(2);
  EXPECT_EQ(state(), "");
}

TEST_F(CPatchCreationsTest, ATaskThatIsToTradeJustWhatWasOrderedIsThatOrders) {
  creations.add(1, lines(100, 50), 0);
  creations.add(2, lines(100), 0);
  arrive("201-1", 201, 100);
  EXPECT_EQ(state(), "x=100 y=50 waits") << "the second one's, though it could be a part of the first";
}

TEST_F(CPatchCreationsTest, ATaskThatTurnsOutToTradeMoreIsNotTakenForIt) {
  creations.add(1, lines(100), 0);
  creations.answered(1, REPLIED_NONE);
  arrive("201-1", 201, 60);
  EXPECT_EQ(state(), "x=100 ");
  arrive("201-2", 201, 60);
  EXPECT_EQ(state(), "x=100 waits");
  // Details of patches may bear the basket's number; those that were there before are not meant.
  creations.failed(1);
  arrive("p1", 123, 100);
  creations.add(2, lines(70), 0);
  EXPECT_EQ(state(), "x=70 waits");
  arrive("p2", 123, 70);
  EXPECT_EQ(state(), "");
}

TEST_F(CPatchCreationsTest, ADropShowsOnlyWhileThePatchIsWaitedFor) {
  creations.add(1, lines(100), 5000);
  creations.setDropped(true);
  EXPECT_TRUE(creations.isDropped());
  EXPECT_TRUE(creations.endWait(15000, 10000));
  EXPECT_FALSE(creations.isDropped());
}

TEST_F(CPatchCreationsTest, WhatWasAskedForBeforeADetailIsOwedToItOnce) {
  creations.add(1, lines(1000), 0);
  creations.operate(ETO_Pause);
  arrive("201-1", 201, 600);
  EXPECT_EQ(creations.owed("201-1"), ETO_Pause) << "taken for its own";
  creations.sent("201-1", ETO_Pause);
  EXPECT_EQ(creations.owed("201-1"), 0);
  creations.operate(ETO_Resume);
  creations.operate(ETO_Pause);
  EXPECT_EQ(creations.owed("201-1"), ETO_Pause) << "paused anew";
  creations.operate(ETO_Drop);
  creations.operate(ETO_Cancel);
  EXPECT_EQ(creations.owed("201-1"), ETO_Drop) << "giving up outweighs the rest";
  creations.sent("201-1", ETO_Drop);
  EXPECT_EQ(creations.owed("201-1"), 0);
  arrive("205-1", 205, 5000);
  EXPECT_EQ(creations.owed("205-1"), 0) << "somebody else's";
  creations.answered(1, 205);
  EXPECT_EQ(creations.owed("205-1"), ETO_Drop) << "it was ours after all";
  creations.add(2, lines(10), 0);
  creations.answered(2, 206);
  arrive("206-1", 206, 10);
  EXPECT_EQ(creations.owed("206-1"), 0) << "accepted later";
}

}  // namespace
