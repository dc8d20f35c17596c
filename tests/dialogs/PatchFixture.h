/// A patch dialog over a host of instruments and quotes, worked by a hook.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <boost/make_shared.hpp>

#include "CBasketPatchWidget.h"
#include "CTestHost.h"
#include "TaskDetails.h"
#include "gv/CMessageBox.h"
#include "gv/CStandardHpfTable.h"
#include "gv/Helpers.h"

class PatchTest : public testing::Test {
 public:
  ~PatchTest() override {
    GV::CCommonDialog::setExecHook({});
    GV::CMessageBox::setPresenter({});
  }

 protected:
  using Params = std::vector<ksservice::CCodeOrderParam>;
  using Types = std::vector<std::pair<int, double>>;
  using Work = std::function<void(TC::CBasketPatchDialog&)>;

  PatchTest() {
    GV::CMessageBox::setPresenter([this](QWidget*, const QString&, const QString& text) { m_boxes.append(text); });
  }

  /// An instrument with one unit for trade and entry, and a quote: last 10, bid 9, ask 11, order 12.
  TC::CCodeInfo instrument(const char* market, const char* code, int unit, std::vector<int> marketPrices = {}) {
    TC::CCodeInfo info = testkit::makeInstrument(market, code, unit);
    info.m_strName = std::string("N") + code;
    info.m_marketPriceTypes = std::move(marketPrices);
    m_host.desk().setInstrument(info);
    m_host.desk().setQuote(market, code, {.m_dLast = 10, .m_dBid = 9, .m_dAsk = 11, .m_dOrder = 12});
    return info;
  }

  ksservice::CCodeOrderParam param(const char* market, const char* code, int operation, int volume) const {
    return {.m_pAccount = m_pAccount,
            .m_nType = 49,
            .m_nOperation = operation,
            .m_stock = {market, code, std::string("N") + code},
            .m_nVolume = volume};
  }

  /// Offers the lines of an algorithm's task with the work in the user's place.
  void run(const Params& params, const Work& work) { run(params, {ksservice::CCodeOrderParam()}, "", work); }
  void run(const Params& params, const Params& taskParams, const std::string& algoText, const Work& work) {
    GV::CCommonDialog::setExecHook([&](GV::CCommonDialog& dialog) {
      auto* patch = dynamic_cast<TC::CBasketPatchDialog*>(&dialog);
      patch != nullptr ? work(*patch) : m_tradeWork(dialog);
    });
    m_choice = m_dialog.confirm({params, taskParams, algoText, true});
  }

  /// Runs the trade parameters from the patch dialog with the work in the user's place.
  void runTradeParams(TC::CBasketPatchDialog& dialog, GV::DialogHook work) {
    m_tradeWork = std::move(work);
    EXPECT_EQ(dialog.press(dialog.state().buttons.at(2).text), QString());
  }

  /// What the user chose in the last run; throws where it was something else.
  const TC::SPatchOrders& orders() const { return std::get<TC::SPatchOrders>(m_choice); }
  const TC::SPatchBasket& basket() const { return std::get<TC::SPatchBasket>(m_choice); }
  const Params& take() const { return orders().params; }
  /// The price type and price of each line.
  Types types() const {
    Types types;
    for (const ksservice::CCodeOrderParam& taken : take()) types.emplace_back(taken.m_nPriceType, taken.m_dPrice);
    return types;
  }
  /// ... when the user has chosen a button of the trade parameters.
  Types typesWith(const Params& params, const char* choice) {
    run(params, [&](TC::CBasketPatchDialog& dialog) {
      runTradeParams(dialog, [&](GV::CCommonDialog& trade) {
        EXPECT_EQ(trade.press(choice), QString());
        EXPECT_EQ(trade.press("保存"), QString());
      });
      dialog.press("选中补单");
    });
    return types();
  }
  QString quantity(const char* key) {
    for (const GV::SDialogRow& row : m_dialog.state().rows) {
      if (row.key == key) return row.editor == row.cells.at(7) ? row.editor : "cell and editor differ";
    }
    return "no row";
  }

  testkit::CTestHost m_host;
  boost::shared_ptr<ksservice::CAccountInfo> m_pAccount = testkit::makeAccount("A1", "1001");
  QStringList m_boxes;
  GV::DialogHook m_tradeWork;
  TC::CBasketPatchDialog m_dialog;
  TC::PatchChoice m_choice;
  const QAbstractItemModelTester m_tester{m_dialog.findChild<GV::CStandardHpfTable*>()->dataModel(),
                                          QAbstractItemModelTester::FailureReportingMode::Fatal};
};
