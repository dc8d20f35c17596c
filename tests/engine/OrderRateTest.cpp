/// How fast the engine sends for each account, and what becomes of tasks at the limit of a day.
#include <random>

#include "Rig.h"
#include "ksservice/Operations.h"

namespace {

using namespace ksservice;
using engine::SOrderLimits;

/// What an account sends is within its limit in any second, at whatever times it wants to, and not much below it.
TEST(OrderRates, NoSecondHasMoreThanItsLimitAndCancelsKeepTheirOrderBeforeOrders) {
  std::mt19937 random(11);
  for (int round = 0; round < 50; ++round) {
    const int limit = 1 + static_cast<int>(random() % 40);
    engine::COrderRates rates({.m_nPerSecond = limit, .m_nPerDay = 1000000});
    std::map<int, std::vector<std::int64_t>> sent;
    std::uint64_t asked = 0;
    std::uint64_t taken = 0;
    for (std::int64_t now = 0; now < 30000; now += static_cast<std::int64_t>(random() % (round % 3 ? 40 : 1500))) {
      const int account = rates.numberOf(random() % 2 ? "A" : "B");
      if (account == 0 && random() % 4 == 0) rates.addCancel(account, ++asked);
      ASSERT_TRUE(account == 1 || asked == taken || !rates.mayOrder(account, now)) << "an order before a cancel";
      while (const std::uint64_t cancel = rates.takeCancel(account, now)) {
        ASSERT_EQ(cancel, ++taken);
        rates.count(account, now);
        sent[account].push_back(now);
      }
      while (rates.mayOrder(account, now)) {
        rates.count(account, now);
        sent[account].push_back(now);
      }
    }
    ASSERT_EQ(sent.size(), 2U);
    for (const auto& [account, times] : sent) {
      for (std::size_t i = static_cast<std::size_t>(limit); i < times.size(); ++i) {
        ASSERT_GE(times[i] - times[i - static_cast<std::size_t>(limit)], 1000) << limit;
      }
      EXPECT_TRUE(round % 3 == 0 || times.size() / 24 >= static_cast<unsigned>(limit)) << limit;
    }
  }
}

TEST(OrderRates, WhatTheSecondHoldsBackIsToldWhenItGoesOn) {
  engine::COrderRates rates({.m_nPerSecond = 2, .m_nPerDay = 5});
  const int account = rates.numberOf("A");
  const auto send = [&](std::int64_t now) {
    if (!rates.mayOrder(account, now)) return false;
    rates.count(account, now);
    return true;
  };
  EXPECT_TRUE(send(1000) && send(1000));
  EXPECT_TRUE(rates.takeWaits().empty()) << "nobody wants more";
  EXPECT_FALSE(send(1100) || send(2000));
  EXPECT_TRUE(rates.takeWaits().empty());
  EXPECT_TRUE(send(2100));
  std::vector<engine::SOrderWait> waits = rates.takeWaits();
  ASSERT_EQ(waits.size(), 1u);
  EXPECT_EQ(std::tuple(waits[0].m_strAccount, waits[0].m_nFrom, waits[0].m_nUntil), std::tuple("A", 1100, 2100));
  // Given up while it waited.
  EXPECT_TRUE(send(2200));
  EXPECT_FALSE(send(2300));
  EXPECT_TRUE(send(60000));
  waits = rates.takeWaits();
  ASSERT_EQ(waits.size(), 1u);
  EXPECT_EQ(waits[0].m_nUntil, 2300);
  // The day is over.
  EXPECT_FALSE(send(70000) || send(80000));
  EXPECT_TRUE(rates.takeWaits().empty());
}

/// An exchange that keeps what was sent to it and when.
class CMeter : public exchange::CExchange {
 public:
  struct SSent {
    std::int64_t m_nTime;
    std::uint64_t m_nId;
    bool m_bCancel;
    bool m_bBuy;
  };

  using CExchange::CExchange;
  void submit(const exchange::SMarketOrder& order) override {
    m_sent.push_back({m_nTime, order.m_nId, false, order.m_bBuy});
    CExchange::submit(order);
  }
  void cancel(std::uint64_t id) override {
    m_sent.push_back({m_nTime, id, true, false});
    CExchange::cancel(id);
  }
  std::ptrdiff_t count(bool cancels, bool buys = false) const {
    return std::count_if(m_sent.begin(), m_sent.end(),
                         [&](const SSent& sent) { return sent.m_bCancel == cancels && sent.m_bBuy == buys; });
  }

  std::int64_t m_nTime = 0;
  std::vector<SSent> m_sent;
};

/// An engine on such an exchange that has just matched for the first time.
class OrderRate : public testing::Test, protected SRig {
 protected:
  void open(SOrderLimits limits) {
    m_pEngine = std::make_unique<engine::CEngine>(m_desk, m_market, engineSettings(limits));
    m_pEngine->setEventHook([this](const engine::SEngineEvent& event) {
      m_events.push_back((event.m_bWarning ? "! " : "") + event.m_strText);
    });
  }
  void stepTo(std::int64_t sinceOpen) {
    for (; m_market.m_nTime <= exchange::MORNING_BEGINS + sinceOpen; m_market.m_nTime += 100) {
      m_market.advanceTo(m_market.m_nTime);
      m_pEngine->advanceTo(m_market.m_nTime);
    }
  }
  /// Orders of an account that trade at once or, at a price of their own far from the market, rest. Its sub-task's key.
  std::string startLines(std::size_t account, std::size_t lines, int operation, bool rest) {
    engine::SBasketOrder order = basket();
    order.m_accounts = {m_accounts[account]};
    order.m_lines.resize(lines);
    for (engine::SOrderLine& each : order.m_lines) {
      each.m_nOperation = operation;
      each.m_nQuantity = 1000;
      each.m_bOwnPrice = rest;
      each.m_dReference -= rest ? each.m_dReference / 20 : 0;
    }
    return std::to_string(m_pEngine->startBasket(order)) + "-1";
  }

  CMeter m_market{makeInstruments(), exchangeSettings(1, 0)};
  std::unique_ptr<engine::CEngine> m_pEngine;

 private:
  void SetUp() override { m_market.m_nTime = exchange::MORNING_BEGINS - 1000; }
};

TEST_F(OrderRate, EachAccountHasItsOwnAndItsTasksShareIt) {
  open({.m_nPerSecond = 10});
  startLines(0, 20, EOT_Buy, false);
  startLines(0, 20, EOT_Buy, false);
  startLines(1, 40, EOT_Sell, false);
  stepTo(0);
  EXPECT_EQ(m_market.count(false, true), 10);
  EXPECT_EQ(m_market.count(false, false), 10);
  EXPECT_EQ(newest("101-1").m_orders.size(), 5U);
  EXPECT_EQ(newest("102-1").m_orders.size(), 5U);
  stepTo(999);
  EXPECT_EQ(m_market.m_sent.size(), 20U);
  stepTo(5000);
  EXPECT_EQ(m_market.m_sent.size(), 80U);
}

TEST_F(OrderRate, CancelsGoBeforeOrdersAndNoneForAnOrderThatHasEnded) {
  open({.m_nPerSecond = 10});
  const std::string rests = startLines(0, 8, EOT_Buy, true);
  const std::string fills = startLines(0, 8, EOT_Buy, false);
  startLines(0, 40, EOT_Buy, false);
  stepTo(1100);
  ASSERT_EQ(m_market.m_sent.size(), 20U);
  const std::size_t resting = newest(rests).m_orders.size();
  const std::size_t filling = newest(fills).m_orders.size();
  ASSERT_GE(filling, 6U);
  ASSERT_LT(filling, 8U);
  // The last of them are on their way to the exchange.
  ASSERT_TRUE(m_pEngine->operate(101, {}, ETO_Cancel) && m_pEngine->operate(102, {}, ETO_Cancel));
  stepTo(2200);
  ASSERT_EQ(m_market.m_sent.size(), 30U);
  for (std::size_t i = 0; i < 10; ++i) EXPECT_EQ(m_market.m_sent[20 + i].m_bCancel, i < resting) << i;
  stepTo(30000);
  EXPECT_EQ(m_market.count(true), static_cast<std::ptrdiff_t>(resting));
  EXPECT_EQ(newest(rests).m_nStatus, ETS_Cancelled);
  EXPECT_EQ(newest(fills).m_nStatus, ETS_Cancelled);
  EXPECT_EQ(newest(fills).m_orders.size(), filling) << "nothing is sent after a cancel";
  EXPECT_EQ(newest("103-1").m_orders.size(), 40U);
}

TEST_F(OrderRate, AtTheDaysLimitTasksEndWithWordsAndOnlyCancelsGo) {
  open({.m_nPerDay = 20});
  const std::string key = startLines(0, 30, EOT_Buy, true);
  stepTo(1000);
  EXPECT_EQ(m_market.m_sent.size(), 20U);
  EXPECT_EQ(newest(key).m_nStatus, ETS_Running) << "what is in the market may still trade";
  EXPECT_EQ(newest(key).m_strMessage, "账户今日报撤已达上限，余量未委托");
  const std::string later = startLines(0, 5, EOT_Buy, false);
  const std::string other = startLines(1, 5, EOT_Sell, false);
  stepTo(2000);
  EXPECT_EQ(newest(later).m_nStatus, ETS_Cancelled);
  EXPECT_EQ(newest(later).m_strMessage, "账户今日报撤已达上限，余量未委托");
  EXPECT_EQ(newest(other).m_orders.size(), 5U);
  EXPECT_EQ(heard("超出"), 0);

  EXPECT_TRUE(m_pEngine->operate(101, {}, ETO_Cancel));
  EXPECT_FALSE(m_pEngine->operate(101, {}, ETO_Cancel));
  stepTo(20000);
  EXPECT_EQ(m_market.count(true), 20);
  EXPECT_EQ(newest(key).m_nStatus, ETS_Cancelled);
  long long left = 0;
  for (const auto& [line, volume] : m_pEngine->remainders(101)) left += volume;
  EXPECT_EQ(left, 30 * 1000) << "all of it may be ordered elsewhere";
  EXPECT_EQ(heard("! 账户 1001 今日报撤已达上限 20 笔: 不再委托, 撤单照常"), 1);
  EXPECT_EQ(heard("! 账户 1001 超出今日报撤上限的撤单: 20 笔"), 1);
  EXPECT_EQ(heard("账户 1002"), 0);
}

/// Near the limit an order is not taken out of the market when no other can take its place; at the end of the schedule
/// it is all the same.
TEST_F(OrderRate, AScheduleReplacesNothingThatItCannotOrderAnew) {
  open({.m_nPerDay = 6});
  engine::SBasketOrder order = basket();
  order.m_lines = {line("SZ", "1005", EOT_Buy, 100000)};
  order.m_algo =
      TC::SAlgoParams{.m_eAlgorithm = TC::EAlgorithm::TWAP, .m_nEnd = 10 * 3600, .m_nSlices = 30, .m_dLimit = 9.1};
  const std::string key = std::to_string(m_pEngine->startBasket(order)) + "-1";
  stepTo(1200000);
  EXPECT_EQ(m_market.m_sent.size(), 6U);
  EXPECT_EQ(m_market.count(true), 2);
  EXPECT_EQ(newest(key).m_nStatus, ETS_Running);
  stepTo(1801000);
  EXPECT_EQ(m_market.count(true), 4);
  EXPECT_EQ(newest(key).m_nStatus, ETS_Cancelled);
  EXPECT_EQ(newest(key).m_strMessage, "账户今日报撤已达上限，余量未委托");
}

}  // namespace
