#include "AccountStart.h"

#include <algorithm>
#include <map>

#include "SessionSetup.h"

namespace app {
namespace {

constexpr double LEAST_CASH = 1e8;
/// So that baskets can be traded again, and a rising price does not matter.
constexpr int TIMES = 2;
constexpr int MOST_HELD = 1'000'000'000;

const exchange::SInstrument& listed(const exchange::CExchange& market, const std::string& where,
                                    const std::string& code) {
  return market.instruments()[static_cast<std::size_t>(market.findInstrument(where, code))];
}

/// CNY of one at a price; a future is worth its multiplier.
double worth(const exchange::SInstrument& instrument, double price) { return price * instrument.m_nMultiplier; }

/// An account's part of a basket can be all of it.
double fittingCash(const SOptions& options, const SInputs& inputs, const exchange::CExchange& market, bool futures) {
  double bought = 0;
  double all = 0;
  for (const SNamedBasket& basket : inputs.m_baskets) {
    for (const basket::SBasketLine& line : basket.m_lines) {
      const exchange::SInstrument& instrument = listed(market, line.m_strMarket, line.m_strCode);
      const double amount = line.m_nQuantity * worth(instrument, instrument.m_dPrevClose);
      const bool opens = instrument.m_kind == exchange::EKind::IndexFuture;
      if (line.m_bBuy || opens) bought += amount;
      all += amount;
    }
  }
  const double needed = futures ? all * (options.m_hedge ? options.m_hedge->m_dRatio : 1) : bought;
  return std::max(LEAST_CASH, TIMES * needed);
}

/// What each account holds to sell all baskets.
std::vector<desk::SPosition> fittingPositions(const SInputs& inputs, const exchange::CExchange& market) {
  std::map<std::pair<std::string, std::string>, std::int64_t> sold;
  for (const SNamedBasket& basket : inputs.m_baskets) {
    for (const basket::SBasketLine& line : basket.m_lines) {
      const bool future = exchange::kindOf(line.m_strMarket) == exchange::EKind::IndexFuture;
      if (!line.m_bBuy && !future) sold[{line.m_strMarket, line.m_strCode}] += line.m_nQuantity;
    }
  }
  std::vector<desk::SPosition> positions;
  for (const auto& [key, quantity] : sold) {
    desk::SPosition& position = positions.emplace_back();
    position.m_strMarket = key.first;
    position.m_strCode = key.second;
    position.m_nTotal = static_cast<int>(std::min<std::int64_t>(TIMES * quantity, MOST_HELD));
    position.m_dCost = position.m_nTotal * listed(market, key.first, key.second).m_dPrevClose;
  }
  return positions;
}

/// A line without an account is each account's that trades baskets.
std::vector<desk::SPosition> givenPositions(const SInputs& inputs, const exchange::CExchange& market,
                                            const SAccountName& name) {
  std::vector<desk::SPosition> positions;
  for (const basket::SPositionLine& line : inputs.m_positions) {
    if (line.m_strAccount.empty() ? name.m_bFutures : !name.fits(line.m_strAccount)) continue;
    const exchange::SInstrument& instrument = listed(market, line.m_strMarket, line.m_strCode);
    desk::SPosition& position = positions.emplace_back();
    position.m_strMarket = line.m_strMarket;
    position.m_strCode = line.m_strCode;
    position.m_bShort = line.m_bShort;
    position.m_nTotal = line.m_nQuantity;
    position.m_nBoughtToday = line.m_nToday;
    position.m_dCost = line.m_nQuantity * worth(instrument, line.m_dCost.value_or(instrument.m_dPrevClose));
  }
  return positions;
}

}  // namespace

void openAccounts(const SOptions& options, const SInputs& inputs, engine::CSimulation& simulation) {
  const exchange::CExchange& market = simulation.market();
  for (const SAccountName& name : accountNames(options)) {
    engine::SAccountStart start;
    start.m_dCash = options.m_dCash ? *options.m_dCash : fittingCash(options, inputs, market, name.m_bFutures);
    if (!options.m_strPositions.empty()) {
      start.m_positions = givenPositions(inputs, market, name);
    } else if (!name.m_bFutures) {
      start.m_positions = fittingPositions(inputs, market);
    }
    simulation.engine().openAccount(name.m_strKey, start);
  }
}

}  // namespace app
