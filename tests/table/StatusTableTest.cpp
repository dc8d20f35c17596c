/// The rows of the status table: their names, their state, what they show and which of them are hidden.
#include <optional>
#include <set>

#include "CHpfBasketDelegates.h"
#include "Random.h"
#include "StatusTableFixture.h"

namespace {

/// Accounts whose keys hold what separates keys, nothing, the name of a side, or the display id of another; all that
/// can be taken for another row, on both sides of the task.
TEST_F(StatusTable, EveryNodeHasARowOfItsOwnUnderAllItsNames) {
  const std::pair<const char*, const char*> accounts[] = {
      {"A", "D"},       {"D", "A"},   {"A-SH.600000买入", "D"},   {"", "E"},  {"证券", "期货"},
      {"期货", "证券"}, {"A\\", "D"}, {"A\\-SH.600000买入", "B"}, {"A-", "D"}};
  int number = 0;
  for (const auto& [key, displayId] : accounts) {
    test::update(m_task, ++number, key, displayId, {{"600000", 100 * number}, {"600036", 0}});
  }
  test::addHedge(m_task, "A", "D", "600000", ksservice::EOT_Buy);
  refresh(m_task);

  boost::shared_ptr<CBasketTask> task;
  QString nodeKey;
  std::set<QString> keys;
  for (const CBasketTaskItem* node : nodes()) {
    const StatusRowPtr row = m_table.getDataByKey(node->m_strKey);
    ASSERT_TRUE(row) << node->m_strKey.toStdString();
    keys.insert(row->key());
    EXPECT_EQ(row->data().figures.tradedVolume, node->m_nFinishedVolume) << node->m_strKey.toStdString();
    EXPECT_TRUE(m_table.getBasketTaskItemByKey(row->key(), task, nodeKey));
    EXPECT_EQ(nodeKey, node->m_strKey);
    EXPECT_EQ(task, m_task);
  }
  EXPECT_EQ(keys.size(), nodes().size());
  EXPECT_EQ(m_table.getDataByKey(taskDisplayId(1, 1)), m_table.getDataByKey(m_rootKey));

  const QString treeKey = m_task->getRoot()->find(m_rootKey + "-证券-E-SH.600036买入")->m_strHpfTreeKey;
  EXPECT_EQ(m_table.getDataByKey(treeKey)->scriptName(), "SH.600036买入");
  for (const char* unknown : {"", "x", "-", "0100000002", "010000000100000009", "组合任务1-", "组合任务12"}) {
    EXPECT_FALSE(m_table.getDataByKey(unknown)) << unknown;
    EXPECT_FALSE(m_table.getBasketTaskItemByKey(unknown, task, nodeKey)) << unknown;
  }
}

/// Another row comes before those that are there, a second account puts a level between a task and its rows, the hedge
/// another one: the rows stay what they are.
TEST_F(StatusTable, RowsKeepTheirStateWhenTheTreeTakesAnotherShape) {
  show(1, "A1", "1001", {{"600036", 200}});
  const QString key = keyAt("1/SH.600036买入");
  const StatusRowPtr row = m_table.getDataByKey(key);
  m_table.setSelectedKeys({m_rootKey, key});
  m_table.getTaskOptionDelegate()->slotTaskStatus(m_secondRow, 4, 0);
  ASSERT_EQ(buttons(key), "02");
  m_table.expandItem(m_rootKey, false);

  show(3, "A1", "1001", {{"600000", 0}});
  EXPECT_EQ(rows(), "1\n  SH.600000买入\n  SH.600036买入\n");
  EXPECT_EQ(m_table.getDataByKey(key), row);
  EXPECT_EQ(cell(key, EBC_Unfilled), "800");

  test::update(m_task, 2, "A2", "1002", {{"600000", 0}});
  m_table.clearTask(*m_task);
  refresh(m_task);
  EXPECT_EQ(rows(), "1\n  1001\n    SH.600000买入\n    SH.600036买入\n  1002\n    SH.600000买入\n");
  EXPECT_EQ(keyAt("1/1001/SH.600036买入"), key);
  EXPECT_EQ(m_table.getDataByKey(key), row);
  const QString account = keyAt("1/1001");
  m_table.expandItem(account, true);

  test::addHedge(m_task, "F1", "F001", "IF2612");
  m_table.clearTask(*m_task);
  m_table.applyStaged();  // between the two parts of a refresh, when the user does something just then
  refresh(m_task);
  EXPECT_EQ(rows(),
            "1\n  期货\n    SH.IF2612卖出开仓\n  证券\n    1001\n      SH.600000买入\n      SH.600036买入\n"
            "    1002\n      SH.600000买入\n");
  EXPECT_EQ(keyAt("1/证券/1001/SH.600036买入"), key);
  EXPECT_EQ(keyAt("1/证券/1001"), account);
  EXPECT_FALSE(m_table.isExpanded(m_rootKey));
  EXPECT_TRUE(m_table.isExpanded(account));
  EXPECT_FALSE(m_table.isExpanded(keyAt("1/证券/1002")));
  EXPECT_EQ(m_table.rowCount(), 1);
  EXPECT_TRUE(m_table.isSelected(m_rootKey) && m_table.isSelected(key));
  EXPECT_EQ(buttons(key), "02");
  EXPECT_EQ(cell(key, EBC_Unfilled), "800");

  m_table.startDay(1);
  EXPECT_EQ(rows(), "");
  EXPECT_FALSE(m_table.getDataByKey(m_rootKey));
  EXPECT_FALSE(m_table.checkRootTaskItem(*m_task, m_rootKey));
  EXPECT_EQ(m_table.filterTasks({{}, true}), 0);
}

TEST_F(StatusTable, ThePageStaysWhenATaskTakesAnotherShape) {
  m_table.resize(800, 200);
  std::vector<test::TaskPtr> tasks;
  for (int id = 1; id <= 20; ++id) tasks.push_back(addTask(id, {{"600000", 0}, {"600036", 0}, {"600048", 0}}));
  const QString top = keyAt("10");
  m_table.scrollToRow(m_table.rowCount() - 1);
  m_table.scrollToRow(m_table.dataModel()->positionOf(top));
  for (const std::size_t place : {9U, 2U}) {
    test::update(tasks[place], 2, "A2", "1002", {{"600000", 0}});
    refresh(tasks[place]);
    EXPECT_EQ(m_table.dataModel()->rowAt(m_table.topRow()).key(), top) << place;
  }
}

TEST_F(StatusTable, AmountChangesAreReadOnceAndCountFromWhatTheRowShowed) {
  const auto change = [this](const char* path, int column = EBC_Amount) {
    return m_table.getDataByKey(keyAt(path))->getChangedValue(column);
  };
  show(1, "A1", "1001", {{"600000", 300}, {"600036", 0}});
  EXPECT_EQ(change("1/SH.600000买入"), 3000) << "from nothing";
  EXPECT_EQ(change("1/SH.600000买入"), 0);
  show(1, "A1", "1001", {{"600000", 200}, {"600036", 0}});
  EXPECT_EQ(change("1/SH.600000买入", EBC_Unfilled), 0);
  EXPECT_EQ(change("1/SH.600000买入"), -1000);
  EXPECT_EQ(change("1/SH.600036买入"), 0);
  EXPECT_EQ(change("1"), -1000);
  show(2, "A2", "1002", {{"600000", 100}});
  EXPECT_EQ(change("1"), 1000);
  EXPECT_EQ(change("1/1001/SH.600000买入"), 0);
  EXPECT_EQ(change("1/1001"), 2000) << "a new row";
  EXPECT_EQ(change("1/1002/SH.600000买入"), 1000) << "another new row";
  test::update(m_task, 1, "A1", "1001", {{"600000", 250}, {"600036", 0}});
  m_table.updateTask(m_task);  // taken with what follows, not by itself
  test::update(m_task, 1, "A1", "1001", {{"600000", 300}, {"600036", 0}});
  m_table.updateTask(m_task);
  m_table.clearTask(*m_task);
  refresh(m_task);
  EXPECT_EQ(change("1/1001/SH.600000买入"), 1000);
  EXPECT_EQ(change("1/1002/SH.600000买入"), 0);
}

TEST_F(StatusTable, OnlyRootsCountInTheStatisticsOfTheAmount) {
  show(1, "A1", "1001", {{"600000", 200}, {"600036", 100}});
  EXPECT_EQ(m_table.getDataByKey(m_rootKey)->number(EBC_Amount), 3000);
  EXPECT_EQ(m_table.getDataByKey(m_rootKey)->number(EBC_Unfilled), 0);
  EXPECT_EQ(m_table.getDataByKey(m_firstRow)->number(EBC_Amount), 0);
  EXPECT_EQ(m_table.getDataByKey(m_firstRow)->sortOrder(), 2147483647) << "and they alone have a place by their task";
}

TEST_F(StatusTable, StatusSignalStandsUntilTheNextRowData) {
  show(1, "A1", "1001", {{"600000", 0}});
  // The root runs: what a signal leaves empty shows the status of the row. 8 and 11 change no text.
  const std::pair<int, const char*> cases[] = {{10000, "补单中"},   {10002, "补单完成"}, {3, "执行中"},   {4, "执行中"},
                                               {10001, "补单失败"}, {8, "补单失败"},     {11, "补单失败"}};
  for (const auto& [status, shown] : cases) {
    m_table.slotTaskStatus(m_task.get(), m_rootKey, status);
    EXPECT_EQ(cell(m_rootKey, EBC_Status), shown) << status;
  }
  refresh(m_task);
  EXPECT_EQ(cell(m_rootKey, EBC_Status), "执行中");
  m_table.slotTaskStatus(nullptr, m_rootKey, 10001);
  m_table.slotTaskStatus(test::makeTask(2).get(), m_rootKey, 10001);
  EXPECT_EQ(cell(m_rootKey, EBC_Status), "执行中");
}

TEST_F(StatusTable, StatusesThatComeBeforeTheRowFindIt) {
  CHpfBasketOptionDelegate& options = *m_table.getTaskOptionDelegate();
  test::update(m_task, 1, "A1", "1001", {{"600000", 0}, {"600036", 0}});
  options.slotTaskStatus(taskDisplayId(1, 1), 3, 0);
  options.slotTaskStatus(m_firstRow, 8, 0);
  options.slotTaskStatus(m_firstRow, 9, 0);
  refresh(m_task);
  EXPECT_EQ(buttons(m_rootKey), "01");
  EXPECT_EQ(buttons(keyAt("1/SH.600000买入")), "6") << "both, in their order";
  EXPECT_EQ(buttons(keyAt("1/SH.600036买入")), "");

  test::update(m_task, 2, "A2", "1002", {{"600000", 0}});
  options.slotTaskStatus(m_rootKey + "-1001-SH.600000买入", 4, 0);
  options.slotTaskStatus(m_rootKey + "-1009-SH.600000买入", 4, 0);
  options.slotTaskStatus(m_rootKey + "-1002-SH.600000买入", 10001, 0);
  refresh(m_task);
  EXPECT_EQ(buttons(keyAt("1/1001/SH.600000买入")), "02");
  EXPECT_EQ(cell(m_rootKey, EBC_Status), "执行中") << "the row data has the last word";
}

/// What a row is hangs on the task, not on the names of its account.
TEST_F(StatusTable, OnlyTheHedgeRowHasTheButtonsOfAHedge) {
  test::update(m_task, 1, "期货", "期货", {{"600000", 0}});
  test::update(m_task, 2, "A2", "期货账户", {{"600000", 0}});
  test::addHedge(m_task, "F1", "F001", "IF2612");
  refresh(m_task);
  for (const CBasketTaskItem* node : nodes()) {
    m_table.getTaskOptionDelegate()->slotTaskStatus(node->m_strKey, 3, 0);
    const QString key = m_table.getDataByKey(node->m_strKey)->key();
    EXPECT_EQ(buttons(key), node == m_task->getHedgeItem() ? "7" : "01") << key.toStdString();
  }
}

TEST_F(StatusTable, OrderCountsOfASignalStandUntilTheNextRowData) {
  show(1, "A1", "1001", {{"600000", 100}});
  CHpfBasketOrderDelegate& orders = *m_table.getTaskOrderDelegate();
  EXPECT_EQ(orders.text(*m_table.getDataByKey(m_rootKey)), " 已报1 收到0 ");
  orders.slotTaskOrder(taskDisplayId(1, 1), 7, 5);
  EXPECT_EQ(orders.text(*m_table.getDataByKey(m_rootKey)), " 已报7 收到5 ");
  EXPECT_EQ(orders.text(*m_table.getDataByKey(m_firstRow)), " 已报1 收到0 ");
  orders.slotTaskOrder("unknown", 9, 9);
  refresh(m_task);
  EXPECT_EQ(orders.text(*m_table.getDataByKey(m_rootKey)), " 已报1 收到0 ");
}

TEST_F(StatusTable, ARowThatOrderedNothingOrAnUnsetVolumeIsNotFinished) {
  test::update(m_task, 1, "A1", "1001", {{"600000", 1000}, {"600036", 1000}, {"600048", 1000}});
  CBasketTaskItem& nothing = *m_task->getRoot()->childAt(0);
  nothing.m_nTotalVolume = nothing.m_nFinishedVolume = 0;
  m_task->getRoot()->childAt(1)->m_bUnset = true;
  refresh(m_task, true);
  EXPECT_EQ(rows(), "1\n  SH.600000买入\n  SH.600036买入\n  SH.600048买入-\n");
}

/// Although it is the status that it had, and whatever the task says by then.
TEST_F(StatusTable, APassOfTheFilterLooksAgainAtATaskThatAnnouncedAStatus) {
  show(1, "A1", "1001", {{"600000", 0}});
  const auto running = [this] { return m_table.filterTasks({{ksservice::ETS_Running}, false}); };
  EXPECT_EQ(running(), 1);
  for (const int status : {ksservice::ETS_Paused, ksservice::ETS_Running}) {
    m_task->getRoot()->m_nStatus = status;
    EXPECT_EQ(rows(), status == ksservice::ETS_Paused ? "1\n  SH.600000买入\n" : "1-\n  SH.600000买入-\n");
    m_table.getTaskOptionDelegate()->slotTaskStatus(m_rootKey, ksservice::ETS_Paused, 0);
    EXPECT_EQ(running(), status == ksservice::ETS_Running ? 1 : 0);
  }
  EXPECT_EQ(rows(), "1\n  SH.600000买入\n");
}

/// Under every parent, whatever the amounts become and whichever way it is sorted; equal ones in their own order.
TEST_F(StatusTable, RowsStandByTheirAmountsInARefreshToo) {
  test::Random random(7);
  std::vector<std::pair<std::string, int>> first, second;
  for (int i = 0; i < 90; ++i) (i % 3 ? first : second).emplace_back(std::to_string(600000 + i), 0);
  for (int round = 0; round < 12; ++round) {
    for (auto* account : {&first, &second}) {
      for (auto& row : *account) row.second = test::chance(random, 30) ? test::below(random, 20) * 10 : row.second;
    }
    const bool descending = round % 4 < 2;
    m_table.sortByColumn(EBC_Amount, descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    show(1, "A1", "1001", first);
    show(2, "A2", "1002", second);
    int rows = 0;
    std::optional<std::pair<double, QString>> last;
    m_table.forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool, bool) {
      if (depth == 1) last.reset();
      if (depth != 2) return;
      ++rows;
      const std::pair<double, QString> mine(row.sortNumber(EBC_Amount) * (descending ? -1 : 1), row.scriptName());
      EXPECT_TRUE(!last || *last < mine) << round << " " << mine.second.toStdString();
      last = mine;
    });
    EXPECT_EQ(rows, 90);
  }
}

}  // namespace
