#include "CBook.h"

#include <algorithm>
#include <boost/random/exponential_distribution.hpp>
#include <boost/random/normal_distribution.hpp>
#include <cmath>

namespace exchange {
namespace {

constexpr double TRADE_VALUE = 50000;           // CNY of a usual trade; sets how many a day has
constexpr double FEWEST_TRADES = 240;           // a day: one a minute
constexpr double MOST_TRADES = 4800;            // a day: one in three seconds
constexpr double DEPTH_OF_VOLUME = 1.0 / 1500;  // a level holds this part of a day's volume,
constexpr double DEPTH_OF_TAKE = 1.5;           // and no less than this many usual trades
constexpr double LARGEST_DEPTH = 1e8;           // keeps whole quantities far from overflowing
constexpr double DAY_WANDER = 0.02;             // how far a price moves in a day, of the price
constexpr double FUTURE_WANDER = 0.012;
constexpr double OPENING_GAP = 0.004;     // how far the day opens from the previous close
constexpr double AUCTION_TAKE = 0.002;    // of a day's volume, what an order of an auction has
constexpr double AUCTION_SPREAD = 0.002;  // of the price

}  // namespace

CBook::SCrowd CBook::crowdOf(const SInstrument& instrument, const SRules& rules) {
  const bool future = instrument.m_kind == EKind::IndexFuture;
  const double value = instrument.m_dVolume * instrument.m_dPrevClose * instrument.m_nMultiplier;
  const double trades = std::clamp(value / TRADE_VALUE, FEWEST_TRADES, MOST_TRADES);
  SCrowd crowd{};
  crowd.m_dMeanGap = static_cast<double>(TRADING_TIME) / trades;
  crowd.m_dMeanTake = instrument.m_dVolume / trades;
  const double depth = std::max(instrument.m_dVolume * DEPTH_OF_VOLUME, crowd.m_dMeanTake * DEPTH_OF_TAKE);
  crowd.m_dDepth = std::min(depth, LARGEST_DEPTH);
  crowd.m_dWander = (future ? FUTURE_WANDER : DAY_WANDER) * static_cast<double>(rules.m_nPrevClose) / std::sqrt(trades);
  crowd.m_dAuctionTake = std::min(instrument.m_dVolume * AUCTION_TAKE, LARGEST_DEPTH);
  crowd.m_dAuctionSpread = 1 + AUCTION_SPREAD * static_cast<double>(rules.m_nPrevClose);
  crowd.m_nSpread = 1 + std::lround(crowd.m_dWander * 0.6);
  crowd.m_nLevelStep = 1 + std::lround(crowd.m_dWander * 0.2);
  crowd.m_nLot = future ? 1 : 100;
  return crowd;
}

CBook::CBook(const SInstrument& instrument, const SRules& rules, std::uint64_t seed)
    : m_nLimitUp(rules.m_nLimitUp),
      m_nLimitDown(rules.m_nLimitDown),
      m_crowd(crowdOf(instrument, rules)),
      m_random(seed),
      m_dFair(static_cast<double>(rules.m_nPrevClose)),
      m_nSeed(seed),
      m_nLast(rules.m_nPrevClose) {
  if (!(instrument.m_dVolume > 0)) {
    m_nNextEvent = NEVER;
    return;
  }
  wander(OPENING_GAP * static_cast<double>(rules.m_nPrevClose));
  m_bids.m_nBestCost = -std::llround(m_dFair);
  m_asks.m_nBestCost = std::llround(m_dFair);
  constexpr int refillsToFull = 8;
  for (int i = 0; i < refillsToFull; ++i) requote();
  schedule();
}

void CBook::schedule() {
  const double gap = boost::random::exponential_distribution<double>()(m_random) * m_crowd.m_dMeanGap;
  m_nNextEvent += 1 + std::llround(gap);
}

void CBook::step(std::vector<SFill>& fills) {
  wander(m_crowd.m_dWander);
  requote();
  meetCrowd(m_bids, m_asks, fills);
  meetCrowd(m_asks, m_bids, fills);
  letTakerCome(fills);
  schedule();
}

/// The fair price may stand a spread outside the limits: then one side of the book is empty, as at a real price limit.
void CBook::wander(double scale) {
  m_dFair += boost::random::normal_distribution<double>()(m_random) * scale;
  const auto margin = static_cast<double>(m_crowd.m_nSpread);
  m_dFair = std::clamp(m_dFair, static_cast<double>(m_nLimitDown) - margin, static_cast<double>(m_nLimitUp) + margin);
}

void CBook::requote() {
  const auto bid = static_cast<std::int64_t>(std::floor(m_dFair - static_cast<double>(m_crowd.m_nSpread - 1) / 2));
  moveTo(m_bids, -std::min(bid, m_nLimitUp));
  moveTo(m_asks, std::max(bid + m_crowd.m_nSpread, m_nLimitDown));
  refill(m_bids);
  refill(m_asks);
  shortenQueues(m_bids);
  shortenQueues(m_asks);
}

/// Levels keep their sizes where the side still covers their prices; what falls out of it is gone.
void CBook::moveTo(SSide& side, std::int64_t bestCost) const {
  const std::int64_t shift = (bestCost - side.m_nBestCost) / m_crowd.m_nLevelStep;
  side.m_nBestCost = bestCost;
  if (shift == 0) return;
  const std::array<int, LEVELS> before = side.m_sizes;
  for (int level = 0; level < LEVELS; ++level) {
    const std::int64_t from = level + shift;
    const bool covered = from >= 0 && from < LEVELS;
    side.m_sizes[static_cast<std::size_t>(level)] = covered ? before[static_cast<std::size_t>(from)] : 0;
  }
}

/// Every level goes a quarter of the way to a size drawn anew, so that what was taken comes back over some events.
void CBook::refill(SSide& side) {
  std::uint64_t bits = m_random();
  for (int level = 0; level < LEVELS; ++level, bits >>= 8) {
    int& size = side.m_sizes[static_cast<std::size_t>(level)];
    if (!isWithinLimits(side.m_nSign * levelCost(side, level))) {
      size = 0;
      continue;
    }
    const double target = m_crowd.m_dDepth * (0.25 + static_cast<double>(bits & 0xff) * 1.5 / 255);
    const double moved = size + (target - size) / 4;
    size = std::max(m_crowd.m_nLot, static_cast<int>(moved) / m_crowd.m_nLot * m_crowd.m_nLot);
  }
}

/// Some of the crowd ahead of a client's order give up their places; whoever comes back stands behind it.
void CBook::shortenQueues(SSide& side) {
  for (SResting& resting : side.m_resting) {
    resting.m_nAhead -= resting.m_nAhead / 8;
    resting.m_nAhead = std::min(resting.m_nAhead, crowdAhead(side, resting.m_nCost));
  }
}

int CBook::crowdAhead(const SSide& side, std::int64_t cost) const {
  for (int level = 0; level < LEVELS; ++level) {
    const std::int64_t levelAt = levelCost(side, level);
    if (levelAt == cost) return side.m_sizes[static_cast<std::size_t>(level)];
    if (levelAt > cost) return 0;
  }
  return static_cast<int>(m_crowd.m_dDepth);  // deeper than what is kept: a usual level
}

/// The crowd's quotes came to the prices of clients' resting orders, or through them: those trade at their own prices.
void CBook::meetCrowd(SSide& side, SSide& crowd, std::vector<SFill>& fills) {
  while (!side.m_resting.empty()) {
    const int level = firstLevel(crowd);
    if (level == LEVELS || levelCost(crowd, level) + side.m_resting.front().m_nCost > 0) return;
    int& size = crowd.m_sizes[static_cast<std::size_t>(level)];
    const int quantity = std::min(size, side.m_resting.front().m_nLeft);
    size -= quantity;
    recordTrade(side.m_nSign * side.m_resting.front().m_nCost, quantity);
    fillFront(side, quantity, fills);
  }
}

/// A taker stops before the last level: so an order far away is not hit by accident, and a side that the crowd keeps is
/// never empty because of the crowd.
void CBook::letTakerCome(std::vector<SFill>& fills) {
  SSide& side = (m_random() & 1) != 0 ? m_asks : m_bids;
  const double drawn = boost::random::exponential_distribution<double>()(m_random) * m_crowd.m_dMeanTake;
  const int lots = std::max(1, static_cast<int>(std::min(drawn / m_crowd.m_nLot, 1e6)));
  const std::int64_t reach = levelCost(side, LEVELS - 2);
  take(side, reach, lots * m_crowd.m_nLot, CROWD, fills);
}

int CBook::firstLevel(const SSide& side) const {
  const auto found = std::find_if(side.m_sizes.begin(), side.m_sizes.end(), [](int size) { return size > 0; });
  return static_cast<int>(found - side.m_sizes.begin());
}

int CBook::take(SSide& side, std::int64_t limitCost, int quantity, int taker, std::vector<SFill>& fills) {
  while (quantity > 0) {
    const int level = firstLevel(side);
    const std::int64_t crowdCost = level < LEVELS ? levelCost(side, level) : NEVER;
    const std::int64_t ownCost = side.m_resting.empty() ? NEVER : side.m_resting.front().m_nCost;
    const std::int64_t cost = std::min(crowdCost, ownCost);
    if (cost > limitCost) break;
    int crowd = crowdCost == cost ? side.m_sizes[static_cast<std::size_t>(level)] : 0;
    if (ownCost == cost) crowd = std::min(crowd, side.m_resting.front().m_nAhead);
    const bool fromCrowd = crowd > 0;
    const int traded = std::min(quantity, fromCrowd ? crowd : side.m_resting.front().m_nLeft);
    quantity -= traded;
    recordTrade(side.m_nSign * cost, traded);
    if (taker != CROWD) fills.push_back({taker, m_nLast, traded});
    if (!fromCrowd) {
      fillFront(side, traded, fills);
      continue;
    }
    side.m_sizes[static_cast<std::size_t>(level)] -= traded;
    for (SResting& resting : side.m_resting) {
      if (resting.m_nCost == cost) resting.m_nAhead = std::max(0, resting.m_nAhead - traded);
    }
  }
  return quantity;
}

void CBook::fillFront(SSide& side, int quantity, std::vector<SFill>& fills) {
  SResting& front = side.m_resting.front();
  fills.push_back({front.m_nOrder, m_nLast, quantity});
  front.m_nLeft -= quantity;
  if (front.m_nLeft == 0) side.m_resting.erase(side.m_resting.begin());
}

void CBook::recordTrade(std::int64_t price, std::int64_t quantity) {
  m_nLast = price;
  m_nVolume += quantity;
  m_dTurnover += static_cast<double>(price) * static_cast<double>(quantity);
}

int CBook::enter(const SIncoming& order, bool rest, std::vector<SFill>& fills) {
  SSide& opposite = order.m_bBuy ? m_asks : m_bids;
  SSide& own = order.m_bBuy ? m_bids : m_asks;
  const int left = take(opposite, opposite.m_nSign * order.m_nLimit, order.m_nQuantity, order.m_nOrder, fills);
  if (left > 0 && rest) this->rest(own, own.m_nSign * order.m_nLimit, order, left);
  return left;
}

void CBook::rest(SSide& side, std::int64_t cost, const SIncoming& order, int left) {
  const auto later = std::find_if(side.m_resting.begin(), side.m_resting.end(),
                                  [cost](const SResting& resting) { return resting.m_nCost > cost; });
  side.m_resting.insert(later, {order.m_nOrder, cost, left, crowdAhead(side, cost)});
}

bool CBook::remove(int order) {
  for (SSide* side : {&m_bids, &m_asks}) {
    const auto found = std::find_if(side->m_resting.begin(), side->m_resting.end(),
                                    [order](const SResting& resting) { return resting.m_nOrder == order; });
    if (found == side->m_resting.end()) continue;
    side->m_resting.erase(found);
    return true;
  }
  return std::erase_if(m_collected, [order](const SAuctionOrder& each) { return each.m_nOrder == order; }) > 0;
}

CBook::SBest CBook::best(const SSide& side) const {
  const int level = firstLevel(side);
  const std::int64_t crowdCost = level < LEVELS ? levelCost(side, level) : NEVER;
  const std::int64_t ownCost = side.m_resting.empty() ? NEVER : side.m_resting.front().m_nCost;
  const std::int64_t cost = std::min(crowdCost, ownCost);
  if (cost == NEVER) return {};
  SBest best{side.m_nSign * cost, crowdCost == cost ? side.m_sizes[static_cast<std::size_t>(level)] : 0};
  for (const SResting& resting : side.m_resting) {
    if (resting.m_nCost == cost) best.m_nSize += resting.m_nLeft;
  }
  return best;
}

}  // namespace exchange
