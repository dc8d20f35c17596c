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
  CCodeOrderParam param;
  param.m_nOrderType = orderType;
  param.m_nPriceType = priceType;
  return param;
}

QStringList fields(const GV::CCommonDialog& dialog) {
  QStringList found;
  for (const GV::SDialogRow& row : dialog.state().rows) found.append(row.key + '=' + row.editor);
  return found;
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

class TradeParamTest : public PatchTest {};

TEST_F(TradeParamTest, StartsFromTheTask) {
  TC::CTradeParamDialog plain(taskParam(EORT_Plain, EPT_Counterpart), "", nullptr);
  EXPECT_EQ(plain.size(), QSize(270, 430));
  EXPECT_EQ(plain.windowTitle(), qs("交易参数设置"));
  EXPECT_EQ(chosen(plain), (QStringList{qs("普通交易"), qs("对手价")}));
  // What is not offered to everybody is offered to a task that has it; an odd number too.
  for (const int type : {static_cast<int>(EPT_User), -1, UNSET_INT}) {
    TC::CTradeParamDialog odd(taskParam(EORT_Plain, type), "", nullptr);
    const QString text = CEnumsDataHelper::priceTypeToFormatString(type);
    EXPECT_EQ(chosen(odd), (QStringList{qs("普通交易"), text}));
    odd.press(qs("限价"));
    odd.press(text);
    CCodeOrderParam filled;
    odd.widget().fillParams("", 1, filled, 0);
    EXPECT_EQ(filled.m_nPriceType, type);
  }

  const char* text = "algo=POV;start=10:00:00;end=11:00:00;limit=10.5;rate=0.25";
  TC::CTradeParamDialog smart(taskParam(13), text, nullptr);
  EXPECT_EQ(chosen(smart), (QStringList{qs("智能算法"), qs("POV")}));
  EXPECT_EQ(fields(smart),
            (QStringList{qs("开始时间=10:00:00"), qs("结束时间=11:00:00"), qs("参与率=0.25"), qs("限价=10.5")}));
  EXPECT_EQ(smart.table().getAlgParamsStr(), text);
  EXPECT_EQ(smart.table().orderType(), 13);

  TC::CTradeParamDialog plainWithText(taskParam(EORT_Plain), text, nullptr);
  EXPECT_EQ(plainWithText.table().algorithmIndex(), TC::CGlobalOrderParamTable::NO_ALGORITHM)
      << "the text is of an algorithm's task only";
}

TEST_F(TradeParamTest, AnAlgorithmThatCannotBeReadIsKeptUntilAnotherIsChosen) {
  instrument("SH", "600000", 100);
  const Params params = {param("SH", "600000", EOT_Sell, 1000)};
  const QString note = qs("原算法参数无法显示，补单沿用原参数。");
  const auto patchBy = [&](const char* choice) {
    run(params, {taskParam(13, EPT_Latest)}, "algo=POV", [&](TC::CBasketPatchDialog& dialog) {
      runTradeParams(dialog, [&](GV::CCommonDialog& trade) {
        EXPECT_EQ(trade.press(qs(choice)), QString());
        EXPECT_TRUE(canSave(trade));
        EXPECT_EQ(trade.state().labels.contains(note), chosen(trade) == QStringList{qs("智能算法")});
      });
      dialog.press(qs("选中补单"));
    });
    const CCodeOrderParam& taken = take().at(0);
    EXPECT_EQ(taken.m_nOrderType, orders().orderType);
    return std::make_pair(taken.m_nOrderType, taken.m_nPriceType);
  };
  EXPECT_EQ(patchBy("智能算法"), std::make_pair(13, int{EPT_Latest}));
  EXPECT_EQ(orders().algoParams, "") << "the task's own stay";
  EXPECT_EQ(patchBy("普通交易"), std::make_pair(int{EORT_Plain}, int{EPT_Latest}));
  EXPECT_EQ(patchBy("智能算法"), std::make_pair(13, int{EPT_Latest})) << "back to its own, not to any";
  EXPECT_EQ(orders().algoParams, "") << "the task's own stay";
  EXPECT_EQ(patchBy("VWAP"), std::make_pair(13, int{EPT_Latest}));
  EXPECT_EQ(orders().algoParams, "algo=VWAP;start=09:30:00;end=14:57:00;slices=10");
}

TEST_F(TradeParamTest, WrongInputIsShownAndNeverLeavesTheDialog) {
  TC::CTradeParamDialog dialog(taskParam(EORT_Plain), "", nullptr);
  dialog.show();
  dialog.press(qs("智能算法"));
  const std::string right = "algo=TWAP;start=09:30:00;end=14:57:00;slices=10";
  EXPECT_EQ(dialog.table().getAlgParamsStr(), right) << "a smart trade always has an algorithm";
  struct SCase {
    const char* algorithm;
    const char* field;
    const char* text;
    const char* message;
  };
  const SCase cases[] = {
      {"TWAP", "开始时间", "15:00:00", "结束时间须晚于开始时间"},
      {"TWAP", "开始时间", "9:30", "开始时间须为 hh:mm:ss"},
      {"VWAP", "拆单笔数", "0", "拆单笔数须为 1 至 10000"},
      {"VWAP", "拆单笔数", "", "拆单笔数须为 整数"},
      {"TWAP", "限价", "-1", "限价须不小于 0"},
      {"TWAP", "限价", "abc", "限价须为 数字"},
      {"POV", "参与率", "1.01", "参与率须大于 0 且不大于 1"},
  };
  for (const SCase& each : cases) {
    SCOPED_TRACE(std::string(each.field) + " " + each.text);
    dialog.press(qs(each.algorithm));
    const std::string before = dialog.table().getAlgParamsStr();
    EXPECT_EQ(dialog.edit(qs(each.field), qs(each.text)), QString());
    EXPECT_EQ(dialog.table().inputError(), qs(each.message));
    EXPECT_TRUE(dialog.state().labels.contains(qs(each.message)));
    EXPECT_FALSE(canSave(dialog));
    EXPECT_EQ(dialog.table().getAlgParamsStr(), before);
    dialog.hide();
    dialog.show();
    EXPECT_TRUE(canSave(dialog)) << "shown again, the fields hold what counts";
  }
  dialog.press(qs("TWAP"));
  dialog.edit(qs("开始时间"), qs("15:00:00"));
  dialog.edit(qs("结束时间"), qs("15:30:00"));
  EXPECT_TRUE(canSave(dialog)) << "wrong on the way, right together";
  dialog.edit(qs("限价"), qs("8.25"));
  EXPECT_EQ(dialog.table().getAlgParamsStr(), "algo=TWAP;start=15:00:00;end=15:30:00;slices=10;limit=8.25");
}

TEST_F(TradeParamTest, OffersWhatTheAccountTakes) {
  const auto offered = [](int accountType) {
    CCodeOrderParam param = taskParam(EORT_Plain);
    const auto account = boost::make_shared<CAccountInfo>();
    account->m_nType = accountType;
    param.m_pAccount = account;
    QStringList texts;
    const TC::CTradeParamDialog dialog(param, "", nullptr);
    for (const GV::SDialogButton& button : dialog.state().buttons) {
      if (button.visible) texts.append(button.text);
    }
    return texts;
  };
  EXPECT_TRUE(offered(0).contains(qs("沪市市价")));
  EXPECT_FALSE(offered(5).contains(qs("沪市市价"))) << "futures have no market prices of SH and SZ";
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

  widget.load(taskParam(EORT_Algo), qs("algo=TWAP;start=10:00:00;end=11:00:00;slices=5"));
  EXPECT_EQ(widget.table().algorithmIndex(), 0);
  widget.setSaveParam(false);
  widget.show();
  widget.findChildren<QPushButton*>().at(0)->click();
  EXPECT_EQ(widget.table().orderType(), EORT_Plain);
  widget.hide();
  EXPECT_EQ(widget.table().orderType(), EORT_Algo) << "not kept";
}
