#include "SessionSetup.h"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace app {
namespace {

constexpr exchange::SDate TRADING_DATE{2026, 11, 23};
constexpr int EXCHANGE_UTC_OFFSET = 8 * 3600;
constexpr int SHARE_LOT = 100;
constexpr int FUTURES_ACCOUNT_TYPE = 1;
const char* const FUTURES_ACCOUNT = "F1";
/// Slices of five minutes over the day.
constexpr int ALGO_SLICES = 48;
constexpr int MOST_HEDGE_LOTS = 500000;

boost::shared_ptr<ksservice::CAccountInfo> makeAccount(const SAccountName& name) {
  auto account = boost::make_shared<ksservice::CAccountInfo>();
  account->m_strKey = name.m_strKey;
  account->m_strDisplayId = name.m_strDisplayId;
  account->m_strName = name.m_strName;
  if (name.m_bFutures) account->m_nType = FUTURES_ACCOUNT_TYPE;
  return account;
}

/// How many orders a hedge may send for a basket: what it needs on a usual day, and as much again for what is replaced.
/// By a schedule the target grows lot by lot, and each lot may be an order; at once an order has all that it may have.
int fittingOrders(const ksservice::CBasketHedgeParam& hedge, double amount, bool scheduled,
                  const exchange::CExchange& market) {
  const int number = market.findInstrument(hedge.m_strMarket, hedge.m_strCode);
  const exchange::SInstrument& future = market.instruments()[static_cast<std::size_t>(number)];
  const int lots = engine::hedgeLots(amount, hedge.m_dRatio, future.m_dPrevClose, future.m_nMultiplier);
  const int needed = scheduled ? lots : lots / hedge.m_nOrderLots;
  return std::max(hedge.m_nOrderLimit, 2 * std::min(needed, MOST_HEDGE_LOTS));
}

int operationOf(const exchange::SInstrument& instrument, bool buy) {
  if (instrument.m_kind == exchange::EKind::Share) return buy ? ksservice::EOT_Buy : ksservice::EOT_Sell;
  return buy ? ksservice::EOT_BuyOpen : ksservice::EOT_SellOpen;
}

}  // namespace

std::int64_t tradingDayStart() { return exchange::dayStartOf(TRADING_DATE); }

QTimeZone exchangeTimeZone() { return QTimeZone(EXCHANGE_UTC_OFFSET); }

desk::SSession makeSession(const SOptions& options) {
  desk::SSession session;
  session.m_strUser = "trader";
  session.m_strLogin = "simulation";
  session.m_nNow = tradingDayStart() + options.m_nStartMinute * 60LL;
  session.m_timeZone = exchangeTimeZone();
  return session;
}

exchange::SExchangeSettings makeExchangeSettings(const SOptions& options) {
  exchange::SExchangeSettings settings;
  settings.m_nSeed = options.m_nSeed;
  settings.m_nDayStart = tradingDayStart();
  return settings;
}

engine::SEngineSettings makeEngineSettings(const SOptions& options, const SInputs& inputs) {
  const desk::SSession session = makeSession(options);
  engine::SEngineSettings settings;
  settings.m_nDayStart = tradingDayStart();
  settings.m_limits = options.m_orderLimits;
  settings.m_fees = inputs.m_fees;
  settings.m_strUser = session.m_strUser;
  settings.m_strLogin = session.m_strLogin;
  settings.m_nTraderType = session.m_nTraderType;
  return settings;
}

std::optional<TC::SAlgoParams> makeAlgo(const SOptions& options) {
  if (!options.m_algo) return std::nullopt;
  TC::SAlgoParams algo;
  algo.m_eAlgorithm = *options.m_algo;
  algo.m_nStart = std::max(algo.m_nStart, options.m_nStartMinute * 60);
  algo.m_nSlices = ALGO_SLICES;
  return algo;
}

std::vector<SAccountName> accountNames(const SOptions& options) {
  std::vector<SAccountName> names;
  for (int i = 1; i <= options.m_nAccounts; ++i) {
    const std::string number = std::to_string(i);
    names.push_back({"A" + number, std::to_string(1000 + i), "模拟账户" + number});
  }
  if (options.hasFuturesAccount()) names.push_back({FUTURES_ACCOUNT, "8001", "模拟期货账户", true});
  return names;
}

AccountList addAccounts(desk::CDesk& desk, const SOptions& options) {
  AccountList accounts;
  for (const SAccountName& name : accountNames(options)) {
    const auto account = makeAccount(name);
    desk::SAccount entry;
    entry.m_pInfo = account;
    desk.addAccount(entry);
    if (!name.m_bFutures) accounts.push_back(account);
  }
  return accounts;
}

TC::CCodeInfo toCodeInfo(const exchange::SInstrument& instrument, const exchange::SRules& rules) {
  const bool share = instrument.m_kind == exchange::EKind::Share;
  TC::CCodeInfo info;
  info.m_strMarket = instrument.m_strMarket;
  info.m_strCode = instrument.m_strCode;
  info.m_strName = instrument.m_strName;
  info.m_strPinyin = instrument.m_strPinyin;
  info.m_dMultiplier = instrument.m_nMultiplier;
  info.m_nTradeMinUnit = rules.m_nBuyMinimum;
  info.m_nUiMinUnit = rules.m_nBuyStep;
  if (rules.hasMinimumAlone()) info.m_types = {ksservice::STOCK_TYPE_NO_LOTS, ksservice::STOCK_TYPE_UI_UNIT};
  info.m_nTradeUnit = share ? SHARE_LOT : 1;
  if (instrument.m_strMarket == "SH") info.m_marketPriceTypes = {ksservice::EPT_MarketSH};
  if (instrument.m_strMarket == "SZ") info.m_marketPriceTypes = {ksservice::EPT_MarketSZ};
  return info;
}

void enterInstruments(desk::CDesk& desk, const exchange::CExchange& market) {
  for (std::size_t i = 0; i < market.instruments().size(); ++i) {
    desk.setInstrument(toCodeInfo(market.instruments()[i], market.rules(static_cast<int>(i))));
  }
}

void addInstruments(desk::CDesk& desk, engine::CSimulation& simulation) {
  enterInstruments(desk, simulation.market());
  for (const exchange::SInstrument& instrument : simulation.market().instruments()) {
    if (instrument.m_kind != exchange::EKind::IndexFuture) continue;
    simulation.engine().watch(instrument.m_strMarket, instrument.m_strCode);
  }
}

ksservice::CBasketHedgeParam makeHedge(const SHedgeOption& option, double amount, bool scheduled,
                                       std::optional<int> orders, const exchange::CExchange& market) {
  ksservice::CBasketHedgeParam hedge;
  hedge.m_bEnabled = true;
  // The hedge manager has them from the start, so the panel shows from the first lot how the hedge stands.
  hedge.m_bHandedOver = true;
  hedge.m_strMarket = exchange::FUTURES_MARKET;
  hedge.m_strCode = option.m_strCode;
  hedge.m_strAccount = FUTURES_ACCOUNT;
  hedge.m_nOperation = ksservice::EOT_SellOpen;
  hedge.m_dRatio = option.m_dRatio;
  hedge.m_nOrderLimit = orders.value_or(fittingOrders(hedge, amount, scheduled, market));
  return hedge;
}

std::vector<engine::SBasketOrder> makeBaskets(const SOptions& options, const SInputs& inputs,
                                              const exchange::CExchange& market, const AccountList& accounts) {
  std::vector<engine::SBasketOrder> baskets;
  for (const SNamedBasket& named : inputs.m_baskets) {
    engine::SBasketOrder& basket = baskets.emplace_back();
    basket.m_strName = named.m_strName;
    basket.m_accounts = accounts;
    double amount = 0;
    basket.m_algo = makeAlgo(options);
    for (const basket::SBasketLine& line : named.m_lines) {
      const int number = market.findInstrument(line.m_strMarket, line.m_strCode);
      const exchange::SInstrument& instrument = market.instruments()[static_cast<std::size_t>(number)];
      basket.m_lines.push_back(makeOrderLine(market, number, operationOf(instrument, line.m_bBuy), line.m_nQuantity));
      amount += line.m_nQuantity * instrument.m_dPrevClose * instrument.m_nMultiplier;
    }
    if (options.m_hedge) {
      basket.m_hedge = makeHedge(*options.m_hedge, amount, options.m_algo.has_value(), options.m_nHedgeOrders, market);
    }
  }
  return baskets;
}

engine::SOrderLine makeOrderLine(const exchange::CExchange& market, int instrument, int operation, int quantity) {
  const exchange::SInstrument& listed = market.instruments()[static_cast<std::size_t>(instrument)];
  engine::SOrderLine order;
  order.m_stock = {listed.m_strMarket, listed.m_strCode, listed.m_strName};
  order.m_nOperation = operation;
  order.m_nQuantity = quantity;
  order.m_dReference = listed.m_dPrevClose;
  return order;
}

}  // namespace app
