// What a trader is told to look at, and what open baskets need, from what is published.
#include <gtest/gtest.h>

#include "CTestHost.h"
#include "TaskDetails.h"
#include "docks/BasketNeeds.h"
#include "docks/CExceptionFinder.h"

namespace app {
namespace {

using ksservice::COrderInfoPtr;

struct SOrderFacts {
  int m_nTraded = 0;
  bool m_bOver = false;
  const char* m_pMessage = "";
  bool m_bAccepted = false;
};

class Exceptions : public testing::Test {
 public:
  Exceptions() {
    m_host.desk().addObserver(&m_blotter);
    m_host.desk().setNow(NOON);
  }
  ~Exceptions() override { m_host.desk().removeObserver(&m_blotter); }

 protected:
  static COrderInfoPtr makeOrder(const std::string& key, const SOrderFacts& facts) {
    auto order = boost::make_shared<ksservice::COrderInfo>();
    order->m_strKey = key;
    order->m_tag = ksservice::CMavOrderTag(key);
    order->m_strMarket = "SH";
    order->m_strCode = "600001";
    order->m_nOperation = ksservice::EOT_Buy;
    order->m_nVolume = 100;
    order->m_nTradedVolume = facts.m_nTraded;
    order->m_bCompleted = facts.m_bOver;
    order->m_strMessage = facts.m_pMessage;
    return order;
  }

  /// The task's only sub-task, a line of 1000 at 10, with one order for each of facts.
  void publish(int task, const std::vector<SOrderFacts>& orders, int end = ksservice::UNSET_INT) {
    const ksservice::CTaskDetailPtr detail = testkit::makeDetail(task, 1);
    testkit::addParam(*detail, testkit::makeAccount("A1", "1001"), "600001", 1000, 10);
    detail->m_nEndTime = end;
    desk::SPublication publication;
    for (const SOrderFacts& facts : orders) {
      const std::string key = detail->getKey() + "-" + std::to_string(detail->m_orders.size() + 1);
      detail->m_orders.push_back(makeOrder(key, facts));
      if (!facts.m_bAccepted) continue;
      publication.m_orderDetails.emplace_back(detail->m_orders.back()->m_tag,
                                              boost::make_shared<ksservice::COrderDetail>());
    }
    publication.m_pDetail = detail;
    m_host.desk().publishTask(publication);
  }

  /// What there is after a look so many seconds after noon: kinds and texts, the newest first.
  QString look(int seconds) {
    m_host.desk().setNow(NOON + seconds);
    m_finder.look(seconds);
    m_finder.look(seconds);
    m_finder.look(seconds);
    QStringList list;
    for (const auto& [key, each] : m_finder.exceptions().all()) {
      list.append(exceptionKindText(each.m_eKind) + ":" + each.m_strText);
    }
    EXPECT_EQ(m_finder.exceptions().count(), list.size());
    return list.join("|");
  }
  void putAllAway() {
    for (const auto& [key, each] : m_finder.exceptions().all()) m_finder.exceptions().putAway(key);
  }

  static constexpr qint64 NOON = 1795406400;
  static constexpr int MINUTE = 60;
  testkit::CTestHost m_host;
  CBlotter m_blotter{m_host.desk()};
  std::vector<engine::SOrderUse> m_use;
  std::int64_t m_nTick = 0;
  CExceptionFinder m_finder{{&m_host.desk(),
                             &m_blotter,
                             {"SH.600009"},
                             [this] { return m_use; },
                             {280, 1000},
                             [this] { return ++m_nTick > 1000 ? 1000 : m_nTick; }}};
};

TEST_F(Exceptions, RefusalsStandTogetherByTheirReasonAndComeBackWithEachMore) {
  const SOrderFacts poor{0, true, "可用资金不足：需 1，可用 0"};
  publish(1, {poor, poor, {0, true, "停牌"}});
  EXPECT_EQ(look(1).count("|"), 1) << "two reasons";
  EXPECT_TRUE(look(1).contains("可用资金不足：2 笔"));
  const auto row = m_finder.exceptions().all()[0].second;
  EXPECT_EQ(row.m_strRow, QStringLiteral("1-证券-A1-SH.600001买入"));
  putAllAway();
  EXPECT_EQ(look(2), "");
  publish(1, {poor, poor, {0, true, "停牌"}, {0, true, "可用资金不足：需 7，可用 0"}, {0, true, "", true}});
  const QString more = look(3);
  EXPECT_TRUE(more.contains("可用资金不足：3 笔") && more.contains("需 7")) << more.toStdString();
  EXPECT_FALSE(more.contains("|")) << "the other one has not changed, and an accepted one was not refused";
  m_blotter.onTradingDay("20261124");
  EXPECT_EQ(look(4), "");
}

TEST_F(Exceptions, AnOrderWaitsUntilItFillsOrEnds) {
  publish(1, {{0, false, "", true}, {0, false, "", true}});
  EXPECT_EQ(look(5 * MINUTE), "");
  EXPECT_TRUE(look(5 * MINUTE + 1).contains("2 笔委托超过 5 分钟"));
  publish(1, {{40, false, "", true}, {0, false, "", true}});
  EXPECT_TRUE(look(6 * MINUTE).contains("1 笔委托")) << "a fill begins its time anew";
  putAllAway();
  EXPECT_EQ(look(7 * MINUTE), "");
  EXPECT_TRUE(look(11 * MINUTE).contains("2 笔委托")) << "one more";
  putAllAway();
  publish(1, {{100, true, "", true}, {0, false, "", true}, {0, false, "", true}});
  EXPECT_EQ(look(12 * MINUTE), "") << "one less is nothing new";
  EXPECT_TRUE(look(17 * MINUTE + 1).contains("2 笔委托")) << "as many as were put away, but another one";
  publish(1, {{100, true, "", true}, {100, true, "", true}, {100, true, "", true}});
  EXPECT_EQ(look(18 * MINUTE), "");
}

TEST_F(Exceptions, LockedLinesHedgesRatesAndTheFeedAreToldWhileTheyLast) {
  publish(1, {});
  TC::CQuote locked;
  locked.m_dLast = locked.m_dBid = locked.m_dLimitUp = 11;
  locked.m_dLimitDown = 9;
  m_host.desk().setQuote("SH", "600001", locked);
  EXPECT_EQ(look(1), QStringLiteral("涨跌停:封死涨停，买入 还剩 1000"));
  locked.m_dAsk = 11;
  m_host.desk().setQuote("SH", "600001", locked);
  EXPECT_EQ(look(2), "") << "somebody sells";

  ksservice::CBasketHedgeParam hedge;
  hedge.m_strMarket = "SH";
  hedge.m_strCode = "600001";
  hedge.m_nVolume = 300000;
  m_host.desk().setHedgeParam(desk::EHedgeSource::Stored, testkit::makeDetail(1, 1)->m_pCommand->m_nCommandId, hedge);
  EXPECT_TRUE(look(3).contains("相差约 330 万元"));
  putAllAway();
  hedge.m_nVolume = 310000;
  m_host.desk().setHedgeParam(desk::EHedgeSource::Stored, testkit::makeDetail(1, 1)->m_pCommand->m_nCommandId, hedge);
  EXPECT_EQ(look(3), "") << "a lot more or less is nothing new";
  hedge.m_nVolume = 600000;
  m_host.desk().setHedgeParam(desk::EHedgeSource::Stored, testkit::makeDetail(1, 1)->m_pCommand->m_nCommandId, hedge);
  EXPECT_TRUE(look(3).contains("相差约 660 万元")) << "as much again is";
  hedge.m_nVolume = 300000;
  m_host.desk().setHedgeParam(desk::EHedgeSource::Stored, testkit::makeDetail(1, 1)->m_pCommand->m_nCommandId, hedge);
  EXPECT_TRUE(look(3).contains("相差约 330 万元")) << "what was not put away stays until it is over";
  SExceptionLimits limits;
  limits.take("5*4000000*20");
  m_finder.setLimits(limits);
  EXPECT_EQ(look(4), "");

  m_use = {{"A1", 280, 500, 0}, {"A2", 1, 1002, 2}};
  const QString rates = look(5);
  EXPECT_TRUE(rates.contains("每秒 280 笔") && rates.contains("不再委托，撤单照常，其中超出上限的撤单 2 笔"));
  m_use.clear();
  m_nTick = 1000;
  EXPECT_EQ(look(30), "");
  EXPECT_EQ(look(50), "");
  EXPECT_EQ(look(51), QStringLiteral("行情停滞:行情推送已停滞 21 秒，价格可能不是最新"));
}

TEST_F(Exceptions, ASuspendedLineIsToldOnceForATaskUntilItEnds) {
  const auto send = [this](int number, int end) {
    const ksservice::CTaskDetailPtr detail = testkit::makeDetail(1, number);
    const auto account = testkit::makeAccount("A" + std::to_string(number), "100" + std::to_string(number));
    testkit::addParam(*detail, account, "600009", 500, 10, ksservice::EOT_Sell);
    testkit::addParam(*detail, account, "600001", 500, 10);
    detail->m_nEndTime = end;
    desk::SPublication publication;
    publication.m_pDetail = detail;
    m_host.desk().publishTask(publication);
  };
  send(1, ksservice::UNSET_INT);
  send(2, ksservice::UNSET_INT);
  EXPECT_EQ(look(1), QStringLiteral("停牌:停牌，卖出 还剩 1000"));
  EXPECT_EQ(m_finder.exceptions().all()[0].second.m_strRow, QStringLiteral("1-证券-A1-SH.600009卖出"));
  putAllAway();
  EXPECT_EQ(look(2), "");
  send(1, NOON + 2);
  send(2, NOON + 2);
  EXPECT_EQ(look(3), "") << "over";
  EXPECT_TRUE(m_finder.exceptions().all().empty());
}

TEST_F(Exceptions, WhatOrdersHaveFrozenABasketNeedsNoMore) {
  CBasketNeeds needs;
  const auto need = [&] { return needs.of(m_host.desk(), m_blotter, {})["A1"]; };
  publish(1, {});
  publish(2, {});
  EXPECT_NEAR(need().m_dBuys, 2 * (10000 + 5 + 0.1), 1e-6);
  publish(1, {{0, false, "", true}, {100, true, "", true}});
  publish(2, {}, NOON);
  EXPECT_NEAR(need().m_dBuys, 8000 + 5 + 0.08, 1e-6);
  EXPECT_EQ(need().m_dSells, 0);

  const ksservice::CTaskDetailPtr futures = testkit::makeDetail(3, 1);
  const auto account = testkit::makeAccount("A1", "1001");
  for (const int operation : {ksservice::EOT_SellOpen, ksservice::EOT_BuyOpen, ksservice::EOT_BuyClose}) {
    testkit::addParam(*futures, account, "IF2612", 2, 4000, operation);
    futures->m_params.back().m_stock.m_strMarket = "CFFEX";
  }
  TC::CCodeInfo info = testkit::makeInstrument("CFFEX", "IF2612");
  info.m_dMultiplier = 300;
  m_host.desk().setInstrument(info);
  desk::SPublication publication;
  publication.m_pDetail = futures;
  m_host.desk().publishTask(publication);
  EXPECT_NEAR(need().m_dBuys, 8005.08 + 2 * (0.12 * 2'400'000 + 55.2), 1e-6) << "what is opened takes its margin";
  EXPECT_EQ(need().m_dSells, 0) << "of shares alone";

  // More lines than are gone through at once: what had its turn longest ago comes first.
  std::vector<ksservice::CTaskDetailPtr> many;
  const auto sendMany = [&] {
    for (int task = 4; task < 8; ++task) {
      const ksservice::CTaskDetailPtr detail = testkit::makeDetail(task, 1);
      for (int i = 0; i < 15000; ++i) testkit::addParam(*detail, account, std::to_string(600000 + i), 100, 10);
      desk::SPublication sent;
      sent.m_pDetail = detail;
      m_host.desk().publishTask(sent);
    }
  };
  const double before = need().m_dBuys;
  sendMany();
  const double whole = before + 4 * 15000 * (1000 + 5 + 0.01);
  EXPECT_LT(need().m_dBuys, whole - 1);
  sendMany();
  EXPECT_NEAR(need().m_dBuys, whole, 0.01) << "what is not known yet goes before what has changed";
}

}  // namespace
}  // namespace app
