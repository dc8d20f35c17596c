// The texts that carry order parameters, and what orders are reckoned from.
#include <gtest/gtest.h>

#include <limits>

#include "CTestHost.h"
#include "ksservice/Operations.h"
#include "tc/AlgoParams.h"
#include "tc/OrderSetting.h"

using namespace ksservice;

TEST(OrderTexts, AlgorithmParametersSurviveTheirText) {
  for (const char* text :
       {"algo=TWAP;start=09:30:00;end=14:57:00;slices=10;limit=10.5", "algo=VWAP;start=00:00:00;end=23:59:59;slices=1",
        "algo=POV;start=09:30:00;end=14:57:00;rate=0.1", "algo=POV;start=09:30:00;end=14:57:00;limit=0.00001;rate=1"}) {
    TC::SAlgoParams params;
    EXPECT_EQ(TC::SAlgoParams::parse(text, params), "");
    EXPECT_EQ(params.format(), text);
  }
  TC::SAlgoParams params;
  TC::SAlgoParams::parse("algo=VWAP;start=09:30:10;end=14:57:00;slices=3;limit=7.5", params);
  EXPECT_EQ(params.m_eAlgorithm, TC::EAlgorithm::VWAP);
  EXPECT_EQ(params.m_nStart, 34210);
  EXPECT_EQ(params.m_nSlices, 3);
  EXPECT_EQ(params.m_dLimit, 7.5);
}

TEST(OrderTexts, MalformedAlgorithmParametersAreNamedAndChangeNothing) {
  const char* const cases[][2] = {
      {"", "缺少 algo"},
      {"algo=twap;start=09:30:00;end=14:57:00;slices=1", "取值有误 \"algo=twap\""},
      {"start=09:30:00;algo=TWAP", "缺少 algo"},
      {"algo=TWAP;end=14:57:00;slices=1", "缺少 start"},
      {"algo=TWAP;start=09:30:00;end=14:57:00", "缺少 slices"},
      {"algo=TWAP;start=09:30:00;end=14:57:00;slices=1;rate=0.1", "无法识别 \"rate=0.1\""},
      {"algo=POV;start=09:30:00;end=14:57:00;slices=1;rate=0.1", "无法识别 \"slices=1\""},
      {"algo=POV;start=09:30:00;end=14:57:00;rate=0.1;rate=0.2", "无法识别 \"rate=0.2\""},
      {"algo=TWAP;start=09:30:00;end=14:57:00;slices=1;", "无法识别 \"\""},
      {"algo=TWAP;start=24:00:00;end=14:57:00;slices=1", "取值有误 \"start=24:00:00\""},
      {"algo=TWAP;start=09:60:00;end=14:57:00;slices=1", "取值有误 \"start=09:60:00\""},
      {"algo=TWAP;start=09:30:00;end=09:30:00;slices=1", "结束时间须晚于开始时间"},
      {"algo=TWAP;start=09:30:00;end=14:57:00;slices=0", "拆单笔数须为 1 至 10000"},
      {"algo=TWAP;start=09:30:00;end=14:57:00;slices=1x", "取值有误 \"slices=1x\""},
      {"algo=TWAP;start=09:30:00;end=14:57:00;slices=99999999999", "取值有误 \"slices=99999999999\""},
      {"algo=TWAP;start=09:30:00;end=14:57:00;slices=1;limit=-1", "限价须不小于 0"},
      {"algo=TWAP;start=09:30:00;end=14:57:00;slices=1;limit=inf", "限价须不小于 0"},
      {"algo=POV;start=09:30:00;end=14:57:00;rate=nan", "参与率须大于 0 且不大于 1"},
      {"algo=POV;start=09:30:00;end=14:57:00;rate=0", "参与率须大于 0 且不大于 1"},
      {"algo=POV;start=09:30:00;end=14:57:00;rate=1.5", "参与率须大于 0 且不大于 1"},
  };
  for (const auto& [text, fault] : cases) {
    TC::SAlgoParams params;
    params.m_nSlices = 77;
    EXPECT_EQ(TC::SAlgoParams::parse(text, params), std::string("算法参数 \"") + text + "\"：" + fault);
    EXPECT_EQ(params.m_nSlices, 77);
  }
}

TEST(OrderTexts, OnlyAKnownOrderSettingPricesALineAndWithinItsLimit) {
  testkit::CTestHost host;
  for (const char* text :
       {"", "price", "price=", "price=x", "price=14 ", " price=14", "price=11", "price=5", "price=-1"}) {
    EXPECT_FALSE(TC::orderSettingFromString(text).has_value()) << text;
  }
  const TC::CQuote quote = {.m_dBid = 9, .m_dAsk = 11, .m_dOrder = 12};
  const auto setting = TC::orderSettingFromString("price=14");
  ASSERT_TRUE(setting.has_value());
  CCodeOrderParam param;
  param.m_nOrderType = EORT_Algo;
  const double noLimit = std::numeric_limits<double>::max();
  TC::orderSettingToParam(*setting, param, EOT_Buy, 300, noLimit, quote);
  EXPECT_EQ(param.m_nOrderType, EORT_Plain);
  EXPECT_EQ(param.m_nPriceType, EPT_Counterpart);
  EXPECT_EQ(param.m_nVolume, 300);
  EXPECT_EQ(param.m_dPrice, 11);
  TC::orderSettingToParam(*setting, param, EOT_Sell, 300, 8.5, quote);
  EXPECT_EQ(param.m_nOperation, EOT_Sell);
  EXPECT_EQ(param.m_dPrice, 8.5) << "no higher than the limit";
  param.m_stock = {"SH", "600000", ""};
  TC::orderSettingToParam(*TC::orderSettingFromString("price=47"), param, EOT_Sell, 300, noLimit, quote);
  EXPECT_EQ(param.m_nPriceType, EPT_SellerLimit) << "an instrument without market prices";
}
