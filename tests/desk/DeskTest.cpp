#include "CDesk.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <thread>

#include "CHostServices.h"
#include "TaskDetails.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CStockUnitConfig.h"
#include "tc/CTradingCalendar.h"
#include "tc/Services.h"

namespace {

using desk::CDesk;

TC::CCodeInfo instrument(const std::string& market, const std::string& name) {
  TC::CCodeInfo info = testkit::makeInstrument(market, "600000");
  info.m_strName = name;
  return info;
}

TEST(Desk, FindsAnInstrumentByMarketAndByShortCodeOfItsMarket) {
  CDesk desk;
  desk.setInstrument(instrument("SSE", "by short code"));
  ASSERT_TRUE(desk.codeInfo("SH", "600000"));
  EXPECT_EQ(desk.codeInfo("SH", "600000")->m_strName, "by short code");
  EXPECT_EQ(desk.codeInfo("SSE", "600000")->m_strName, "by short code");
  EXPECT_FALSE(desk.codeInfo("HGT", "600000"));
  EXPECT_FALSE(desk.codeInfo("SZ", "600000"));
  EXPECT_FALSE(desk.codeInfo("SH", "600001"));

  // The market itself goes before another market's short code.
  desk.setInstrument(instrument("SH", "itself"));
  EXPECT_EQ(desk.codeInfo("SH", "600000")->m_strName, "itself");
  EXPECT_EQ(desk.codeInfo("SSE", "600000")->m_strName, "by short code");

  // What was handed out does not change with the next setting.
  const auto before = desk.codeInfo("SH", "600000");
  desk.setInstrument(instrument("SH", "renamed"));
  EXPECT_EQ(before->m_strName, "itself");
  EXPECT_EQ(desk.codeInfo("SH", "600000")->m_strName, "renamed");
}

TEST(Desk, OrderDetailsComeAndGoWithPublications) {
  CDesk desk;
  const ksservice::CMavOrderTag tag("t1");
  auto known = boost::make_shared<ksservice::COrderDetail>();
  known->m_bCancelled = true;
  desk.publishTask({testkit::makeDetail(1), {{tag, known}}});
  EXPECT_EQ(desk.orderDetail(ksservice::CMavOrderTag("t1")), known);
  EXPECT_FALSE(desk.orderDetail(ksservice::CMavOrderTag("t2")));

  // Not named: as before. Named with none: gone.
  desk.publishTask({testkit::makeDetail(1), {}});
  EXPECT_EQ(desk.orderDetail(tag), known);
  desk.publishTask({testkit::makeDetail(1), {{tag, nullptr}}});
  EXPECT_FALSE(desk.orderDetail(tag));
}

TEST(Desk, TellsOfWhichOrdersSomethingElseIsKnownSinceAVersion) {
  CDesk desk;
  const auto publish = [&desk](const std::string& tag, const ksservice::COrderDetailPtr& known) {
    desk.publishTask({testkit::makeDetail(1), {{ksservice::CMavOrderTag(tag), known}}, desk::EVia::Store});
  };
  const auto hash = [](const std::string& tag) { return ksservice::CMavOrderTag(tag).hash(); };
  EXPECT_TRUE(desk.orderChanges(0).all);
  const std::uint64_t empty = desk.orderChanges(0).version;
  publish("t1", boost::make_shared<ksservice::COrderDetail>());
  const std::uint64_t one = desk.orderChanges(empty).version;
  publish("t2", nullptr);
  EXPECT_EQ(desk.orderChanges(empty).tags, (std::vector<std::size_t>{hash("t1"), hash("t2")}));
  EXPECT_EQ(desk.orderChanges(one).tags, std::vector<std::size_t>{hash("t2")});
  EXPECT_FALSE(desk.orderChanges(one).all);
  EXPECT_TRUE(desk.orderChanges(desk.orderChanges(one).version + 1).all) << "a version of another host";

  for (int i = 0; i < (1 << 16); ++i) publish("t3", nullptr);
  EXPECT_TRUE(desk.orderChanges(one).all) << "too long ago";
  const std::uint64_t last = desk.orderChanges(0).version;
  EXPECT_TRUE(desk.orderChanges(last).tags.empty() && !desk.orderChanges(last).all);
  desk.forgetTasks();
  EXPECT_TRUE(desk.orderChanges(last).all);
}

/// Commands of the next day may have the same numbers.
TEST(Desk, ForgetsWithTheTasksOfADayTheirCommandsHedgesAndProgress) {
  CDesk desk;
  const auto detail = testkit::makeDetail(1);
  const int command = detail->m_pCommand->m_nCommandId;
  desk.publishTask({detail, {}});
  desk.setHedgeParam(desk::EHedgeSource::Stored, command, {});
  desk.giveHedgeParam(detail->m_nTaskId, command, {});
  desk.setHedgeState(detail->m_nTaskId, 3);
  desk.setProgress(detail->getKey(), {});
  ASSERT_TRUE(desk.command(command) && desk.progress(detail->getKey()));
  desk.forgetTasks();
  ksservice::CBasketHedgeParam param;
  EXPECT_FALSE(desk.hedgeParam(desk::EHedgeSource::Stored, command, param));
  EXPECT_FALSE(desk.hedgeParam(desk::EHedgeSource::Manager, command, param));
  EXPECT_FALSE(desk.givenHedgeParam(detail->m_nTaskId, param));
  EXPECT_EQ(desk.hedgeState(detail->m_nTaskId), 0);
  EXPECT_FALSE(desk.command(command));
  EXPECT_FALSE(desk.progress(detail->getKey()));
}

TEST(Desk, KnowsOfTheNewestDetailAloneWhetherItsParametersAreThoseOfTheOneBefore) {
  CDesk desk;
  const auto publish = [&desk](bool same) {
    ksservice::CTaskDetailPtr made = testkit::makeDetail(1);
    desk.publishTask({made, {}, desk::EVia::Store, true, same});
    return made;
  };
  const auto first = publish(true);
  const std::uint64_t version = desk.paramsVersion(*first);
  EXPECT_NE(version, 0u);
  const auto second = publish(true);
  EXPECT_EQ(desk.paramsVersion(*second), version);
  EXPECT_EQ(desk.paramsVersion(*first), 0u) << "nobody knows any more";
  EXPECT_NE(desk.paramsVersion(*publish(false)), version);
  const auto corrected = testkit::makeDetail(1);
  desk.updateData(corrected);
  EXPECT_EQ(desk.paramsVersion(*corrected), 0u);
  const auto behind = publish(true);
  EXPECT_FALSE(desk.paramsVersion(*behind) == version || desk.paramsVersion(*behind) == 0);
}

TEST(Desk, ACorrectionReplacesOnlyTheDetailThatItCorrects) {
  CDesk desk;
  const auto first = testkit::makeFilled(1, 1, 100);
  desk.publishTask({first, {}});
  const auto corrected = boost::make_shared<ksservice::CTaskDetail>(*first);
  corrected->m_nStatus = ksservice::ETS_Finished;
  desk.updateData(corrected);
  EXPECT_EQ(desk.taskDetail("1-1"), corrected);

  // A detail with newer orders was published meanwhile: the correction would take its fills away.
  const auto second = testkit::makeFilled(1, 1, 100);
  desk.publishTask({second, {}});
  desk.updateData(corrected);
  EXPECT_EQ(desk.taskDetail("1-1"), second);
}

TEST(Desk, AccountsKeepTheirOrderAndAreReplacedByKey) {
  CDesk desk;
  for (const char* key : {"B", "A", "B"})
    desk.addAccount({.m_pInfo = testkit::makeAccount(key, {}), .m_bFiltered = desk.accounts().size() == 2});
  ASSERT_EQ(desk.accounts().size(), 2u);
  EXPECT_EQ(desk.accounts()[0].m_pInfo->getKey(), "B");
  EXPECT_TRUE(desk.accounts()[0].m_bFiltered);
  EXPECT_FALSE(desk.accounts()[1].m_bFiltered);
}

class ServicesTest : public testing::Test {
 protected:
  ServicesTest() : m_services(m_desk, desk::CHostServices::EClock::Manual) { m_services.install(); }

  CDesk m_desk;
  desk::CHostServices m_services;
};

TEST_F(ServicesTest, TheManualClockMovesForwardOnlyAndFiresWhatIsPending) {
  desk::CManualClock& clock = *m_services.manualClock();
  clock.advanceTo(500);
  clock.advanceTo(200);
  EXPECT_EQ(utils::clockMSec(), 500);

  std::vector<std::string> calls;
  QObject context;
  auto gone = std::make_unique<QObject>();
  utils::singleShot(1000, &context, [&] {
    calls.emplace_back("first");
    utils::singleShot(1000, &context, [&] { calls.emplace_back("asked for meanwhile"); });
  });
  utils::singleShot(1, gone.get(), [&] { calls.emplace_back("without its object"); });
  gone.reset();
  QCoreApplication::processEvents();
  EXPECT_TRUE(calls.empty());
  EXPECT_TRUE(clock.firePendingTimer());
  EXPECT_EQ(calls, std::vector<std::string>{"first"});
  EXPECT_TRUE(clock.firePendingTimer());
  EXPECT_EQ(calls.size(), 2u);
  EXPECT_FALSE(clock.firePendingTimer());
}

TEST_F(ServicesTest, SignalsComeOnTheGuiThreadWhoeverAnnounces) {
  std::vector<std::string> heard;
  const QThread* gui = QThread::currentThread();
  const auto note = [&](const std::string& what) {
    heard.push_back(QThread::currentThread() == gui ? what : "on another thread");
  };
  QObject::connect(&TC::getBasketHedgeManager(), &TC::CBasketHedgeManager::sigHedgeVolume,
                   [&](int task, int volume) { note(std::to_string(task) + ":" + std::to_string(volume)); });
  QObject::connect(&TC::getBasketHedgeManager(), &TC::CBasketHedgeManager::sigHedgeStatus,
                   [&](int task, int status) { note(std::to_string(task) + "/" + std::to_string(status)); });
  QObject::connect(&TC::getTradingCalendar(), &TC::CTradingCalendar::sigNewTradingDate, note);
  QObject::connect(&TC::getStockUnitConfig(), &TC::CStockUnitConfig::sigStockUnitChange, [&] { note("units"); });
  std::thread([this] {
    m_services.announceHedgeVolume(123, 5);
    m_services.announceHedgeStatus(123, 1);
    m_services.announceTradingDay("20261123");
    m_services.announceStockUnitChange();
  }).join();
  EXPECT_TRUE(heard.empty());
  QCoreApplication::processEvents();
  EXPECT_EQ(heard, (std::vector<std::string>{"123:5", "123/1", "20261123", "units"}));
}

TEST_F(ServicesTest, AreTakenWholeOrNotAtAll) {
  const TC::SServices some{.dataCenter = &ksservice::TraderCenter::instance().getDataCenter(),
                           .userConfig = &TC::getUserConfig()};
  const unsigned before = TC::servicesNumber();
  const std::vector<std::string> missing = TC::installServices(some);
  EXPECT_EQ(missing.size(), 13U);
  for (const char* name : {"task centre", "clock", "hedge settings"}) {
    EXPECT_EQ(std::count(missing.begin(), missing.end(), name), 1) << name;
  }
  EXPECT_EQ(TC::servicesNumber(), before);
  EXPECT_EQ(&TC::getUserConfig(), some.userConfig) << "those from before stay";
  m_services.uninstall();
  EXPECT_NE(TC::servicesNumber(), before) << "the empty set takes them away";
}

}  // namespace
