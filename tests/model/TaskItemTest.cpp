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

TEST(TaskItem, ATargetThatIsUnsetOnceLeavesNoRemainder) {
  CBasketTaskItem item;
  ksservice::CCodeOrderParam param;
  for (const int volume : {100, ksservice::UNSET_INT, 200}) {
    param.m_nVolume = volume;
    item.addTarget(param);
    EXPECT_EQ(item.hasRemainder(), volume == 100) << volume;
  }
  EXPECT_EQ(item.totalVolume(), 300) << "what is unset counts nothing";
}

}  // namespace
