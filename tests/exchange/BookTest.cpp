#include <cstdlib>
#include <map>

#include "Market.h"

using namespace markets;

namespace {

constexpr bool REST = true;

/// A book of a share at 10.00 with what happened to the clients' orders in it.
class CBookBench {
 public:
  explicit CBookBench(std::uint64_t seed) : m_book(LISTED, rulesOf(LISTED), seed) {}

  int enter(int order, bool buy, std::int64_t limit, int quantity, bool rest = REST) {
    const int left = m_book.enter({order, buy, limit, quantity}, rest, m_fills);
    collect();
    return left;
  }
  void step(int times) {
    for (int i = 0; i < times; ++i) m_book.step(m_fills);
    collect();
  }
  CBook& book() { return m_book; }
  int filled(int order) { return m_filled[order]; }
  std::int64_t price(int order) { return m_price[order]; }

 private:
  void collect() {
    for (const SFill& fill : m_fills) {
      m_filled[fill.m_nOrder] += fill.m_nQuantity;
      m_price[fill.m_nOrder] = fill.m_nPrice;
    }
    m_fills.clear();
  }

  inline static const SInstrument LISTED = share("SH", "600000", 10, 1e8);
  CBook m_book;
  std::vector<SFill> m_fills;
  std::map<int, std::int64_t> m_price;  ///< of the last fill
  std::map<int, int> m_filled;
};

}  // namespace

TEST(Book, AnOrderStandsBehindTheCrowdThatCameEarlier) {
  CBookBench bench(3);
  const CBook::SBest bid = bench.book().bestBid();
  const int crowd = static_cast<int>(bid.m_nSize);
  ASSERT_GT(crowd, 100);
  EXPECT_EQ(bench.enter(1, true, bid.m_nPrice, 500), 500);
  EXPECT_EQ(bench.book().bestBid().m_nSize, crowd + 500);
  bench.enter(2, false, bid.m_nPrice, crowd - 100);
  EXPECT_EQ(bench.filled(1), 0);
  bench.enter(3, false, bid.m_nPrice, 300);
  EXPECT_EQ(bench.filled(1), 200);
  EXPECT_EQ(bench.filled(3), 300);
}

TEST(Book, BetterPriceThenEarlierTimeGoesFirst) {
  CBookBench bench(4);
  const std::int64_t ask = bench.book().bestAsk().m_nPrice;
  const CBook::SBest bid = bench.book().bestBid();
  ASSERT_LT(bid.m_nPrice, ask);
  const int everything = static_cast<int>(bench.book().bestAsk().m_nSize);
  bench.enter(1, true, ask, everything + 200);  // takes the ask, and rests there as the best bid
  bench.enter(2, true, ask, 300);
  bench.enter(3, true, bid.m_nPrice, 400);
  EXPECT_EQ(bench.filled(1), everything);
  EXPECT_EQ(bench.book().bestBid().m_nPrice, ask);
  bench.enter(4, false, bid.m_nPrice, 350);
  EXPECT_EQ(bench.filled(1), everything + 200);
  EXPECT_EQ(bench.filled(2), 150);
  EXPECT_EQ(bench.filled(3), 0);
  EXPECT_EQ(bench.price(2), ask) << "the resting order's price counts";
  EXPECT_EQ(bench.price(4), ask);
  EXPECT_FALSE(bench.book().remove(1));
  EXPECT_TRUE(bench.book().remove(2));
  EXPECT_FALSE(bench.book().remove(2));
}

TEST(Book, WhatDoesNotRestLeavesNothing) {
  CBookBench bench(5);
  EXPECT_GT(bench.enter(1, true, 1100, 100000000, !REST), 0);
  EXPECT_FALSE(bench.book().hasResting());
  EXPECT_EQ(bench.book().bestAsk().m_nPrice, 0) << "everything that was offered is taken";
  bench.step(1);
  EXPECT_GT(bench.book().bestAsk().m_nPrice, 0) << "the crowd comes back";
  EXPECT_EQ(bench.enter(2, true, 905, 100, !REST), 100);
}

TEST(Book, TheCrowdNeverSkipsThePriorityOfClientsOrders) {
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    CBookBench bench(seed);
    const std::int64_t bid = bench.book().bestBid().m_nPrice;
    bench.enter(1, true, bid, 3000);
    bench.enter(2, true, bid - 2, 3000);
    bench.enter(3, true, bid, 3000);
    for (int i = 0; i < 2000 && bench.book().hasResting(); ++i) {
      bench.step(1);
      ASSERT_TRUE(bench.filled(3) == 0 || bench.filled(1) == 3000) << seed;
      ASSERT_TRUE(bench.filled(2) == 0 || bench.filled(3) == 3000) << seed;
    }
  }
}

TEST(Book, TheCrowdReachesAnOrderOnlyThroughBetterPrices) {
  int reached = 0;
  for (std::uint64_t seed = 0; seed < 400; ++seed) {
    CBookBench bench(seed);
    bench.enter(1, true, bench.book().bestBid().m_nPrice - 1, 3000);
    bench.step(1);
    reached += bench.filled(1) > 0 ? 1 : 0;
  }
  EXPECT_GT(reached, 0);
  EXPECT_LT(reached, 100);
}

TEST(Book, ATakerNeverJumpsToAnOrderFarAway) {
  for (std::uint64_t seed = 0; seed < 20; ++seed) {
    CBookBench bench(seed);
    bench.enter(1, false, 1100, 100);  // at the limit
    for (int i = 0; i < 2000 && bench.book().hasResting(); ++i) {
      const std::int64_t before = bench.book().last();
      bench.step(1);
      ASSERT_LT(std::abs(bench.book().last() - before), 20) << seed;
    }
  }
}
