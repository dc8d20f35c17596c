#include "SplitLines.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace {

engine::SOrderLine makeLine(int number, int quantity, int lot, int minimum) {
  return {.m_stock = {"SH", std::to_string(600000 + number), {}},
          .m_nQuantity = quantity,
          .m_rules = {.m_nBuyMinimum = minimum, .m_nBuyStep = lot}};
}

TEST(SplitLines, KeepsEveryShareInWholeLotsForAllButTheFirstAccount) {
  std::mt19937 random(7);
  for (int round = 0; round < 500; ++round) {
    const int accounts = 1 + static_cast<int>(random() % 7);
    std::vector<engine::SOrderLine> lines;
    for (int i = 0; i < 10; ++i) {
      const int lot = random() % 3 ? 100 : 1;
      lines.push_back(makeLine(i, 1 + static_cast<int>(random() % 5000), lot, random() % 2 ? 2 * lot : lot));
    }
    const auto parts = engine::splitLines(lines, accounts);
    ASSERT_EQ(parts.size(), static_cast<std::size_t>(accounts));
    std::map<std::string, int> sums;
    for (const auto& account : parts) {
      for (const engine::SOrderLine& part : account) {
        EXPECT_GT(part.m_nQuantity, 0);
        sums[part.m_stock.m_strCode] += part.m_nQuantity;
        if (&account == &parts[0]) continue;
        EXPECT_EQ(part.m_nQuantity % part.m_rules.m_nBuyStep, 0);
        EXPECT_GE(part.m_nQuantity, part.m_rules.m_nBuyMinimum);
      }
    }
    for (const engine::SOrderLine& line : lines) EXPECT_EQ(sums[line.m_stock.m_strCode], line.m_nQuantity);
  }
}

TEST(SplitLines, SharesEvenlyAndGivesTheRemainderToTheFirst) {
  const auto parts = engine::splitLines({makeLine(0, 1050, 100, 100), makeLine(1, 250, 100, 200)}, 3);
  ASSERT_EQ(parts[0].size(), 2u);
  EXPECT_EQ(parts[0][0].m_nQuantity, 450);
  EXPECT_EQ(parts[1][0].m_nQuantity, 300);
  EXPECT_EQ(parts[2][0].m_nQuantity, 300);
  // A third of 250 is below the smallest quantity that may be bought: the line stays whole.
  EXPECT_EQ(parts[0][1].m_nQuantity, 250);
  EXPECT_EQ(parts[1].size(), 1u);
}

}  // namespace
