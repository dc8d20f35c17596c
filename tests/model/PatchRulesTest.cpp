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
  static OrderPtr ended(OrderPtr made) {
    made->m_bCompleted = true;
    return made;
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

TEST(PatchCreations, WaitEndsWithTheFirstDetailOfTheTaskAndEachLineWithItsOwn) {
  const PatchLine one{"A1", "x"}, two{"A1", "y"};
  CPatchCreations creations;
  const int creation = creations.add({{one, 100}, {two, 50}});
  EXPECT_TRUE(creations.isPending());
  creations.answered(creation, 124);
  creations.arrived(125, true, false, {{one, 100}});
  EXPECT_TRUE(creations.isPending()) << "another's task";
  creations.arrived(124, true, false, {{one, 100}});
  EXPECT_FALSE(creations.isPending());
  EXPECT_EQ(creations.outstanding(), (LineVolumes{{two, 50}}));
  creations.arrived(124, true, false, {{two, 50}});
  EXPECT_TRUE(creations.outstanding().empty());
}

TEST(PatchCreations, ATaskThatComesBeforeItsAnswerIsTakenForTheCreationThatOrdersItsLines) {
  const PatchLine one{"A1", "x"}, two{"A1", "y"};
  CPatchCreations creations;
  const int first = creations.add({{one, 100}}), second = creations.add({{two, 50}});
  creations.arrived(124, true, false, {{two, 50}});
  EXPECT_EQ(creations.outstanding(), (LineVolumes{{one, 100}}));
  creations.answered(second, 125);
  EXPECT_EQ(creations.outstanding(), (LineVolumes{{one, 100}, {two, 50}})) << "124 was somebody else's";
  creations.arrived(125, false, false, {{two, 50}});
  EXPECT_EQ(creations.outstanding(), (LineVolumes{{one, 100}}));
  EXPECT_EQ(creations.failed(first), (LineVolumes{{one, 100}}));
  EXPECT_TRUE(creations.failed(first).empty());
  EXPECT_FALSE(creations.isPending());
}

TEST(PatchCreations, LinesThatNeverShowUpAreFreedWhenTheTaskHasEnded) {
  const PatchLine one{"A1", "x"}, two{"A1", "y"};
  CPatchCreations creations;
  creations.answered(creations.add({{one, 100}, {two, 50}}), 124);
  creations.arrived(124, true, true, {{one, 100}});
  EXPECT_TRUE(creations.outstanding().empty());

  creations.answered(creations.add({{one, 30}}), 126);
  creations.arrived(CPatchCreations::NO_TASK, true, false, {{one, 30}});
  EXPECT_FALSE(creations.isPending()) << "its details bear no number of their own";
  EXPECT_TRUE(creations.outstanding().empty());
}

}  // namespace
