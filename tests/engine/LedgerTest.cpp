/// Money and positions of accounts: what orders freeze, what fills move, what is refused.
#include <boost/format.hpp>
#include <cmath>
#include <random>

#include "Rig.h"
#include "ksservice/Operations.h"

namespace {

using namespace ksservice;
using engine::CLedger;

const exchange::SFeeRates RATES;
const CStockInfo SHARE{"SH", "600000", "S"};
const CStockInfo FUTURE{"CFFEX", "IF2612", "F"};

struct SBook {
  explicit SBook(double cash, std::vector<desk::SPosition> positions = {}) {
    m_ledger.open("A", {cash, std::move(positions)});
  }
  /// The order's number, or why it was refused.
  std::string take(const CStockInfo& stock, int operation, int quantity, double worst) {
    const auto refusal = m_ledger.take(++m_nLast, "A", {stock, operation, quantity, worst});
    return refusal ? refusal->m_strText : std::to_string(m_nLast);
  }
  bool takes(const CStockInfo& stock, int operation, int quantity, double worst) {
    const std::string text = take(stock, operation, quantity, worst);
    return text == std::to_string(m_nLast);
  }
  /// An order that trades whole at a price, CNY.
  std::string trade(const CStockInfo& stock, int operation, int quantity, double price) {
    std::string text = take(stock, operation, quantity, price);
    m_ledger.fill(m_nLast, quantity, quantity * price * (stock.m_strMarket == "CFFEX" ? 300 : 1));
    return text;
  }
  desk::SHoldings now() const { return *m_ledger.holdings("A"); }
  desk::SPosition position(const std::string& key) const { return now().m_positions.at(key); }
  std::string money() const {
    const desk::SHoldings held = now();
    return (boost::format("%.2f %.2f %.2f %.2f %.2f") % held.m_dCash % held.m_dFrozen % held.m_dMargin % held.m_dFees %
            held.m_dRealised)
        .str();
  }

  CLedger m_ledger{RATES};
  std::uint64_t m_nLast = 0;
};

desk::SPosition position(const CStockInfo& stock, int total, int today, double cost) {
  return {.m_strMarket = stock.m_strMarket,
          .m_strCode = stock.m_strCode,
          .m_nTotal = total,
          .m_nBoughtToday = today,
          .m_dCost = cost};
}

TEST(Ledger, AShareFreezesWhatItMayTakeAndPaysWhatItTook) {
  SBook book(1'000'000);
  EXPECT_EQ(book.take(SHARE, EOT_Buy, 10000, 20), "1");
  EXPECT_EQ(book.money(), "799948.00 200052.00 0.00 0.00 0.00") << "50 commission, 2 transfer fee";
  book.m_ledger.fill(1, 1000, 19'000);
  EXPECT_EQ(book.money(), "800948.26 180046.55 0.00 5.19 0.00") << "what it saved is free; the least commission";
  book.m_ledger.fill(1, 4000, 80'000);
  book.m_ledger.end(1);
  EXPECT_EQ(book.money(), "900974.26 0.00 0.00 25.74 0.00") << "one commission for the whole order";
  EXPECT_EQ(book.position("SH.600000").m_nBoughtToday, 5000);
  EXPECT_DOUBLE_EQ(book.position("SH.600000").m_dCost, 99'025.74);
  EXPECT_EQ(book.take(SHARE, EOT_Sell, 100, 20), "可卖数量不足：需 100，可卖 0（今日买入 5000 不可卖）");
  EXPECT_EQ(book.take(SHARE, EOT_Buy, 100000, 9.01), "可用资金不足：需 901234.26，可用 900974.26");
  EXPECT_FALSE(book.m_ledger.take(9, "B", {SHARE, EOT_Sell, 1, 1})) << "an account that nobody has opened";

  SBook seller(0, {position(SHARE, 1000, 200, 9000)});
  EXPECT_EQ(seller.take(SHARE, EOT_Sell, 500, 11), "1");
  EXPECT_EQ(seller.take(SHARE, EOT_Sell, 301, 11), "可卖数量不足：需 301，可卖 300（今日买入 200 不可卖）");
  seller.m_ledger.fill(1, 1, 2);
  EXPECT_EQ(seller.money(), "0.00 0.00 0.00 2.00 -9.00") << "a sale that does not bring its fees";
  seller.m_ledger.fill(1, 399, 4000);
  EXPECT_EQ(seller.money(), "3994.96 0.00 0.00 7.04 394.96") << "its fees follow";
  seller.m_ledger.end(1);
  EXPECT_EQ(seller.position("SH.600000").m_nSellable, 400);
  EXPECT_EQ(seller.position("SH.600000").m_nFrozen, 0);
}

TEST(Ledger, AFutureHoldsMarginUntilItIsClosed) {
  SBook book(1'000'000);
  EXPECT_EQ(book.trade(FUTURE, EOT_SellOpen, 2, 4000), "1");
  EXPECT_EQ(book.money(), "711400.00 0.00 288000.00 600.00 0.00");
  EXPECT_EQ(book.position("CFFEX.IF2612-").m_nSellable, 2);
  EXPECT_EQ(book.take(FUTURE, EOT_SellClose, 1, 4000), "可平数量不足：需 1，可平 0") << "nothing was bought";
  book.trade(FUTURE, EOT_BuyClose, 1, 3900);
  EXPECT_EQ(book.money(), "885107.50 0.00 144000.00 892.50 29407.50") << "300 and 292.50 of 30000";
  // A loss beyond margin and cash takes what is there.
  SBook poor(1'000'000);
  poor.trade(FUTURE, EOT_BuyOpen, 6, 4000);
  poor.trade(FUTURE, EOT_SellClose, 6, 3000);
  EXPECT_EQ(poor.money(), "0.00 0.00 0.00 1800.00 -1000000.00");
  SBook given(0, {position(FUTURE, 3, 0, 3'600'000)});
  EXPECT_EQ(given.money(), "0.00 0.00 432000.00 0.00 0.00");
}

/// An account that trades shares and futures at random, and beside it the list of its orders.
struct SRandomAccount {
  struct SOrder {
    std::string m_strCode;
    bool m_bBuy = true;
    int m_nLeft = 0;
    double m_dLimit = 0;
    double m_dTraded = 0;
    int m_nFilled = 0;
    bool m_bOpen = true;
  };

  void step(std::mt19937& random) {
    const auto below = [&random](int most) { return static_cast<int>(random() % static_cast<unsigned>(most)); };
    if (below(3) == 0) {
      const bool buy = below(2) == 0;
      const CStockInfo stock{"SH", std::to_string(600000 + below(3)), ""};
      const double limit = 0.01 * (100 + below(2000));
      const int quantity = 1 + below(below(2) ? 20 : 5000);
      if (book.takes(stock, buy ? EOT_Buy : EOT_Sell, quantity, limit)) {
        orders[book.m_nLast] = {stock.m_strCode, buy, quantity, limit};
      } else {
        ++refused;
      }
    } else if (!orders.empty()) {
      auto& [id, order] = *std::next(orders.begin(), below(static_cast<int>(orders.size())));
      if (!order.m_bOpen) return;
      if (below(4) == 0) {
        book.m_ledger.end(id);
        order.m_bOpen = false;
        return;
      }
      const int quantity = 1 + below(order.m_nLeft);
      const double price = order.m_dLimit + 0.01 * below(50) * (order.m_bBuy ? -1 : 1);
      order.m_nFilled += quantity;
      order.m_dTraded += quantity * price;
      book.m_ledger.fill(id, quantity, quantity * price);
      order.m_bOpen = (order.m_nLeft -= quantity) > 0;
    }
  }

  /// From the orders alone, each time anew.
  void recount() const {
    double cash = CASH;
    double frozen = 0;
    double fees = 0;
    std::map<std::string, int> total, today, held;
    for (int i = 0; i < 3; ++i) total["SH." + std::to_string(600000 + i)] = 20000;
    for (const auto& [id, order] : orders) {
      const double paid = exchange::feesOf(RATES, exchange::EKind::Share, order.m_bBuy, order.m_dTraded);
      const double whole = order.m_dTraded + order.m_nLeft * order.m_dLimit;
      const std::string key = "SH." + order.m_strCode;
      fees += paid;
      cash += (order.m_bBuy ? -order.m_dTraded : order.m_dTraded) - paid;
      total[key] += order.m_bBuy ? order.m_nFilled : -order.m_nFilled;
      if (order.m_bBuy) today[key] += order.m_nFilled;
      if (order.m_bOpen && !order.m_bBuy) held[key] += order.m_nLeft;
      if (!order.m_bOpen || !order.m_bBuy) continue;
      frozen += whole - order.m_dTraded + exchange::feesOf(RATES, exchange::EKind::Share, true, whole) - paid;
    }
    const desk::SHoldings now = book.now();
    ASSERT_NEAR(now.m_dCash, cash - frozen, 0.001);
    ASSERT_NEAR(now.m_dFrozen, frozen, 0.001);
    ASSERT_NEAR(now.m_dFees, fees, 0.001);
    ASSERT_GE(now.m_dCash, 0);
    for (const auto& [key, position] : now.m_positions) {
      ASSERT_EQ(position.m_nTotal, total[key]);
      ASSERT_EQ(position.m_nBoughtToday, today[key]);
      ASSERT_EQ(position.m_nFrozen, held[key]);
      ASSERT_EQ(position.m_nSellable, total[key] - today[key] - held[key]);
      ASSERT_GE(position.m_nSellable, 0);
    }
  }

  static constexpr double CASH = 300'000;
  SBook book{CASH,
             {position(SHARE, 20000, 0, 1), position({"SH", "600001", ""}, 20000, 0, 1),
              position({"SH", "600002", ""}, 20000, 0, 1)}};
  std::map<std::uint64_t, SOrder> orders;
  int refused = 0;
};

TEST(Ledger, AgreesWithARecountOfRandomOrdersAndIsNeverBelowZero) {
  std::mt19937 random(7);
  int refused = 0;
  for (int round = 0; round < 20; ++round) {
    SRandomAccount account;
    for (int i = 0; i < 400; ++i) {
      account.step(random);
      ASSERT_NO_FATAL_FAILURE(account.recount()) << round << " " << i;
    }
    refused += account.refused;
  }
  EXPECT_GT(refused, 200);
}

/// Also where closes lose more than there is.
TEST(Ledger, RandomFuturesLeaveNothingBelowZeroAndNothingFrozen) {
  std::mt19937 random(5);
  const int operations[] = {EOT_BuyOpen, EOT_SellOpen, EOT_BuyClose, EOT_SellClose};
  for (int round = 0; round < 50; ++round) {
    SBook book(2'000'000);
    for (int i = 0; i < 200; ++i) {
      const int operation = operations[random() % 4];
      const bool taken = book.takes(FUTURE, operation, 1 + static_cast<int>(random() % 4), 4400);
      if (taken && random() % 3) book.m_ledger.fill(book.m_nLast, 1, 300.0 * (3600 + static_cast<int>(random() % 800)));
      if (random() % 2) book.m_ledger.end(1 + random() % book.m_nLast);
      const desk::SHoldings now = book.now();
      ASSERT_TRUE(now.m_dCash >= 0 && now.m_dFrozen >= 0 && now.m_dMargin >= 0);
      double kept = now.m_dCash + now.m_dFrozen + now.m_dMargin - 2'000'000 - now.m_dRealised;
      double margin = 0;
      for (const auto& [key, held] : now.m_positions) {
        ASSERT_TRUE(held.m_nSellable >= 0 && held.m_nFrozen >= 0 && held.m_dMargin > 0) << key;
        margin += held.m_dMargin;
        kept += std::abs(held.m_dCost - held.m_dMargin / RATES.m_dMargin);
      }
      ASSERT_NEAR(margin, now.m_dMargin, 0.001);
      ASSERT_NEAR(kept, 0, 0.01) << "what is there is what came in and what was made of it";
    }
    for (std::uint64_t id = 1; id <= book.m_nLast; ++id) book.m_ledger.end(id);
    EXPECT_EQ(book.now().m_dFrozen, 0);
  }
}

/// A rig whose first account has some money and shares of its own.
struct SMoneyRig : SRig {
  std::shared_ptr<const desk::SHoldings> held() const { return m_desk.holdings("A1"); }
  std::size_t sent() { return static_cast<std::size_t>(engine().router().rates().use().front().m_nDay); }
};

TEST(Money, WhatAnAccountCannotPayOrDeliverNeverReachesTheMarket) {
  SMoneyRig rig;
  EXPECT_EQ(rig.held(), nullptr);
  rig.engine().openAccount("A1", {50'000, {position({"SZ", "1001", ""}, 3000, 0, 20'000)}});
  EXPECT_EQ(rig.held()->m_dCash, 50'000);
  const std::string task =
      rig.start({SRig::line("SH", "600002", EOT_Buy, 5000), SRig::line("SH", "600004", EOT_Buy, 5000),
                 SRig::line("SZ", "1001", EOT_Sell, 3000), SRig::line("SZ", "1003", EOT_Sell, 100)});
  rig.runTo(9, 31);
  const CTaskDetail& ended = rig.newest(task);
  EXPECT_EQ(ended.m_nStatus, ETS_Cancelled);
  EXPECT_EQ(ended.m_orders[1]->m_strMessage.rfind("可用资金不足：需 44861.66，可用 14840", 0), 0U)
      << ended.m_orders[1]->m_strMessage;
  EXPECT_EQ(ended.m_orders[3]->m_strMessage, "可卖数量不足：需 100，可卖 0");
  EXPECT_EQ(ended.m_strMessage, "可卖数量不足（1 笔委托被拒绝）；可用资金不足（1 笔委托被拒绝）");
  EXPECT_EQ(rig.sent(), 2U);
  const desk::SHoldings now = *rig.held();
  EXPECT_EQ(now.m_dFrozen, 0);
  EXPECT_NEAR(now.m_dCash,
              50'000 - ended.m_orders[0]->m_dTradedAmount + ended.m_orders[2]->m_dTradedAmount - now.m_dFees, 0.01);
  EXPECT_FALSE(now.m_positions.contains("SZ.1001"));
  EXPECT_EQ(now.m_positions.at("SH.600002").m_nSellable, 0);
  // What the sale brought buys the same day.
  const std::string again = rig.start({SRig::line("SH", "600004", EOT_Buy, 2000)});
  rig.runTo(9, 32);
  EXPECT_EQ(rig.newest(again).m_nStatus, ETS_Finished) << rig.newest(again).m_strMessage;
}

TEST(Money, AScheduleThatLacksItTriesAgainNowAndThen) {
  SMoneyRig rig;
  rig.engine().openAccount("A1", {});
  const TC::SAlgoParams algo{.m_eAlgorithm = TC::EAlgorithm::TWAP, .m_nEnd = 10 * 3600 + 30 * 60, .m_nSlices = 3600};
  const std::string task = rig.start({SRig::line("SH", "600002", EOT_Buy, 360'000)}, algo);
  rig.runTo(10, 29);
  EXPECT_EQ(rig.engine().serverTask(task)->progress()->m_orders.size(), 12U) << "every five minutes";
  EXPECT_EQ(rig.sent(), 0U);
}

}  // namespace
