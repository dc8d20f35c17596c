/// The book in a call auction.
#include <algorithm>
#include <boost/random/exponential_distribution.hpp>
#include <boost/random/normal_distribution.hpp>
#include <cmath>

#include "CBook.h"

namespace exchange {
namespace {

constexpr int CROWD_ORDERS = 16;  // of a side
constexpr double MOST_LOTS = 1e6;

}  // namespace

SAuctionOrder CBook::auctionOrder(const SIncoming& order, double share) {
  return {order.m_nOrder, order.m_bBuy, order.m_nLimit, order.m_nQuantity, share};
}

void CBook::collectResting() {
  for (SSide* side : {&m_bids, &m_asks}) {
    for (const SResting& each : std::exchange(side->m_resting, {})) {
      collect({each.m_nOrder, side == &m_bids, side->m_nSign * each.m_nCost, each.m_nLeft}, 0);
    }
  }
}

/// Clients' orders and those of the crowd that have come by then. All of the crowd's are drawn each time, so that each
/// is the same whenever it is looked at.
std::vector<SAuctionOrder> CBook::auctionOrders(EAuction auction, double share) const {
  std::vector<SAuctionOrder> orders = m_collected;
  if (m_nNextEvent == NEVER) return orders;
  CRandom random(CRandom::mix(m_nSeed ^ (auction == EAuction::Opening ? 1 : 2)));
  for (int i = 0; i < 2 * CROWD_ORDERS; ++i) {
    const bool buy = i % 2 == 0;
    const double came = random.uniform();
    const double away = boost::random::normal_distribution<double>()(random) * m_crowd.m_dAuctionSpread;
    const double taken = boost::random::exponential_distribution<double>()(random) * m_crowd.m_dAuctionTake;
    const std::int64_t drawn = std::llround(m_dFair + away);
    const std::int64_t limit = buy ? std::min(drawn, m_nLimitUp) : std::max(drawn, m_nLimitDown);
    const auto lots = 1 + static_cast<std::int64_t>(std::min(taken / m_crowd.m_nLot, MOST_LOTS));
    if (came < share && isWithinLimits(limit)) orders.push_back({CROWD, buy, limit, lots * m_crowd.m_nLot, came});
  }
  return orders;
}

std::pair<CBook::SBest, CBook::SBest> CBook::indication(EAuction auction, double share) const {
  const std::vector<SAuctionOrder> orders = auctionOrders(auction, share);
  const SAuctionResult result = auctionPrice(orders, {m_nLast, m_nLimitUp, m_nLimitDown});
  if (result.m_nVolume > 0) {
    const SBest both{result.m_nPrice, result.m_nVolume};
    return {both, both};
  }
  const auto bestOf = [&](bool buy, std::int64_t worst) {
    SBest best;
    for (const SAuctionOrder& each : auctionQueue(orders, buy, worst)) {
      if (best.m_nSize > 0 && each.m_nLimit != best.m_nPrice) break;
      best = {each.m_nLimit, best.m_nSize + each.m_nQuantity};
    }
    return best;
  };
  return {bestOf(true, m_nLimitDown), bestOf(false, m_nLimitUp)};
}

void CBook::endAuction(EAuction auction, std::vector<SFill>& fills) {
  if (std::exchange(m_auctionsEnded[static_cast<std::size_t>(auction)], true)) return;
  const std::vector<SAuctionOrder> orders = auctionOrders(auction, 1);
  m_collected.clear();
  const auto [price, volume] = auctionPrice(orders, {m_nLast, m_nLimitUp, m_nLimitDown});
  if (volume == 0) return;
  recordTrade(price, volume);
  for (const bool buy : {true, false}) {
    std::int64_t left = volume;
    for (const SAuctionOrder& each : auctionQueue(orders, buy, price)) {
      const std::int64_t traded = std::min(left, each.m_nQuantity);
      left -= traded;
      if (traded > 0 && each.m_nOrder != CROWD) fills.push_back({each.m_nOrder, price, static_cast<int>(traded)});
    }
  }
}

}  // namespace exchange
