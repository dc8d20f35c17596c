/// The steps of a patch, and what must not lead to a second one beside it.
#include "PatchState.h"

#include <gtest/gtest.h>

namespace {

using namespace TC;

const OrderProcessMap ANSWER = {{"server", {{"SH.600000", 100}}}};

class CPatchStateTest : public testing::Test {
 protected:
  bool begin(double now = 0) { return state.begin(false, now); }
  EPatchStep step() const { return state.step(false); }

  CPatchState state;
};

TEST_F(CPatchStateTest, NothingBeginsBesideAPatchThatIsUnderWay) {
  EXPECT_FALSE(state.begin(true, 0)) << "one that was sent is awaited";
  EXPECT_EQ(state.step(true), EPatchStep::Awaited);
  ASSERT_TRUE(begin());
  EXPECT_FALSE(begin()) << "begun";
  ASSERT_TRUE(state.confirm(false, 0));
  EXPECT_FALSE(begin() || state.confirm(false, 0)) << "being confirmed";
  state.end();
  EXPECT_TRUE(state.confirm(false, 0)) << "a confirmation begins a patch of its own";
  state.end();
  for (const ELetGo why : {ELetGo::NewTradingDay, ELetGo::Closed}) {
    state.letGo(why);
    EXPECT_FALSE(begin() || state.holds());
  }
}

TEST_F(CPatchStateTest, OnlyTheNewestAnswerGoesOnAndOnlyOnce) {
  begin();
  const int first = state.ask({"server"}, 1000);
  EXPECT_FALSE(state.goOn()) << "not answered";
  EXPECT_FALSE(begin(1000 + CPatchState::ANSWER_MSEC - 1));
  ASSERT_TRUE(begin(1000 + CPatchState::ANSWER_MSEC)) << "without an answer the user may ask again";
  const int second = state.ask({}, 20000);
  EXPECT_TRUE(state.isNewest(second) && !state.isNewest(first));
  EXPECT_FALSE(state.ranWhenAsked("server")) << "what ran when the newest was asked counts";
  state.answer(ANSWER);
  EXPECT_EQ(state.goOn(), ANSWER);
  EXPECT_FALSE(state.goOn()) << "a second answer opens no second dialog";
  EXPECT_EQ(step(), EPatchStep::Begun);
}

TEST_F(CPatchStateTest, WhatEndsAQueryLeavesAConfirmationToBeJudged) {
  for (const auto end : {&CPatchState::giveUp, &CPatchState::drop}) {
    begin();
    state.ask({}, 0);
    (state.*end)();
    state.answer(ANSWER);
    EXPECT_FALSE(state.goOn()) << "the answer comes too late";
    EXPECT_EQ(step(), EPatchStep::Idle);
  }
  state.confirm(false, 0);
  EXPECT_TRUE(state.holds()) << "a drop from before the question";
  state.giveUp();
  EXPECT_TRUE(state.holds() && step() == EPatchStep::Confirming);
  state.drop();
  EXPECT_FALSE(state.holds());
  EXPECT_EQ(step(), EPatchStep::Confirming) << "until the dialog has closed";
}

}  // namespace
