/// Algorithm tasks of the server: when their child orders go out, what bounds them, and how they end.
#include <algorithm>
#include <numeric>
#include <set>

#include "Rig.h"
#include "Sessions.h"
#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace {

using namespace ksservice;
using TC::EAlgorithm;

/// From the open until half past two.
TC::SAlgoParams params(EAlgorithm algorithm, int slices = 10, double limit = 0) {
  return {.m_eAlgorithm = algorithm, .m_nEnd = 14 * 3600 + 30 * 60, .m_nSlices = slices, .m_dLimit = limit};
}

TEST(AlgoSchedule, SharesATargetOutOverTheTradingTime) {
  using exchange::clockTime;
  // Three and a half hours of trading in seven slices of half an hour.
  const engine::CAlgoSchedule twap(params(EAlgorithm::TWAP, 7), clockTime(9, 25));
  EXPECT_EQ(twap.planned(7000, clockTime(9, 29), 0), 0);
  EXPECT_EQ(twap.planned(7000, clockTime(9, 30), 0), 1000);
  EXPECT_EQ(twap.planned(7000, clockTime(11, 29), 0), 4000);
  EXPECT_EQ(twap.planned(7000, clockTime(12, 30), 0), 5000) << "the slice that begins after lunch is due at 11:30";
  EXPECT_EQ(twap.planned(7000, clockTime(13, 29), 0), 5000);
  EXPECT_EQ(twap.planned(7001, clockTime(14, 0), 0), 7001) << "the last slice is all of it";
  EXPECT_FALSE(twap.hasEnded(clockTime(14, 29)));
  EXPECT_TRUE(twap.hasEnded(clockTime(14, 30)));

  // Made at half time: what is left of the time is shared out, the morning is not caught up.
  const engine::CAlgoSchedule late(params(EAlgorithm::TWAP, 3), clockTime(13, 0));
  EXPECT_EQ(late.planned(900, clockTime(13, 0), 0), 300);

  const engine::CAlgoSchedule vwap(params(EAlgorithm::VWAP, 7), clockTime(9, 25));
  EXPECT_GT(vwap.planned(7000, clockTime(9, 30), 0), 1300) << "much is traded at the open";
  int before = 0;
  for (std::int64_t now = clockTime(9, 0); now < clockTime(15, 30); now += 60000) {
    const int planned = vwap.planned(7000, now, 0);
    EXPECT_GE(planned, before);
    before = planned;
  }
  EXPECT_EQ(before, 7000);
  EXPECT_EQ(engine::usualVolumeShare(0), 0);
  EXPECT_DOUBLE_EQ(engine::usualVolumeShare(exchange::TRADING_TIME), 1);

  TC::SAlgoParams pov = params(EAlgorithm::POV);
  pov.m_dRate = 0.25;
  const engine::CAlgoSchedule participation(pov, clockTime(9, 25));
  EXPECT_EQ(participation.planned(1000, clockTime(10, 0), 401), 100);
  EXPECT_EQ(participation.planned(1000, clockTime(14, 0), 100000), 1000);
}

struct SAlgoRig : SRig {
  using SRig::SRig;
  using SRig::start;
  /// Starts the rig's basket; returns the key of its one sub-task.
  std::string start(const TC::SAlgoParams& algo) { return start(basket().m_lines, algo); }
  const engine::CAlgoTask& task(const std::string& key) { return *engine().serverTask(key); }
  std::size_t children(const std::string& key) { return task(key).progress()->m_orders.size(); }

  /// What the published progress says was traded of each line.
  std::vector<int> traded(const std::string& key) const {
    std::vector<int> traded(newest(key).m_params.size());
    for (const TC::CProgressOrder& order : m_desk.progress(key)->m_orders) {
      traded[static_cast<std::size_t>(order.m_nParamIndex)] += order.m_detail.m_nTradedVolume;
    }
    return traded;
  }
};

int sum(const std::vector<int>& numbers) { return std::accumulate(numbers.begin(), numbers.end(), 0); }

class AlgoTask : public testing::Test, protected SAlgoRig {};

TEST_F(AlgoTask, NeverHasMoreFinishedOrOpenThanItsScheduleAndItsTargetAllow) {
  for (const EAlgorithm algorithm : {EAlgorithm::TWAP, EAlgorithm::VWAP, EAlgorithm::POV}) {
    for (std::uint64_t seed = 1; seed <= 4; ++seed) {
      SAlgoRig rig(seed, seed % 2 ? 0 : 0.05);
      const TC::SAlgoParams algo = params(algorithm);
      const std::string key = rig.start(algo);
      const engine::CAlgoSchedule schedule(algo, exchange::DAY_OPENS);
      for (std::int64_t now = exchange::DAY_OPENS; now < exchange::DAY_CLOSES; now += 20000) {
        rig.m_simulation.advanceTo(now);
        const auto process = rig.task(key).orderProcess();
        exchange::CExchange& market = rig.m_simulation.market();
        for (const engine::SOrderLine& line : rig.task(key).lines()) {
          const auto& [where, code, name] = line.m_stock;
          const std::int64_t volume = market.quote(market.findInstrument(where, code)).m_nVolume;
          const int allowed = std::min(line.m_nQuantity, schedule.planned(line.m_nQuantity, now, volume));
          ASSERT_LE(process.at(utils::mavStockKey(where, code)), allowed) << code;
        }
      }
      rig.runTo(15, 1);
      const CTaskDetail& end = rig.newest(key);
      EXPECT_TRUE(end.m_bServerTask);
      EXPECT_TRUE(end.m_orders.empty()) << "its orders are the server's";
      const int traded = sum(rig.traded(key));
      EXPECT_GT(traded, targetOf(end) / 2) << algorithmName(algorithm);
      EXPECT_EQ(end.m_nStatus, traded == targetOf(end) ? ETS_Finished : ETS_Cancelled);
      int covered = 0;
      for (const auto& [security, number] : rig.task(key).orderProcess()) covered += number;
      EXPECT_EQ(covered, traded) << "nothing is open";
      EXPECT_LE(end.m_nEndTime, SRig::DAY_START + exchange::DAY_CLOSES / 1000);
    }
  }
}

/// Runs a day of one line; returns what it traded. At no time a buy is left with less than the exchange takes.
int runLine(SAlgoRig& rig, const engine::SOrderLine& line, const TC::SAlgoParams& algo, int minimum) {
  const std::string key = rig.start({line}, algo);
  const std::string security = utils::mavStockKey(line.m_stock.m_strMarket, line.m_stock.m_strCode);
  for (std::int64_t now = exchange::MORNING_BEGINS; now < exchange::clockTime(14, 29); now += 10000) {
    rig.m_simulation.advanceTo(now);
    const int left = line.m_nQuantity - rig.task(key).orderProcess().at(security);
    EXPECT_TRUE(left == 0 || left >= minimum) << line.m_nQuantity << " of " << security << " leaves " << left;
  }
  rig.runTo(14, 31);
  return sum(rig.traded(key));
}

TEST_F(AlgoTask, AChildLeavesNoBuyThatCannotBeOrdered) {
  for (const EAlgorithm algorithm : {EAlgorithm::TWAP, EAlgorithm::VWAP, EAlgorithm::POV}) {
    for (const int quantity : {200, 250, 350, 399, 400, 1730}) {
      for (std::uint64_t seed = 1; seed <= 3; ++seed) {
        SAlgoRig rig(seed);
        EXPECT_EQ(runLine(rig, SRig::line("SH", "688008", EOT_Buy, quantity), params(algorithm), 200), quantity);
      }
    }
    SAlgoRig rig;
    EXPECT_EQ(runLine(rig, SRig::line("BJ", "830008", EOT_Buy, 1099), params(algorithm), 100), 1099);
  }
}

/// A participation of which 250 shares above a minimum of 200 are in the market.
struct SOneChild {
  SOneChild() {
    advanceTo(0);
    m_nVolume = 100000;
    advanceTo(1);
    m_task.send(1, 83, 0);
    m_task.onAccepted(0);
  }
  void advanceTo(int second) {
    m_task.advanceTo(exchange::MORNING_BEGINS + second * std::int64_t{1000},
                     [this](const engine::SOrderLine&) { return m_nVolume; });
  }

  std::int64_t m_nVolume = 0;
  engine::CAlgoTask m_task{
      {boost::make_shared<COrderCommand>(), boost::make_shared<CAccountInfo>(), 7, 1},
      {{.m_stock = {"SH", "688008", {}}, .m_nQuantity = 250, .m_rules = exchange::rulesOf({"SH", "688008", {}, 83})}},
      {params(EAlgorithm::POV), exchange::MORNING_BEGINS, 1000}};
};

TEST_F(AlgoTask, AChildWhoseRestCouldNotBeOrderedAnewIsNotReplaced) {
  SOneChild kept;
  kept.m_task.onFilled(0, 100, 8300, 0);
  kept.advanceTo(90);
  EXPECT_EQ(kept.m_task.takeStale(), 0U);

  SOneChild unlucky;
  unlucky.advanceTo(90);
  EXPECT_EQ(unlucky.m_task.takeStale(), 1U);
  unlucky.m_task.onFilled(0, 100, 8300, 0);
  unlucky.m_task.onCancelled(0, "", 0);
  EXPECT_EQ(unlucky.m_task.status(), ETS_Cancelled) << "nothing can follow";
  EXPECT_EQ(unlucky.m_task.message(), "数量低于最小申报数量（1 行不能全部委托）");
}

TEST_F(AlgoTask, WhatIsNoWholeLotIsNotOrderedAndTold) {
  const char* const told = "数量低于最小申报数量（1 行不能委托）；数量不是整手（1 行不能全部委托）";
  for (const EAlgorithm algorithm : {EAlgorithm::TWAP, EAlgorithm::POV}) {
    SAlgoRig rig;
    TC::SAlgoParams algo = params(algorithm);
    algo.m_dRate = 1;
    const std::string key = rig.start(
        {line("SH", "600010", EOT_Buy, 1050), line("SH", "688008", EOT_Buy, 150), line("SH", "600012", EOT_Sell, 1050)},
        algo);
    EXPECT_EQ(rig.newest(key).m_strMessage, told);
    rig.runTo(14, 31);
    EXPECT_EQ(rig.traded(key), (std::vector<int>{1000, 0, 1050})) << algorithmName(algorithm);
    EXPECT_EQ(rig.newest(key).m_nStatus, ETS_Cancelled);
    EXPECT_EQ(rig.newest(key).m_strMessage, told) << "no order was refused";
  }
}

TEST_F(AlgoTask, AnOrderThatWouldBeRefusedAgainIsNotSentAgain) {
  const std::string key =
      start({line("SH", "601999", EOT_Buy, 1000), line("SZ", "009999", EOT_Sell, 1000)}, params(EAlgorithm::TWAP));
  runTo(14, 0);
  EXPECT_EQ(children(key), 2u);
  EXPECT_EQ(newest(key).m_nStatus, ETS_ExecutionError);
  EXPECT_EQ(newest(key).m_strMessage, "证券停牌（1 笔委托被拒绝）；证券未上市（1 笔委托被拒绝）");
  const std::string never = start({line("SH", "688008", EOT_Buy, 150)}, params(EAlgorithm::TWAP));
  EXPECT_EQ(newest(never).m_nStatus, ETS_ExecutionError) << "nothing of it can ever be ordered";
}

TEST_F(AlgoTask, ALimitIsWholeTicksAndToldBeyondTheDays) {
  // The fifth security closed at 9, the sixth at 10, the tenth at 14.
  const std::string key = start(
      {line("SH", "600004", EOT_Sell, 1000), line("SZ", "1005", EOT_Buy, 100000), line("SZ", "1009", EOT_Buy, 1000)},
      params(EAlgorithm::TWAP, 10, 9.987));
  EXPECT_EQ(newest(key).m_strMessage, "限价低于跌停价（1 行不能委托）；限价高于涨停价（1 行不能委托）");
  runTo(14, 31);
  EXPECT_EQ(newest(key).m_strMessage.find("拒绝"), std::string::npos) << newest(key).m_strMessage;
  EXPECT_GT(sum(traded(key)), 0);
  for (const TC::CProgressOrder& child : m_desk.progress(key)->m_orders) {
    EXPECT_EQ(child.m_nParamIndex, 1);
    EXPECT_LE(child.m_detail.m_dTradedAmount, 9.98 * child.m_detail.m_nTradedVolume + 0.001) << child.m_strMapKey;
  }
}

TEST_F(AlgoTask, EndsAtItsTimeWhateverThePhaseAndCancelsWhatIsOpen) {
  for (const auto& [hours, minutes] : {std::pair(9, 31), {11, 30}, {12, 15}, {13, 0}, {14, 57}, {15, 0}, {15, 30}}) {
    SAlgoRig rig;
    TC::SAlgoParams algo = params(EAlgorithm::TWAP, 140, 9.1);  // a tenth below the last close: nothing trades
    algo.m_nEnd = hours * 3600 + minutes * 60;
    const std::string key = rig.start({line("SZ", "1005", EOT_Buy, 20000)}, algo);
    // The closing auction would not let its orders go.
    const int end = std::min<int>(hours == 14 ? algo.m_nEnd - 10 : algo.m_nEnd, exchange::DAY_CLOSES / 1000);
    if (hours == 15) {
      rig.runTo(14, 57);
      const std::size_t before = rig.children(key);
      rig.runTo(14, 59, 50);
      EXPECT_GT(rig.children(key), before) << "who trades on until then goes into the closing auction";
    }
    rig.m_simulation.advanceTo(end * std::int64_t{1000} + 1000);
    EXPECT_EQ(rig.newest(key).m_nStatus, ETS_Cancelled) << hours;
    EXPECT_TRUE(hours == 15 || rig.newest(key).m_strMessage == "算法时间已到，余量未成交")
        << rig.newest(key).m_strMessage;
    EXPECT_EQ(rig.newest(key).m_nStartTime, SRig::DAY_START + exchange::MORNING_BEGINS / 1000);
    EXPECT_EQ(rig.newest(key).m_nEndTime, SRig::DAY_START + end);
    rig.runTo(15, 31);
    EXPECT_EQ(rig.heard("不接受撤单"), 0) << "nothing is replaced that cannot be taken back";
    EXPECT_TRUE(rig.m_desk.progress(key)->m_orders.back().m_detail.m_bCancelled);
  }
}

TEST_F(AlgoTask, PausesResumesAndStopsWhenItIsTold) {
  const std::string key = start(params(EAlgorithm::TWAP, 70));
  runTo(10, 0);
  EXPECT_EQ(newest(key).m_nStatus, ETS_Running);
  EXPECT_FALSE(engine().operate(101, "A1", ETO_Pause)) << "not a task of the terminal";
  EXPECT_TRUE(engine().operate(key, ETO_Pause));
  EXPECT_EQ(newest(key).m_nStatus, ETS_Paused) << "published at once";
  const std::size_t sent = children(key);
  runTo(10, 30);
  EXPECT_EQ(children(key), sent);
  EXPECT_TRUE(engine().operate(key, ETO_Resume));
  runTo(10, 31);
  EXPECT_GT(children(key), sent + 20) << "what the schedule planned meanwhile is caught up";
  EXPECT_TRUE(engine().operate(key, ETO_Cancel));
  EXPECT_EQ(newest(key).m_nStatus, ETS_Running) << "until the cancels are confirmed";
  runTo(10, 32);
  EXPECT_EQ(newest(key).m_nStatus, ETS_Cancelled);
  EXPECT_FALSE(engine().operate("7-1", ETO_Cancel));
}

/// A schedule or one order a line: what the user takes out of the market himself stays out, and is left to be patched.
TEST_F(AlgoTask, AnOrderThatTheUserCancelsIsNotSentAgain) {
  // The second security closed at 6: neither order can fill.
  engine::SOrderLine low = line("SZ", "1001", EOT_Buy, 10000);
  const std::string algo = start({low}, params(EAlgorithm::TWAP, 10, 5.41));
  low.m_bOwnPrice = true;
  low.m_dReference = 5.41;
  const std::string plain = start({low, low});
  runTo(9, 40);
  const int slice = 10000 - task(algo).orderProcess().at("SZ.1001") == 9000 ? 1000 : 0;
  ASSERT_EQ(slice, 1000) << "in the market";
  engine().cancelOrders(algo, {algo + "-1", algo + "-2", algo + "-01", "", "x"});
  engine().cancelOrders(plain, {plain + "-2"});
  engine().cancelOrders("7-1", {plain + "-1"});
  EXPECT_EQ(heard("撤销 1 笔委托"), 2);
  runTo(9, 41);
  EXPECT_EQ(task(algo).orderProcess().at("SZ.1001"), 0);
  EXPECT_EQ(task(algo).claimed(0), 9000);
  EXPECT_FALSE(newest(plain).m_orders[0]->m_bCompleted);
  EXPECT_TRUE(newest(plain).m_orders[1]->m_bCompleted);
  EXPECT_EQ(newest(plain).m_nStatus, ETS_Running);
  runTo(14, 29);
  EXPECT_EQ(task(algo).orderProcess().at("SZ.1001"), 9000) << "the schedule goes on with the rest";
  engine().cancelOrders(plain, {plain + "-1"});
  runTo(14, 31);
  EXPECT_EQ(newest(algo).m_nStatus, ETS_Cancelled);
  EXPECT_EQ(newest(plain).m_nStatus, ETS_Cancelled);
}

TEST_F(AlgoTask, ProgressIsPublishedBeforeItsDetailAndNotForEachFill) {
  const std::string key = start(params(EAlgorithm::VWAP, 210));
  int details = 0;
  const auto subscription = m_desk.subscribeTasks([&](const boost::shared_ptr<IData>&) {
    ++details;
    ASSERT_TRUE(m_desk.progress(key));
    EXPECT_EQ(m_desk.progress(key)->m_orders.size(), children(key));
  });
  runTo(9, 50);
  EXPECT_GT(details, 20);
  EXPECT_LE(details, 20 * 60 / 10 + 1);
  const TC::CProgressOrder& first = m_desk.progress(key)->m_orders.front();
  EXPECT_EQ(first.m_strMapKey, "1001:" + first.m_detail.getKey());
  EXPECT_EQ(newest(key).m_params[0].m_nOrderType, EORT_Algo2);
  EXPECT_EQ(newest(key).m_pCommand->m_strAlgoParams, params(EAlgorithm::VWAP, 210).format());
  EXPECT_EQ(newest(key).m_strInstance, "VWAP-" + key);
}

/// Each fill by itself, though a schedule publishes them together.
TEST(EngineFills, AreToldWithTheirTimesAndAddUpToWhatTheOrdersTraded) {
  struct SObserver : desk::IDeskObserver {
    void onTask(const desk::SPublication& publication) override {
      const auto& orders = publication.m_serverOrders;
      for (std::size_t i = 0; i < publication.m_sent.size(); ++i) sent.push_back(publication.m_sent[i]);
      for (const desk::SOrderFill& fill : publication.m_fills) {
        ASSERT_LT(fill.m_nOrder, orders.size());
        EXPECT_GE(fill.m_nTime, sent[fill.m_nOrder]);
        traded[fill.m_nOrder].first += fill.m_nQuantity;
        traded[fill.m_nOrder].second += fill.m_dAmount;
        times.insert(fill.m_nTime);
        ++fills;
      }
      for (std::size_t i = 0; i < orders.size(); ++i) {
        EXPECT_EQ(traded[i].first, orders[i]->m_nTradedVolume);
        EXPECT_NEAR(traded[i].second, orders[i]->m_dTradedAmount, 1e-6);
      }
      EXPECT_EQ(sent.size(), orders.size());
      publications += !publication.m_fills.empty();
    }
    std::vector<int> sent;
    std::map<std::size_t, std::pair<int, double>> traded;
    std::set<int> times;
    int fills = 0;
    int publications = 0;
  };
  SRig rig;
  SObserver observer;
  rig.m_desk.addObserver(&observer);
  const TC::SAlgoParams algo{.m_eAlgorithm = TC::EAlgorithm::TWAP, .m_nEnd = 10 * 3600, .m_nSlices = 300};
  rig.start({SRig::line("SH", "600002", EOT_Buy, 300'000), SRig::line("SH", "600004", EOT_Sell, 300'000)}, algo);
  rig.runTo(9, 40);
  EXPECT_GT(observer.fills, 2 * observer.publications);
  EXPECT_GT(static_cast<int>(observer.times.size()), observer.publications);
  rig.m_desk.removeObserver(&observer);
}

}  // namespace
