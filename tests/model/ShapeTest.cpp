/// The shape of the tree, its keys, and what is announced.
#include "TaskFixture.h"

namespace {

using namespace ksservice;

class CShapeTest : public CTaskTest {};

TEST_F(CShapeTest, SecondAccountBringsAccountNodes) {
  host.setAccount(*account("A2", "1002-x", "配置的名字"));
  update(twoLinesOf(mainAccount, 1));
  host.takeLog();
  update(twoLinesOf(secondAccount, 2));
  EXPECT_EQ(tree(),
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
            (std::vector<std::string>{"stk: cmd = 77, task = 123, stock_map_size = 2, futures_map_size = 0, multi_type "
                                      "= false, multi_account = true."}));
  const std::string built = tree();
  const unsigned version = task.shapeVersion();
  for (int i = 0; i < 3; ++i) task.reorganize();
  EXPECT_EQ(tree(), built) << "keys do not grow";
  EXPECT_EQ(task.shapeVersion(), version + 3);
}

TEST_F(CShapeTest, AccountWithoutRowsHasNoNodeButCountsAsAnAccount) {
  task.getStockDetailMap("A0");
  update(twoLines());
  EXPECT_EQ(tree(), "组合任务123\n 1001\n  SH.600000买入\n  SZ.000001卖出\n");
}

TEST_F(CShapeTest, RowsOfALoadAtWhoseEndTheHostFailedComeWithTheNextDetail) {
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

TEST_F(CShapeTest, EachRefreshAnnouncesInnerNodesThenRootThenStatus) {
  std::vector<std::string> heard;
  QObject::connect(&task, &TC::CBasketTask::sigTaskOrder, [&](const QString& key, int orders, int known) {
    heard.push_back("order " + key.toStdString() + " " + std::to_string(orders) + " " + std::to_string(known));
  });
  QObject::connect(&task, &TC::CBasketTask::sigTaskStatus, [&](const QString& key, int status, int type) {
    heard.push_back("status " + key.toStdString() + " " + std::to_string(status) + " " + std::to_string(type));
  });
  host.setOrderDetail("o1", false);
  DetailPtr made = twoLinesOf(mainAccount, 1);
  made->m_params.front().m_nOrderType = EORT_Algo;
  made->m_orders = {buy("o1", 100, 0, 0), buy("o2", 100, 0, 0)};
  update(made);
  EXPECT_EQ(heard, (std::vector<std::string>{"order T 2 1", "order T 2 1", "status T 3 11"}));
  heard.clear();
  update(twoLinesOf(secondAccount, 2));
  EXPECT_EQ(heard, (std::vector<std::string>{"order  2 1", "order  0 0", "order T 2 1", "order T 2 1", "status T 3 0"}))
      << "account nodes have no tree key";
}

}  // namespace
