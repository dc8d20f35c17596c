#pragma once

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "CRandom.h"
#include "CallAuction.h"
#include "Instrument.h"
#include "Sessions.h"

namespace exchange {

/// A fill of one of the clients' orders.
struct SFill {
  int m_nOrder;
  std::int64_t m_nPrice;  ///< ticks
  int m_nQuantity;
};

/// What a client's order brings to the book.
struct SIncoming {
  int m_nOrder;  ///< the exchange's number of it, from 0
  bool m_bBuy;
  std::int64_t m_nLimit;  ///< ticks
  int m_nQuantity;
};

/// The limit order book of one instrument: the clients' resting orders in price-time priority, each with its place in
/// the queue, among a synthetic crowd. The crowd is five price levels a side around a wandering fair price, and takers
/// that come at random times, in number and size in proportion to the instrument's usual volume. Everything the crowd
/// does is one stream of events, so that an instrument costs its few thousand trades a day and nothing between them.
/// In a call auction the crowd gives a few orders around the fair price, which come one after the other and follow from
/// the seed and that price alone: looking at them changes nothing.
///
/// Times are milliseconds of continuous trading (tradingTime). Prices are ticks. Not thread-safe.
class CBook {
 public:
  static constexpr int LEVELS = 5;
  static constexpr std::int64_t NEVER = INT64_MAX;

  struct SBest {
    std::int64_t m_nPrice = 0;  ///< 0: nobody is there
    std::int64_t m_nSize = 0;
  };

  CBook(const SInstrument& instrument, const SRules& rules, std::uint64_t seed);

  /// When the crowd acts next; NEVER for a suspended instrument.
  std::int64_t nextEvent() const { return m_nNextEvent; }
  /// Lets the crowd act once, at nextEvent(). Appends the fills of clients' orders.
  void step(std::vector<SFill>& fills);

  /// Matches an order; what is left of it rests in the book if rest is set. Appends its fills and those of clients'
  /// orders that it met. Returns what is left.
  int enter(const SIncoming& order, bool rest, std::vector<SFill>& fills);
  /// Takes an order out that rests or is collected. False when it is not here.
  bool remove(int order);
  bool hasResting() const { return !m_bids.m_resting.empty() || !m_asks.m_resting.empty(); }

  // Call auctions. share: what part of the auction's time is over.

  /// Takes an order for the auction that is being held.
  void collect(const SIncoming& order, double share) { m_collected.push_back(auctionOrder(order, share)); }
  /// Takes for it everything that rests, as having come first.
  void collectResting();
  bool hasCollected() const { return !m_collected.empty(); }
  /// What the auction shows: as bid and ask its price and what would trade, else the best prices.
  std::pair<SBest, SBest> indication(EAuction auction, double share) const;
  /// Ends the auction at its price and appends the fills of clients' orders; what is left of these is not the book's
  /// any more. Changes nothing when it has ended.
  void endAuction(EAuction auction, std::vector<SFill>& fills);

  SBest bestBid() const { return best(m_bids); }
  SBest bestAsk() const { return best(m_asks); }
  std::int64_t last() const { return m_nLast; }
  std::int64_t volume() const { return m_nVolume; }
  /// Sum of price (ticks) x quantity of all trades.
  double turnover() const { return m_dTurnover; }

 private:
  /// Prices of a side are kept as costs to the taker, so that both sides follow the same rules: the ask price, and the
  /// bid price with its sign turned. The smaller cost goes first.
  struct SResting {
    int m_nOrder;
    std::int64_t m_nCost;
    int m_nLeft;
    int m_nAhead;  ///< of the crowd, at the same price and earlier
  };
  struct SSide {
    int m_nSign;  ///< price = sign x cost
    std::int64_t m_nBestCost = 0;
    std::array<int, LEVELS> m_sizes{};
    std::vector<SResting> m_resting{};  ///< by cost, then by time
  };
  static constexpr int CROWD = -1;  ///< in place of a client's order

  /// How the crowd of this instrument behaves; fixed for the day.
  struct SCrowd {
    double m_dMeanGap;          ///< milliseconds from event to event
    double m_dMeanTake;         ///< quantity of a taker
    double m_dDepth;            ///< quantity at a level
    double m_dAuctionTake;      ///< quantity of an order in an auction
    double m_dAuctionSpread;    ///< how far its limit lies from the fair price, ticks
    double m_dWander;           ///< of the fair price from event to event, ticks
    std::int64_t m_nSpread;     ///< ticks
    std::int64_t m_nLevelStep;  ///< ticks from level to level
    int m_nLot;
  };

  static SCrowd crowdOf(const SInstrument& instrument, const SRules& rules);
  SBest best(const SSide& side) const;
  std::int64_t levelCost(const SSide& side, int level) const { return side.m_nBestCost + level * m_crowd.m_nLevelStep; }
  int firstLevel(const SSide& side) const;
  bool isWithinLimits(std::int64_t price) const { return price >= m_nLimitDown && price <= m_nLimitUp; }

  void wander(double scale);
  void requote();
  void moveTo(SSide& side, std::int64_t bestCost) const;
  void refill(SSide& side);
  void shortenQueues(SSide& side);
  void meetCrowd(SSide& side, SSide& crowd, std::vector<SFill>& fills);
  void letTakerCome(std::vector<SFill>& fills);
  int take(SSide& side, std::int64_t limitCost, int quantity, int taker, std::vector<SFill>& fills);
  void rest(SSide& side, std::int64_t cost, const SIncoming& order, int left);
  int crowdAhead(const SSide& side, std::int64_t cost) const;
  void fillFront(SSide& side, int quantity, std::vector<SFill>& fills);
  void recordTrade(std::int64_t price, std::int64_t quantity);
  static SAuctionOrder auctionOrder(const SIncoming& order, double share);
  std::vector<SAuctionOrder> auctionOrders(EAuction auction, double share) const;
  void schedule();

  std::int64_t m_nLimitUp;
  std::int64_t m_nLimitDown;
  SCrowd m_crowd;
  CRandom m_random;
  double m_dFair;
  std::uint64_t m_nSeed;
  SSide m_bids{-1};
  SSide m_asks{1};
  std::vector<SAuctionOrder> m_collected{};  ///< clients' orders of the auction that is being held, as they came
  std::array<bool, 2> m_auctionsEnded{};
  std::int64_t m_nNextEvent = 0;
  std::int64_t m_nLast;
  std::int64_t m_nVolume = 0;
  double m_dTurnover = 0;
};

}  // namespace exchange
