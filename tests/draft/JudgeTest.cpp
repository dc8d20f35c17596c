#include <gtest/gtest.h>

#include <algorithm>

#include "Basket.h"
#include "Changes.h"
#include "Sentence.h"

using draft::EFinding;
using draft::ELevel;

namespace {

draft::SJudgement judged(const SBasket& basket, const draft::SLimits& limits = {}) {
  return draft::judge(basket.m_lines, {basket.m_facts, {}}, basket.m_accounts, basket.deal(), limits);
}

const draft::SFinding* find(const std::vector<draft::SFinding>& findings, EFinding kind) {
  const auto found =
      std::find_if(findings.begin(), findings.end(), [=](const auto& each) { return each.m_kind == kind; });
  return found == findings.end() ? nullptr : &*found;
}

void expectFinding(const std::vector<draft::SFinding>& findings, EFinding kind, ELevel level, const std::string& text) {
  const draft::SFinding* const finding = find(findings, kind);
  ASSERT_TRUE(finding) << text;
  EXPECT_EQ(finding->m_level, level) << text;
  EXPECT_EQ(finding->m_strText, text);
}

TEST(Judge, FindsWhatSpeaksAgainstALine) {
  struct SCase {
    EFinding m_kind;
    ELevel m_level;
    const char* m_text;
    void (*m_break)(draft::SLine&, draft::SMarketFacts&);
  };
  using Line = draft::SLine;
  using Facts = draft::SMarketFacts;
  const std::vector<SCase> cases{
      {EFinding::Unread, ELevel::Error, "看不懂", [](Line& line, Facts&) { line.m_strFault = "看不懂"; }},
      {EFinding::UnknownCode, ELevel::Error, "证券代码 600000 不在证券列表中",
       [](Line&, Facts& facts) { facts = Facts(); }},
      {EFinding::WrongName, ELevel::Warning, "名称“平安”与代码 600000 的“名称600000”不符",
       [](Line& line, Facts&) { line.m_strName = "平安"; }},
      {EFinding::NoSide, ELevel::Error, "没有买卖方向", [](Line& line, Facts&) { line.m_side = draft::ESide::None; }},
      {EFinding::NoQuantity, ELevel::Error, "没有数量", [](Line& line, Facts&) { line.m_dQuantity = 0; }},
      {EFinding::NoQuantity, ELevel::Error, "没有总金额，权重换算不出数量",
       [](Line& line, Facts&) { line.m_measure = basket::EMeasure::Weight; }},
      {EFinding::NotDealt, ELevel::Warning, "不足最小数量 100（约 1,000.00 元），本行不会发送",
       [](Line& line, Facts&) { line.m_measure = basket::EMeasure::Amount; }},
      {EFinding::Suspended, ELevel::Error, "停牌，今日不能成交",
       [](Line&, Facts& facts) { facts.m_bSuspended = true; }},
      {EFinding::LimitLocked, ELevel::Warning, "涨停 11.00，没有卖盘，买入难以成交",
       [](Line&, Facts& facts) { facts.m_dLast = facts.m_dBid = 11; }},
      {EFinding::BadSize, ELevel::Error, "数量不是整手：数量 350，最少 100，每次增加 100",
       [](Line& line, Facts&) { line.m_dQuantity = 350; }},
      {EFinding::BadSize, ELevel::Error, "数量 300.50 不是整数", [](Line& line, Facts&) { line.m_dQuantity = 300.5; }},
      {EFinding::BadPrice, ELevel::Error, "价格超出涨跌幅限制：限价 11.01，跌停 9.00，涨停 11.00",
       [](Line& line, Facts&) { line.m_dPrice = 11.01; }},
      {EFinding::NotDealt, ELevel::Warning, "只有 1 个账户分得，另 1 个账户的份额不足最小数量 100",
       [](Line& line, Facts&) { line.m_dQuantity = 100; }},
      {EFinding::LineAmount, ELevel::Error, "单行金额 1,001.0 万元，超过上限 1,000.0 万元",
       [](Line& line, Facts&) { line.m_dQuantity = 1001000; }},
      {EFinding::Volume, ELevel::Warning, "数量为平日成交量的 40 %，上限 25 %",
       [](Line&, Facts& facts) { facts.m_dUsualVolume = 1000; }},
  };
  for (const SCase& each : cases) {
    SBasket basket;
    basket.add("600000", 10, 400).account(1).account(1);
    EXPECT_TRUE(judged(basket).m_findings[0].empty());
    each.m_break(basket.m_lines[0], basket.m_facts[0]);
    const draft::SJudgement judgement = judged(basket);
    expectFinding(judgement.m_findings[0], each.m_kind, each.m_level, each.m_text);
    EXPECT_EQ(judgement.m_totals.m_nErrors, each.m_level == ELevel::Error) << each.m_text;
    EXPECT_EQ(judgement.m_totals.m_nWarnings, each.m_level == ELevel::Warning) << each.m_text;
  }
  SBasket named;
  named.add("600000", 10, 400).account(1);
  named.m_facts[0].m_strName = "*ST 中安科A";
  for (const char* const name : {"中安科", "ST中安科Ａ", "ＸＤ中安", "*st中安科a"}) {
    named.m_lines[0].m_strName = name;
    EXPECT_TRUE(judged(named).m_findings[0].empty()) << name;
  }
  // Beyond the limit there is somebody to trade with, or it is the other side.
  named.m_facts[0].m_dLast = named.m_facts[0].m_dAsk = 11;
  EXPECT_TRUE(judged(named).m_findings[0].empty());
}

TEST(Judge, HoldsLinesAgainstCashAndPositions) {
  SBasket basket;
  basket.add("600000", 10, 20000).add("600001", 10, 20000).add("600002", 10, -600).add("600002", 10, -600);
  basket.account(1, 150000, {{"SH.600002", 500}}).account(1, 1e9, {{"SH.600002", 900}});
  draft::SJudgement judgement = judged(basket);
  EXPECT_FALSE(find(judgement.m_findings[0], EFinding::NoCash));
  expectFinding(judgement.m_findings[1], EFinding::NoCash, ELevel::Error,
                "可用资金不足：账户 1001 到本行按委托价共需 20.0 万元，有 15.0 万元");
  EXPECT_FALSE(find(judgement.m_findings[2], EFinding::NoPosition));
  expectFinding(judgement.m_findings[3], EFinding::NoPosition, ELevel::Error,
                "可卖数量不足：账户 1001 共卖 600，可卖 500");
  expectFinding(judgement.m_ofBasket, EFinding::NoCash, ELevel::Error,
                "账户 1001 可用资金不足：按委托价需 20.0 万元，有 15.0 万元");

  basket.add("600003", 100, -2000);
  basket.m_accounts[0].m_sellable["SH.600003"] = 1000;
  basket.m_accounts[1].m_sellable["SH.600003"] = 1000;
  judgement = judged(basket);
  expectFinding(judgement.m_findings[1], EFinding::NoCash, ELevel::Warning,
                "可用资金不足：账户 1001 到本行按委托价共需 20.0 万元，有 15.0 万元，须先卖出");
  EXPECT_EQ(judgement.m_ofBasket.front().m_level, ELevel::Warning);

  // Cash is frozen at the price of the order: one below the last price takes less.
  basket.m_facts[1].m_dFrozenAt = 4.9;
  EXPECT_FALSE(find(judged(basket).m_findings[1], EFinding::NoCash));
  basket.m_facts[1].m_dFrozenAt = 11;
  basket.m_accounts[0].m_dCash = 205000;
  judgement = judged(basket);
  EXPECT_TRUE(find(judgement.m_findings[1], EFinding::NoCash));
  EXPECT_DOUBLE_EQ(judgement.m_totals.m_dBuy, 400000);

  for (draft::SAccountFacts& account : basket.m_accounts) account.m_bKnown = false;
  judgement = judged(basket);
  EXPECT_EQ(judgement.m_totals.m_nErrors, 0);
  EXPECT_TRUE(judgement.m_ofBasket.empty());
}

TEST(Judge, CountsTotalsAndHoldsTheWholeAgainstItsLimits) {
  SBasket basket;
  basket.add("688001", 100, 250000).add("600000", 10, -30000).add("IF2612", 4000, 1).add("600009", 10, 100);
  basket.m_lines[3].m_bChecked = false;
  basket.account(1, 1e9, {{"SH.600000", 30000}});
  draft::SLimits limits{25e6, 26.5e6, 27e6, 0};
  draft::SJudgement judgement = judged(basket, limits);
  const draft::STotals& totals = judgement.m_totals;
  EXPECT_EQ(totals.m_nLines, 3);
  EXPECT_EQ(totals.m_nOrders, 5);  // STAR takes 100,000 shares in one
  EXPECT_DOUBLE_EQ(totals.m_dBuy, 25e6 + 1.2e6);
  EXPECT_DOUBLE_EQ(totals.m_dSell, 3e5);
  EXPECT_NEAR(totals.m_dBuyFees, 25e6 * 0.00026 + 1.2e6 * 0.000023, 0.01);
  EXPECT_NEAR(totals.m_dSellFees, 3e5 * 0.00076, 0.01);
  EXPECT_TRUE(judgement.m_ofBasket.empty());
  EXPECT_EQ(
      draft::sentence(basket.m_lines, {basket.m_facts, {}}, basket.m_accounts, basket.deal(), judgement,
                      {2, 19000, {{"key1001", 18997}}}),
      "将买入 2 行约 2,620.0 万元、卖出 1 行约 30.0 万元，到账户 1001，费用约 6,755.60 元，约 5 笔委托、按每账户每秒 "
      "2 笔约需 3 秒；接近上限：账户 1001 当日委托 19,002/19,000（超过）、单行金额上限（688001）已用 100 "
      "%、单账户金额上限（1001）已用 100 % 等 4 项");
  limits.m_dAccount = limits.m_dBasket = 26e6;
  judgement = judged(basket, limits);
  expectFinding(judgement.m_ofBasket, EFinding::AccountAmount, ELevel::Error,
                "账户 1001 金额 2,650.0 万元，超过单账户上限 2,600.0 万元");
  expectFinding(judgement.m_ofBasket, EFinding::BasketAmount, ELevel::Error,
                "篮子金额 2,650.0 万元，超过上限 2,600.0 万元");
}

TEST(Judge, CountsTheOrdersAndTheLeastCommissionsOfAnAlgorithm) {
  SBasket basket;
  basket.add("600000", 10, 1000).add("688001", 100, -1000000).account(1, 1e9, {{"SH.688001", 1000000}});
  const auto totals = [&basket](int slices) {
    return draft::judge(basket.m_lines, {basket.m_facts, {}, slices}, basket.m_accounts, basket.deal(), {}).m_totals;
  };
  EXPECT_EQ(totals(1).m_nOrders, 11);
  // The large one is cut by its board more often than by four slices.
  EXPECT_EQ(totals(4).m_nOrders, 14);
  EXPECT_NEAR(totals(4).m_dBuyFees, 4 * 5.03, 0.01);
  // No slice is below a lot.
  EXPECT_EQ(totals(48).m_nOrders, 10 + 48);
  EXPECT_NEAR(totals(48).m_dBuyFees, 10 * 5.01, 0.01);
  EXPECT_DOUBLE_EQ(totals(48).m_dBuy, 10000);
}

TEST(Judge, TellsTwinsAndMergesThem) {
  SBasket basket;
  basket.add("600000", 10, 300).add("600001", 10, 300).add("600000", 10, 200).add("600001", 10, -300);
  basket.add("600001", 10, -300).account(1, 1e9, {{"SH.600001", 600}});
  basket.m_lines[4].m_bChecked = false;
  const draft::SJudgement judgement = judged(basket);
  expectFinding(judgement.m_findings[0], EFinding::Twice, ELevel::Warning, "与第 3 行证券和方向相同：可合并或保留");
  expectFinding(judgement.m_findings[2], EFinding::Twice, ELevel::Warning, "与第 1 行证券和方向相同：可合并或保留");
  expectFinding(judgement.m_findings[1], EFinding::BothSides, ELevel::Warning, "同一证券在第 4 行卖出：篮子内既买又卖");
  EXPECT_FALSE(find(judgement.m_findings[3], EFinding::Twice));
  EXPECT_TRUE(judgement.m_findings[4].empty());
  const std::vector<draft::SMerged> merged = draft::merge(basket.m_lines, std::vector<int>(5));
  ASSERT_EQ(merged.size(), 4U);
  EXPECT_EQ(merged[0].m_line.m_dQuantity, 500);
  EXPECT_EQ(merged[0].m_lines, (std::vector<int>{0, 2}));
  EXPECT_EQ(merged[1].m_lines, std::vector<int>{1});
}

TEST(Changes, MarksWhatIsNewOfASourceReadAgain) {
  SBasket before;
  before.add("600000", 10, 300).add("600001", 10, 300).add("600002", 10, 300).add("600003", 10, 300);
  SBasket after;
  after.add("600003", 10, 300).add("600001", 10, -1200).add("600004", 10, 300).add("600002", 10, 300);
  after.m_lines[3].m_dPrice = 10.5;
  const draft::SChanges changes = draft::changesOf(before.m_lines, after.m_lines);
  EXPECT_EQ(changes.m_marks,
            (std::vector<std::string>{"", "方向 买入 → 卖出；数量 300 → 1,200", "新增", "限价 无 → 10.50"}));
  EXPECT_EQ(changes.m_gone, std::vector<int>{0});
}

}  // namespace
