/// How details become rows.
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

TEST_F(CTaskTest, ParametersOnOneRowAddUp) {
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
}

TEST_F(CTaskTest, ParameterWithoutAccountMakesRowsUnderTheEmptyKey) {
  DetailPtr made = detail();
  made->m_params = {param(nullptr, "SH", "600000", EOT_Buy, 100, 10)};
  update(made);
  EXPECT_EQ(row("SH.600000买入", "").m_nTotalVolume, 100);
}

TEST_F(CTaskTest, RootNamesItsAccountsInTheOrderOfTheirFirstDetails) {
  update(twoLines(3));
  QSignalSpy statuses(&task, &TC::CBasketTask::sigTaskStatus);
  update(twoLinesOf(secondAccount, 3));
  EXPECT_EQ(statuses.count(), 0) << "a known detail on an account without rows counts nothing";
  EXPECT_EQ(root.m_strAccounts, "1001/1002");
  update(twoLinesOf(secondAccount, 2));
  EXPECT_EQ(root.m_strAccounts, "1002/1001");
  update(twoLines(1));
  EXPECT_EQ(root.m_strAccounts, "1001/1002");
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

TEST_F(CTaskTest, ServerRunIsThatOfTheFirstDetail) {
  EXPECT_FALSE(task.isServerRun());
  update(twoLines(2));
  EXPECT_FALSE(task.isServerRun());
  update(onServer(twoLines()->m_params));
  EXPECT_TRUE(task.isServerRun());
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

}  // namespace
