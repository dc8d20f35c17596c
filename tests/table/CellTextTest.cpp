#include <gtest/gtest.h>

#include "BasketColumns.h"
#include "CHpfBasketStatusData.h"
#include "EHpfBasketTaskStatus.h"
#include "ksservice/Enumerations.h"

using namespace TC;

namespace {

/// A row to form cells from.
struct SRow {
  SRow(const QVector<int>& operations, const SRowFigures& itsFigures) : figures(itsFigures) {
    shape.operations = operations;
    shape.amountFree = isAmountFree(operations);
  }
  double amount() const { return shownAmount(shape, texts, figures, nullptr); }
  QString progress() const {
    return progressText({facts, shape, texts, instrument, figures, nullptr, texts.statusText}, EPD_Amount);
  }

  STaskFacts facts;
  SRowShape shape;
  SRowTexts texts;
  SInstrumentInfo instrument;
  SRowFigures figures;
};

TEST(CellText, ProgressByAmountSwitchesToTenThousandsAndIsWholeWhenFilled) {
  // The third is just inside the tolerance of the switch; of a full row both sides are what was traded.
  const std::pair<SRowFigures, const char*> cases[] = {{{100.5, 9999.8, 1000, 10, 990}, "100.50 / 9999.80"},
                                                       {{0, 10000, 1000, 10, 990}, "0.00万 / 1.00万"},
                                                       {{0, 9999.99, 1000, 10, 990}, "0.00万 / 1.00万"},
                                                       {{12345.0, 12000.0, 1000, 1000, 0}, "1.23万 / 1.23万"}};
  for (const auto& [figures, shown] : cases) EXPECT_EQ(SRow({ksservice::EOT_Buy}, figures).progress(), shown);
}

TEST(CellText, OperationsWithoutAmountShowNone) {
  const SRowFigures figures = {500.0, 1000.0, 10, 5, 5};
  for (int operation : {1004, 1005, 1109, 1110, 1111, 1112}) {
    const SRow row({operation, ksservice::EOT_Buy}, figures);
    EXPECT_EQ(row.progress(), "0.00 / 0.00") << operation;
    EXPECT_EQ(row.amount(), 0) << operation;
  }
  EXPECT_EQ(SRow({ksservice::EOT_Buy, 1004}, figures).amount(), 500.0);
}

TEST(CellText, ProgressBarIsAsLongAsTheShareDone) {
  EXPECT_DOUBLE_EQ(progressFraction("25.00万 / 100.00万"), 0.25);
  EXPECT_DOUBLE_EQ(progressFraction("1 / 4"), 0.25);
  for (const char* stub : {"0 / 5", "5 / 0", "x / y", "-1 / 4", "7"}) EXPECT_EQ(progressFraction(stub), 0) << stub;
}

TEST(CellText, StatusFollowsTheOwnTextThenTheValue) {
  EXPECT_EQ(statusText("资金不足", ksservice::ETS_Running), "资金不足");
  EXPECT_EQ(statusText("资金不足", ksservice::ETS_Finished), "已完成");
  EXPECT_EQ(statusText("", ksservice::ETS_Running), "执行中");
  EXPECT_EQ(statusText("", ksservice::ETS_Paused), "已暂停");
  for (const int status : {ksservice::ETS_Cancelled, ksservice::ETS_Dropped})
    EXPECT_EQ(statusText("", status), "已撤销");
  EXPECT_EQ(statusText("", EHBTS_Patching), "补单中");
  EXPECT_EQ(statusText("", EHBTS_PatchFailed), "");
  EXPECT_EQ(statusText("补单失败", ksservice::ETS_Cancelled), "补单失败");
}

TEST(CellText, TradeTypesJoinAndColour) {
  EXPECT_EQ(tradeTypeText({ksservice::EOT_Buy, ksservice::EOT_Sell}), "买入/卖出");
  EXPECT_EQ(*tradeTypeColor({ksservice::EOT_Buy}), QColor(255, 0, 0));
  EXPECT_EQ(*tradeTypeColor({ksservice::EOT_Sell}), QColor(0, 100, 0));
  EXPECT_EQ(*tradeTypeColor({ksservice::EOT_Sell, ksservice::EOT_Buy}), QColor(0, 0, 255));
  EXPECT_EQ(*tradeTypeColor({}), QColor(0, 0, 255));
  EXPECT_EQ(tradeTypeText({7777}), "7777");
}

}  // namespace
