/// Patches in values: lots, what an answer says, what a detail has taken, what is left of a line and why a row is not
/// offered, patches that have not shown up, the steps of a patch.
#include "PatchRules.h"

#include "PatchCreations.h"
#include "PatchState.h"
#include "Remainder.h"
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
  for (const int unit : {0, -100}) EXPECT_EQ(roundToLots(1250, unit, false), std::nullopt);
}

TEST(PatchRules, AnswerCountsByInstrumentThroughEveryConnectMarket) {
  const std::map<std::string, int> numbers = {
      {"SH.600000", 300}, {"SH.6000001", 7}, {"HGT.00700", 20}, {"SGT.00700", 5}, {"SZ.000001", -50}};
  EXPECT_EQ(finishedNumber(numbers, "SH.600000"), 300);
  for (const char* market : {"HK", "HGT"}) EXPECT_EQ(finishedNumber(numbers, market + std::string(".00700")), 25);
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
  static std::string taken(const SPatchSource& source) { return textOf(takenVolumes(source)); }
};

TEST_F(CPatchRulesTest, OpenOrdersCountWholeAndEndedOnesWhatTheyTraded) {
  DetailPtr made = twoLines();
  made->m_orders = {ended(buy("o1", 300, 120, 0)), buy("o2", 200, 50, 0), nullptr, ended(buy("o3", 100, 0, 0))};
  EXPECT_EQ(taken({*made}), "A1/SH.600000买入=320 ");
  SPatchSource running{*made};
  running.maySend = true;
  EXPECT_EQ(taken(running), "A1/SH.600000买入=1000 A1/SZ.000001卖出=500 ");
  made->m_orders.push_back(ended(buy("o4", 900, 900, 0)));
  EXPECT_EQ(taken(running), "A1/SH.600000买入=1220 A1/SZ.000001卖出=500 ") << "more than was planned";
}

TEST_F(CPatchRulesTest, OfAServerTaskTheHighestFigureCounts) {
  DetailPtr made = twoLines();
  made->m_bServerTask = true;
  SPatchSource source{*made};
  EXPECT_EQ(taken(source), "A1/SH.600000买入=1000 A1/SZ.000001卖出=500 ") << "nothing is known";
  std::map<std::string, int> answer = {{"SH.600000", 300}};
  source.answer = &answer;
  EXPECT_EQ(taken(source), "A1/SH.600000买入=300 A1/SZ.000001卖出=0 ");
  const auto progress = boost::make_shared<CTaskProgress>();
  source.progress = progress;
  for (const int traded : {280, 40}) {
    COrderDetail& order = progress->m_orders.emplace_back().m_detail;
    order.m_strMarket = "SH";
    order.m_strCode = "600000";
    order.m_nTradedVolume = traded;
    EXPECT_EQ(taken(source),
              traded == 280 ? "A1/SH.600000买入=300 A1/SZ.000001卖出=0 " : "A1/SH.600000买入=320 A1/SZ.000001卖出=0 ")
        << "the answer came too early";
  }
  source.maySend = true;
  EXPECT_EQ(taken(source), "A1/SH.600000买入=1000 A1/SZ.000001卖出=500 ");
  source.maySend = false;
  made->m_params = {param(mainAccount, "SH", "600000", EOT_Buy, 2000000000, 10),
                    param(mainAccount, "SH", "600000", EOT_Buy, 1500000000, 10)};
  answer = {{"SH.600000", 2147483646}};
  EXPECT_EQ(taken(source), "A1/SH.600000买入=2147483646 ");
  answer = {{"SH.600000", 2147483647}};
  EXPECT_EQ(taken(source), "A1/SH.600000买入=3500000000 ") << "as much as it can say, or more";
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
  EXPECT_EQ(taken({*made}), "A1/SH.600000买入=60 A2/SH.600000买入=60 ") << "either account may have it";
  SPatchSource own{*made};
  own.account = ELineAccount::First;
  EXPECT_EQ(taken(own), "A1/SH.600000买入=60 ");
}

const PatchLine LINE = {"A1", "SH.600000买入"};

/// A row of 1000 in lots of 100.
SRemainderRow rowOf(long long finished = 0, bool first = true) {
  SRemainderRow row;
  row.line = LINE;
  row.first = first;
  row.target = 1000;
  row.finished = finished;
  row.lots = SLots{100, false};
  return row;
}

SRemainderFacts factsOf(const std::vector<SRemainderRow>& rows) {
  SRemainderFacts facts;
  facts.rows = rows;
  return facts;
}

std::string only(const SRemainderFacts& facts) {
  const SRemainder left = remaindersOf(facts).front();
  return std::to_string(left.rest.open) + "/" + std::to_string(left.rest.free) + " " + std::to_string(left.volume) +
         " " + refusalText(left.refusal).toStdString();
}

TEST(Remainder, TheHighestOfWhatIsKnownIsTakenOff) {
  SRemainderFacts facts = factsOf({rowOf(250)});
  EXPECT_EQ(only(facts), "750/750 700 ");
  facts.rows[0].orders = 100;
  facts.rows[0].answered = 200;
  EXPECT_EQ(only(facts), "700/700 700 ") << "the answer and the row's own orders are of different tasks";
  facts.taken = {{LINE, 650}, {{"A2", LINE.second}, 900}};
  EXPECT_EQ(only(facts), "350/350 300 ");
  facts.accepted = {{LINE, 100}};
  facts.handedOver = {{LINE, 50}};
  facts.unknown = {{LINE, 25}};
  EXPECT_EQ(only(facts), "350/175 100 ") << "what is not known is taken off beside it";
  EXPECT_TRUE(fits(facts, {{LINE, 175}, {{"A1", "SZ.000001卖出"}, 0}}));
  EXPECT_FALSE(fits(facts, {{LINE, 176}}));
  EXPECT_FALSE(fits(facts, {{{"A1", "SZ.000001卖出"}, 1}})) << "a line without a row";
  facts.taken = {{LINE, 5000000000}};
  EXPECT_EQ(only(facts), "-4999999000/-4999999175 0 ") << "more than the target was traded";
}

TEST(Remainder, EachReasonIsToldOnlyOfWhatCouldBeOrdered) {
  const auto refused = [](const auto& change, const SRemainderRow& row = rowOf()) {
    SRemainderFacts facts = factsOf({row});
    change(facts, facts.rows[0]);
    return remaindersOf(facts).front().refusal;
  };
  const auto noAccount = [](auto&, auto& row) { row.hasAccount = row.hasInstrument = false; };
  const auto noProgress = [](auto& facts, auto&) { facts.unanswered = {LINE}; };
  EXPECT_EQ(refused([](auto&, auto&) {}), ERefusal::None);
  EXPECT_EQ(refused(noAccount), ERefusal::NoAccount);
  EXPECT_EQ(refused([](auto&, auto& row) { row.hasInstrument = false; }), ERefusal::NoInstrument);
  EXPECT_EQ(refused([](auto&, auto& row) { row.lots->unit = 0; }), ERefusal::NoUnit);
  EXPECT_EQ(refused(noProgress), ERefusal::NoProgress);
  EXPECT_EQ(refused([](auto& facts, auto&) { facts.accepted = facts.handedOver = {{LINE, 500}}; }), ERefusal::Accepted);
  EXPECT_EQ(refused([](auto& facts, auto&) { facts.handedOver = {{LINE, 950}}; }), ERefusal::HandedOver);
  EXPECT_EQ(refused([](auto& facts, auto&) { facts.handedOver = {{LINE, 900}}; }), ERefusal::None) << "a lot is left";
  EXPECT_EQ(refused(noAccount, rowOf(1000)), ERefusal::None) << "filled";
  EXPECT_EQ(refused(noProgress, rowOf(950)), ERefusal::None) << "below a lot";
  SRemainderRow unset = rowOf();
  unset.unset = true;
  EXPECT_EQ(refused(noProgress, unset), ERefusal::None) << "nothing is left of a target that is not known";
}

TEST(Remainder, RowsOfOneLineShareWhatIsLeft) {
  SRemainderFacts facts = factsOf({rowOf(400, false), rowOf(100)});
  facts.taken = {{LINE, 700}};
  std::vector<SRemainder> left = remaindersOf(facts);
  EXPECT_EQ(left[1].rest.open, 900) << "the line's own row first";
  EXPECT_EQ(left[0].rest.open, 400);
  facts.accepted = {{LINE, 1000}};
  left = remaindersOf(facts);
  EXPECT_EQ(left[1].rest.free, 300);
  EXPECT_EQ(left[0].rest.free, 0);
  facts.rows[0].answered = facts.rows[1].answered = 1900;
  EXPECT_EQ(remaindersOf(facts)[1].rest.open, 100) << "an answer speaks of the security once";
}

/// Creations of basket 123, told in one line each. What happens gives "x=100 y=50 waits": what is held, and whether it
/// is waited for.
class CPatchCreationsTest : public testing::Test {
 protected:
  static LineVolumes lines(long long one, long long two = 0) { return {{{"A1", "x"}, one}, {{"A1", "y"}, two}}; }
  std::string arrive(const std::string& key, int task, long long one, long long two = 0) {
    creations.arrived(key, task, lines(one, two));
    return state();
  }
  std::string answer(int creation, int task) {
    creations.answered(creation, task);
    return state();
  }
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
  EXPECT_EQ(answer(1, 201), "x=1000 y=500 waits");
  EXPECT_EQ(arrive("190-2", 190, 1000), "x=1000 y=500 waits") << "another's patch";
  EXPECT_EQ(arrive("201-1", 201, 600), "x=400 y=500 ");
  EXPECT_EQ(arrive("201-1", 201, 600), "x=400 y=500 ") << "once for each detail";
  EXPECT_EQ(arrive("201-2", 201, 700), "y=500 ") << "never more than is left";
  EXPECT_EQ(arrive("201-3", 201, 0, 500), "");
  EXPECT_EQ(creations.failed(1), lines(1000, 500));
  EXPECT_TRUE(creations.failed(1).empty());
}

TEST_F(CPatchCreationsTest, WithoutAnAnswerATaskIsTakenForTheOldestThatItCanBe) {
  arrive("190-1", 190, 10);
  creations.add(1, lines(100), 0);
  creations.add(2, lines(100, 50), 0);
  EXPECT_EQ(arrive("190-2", 190, 100), "x=200 y=50 waits") << "it was there before";
  EXPECT_EQ(arrive("201-1", 201, 0, 50), "x=200 y=50 waits") << "of the second one, which frees nothing yet";
  EXPECT_EQ(arrive("202-1", 202, 101), "x=200 y=50 waits") << "more than any ordered";
  EXPECT_EQ(arrive("203-1", 203, 100), "x=100 y=50 ") << "just what the first one ordered";
  EXPECT_EQ(arrive("201-2", 201, 100), "") << "all that the second one ordered, in two pieces";
  EXPECT_EQ(answer(2, 204), "x=100 y=50 waits") << "that was somebody else's";
  EXPECT_EQ(answer(1, 201), "x=100 y=50 waits") << "but it was the first one's";
  EXPECT_EQ(arrive("204-1", 204, 40), "x=60 y=50 ");
  creations.failed(2);
  EXPECT_EQ(state(), "");
}

TEST_F(CPatchCreationsTest, ATaskThatIsToTradeJustWhatWasOrderedIsThatOrders) {
  creations.add(1, lines(100, 50), 0);
  creations.add(2, lines(100), 0);
  EXPECT_EQ(arrive("201-1", 201, 100), "x=100 y=50 waits") << "the second one's, though it could be of the first";
}

TEST_F(CPatchCreationsTest, ATaskThatTurnsOutToTradeMoreIsNotTakenForIt) {
  creations.add(1, lines(100), 0);
  answer(1, CPatchCreations::NO_TASK);
  EXPECT_EQ(arrive("201-1", 201, 60), "x=100 ");
  EXPECT_EQ(arrive("201-2", 201, 60), "x=100 waits");
  // Details of patches may bear the basket's number; those that were there before are not meant.
  creations.failed(1);
  arrive("p1", 123, 100);
  creations.add(2, lines(70), 0);
  EXPECT_EQ(state(), "x=70 waits");
  EXPECT_EQ(arrive("p2", 123, 70), "");
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
  answer(1, 205);
  EXPECT_EQ(creations.owed("205-1"), ETO_Drop) << "it was ours after all";
  creations.add(2, lines(10), 0);
  answer(2, 206);
  arrive("206-1", 206, 10);
  EXPECT_EQ(creations.owed("206-1"), 0) << "accepted later";
}

/// What a second click, a late answer and an ending lead to is shown by journals.
TEST(PatchState, NothingBeginsBesideAPatchThatIsUnderWayUntilItsQueryEnds) {
  CPatchState state;
  const auto begins = [&state] { return state.begin(false, 0); };
  ASSERT_TRUE(begins());
  EXPECT_FALSE(begins()) << "begun";
  ASSERT_TRUE(state.confirm(false, 0));
  EXPECT_FALSE(begins() || state.confirm(false, 0)) << "being confirmed";
  state.giveUp();
  EXPECT_EQ(state.step(false), EPatchStep::Confirming) << "until the dialog has closed";
  state.end();
  for (const auto end : {&CPatchState::giveUp, &CPatchState::drop}) {
    EXPECT_TRUE(begins());
    state.ask({}, 0);
    (state.*end)();
  }
  EXPECT_TRUE(begins());
  state.ask({}, 0);
  state.letGo(ELetGo::NewTradingDay);
  EXPECT_EQ(state.step(false), EPatchStep::Idle);
}

}  // namespace
