#include "CDraftHost.h"

#include <algorithm>
#include <utility>

#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace app {
namespace {

basket::CSecurities securitiesOf(const exchange::CExchange& market) {
  std::vector<basket::SSecurity> list;
  list.reserve(market.instruments().size());
  for (const exchange::SInstrument& each : market.instruments()) {
    list.push_back({each.m_strMarket, each.m_strCode, each.m_strName});
  }
  return basket::CSecurities(std::move(list));
}

/// A market price is the exchange's own; one that has none takes the opposite best price.
int priceTypeFor(const std::string& market, int priceType) {
  if (!ksservice::isRealMarketPrice(priceType)) return priceType;
  if (market == "SH") return ksservice::EPT_MarketSH;
  return market == "SZ" ? ksservice::EPT_MarketSZ : ksservice::EPT_Counterpart;
}

/// limit: a line's own; 0: none.
void setPrice(engine::SOrderLine& order, double limit, const preview::STradeParams& trade) {
  // An algorithm has a price of its own.
  if (!trade.m_strAlgo.empty()) return;
  if (limit > 0) {
    order.m_bOwnPrice = true;
    order.m_dReference = limit;
    order.m_nPriceType = ksservice::CPriceDataHelper::limitType(order.m_nOperation);
    return;
  }
  order.m_bPricedByType = true;
  order.m_nPriceType = priceTypeFor(order.m_stock.m_strMarket, trade.m_nPriceType);
  // Where there is no market price, what stands in for it goes by no offset either.
  order.m_nOffsetTicks = ksservice::isRealMarketPrice(trade.m_nPriceType) ? 0 : trade.m_nOffsetTicks;
}

}  // namespace

CDraftHost::CDraftHost(desk::CDesk& desk, const exchange::CExchange& market, CEngineThread& thread,
                       AccountList accounts, const SOptions& options, const exchange::SFeeRates& fees)
    : m_desk(desk),
      m_market(market),
      m_thread(thread),
      m_accounts(std::move(accounts)),
      m_options(options),
      m_fees(fees),
      m_securities(securitiesOf(market)) {}

draft::SMarketFacts CDraftHost::listed(int security) const {
  const exchange::SInstrument& instrument = m_market.instruments()[static_cast<std::size_t>(security)];
  draft::SMarketFacts facts;
  facts.m_bListed = true;
  facts.m_strName = instrument.m_strName;
  facts.m_kind = instrument.m_kind;
  facts.m_rules = m_market.rules(security);
  facts.m_dLast = instrument.m_dPrevClose;
  facts.m_dUsualVolume = instrument.m_dVolume;
  facts.m_nMultiplier = instrument.m_nMultiplier;
  facts.m_bSuspended = !(instrument.m_dVolume > 0);
  return facts;
}

void CDraftHost::askPrices(const std::vector<int>& securities,
                           std::function<void(std::vector<preview::SPrices>)> answer) {
  m_thread.ask([this, securities, answer = std::move(answer)](engine::CSimulation& simulation) {
    std::vector<preview::SPrices> prices;
    prices.reserve(securities.size());
    for (const int security : securities) {
      const exchange::SQuote quote = simulation.market().quote(security);
      prices.push_back({quote.m_dLast, quote.m_dBid, quote.m_dAsk});
    }
    QMetaObject::invokeMethod(
        this, [answer, prices = std::move(prices)] { answer(prices); }, Qt::QueuedConnection);
  });
}

std::vector<draft::SAccountFacts> CDraftHost::accounts() const {
  std::vector<draft::SAccountFacts> accounts;
  for (const auto& account : m_accounts) {
    draft::SAccountFacts facts;
    facts.m_strKey = account->getKey();
    facts.m_strText = account->m_strDisplayId;
    const auto holdings = m_desk.holdings(facts.m_strKey);
    facts.m_bKnown = holdings != nullptr;
    if (holdings) {
      facts.m_dCash = holdings->m_dCash;
      for (const auto& [key, position] : holdings->m_positions) facts.m_sellable[key] = position.m_nSellable;
    }
    accounts.push_back(std::move(facts));
  }
  return accounts;
}

preview::SRateUse CDraftHost::rates() const {
  preview::SRateUse use;
  use.m_nSecondLimit = m_options.m_orderLimits.m_nPerSecond;
  use.m_nDayLimit = m_options.m_orderLimits.m_nPerDay;
  for (const engine::SOrderUse& each : m_thread.orderUse()) use.m_sentToday[each.m_strAccount] = each.m_nDay;
  return use;
}

std::vector<std::string> CDraftHost::hedgeFutures() const {
  std::vector<std::string> codes;
  for (const exchange::SInstrument& each : m_market.instruments()) {
    // An entry that is only a kind carries the kind's reference price.
    if (each.m_kind == exchange::EKind::IndexFuture && each.m_strCode.size() > 2) codes.push_back(each.m_strCode);
  }
  // The kind that most baskets are hedged by comes first.
  std::sort(codes.begin(), codes.end(), [](const std::string& a, const std::string& b) {
    const bool first = a.starts_with("IF");
    return first != b.starts_with("IF") ? first : a < b;
  });
  return codes;
}

/// As the engine's side holds an order against its account.
double CDraftHost::frozenAt(const draft::SLine& line, const draft::SMarketFacts& facts,
                            const preview::STradeParams& trade) const {
  const bool buy = line.m_side == draft::ESide::Buy;
  engine::SOrderLine order;
  order.m_stock.m_strMarket = line.m_strMarket;
  order.m_nOperation = buy ? ksservice::EOT_Buy : ksservice::EOT_Sell;
  order.m_dReference = facts.m_dLast;
  order.m_rules = facts.m_rules;
  setPrice(order, line.m_dPrice, trade);
  exchange::SQuote quote;
  quote.m_dLast = facts.m_dLast;
  quote.m_dBid = facts.m_dBid;
  quote.m_dAsk = facts.m_dAsk;
  quote.m_dLimitUp = facts.m_rules.toPrice(facts.m_rules.m_nLimitUp);
  quote.m_dLimitDown = facts.m_rules.toPrice(facts.m_rules.m_nLimitDown);
  if (!buy || order.isAtMarketPrice()) return quote.m_dLimitUp;
  if (order.m_bOwnPrice) return order.m_dReference;
  return order.m_bPricedByType ? order.priceByType(quote) : engine::oppositePrice(quote, buy, facts.m_dLast);
}

engine::SOrderLine CDraftHost::orderLine(const preview::SSendLine& line, const preview::STradeParams& trade) const {
  const int instrument = m_market.findInstrument(line.m_strMarket, line.m_strCode);
  engine::SOrderLine order = makeOrderLine(m_market, instrument, line.m_nOperation, line.m_nQuantity);
  setPrice(order, line.m_dPrice, trade);
  return order;
}

engine::SBasketOrder CDraftHost::orderOf(const preview::SSentBasket& basket) const {
  engine::SBasketOrder order;
  order.m_strName = basket.m_strName.toStdString();
  TC::SAlgoParams algo;
  if (!basket.m_trade.m_strAlgo.empty() && TC::SAlgoParams::parse(basket.m_trade.m_strAlgo, algo).empty()) {
    order.m_algo = algo;
  }
  double amount = 0;
  for (const preview::SSendPart& part : basket.m_parts) {
    const auto account = std::find_if(m_accounts.begin(), m_accounts.end(),
                                      [&part](const auto& each) { return each->getKey() == part.m_strAccount; });
    engine::SAccountLines& lines = order.m_parts.emplace_back();
    lines.m_pAccount = *account;
    for (const preview::SSendLine& line : part.m_lines) {
      lines.m_lines.push_back(orderLine(line, basket.m_trade));
      const int instrument = m_market.findInstrument(line.m_strMarket, line.m_strCode);
      const exchange::SInstrument& listed = m_market.instruments()[static_cast<std::size_t>(instrument)];
      amount += line.m_nQuantity * listed.m_dPrevClose * listed.m_nMultiplier;
    }
  }
  if (basket.m_hedge.m_bEnabled) {
    order.m_hedge = makeHedge({basket.m_hedge.m_strCode, basket.m_hedge.m_dRatio}, amount, order.m_algo.has_value(),
                              std::nullopt, m_market);
  }
  return order;
}

void CDraftHost::send(const preview::SSentBasket& basket) { m_thread.post(engine::SStartBasket{orderOf(basket)}); }

}  // namespace app
