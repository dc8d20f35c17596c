#include "CBasketTaskItem.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

namespace {

using TC::CBasketTaskItem;

CBasketTaskItem node(const QString& key) { return CBasketTaskItem("n", key, "", "", "", "", 0); }

ksservice::COrderInfoPtr order(const std::string& key) {
  auto made = boost::make_shared<ksservice::COrderInfo>();
  made->m_strKey = key;
  return made;
}

TEST(TaskItem, ConstructorsFillTheMembersOfTheSameMeaning) {
  const CBasketTaskItem empty;
  EXPECT_EQ(empty.m_nCommandId, ksservice::UNSET_INT);
  EXPECT_TRUE(empty.m_startTime.isNull() && empty.m_endTime.isNull());
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_EQ(empty.parent(), nullptr);

  const CBasketTaskItem row("name", "key", "1001", "SH.600000", "SH", "主账户", 300);
  EXPECT_EQ(row.m_strName, "name");
  EXPECT_EQ(row.getKey(), "key");
  EXPECT_EQ(row.m_strAccounts, "1001");
  EXPECT_EQ(row.m_strStockKey, "SH.600000");
  EXPECT_EQ(row.m_strMarket, "SH");
  EXPECT_EQ(row.m_strAccountName, "主账户");
  EXPECT_EQ(row.m_nTotalVolume, 300);
  EXPECT_EQ(row.m_nCommandId, 0) << "only the default constructor leaves the command unset";

  const CBasketTaskItem root("t", "t", "", "", "", "", 77, 5);
  EXPECT_EQ(root.m_nCommandId, 77);
  EXPECT_EQ(root.m_nTotalVolume, 5);
}

TEST(TaskItem, KeyOfTextAndOperation) {
  EXPECT_EQ(CBasketTaskItem::genKey("SH.600000", ksservice::EOT_CollateralBuy), "SH.600000-1010");
  EXPECT_EQ(CBasketTaskItem::genKey("50%2", ksservice::EOT_None), "50%2--1") << "a text is never taken for a pattern";
}

TEST(TaskItem, HangingPrefixesTheNodeAndOneLevelBelow) {
  CBasketTaskItem root = node("R"), other = node("S"), middle = node("m"), leaf = node("l"), deep = node("d");
  leaf.addChild(&deep);
  middle.addChild(&leaf);
  EXPECT_EQ(leaf.getKey(), "m-l");
  EXPECT_EQ(deep.getKey(), "m-l-d") << "hanging a node takes its direct children along";

  root.addChild(&middle);
  EXPECT_EQ(middle.getKey(), "R-m");
  EXPECT_EQ(leaf.getKey(), "R-m-l");
  EXPECT_EQ(deep.getKey(), "m-l-d") << "grandchildren keep their keys";

  middle.setParent(&root);
  EXPECT_EQ(middle.getKey(), "R-m") << "the same parent again changes nothing";
  middle.setParent(&other);
  EXPECT_EQ(middle.getKey(), "S-R-m");
  EXPECT_EQ(leaf.getKey(), "S-R-m-l");
}

TEST(TaskItem, ChildrenAreCountedReachedAndLeftAlive) {
  CBasketTaskItem first = node("a"), last = node("b");
  {
    CBasketTaskItem root = node("R");
    root.addChild(nullptr);
    EXPECT_TRUE(root.isEmpty());
    root.addChild(&first);
    root.addChild(&last);
    root.addChild(&last);
    EXPECT_EQ(root.childCount(), 3) << "duplicates are not checked";
    EXPECT_EQ(root.childAt(1), &last);
    EXPECT_EQ(root.childAt(-1), nullptr);
    EXPECT_EQ(root.childAt(3), nullptr);
    root.clear();
    EXPECT_TRUE(root.isEmpty());
    root.addChild(&first);
  }
  EXPECT_EQ(first.getKey(), "R-a");
  EXPECT_EQ(last.getKey(), "R-b");
}

TEST(TaskItem, FindTakesItselfFirstThenGoesDown) {
  CBasketTaskItem root = node("R"), a = node("a"), b = node("b"), below = node("x");
  root.addChild(&a);
  root.addChild(&b);
  a.addChild(&below);
  EXPECT_EQ(root.find("R-a-x"), &below);
  EXPECT_EQ(root.find("x"), nullptr);
  b.m_strKey = "R";
  EXPECT_EQ(root.find("R"), &root);
  b.m_strKey = "R-a-x";
  EXPECT_EQ(root.find("R-a-x"), &below) << "the first in pre-order";
}

TEST(TaskItem, FinishedComparesWithTheTarget) {
  CBasketTaskItem item = node("a");
  EXPECT_TRUE(item.finished()) << "a target of 0 is always reached";
  item.m_nTotalVolume = 100;
  item.m_nFinishedVolume = 99;
  EXPECT_FALSE(item.finished());
  item.m_nFinishedVolume = 101;
  EXPECT_TRUE(item.finished());
}

TEST(TaskItem, OrdersAreKeptByKeyAndTakenFromLeaves) {
  CBasketTaskItem root = node("R"), a = node("a"), b = node("b");
  ksservice::COrderInfoPtr none, second = order("o2"), first = order("o1"), again = order("o2"), own = order("own");
  b.insertOrder(none);
  b.insertOrder(second);
  b.insertOrder(first);
  b.insertOrder(again);
  root.insertOrder(own);
  ksservice::COrderInfoPtr other = order("o3");
  a.insertOrder(other);

  std::vector<ksservice::COrderInfoPtr> orders = {own};
  root.getOrders(orders);
  EXPECT_EQ(orders, (std::vector<ksservice::COrderInfoPtr>{own, own})) << "a leaf appends its own";
  root.addChild(&b);
  root.addChild(&a);
  orders.clear();
  root.getOrders(orders);
  EXPECT_EQ(orders, (std::vector<ksservice::COrderInfoPtr>{first, again, other}));
}

TEST(TaskItem, CopiesAreShallow) {
  CBasketTaskItem root = node("R"), child = node("c");
  root.addChild(&child);
  child.m_strExtra2 = "kept";
  child.m_mapExtra["k"] = "v";
  ksservice::COrderInfoPtr one = order("o");
  child.insertOrder(one);
  child.m_pShared = one;

  const CBasketTaskItem copy = child;
  EXPECT_EQ(copy.getKey(), "R-c");
  EXPECT_EQ(copy.parent(), &root);
  EXPECT_EQ(copy.m_strExtra2, "kept");
  EXPECT_EQ(copy.m_mapExtra["k"], "v");
  EXPECT_EQ(copy.m_pShared, one);
  EXPECT_EQ(copy.m_mapOrders.first(), one);
  const CBasketTaskItem rootCopy = root;
  EXPECT_EQ(rootCopy.childAt(0), &child);
  EXPECT_EQ(child.parent(), &root) << "a copy re-parents nothing";
}

}  // namespace
