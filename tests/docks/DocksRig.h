/// A window with docks over a desk.
#pragma once

#include <gtest/gtest.h>

#include <QtTest/QTest>

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <string>
#include <vector>

#include "CMainWindow.h"
#include "CTestHost.h"
#include "TaskDetails.h"
#include "docks/CDocks.h"
#include "docks/RowsTable.h"

namespace app {

using ksservice::COrderInfoPtr;

class Docks : public testing::Test {
 protected:
  Docks() {
    m_host.desk().addObserver(&m_blotter);
    m_sources.m_pDesk = &m_host.desk();
    m_sources.m_pBlotter = &m_blotter;
    m_sources.m_askMarket = [this](const InstrumentNames& names, const std::shared_ptr<CMarketAnswer>& answer) {
      m_nAsked += static_cast<int>(names.size());
      exchange::SQuote quote;
      quote.m_dLast = 11;
      quote.m_dPrevClose = 10;
      quote.m_nVolume = 1000;
      answer->put(std::vector<exchange::SQuote>(names.size(), quote));
    };
    m_sources.m_showRow = [this](int task, const QString& row) { m_strShown = QString::number(task) + ":" + row; };
  }
  /// The cross that clears a field fades in; what is gone before that is over is leaked by Qt.
  static void letFadesEnd() { QTest::qWait(300); }
  void TearDown() override { m_host.desk().removeObserver(&m_blotter); }

  static COrderInfoPtr makeOrder(const std::string& key, const std::string& code, int traded = 0, bool over = false) {
    auto order = boost::make_shared<ksservice::COrderInfo>();
    order->m_strKey = key;
    order->m_tag = ksservice::CMavOrderTag(key);
    order->m_strMarket = "SH";
    order->m_strCode = code;
    order->m_nOperation = ksservice::EOT_Buy;
    order->m_nVolume = 100;
    order->m_dPrice = 10;
    order->m_nTradedVolume = traded;
    order->m_dTradedAmount = traded * 10;
    order->m_bCompleted = over;
    return order;
  }

  /// The newest state of a sub-task; those of cancelled are cancelled.
  void publish(int task, int number, std::vector<COrderInfoPtr> orders, bool server = false,
               const std::string& cancelled = {}) {
    const ksservice::CTaskDetailPtr detail = testkit::makeDetail(task, number);
    testkit::addParam(*detail, testkit::makeAccount("A" + std::to_string(number), "100" + std::to_string(number)),
                      "600001", 1000, 10);
    desk::SPublication publication;
    for (const COrderInfoPtr& order : orders) {
      auto known = boost::make_shared<ksservice::COrderDetail>();
      known->m_bCancelled = order->getKey() == cancelled;
      publication.m_orderDetails.emplace_back(order->m_tag, known);
    }
    detail->m_bServerTask = server;
    (server ? publication.m_serverOrders : detail->m_orders) = std::move(orders);
    if (server) publication.m_orderDetails.swap(publication.m_serverOrderDetails);
    publication.m_pDetail = detail;
    m_host.desk().publishTask(publication);
  }

  /// Shows a dock as the menu does.
  template <typename Content = QWidget>
  Content* open(const char* name) {
    auto* dock = m_window.findChild<QDockWidget*>(name);
    if (!dock->isVisible()) dock->toggleViewAction()->trigger();
    QApplication::processEvents();
    return dynamic_cast<Content*>(dock->widget());
  }

  static QString texts(const GV::CBaseHighPerformanceTable& table, int column) {
    QStringList list;
    for (int row = 0; row < table.rowCount(); ++row) list.append(table.itemText(row, column));
    return list.join(' ');
  }

  testkit::CTestHost m_host;
  CBlotter m_blotter{m_host.desk()};
  SDockSources m_sources;
  CMainWindow m_window;
  QString m_strShown;
  int m_nAsked = 0;
};

}  // namespace app
