#include <gtest/gtest.h>

#include <QFontInfo>

#include "BasketColumns.h"
#include "CHpfBasketStatusData.h"
#include "CTestHost.h"
#include "EHpfBasketTaskStatus.h"
#include "gv/CTextRuns.h"
#include "gv/CUiResource.h"
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

// Free texts (parameters, remarks, names of baskets and of accounts, tags of algorithms, own texts of a status) may be
// cut, as may lists of accounts and of trade types: they end with an ellipsis and are shown whole as a tip.
TEST(CellText, LongestFiguresAndTermsFitTheirColumns) {
  const testkit::CTestHost host;
  SRow large({ksservice::EOT_SellOpen, ksservice::EOT_Buy}, {});
  large.figures.tradedAmount = -9999999999.99;
  const SRow side({ksservice::EOT_CollateralOut}, {});
  SRow traded({ksservice::EOT_Buy}, {9999999999.99, 9999999999.99, 2000000000, 2000000000, 0});
  traded.figures.orderCount = 1;
  const auto text = [](const SRow& row, EBasketColumn column, EProcessDisplay mode) {
    return basketColumns()[column].text(
        {row.facts, row.shape, row.texts, row.instrument, row.figures, nullptr, row.texts.statusText}, mode);
  };
  const std::pair<EBasketColumn, QStringList> longest[] = {
      {EBC_Name, {"贵州茅台", "*ST华微债", "沪深300ETF易"}},
      {EBC_Account, {"888812345678"}},
      {EBC_AccountName, {"量化一号产品"}},
      {EBC_TradeType, {text(large, EBC_TradeType, EPD_Amount), text(side, EBC_TradeType, EPD_Amount)}},
      {EBC_Amount, {QString::number(large.figures.tradedAmount, 'f', 2)}},
      {EBC_Progress, {text(traded, EBC_Progress, EPD_Amount), text(traded, EBC_Progress, EPD_Quantity)}},
      {EBC_Orders, {orderText(99999, 99999)}},
      {EBC_StartTime, {timeText(86399999)}},
      {EBC_EndTime, {timeText(86399999)}},
      {EBC_Status, {"资金不足", statusText("", EHBTS_Patching), batchStatusToString(EHBTS_PatchFinished)}},
      {EBC_Unfilled, {"2000000000"}}};
  for (const double scale : {2.0, 1.5, 1.0}) {
    GV::CUiResource::setScale(scale);
    GV::CGlyphFont font(GV::CUiResource::getFont("fnt_default_normal"));
    ASSERT_EQ(QFontInfo(font.font()).family(), "WenQuanYi Micro Hei") << "the terminal's own font is not installed";
    const auto expectRoom = [&](int column, const QString& shown, int beside) {
      const int width = GV::CUiResource::scaled(basketColumns()[static_cast<std::size_t>(column)].column.width);
      EXPECT_LE(font.width(shown) + GV::CUiResource::scaled(beside), width) << qPrintable(shown) << " at " << scale;
    };
    constexpr int CELL = 9;     // the padding on both sides, and the grid
    constexpr int TITLE = 20;   // the same, and an arrow of sorting
    constexpr int BRANCH = 57;  // the fourth level with its arrow
    for (const auto& [column, texts] : longest) {
      for (const QString& each : texts) expectRoom(column, each, CELL);
    }
    for (const char* each : {"SH.600000卖出", "SZ.159919申购"}) expectRoom(EBC_Tree, each, CELL + BRANCH);
    for (int column = 0; column < EBC_Count; ++column) {
      expectRoom(column, basketColumns()[static_cast<std::size_t>(column)].column.title, TITLE);
    }
  }
}

}  // namespace
