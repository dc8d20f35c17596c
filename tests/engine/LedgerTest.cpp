/// Money and positions of accounts: what orders freeze, what fills move, what is refused.
#include <boost/format.hpp>
#include <cmath>
#include <random>

#include "Rig.h"
#include "ksservice/Operations.h"

namespace {

using namespace ksservice;

const exchange::SFeeRates RATES;
const CStockInfo SHARE{"SH", "600000", "S"};
const CStockInfo FUTURE{"CFFEX", "IF2612", "F"};

desk::SPosition position(const CStockInfo& stock, int total, int today, double cost) {
  return {.m_strMarket = stock.m_strMarket,
          .m_strCode = stock.m_strCode,
          .m_nTotal = total,
          .m_nBoughtToday = today,
          .m_dCost = cost};
}

struct SBook {
  explicit SBook(double cash, std::vector<desk::SPosition> positions = {}) {
    m_ledger.open("A", {cash, std::move(positions)});
  }
  /// Why an order was refused; empty: it was not.
  std::string take(const CStockInfo& stock, int operation, int quantity, double worst) {
    const auto refusal = m_ledger.take(++m_nLast, "A", {stock, operation, quantity, worst});
    return refusal ? refusal->m_strText : std::string();
  }
  /// The last order trades at a price of one share, CNY, or index points.
  void fill(int quantity, double price, int multiplier = 1) {
    m_ledger.fill(m_nLast, quantity, quantity * price * multiplier);
  }
  desk::SHoldings now() const { return *m_ledger.holdings("A"); }
  /// Cash, frozen, margin, fees, result.
  std::string money() const {
    const desk::SHoldings held = now();
    return (boost::format("%.2f %.2f %.2f %.2f %.2f") % held.m_dCash % held.m_dFrozen % held.m_dMargin % held.m_dFees %
            held.m_dRealised)
        .str();
  }

  engine::CLedger m_ledger{RATES};
  std::uint64_t m_nLast = 0;
};

TEST(Ledger, AShareFreezesWhatItMayTakeAndPaysWhatItTook) {
  SBook book(1'000'000);
  EXPECT_EQ(book.take(SHARE, EOT_Buy, 10000, 20), "");
  EXPECT_EQ(book.money(), "799948.00 200052.00 0.00 0.00 0.00") << "50 commission, 2 transfer fee";
  book.fill(1000, 19);
  EXPECT_EQ(book.money(), "800948.26 180046.55 0.00 5.19 0.00") << "what it saved is free; the least commission";
  book.fill(4000, 20);
  book.m_ledger.end(1);
  EXPECT_EQ(book.money(), "900974.26 0.00 0.00 25.74 0.00") << "one commission for the whole order";
  EXPECT_DOUBLE_EQ(book.now().m_positions.at("SH.600000").m_dCost, 99'025.74);
  EXPECT_EQ(book.take(SHARE, EOT_Sell, 100, 20), "可卖数量不足：需 100，可卖 0（今日买入 5000 不可卖）");
  EXPECT_EQ(book.take(SHARE, EOT_Buy, 100000, 9.01), "可用资金不足：需 901234.26，可用 900974.26");
  EXPECT_EQ(book.take(FUTURE, EOT_BuyOpen, 1'000'000'000, 4000), "可用资金不足：需 144000000000000.00，可用 900974.26");
  EXPECT_FALSE(book.m_ledger.take(9, "B", {SHARE, EOT_Sell, 1, 1})) << "an account that nobody has opened";

  SBook seller(0, {position(SHARE, 1000, 200, 9000)});
  EXPECT_EQ(seller.take(SHARE, EOT_Sell, 500, 11), "");
  seller.fill(1, 2);
  EXPECT_EQ(seller.money(), "0.00 0.00 0.00 2.00 -9.00") << "a sale that does not bring its fees";
  seller.fill(399, 10);
  EXPECT_EQ(seller.money(), "3984.96 0.00 0.00 7.04 384.96") << "its fees follow";
}

TEST(Ledger, AFutureHoldsMarginUntilItIsClosed) {
  SBook book(1'000'000);
  book.take(FUTURE, EOT_SellOpen, 2, 4000);
  book.fill(2, 4000, 300);
  EXPECT_EQ(book.money(), "711944.80 0.00 288000.00 55.20 0.00");
  EXPECT_EQ(book.take(FUTURE, EOT_SellClose, 1, 4000), "可平数量不足：需 1，可平 0") << "nothing was bought";
  book.take(FUTURE, EOT_BuyClose, 1, 4000);
  book.fill(1, 3900, 300);
  EXPECT_EQ(book.money(), "885917.89 0.00 144000.00 82.11 29945.49") << "27.60 and 26.91 of 30000";
  SBook poor(1'000'000, {position(FUTURE, 6, 0, 7'200'000)});
  poor.take(FUTURE, EOT_SellClose, 6, 4000);
  poor.fill(6, 2900, 300);
  EXPECT_EQ(poor.money(), "0.00 0.00 0.00 0.00 -1864000.00") << "a loss beyond margin and cash takes what is there";
}

struct SCounted {
  std::string m_strKey;
  bool m_bBuy = true;
  int m_nLeft = 0;
  double m_dLimit = 0;
  double m_dTraded = 0;
  int m_nFilled = 0;
};

/// From the orders alone, each time anew.
void recount(const desk::SHoldings& now, const std::map<std::uint64_t, SCounted>& orders, double cash) {
  double frozen = 0;
  std::map<std::string, int> total;
  std::map<std::string, int> today;
  std::map<std::string, int> held;
  for (const auto& [id, order] : orders) {
    const double paid = exchange::feesOf(RATES, exchange::EKind::Share, order.m_bBuy, order.m_dTraded);
    const double whole = order.m_dTraded + order.m_nLeft * order.m_dLimit;
    cash += (order.m_bBuy ? -order.m_dTraded : order.m_dTraded) - paid;
    total[order.m_strKey] += order.m_bBuy ? order.m_nFilled : -order.m_nFilled;
    today[order.m_strKey] += order.m_bBuy ? order.m_nFilled : 0;
    held[order.m_strKey] += order.m_bBuy ? 0 : order.m_nLeft;
    if (!order.m_bBuy || order.m_nLeft == 0) continue;
    frozen += whole - order.m_dTraded + exchange::feesOf(RATES, exchange::EKind::Share, true, whole) - paid;
  }
  ASSERT_NEAR(now.m_dCash, cash - frozen, 0.001);
  ASSERT_NEAR(now.m_dFrozen, frozen, 0.001);
  ASSERT_GE(now.m_dCash, 0);
  for (const auto& [key, position] : now.m_positions) {
    ASSERT_EQ(position.m_nTotal, 20000 + total[key]);
    ASSERT_EQ(position.m_nBoughtToday, today[key]);
    ASSERT_EQ(position.m_nFrozen, held[key]);
    ASSERT_EQ(position.m_nSellable, 20000 + total[key] - today[key] - held[key]);
    ASSERT_GE(position.m_nSellable, 0);
  }
}

TEST(Ledger, AgreesWithARecountOfRandomOrders) {
  std::mt19937 random(7);
  const auto below = [&random](int most) { return static_cast<int>(random() % static_cast<unsigned>(most)); };
  int refused = 0;
  for (int step = 0; step < 8000; ++step) {
    static std::unique_ptr<SBook> book;
    static std::map<std::uint64_t, SCounted> orders;
    const CStockInfo other{"SH", "600001", ""};
    if (step % 400 == 0) {
      book = std::make_unique<SBook>(300'000, std::vector{position(SHARE, 20000, 0, 1), position(other, 20000, 0, 1)});
      orders.clear();
    }
    if (below(3) == 0 || orders.empty()) {
      const CStockInfo& stock = below(2) ? SHARE : other;
      const SCounted order{"SH." + stock.m_strCode, below(2) == 0, 1 + below(below(2) ? 20 : 5000),
                           1 + below(2000) / 100.0};
      const int operation = order.m_bBuy ? EOT_Buy : EOT_Sell;
      const bool taken = book->take(stock, operation, order.m_nLeft, order.m_dLimit).empty();
      if (taken) orders[book->m_nLast] = order;
      refused += !taken;
    } else if (auto& [id, order] = *std::next(orders.begin(), below(static_cast<int>(orders.size())));
               order.m_nLeft > 0) {
      const int quantity = below(4) == 0 ? 0 : 1 + below(order.m_nLeft);
      const double amount = quantity * (order.m_dLimit + below(50) / (order.m_bBuy ? -100.0 : 100.0));
      order.m_nFilled += quantity;
      order.m_dTraded += amount;
      if (quantity > 0) book->m_ledger.fill(id, quantity, amount);
      if (quantity == 0) book->m_ledger.end(id);
      order.m_nLeft -= quantity == 0 ? order.m_nLeft : quantity;
    }
    ASSERT_NO_FATAL_FAILURE(recount(book->now(), orders, 300'000)) << step;
  }
  EXPECT_GT(refused, 200);
}

/// Also where closes lose more than there is.
TEST(Ledger, RandomFuturesLeaveNothingBelowZero) {
  std::mt19937 random(5);
  for (int round = 0; round < 50; ++round) {
    SBook book(2'000'000);
    for (int i = 0; i < 200; ++i) {
      const int operation = EOT_BuyOpen + static_cast<int>(random() % 4);
      const bool taken = book.take(FUTURE, operation, 1 + static_cast<int>(random() % 4), 4400).empty();
      if (taken && random() % 3) book.fill(1, 3600.0 + static_cast<int>(random() % 800), 300);
      if (random() % 2) book.m_ledger.end(1 + random() % book.m_nLast);
      const desk::SHoldings now = book.now();
      ASSERT_TRUE(now.m_dCash >= 0 && now.m_dFrozen >= 0 && now.m_dMargin >= 0);
      double kept = now.m_dCash + now.m_dFrozen + now.m_dMargin - 2'000'000 - now.m_dRealised;
      for (const auto& [key, held] : now.m_positions) {
        ASSERT_TRUE(held.m_nSellable >= 0 && held.m_nFrozen >= 0) << key;
        kept += std::abs(held.m_dCost - held.m_dMargin / RATES.m_dMargin);
      }
      ASSERT_NEAR(kept, 0, 0.01) << "what is there is what came in and what was made of it";
    }
  }
}

TEST(Money, WhatAnAccountCannotPayOrDeliverNeverReachesTheMarket) {
  SRig rig;
  EXPECT_EQ(rig.m_desk.holdings("A1"), nullptr);
  rig.engine().openAccount(
      "A1", {50'000, {position({"SZ", "1001", ""}, 3000, 0, 20'000), position({"SZ", "1005", ""}, 100, 0, 1'000)}});
  const std::string task =
      rig.start({SRig::line("SH", "600002", EOT_Buy, 5000), SRig::line("SH", "600004", EOT_Buy, 5000),
                 SRig::line("SZ", "1001", EOT_Sell, 3000), SRig::line("SZ", "1003", EOT_Sell, 100)});
  rig.runTo(9, 31);
  const CTaskDetail& ended = rig.newest(task);
  EXPECT_EQ(ended.m_nStatus, ETS_Cancelled);
  EXPECT_EQ(ended.m_orders[1]->m_strMessage, "可用资金不足：需 44861.66，可用 14840.86");
  EXPECT_EQ(ended.m_strMessage, "可卖数量不足（1 笔委托被拒绝）；可用资金不足（1 笔委托被拒绝）");
  EXPECT_EQ(rig.engine().router().rates().use().front().m_nDay, 2);
  const desk::SHoldings now = *rig.m_desk.holdings("A1");
  EXPECT_NEAR(now.m_dCash,
              50'000 - ended.m_orders[0]->m_dTradedAmount + ended.m_orders[2]->m_dTradedAmount - now.m_dFees, 0.01);
  EXPECT_EQ(now.m_positions.at("SH.600002").m_nSellable, 0);
  TC::CQuote quote;
  EXPECT_TRUE(rig.m_desk.quote("SZ", "1005", quote) && quote.m_dLast > 0) << "nobody trades it, but it is held";
  const std::string again = rig.start({SRig::line("SH", "600004", EOT_Buy, 2000)});
  rig.runTo(9, 32);
  EXPECT_EQ(rig.newest(again).m_nStatus, ETS_Finished) << "what the sale brought buys the same day";

  rig.engine().openAccount("A1", {});
  const TC::SAlgoParams algo{.m_eAlgorithm = TC::EAlgorithm::TWAP, .m_nEnd = 11 * 3600, .m_nSlices = 3600};
  const std::string schedule = rig.start({SRig::line("SH", "600002", EOT_Buy, 360'000)}, algo);
  rig.runTo(10, 31);
  EXPECT_EQ(rig.engine().serverTask(schedule)->progress()->m_orders.size(), 12U) << "again every five minutes";
}

}  // namespace
