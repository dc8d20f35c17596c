/// The nodes of the tree, and the arithmetic of a task that needs no task.
#include "CBasketTaskItem.h"

#include <gtest/gtest.h>

#include "TaskDetails.h"
#include "TaskKeys.h"
#include "TaskRules.h"
#include "ksservice/Helpers.h"

namespace {

using namespace TC;
using namespace ksservice;

CBasketTaskItem node(const QString& key) { return CBasketTaskItem("n", key, "", "", "", "", 0); }

TEST(TaskItem, KeyOfTextAndOperation) {
  EXPECT_EQ(CBasketTaskItem::genKey("SH.600000", EOT_CollateralBuy), "SH.600000-1010");
  EXPECT_EQ(CBasketTaskItem::genKey("50%2", EOT_None), "50%2--1") << "a text is never taken for a pattern";
}

TEST(TaskItem, HangingPrefixesTheNodeAndOneLevelBelow) {
  CBasketTaskItem root = node("R"), other = node("S"), middle = node("m"), leaf = node("l"), deep = node("d");
  const auto keys = [&]() -> QString { return middle.getKey() + " " + leaf.getKey() + " " + deep.getKey(); };
  leaf.addChild(&deep);
  middle.addChild(&leaf);
  EXPECT_EQ(keys(), "m m-l m-l-d") << "hanging a node takes its direct children along";
  root.addChild(&middle);
  EXPECT_EQ(keys(), "R-m R-m-l m-l-d") << "grandchildren keep their keys";
  middle.setParent(&root);
  EXPECT_EQ(keys(), "R-m R-m-l m-l-d") << "the same parent again changes nothing";
  middle.setParent(&other);
  EXPECT_EQ(keys(), "S-R-m S-R-m-l m-l-d");
}

TEST(TaskItem, FindTakesItselfFirstThenGoesDown) {
  CBasketTaskItem root = node("R"), a = node("a"), b = node("b"), below = node("x");
  root.addChild(&a);
  root.addChild(&b);
  a.addChild(&below);
  EXPECT_EQ(root.find("R-a-x"), &below);
  EXPECT_EQ(root.find("x"), nullptr);
  EXPECT_EQ(root.childAt(1), &b);
  for (const int none : {-1, 2}) EXPECT_EQ(root.childAt(none), nullptr) << none;
  b.m_strKey = "R";
  EXPECT_EQ(root.find("R"), &root);
  b.m_strKey = "R-a-x";
  EXPECT_EQ(root.find("R-a-x"), &below) << "the first in pre-order";
}

TEST(TaskItem, OrdersAreKeptByKeyAndTakenFromLeaves) {
  CTaskDetail detail;
  for (const char* key : {"o2", "o1", "o2", "own", "o3"}) testkit::addOrder(detail, key, "", 0, 0, 0);
  CBasketTaskItem root = node("R"), a = node("a"), b = node("b");
  std::vector<COrderInfoPtr>& made = detail.m_orders;
  for (COrderInfoPtr order : {COrderInfoPtr(), made[0], made[1], made[2]}) b.insertOrder(order);
  root.insertOrder(made[3]);
  a.insertOrder(made[4]);
  std::vector<COrderInfoPtr> orders = {made[3]};
  root.getOrders(orders);
  EXPECT_EQ(orders, (std::vector<COrderInfoPtr>{made[3], made[3]})) << "a leaf appends its own";
  root.addChild(&b);
  root.addChild(&a);
  orders.clear();
  root.getOrders(orders);
  EXPECT_EQ(orders, (std::vector<COrderInfoPtr>{made[1], made[2], made[4]}));
}

TEST(TaskItem, ATargetThatIsUnsetOnceLeavesNoRemainder) {
  CBasketTaskItem item;
  CCodeOrderParam param;
  for (const int volume : {100, UNSET_INT, 200}) {
    param.m_nVolume = volume;
    item.addTarget(param);
    EXPECT_EQ(item.hasRemainder(), volume == 100) << volume;
  }
  EXPECT_EQ(item.totalVolume(), 300) << "what is unset counts nothing";
}

TEST(TaskRules, TaskIdentifiersSortAsNumbers) {
  EXPECT_TRUE(basketTaskIdLessThan("9", "10") && basketTaskIdLessThan("10", "11"));
  EXPECT_FALSE(basketTaskIdLessThan("10", "9") || basketTaskIdLessThan("10", "10"));
}

TEST(TaskRules, ConnectMarketsBecomeHongKong) {
  const auto replaced = [](QString key) {
    replaceMarketToHK(key);
    return key;
  };
  EXPECT_EQ(replaced("HGT.00700买入"), "HK.00700买入");
  EXPECT_EQ(replaced("SGT.00700SGT"), "HK.00700HK");
  EXPECT_EQ(replaced("HGT.SGT"), "HK.SGT") << "one market at a time";
  EXPECT_EQ(replaced("hgt.1"), "hgt.1");
}

TEST(TaskRules, AccountsAreJoinedOnceEach) {
  EXPECT_EQ(joinAccount("", "1001"), "1001");
  EXPECT_EQ(joinAccount("1001", "1002"), "1001/1002");
  EXPECT_EQ(joinAccount("1001/1002", "1002"), "1001/1002");
  EXPECT_EQ(joinAccount("1001", "100"), "1001/100") << "a part counts only whole";
}

TEST(TaskKeys, ARowOfTheTableIsNoTaskByItsTreeKey) {
  for (const int task : {1, 99999999, 2147483647}) EXPECT_EQ(taskIdOfDisplayId(taskDisplayId(1, task)), task);
  for (const char* other : {"", "010000001", "0100000001000000002", "01-0000001", "012147483648"}) {
    EXPECT_EQ(taskIdOfDisplayId(other), -1) << other;
  }
}

TEST(TaskRules, ZeroHasATolerance) {
  EXPECT_TRUE(isZero(0) && isZero(9e-6) && isZero(-9e-6));
  EXPECT_FALSE(isZero(1e-5) || isZero(-1e-5));
}

}  // namespace
