// What decides a day: the same acts at the same times give the same state at every second, however the clock was
// stepped and whoever looked.
#include <random>

#include "Acts.h"
#include "Rig.h"

namespace {

using namespace engine;

struct STimedAct {
  std::int64_t m_nMsec;
  Act m_act;
};

/// Acts of a user who is never content, on the baskets that he started, hedged ones among them.
std::vector<STimedAct> makeActs(const SRig& rig, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  const auto upTo = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  std::vector<STimedAct> acts;
  std::int64_t now = exchange::DAY_OPENS;
  for (int i = 0; i < 40; ++i) {
    now += 100 * upTo(200);
    const int group = 101 + upTo(3);
    const std::string account = "A" + std::to_string(1 + upTo(2));
    const std::string detail = std::to_string(group) + "-1";
    ksservice::CBasketHedgeParam hedge;
    hedge.m_bEnabled = true;
    hedge.m_strMarket = "CFFEX";
    hedge.m_strCode = "IF2612";
    hedge.m_strAccount = "F1";
    SBasketOrder basket = rig.basket(2);
    if (upTo(2) == 0) basket.m_algo = TC::SAlgoParams{};
    const Act choices[] = {SStartBasket{basket},
                           SOperateTask{group, account, ksservice::ETO_Pause},
                           SOperateTask{group, account, ksservice::ETO_Resume},
                           SOperateTask{group, account, ksservice::ETO_Cancel},
                           SOperateServerTask{detail, ksservice::ETO_Cancel},
                           SQueryProcess{{detail}},
                           SCancelOrders{detail, {detail + "-1", detail + "-7"}},
                           SSetHedge{group, group, hedge},
                           SSteerHedge{group, EHedgeAct::Start}};
    acts.push_back({now, choices[i < 2 ? 0 : upTo(std::size(choices))]});
  }
  return acts;
}

using Marks = std::vector<std::pair<std::int64_t, std::uint64_t>>;

/// The state at each second of a day on which the acts are carried out; somebody may look at quotes all the time.
Marks runDay(const std::vector<STimedAct>& acts, std::int64_t step, bool look, int leaveOut = -1) {
  SRig rig;
  rig.addAccount("F1", 1);
  Marks marks;
  CSimulation& simulation = rig.m_simulation;
  simulation.setSecondHook([&marks](std::int64_t msec, std::uint64_t hash) { marks.emplace_back(msec, hash); });
  for (std::size_t i = 0; i < acts.size(); ++i) {
    while (simulation.now() < acts[i].m_nMsec) {
      simulation.advanceTo(std::min(acts[i].m_nMsec, simulation.now() + step));
      for (int number = 0; look && number < 40; number += 3) simulation.market().quote(number);
    }
    if (static_cast<int>(i) != leaveOut) carryOut(acts[i].m_act, simulation);
  }
  simulation.advanceTo(simulation.now() + 60000);
  return marks;
}

TEST(DayAgain, TheSameActsGiveTheSameStateAtEverySecond) {
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    const std::vector<STimedAct> acts = makeActs(SRig(), seed);
    const Marks marks = runDay(acts, 100, false);
    ASSERT_GT(marks.size(), 300u);
    EXPECT_EQ(runDay(acts, 10000, true), marks) << "seed " << seed;
    EXPECT_NE(runDay(acts, 100, false, 1), marks) << "an act less leaves no trace, seed " << seed;
  }
}

/// The answer to a question of which the asker is gone must not be taken for that of another.
TEST(DayAgain, NobodyIsAnsweredWhoHasNotAsked) {
  SRig rig;
  rig.start({SRig::line("SH", "600000", ksservice::EOT_Buy, 1000)});
  CTaskServer& server = rig.m_simulation.server();
  server.setAnswering(false);
  server.queryOrderProcess({"unknown"});
  server.setAnswering(true);
  std::vector<std::string> answers;
  rig.m_desk.requests().queryOrderProcess(
      {}, [&answers](const TC::OrderProcessMap&, const utils::KSError& error, const bson::BSONObj&) {
        answers.push_back(error.errorMsg());
      });
  server.queryOrderProcess({});
  rig.m_simulation.advanceTo(rig.m_simulation.now() + 1000);
  EXPECT_EQ(answers, std::vector<std::string>{""});
}

/// What cannot be kept is not carried out, and who waits for an answer gets the reason.
TEST(DayAgain, WhatIsRefusedIsToldAndAnswered) {
  SRig rig;
  rig.m_desk.requests();
  std::vector<std::string> answers;
  rig.m_desk.requests().createTask(
      {}, [&answers](const utils::KSError& error, int) { answers.push_back(error.errorMsg()); });
  refuse(SCreateTask{}, "磁盘已满", rig.m_simulation);
  refuse(SStartBasket{rig.basket()}, "磁盘已满", rig.m_simulation);
  rig.m_simulation.advanceTo(rig.m_simulation.now() + 1000);
  EXPECT_EQ(answers, std::vector<std::string>{"磁盘已满"});
  EXPECT_EQ(rig.heard("篮子 test: 磁盘已满"), 1);
  EXPECT_TRUE(rig.m_details.empty());
}

}  // namespace
