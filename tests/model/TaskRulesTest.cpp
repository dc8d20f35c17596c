#include "TaskRules.h"

#include <gtest/gtest.h>

#include "ksservice/Helpers.h"

namespace {

using namespace TC;
using namespace ksservice;

TEST(TaskRules, TaskIdentifiersSortAsNumbers) {
  EXPECT_TRUE(basketTaskIdLessThan("9", "10"));
  EXPECT_FALSE(basketTaskIdLessThan("10", "9"));
  EXPECT_TRUE(basketTaskIdLessThan("10", "11"));
  EXPECT_FALSE(basketTaskIdLessThan("10", "10"));
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
  EXPECT_EQ(replaced("SH.600000买入"), "SH.600000买入");
}

TEST(TaskRules, AccountsAreJoinedOnceEach) {
  EXPECT_EQ(joinAccount("", "1001"), "1001");
  EXPECT_EQ(joinAccount("1001", "1002"), "1001/1002");
  EXPECT_EQ(joinAccount("1001/1002", "1002"), "1001/1002");
  EXPECT_EQ(joinAccount("1001", "100"), "1001/100") << "a part counts only whole";
}

TEST(TaskRules, ZeroHasATolerance) {
  EXPECT_TRUE(isZero(0) && isZero(9e-6) && isZero(-9e-6));
  EXPECT_FALSE(isZero(1e-5) || isZero(-1e-5));
}

}  // namespace
