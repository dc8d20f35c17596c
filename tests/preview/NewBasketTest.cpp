#include <gtest/gtest.h>

#include <QDoubleSpinBox>

#include "CLineModel.h"
#include "CSourceView.h"
#include "Names.h"
#include "PreviewRig.h"

namespace {

using preview::LineCode;
using preview::LineQuantity;

constexpr auto MIXED =
    "代码,名称,方向,数量\n600000,浦发银行,买入,1000\n60003,招商银行,买入,500\n000001,,卖出,200\n合计,,,1700\n";

TEST(NewBasket, AWrongLineIsJudgedWithEachKeyAndHoldsTheBasketBack) {
  CPreviewRig rig;
  EXPECT_EQ(test::nameless(*rig.m_pWindow), "");
  rig.paste(MIXED);
  ASSERT_EQ(rig.draft().state().m_lines.size(), 3U);
  EXPECT_EQ(rig.draft().leftOut().size(), 1U);
  EXPECT_EQ(rig.draft().judgement().m_totals.m_nErrors, 1);
  EXPECT_FALSE(rig.button(QStringLiteral("发送")).isEnabled());
  // The likeliest one is offered.
  ASSERT_FALSE(rig.draft().candidates(1).empty());
  EXPECT_EQ(rig.m_host.securities()[rig.draft().candidates(1).front()].m_strCode, "600036");

  QLineEdit* editor = rig.type(1, LineCode, QStringLiteral("60003"));
  EXPECT_FALSE(rig.button(QStringLiteral("发送")).isEnabled());
  QTest::keyClicks(editor, QStringLiteral("6"));
  // Before the edit has ended.
  EXPECT_TRUE(rig.button(QStringLiteral("发送")).isEnabled());
  QTest::keyClick(editor, Qt::Key_Escape);
  EXPECT_EQ(rig.cell(1, LineCode), QStringLiteral("60003"));
  EXPECT_FALSE(rig.button(QStringLiteral("发送")).isEnabled());

  rig.button(QStringLiteral("取消勾选全部错误行")).click();
  EXPECT_TRUE(rig.button(QStringLiteral("发送")).isEnabled());
  rig.send(QStringLiteral("发送"));
  ASSERT_EQ(rig.m_host.m_sent.size(), 1U);
  ASSERT_EQ(rig.m_host.m_sent[0].m_parts.size(), 1U);
  EXPECT_EQ(rig.m_host.m_sent[0].m_parts[0].m_lines.size(), 2U);
}

TEST(NewBasket, OnlyTheQuestionsOwnButtonSends) {
  CPreviewRig rig;
  rig.paste("600000 买入 1000\n");
  QTest::keyClick(rig.m_pWindow.get(), Qt::Key_Return);
  QTest::keyClick(rig.m_pWindow->findChild<QLineEdit*>(), Qt::Key_Return);
  QTest::keyClick(rig.type(0, LineQuantity, QStringLiteral("2000")), Qt::Key_Return);
  EXPECT_TRUE(rig.m_host.m_sent.empty());
  // Enter in the question is "取消".
  const QString question = rig.send(QString());
  EXPECT_TRUE(rig.m_host.m_sent.empty());
  EXPECT_TRUE(question.contains(QStringLiteral("1001"))) << question.toStdString();
  rig.send(QStringLiteral("发送"));
  ASSERT_EQ(rig.m_host.m_sent.size(), 1U);
  EXPECT_EQ(rig.m_host.m_sent[0].m_parts[0].m_lines[0].m_nQuantity, 2000);
  EXPECT_EQ(rig.m_host.m_sent[0].m_parts[0].m_lines[0].m_nOperation, ksservice::EOT_Buy);
}

TEST(NewBasket, IsSharedOutOverTheAccountsThatHaveARatio) {
  CPreviewRig rig;
  rig.paste("600000 买入 1000\n688001 买入 601\n");
  QAbstractItemModel& accounts = *rig.table(QStringLiteral("账户分配")).model();
  ASSERT_EQ(accounts.rowCount(), 3);
  accounts.setData(accounts.index(1, 2), QStringLiteral("2"));
  accounts.setData(accounts.index(2, 0), Qt::Checked, Qt::CheckStateRole);
  const preview::SSentBasket basket = rig.draft().toSend();
  ASSERT_EQ(basket.m_parts.size(), 3U);
  std::map<std::string, int> sums;
  for (const preview::SSendPart& part : basket.m_parts) {
    for (const preview::SSendLine& line : part.m_lines) sums[line.m_strCode] += line.m_nQuantity;
  }
  EXPECT_EQ(sums["600000"], 1000);
  EXPECT_EQ(sums["688001"], 601);
}

TEST(NewBasket, AFileThatIsReadAgainKeepsEditsAndMarksWhatIsNew) {
  CPreviewRig rig;
  const QString file = rig.writeFile(QStringLiteral("篮子.csv"), "code,side,quantity\n600000,B,100\n600036,B,200\n");
  rig.m_pWindow->openFile(file);
  QTest::keyClick(rig.type(0, LineQuantity, QStringLiteral("900")), Qt::Key_Return);
  rig.writeFile(QStringLiteral("篮子.csv"), "code,side,quantity\n600000,B,100\n600036,B,300\n300750,S,100\n");
  rig.button(QStringLiteral("重新读入")).click();
  const auto& lines = rig.draft().state().m_lines;
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0].m_line.m_dQuantity, 900);
  EXPECT_TRUE(lines[0].m_strChange.isEmpty());
  EXPECT_EQ(lines[1].m_line.m_dQuantity, 300);
  EXPECT_FALSE(lines[1].m_strChange.isEmpty());
  EXPECT_FALSE(lines[2].m_strChange.isEmpty());
}

TEST(NewBasket, WhatAColumnSaysChangesLinesThatTheUserTouchedButNotWhatHeChangedOfThem) {
  CPreviewRig rig;
  const QString file = rig.writeFile(QStringLiteral("a.csv"), "code,side,甲,乙\n600000,B,100,700\n600036,B,200,800\n");
  rig.m_pWindow->openFile(file);
  auto& source = *rig.m_pWindow->findChild<preview::CSourceView*>();
  source.setRole(2, basket::ERole::Quantity);
  QTest::keyClick(rig.type(0, preview::LineSide, QStringLiteral("sell")), Qt::Key_Return);
  rig.lines().model()->setData(rig.lines().model()->index(1, 0), Qt::Unchecked, Qt::CheckStateRole);
  source.setRole(3, basket::ERole::Quantity);
  const auto& lines = rig.draft().state().m_lines;
  EXPECT_EQ(lines[0].m_line.m_side, draft::ESide::Sell);
  EXPECT_EQ(lines[0].m_line.m_dQuantity, 700);
  EXPECT_FALSE(lines[1].m_line.m_bChecked);
  EXPECT_EQ(lines[1].m_line.m_dQuantity, 800);
  // Another file is another draft; this one is kept.
  rig.m_pWindow->openFile(rig.writeFile(QStringLiteral("b.csv"), "code,side,quantity\n300750,B,100\n"));
  rig.m_pStore->finish();
  ASSERT_EQ(rig.m_pStore->list().size(), 1U);
  EXPECT_EQ(rig.m_pStore->list()[0].m_nLines, 2);
  EXPECT_EQ(rig.draft().state().m_strName, QStringLiteral("b"));
}

TEST(NewBasket, DraftsOutliveTheWindowAndWhatWasSentOpensAsANewOne) {
  CPreviewRig rig;
  rig.paste(MIXED);
  QTest::keyClick(rig.type(1, LineCode, QStringLiteral("600036")), Qt::Key_Return);
  QTRY_COMPARE_WITH_TIMEOUT(int(rig.m_pStore->list().size()), 1, 5000);
  rig.open();
  std::vector<preview::SKeptDraft> kept = rig.m_pStore->list();
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_FALSE(kept[0].m_bSent);
  EXPECT_EQ(kept[0].m_nLines, 3);
  // A draft that is opened is not read from what stood in the window before.
  rig.m_pWindow->openFile(rig.writeFile(QStringLiteral("o.csv"), "code,side,quantity\n300750,B,100\n"));
  rig.m_pWindow->openDraft(kept[0].m_strId);
  rig.m_pWindow->findChild<preview::CSourceView*>()->setRole(2, basket::ERole::Amount);
  ASSERT_EQ(rig.draft().state().m_lines.size(), 3U);
  EXPECT_EQ(rig.cell(1, LineCode), QStringLiteral("600036"));
  rig.send(QStringLiteral("发送"));
  ASSERT_EQ(rig.m_host.m_sent.size(), 1U);

  rig.open();
  kept = rig.m_pStore->list();
  std::erase_if(kept, [](const preview::SKeptDraft& each) { return !each.m_bSent; });
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_TRUE(kept[0].m_bSent);
  rig.m_pWindow->openDraft(kept[0].m_strId);
  QTest::keyClick(rig.type(0, LineQuantity, QStringLiteral("300")), Qt::Key_Return);
  rig.m_pWindow->close();
  rig.m_pStore->finish();
  // What was sent is still there as it was.
  EXPECT_EQ(rig.m_pStore->list().size(), 3U);
  EXPECT_EQ(rig.m_pStore->load(kept[0].m_strId)->m_lines[0].m_line.m_dQuantity, 1000);
}

TEST(NewBasket, TheChoiceOfAColumnIsRememberedForItsTitles) {
  CPreviewRig rig;
  const QString file = rig.writeFile(QStringLiteral("a.csv"), "code,side,甲,乙\n600000,B,100,200\n");
  rig.m_pWindow->openFile(file);
  rig.m_pWindow->findChild<preview::CSourceView*>()->setRole(3, basket::ERole::Quantity);
  EXPECT_EQ(rig.draft().state().m_lines[0].m_line.m_dQuantity, 200);
  rig.open();
  rig.m_pWindow->openFile(rig.writeFile(QStringLiteral("b.csv"), "code,side,甲,乙\n600036,B,300,400\n"));
  EXPECT_EQ(rig.draft().state().m_lines[0].m_line.m_dQuantity, 400);
}

TEST(NewBasket, ALimitThatCannotBeReadHoldsItsLineBack) {
  CPreviewRig rig;
  rig.paste("代码,方向,数量,限价\n600000,买入,1000,10.1\n600036,买入,500,约10元\n");
  EXPECT_EQ(rig.draft().judgement().m_totals.m_nErrors, 1);
  // What was read before stays unread whatever else is corrected.
  QTest::keyClick(rig.type(1, LineQuantity, QStringLiteral("600")), Qt::Key_Return);
  EXPECT_EQ(rig.draft().judgement().m_totals.m_nErrors, 1);
  EXPECT_FALSE(rig.button(QStringLiteral("发送")).isEnabled());
  QTest::keyClick(rig.type(1, preview::LinePrice, QStringLiteral("10.2")), Qt::Key_Return);
  EXPECT_TRUE(rig.button(QStringLiteral("发送")).isEnabled());
  QTest::keyClick(rig.type(0, preview::LinePrice, QStringLiteral("10.2o")), Qt::Key_Return);
  EXPECT_FALSE(rig.button(QStringLiteral("发送")).isEnabled());
  // To empty the cell is to want none.
  QLineEdit* editor = rig.type(0, preview::LinePrice, QStringLiteral("9"));
  QTest::keyClick(editor, Qt::Key_Backspace);
  QTest::keyClick(editor, Qt::Key_Return);
  EXPECT_TRUE(rig.button(QStringLiteral("发送")).isEnabled());
  EXPECT_EQ(rig.draft().toSend().m_parts[0].m_lines[0].m_dPrice, 0);
  EXPECT_EQ(rig.draft().toSend().m_parts[0].m_lines[1].m_dPrice, 10.2);
}

TEST(NewBasket, WhatComesToNoOrderIsNotSent) {
  CPreviewRig rig;
  rig.paste("代码,方向,金额\n600000,买入,500\n");
  EXPECT_EQ(rig.draft().judgement().m_totals.m_nErrors, 0);
  EXPECT_FALSE(rig.button(QStringLiteral("发送")).isEnabled());
}

TEST(NewBasket, TwoWindowsNeverKeepTheirDraftsInOnePlace) {
  CPreviewRig rig;
  rig.paste("600000 买入 1000\n");
  auto other = std::make_unique<preview::CNewBasketWindow>(rig.m_host, *rig.m_pStore, nullptr);
  other->setAttribute(Qt::WA_DeleteOnClose, false);
  other->show();
  other->takeText("600036 买入 2000\n", QStringLiteral("另一个"));
  // Both are kept within one moment, before either is written.
  other->close();
  rig.m_pWindow->close();
  rig.m_pStore->finish();
  const std::vector<preview::SKeptDraft> kept = rig.m_pStore->list();
  ASSERT_EQ(kept.size(), 2U);
  rig.m_pWindow->show();
  other->show();
  rig.m_pWindow->openDraft(kept[0].m_strId);
  other->openDraft(kept[1].m_strId);
  const std::string code = other->draft().state().m_lines[0].m_line.m_strCode;
  // The window that shows it already comes to the front.
  other->openDraft(kept[0].m_strId);
  EXPECT_EQ(other->draft().state().m_lines[0].m_line.m_strCode, code);
}

TEST(NewBasket, ARememberedChoiceOfColumnsFitsASheetWithOtherRowsAboveTheTitles) {
  CPreviewRig rig;
  rig.m_pWindow->openFile(
      rig.writeFile(QStringLiteral("a.csv"), "产品一,,,\n二零二六,,,\ncode,side,甲,乙\n600000,B,100,200\n"));
  rig.m_pWindow->findChild<preview::CSourceView*>()->setRole(3, basket::ERole::Quantity);
  rig.open();
  const QString file = rig.writeFile(QStringLiteral("b.csv"), "code,side,甲,乙\n600036,B,300,400\n600000,S,1,500\n");
  rig.m_pWindow->openFile(file);
  ASSERT_EQ(rig.draft().state().m_lines.size(), 2U);
  EXPECT_EQ(rig.draft().state().m_lines[0].m_line.m_dQuantity, 400);
  EXPECT_TRUE(rig.draft().state().m_lines[0].m_strChange.isEmpty());
  // What is new of a file is told against what was read of it before.
  rig.writeFile(QStringLiteral("b.csv"), "code,side,甲,乙\n600036,B,300,700\n300750,S,1,800\n");
  rig.button(QStringLiteral("重新读入")).click();
  EXPECT_EQ(rig.draft().state().m_lines[0].m_strChange, QStringLiteral("数量 400 → 700"));
  EXPECT_EQ(rig.draft().state().m_lines[1].m_strChange, QStringLiteral("新增"));
  EXPECT_EQ(rig.draft().goneCount(), 1);
}

TEST(NewBasket, WhatIsPastedBesideABasketIsReadAsTheUserChoseAndNoRowIsDroppedInSilence) {
  CPreviewRig rig;
  rig.m_pWindow->openFile(rig.writeFile(QStringLiteral("a.csv"), "code,side,甲,乙\n600000,B,100,200\n"));
  rig.m_pWindow->findChild<preview::CSourceView*>()->setRole(3, basket::ERole::Quantity);
  rig.paste("code,side,甲,乙\n600036,B,300,400\n合计,,300,400\n");
  ASSERT_EQ(rig.draft().state().m_lines.size(), 2U);
  EXPECT_EQ(rig.draft().state().m_lines[1].m_line.m_dQuantity, 400);
  EXPECT_TRUE(rig.find<QLabel>(QStringLiteral("加入的文字里没有读入：第 3 行（合计行）")));
}

TEST(NewBasket, WhatWasMergedStaysOneLineWhenTheFileIsReadAgain) {
  CPreviewRig rig;
  const QString file =
      rig.writeFile(QStringLiteral("a.csv"),
                    "code,side,quantity\n600000,B,300\n600000,B,200\nIF2612,买入开仓,1\nIF2612,买入平仓,1\n");
  rig.m_pWindow->openFile(file);
  rig.button(QStringLiteral("合并重复")).click();
  // To open and to close are two things.
  ASSERT_EQ(rig.draft().state().m_lines.size(), 3U);
  EXPECT_EQ(rig.draft().state().m_lines[0].m_line.m_dQuantity, 500);
  rig.m_pWindow->close();
  rig.open();
  rig.m_pWindow->openDraft(rig.m_pStore->list()[0].m_strId);
  rig.button(QStringLiteral("重新读入")).click();
  ASSERT_EQ(rig.draft().state().m_lines.size(), 3U);
  EXPECT_EQ(rig.draft().state().m_lines[0].m_line.m_dQuantity, 500);
  rig.writeFile(QStringLiteral("a.csv"), "code,side,quantity\n600000,B,300\n600000,B,900\n");
  rig.button(QStringLiteral("重新读入")).click();
  ASSERT_EQ(rig.draft().state().m_lines.size(), 2U);
  EXPECT_EQ(rig.draft().state().m_lines[0].m_line.m_dQuantity, 300);
  EXPECT_EQ(rig.draft().state().m_lines[1].m_line.m_dQuantity, 900);
}

TEST(NewBasket, CashIsJudgedAnewByThePricesOfTheOrders) {
  CPreviewRig rig;
  rig.m_host.m_accounts[0].m_dCash = 10500;
  // Nobody has traded yet: the previous close stays.
  rig.m_host.m_dPrice = 0;
  rig.paste("600000 买入 1000\n");
  QTest::qWait(20);
  EXPECT_EQ(rig.draft().amountOf(0), 10000);
  EXPECT_TRUE(rig.button(QStringLiteral("发送")).isEnabled());
  QTest::keyClick(rig.type(0, preview::LinePrice, QStringLiteral("10.8")), Qt::Key_Return);
  EXPECT_FALSE(rig.button(QStringLiteral("发送")).isEnabled());
  EXPECT_EQ(rig.draft().amountOf(0), 10000);
  QTest::keyClick(rig.type(0, preview::LinePrice, QStringLiteral("10.4")), Qt::Key_Return);
  EXPECT_TRUE(rig.button(QStringLiteral("发送")).isEnabled());
}

TEST(NewBasket, TheSentenceTellsHowLinesArePricedAndWhoIsMissing) {
  CPreviewRig rig;
  rig.paste("600000 买入 1000 @9.9\n600036 买入 1000\n");
  const auto states = [&rig](auto change) {
    preview::SDraftState state = rig.draft().state();
    change(state);
    rig.m_pStore->save(QStringLiteral("kept"), state, true);
    rig.m_pWindow->openDraft(QStringLiteral("kept"));
    QCoreApplication::processEvents();
  };
  const auto says = [&rig](const char* text) { return rig.draft().sentence().contains(QString::fromUtf8(text)); };
  EXPECT_TRUE(says("；1 行按各行限价，其余对手价")) << rig.draft().sentence().toStdString();
  states([](preview::SDraftState& state) {
    state.m_trade.m_nPriceType = ksservice::EPT_MarketSH;
    state.m_trade.m_nOffsetTicks = 3;
    state.m_deal.m_ratios["gone"] = 1;
  });
  EXPECT_TRUE(says("其余沪市市价；")) << rig.draft().sentence().toStdString();
  EXPECT_TRUE(says("；分配里有 1 个账户不在此终端，它的份额归其余账户"));
  states([](preview::SDraftState& state) {
    state.m_trade.m_nOrderType = ksservice::EORT_Algo;
    state.m_trade.m_strAlgo = "algo=TWAP;start=09:30:00;end=14:57:00;slices=10;limit=10.5";
  });
  EXPECT_TRUE(says("；TWAP 09:30:00 至 14:57:00，限价 10.5，1 行的限价不起作用"))
      << rig.draft().sentence().toStdString();
  EXPECT_TRUE(says("，约 20 笔委托；")) << rig.draft().sentence().toStdString();
  // A future that is not there is not replaced by another, and nobody gets what is for nobody.
  states([](preview::SDraftState& state) { state.m_hedge = {true, "IF2099", 1}; });
  EXPECT_FALSE(rig.button(QStringLiteral("发送")).isEnabled());
  states([](preview::SDraftState& state) {
    state.m_hedge = {};
    state.m_deal = {draft::EDealBy::Cash, {}};
  });
  EXPECT_TRUE(rig.draft().toSend().m_parts.empty());
}

TEST(NewBasket, AQuantityBeyondWhatCanBeCountedIsNotSentAsLess) {
  CPreviewRig rig;
  rig.m_host.m_accounts[0].m_bKnown = false;
  rig.paste("600000 买入 3000000000\n600000 卖出 1900000000\n600000 卖出 1900000000\n");
  for (auto* box : rig.m_pWindow->findChildren<QDoubleSpinBox*>()) {
    if (box->accessibleName().contains(QStringLiteral("金额"))) box->setValue(0);
  }
  EXPECT_EQ(rig.draft().judgement().m_totals.m_nErrors, 1);
  EXPECT_FALSE(rig.draft().judgement().m_findings[0].empty());
  rig.lines().model()->setData(rig.lines().model()->index(0, LineQuantity), QStringLiteral("3000000000.5"));
  EXPECT_EQ(rig.draft().judgement().m_totals.m_nErrors, 1);
}

TEST(NewBasket, AnotherSourceBeginsWithoutTheMultipleOfTheOneBefore) {
  CPreviewRig rig;
  rig.m_pWindow->openFile(rig.writeFile(QStringLiteral("a.csv"), "code,side,quantity\n600000,B,100\n"));
  for (auto* box : rig.m_pWindow->findChildren<QDoubleSpinBox*>()) {
    if (box->decimals() == 4) box->setValue(3);
  }
  EXPECT_EQ(rig.draft().deal().m_lines[0].m_nQuantity, 300);
  rig.m_pWindow->openFile(rig.writeFile(QStringLiteral("b.csv"), "code,side,quantity\n600036,B,200\n"));
  EXPECT_EQ(rig.draft().deal().m_lines[0].m_nQuantity, 200);
}

TEST(NewBasket, ASheetThatIsLeftKeepsItsEdits) {
  CPreviewRig rig;
  preview::CDraft draft(rig.m_host);
  basket::SSource source = basket::readSourceText("code,side,quantity\n600000,B,100\n600036,B,200\n");
  source.m_sheets.push_back(basket::readSourceText("code,side,quantity\n300750,B,300\n").m_sheets[0]);
  draft.setSource(source, false);
  draft.setChecked({1}, false);
  draft.setSheet(1);
  ASSERT_EQ(draft.state().m_lines.size(), 1U);
  draft.setSheet(0);
  ASSERT_EQ(draft.state().m_lines.size(), 2U);
  EXPECT_FALSE(draft.state().m_lines[1].m_line.m_bChecked);
  EXPECT_TRUE(draft.state().m_lines[1].m_strChange.isEmpty());
}

}  // namespace
