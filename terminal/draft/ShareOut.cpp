#include "ShareOut.h"

#include "Dealer.h"

namespace draft {
namespace {

constexpr double LEAST_VALUE = 0.01;  // of a share without a price: something to hold against others

bool isUsable(const SLine& line, const SMarketFacts& facts, int quantity) {
  return line.m_bChecked && line.m_strFault.empty() && line.m_side != ESide::None && facts.m_bListed && quantity > 0;
}

SStake stakeOf(std::size_t index, const SLine& line, const SMarketFacts& facts, int quantity) {
  SStake stake;
  stake.m_nLine = index;
  stake.m_nQuantity = quantity;
  stake.m_bBuy = line.m_side == ESide::Buy;
  stake.m_nStep = facts.m_rules.m_nBuyStep;
  if (stake.m_bBuy) stake.m_nMinimum = facts.m_rules.m_nBuyMinimum;
  stake.m_dValue = std::max(LEAST_VALUE, facts.price() * facts.m_nMultiplier);
  return stake;
}

}  // namespace

SDeal dealOut(const std::vector<SLine>& lines, const std::vector<int>& quantities,
              const std::vector<SMarketFacts>& facts, const std::vector<SAccountFacts>& accounts, EDealBy by,
              const std::vector<double>& ratios) {
  SDeal deal;
  deal.m_lines.resize(lines.size());
  std::vector<SStake> stakes;
  stakes.reserve(lines.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    deal.m_lines[i].m_nQuantity = quantities[i];
    if (isUsable(lines[i], facts[i], quantities[i])) stakes.push_back(stakeOf(i, lines[i], facts[i], quantities[i]));
  }
  CDealer dealer(lines, facts, accounts, by, ratios);
  dealer.deal(stakes);
  for (const SStake& stake : stakes) deal.m_lines[stake.m_nLine] = dealer.dealt(stake);
  return deal;
}

}  // namespace draft
