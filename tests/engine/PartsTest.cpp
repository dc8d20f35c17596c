#include "Rig.h"
#include "ksservice/Operations.h"

using namespace ksservice;

namespace {

constexpr double CENT = 0.01;

class EngineParts : public testing::Test, protected SRig {};

TEST_F(EngineParts, EachAccountGetsItsPartAtWhatItsPriceTypeGives) {
  runTo(9, 31);
  const exchange::CExchange& market = m_simulation.market();
  std::vector<engine::SOrderLine> lines;
  std::vector<double> prices;  // of the moment in which the lines go out
  const auto add = [&](const char* code, int operation, int type, int offset) {
    lines.push_back(line("SH", code, operation, 300));
    lines.back().m_bPricedByType = true;
    lines.back().m_nPriceType = type;
    lines.back().m_nOffsetTicks = offset;
  };
  add("600002", EOT_Buy, EPT_Counterpart, 2);
  add("600004", EOT_Sell, EPT_Counterpart, 2);
  add("600006", EOT_Buy, EPT_Latest, -3);
  add("600008", EOT_Sell, EPT_Limit, -3);
  add("600010", EOT_Buy, EPT_LimitDown, -1);
  add("600012", EOT_Sell, EPT_LimitUp, -1);
  engine::SBasketOrder order;
  order.m_parts = {{m_accounts[0], {lines[0], lines[2], lines[4]}}, {m_accounts[1], {lines[1], lines[3], lines[5]}}};
  order.m_parts[1].m_lines[0].m_nQuantity = 700;
  const std::string task = std::to_string(engine().startBasket(order));
  m_simulation.advanceTo(m_simulation.now() + 100);
  for (const engine::SOrderLine& each : lines) {
    const int instrument = market.findInstrument("SH", each.m_stock.m_strCode);
    const exchange::SQuote quote = m_simulation.market().quote(instrument);
    const bool buy = each.m_nOperation == EOT_Buy;
    double price = each.m_nPriceType == EPT_Counterpart ? (buy ? quote.m_dAsk : quote.m_dBid) : quote.m_dLast;
    if (each.m_nPriceType == EPT_LimitDown) price = quote.m_dLimitDown;
    if (each.m_nPriceType == EPT_LimitUp) price = quote.m_dLimitUp;
    price += CENT * (buy ? each.m_nOffsetTicks : -each.m_nOffsetTicks);
    prices.push_back(std::clamp(price, quote.m_dLimitDown, quote.m_dLimitUp));
  }
  for (std::size_t account : {0U, 1U}) {
    const CTaskDetail& detail = newest(task + (account == 0 ? "-1" : "-2"));
    ASSERT_EQ(detail.m_orders.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
      const COrderInfo& sent = *detail.m_orders[i];
      EXPECT_EQ(sent.m_strCode, lines[2 * i + account].m_stock.m_strCode);
      EXPECT_EQ(sent.m_nVolume, account == 1 && i == 0 ? 700 : 300);
      EXPECT_NEAR(sent.m_dPrice, prices[2 * i + account], CENT / 10) << sent.m_strCode;
    }
  }
}

}  // namespace
