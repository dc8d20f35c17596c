// The trade parameters of a patch.
#include <QPushButton>

#include "CTradeParamDialog.h"
#include "PatchFixture.h"
#include "ksservice/Enumerations.h"
#include "ksservice/Operations.h"
#include "tc/COpBasketStockParamsWidget.h"

using namespace ksservice;

namespace {

CCodeOrderParam taskParam(int orderType, int priceType = EPT_Limit) {
  return {.m_pAccount = {}, .m_nOrderType = orderType, .m_stock = {}, .m_nPriceType = priceType};
}

QStringList chosen(const GV::CCommonDialog& dialog) {
  QStringList found;
  for (const GV::SDialogButton& button : dialog.state().buttons) {
    if (button.visible && button.checked) found.append(button.text);
  }
  return found;
}

bool canSave(const GV::CCommonDialog& dialog) { return dialog.state().buttons.back().enabled; }

}  // namespace

using TradeParamTest = PatchTest;

TEST_F(TradeParamTest, StartsFromTheTask) {
  TC::CTradeParamDialog plain(taskParam(EORT_Plain, EPT_Counterpart), "", nullptr);
  EXPECT_EQ(plain.size(), QSize(270, 430));
  EXPECT_EQ(plain.windowTitle(), "交易参数设置");
  EXPECT_EQ(chosen(plain), (QStringList{"普通交易", "对手价"}));
  // What is not offered to everybody is offered to a task that has it; an odd number too.
  for (const int type : {static_cast<int>(EPT_User), -1, UNSET_INT}) {
    TC::CTradeParamDialog odd(taskParam(EORT_Plain, type), "", nullptr);
    const QString text = CEnumsDataHelper::priceTypeToFormatString(type);
    EXPECT_EQ(chosen(odd), (QStringList{"普通交易", text}));
    odd.press("限价");
    odd.press(text);
    CCodeOrderParam filled;
    odd.widget().fillParams("", 1, filled, 0);
    EXPECT_EQ(filled.m_nPriceType, type);
  }

  const char* text = "algo=POV;start=10:00:00;end=11:00:00;limit=10.5;rate=0.25";
  TC::CTradeParamDialog smart(taskParam(13), text, nullptr);
  EXPECT_EQ(chosen(smart), (QStringList{"智能算法", "POV"}));
  QStringList fields;
  for (const GV::SDialogRow& row : smart.state().rows) fields.append(row.key + '=' + row.editor);
  EXPECT_EQ(fields, (QStringList{"开始时间=10:00:00", "结束时间=11:00:00", "参与率=0.25", "限价=10.5"}));
  EXPECT_EQ(smart.table().getAlgParamsStr(), text);
  EXPECT_EQ(smart.table().orderType(), 13);

  TC::CTradeParamDialog plainWithText(taskParam(EORT_Plain), text, nullptr);
  EXPECT_EQ(plainWithText.table().algorithmIndex(), TC::CGlobalOrderParamTable::NO_ALGORITHM)
      << "the text is of an algorithm's task only";
}

TEST_F(TradeParamTest, AnAlgorithmThatCannotBeReadIsKeptUntilAnotherIsChosen) {
  instrument("SH", "600000", 100);
  const Params params = {param("SH", "600000", EOT_Sell, 1000)};
  const QString note = "原算法参数无法显示，补单沿用原参数。";
  const auto patchBy = [&](const char* choice) {
    run(params, {taskParam(13, EPT_Latest)}, "algo=POV", [&](TC::CBasketPatchDialog& dialog) {
      runTradeParams(dialog, [&](GV::CCommonDialog& trade) {
        EXPECT_EQ(trade.press(choice), QString());
        EXPECT_TRUE(canSave(trade));
        EXPECT_EQ(trade.state().labels.contains(note), chosen(trade) == QStringList{"智能算法"});
      });
      dialog.press("选中补单");
    });
    const CCodeOrderParam& taken = take().at(0);
    EXPECT_EQ(taken.m_nOrderType, orders().orderType);
    EXPECT_EQ(taken.m_nPriceType, EPT_Latest);
    return std::to_string(taken.m_nOrderType) + ' ' + orders().algoParams;
  };
  EXPECT_EQ(patchBy("智能算法"), "13 ") << "the task's own parameters stay";
  EXPECT_EQ(patchBy("普通交易"), "0 ");
  EXPECT_EQ(patchBy("智能算法"), "13 ") << "back to its own, not to any";
  EXPECT_EQ(patchBy("VWAP"), "13 algo=VWAP;start=09:30:00;end=14:57:00;slices=10");
}

TEST_F(TradeParamTest, WrongInputIsShownAndNeverLeavesTheDialog) {
  TC::CTradeParamDialog dialog(taskParam(EORT_Plain), "", nullptr);
  dialog.show();
  dialog.press("智能算法");
  EXPECT_EQ(dialog.table().getAlgParamsStr(), "algo=TWAP;start=09:30:00;end=14:57:00;slices=10")
      << "a smart trade always has an algorithm";
  const char* const cases[][4] = {
      {"TWAP", "开始时间", "15:00:00", "结束时间须晚于开始时间"},
      {"TWAP", "开始时间", "9:30", "开始时间须为 hh:mm:ss"},
      {"VWAP", "拆单笔数", "0", "拆单笔数须为 1 至 10000"},
      {"VWAP", "拆单笔数", "", "拆单笔数须为 整数"},
      {"TWAP", "限价", "-1", "限价须不小于 0"},
      {"TWAP", "限价", "abc", "限价须为 数字"},
      {"POV", "参与率", "1.01", "参与率须大于 0 且不大于 1"},
  };
  for (const auto& [algorithm, field, text, message] : cases) {
    SCOPED_TRACE(std::string(field) + " " + text);
    dialog.press(algorithm);
    const std::string before = dialog.table().getAlgParamsStr();
    EXPECT_EQ(dialog.edit(field, text), QString());
    EXPECT_EQ(dialog.table().inputError(), message);
    EXPECT_TRUE(dialog.state().labels.contains(message));
    EXPECT_FALSE(canSave(dialog));
    EXPECT_EQ(dialog.table().getAlgParamsStr(), before);
    dialog.hide();
    dialog.show();
    EXPECT_TRUE(canSave(dialog)) << "shown again, the fields hold what counts";
  }
  dialog.press("TWAP");
  dialog.edit("开始时间", "15:00:00");
  dialog.edit("结束时间", "15:30:00");
  EXPECT_TRUE(canSave(dialog)) << "wrong on the way, right together";
  dialog.edit("限价", "8.25");
  EXPECT_EQ(dialog.table().getAlgParamsStr(), "algo=TWAP;start=15:00:00;end=15:30:00;slices=10;limit=8.25");
}

TEST_F(TradeParamTest, OffersWhatTheAccountTakes) {
  const auto offered = [this](int accountType) {
    m_pAccount->m_nType = accountType;
    const std::vector<GV::SDialogButton> buttons =
        TC::CTradeParamDialog(param("SH", "600000", EOT_Buy, 1), "", nullptr).state().buttons;
    return std::any_of(buttons.begin(), buttons.end(),
                       [](const auto& button) { return button.visible && button.text == "沪市市价"; });
  };
  EXPECT_TRUE(offered(0));
  EXPECT_FALSE(offered(5)) << "futures have no market prices of SH and SZ";
}

TEST_F(TradeParamTest, FillsVolumeAndCapsThePrice) {
  TC::COpBasketStockParamsWidget widget(0);
  CCodeOrderParam filled = param("SH", "600000", EOT_Buy, 100);
  filled.m_dPrice = 12;
  filled.m_nPriceType = EPT_HedgeCalc;
  widget.fillParams("SH.600000", 250, filled, 11.5);
  EXPECT_EQ(filled.m_nVolume, 250);
  EXPECT_EQ(filled.m_dPrice, 11.5);
  EXPECT_EQ(filled.m_nPriceType, EPT_Limit) << "never what nobody chose";

  widget.load(taskParam(EORT_Algo), "algo=TWAP;start=10:00:00;end=11:00:00;slices=5");
  EXPECT_EQ(widget.table().algorithmIndex(), 0);
  widget.setSaveParam(false);
  widget.show();
  widget.findChildren<QPushButton*>().at(0)->click();
  EXPECT_EQ(widget.table().orderType(), EORT_Plain);
  widget.hide();
  EXPECT_EQ(widget.table().orderType(), EORT_Algo) << "not kept";
}
