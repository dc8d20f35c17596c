// Rows of docks under the user's hand: chosen, sorted, exported.
#include <QMouseEvent>
#include <QPushButton>
#include <QTemporaryDir>
#include <QToolTip>

#include "BasketReader.h"
#include "DocksRig.h"
#include "docks/CExceptionFinder.h"
#include "gv/CFileDialog.h"

namespace app {
namespace {

TEST_F(Docks, WhatIsSelectedStaysSelectedWhateverElseComesAndGoes) {
  CExceptionFinder finder({&m_host.desk(), &m_blotter});
  m_sources.m_pExceptions = &finder;
  m_window.show();
  m_window.docks().attach(m_sources);
  const auto refused = [&](int task, const char* reason) {
    const ksservice::CTaskDetailPtr detail = testkit::makeDetail(task);
    testkit::addParam(*detail, testkit::makeAccount("A1", "1001"), "600001", 1000, 10);
    const COrderInfoPtr order = makeOrder(std::to_string(task) + "-1-1", "600001", 0, true);
    order->m_strMessage = reason;
    detail->m_orders.push_back(order);
    desk::SPublication publication;
    publication.m_pDetail = detail;
    m_host.desk().setNow(m_host.desk().now() + 1);
    m_host.desk().publishTask(publication);
    finder.look(0);
    m_window.docks().choose(-1, QString());
  };
  refused(1, "one");
  refused(2, "two");
  QWidget* content = open("exceptionsDock");
  auto* exceptions = content->findChild<CRowsTable*>();
  ASSERT_EQ(texts(*exceptions, 2), "2 1");
  exceptions->setCurrentKey(exceptions->baseModel()->rowAt(0).key());
  refused(3, "three");
  EXPECT_EQ(texts(*exceptions, 2), "3 2 1");
  ASSERT_EQ(exceptions->baseModel()->selectedPositions(), std::vector<int>{1});
  content->findChild<QPushButton*>()->click();
  EXPECT_EQ(texts(*exceptions, 2), "3 1");
  EXPECT_TRUE(exceptions->selectedKeys().isEmpty());

  const auto hold = [&](std::initializer_list<const char*> codes) {
    auto holdings = std::make_shared<desk::SHoldings>();
    for (const char* code : codes) {
      desk::SPosition& position = holdings->m_positions[std::string("SH.") + code];
      position.m_strMarket = "SH";
      position.m_strCode = code;
      position.m_nTotal = 100;
    }
    m_host.desk().setHoldings("A1", holdings);
    m_window.docks().choose(-1, QString());
  };
  m_host.setAccount(*testkit::makeAccount("A1", "1001"));
  hold({"600002", "600003"});
  const auto tables = open("fundsDock")->findChildren<CRowsTable*>();
  CRowsTable& positions = *(tables[0]->baseModel()->columnCount() > 9 ? tables[0] : tables[1]);
  ASSERT_EQ(texts(positions, 1), "600002 600003");
  positions.setCurrentKey(positions.baseModel()->rowAt(1).key());
  hold({"600001", "600003"});
  EXPECT_EQ(texts(positions, 1), "600001 600003");
  EXPECT_EQ(positions.baseModel()->selectedPositions(), std::vector<int>{1});
  hold({"600003", "600004", "600005"});
  EXPECT_EQ(positions.baseModel()->selectedPositions(), std::vector<int>{0});
  positions.sortByColumn(1, Qt::DescendingOrder);
  hold({"600004", "600005"});
  EXPECT_EQ(texts(positions, 1), "600005 600004");
  hold({"600003", "600005"});
  EXPECT_EQ(texts(positions, 1), "600005 600003");
  EXPECT_TRUE(positions.selectedKeys().isEmpty()) << "it was gone";
  m_window.docks().attach({});
}

TEST_F(Docks, AnExceptionOfNoTaskSaysThatThereIsNoRowToGoTo) {
  CExceptionFinder finder({&m_host.desk(),
                           &m_blotter,
                           {},
                           [] {
                             return std::vector{engine::SOrderUse{"A1", 1, 9, 0}};
                           },
                           {280, 9}});
  finder.look(0);
  m_sources.m_pExceptions = &finder;
  m_window.show();
  m_window.docks().attach(m_sources);
  auto* exceptions = open("exceptionsDock")->findChild<CRowsTable*>();
  ASSERT_EQ(exceptions->rowCount(), 1);
  QMouseEvent click(QEvent::MouseButtonDblClick, exceptions->cellRect(0, 1).center(), Qt::LeftButton, Qt::LeftButton,
                    Qt::NoModifier);
  QApplication::sendEvent(exceptions->viewport(), &click);
  EXPECT_EQ(m_strShown, "");
  EXPECT_TRUE(QToolTip::text().contains(QStringLiteral("不属于某个任务")));
  QToolTip::hideText();
  m_window.docks().attach({});
  letFadesEnd();
}

TEST_F(Docks, RowsStayWhereTheyAreWhileTheUserHasChosenOneOfThemAndAWorkbookKeepsCodes) {
  m_window.show();
  m_window.docks().attach(m_sources);
  std::vector<COrderInfoPtr> sent;
  const auto send = [&](int count) {
    for (int i = 0; i < count; ++i) sent.push_back(makeOrder("1-1-" + std::to_string(sent.size() + 1), "000001"));
    publish(1, 1, sent);
    m_window.docks().choose(1, QString());
  };
  send(100);
  QWidget* content = open("ordersDock");
  const auto tables = content->findChildren<CRowsTable*>();
  CRowsTable& orders = *(tables[0]->baseModel()->columnCount() > 9 ? tables[0] : tables[1]);
  ASSERT_EQ(orders.rowCount(), 100);
  send(3);
  EXPECT_EQ(orders.topRow(), 0) << "the newest are in sight";
  const QString chosen = orders.baseModel()->rowAt(1).key();
  orders.setCurrentKey(chosen);
  send(5);
  EXPECT_EQ(orders.topRow(), 5);
  EXPECT_EQ(orders.baseModel()->positionOf(chosen), 6);
  EXPECT_EQ(orders.selectedKeys(), QStringList{chosen});
  orders.sortByColumn(8, Qt::DescendingOrder);
  orders.scrollToRow(0);
  sent[0] = makeOrder("1-1-1", "000001", 70);
  send(0);
  EXPECT_EQ(orders.itemText(0, 8), "70") << "it is sorted by what it is now";

  const QTemporaryDir folder;
  const QString file = folder.filePath("orders.xlsx");
  GV::CFileDialog::setPresenter([&file](QWidget*, const QString&) -> QString { return file; });
  EXPECT_TRUE(orders.exportData());
  GV::CFileDialog::setPresenter({});
  const basket::SSource source = basket::readSourceFile(file.toStdString());
  ASSERT_EQ(source.m_sheets.size(), 1u) << source.m_strFault;
  const std::vector<std::string>& cells = source.m_sheets[0].m_rows.at(1).m_cells;
  EXPECT_EQ(cells[8], "70");
  EXPECT_EQ(cells[3], "000001") << "the digits of a code are no figure";
  m_window.docks().attach({});
  letFadesEnd();
}

}  // namespace
}  // namespace app
