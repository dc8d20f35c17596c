#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <thread>

#include "CHostServices.h"
#include "Samples.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CStockUnitConfig.h"
#include "tc/CTradeClient.h"
#include "tc/CTradingCalendar.h"
#include "tc/CUserConfig.h"

namespace {

using desk::CHostServices;

class ServicesTest : public testing::Test {
 protected:
  ServicesTest() : m_services(m_desk, CHostServices::EClock::Manual) { m_services.install(); }

  desk::CDesk m_desk;
  CHostServices m_services;
};

TEST_F(ServicesTest, AccountsAnswerForConfigurationAndLogin) {
  auto info = boost::make_shared<ksservice::CAccountInfo>();
  info->m_strKey = "A1";
  desk::SAccount account;
  account.m_pInfo = info;
  account.m_bConfigured = false;
  m_desk.addAccount(account);
  EXPECT_FALSE(TC::getUserConfig().getAccountData("A1"));
  EXPECT_TRUE(ksservice::isLoginStatusReady(TC::getTradeClient().getLoginStatus("A1")));
  account.m_bConfigured = true;
  account.m_bLoginReady = false;
  m_desk.addAccount(account);
  EXPECT_EQ(TC::getUserConfig().getAccountData("A1"), info);
  EXPECT_FALSE(ksservice::isLoginStatusReady(TC::getTradeClient().getLoginStatus("A1")));
  EXPECT_FALSE(ksservice::isLoginStatusReady(TC::getTradeClient().getLoginStatus("A2")));
}

TEST_F(ServicesTest, HedgeParametersAreAnsweredUntilThatHedgeWasStarted) {
  ksservice::CBasketHedgeParam param;
  EXPECT_FALSE(TC::getBasketHedgeManager().getHedgeParam(77, param));
  param.m_nVolume = 3;
  m_desk.setHedgeParam(desk::EHedgeSource::Manager, 77, param);
  m_desk.setHedgeParam(desk::EHedgeSource::Stored, 77, param);
  param.m_nVolume = 0;
  ASSERT_TRUE(TC::getBasketHedgeManager().getHedgeParam(77, param));
  EXPECT_EQ(param.m_nVolume, 3);
  TC::getBasketHedgeManager().startHedge(123);  // another hedge, which was given nothing
  EXPECT_TRUE(TC::getBasketHedgeManager().getHedgeParam(77, param));
  TC::getBasketHedgeManager().setParam(123, 77, param);
  TC::getBasketHedgeManager().startHedge(123);
  EXPECT_FALSE(TC::getBasketHedgeManager().getHedgeParam(77, param));
  EXPECT_TRUE(TC::loadHedgeParam(77, param)) << "the user's stored settings stay";
}

TEST_F(ServicesTest, TheManualClockMovesForwardOnlyAndFiresWhatIsPending) {
  desk::CManualClock& clock = *m_services.manualClock();
  clock.advanceTo(500);
  clock.advanceTo(200);
  EXPECT_EQ(utils::clockMSec(), 500);

  std::vector<std::string> calls;
  QObject context;
  auto gone = std::make_unique<QObject>();
  utils::singleShot(1000, &context, [&] {
    calls.push_back("first");
    utils::singleShot(1000, &context, [&] { calls.push_back("asked for meanwhile"); });
  });
  utils::singleShot(1, gone.get(), [&] { calls.push_back("without its object"); });
  gone.reset();
  QCoreApplication::processEvents();
  EXPECT_TRUE(calls.empty());
  EXPECT_TRUE(clock.firePendingTimer());
  EXPECT_EQ(calls, std::vector<std::string>{"first"});
  EXPECT_TRUE(clock.firePendingTimer());
  EXPECT_EQ(calls.size(), 2u);
  EXPECT_FALSE(clock.firePendingTimer());
}

TEST_F(ServicesTest, TimesAreShownInTheZoneOfTheSession) {
  EXPECT_EQ(GV::secondToQDateTime(0).time(), QTime(0, 0));
  desk::SSession session;
  session.m_timeZone = QTimeZone("Asia/Shanghai");
  m_desk.setSession(session);
  EXPECT_EQ(GV::secondToQDateTime(0).time(), QTime(8, 0));
}

TEST_F(ServicesTest, SignalsComeOnTheGuiThreadWhoeverAnnounces) {
  std::vector<std::string> heard;
  const QThread* gui = QThread::currentThread();
  QObject context;
  const auto note = [&](const std::string& what) {
    heard.push_back(QThread::currentThread() == gui ? what : "on another thread");
  };
  QObject::connect(&TC::getBasketHedgeManager(), &TC::CBasketHedgeManager::sigHedgeVolume,
                   [&](int task, int volume) { note(std::to_string(task) + ":" + std::to_string(volume)); });
  QObject::connect(&TC::getBasketHedgeManager(), &TC::CBasketHedgeManager::sigHedgeStatus,
                   [&](int task, int status) { note(std::to_string(task) + "/" + std::to_string(status)); });
  QObject::connect(&TC::getTradingCalendar(), &TC::CTradingCalendar::sigNewTradingDate, note);
  QObject::connect(&TC::getStockUnitConfig(), &TC::CStockUnitConfig::sigStockUnitChange, [&] { note("units"); });
  std::thread elsewhere([this] {
    m_services.announceHedgeVolume(123, 5);
    m_services.announceHedgeStatus(123, 1);
    m_services.announceTradingDay("20261123");
    m_services.announceStockUnitChange();
  });
  elsewhere.join();
  EXPECT_TRUE(heard.empty());
  QCoreApplication::processEvents();
  EXPECT_EQ(heard, (std::vector<std::string>{"123:5", "123/1", "20261123", "units"}));
}

}  // namespace
