// What the confirmation of a patch shows, takes and hands on.
#include <QCoreApplication>

#include "Names.h"
#include "PatchFixture.h"
#include "Sizes.h"
#include "ksservice/Enumerations.h"

using namespace ksservice;

TEST_F(PatchTest, EverySizeOfTheDialogsFollowsTheScaleWhileTheyAreOpen) {
  instrument("SH", "600000", 100);
  const auto check = [](GV::CCommonDialog& dialog) {
    const test::Sizes atOne = test::sizesOf(dialog);
    const QSize window = dialog.size();
    EXPECT_GT(atOne.size(), 10u);
    for (const double scale : {1.5, 2.0, 3.0, 1.0}) {
      const test::CScaled scaled(scale);
      EXPECT_EQ(test::outOfProportion(atOne, test::sizesOf(dialog), scale), "") << scale;
      EXPECT_EQ(dialog.size(), window * scale);
      QCoreApplication::processEvents();
      EXPECT_EQ(test::cutTexts(dialog), "") << scale;
    }
  };
  run({param("SH", "600000", EOT_Buy, 3000)}, [&](TC::CBasketPatchDialog& dialog) {
    check(dialog);
    runTradeParams(dialog, check);
  });
}

TEST_F(PatchTest, EveryControlOfTheDialogsHasANameForAScreenReader) {
  instrument("SH", "600000", 100);
  const auto check = [](GV::CCommonDialog& dialog) { EXPECT_EQ(test::nameless(dialog), ""); };
  run({param("SH", "600000", EOT_Buy, 3000)}, [&](TC::CBasketPatchDialog& dialog) {
    check(dialog);
    runTradeParams(dialog, check);
  });
}

TEST_F(PatchTest, AnEntryIsRoundedForABuyAndNeverAboveWhatIsOpen) {
  struct SCase {
    const char* market;
    int operation;
    int unit;
    int available;
    const char* typed;
    int accepted;
  };
  const SCase cases[] = {
      {"SH", EOT_Buy, 100, 3000, "1250", 1200},
      {"SZ", EOT_Buy, 200, 3000, "1250", 1200},
      {"SSE", EOT_BuyOpen, 100, 3000, "99", 0},
      {"SZSE", EOT_BuyClose, 10, 3000, " 37 ", 30},
      {"SH", EOT_Buy, 100, 3000, "5000", 3000},
      {"SH", EOT_Buy, 100, 250, "300", 250},  // rounded first, then capped: an odd remainder stays whole
      {"HK", EOT_Buy, 100, 3000, "1250", 1250},
      {"SH", EOT_Sell, 100, 3000, "1250", 1250},
      {"SH", EOT_Sell, 100, 3000, "3001", 3000},
      {"SH", EOT_CollateralBuy, 100, 3000, "1250", 1250},
      {"SH", EOT_Buy, 100, 3000, "-150", -100},
      {"SH", EOT_Sell, 100, 3000, "-150", -150},
      {"SH", EOT_Sell, 100, 3000, "12a", 0},
      {"SH", EOT_Sell, 100, 3000, "1.5", 0},
      {"SH", EOT_Sell, 100, 3000, "99999999999", 0},
  };
  for (const SCase& each : cases) {
    SCOPED_TRACE(std::string(each.market) + " " + std::to_string(each.operation) + " " + each.typed);
    instrument(each.market, "600000", each.unit);
    const CCodeOrderParam line = param(each.market, "600000", each.operation, each.available);
    m_host.takeLog();
    run({line}, [&](TC::CBasketPatchDialog& dialog) {
      EXPECT_EQ(dialog.edit(GV::sToQs(line.getKey()), each.typed), QString());
      EXPECT_EQ(quantity(line.getKey().c_str()), QString::number(each.accepted));
      EXPECT_EQ(dialog.press("选中补单"), QString());
    });
    EXPECT_EQ(take().at(0).m_nVolume, each.accepted);
    EXPECT_EQ(m_host.takeLog(), std::vector<std::string>{"user modify " + std::string(each.market) +
                                                         ".600000 m_nPatchNum to " + std::to_string(each.accepted)});
    EXPECT_EQ(m_boxes, QStringList());
  }
}

TEST_F(PatchTest, WithoutAUnitNothingIsOrderedAndTheUserIsTold) {
  instrument("SH", "600000", 0);
  run({param("SH", "600000", EOT_Buy, 1000), param("SH", "999999", EOT_Buy, 1000)}, [&](auto& dialog) {
    for (const char* key : {"A1/SH.600000买入", "A1/SH.999999买入"}) {
      EXPECT_EQ(dialog.edit(key, "500"), QString());
      EXPECT_EQ(quantity(key), "0");
    }
    dialog.press("选中补单");
  });
  EXPECT_EQ(m_boxes,
            (QStringList{"SH.600000 没有有效的最小委托单位，不能补单", "SH.999999 没有有效的最小委托单位，不能补单"}));
  EXPECT_EQ(take()[0].m_nVolume, 0);
}

TEST_F(PatchTest, GivenPricesAreThoseThatTheTaskHasNow) {
  instrument("SH", "600000", 100);
  const auto other = testkit::makeAccount("A2", "1002");
  const auto given = [&](const char* market, const char* code, int operation, double price) {
    CCodeOrderParam line = param(market, code, operation, 1000);
    line.m_nPriceType = EPT_User;
    line.m_dPrice = price;
    return line;
  };
  Params params = {param("SH", "600000", EOT_Buy, 100), param("SH", "600000", EOT_Sell, 100),
                   param("SH", "600000", EOT_Buy, 100), param("HK", "00700", EOT_Buy, 100),
                   param("HK", "00005", EOT_Buy, 100),  param("SH", "600001", EOT_Buy, 100)};
  params[2].m_pAccount = other;
  params[2].m_dPrice = params[5].m_dPrice = 99;  // no price of the task's
  Params task = {given("SH", "600000", EOT_Buy, 10.5), given("SH", "600000", EOT_Sell, 10.9),
                 given("HGT", "00700", EOT_Buy, 300), given("SGT", "00005", EOT_Buy, 60),
                 given("SH", "600000", EOT_Buy, 10.7)};
  run(params, task, "", [](auto& dialog) { dialog.press("选中补单"); });
  EXPECT_EQ(types(), (Types{{EPT_User, 10.7}, {EPT_User, 10.9}, {EPT_User, 300}, {EPT_User, 60}}))
      << "the last of each";
  ASSERT_EQ(orders().unpriced.size(), 2u) << "nothing was given for them";
  EXPECT_EQ(orders().unpriced[0].m_pAccount, other);
  EXPECT_EQ(orders().unpriced[0].m_dPrice, 0);
  EXPECT_EQ(orders().unpriced[1].m_stock.m_strCode, "600001");

  // The next patch: the first line's last price is none any more, and another price type of the task changes nothing.
  task[2] = given("SH", "600000", EOT_Buy, 0);
  task[4] = given("SH", "600000", EOT_Sell, 11.1);
  task.front().m_nPriceType = EPT_Latest;
  run(params, task, "", [](auto& dialog) { dialog.press("选中补单"); });
  EXPECT_EQ(types(), (Types{{EPT_User, 11.1}, {EPT_User, 60}})) << "nor is the task to trade 00700 any more";
  EXPECT_EQ(orders().unpriced.size(), 4u);
  run(params, task, "", [](auto& dialog) { dialog.press("新建篮子补单"); });
  EXPECT_EQ(basket().params.size(), 3u) << "a new basket needs no price, only an instrument";
}

TEST_F(PatchTest, MarketPricesAreThoseOfTheExchangeOrALimit) {
  instrument("SH", "600000", 100, {EPT_MarketSH});
  instrument("SZ", "000001", 100, {EPT_MarketSZ});
  instrument("SH", "600001", 100);
  instrument("SZSE", "000002", 100, {EPT_MarketSH});
  instrument("HK", "00700", 100);
  const Params params = {param("SH", "600000", EOT_Buy, 100),   param("SZ", "000001", EOT_Sell, 100),
                         param("SH", "600001", EOT_Buy, 100),   param("SH", "600001", EOT_Sell, 100),
                         param("SZSE", "000002", EOT_Buy, 100), param("HK", "00700", EOT_Buy, 100)};
  EXPECT_EQ(typesWith(params, "沪市市价"), (Types{{42, 12}, {47, 12}, {0, 12}, {10, 12}, {42, 12}, {42, 12}}));
  EXPECT_EQ(typesWith(params, "深市市价"), (Types{{42, 12}, {47, 12}, {0, 12}, {10, 12}, {0, 12}, {47, 12}}))
      << "only the markets SH and SZ are given the other exchange's type";
}

TEST_F(PatchTest, PriceTypesTakeTheirPriceFromTheQuote) {
  instrument("SH", "600000", 100);
  m_host.desk().setQuote("SH", "600000", {.m_dLast = 10, .m_dAsk = 11, .m_dOrder = 12, .m_dLimitUp = 15});
  const Params params = {param("SH", "600000", EOT_Buy, 100), param("SH", "600000", EOT_Sell, 100)};
  CCodeOrderParam seller;
  seller.m_nPriceType = EPT_SellerLimit;  // each line's limit is its own side's
  run(params, {seller}, "", [&](TC::CBasketPatchDialog& dialog) { dialog.press("选中补单"); });
  EXPECT_EQ(types(), (Types{{EPT_Limit, 12}, {EPT_SellerLimit, 12}}));
  const std::pair<const char*, Types> cases[] = {
      {"限价", {{0, 12}, {10, 12}}},
      {"最新价", {{EPT_Latest, 10}, {EPT_Latest, 10}}},
      {"对手价", {{14, 11}, {14, 12}}},  // no bid: the price for an order
      {"涨停价", {{EPT_LimitUp, 15}, {EPT_LimitUp, 15}}},
      {"跌停价", {{EPT_LimitDown, 12}, {EPT_LimitDown, 12}}},
  };
  for (const auto& [choice, shown] : cases) EXPECT_EQ(typesWith(params, choice), shown) << choice;
}

TEST_F(PatchTest, LinesOfANewBasketFollowTheirRules) {
  TC::CCodeInfo byEntry = instrument("SH", "600000", 100);
  byEntry.m_types = {1172};
  byEntry.m_nUiMinUnit = 30;
  m_host.desk().setInstrument(byEntry);
  instrument("SH", "600001", 100);
  instrument("SH", "600002", 0);
  instrument("CFFEX", "IF2612", 1);
  const auto futures = testkit::makeAccount("F1", "8001");
  futures->m_nType = 5;

  Params params = {
      param("SH", "600000", EOT_Buy, 1000),                   // 0: rounded to the unit of entry
      param("SH", "600001", EOT_Sell, 1250),                  // 1: a sale is rounded too
      param("SH", "600001", EOT_Buy, 1000),                   // 2: less what was handled
      param("SH", "600001", EOT_ReturnSecurities, 1250),      // 3: not rounded
      param("SH", "600001", EOT_DirectRepayCash, 1200),       // 4: no line
      param("SH", "600001", EOT_DirectRepaySecurities, 100),  // 5: no line
      param("SH", "600001", EOT_CollateralBuy, 99),           // 6: rounds to nothing
      param("SH", "600002", EOT_Sell, 100),                   // 7: no unit
      param("SH", "888888", EOT_Sell, 100),                   // 8: unknown
      param("XX", "IF2612", EOT_SellOpen, 3),                 // 9: looked up by its code
      param("XX", "IF2612", EOT_BuyOpen, 3),                  // 10: not by its code
      param("SH", "600001", EOT_Purchase, 100),               // 11: no account
      param("SH", "600001", EOT_Redeem, 100),                 // 12: handled already
  };
  params[2].m_nHandled = 150;
  params[9].m_pAccount = futures;
  params[11].m_pAccount = nullptr;
  params[12].m_nHandled = 100;
  run(params, [](auto& dialog) { dialog.press("新建篮子补单"); });
  EXPECT_EQ(basket().lines,
            (QStringList{"SH.600000\tN600000\t990\t0\t0\t1\t49", "SH.600001\tN600001\t1200\t0\t1\t2\t49",
                         "SH.600001\tN600001\t800\t0\t0\t1\t49", "SH.600001\tN600001\t1250\t0\t1\t23\t49",
                         "XX.IF2612\tNIF2612\t3\t0\t1\t4\t49"}));
  std::string handed;
  for (const CCodeOrderParam& line : basket().params)
    handed += line.getKey() + " " + std::to_string(line.m_nVolume) + " ";
  EXPECT_EQ(handed,
            "A1/SH.600000买入 990 A1/SH.600001卖出 1200 A1/SH.600001买入 800 A1/SH.600001融券还券 1250 "
            "F1/XX.IF2612卖出开仓 3 ");
  EXPECT_EQ(m_boxes, QStringList{"SH.600002 没有有效的最小交易单位，没有列入新篮子"});
}

TEST_F(PatchTest, RowsThatShareAKeyAreEditedOneByOne) {
  instrument("SH", "600000", 1);
  const CCodeOrderParam twin = param("SH", "600000", EOT_Sell, 500);
  run({twin, twin}, [](auto& dialog) {
    dialog.edit("A1/SH.600000卖出", "1");
    dialog.edit("A1/SH.600000卖出#2", "2");
    dialog.press("选中补单");
  });
  EXPECT_EQ(take()[0].m_nVolume * 10 + take()[1].m_nVolume, 12);
}
