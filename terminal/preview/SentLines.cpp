#include "SentLines.h"

namespace preview {
namespace {

int operationOf(const SDraftLine& line, exchange::EKind kind) {
  if (line.m_nOperation != ksservice::EOT_None) return line.m_nOperation;
  const bool buy = line.m_line.m_side == draft::ESide::Buy;
  if (kind == exchange::EKind::Share) return buy ? ksservice::EOT_Buy : ksservice::EOT_Sell;
  return buy ? ksservice::EOT_BuyOpen : ksservice::EOT_SellOpen;
}

}  // namespace

SSentBasket sentBasket(const SDraftState& state, const draft::SMarketView& market,
                       const std::vector<draft::SAccountFacts>& accounts, const draft::SDeal& deal) {
  SSentBasket basket;
  basket.m_strName = state.m_strName.trimmed();
  basket.m_trade = state.m_trade;
  basket.m_hedge = state.m_hedge;
  std::vector<SSendPart> parts(accounts.size());
  for (std::size_t i = 0; i < state.m_lines.size(); ++i) {
    const SDraftLine& line = state.m_lines[i];
    if (!line.m_line.m_bChecked) continue;
    SSendLine send;
    send.m_strMarket = line.m_line.m_strMarket;
    send.m_strCode = line.m_line.m_strCode;
    send.m_nOperation = operationOf(line, market.m_facts[i].m_kind);
    send.m_dPrice = line.m_line.m_dPrice;
    for (const draft::SDealPart& part : deal.m_lines[i].m_parts) {
      send.m_nQuantity = part.m_nQuantity;
      parts[static_cast<std::size_t>(part.m_nAccount)].m_lines.push_back(send);
    }
  }
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (parts[i].m_lines.empty()) continue;
    parts[i].m_strAccount = accounts[i].m_strKey;
    basket.m_parts.push_back(std::move(parts[i]));
  }
  return basket;
}

}  // namespace preview
