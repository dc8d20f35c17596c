/// The status table with real tasks behind it, offscreen.
#include "CHpfBasketStatusTable.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QHeaderView>
#include <QMenu>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>

#include "BasketColumns.h"
#include "CHpfBasketDelegates.h"
#include "Tasks.h"
#include "TestHost.h"

namespace TC {
namespace {

/// Stands where the panel stands: takes the events and keys that the table lets through.
class CTableOwner : public GV::CEventWidgetT<QWidget> {
 public:
  struct SAction {
    int code;
    QString nodeKey;
    QString taskKey;
  };

  bool handleEvent(int eventId, int id, int, QString key, void* payload) override {
    if (eventId != 1140) return false;
    m_actions.push_back({id, key, *static_cast<QString*>(payload)});
    return true;
  }
  void keyPressEvent(QKeyEvent*) override { ++m_nKeys; }

  std::vector<SAction> m_actions;
  int m_nKeys = 0;
};

class StatusTable : public testing::Test {
 protected:
  /// A refresh that changed the task, and the filter pass after it.
  void refresh(const test::TaskPtr& task, bool hideFinished = false) {
    m_table.updateTask(task);
    m_table.applyStaged();
    m_table.showTask(*task);
    m_table.filterFinished(*task, hideFinished);
    m_table.endUpdate();
  }
  QString cell(const QString& key, int column) const {
    const StatusRowPtr row = m_table.getDataByKey(key);
    return row ? row->text(column) : QStringLiteral("no row");
  }
  /// Every row in order, two blanks a level, "-" behind a hidden one.
  std::string rows() const {
    std::string text;
    m_table.forEachRow([&text](const GV::CHpfTreeTableData& row, int depth, bool hidden, bool) {
      text += std::string(static_cast<std::size_t>(depth) * 2, ' ') + row.scriptName().toStdString() +
              (hidden ? "-\n" : "\n");
    });
    return text;
  }

  test::CTestHost m_host;
  CTableOwner m_owner;
  CHpfBasketStatusTable m_table{1, &m_owner};
  const test::TaskPtr m_task = test::makeTask(1);
  const QString m_rootKey = m_task->getKey();
  const QString m_firstRow = m_rootKey + QStringLiteral("-SH.600000买入");
  const QString m_secondRow = m_rootKey + QStringLiteral("-SH.600036买入");
};

TEST_F(StatusTable, RootsStandInTheOrderOfTheirIds) {
  const test::TaskPtr ninth = test::makeTask(9);
  const test::TaskPtr tenth = test::makeTask(10);
  for (const test::TaskPtr& task : {tenth, m_task, ninth}) {
    test::update(task, 1, "A1", "1001", {{"600000", 0}});
    refresh(task);
  }
  EXPECT_EQ(rows(), "1\n  SH.600000买入\n9\n  SH.600000买入\n10\n  SH.600000买入\n");
  EXPECT_TRUE(m_table.isExpanded(m_rootKey));
}

TEST_F(StatusTable, OneRowHasSeveralNames) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}, {"600036", 0}});
  test::update(m_task, 2, "A2", "1002", {{"600000", 0}});
  refresh(m_task);
  const StatusRowPtr root = m_table.getDataByKey(m_rootKey);
  ASSERT_TRUE(root);
  EXPECT_EQ(m_table.getDataByKey(taskDisplayId(1, 1)), root);
  const QString nodeKey = m_rootKey + QStringLiteral("-1001-SH.600036买入");
  const StatusRowPtr row = m_table.getDataByKey(nodeKey);
  ASSERT_TRUE(row);
  EXPECT_EQ(m_table.getDataByKey(row->data().shape.treeKey), row);

  boost::shared_ptr<CBasketTask> task;
  QString found;
  EXPECT_TRUE(m_table.getBasketTaskItemByKey(row->data().shape.treeKey, task, found));
  EXPECT_EQ(task, m_task);
  EXPECT_EQ(found, nodeKey);
  for (const char* unknown : {"", "x", "0100000002", "010000000100000009"}) {
    EXPECT_FALSE(m_table.getDataByKey(QString::fromLatin1(unknown))) << unknown;
    EXPECT_FALSE(m_table.getBasketTaskItemByKey(QString::fromLatin1(unknown), task, found)) << unknown;
  }
}

TEST_F(StatusTable, RowsAreTheNodesOfTheTreeAndKeepTheirState) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}, {"600036", 0}});
  refresh(m_task);
  m_table.setCurrentKey(m_rootKey);
  m_table.expandItem(m_rootKey, false);
  m_table.getTaskOptionDelegate()->slotTaskStatus(m_rootKey, 3, 0);
  const StatusRowPtr root = m_table.getDataByKey(m_rootKey);

  // The second account puts a level between: the rows below the root are others, the root is the same.
  test::update(m_task, 2, "A2", "1002", {{"600000", 0}});
  m_table.clearTask(*m_task);
  refresh(m_task);
  EXPECT_EQ(rows(), "1\n  1001\n    SH.600000买入\n    SH.600036买入\n  1002\n    SH.600000买入\n");
  EXPECT_EQ(m_table.getDataByKey(m_rootKey), root);
  EXPECT_FALSE(m_table.isExpanded(m_rootKey));
  EXPECT_TRUE(m_table.isSelected(m_rootKey));
  EXPECT_TRUE(m_table.getTaskOptionDelegate()->getIsItemButtonVisible(m_rootKey, 1));
  EXPECT_FALSE(m_table.getDataByKey(m_firstRow));

  m_table.clearTask(*m_task);
  m_table.applyStaged();
  EXPECT_EQ(rows(), "");
  EXPECT_FALSE(m_table.getDataByKey(m_rootKey));
}

TEST_F(StatusTable, TheRootOfATaskIsThereUnderItsKeyAlone) {
  EXPECT_FALSE(m_table.checkRootTaskItem(*m_task, m_rootKey));
  refresh(m_task);
  EXPECT_TRUE(m_table.checkRootTaskItem(*m_task, m_rootKey));
  EXPECT_FALSE(m_table.checkRootTaskItem(*m_task, m_firstRow));
  m_table.startNewDay();
  EXPECT_FALSE(m_table.checkRootTaskItem(*m_task, m_rootKey));
}

TEST_F(StatusTable, PricesOfADirectPatchLeaveTheLimitOutWhereTheUserHasNone) {
  const auto prices = [](const CHpfBasketStatusTable& table) {
    QStringList texts;
    for (const QAction* action : table.priceMenu()->actions()) {
      texts.append(action->text() + QString::number(action->data().toInt()));
    }
    return texts.join(' ').toStdString();
  };
  EXPECT_EQ(prices(m_table), "最新价1 对手价14 涨跌停价2");
  m_host.setUpStopPrice(false);
  EXPECT_EQ(prices(CHpfBasketStatusTable(2, &m_owner)), "最新价1 对手价14");
}

TEST_F(StatusTable, AmountChangesAreReadOnce) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 200}, {"600036", 0}});
  refresh(m_task);
  const StatusRowPtr row = m_table.getDataByKey(m_firstRow);
  EXPECT_EQ(row->getChangedValue(EBC_Amount), 2000) << "from nothing";
  EXPECT_EQ(row->getChangedValue(EBC_Amount), 0);
  test::update(m_task, 1, "A1", "1001", {{"600000", 500}, {"600036", 0}});
  refresh(m_task);
  EXPECT_EQ(row->getChangedValue(EBC_Unfilled), 0);
  EXPECT_EQ(row->getChangedValue(EBC_Amount), 3000);
  EXPECT_EQ(m_table.getDataByKey(m_secondRow)->getChangedValue(EBC_Amount), 0);
  test::update(m_task, 1, "A1", "1001", {{"600000", 400}, {"600036", 0}});
  refresh(m_task);
  EXPECT_EQ(row->getChangedValue(EBC_Amount), -1000);
}

TEST_F(StatusTable, OnlyRootsCountInTheStatisticsOfTheAmount) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 200}, {"600036", 100}});
  refresh(m_task);
  const StatusRowPtr root = m_table.getDataByKey(m_rootKey);
  EXPECT_EQ(root->number(EBC_Amount), 3000);
  EXPECT_EQ(root->number(EBC_Unfilled), 0);
  EXPECT_EQ(m_table.getDataByKey(m_firstRow)->number(EBC_Amount), 0);
  EXPECT_EQ(root->sortOrder(), 1);
  EXPECT_EQ(m_table.getDataByKey(m_firstRow)->sortOrder(), 2147483647);
}

TEST_F(StatusTable, StatusSignalStandsUntilTheNextRowData) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}});
  refresh(m_task);
  struct SCase {
    int status;
    const char* shown;
  };
  // The root runs: what a signal leaves empty shows the status of the row.
  const SCase cases[] = {{10000, "补单中"}, {10001, "补单失败"}, {10002, "补单完成"}, {3, "执行中"}, {4, "执行中"}};
  for (const SCase& c : cases) {
    m_table.slotTaskStatus(m_task.get(), m_rootKey, c.status);
    EXPECT_EQ(cell(m_rootKey, EBC_Status), c.shown) << c.status;
  }
  for (const int patchWalk : {8, 11}) {
    m_table.slotTaskStatus(m_task.get(), m_rootKey, 10001);
    m_table.slotTaskStatus(m_task.get(), m_rootKey, patchWalk);
    EXPECT_EQ(cell(m_rootKey, EBC_Status), "补单失败") << "changes no text: " << patchWalk;
  }
  refresh(m_task);
  EXPECT_EQ(cell(m_rootKey, EBC_Status), "执行中");
  m_table.slotTaskStatus(nullptr, m_rootKey, 10001);
  m_table.slotTaskStatus(test::makeTask(2).get(), m_rootKey, 10001);
  EXPECT_EQ(cell(m_rootKey, EBC_Status), "执行中");
}

TEST_F(StatusTable, StatusesThatComeBeforeTheRowFindIt) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}});
  m_table.getTaskOptionDelegate()->slotTaskStatus(taskDisplayId(1, 1), 3, 0);
  refresh(m_task);
  EXPECT_TRUE(m_table.getTaskOptionDelegate()->getIsItemButtonVisible(m_rootKey, 1));
}

TEST_F(StatusTable, OrderCountsOfASignalStandUntilTheNextRowData) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 100}});
  refresh(m_task);
  CHpfBasketOrderDelegate& orders = *m_table.getTaskOrderDelegate();
  EXPECT_EQ(orders.text(*m_table.getDataByKey(m_rootKey)), " 已报1 收到0 ");
  orders.slotTaskOrder(taskDisplayId(1, 1), 7, 5);
  EXPECT_EQ(orders.text(*m_table.getDataByKey(m_rootKey)), " 已报7 收到5 ");
  EXPECT_EQ(orders.text(*m_table.getDataByKey(m_firstRow)), " 已报1 收到0 ");
  orders.slotTaskOrder(QStringLiteral("unknown"), 9, 9);
  refresh(m_task);
  EXPECT_EQ(orders.text(*m_table.getDataByKey(m_rootKey)), " 已报1 收到0 ");
}

TEST_F(StatusTable, FinishedRowsOfTwoLevels) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 1000}, {"600036", 400}, {"600048", 0}});
  refresh(m_task, true);
  EXPECT_EQ(rows(), "1\n  SH.600000买入-\n  SH.600036买入\n  SH.600048买入\n");
  test::update(m_task, 1, "A1", "1001", {{"600000", 1000}, {"600036", 400}, {"600048", 1000}});
  refresh(m_task, true);
  EXPECT_EQ(rows(), "1\n  SH.600000买入-\n  SH.600036买入\n  SH.600048买入-\n");
  refresh(m_task, false);
  EXPECT_EQ(rows(), "1\n  SH.600000买入\n  SH.600036买入\n  SH.600048买入\n");
}

TEST_F(StatusTable, OnlyTheLeadingRunOfFinishedGrandchildrenIsHidden) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 1000}, {"600036", 0}, {"600048", 1000}});
  test::update(m_task, 2, "A2", "1002", {{"600000", 1000}, {"600036", 1000}});
  test::update(m_task, 3, "A3", "1003", {{"600000", 0}, {"600036", 1000}});
  refresh(m_task, true);
  EXPECT_EQ(rows(),
            "1\n"
            "  1001\n    SH.600000买入-\n    SH.600036买入\n    SH.600048买入\n"
            "  1002-\n    SH.600000买入-\n    SH.600036买入-\n"
            "  1003\n    SH.600000买入\n    SH.600036买入\n");
}

TEST_F(StatusTable, ARowThatOrderedNothingIsNotFinished) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 1000}});
  m_task->getRoot()->childAt(0)->m_nTotalVolume = 0;
  m_task->getRoot()->childAt(0)->m_nFinishedVolume = 0;
  refresh(m_task, true);
  EXPECT_EQ(rows(), "1\n  SH.600000买入\n");
}

TEST_F(StatusTable, HiddenTasksComeBackAsTheyWere) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}});
  refresh(m_task);
  m_table.expandItem(m_rootKey, false);
  m_table.hideTask(*m_task);
  m_table.endUpdate();
  EXPECT_EQ(m_table.rowCount(), 0);
  m_table.showTask(*m_task);
  m_table.endUpdate();
  EXPECT_EQ(m_table.rowCount(), 1) << "folded as before";
  const test::TaskPtr unknown = test::makeTask(2);
  m_table.hideTask(*unknown);
  m_table.showTask(*unknown);
  m_table.filterFinished(*unknown, true);
  m_table.clearTask(*unknown);
  m_table.applyStaged();
  EXPECT_EQ(m_table.rowCount(), 1);
}

/// Which task a pass looks at again: one that was staged, one that announced a status although it is the same, and
/// every one when the filter is another.
TEST_F(StatusTable, APassOfTheFilterFollowsStatusesAndFinishedRows) {
  const test::TaskPtr other = test::makeTask(2);
  test::update(m_task, 1, "A1", "1001", {{"600000", 1000}, {"600036", 0}});
  test::update(other, 1, "A1", "1001", {{"600000", 0}});
  CHpfBasketOptionDelegate& options = *m_table.getTaskOptionDelegate();
  const auto announce = [&options](const test::TaskPtr& task, int status) {
    options.slotTaskStatus(task->getRoot()->m_strHpfTreeKey, status, 0);
  };
  EXPECT_EQ(m_table.filterTasks({{}, false}), 0) << "nothing staged";
  m_table.updateTask(m_task);
  m_table.updateTask(other);
  m_table.applyStaged();
  EXPECT_EQ(m_table.filterTasks({{}, false}), 2);
  EXPECT_EQ(m_table.filterTasks({{}, true}), 2);
  EXPECT_EQ(rows(), "1\n  SH.600000买入-\n  SH.600036买入\n2\n  SH.600000买入\n");

  m_task->getRoot()->m_nStatus = ksservice::ETS_Paused;
  announce(m_task, ksservice::ETS_Paused);
  EXPECT_EQ(m_table.filterTasks({{}, true}), 1);
  EXPECT_EQ(m_table.filterTasks({{ksservice::ETS_Running}, true}), 1);
  EXPECT_EQ(rows(), "1-\n  SH.600000买入-\n  SH.600036买入-\n2\n  SH.600000买入\n");
  m_task->getRoot()->m_nStatus = ksservice::ETS_Running;
  announce(m_task, ksservice::ETS_Paused);
  EXPECT_EQ(m_table.filterTasks({{ksservice::ETS_Running}, true}), 2) << "the task's word, not the announcement's";
  EXPECT_EQ(rows(), "1\n  SH.600000买入-\n  SH.600036买入\n2\n  SH.600000买入\n");

  test::update(other, 1, "A1", "1001", {{"600000", 1000}});
  m_table.updateTask(other);
  m_table.applyStaged();
  EXPECT_EQ(m_table.filterTasks({{}, false}), 1) << "it has finished";
  EXPECT_EQ(rows(), "1\n  SH.600000买入\n  SH.600036买入\n2\n  SH.600000买入\n");

  m_table.clearTask(*m_task);
  m_table.applyStaged();
  m_table.startNewDay();
  EXPECT_EQ(m_table.filterTasks({{}, false}), 0);
}

TEST_F(StatusTable, ANewDayDropsEverything) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}});
  refresh(m_task);
  m_table.getTaskOptionDelegate()->slotTaskStatus(m_rootKey, 3, 0);
  m_table.updateTask(m_task);
  m_table.startNewDay();
  m_table.applyStaged();
  EXPECT_EQ(rows(), "");
  EXPECT_FALSE(m_table.getTaskOptionDelegate()->hasItem(m_rootKey));
}

TEST_F(StatusTable, ParameterStrings) {
  struct SCase {
    const char* text;
    EProcessDisplay mode;
  };
  // The mode is read from the second part, whatever the third says: intended.
  const SCase cases[] = {{"x/1", EPD_Quantity}, {"x/0", EPD_Amount},   {"x/1/0", EPD_Quantity},
                         {"x/0/1", EPD_Amount}, {"/1", EPD_Quantity},  {"x/no number/1", EPD_Amount},
                         {"/2", EPD_Amount},    {"/1/", EPD_Quantity}, {"//1", EPD_Amount}};
  for (const SCase& c : cases) {
    m_table.setParam(QString::fromLatin1(c.text));
    EXPECT_EQ(m_table.processDisplayMode(), c.mode) << c.text;
  }
  m_table.setParam(QStringLiteral("x/1"));
  for (const char* tooShort : {"", "x"}) {
    m_table.setParam(QString::fromLatin1(tooShort));
    EXPECT_EQ(m_table.processDisplayMode(), EPD_Quantity) << "unchanged by one part";
  }
  const QString own = m_table.param();
  ASSERT_EQ(own.split('/').size(), 3);
  EXPECT_TRUE(own.endsWith(QStringLiteral("/1")));
  EXPECT_FALSE(own.contains('*'));
  m_table.header()->resizeSection(EBC_Name, 133);
  m_table.setColumnVisible(EBC_AlgoTag, false);
  const QString changed = m_table.param();
  m_table.setParam(own);
  EXPECT_EQ(m_table.processDisplayMode(), EPD_Amount);
  EXPECT_TRUE(m_table.isColumnVisible(EBC_AlgoTag));
  m_table.setParam(changed);
  EXPECT_EQ(m_table.columnWidth(EBC_Name), 133);
  EXPECT_FALSE(m_table.isColumnVisible(EBC_AlgoTag));
}

TEST_F(StatusTable, OnlyShiftWReachesTheOwner) {
  const auto reaches = [this](Qt::Key key, Qt::KeyboardModifiers modifiers) {
    const int before = m_owner.m_nKeys;
    QTest::keyClick(&m_table, key, modifiers);
    return m_owner.m_nKeys > before;
  };
  EXPECT_TRUE(reaches(Qt::Key_W, Qt::ShiftModifier));
  EXPECT_FALSE(reaches(Qt::Key_W, Qt::ControlModifier));
  EXPECT_FALSE(reaches(Qt::Key_W, Qt::ShiftModifier | Qt::ControlModifier));
  EXPECT_FALSE(reaches(Qt::Key_W, Qt::NoModifier));
  EXPECT_FALSE(reaches(Qt::Key_Q, Qt::ShiftModifier));
  EXPECT_FALSE(reaches(Qt::Key_Escape, Qt::NoModifier));
}

TEST_F(StatusTable, ClickedButtonsTellTheOwnerAndAreDisabled) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}});
  refresh(m_task);
  CHpfBasketOptionDelegate& options = *m_table.getTaskOptionDelegate();
  options.slotTaskStatus(m_rootKey, 3, 0);
  EXPECT_TRUE(options.clickButton(m_rootKey, 1));
  ASSERT_EQ(m_owner.m_actions.size(), 1U);
  EXPECT_EQ(m_owner.m_actions[0].code, 5);
  EXPECT_EQ(m_owner.m_actions[0].nodeKey, m_rootKey);
  EXPECT_EQ(m_owner.m_actions[0].taskKey, m_rootKey);
  EXPECT_FALSE(options.clickButton(m_rootKey, 1));
  EXPECT_FALSE(options.clickButton(m_rootKey, 4)) << "it does not show";
  EXPECT_EQ(m_owner.m_actions.size(), 1U);

  options.slotTaskStatus(m_rootKey, 8, 0);
  EXPECT_TRUE(options.clickButton(m_rootKey, 6));
  EXPECT_TRUE(options.clickButton(m_rootKey, 6)) << "stays enabled: intended";
  ASSERT_EQ(m_owner.m_actions.size(), 3U);
  EXPECT_EQ(m_owner.m_actions[2].code, 10002);
}

TEST_F(StatusTable, DoubleClickOnTheProgressTurnsItsFigures) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 250}});
  refresh(m_task);
  const auto doubleClick = [this](int column) {
    m_table.handleEvent(GV::EventColumnDoubleClicked, column, 0, QString::number(column), nullptr);
  };
  EXPECT_EQ(cell(m_rootKey, EBC_Progress), "0.25万 / 1.00万");
  doubleClick(EBC_Progress);
  EXPECT_EQ(cell(m_rootKey, EBC_Progress), "250 / 1000");
  doubleClick(EBC_Amount);
  EXPECT_EQ(m_table.processDisplayMode(), EPD_Quantity);
  doubleClick(EBC_Progress);
  EXPECT_EQ(m_table.processDisplayMode(), EPD_Amount);
}

TEST_F(StatusTable, TipsOfTheProgressColumn) {
  m_owner.resize(1600, 400);
  m_table.resize(1600, 400);
  m_owner.show();
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}});
  refresh(m_task);
  const auto tipAt = [this](int x, int y) {
    QToolTip::showText(QPoint(), QStringLiteral("none"));
    QMouseEvent move(QEvent::MouseMove, QPointF(x, y), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(m_table.viewport(), &move);
    return QToolTip::text();
  };
  const QRect cell = m_table.cellRect(1, EBC_Progress);
  const int withoutTree = cell.left() - m_table.columnWidth(EBC_Tree);
  EXPECT_EQ(tipAt(cell.right() - 3, cell.center().y()), "双击切换数量/金额");
  // Counted without the tree column, so it shows left of the column: intended.
  EXPECT_EQ(tipAt(withoutTree + 5, cell.center().y()), "双击切换金额/数量");
  EXPECT_EQ(tipAt(withoutTree - 5, cell.center().y()), "none");
  EXPECT_EQ(tipAt(cell.right() + 5, cell.center().y()), "none");
}

TEST_F(StatusTable, QuantitiesFollowANewTradeUnit) {
  CCodeInfo info;
  info.m_strMarket = "SH";
  info.m_strCode = "600000";
  info.m_types = {ksservice::STOCK_TYPE_SH_UNITS};
  info.m_nTradeUnit = 100;
  m_host.setInstrument(info);
  m_table.setParam(QStringLiteral("/1"));
  test::update(m_task, 1, "A1", "1001", {{"600000", 250}});
  refresh(m_task);
  EXPECT_EQ(cell(m_firstRow, EBC_Progress), "2.50 / 10.00");
  info.m_nTradeUnit = 10;
  m_host.setInstrument(info);
  const QSignalSpy repaint(m_table.dataModel(), SIGNAL(dataChanged(QModelIndex, QModelIndex, QVector<int>)));
  Q_EMIT m_host.stockUnits().sigStockUnitChange();
  EXPECT_EQ(cell(m_firstRow, EBC_Progress), "25.00 / 100.00");
  EXPECT_GT(repaint.count(), 0);
}

}  // namespace
}  // namespace TC
