/// The status table towards its user: clicks, keys, tips, sorts, the parameter string.
#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>

#include "FindRows.h"
#include "Names.h"
#include "StatusTableFixture.h"
#include "tc/CTaskOrdersWidget.h"
#include "tc/CTaskParamWidget.h"

namespace {

TEST_F(StatusTable, PricesOfADirectPatchLeaveTheLimitOutWhereTheUserHasNone) {
  const auto prices = [](const CHpfBasketStatusTable& table) {
    QStringList texts;
    for (const QAction* action : table.priceMenu()->actions()) texts += action->text() + action->data().toString();
    return texts.join(' ');
  };
  EXPECT_EQ(prices(m_table), "最新价1 对手价14 涨跌停价2");
  m_host.change([](auto& session) { session.m_settings.m_bHasUpStopPrice = false; });
  EXPECT_EQ(prices(CHpfBasketStatusTable(2, &m_owner)), "最新价1 对手价14");
}

TEST_F(StatusTable, AParameterStringBringsModeWidthsAndColumnsBack) {
  // The mode is read from the second part, whatever the third says: intended. It is any number. One part changes none.
  const std::pair<const char*, int> cases[] = {
      {"x/1", 1}, {"x/0", 0},  {"x/1/0", 1}, {"x/0/1", 0}, {"/1", 1}, {"x/no number/1", 0}, {"/1/", 1}, {"//1", 0},
      {"/7", 7},  {"/-1", -1}, {"x/1", 1},   {"", 1},      {"x", 1}};
  for (const auto& [text, mode] : cases) {
    m_table.setParam(text);
    EXPECT_EQ(m_table.processDisplayMode(), mode) << text;
    EXPECT_TRUE(m_table.param().endsWith('/' + QString::number(mode))) << text;
  }
  const QString own = m_table.param();
  ASSERT_EQ(own.split('/').size(), 3);
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
  for (const char* keys : {"Ctrl+W", "Ctrl+Shift+W", "W", "Shift+Q", "Esc", "Shift+W"}) {
    EXPECT_EQ(m_owner.m_nKeys, 0) << "before " << keys;
    QTest::keySequence(&m_table, QKeySequence(keys));
  }
  EXPECT_EQ(m_owner.m_nKeys, 1);
}

/// Whatever the mouse can press in a row the keyboard can, in the row that the user sees as the current one.
TEST_F(StatusTable, TheCurrentRowsButtonsStandInItsMenuAndHaveKeys) {
  m_owner.resize(900, 400);
  m_table.resize(900, 400);
  m_owner.show();
  show(1, "A1", "1001", {{"600000", 100}, {"600036", 200}});
  const auto press = [this](const QKeySequence& key) {
    m_owner.m_actions.clear();
    QTest::keySequence(&m_table, key);
    return m_owner.m_actions.empty() ? 0 : m_owner.m_actions.back();
  };
  const auto menu = [this] {
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint());
    QApplication::sendEvent(&m_table, &event);
    QStringList texts;
    for (const QAction* action : m_table.contextMenu()->actions()) {
      if (action->isVisible() && !action->isSeparator()) texts += action->text() + (action->isEnabled() ? "" : "-");
    }
    EXPECT_TRUE(m_table.contextMenu()->isVisible());
    m_table.contextMenu()->hide();
    return texts.join(' ').toStdString();
  };
  EXPECT_EQ(menu(), "导出数据 复制") << "no row";
  m_table.setCurrentKey(m_rootKey);
  CHpfBasketOptionDelegate& options = *m_table.getTaskOptionDelegate();
  options.slotTaskStatus(m_rootKey, ksservice::ETS_Running, 0);
  EXPECT_EQ(menu(), "组合任务1- 撤销 暂停 说明 委托详情 交易参数 导出数据 复制");

  QKeyEvent held(QEvent::KeyPress, Qt::Key_P, Qt::ControlModifier, QString(), true);
  QApplication::sendEvent(&m_table, &held);
  EXPECT_TRUE(m_owner.m_actions.empty()) << "a key that is held down";
  m_table.setUiLock(true);
  EXPECT_EQ(press({"Ctrl+P"}), 0);
  m_table.setUiLock(false);
  EXPECT_EQ(press({"Ctrl+P"}), 5);
  EXPECT_EQ(press({"Ctrl+P"}), 0) << "disabled by its click, as by the mouse";
  EXPECT_EQ(menu(), "组合任务1- 撤销 暂停- 说明 委托详情 交易参数 导出数据 复制");
  EXPECT_EQ(press({"Ctrl+B"}), 0) << "a button that does not show";
  options.slotTaskStatus(m_rootKey, ksservice::ETS_Cancelled, 0);
  EXPECT_EQ(press({"Ctrl+P"}), 0);
  EXPECT_EQ(press({"Ctrl+B"}), 10000);

  // Each button's tip names the key that presses it.
  for (const GV::STableButton& button : options.itemButtons(m_rootKey)) {
    options.setItemButtonVisible(m_rootKey, button.id, true);
    options.setItemButtonEnabled(m_rootKey, button.id, true);
    const QRect cell = m_table.cellRect(0, EBC_Options);
    const QPoint at = options.buttonRect(m_rootKey, button.id, cell).center();
    const QString hint = options.hint({*m_table.getDataByKey(m_rootKey), cell, false, false, at});
    ASSERT_TRUE(hint.startsWith(button.text + " (")) << hint.toStdString();
    EXPECT_EQ(press({hint.section('(', 1).chopped(1), QKeySequence::NativeText}),
              CHpfBasketOptionDelegate::actionOf(button.id))
        << hint.toStdString();
  }
  QSignalSpy explained(&m_table, &CHpfBasketStatusTable::sigExplainRow);
  EXPECT_EQ(press({"F1"}), 0);
  ASSERT_EQ(explained.size(), 1);
  EXPECT_EQ(explained.front(), (QVariantList{1, QString()}));
  EXPECT_EQ(press({"Ctrl+O"}), 0);
  EXPECT_EQ(m_table.findChild<CTaskOrdersWidget*>()->getKey(), m_rootKey + m_rootKey);
  EXPECT_EQ(press({"Ctrl+I"}), 0);
  EXPECT_EQ(m_table.findChildren<CBaseTaskParamWidget*>().size(), 1);
}

/// ... and Enter does in the current cell what the mouse does there.
TEST_F(StatusTable, EnterFoldsSwitchesTheModeAndOpensTheOrders) {
  m_owner.resize(1900, 400);
  m_table.resize(1900, 400);
  m_owner.show();
  show(1, "A1", "1001", {{"600000", 100}, {"600036", 200}});
  m_table.setCurrentKey(keyAt("1/SH.600000买入"));
  m_table.getTaskOptionDelegate()->slotTaskStatus(m_rootKey, ksservice::ETS_Running, 0);
  const auto enterIn = [this](int column) {
    for (int way = 0; way < 2 * EBC_Count && m_table.currentColumn() != column; ++way) {
      QTest::keyClick(&m_table, m_table.currentColumn() < column ? Qt::Key_Right : Qt::Key_Left, Qt::ControlModifier);
    }
    QTest::keyClick(&m_table, Qt::Key_Enter, Qt::KeypadModifier);
    return m_table.currentColumn() == column;
  };
  const auto* window = m_table.findChild<CTaskOrdersWidget*>();
  EXPECT_TRUE(enterIn(EBC_Orders));
  EXPECT_EQ(window->getKey(), m_rootKey + m_firstRow);
  EXPECT_TRUE(window->isVisible());
  for (const EProcessDisplay mode : {EPD_Quantity, EPD_Amount}) {
    EXPECT_TRUE(enterIn(EBC_Progress));
    EXPECT_EQ(m_table.processDisplayMode(), mode);
  }
  EXPECT_TRUE(enterIn(EBC_TradeParam));
  EXPECT_EQ(m_table.findChildren<CBaseTaskParamWidget*>().size(), 1);
  m_table.setCurrentKey(m_rootKey);
  for (const bool open : {false, true}) {
    EXPECT_TRUE(enterIn(EBC_Name));
    EXPECT_EQ(m_table.isExpanded(m_rootKey), open);
  }
  EXPECT_TRUE(enterIn(EBC_Options));
  EXPECT_EQ(m_owner.m_actions, std::vector<int>{ETA_Cancel});
  EXPECT_TRUE(m_table.isExpanded(m_rootKey));
}

/// A code from its beginning, a name by a part, both by how they are written or read; a task by its number and basket.
TEST_F(StatusTable, RowsAreFoundByWhatPeopleCallThem) {
  const std::pair<const char*, const char*> names[] = {
      {"600000", "浦发银行"}, {"600036", "招商银行"}, {"601398", "中信"}};
  for (const auto& [code, name] : names) {
    CCodeInfo info = testkit::makeInstrument("SH", code);
    info.m_strName = name;
    if (info.m_strCode == "601398") info.m_strPinyin = "GSYH";
    m_host.desk().setInstrument(info);
  }
  const test::TaskPtr task = addTask(16, {{"600000", 0}, {"600036", 0}, {"601398", 0}});
  const GV::CTreeBlocks& tree = m_table.dataModel()->tree();
  const auto found = [&](const QString& typed) {
    const auto match = rowsNamed(typed);
    std::string codes;
    for (const int block : tree.blocks()) {
      const GV::ITreeBlock& source = tree.source(block);
      for (int row = 0; row < tree.size(block); ++row) {
        if (match(source.state(), row)) codes += source.scriptName(row).toStdString() + ' ';
      }
    }
    return codes;
  };
  const std::string first = "SH.600000买入 ", second = "SH.600036买入 ", third = "SH.601398买入 ";
  const std::pair<const char*, std::string> cases[] = {{"60", first + second + third},
                                                       {"600036", second},
                                                       {"0036", ""},
                                                       {"sh600036", second},
                                                       {"600036.sh", second},
                                                       {"银行", first + second},
                                                       {"YX", first + second},
                                                       {"zsy", second},
                                                       {"gsyh", third},
                                                       {"zx", ""},
                                                       {"16", "16 "},
                                                       {"6", "" + first + second + third},
                                                       {"任务1", "16 "},
                                                       {"zhrw", ""},
                                                       {"买入", ""}};
  for (const auto& [typed, codes] : cases) EXPECT_EQ(found(typed), codes) << typed;
}

TEST_F(StatusTable, AKeyNeverActsOnARowThatIsOutOfSight) {
  m_owner.resize(900, 200);
  m_table.resize(900, 200);
  m_owner.show();
  std::vector<test::TaskPtr> tasks;
  for (int id = 10; id < 40; ++id) {
    tasks.push_back(addTask(id, {{"600000", 0}}));
    m_table.getTaskOptionDelegate()->slotTaskStatus(tasks.back()->getKey(), ksservice::ETS_Running, 0);
  }
  const std::vector<int>& actions = m_owner.m_actions;
  const auto cancels = [&keys = m_table, &actions] {
    QTest::keyClick(&keys, Qt::Key_Delete, Qt::ControlModifier);
    return actions.size();
  };
  const QString key = "组合任务10";
  m_table.setCurrentKey(key);
  m_table.verticalScrollBar()->setValue(30);
  EXPECT_EQ(cancels(), 0u);
  EXPECT_EQ(m_table.topRow(), 0) << "shown first";
  m_table.hideItem(key, true);
  EXPECT_EQ(cancels(), 0u) << "a row that does not show at all";
  m_table.hideItem(key, false);
  EXPECT_EQ(cancels(), 1u);

  // The menu is about the row that was clicked, though more are selected.
  m_table.setSelectedKeys({key, "组合任务11"});
  QTest::mouseClick(m_table.viewport(), Qt::RightButton, Qt::NoModifier, m_table.cellRect(2, EBC_Name).center());
  EXPECT_EQ(m_table.currentKey(), "组合任务11");
  EXPECT_EQ(m_table.selectedKeys().size(), 2);
}

/// The window has the sums of the orders for a row whose own order type is an algorithm's, goes on showing its row when
/// the tree takes another shape, and ends with the day.
TEST_F(StatusTable, TheWindowOfOrdersIsOfItsRow) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 100}, {"600036", 200}});
  m_task->getRoot()->childAt(1)->m_nOrderType = ksservice::EORT_Algo;
  refresh(m_task);
  auto* window = m_table.findChild<CTaskOrdersWidget*>();
  const auto* sums = window->findChild<QLabel*>(QString(), Qt::FindDirectChildrenOnly);
  const auto open = [&](const char* path) {
    m_table.handleEvent(GV::EventCellClicked, EBC_Orders, Qt::LeftButton, keyAt(path), nullptr);
    return sums->isVisible();
  };
  EXPECT_FALSE(open("1/SH.600000买入"));
  EXPECT_EQ(test::nameless(*window), "");
  EXPECT_TRUE(open("1/SH.600036买入"));
  EXPECT_EQ(window->getKey(), m_rootKey + m_secondRow);
  show(2, "A2", "1002", {{"600000", 100}});
  EXPECT_EQ(window->getKey(), m_rootKey + m_rootKey + "-1001-SH.600036买入");
  EXPECT_TRUE(sums->text().contains("成交 200")) << sums->text().toStdString();
  m_table.startDay(1);
  EXPECT_FALSE(window->isVisible());
}

/// A refresh changes what the orders say, not where the user looks.
TEST_F(StatusTable, TheWindowOfOrdersKeepsItsPlaceSelectionAndSorting) {
  constexpr int ORDERS = 200;
  std::vector<std::pair<std::string, int>> traded;
  traded.reserve(ORDERS);
  for (int i = 0; i < ORDERS; ++i) traded.emplace_back(std::to_string(600000 + i), 1 + i);
  show(1, "A1", "1001", traded);
  const auto open = [&] { m_table.handleEvent(GV::EventCellClicked, EBC_Orders, Qt::LeftButton, m_rootKey, nullptr); };
  open();
  auto& orders = *m_table.findChild<CTaskOrdersWidget*>()->findChild<GV::CHpfTreeTable*>();
  orders.sortByColumn(5, Qt::DescendingOrder);  // by what was traded
  orders.setSelectedKeys({"A1-600100"});
  orders.verticalScrollBar()->setValue(ORDERS / 2);
  const auto keyAtRow = [&](int row) { return orders.baseModel()->rowAt(row).key(); };
  const QString page = keyAtRow(orders.verticalScrollBar()->value());

  traded[0].second = 999;
  test::update(m_task, 1, "A1", "1001", traded);
  show(2, "A2", "1002", {{"600999", 500}});
  EXPECT_EQ(keyAtRow(orders.verticalScrollBar()->value()), page);
  EXPECT_TRUE(orders.isSelected("A1-600100"));
  for (const bool again : {false, true}) {
    if (again) open();
    EXPECT_EQ(orders.rowCount(), ORDERS + 1);
    EXPECT_EQ(keyAtRow(0) + ' ' + keyAtRow(1) + ' ' + keyAtRow(2), "A1-600000 A2-600999 A1-600199") << again;
  }
}

TEST_F(StatusTable, SortsTasksByTheirIdAndTheRestByItsName) {
  for (const int id : {10, 9}) addTask(id, {{"600000", 0}, {"600036", 0}});
  const QString stored = "x/1|0:120:0|0:%1";
  m_table.setParam(stored.arg(1));
  EXPECT_EQ(rows(), "10\n  SH.600036买入\n  SH.600000买入\n9\n  SH.600036买入\n  SH.600000买入\n");
  EXPECT_TRUE(m_table.param().contains("|0:1/"));
  m_table.setParam(stored.arg(0));
  EXPECT_EQ(rows(), "9\n  SH.600000买入\n  SH.600036买入\n10\n  SH.600000买入\n  SH.600036买入\n");
}

TEST_F(StatusTable, ProgressTipsTellWhatADoubleClickSwitches) {
  m_owner.resize(1600, 400);
  m_table.resize(1600, 400);
  m_owner.show();
  show(1, "A1", "1001", {{"600000", 0}});
  const auto tipAt = [this](int x, int y) {
    QToolTip::showText(QPoint(), "none");
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

TEST_F(StatusTable, QuantitiesAreInTheTradeUnitsOfNowOfTheTwoTypesOnly) {
  const std::tuple<int, int, const char*> cases[] = {
      {ksservice::STOCK_TYPE_SH_UNITS, 100, "2.50 / 10.00"},
      {ksservice::STOCK_TYPE_SH_UNITS, 10, "25.00 / 100.00"},
      {ksservice::STOCK_TYPE_SZ_UNITS, 100, "2.50 / 10.00"},
      {ksservice::STOCK_TYPE_SZ_UNITS, 0, "250.00 / 1000.00"},  // a unit below 1 counts as 1
      {ksservice::STOCK_TYPE_UI_UNIT, 100, "250 / 1000"}};
  CCodeInfo info = testkit::makeInstrument("SH", "600000");
  m_host.desk().setInstrument(info);
  m_table.setParam("/1");
  show(1, "A1", "1001", {{"600000", 250}});
  for (const auto& [type, unit, shown] : cases) {
    info.m_types = {type};
    info.m_nTradeUnit = unit;
    m_host.desk().setInstrument(info);
    QSignalSpy repaint(m_table.dataModel(), SIGNAL(dataChanged(QModelIndex, QModelIndex, QVector<int>)));
    m_host.services().announceStockUnitChange();
    EXPECT_EQ(cell(m_firstRow, EBC_Progress), shown);
    EXPECT_GT(repaint.count(), 0);
  }
}

}  // namespace
