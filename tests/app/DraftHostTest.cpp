#include <gtest/gtest.h>

#include "CDraftHost.h"

namespace {

/// A session of one account that has not begun to trade.
struct SSessionRig {
  static app::SOptions options() {
    app::SOptions options;
    options.m_nAccounts = 1;
    return options;
  }
  static std::vector<exchange::SInstrument> listed() {
    return {{"SH", "600000", "浦发银行", 10, 0, 1e7}, {"BJ", "920001", "北交一号", 10, 0, 1e7}};
  }

  /// Whether the order of a basket is refused for want of money by an account that has so much of it, CNY.
  bool isRefused(const preview::SSentBasket& basket, double cash) {
    m_simulation.engine().openAccount("A1", {cash, {}});
    m_simulation.engine().startBasket(m_host.orderOf(basket));
    // At the prices of this moment.
    m_simulation.engine().advanceTo(m_simulation.now());
    return m_pDetail->m_orders.at(0)->m_strMessage.find("资金") != std::string::npos;
  }

  app::SOptions m_options = options();
  desk::CDesk m_desk;
  ksservice::CTaskDetailPtr m_pDetail;
  utils::CSubscriptionHandle m_subscription =
      m_desk.subscribeTasks([this](const boost::shared_ptr<ksservice::IData>& data) {
        m_pDetail = boost::dynamic_pointer_cast<ksservice::CTaskDetail>(data);
      });
  app::AccountList m_accounts = app::addAccounts(m_desk, m_options);
  engine::CSimulation m_simulation{m_desk, listed(), app::makeExchangeSettings(m_options),
                                   app::makeEngineSettings(m_options, {}), (9 * 60 + 31) * 60000LL};
  app::CEngineThread m_thread{m_simulation, m_desk, app::tradingDayStart(), {}, [] {}};
  app::CDraftHost m_host{m_desk, m_simulation.market(), m_thread, m_accounts, m_options, {}};
};

TEST(DraftHost, CashIsHeldAgainstALineAtThePriceAtWhichTheEngineFreezesIt) {
  struct SCase {
    const char* m_market;
    const char* m_code;
    double m_limit;
    int m_type;
    int m_offset;
  };
  for (const SCase& each : std::vector<SCase>{{"SH", "600000", 9.9, ksservice::EPT_Counterpart, 0},
                                              {"SH", "600000", 10.1, ksservice::EPT_Counterpart, 0},
                                              {"SH", "600000", 0, ksservice::EPT_Counterpart, 5},
                                              {"SH", "600000", 0, ksservice::EPT_Latest, -2},
                                              {"SH", "600000", 0, ksservice::EPT_LimitUp, 9},
                                              {"SH", "600000", 0, ksservice::EPT_MarketSZ, 0},
                                              {"BJ", "920001", 0, ksservice::EPT_MarketSH, 5}}) {
    for (const double less : {0.0, 1.0}) {
      SSessionRig rig;
      rig.m_simulation.advanceTo(rig.m_simulation.now() + 1000);
      const int security = rig.m_host.securities().find(each.m_market, each.m_code);
      draft::SMarketFacts facts = rig.m_host.listed(security);
      const exchange::SQuote quote = rig.m_simulation.market().quote(security);
      facts.m_dLast = quote.m_dLast;
      facts.m_dBid = quote.m_dBid;
      facts.m_dAsk = quote.m_dAsk;
      draft::SLine line;
      line.m_strMarket = each.m_market;
      line.m_side = draft::ESide::Buy;
      line.m_dPrice = each.m_limit;
      preview::SSentBasket basket;
      basket.m_trade.m_nPriceType = each.m_type;
      basket.m_trade.m_nOffsetTicks = each.m_offset;
      const double amount = 1000 * rig.m_host.frozenAt(line, facts, basket.m_trade);
      const double need = amount + exchange::feesOf({}, facts.m_kind, true, amount);
      basket.m_parts = {{"A1", {{each.m_market, each.m_code, ksservice::EOT_Buy, 1000, each.m_limit}}}};
      EXPECT_EQ(rig.isRefused(basket, need - less), less > 0) << each.m_type << ' ' << each.m_limit << ' ' << need;
    }
  }
}

}  // namespace
