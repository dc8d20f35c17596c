/// What enters the engine: as text and back, and what becomes of it when it cannot be kept.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <QTemporaryDir>
#include <boost/make_shared.hpp>
#include <condition_variable>
#include <fstream>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "ActJson.h"
#include "CDayKeeper.h"
#include "CEngineThread.h"
#include "Instrument.h"
#include "Sessions.h"

namespace {

using namespace engine;

desk::AccountPtr addAccount(desk::CDesk& desk, const char* key) {
  auto account = boost::make_shared<ksservice::CAccountInfo>();
  account->m_strKey = key;
  account->m_strDisplayId = std::string("10") + key;
  desk.addAccount({account});
  return account;
}

SOrderLine lineOf(const char* code, double price) {
  SOrderLine line;
  line.m_stock = {"SH", code, "浦发\"银行\""};
  line.m_nOperation = ksservice::EOT_Sell;
  line.m_nQuantity = 2147483647;
  line.m_dReference = price;
  line.m_nPriceType = ksservice::EPT_Counterpart;
  line.m_bPricedByType = true;
  line.m_nOffsetTicks = -3;
  return line;
}

/// One of each kind, no member as it is by default.
std::vector<Act> allActs(const desk::CDesk& desk) {
  desk::SAccount account;
  desk.findAccount("A1", account);
  const auto mutableAccount = boost::const_pointer_cast<ksservice::CAccountInfo>(account.m_pInfo);
  SBasketOrder even;
  even.m_strName = "早盘";
  even.m_strText = "text";
  even.m_lines = {lineOf("600000", 0.1 + 0.2), lineOf("600009", 1e-7)};
  even.m_accounts = {mutableAccount, mutableAccount};
  even.m_algo = TC::SAlgoParams{TC::EAlgorithm::POV, 36000, 50000, 10, 10.123456789, 1.0 / 3};
  even.m_hedge =
      ksservice::CBasketHedgeParam{true, true, "CFFEX", "IF2612", "F1", ksservice::EOT_BuyOpen, 4, 0.7, 2, 9, 3};
  SBasketOrder parts;
  parts.m_parts = {{account.m_pInfo, {lineOf("600000", 12.34)}}, {account.m_pInfo, {}}};
  SCreateTask create;
  ksservice::COrderCommand& command = create.m_request.m_command;
  command.m_nCommandId = 7;
  command.m_nTaskId = 8;
  command.m_nNumber = 2;
  command.m_nType = 49;
  command.m_bPatch = true;
  command.m_strBasketName = "早盘";
  command.m_strAlgoParams = "algo=TWAP";
  create.m_request.m_params = {{account.m_pInfo, 1, 2, 3, {"SZ", "000001", "平安银行"}, 4, 9.87, 500, 6},
                               {nullptr, 1, 2, 3, {"SZ", "000002", ""}, 4, 0, 600, 0}};
  create.m_request.m_nTraderType = 1;
  create.m_request.m_nHedgeType = 2;
  create.m_request.m_nTaskId = 8;
  return {SStartBasket{even},
          SStartBasket{parts},
          create,
          SOperateServerTask{"8-1", ksservice::ETO_Pause},
          SQueryProcess{{"8-1", "9-1"}},
          SOperateTask{8, "A1", ksservice::ETO_Cancel},
          SCancelOrders{"8-1", {"8-1-3", "8-1-4"}},
          SSetHedge{8, 7, *even.m_hedge},
          SSteerHedge{8, EHedgeAct::Pause},
          SSteerHedge{8, EHedgeAct::Stop}};
}

/// A simulation of one security on its way to an engine thread.
struct SRig {
  static SEngineSettings settings() {
    SEngineSettings settings;
    settings.m_nDayStart = DAY;
    return settings;
  }
  SRig() {
    m_simulation.engine().setEventHook([this](const SEngineEvent& event) { m_told.push_back(event.m_strText); });
  }
  std::unique_ptr<app::CEngineThread> makeThread(app::IActKeeper& keeper) {
    auto thread =
        std::make_unique<app::CEngineThread>(m_simulation, m_desk, DAY, app::CEngineThread::SPace{1, -1}, [] {});
    thread->setKeeper(&keeper);
    return thread;
  }
  /// Starts a thread that was given acts, and waits until it has taken them.
  static void take(app::CEngineThread& thread) {
    std::promise<void> taken;
    thread.ask([&taken](CSimulation&) { taken.set_value(); });
    thread.start();
    EXPECT_EQ(taken.get_future().wait_for(std::chrono::seconds(60)), std::future_status::ready);
  }

  static inline const std::int64_t DAY = exchange::dayStartOf({2026, 11, 23});
  desk::CDesk m_desk;
  CSimulation m_simulation{
      m_desk, {{"SH", "600000", "浦发银行", 10, 0, 1e7}}, {.m_nDayStart = DAY}, settings(), exchange::DAY_OPENS};
  std::vector<std::string> m_told;  ///< the engine's thread, or whoever has stopped it
};

}  // namespace

TEST(Acts, AreTheSameAfterTheirText) {
  desk::CDesk desk;
  addAccount(desk, "A1");
  for (const Act& act : allActs(desk)) {
    const app::SActText text = app::toText(act);
    std::string fault;
    const std::optional<Act> again = app::toAct(text, desk, fault);
    ASSERT_TRUE(again) << text.m_strKind << ": " << fault;
    EXPECT_EQ(again->index(), act.index());
    const app::SActText textAgain = app::toText(*again);
    EXPECT_EQ(textAgain.m_strKind, text.m_strKind);
    EXPECT_EQ(textAgain.m_strBody, text.m_strBody);
  }
  // What a text does not carry would be the same in both, too: so some members are looked at.
  std::string fault;
  const auto line = std::get<SStartBasket>(*app::toAct(app::toText(allActs(desk)[0]), desk, fault)).m_basket;
  EXPECT_EQ(line.m_lines[0].m_dReference, 0.1 + 0.2);
  EXPECT_EQ(line.m_lines[0].m_nOffsetTicks, -3);
  EXPECT_TRUE(line.m_lines[0].m_bPricedByType);
  EXPECT_EQ(line.m_algo->m_dRate, 1.0 / 3);
  EXPECT_EQ(line.m_hedge->m_nOrderLimit, 9);
  EXPECT_EQ(line.m_accounts.size(), 2u);
  const auto create = std::get<SCreateTask>(*app::toAct(app::toText(allActs(desk)[2]), desk, fault)).m_request;
  EXPECT_EQ(create.m_command.m_nType, 49);
  EXPECT_EQ(create.m_command.getKey(), ksservice::COrderCommand::genKey(7, 2));
  EXPECT_EQ(create.m_params[0].m_pAccount->getKey(), "A1");
  EXPECT_EQ(create.m_params[1].m_pAccount, nullptr);
  EXPECT_EQ(create.m_nHedgeType, 2);
}

TEST(Acts, ATextThatIsNoneIsToldByItsField) {
  desk::CDesk desk;
  for (const auto& [kind, body, expected] :
       {std::tuple("dance", "{}", "kind \"dance\" is unknown"),
        {"operate", "{}", "field \"task\" is missing"},
        {"operate", R"({"task":"1"})", "field \"task\" must be an integer"},
        {"hedge", R"({"group":1,"act":"sing"})", "field \"act\" 'sing' is unknown"},
        {"basket", R"({"name":"a","accounts":["A9"]})", "account \"A9\" is unknown"},
        {"basket", R"({"name":"a","lines":[]})", "no account is named"},
        {"basket", R"({"name":"a","algo":"algo=GUESS"})", "field \"algo\": "}}) {
    std::string fault;
    EXPECT_FALSE(app::toAct({kind, body}, desk, fault)) << body;
    EXPECT_EQ(fault.find(expected), 0u) << fault;
  }
}

TEST(Acts, WhatCannotBeKeptIsNotCarriedOut) {
  struct CFullDisk : app::IActKeeper {
    std::string keep(std::int64_t, const std::vector<Act>& acts, int) override {
      return std::holds_alternative<SStartBasket>(acts.front()) ? "磁盘已满" : "";
    }
  };
  SRig rig;
  CFullDisk disk;
  SBasketOrder basket;
  basket.m_strName = "早盘";
  basket.m_lines = {lineOf("600000", 10)};
  basket.m_accounts = {boost::const_pointer_cast<ksservice::CAccountInfo>(addAccount(rig.m_desk, "A1"))};
  const auto thread = rig.makeThread(disk);
  thread->post(SStartBasket{basket});
  SRig::take(*thread);
  thread->stop();
  EXPECT_EQ(rig.m_told, std::vector<std::string>{"篮子 早盘: 日志无法写入，未执行：磁盘已满"});
  EXPECT_EQ(rig.m_simulation.engine().publishedCount(), 0u);
}

TEST(Acts, AHedgeWhoseParametersCouldNotBeKeptDoesNotStartByOthers) {
  struct CFailing : app::IActKeeper {
    std::string keep(std::int64_t, const std::vector<Act>& acts, int) override {
      std::string fault;
      for (const Act& act : acts) {
        const auto* given = std::get_if<SSetHedge>(&act);
        if (given && given->m_param.m_dRatio < 1) fault = "磁盘已满";
      }
      if (fault.empty()) m_kept.insert(m_kept.end(), acts.begin(), acts.end());
      return fault;
    }
    std::vector<Act> m_kept;
  };
  SRig rig;
  CFailing disk;
  const auto thread = rig.makeThread(disk);
  const auto hedge = [](double ratio) {
    ksservice::CBasketHedgeParam param;
    param.m_bEnabled = true;
    param.m_dRatio = ratio;
    return SSetHedge{1, 1, param};
  };
  const SSteerHedge start{1, EHedgeAct::Start};
  for (const double ratio : {0.5, 1.0}) {
    thread->post(hedge(ratio));
    thread->post(start);
    thread->post(SSteerHedge{1, EHedgeAct::Pause});
  }
  SRig::take(*thread);
  thread->stop();
  // What stop() finds waiting is nobody's any more.
  EXPECT_TRUE(thread->takeLeft().empty());
  ASSERT_EQ(disk.m_kept.size(), 4u);
  EXPECT_EQ(std::get<SSteerHedge>(disk.m_kept[0]).m_eAct, EHedgeAct::Pause);
  EXPECT_EQ(std::get<SSetHedge>(disk.m_kept[1]).m_param.m_dRatio, 1.0);
  EXPECT_EQ(std::get<SSteerHedge>(disk.m_kept[2]).m_eAct, EHedgeAct::Start);
  ASSERT_GE(rig.m_told.size(), 2u);
  EXPECT_NE(rig.m_told[0].find("磁盘已满"), std::string::npos) << rig.m_told[0];
  EXPECT_NE(rig.m_told[1].find("套利参数未写入"), std::string::npos) << rig.m_told[1];

  const auto idle = rig.makeThread(disk);
  idle->post(start);
  idle->stop();
  EXPECT_EQ(idle->takeLeft().size(), 1u);
}

TEST(Acts, OnlyWhatCancelsStopsOrPausesOnlyEnds) {
  using namespace ksservice;
  for (const int operation : {ETO_Cancel, ETO_Pause, ETO_Drop, ETO_Resume}) {
    const bool ends = operation != ETO_Resume;
    EXPECT_EQ(onlyEnds(SOperateServerTask{"1-1", operation}), ends) << operation;
    EXPECT_EQ(onlyEnds(SOperateTask{1, "A1", operation}), ends) << operation;
  }
  EXPECT_TRUE(onlyEnds(SCancelOrders{}));
  EXPECT_TRUE(onlyEnds(SSteerHedge{1, EHedgeAct::Pause}));
  EXPECT_TRUE(onlyEnds(SSteerHedge{1, EHedgeAct::Stop}));
  EXPECT_FALSE(onlyEnds(SSteerHedge{1, EHedgeAct::Start}));
  EXPECT_FALSE(onlyEnds(SStartBasket{}));
  EXPECT_FALSE(onlyEnds(SCreateTask{}));
  EXPECT_FALSE(onlyEnds(SSetHedge{}));
}

TEST(Acts, WhatArrivesDuringASlowCommitSharesTheNextOneAndTheClockSaysThatItIsLate) {
  struct SSlowDisk : app::IActKeeper {
    std::string keep(std::int64_t msec, const std::vector<Act>& acts, int) override {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_commits.emplace_back(msec, acts.size());
      m_changed.notify_all();
      return {};
    }
    std::mutex m_mutex;  ///< whoever holds it is what makes the disk slow
    std::condition_variable m_changed;
    std::vector<std::pair<std::int64_t, std::size_t>> m_commits;
  };
  SRig rig;
  SSlowDisk disk;
  const auto thread = rig.makeThread(disk);
  EXPECT_EQ(thread->lag(), 0) << "it does not run yet";
  std::unique_lock<std::mutex> lock(disk.m_mutex);
  thread->post(SQueryProcess{});
  thread->start();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  for (int i = 0; i < 3; ++i) thread->post(SQueryProcess{});
  EXPECT_GE(thread->lag(), 0.19) << "told while the disk is waited for";
  EXPECT_EQ(thread->now(), exchange::DAY_OPENS) << "nothing happens before the commit";
  EXPECT_TRUE(disk.m_changed.wait_for(lock, std::chrono::seconds(60), [&] { return disk.m_commits.size() == 2; }));
  EXPECT_EQ(disk.m_commits[0].second, 1u);
  EXPECT_EQ(disk.m_commits[1].second, 3u);
  lock.unlock();
  const auto begin = std::chrono::steady_clock::now();
  while (thread->lag() > 0.1 && std::chrono::steady_clock::now() - begin < std::chrono::seconds(60)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_LE(thread->lag(), 0.1) << "it catches up";
  thread->stop();
  EXPECT_EQ(thread->lag(), 0);
}

TEST(Acts, AFullDiskTakesOfWhatArrivesTogetherOnlyWhatEnds) {
  QTemporaryDir folder;
  const std::string disk = folder.path().toStdString();
  if (mount("none", disk.c_str(), "tmpfs", 0, "size=6m") != 0) GTEST_SKIP() << "may not mount a small disk here";
  const auto unmount = [](const std::string* at) { umount2(at->c_str(), MNT_DETACH); };
  const std::unique_ptr<const std::string, decltype(unmount)> mounted(&disk, unmount);
  daylog::SOpenedDay day = daylog::openDay(disk + "/day.db");
  ASSERT_TRUE(day.m_pLog) << day.m_strFault;
  ASSERT_EQ(day.m_pLog->append({{0, exchange::DAY_OPENS, "query", "{}"}}, {}), "");
  {
    std::ofstream rest(disk + "/rest");
    while (rest << std::string(4096, 'x') << std::flush) {
    }
  }
  const std::string large = R"({"text":")" + std::string(100000, 'x') + "\"}";
  for (const std::string& body : {large, std::string("{}")}) {
    while (day.m_pLog->append({{0, exchange::DAY_OPENS, "query", body}}, {}).empty()) {
    }
  }
  const std::size_t before = day.m_pLog->entries().size();

  app::CDayKeeper keeper(*day.m_pLog);
  SRig rig;
  const auto take = [&](const std::vector<Act>& acts) {
    const auto thread = rig.makeThread(keeper);
    for (const Act& act : acts) thread->post(act);
    SRig::take(*thread);
    thread->stop();
  };
  take({SSetHedge{1, 1, {}}, SCancelOrders{"2-1", {"2-1-3"}}, SSteerHedge{1, EHedgeAct::Start}});
  ASSERT_EQ(day.m_pLog->entries().size(), before + 1);
  EXPECT_EQ(day.m_pLog->entries().back().m_strKind, "cancel");
  ASSERT_EQ(rig.m_told.size(), 2u);
  EXPECT_NE(rig.m_told[0].find("套利参数: 日志无法写入，未执行："), std::string::npos) << rig.m_told[0];
  EXPECT_NE(keeper.fault(), "");

  ASSERT_EQ(unlink((disk + "/rest").c_str()), 0);
  take({SSetHedge{1, 1, {}}});
  EXPECT_EQ(day.m_pLog->entries().size(), before + 2);
  EXPECT_EQ(keeper.fault(), "") << "it is over";
}
