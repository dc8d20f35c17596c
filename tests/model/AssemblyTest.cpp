/// How details become rows, the shape of the tree, its keys, and what is announced.
#include "TaskFixture.h"

namespace {

using namespace ksservice;

TEST_F(CTaskTest, DetailWithoutParametersOnlyNamesTheBasket) {
  QSignalSpy statuses(&task, &TC::CBasketTask::sigTaskStatus);
  DetailPtr made = detail();
  made->m_orders = {buy("o1", 100, 100, 1000)};
  update(made);
  update(nullptr);
  EXPECT_EQ(task.getBasketName(), "篮子");
  EXPECT_FALSE(task.contains("123-1", TC::EBTT_Own));
  EXPECT_TRUE(root.isEmpty());
  EXPECT_EQ(statuses.count(), 0);
}

TEST_F(CTaskTest, ParametersOnOneRowAddUpAndThoseWithoutAnAccountStandUnderTheEmptyKey) {
  DetailPtr made = twoLines();
  made->m_params.push_back(param(mainAccount, "SH", "600000", EOT_Buy, 300, 20));
  made->m_pCommand->m_strText = "text";
  update(made);
  const TC::CBasketTaskItem& shared = row("SH.600000买入");
  EXPECT_EQ(shared.m_nTotalVolume, 1300);
  EXPECT_DOUBLE_EQ(shared.m_dTotalAmount, 1000 * 10 + 300 * 20);
  EXPECT_EQ(shared.m_nCommandId, 77);
  EXPECT_EQ(shared.m_strCommandText, "text");
  EXPECT_EQ(root.m_strCommandText, "text");
  EXPECT_EQ(root.m_vecOperations, QVector<int>({EOT_Buy, EOT_Sell}));
  update(twoLinesOf(nullptr, 2));
  EXPECT_EQ(row("SH.600000买入", "").m_nTotalVolume, 1000);
}

TEST_F(CTaskTest, RootNamesItsAccountsInTheOrderOfTheirFirstDetails) {
  EXPECT_FALSE(task.isServerRun());
  update(twoLines(3));
  QSignalSpy statuses(&task, &TC::CBasketTask::sigTaskStatus);
  update(twoLinesOf(secondAccount, 3));
  EXPECT_EQ(statuses.count(), 0) << "a known detail on an account without rows counts nothing";
  EXPECT_EQ(root.m_strAccounts, "1001/1002");
  update(twoLinesOf(secondAccount, 2));
  EXPECT_EQ(root.m_strAccounts, "1002/1001");
  EXPECT_FALSE(task.isServerRun());
  update(onServer(twoLines()->m_params));
  EXPECT_EQ(root.m_strAccounts, "1001/1002");
  EXPECT_TRUE(task.isServerRun()) << "as the first detail does";
}

TEST_F(CTaskTest, TheServersKeyIsTheAlgorithmsOnlyWhereACommandNamesOne) {
  COrderCommand command;
  command.m_nCommandId = 77;
  command.m_nNumber = 5;
  host.setCommand(command);
  EXPECT_EQ(task.getCommandKey(), COrderCommand::genKey(77, 5));
  CTaskDetail made = *detail();
  made.m_nTaskId = 100000;
  made.m_pCommand = nullptr;
  std::string key;
  TC::CBasketTask::getAlgoTaskKey(made, key);
  EXPECT_EQ(key, "123-1");
}

TEST_F(CTaskTest, ANodeHasTheParametersOfAllRowsBelowItInDetailOrder) {
  update(twoLines(2));
  DetailPtr made = twoLines(1);
  made->m_params.front().m_nVolume = 700;
  update(made);
  const auto volumes = [this](const QString& key) {
    std::vector<int> found;
    for (const CCodeOrderParam& line : task.getParam(key)) found.push_back(line.m_nVolume);
    return found;
  };
  EXPECT_EQ(volumes("组合任务123"), (std::vector<int>{700, 500, 1000, 500})) << "in detail-key order";
  EXPECT_EQ(volumes("组合任务123-SH.600000买入"), (std::vector<int>{700, 1000}));
  EXPECT_TRUE(volumes("nobody").empty());
  update(twoLinesOf(secondAccount, 3));
  EXPECT_EQ(volumes("组合任务123-1002"), (std::vector<int>{1000, 500}));
  EXPECT_EQ(volumes("组合任务123-1001-SH.600000买入"), (std::vector<int>{700, 1000}));
}

TEST_F(CTaskTest, LocalInfoKeyIsForTasksFromAHundredThousandOn) {
  const auto keyOf = [this](int taskId, const std::string& localInfo) {
    DetailPtr made = twoLines();
    made->m_nTaskId = taskId;
    made->m_pCommand->m_strLocalInfo = localInfo;
    update(made);
    return root.m_strLocalInfoKey;
  };
  EXPECT_EQ(keyOf(99999, "a|b|c|d|e"), "");
  EXPECT_EQ(keyOf(100000, "a|b|c|d"), "") << "five fields at least";
  EXPECT_EQ(keyOf(100000, "a|b|c|d|e|f"), "e|b");
  EXPECT_EQ(keyOf(100001, "a||c|d|"), "|");
}

TEST_F(CTaskTest, SecondAccountBringsAccountNodes) {
  host.setAccount(*account("A2", "1002-x", "配置的名字"));
  task.getStockDetailMap("A0");
  update(twoLines());
  EXPECT_EQ(tree(), "组合任务123\n 1001\n  SH.600000买入\n  SZ.000001卖出\n")
      << "one without rows has no node but counts as an account";
  host.takeLog();
  update(twoLinesOf(secondAccount, 2));
  const std::string built = tree();
  EXPECT_EQ(built,
            "组合任务123\n"
            " 1001\n  SH.600000买入\n  SZ.000001卖出\n"
            " 1002-x\n  SH.600000买入\n  SZ.000001卖出\n");
  EXPECT_EQ(root.m_strAccounts, "1001/1002");
  EXPECT_EQ(root.m_strAccountName, "主账户");
  const TC::CBasketTaskItem& configured = *root.childAt(1);
  EXPECT_EQ(configured.m_strName, "1002-x");
  EXPECT_EQ(configured.m_strAccountName, "配置的名字") << "the user configuration comes first";
  EXPECT_EQ(configured.m_strAccountKey, "A2");
  EXPECT_EQ(root.childAt(0)->m_strAccountName, "主账户") << "else the account's first row";
  EXPECT_EQ(configured.m_nTotalVolume, 1500);
  EXPECT_EQ(takeLog("stk: "),
            (std::vector<std::string>{"stk: cmd = 77, task = 123, stock_map_size = 3, futures_map_size = 0, multi_type "
                                      "= false, multi_account = true."}));
  const unsigned version = task.shapeVersion();
  for (int i = 0; i < 3; ++i) task.reorganize();
  EXPECT_EQ(tree(), built) << "keys do not grow";
  EXPECT_EQ(task.shapeVersion(), version + 3);
}

TEST_F(CTaskTest, RowsOfALoadAtWhoseEndTheHostFailedComeWithTheNextDetail) {
  task.beginLoad();
  update(twoLines());
  host.setMeeting([](const std::string& key) {
    if (key == "A1") throw std::runtime_error("the host fails");
  });
  EXPECT_THROW(task.endLoad(), std::runtime_error);
  host.setMeeting({});
  EXPECT_EQ(tree(), "组合任务123\n");
  update(twoLines());
  EXPECT_EQ(tree(), "组合任务123\n SH.600000买入\n SZ.000001卖出\n");
  EXPECT_EQ(root.m_nTotalVolume, 1500);
}

TEST_F(CTaskTest, EachRefreshAnnouncesInnerNodesThenRootThenStatus) {
  QString heard;
  QObject::connect(&task, &TC::CBasketTask::sigTaskOrder, [&](const QString& key, int orders, int known) {
    heard += QString("order %1 %2 %3\n").arg(key).arg(orders).arg(known);
  });
  QObject::connect(&task, &TC::CBasketTask::sigTaskStatus, [&](const QString& key, int status, int type) {
    heard += QString("status %1 %2 %3\n").arg(key).arg(status).arg(type);
  });
  host.setOrderDetail("o1", false);
  DetailPtr made = twoLines();
  made->m_params.front().m_nOrderType = EORT_Algo;
  made->m_orders = {buy("o1", 100, 0, 0), buy("o2", 100, 0, 0)};
  update(made);
  EXPECT_EQ(heard, "order T 2 1\norder T 2 1\nstatus T 3 11\n");
  heard.clear();
  update(twoLinesOf(secondAccount, 2));
  EXPECT_EQ(heard, "order  2 1\norder  0 0\norder T 2 1\norder T 2 1\nstatus T 3 0\n")
      << "account nodes have no tree key";
}

}  // namespace
