// Docks over a desk, from the publication to what stands in them.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>

#include "CStateStore.h"
#include "DocksRig.h"
#include "docks/CLogDock.h"
#include "docks/CourseFigures.h"
#include "docks/RowScope.h"
#include "tc/TaskEvents.h"

namespace app {
namespace {

struct SDriver : desk::IDeskDriver {
  void cancelOrders(const std::string& detail, const std::vector<std::string>& orders) override {
    for (const std::string& order : orders) cancelled.push_back(std::string(detail).append("/").append(order));
  }
  std::vector<std::string> cancelled;
};

TEST_F(Docks, TheBlotterTellsWhatIsNewAndKeepsTheOrdersOfAServerToo) {
  const COrderInfoPtr still = makeOrder("1-1-1", "600001");
  publish(1, 1, {still});
  m_blotter.follow(true);
  SBlotterNews news = m_blotter.take();
  EXPECT_TRUE(news.m_bAnew);
  ASSERT_EQ(news.m_orders.size(), 1u) << "what was there before";
  publish(1, 1, {still, makeOrder("1-1-2", "600002", 40)});
  publish(2, 1, {makeOrder("2-1-1", "600001", 100, true)}, true);
  publish(1, 1, {still, makeOrder("1-1-2", "600002", 100, true)});
  news = m_blotter.take();
  EXPECT_FALSE(news.m_bAnew);
  std::map<int, std::string> told;
  for (const auto& [number, order] : news.m_orders) told[number] += order.m_pInfo->getKey();
  EXPECT_EQ(told[1], "1-1-2") << "once, as it is now";
  EXPECT_EQ(told[2], "2-1-1");
  ASSERT_EQ(news.m_fills.size(), 3u);
  EXPECT_EQ(news.m_fills[0].m_nQuantity, 40);
  EXPECT_EQ(news.m_fills[2].m_nQuantity, 60);
  EXPECT_TRUE(m_blotter.take().m_orders.empty());
  m_blotter.follow(false);
  publish(1, 2, {makeOrder("1-2-1", "600001")});
  EXPECT_TRUE(m_blotter.take().m_orders.empty()) << "nobody follows";
  EXPECT_EQ(m_blotter.course(2)->m_dBought, 1000);
  // The least commission once for each order that traded, and the transfer fee.
  EXPECT_DOUBLE_EQ(m_blotter.course(2)->m_dFees, 5.01);
  EXPECT_NEAR(m_blotter.course(1)->m_dFees, 5.01, 1e-9) << "in two fills";
  m_blotter.onTradingDay("20261124");
  m_blotter.follow(true);
  EXPECT_TRUE(m_blotter.take().m_orders.empty());
  EXPECT_EQ(m_blotter.course(2), nullptr);
}

TEST_F(Docks, AFillStandsAsTheMarketReportedItAndAnOrderAtTheTimeItWasSent) {
  m_host.desk().setNow(110);
  m_blotter.follow(true);
  const ksservice::CTaskDetailPtr detail = testkit::makeDetail(1, 1);
  testkit::addParam(*detail, testkit::makeAccount("A1", "1001"), "600001", 100, 10);
  const COrderInfoPtr order = makeOrder("1-1-1", "600001", 100, true);
  order->m_dTradedAmount = 1030;
  detail->m_orders = {order};
  desk::SPublication publication;
  publication.m_pDetail = detail;
  publication.m_fills = {{0, 100, 40, 400}, {0, 105, 60, 630}};
  publication.m_sent = {95};
  m_host.desk().publishTask(publication);
  const SBlotterNews news = m_blotter.take();
  ASSERT_EQ(news.m_orders.size(), 1u);
  EXPECT_EQ(news.m_orders[0].second.m_nSent, 95);
  ASSERT_EQ(news.m_fills.size(), 2u);
  EXPECT_EQ(news.m_fills[0].m_nTime, 100);
  EXPECT_EQ(news.m_fills[1].m_nQuantity, 60);
  EXPECT_EQ(news.m_fills[1].m_dAmount, 630);
  EXPECT_EQ(m_blotter.course(1)->m_dBought, 1030);
}

TEST_F(Docks, TheMarketsAverageOfATaskStandsStillWhenItEnds) {
  exchange::SQuote market;
  const auto trade = [&market](int volume, double price) {
    market.m_nVolume += volume;
    market.m_dAmount += volume * price;
  };
  CBlotter blotter(m_host.desk(), [&market](const std::string&, const std::string&, exchange::SQuote& quote) {
    quote = market;
    return true;
  });
  const auto publishTask = [&](int number, int end) {
    const ksservice::CTaskDetailPtr detail = testkit::makeDetail(1, number);
    testkit::addParam(*detail, testkit::makeAccount("A1", "1001"), "600001", 100, 10);
    detail->m_orders.push_back(makeOrder("1-" + std::to_string(number) + "-1", "600001", 100, true));
    detail->m_nEndTime = end;
    desk::SPublication publication;
    publication.m_pDetail = detail;
    blotter.onTask(publication);
  };
  trade(5000, 9);
  publishTask(1, ksservice::UNSET_INT);
  trade(1000, 9.9);
  EXPECT_FALSE(costAgainstMarket(*blotter.course(1), {})) << "while it runs the market is asked";
  publishTask(1, 100);
  trade(1000, 20);
  ASSERT_TRUE(costAgainstMarket(*blotter.course(1), {market}));
  EXPECT_NEAR(costAgainstMarket(*blotter.course(1), {market})->first, 100 * (10 - 9.9), 1e-6) << "whenever it is asked";
  publishTask(2, ksservice::UNSET_INT);
  EXPECT_NEAR(costAgainstMarket(*blotter.course(1), {market})->first, 200 * (10 - 14.95), 1e-6) << "it goes on";
}

TEST_F(Docks, AnOrderStandsBehindItsLineItsAccountAndItsSide) {
  SBlotterDetail detail;
  detail.m_nTaskId = 7;
  detail.m_strAccount = "A-1";
  detail.m_strDisplayId = "1001";
  const COrderInfoPtr order = makeOrder("7-1-1", "600001");
  SBlotterDetail hedge = detail;
  hedge.m_bHedge = true;
  const QString line = QStringLiteral("-SH.600001买入");
  const std::pair<QString, bool> nodes[] = {{"", true},
                                            {line, true},
                                            {"-1001", true},
                                            {"-1002", false},
                                            {"-1001" + line, true},
                                            {"-1002" + line, false},
                                            {"-证券", true},
                                            {"-期货", false},
                                            {"-证券-1001" + line, true},
                                            {"-1001@A-1", true},
                                            {"-1001@A-2", false},
                                            {"-SH.600001卖出", false},
                                            {"-期货-1001" + line, false}};
  for (const auto& [node, takes] : nodes) {
    EXPECT_EQ(CRowScope({7, TC::taskKey(7) + node}).takes(detail, *order), takes) << node.toStdString();
  }
  EXPECT_TRUE(CRowScope({7, QString()}).takes(detail, *order));
  EXPECT_FALSE(CRowScope({8, QString()}).takes(detail, *order));
  EXPECT_TRUE(CRowScope({7, TC::taskKey(7) + QStringLiteral("-期货")}).takes(hedge, *order));
  EXPECT_EQ(orderRowKey(hedge, *order), QStringLiteral("7-期货-A-1-SH.600001买入"));
}

TEST_F(Docks, ADockIsMadeAndFedOnlyWhenItShows) {
  m_window.show();
  m_window.docks().attach(m_sources);
  publish(1, 1, {makeOrder("1-1-1", "600001", 30)});
  m_window.docks().choose(1, QString());
  EXPECT_EQ(m_window.findChild<QDockWidget*>("quotesDock")->widget(), nullptr);
  EXPECT_EQ(m_nAsked, 0);
  auto* table = open("quotesDock")->findChild<CRowsTable*>();
  EXPECT_EQ(table->rowCount(), 1);
  EXPECT_EQ(m_nAsked, 1);
  m_window.docks().choose(1, QString());
  EXPECT_EQ(texts(*table, 2), "11.00");
  EXPECT_EQ(texts(*table, 3), "10.00%");
  EXPECT_EQ(texts(*table, 9), "3.00%") << "our share";
  m_window.docks().choose(5, QString());
  EXPECT_EQ(table->rowCount(), 0) << "a task that nobody knows";
  open("overviewDock");
  m_window.docks().choose(1, QString());
  EXPECT_EQ(table->rowCount(), 1);
  m_blotter.onTradingDay("20261124");
  m_window.docks().choose(1, QString());
  EXPECT_EQ(table->rowCount(), 0) << "another day's";
  publish(1, 1, {});
  m_window.docks().choose(1, QString());
  EXPECT_EQ(table->rowCount(), 1);
  const int asked = m_nAsked;
  m_window.findChild<QDockWidget*>("overviewDock")->close();
  m_window.findChild<QDockWidget*>("quotesDock")->close();
  m_window.docks().choose(1, QString("x"));
  EXPECT_EQ(m_nAsked, asked);
  m_window.docks().attach({});
}

TEST_F(Docks, OrdersAreFilteredCancelledAndLeadToTheirRow) {
  SDriver driver;
  m_host.desk().requests().setDriver(&driver);
  m_window.show();
  m_window.docks().attach(m_sources);
  publish(1, 1,
          {makeOrder("1-1-1", "600001", 100, true), makeOrder("1-1-2", "600001", 40), makeOrder("1-1-3", "600002")});
  publish(1, 2, {makeOrder("1-2-1", "600001", 0, true), makeOrder("1-2-2", "600001")}, false, "1-2-1");
  QWidget* content = open("ordersDock");
  const auto tables = content->findChildren<CRowsTable*>();
  CRowsTable& orders = *(tables[0]->baseModel()->columnCount() > 9 ? tables[0] : tables[1]);
  constexpr int STATE = 10;
  EXPECT_EQ(texts(orders, STATE), QStringLiteral("已报 已撤 已报 部成 已成")) << "the newest first";
  const auto combos = content->findChildren<QComboBox*>();
  combos[1]->setCurrentIndex(1);
  EXPECT_EQ(texts(orders, STATE), QStringLiteral("已报 已报 部成")) << "what can be cancelled";
  m_window.docks().choose(1, TC::taskKey(1) + "-1001");
  combos[0]->setCurrentIndex(1);
  EXPECT_EQ(texts(orders, STATE), QStringLiteral("已报 部成")) << "of the account";
  orders.selectAll();
  // One of the two ends while the user moves his hand.
  publish(
      1, 1,
      {makeOrder("1-1-1", "600001", 100, true), makeOrder("1-1-2", "600001", 100, true), makeOrder("1-1-3", "600002")});
  m_window.docks().choose(1, TC::taskKey(1) + "-1001");
  content->findChild<QPushButton*>()->click();
  EXPECT_EQ(driver.cancelled, std::vector<std::string>{"1-1/1-1-3"});
  content->findChild<QLineEdit*>()->setText("600001");
  EXPECT_EQ(orders.rowCount(), 0);
  combos[1]->setCurrentIndex(0);
  orders.sortByColumn(8, Qt::DescendingOrder);
  EXPECT_EQ(texts(orders, 8), "100 100");
  const QPointF middle = orders.cellRect(0, 3).center();
  QMouseEvent click(QEvent::MouseButtonDblClick, middle, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(orders.viewport(), &click);
  EXPECT_EQ(m_strShown, QStringLiteral("1:1-证券-A1-SH.600001买入"));
  m_window.docks().attach({});
  EXPECT_EQ(orders.rowCount(), 0);
  m_host.desk().requests().setDriver(nullptr);
  letFadesEnd();
}

TEST_F(Docks, TheirColumnsAreKeptWithTheWindow) {
  const QTemporaryDir folder;
  const std::string file = folder.filePath("view.ini").toStdString();
  {
    m_window.show();
    m_window.docks().attach(m_sources);
    open("quotesDock")->findChild<CRowsTable*>()->setColumnVisible(5, false);
    CStateStore store(file);
    ASSERT_TRUE(store.save("panel", m_window));
  }
  CMainWindow window;
  const CStateStore store(file);
  ASSERT_EQ(store.fault(), "");
  store.restoreLayout(window);
  window.docks().attach(m_sources);
  window.show();
  QApplication::processEvents();
  auto* dock = window.findChild<QDockWidget*>("quotesDock");
  ASSERT_TRUE(dock->isVisible() && dock->widget());
  EXPECT_FALSE(dock->widget()->findChild<CRowsTable*>()->isColumnVisible(5));
  window.docks().attach({});
  m_window.docks().attach({});
}

TEST_F(Docks, TheLogIsSearchedAndLimitedToWarnings) {
  CLogDock& log = m_window.log();
  auto* text = log.findChild<QPlainTextEdit*>();
  log.append(0, "one <b>", CLogDock::ELevel::Info);
  log.append(DAY_MSEC + 1000, "two", CLogDock::ELevel::Warning);
  log.findChild<QComboBox*>()->setCurrentIndex(1);
  log.append(2000, "three", CLogDock::ELevel::Info);
  EXPECT_EQ(text->toPlainText().simplified(), "00:00:01 two");
  log.findChild<QComboBox*>()->setCurrentIndex(0);
  log.findChild<QLineEdit*>()->setText("E");
  EXPECT_EQ(text->toPlainText().simplified().replace(QChar::Nbsp, ' '), "00:00:00 one <b> 00:00:02 three");
  letFadesEnd();
}

}  // namespace
}  // namespace app
