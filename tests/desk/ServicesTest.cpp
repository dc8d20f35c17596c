#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <thread>

#include "CDesk.h"
#include "CHostServices.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CStockUnitConfig.h"
#include "tc/CTradingCalendar.h"
#include "tc/Services.h"

namespace {

using desk::CHostServices;

class ServicesTest : public testing::Test {
 protected:
  ServicesTest() : m_services(m_desk, CHostServices::EClock::Manual) { m_services.install(); }

  desk::CDesk m_desk;
  CHostServices m_services;
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
  TC::SServices some;
  some.dataCenter = &ksservice::TraderCenter::instance().getDataCenter();
  some.userConfig = &TC::getUserConfig();
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
