#include "CallAuction.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

namespace exchange {
namespace {

/// How much of one side may trade at a price or at a better one.
class CSideVolume {
 public:
  CSideVolume(const std::vector<SAuctionOrder>& orders, bool buy) : m_nSign(buy ? -1 : 1) {
    for (const SAuctionOrder& order : orders) {
      if (order.m_bBuy == buy) m_volumes[m_nSign * order.m_nLimit] += order.m_nQuantity;
    }
    std::int64_t sum = 0;
    for (auto& [cost, volume] : m_volumes) volume = sum += volume;
  }

  std::int64_t at(std::int64_t price) const { return upTo(m_volumes.upper_bound(m_nSign * price)); }
  std::int64_t betterThan(std::int64_t price) const { return upTo(m_volumes.lower_bound(m_nSign * price)); }

 private:
  using Volumes = std::map<std::int64_t, std::int64_t>;
  std::int64_t upTo(Volumes::const_iterator end) const { return end == m_volumes.begin() ? 0 : std::prev(end)->second; }

  int m_nSign;
  Volumes m_volumes;  ///< by the price, that of a buy with its sign turned; summed up
};

/// Between two orders' prices nothing changes, so that the prices beside an order's stand for all between.
std::vector<std::int64_t> candidates(const std::vector<SAuctionOrder>& orders, const SAuctionPrices& prices) {
  std::vector<std::int64_t> list{prices.m_nReference};
  for (const SAuctionOrder& order : orders) {
    for (const int step : {-1, 0, 1}) list.push_back(order.m_nLimit + step);
  }
  const auto isOutside = [&](std::int64_t price) { return price < prices.m_nLimitDown || price > prices.m_nLimitUp; };
  list.erase(std::remove_if(list.begin(), list.end(), isOutside), list.end());
  return list;
}

}  // namespace

SAuctionResult auctionPrice(const std::vector<SAuctionOrder>& orders, const SAuctionPrices& prices) {
  const CSideVolume buys(orders, true);
  const CSideVolume sells(orders, false);
  SAuctionResult best;
  std::tuple<std::int64_t, std::int64_t, bool, std::int64_t, std::int64_t> bestRank;  // the smallest is the best
  for (const std::int64_t price : candidates(orders, prices)) {
    const std::int64_t bought = buys.at(price);
    const std::int64_t sold = sells.at(price);
    const std::int64_t volume = std::min(bought, sold);
    const bool leavesBetter = buys.betterThan(price) > sold || sells.betterThan(price) > bought;
    const std::tuple rank(-volume, std::abs(bought - sold), leavesBetter, std::abs(price - prices.m_nReference),
                          -price);
    if (volume == 0 || (best.m_nVolume > 0 && rank >= bestRank)) continue;
    best = {price, volume};
    bestRank = rank;
  }
  return best;
}

std::vector<SAuctionOrder> auctionQueue(const std::vector<SAuctionOrder>& orders, bool buy, std::int64_t price) {
  std::vector<SAuctionOrder> queue;
  const int sign = buy ? -1 : 1;
  const auto trades = [=](const SAuctionOrder& order) {
    return order.m_bBuy == buy && sign * order.m_nLimit <= sign * price;
  };
  std::copy_if(orders.begin(), orders.end(), std::back_inserter(queue), trades);
  std::stable_sort(queue.begin(), queue.end(), [sign](const SAuctionOrder& a, const SAuctionOrder& b) {
    return std::pair(sign * a.m_nLimit, a.m_dCame) < std::pair(sign * b.m_nLimit, b.m_dCame);
  });
  return queue;
}

}  // namespace exchange
