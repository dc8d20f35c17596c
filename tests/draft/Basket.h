/// Baskets made up for a test.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "ShareOut.h"

struct SBasket {
  std::vector<draft::SLine> m_lines;
  std::vector<draft::SMarketFacts> m_facts;
  std::vector<draft::SAccountFacts> m_accounts;
  std::vector<double> m_ratios;

  /// A share of which that many are bought, or below 0 sold.
  SBasket& add(const std::string& code, double price, double quantity,
               basket::EMeasure measure = basket::EMeasure::Shares) {
    exchange::SInstrument listed;
    listed.m_strMarket = code[0] == '6' ? "SH" : code[0] == '9' ? "BJ" : code[0] == 'I' ? "CFFEX" : "SZ";
    listed.m_strCode = code;
    listed.m_dPrevClose = price;
    listed.m_kind = exchange::kindOf(listed.m_strMarket);
    draft::SLine line;
    line.m_strMarket = listed.m_strMarket;
    line.m_strCode = code;
    line.m_side = quantity > 0 ? draft::ESide::Buy : draft::ESide::Sell;
    line.m_measure = measure;
    line.m_dQuantity = std::abs(quantity);
    m_lines.push_back(line);
    draft::SMarketFacts facts;
    facts.m_bListed = true;
    facts.m_strName = "名称" + code;
    facts.m_kind = listed.m_kind;
    facts.m_rules = exchange::rulesOf(listed);
    facts.m_dLast = price;
    if (facts.m_kind == exchange::EKind::IndexFuture) facts.m_nMultiplier = exchange::futureMultiplier(code);
    m_facts.push_back(facts);
    return *this;
  }
  SBasket& account(double ratio, double cash = 1e9, const std::map<std::string, int>& sellable = {}) {
    draft::SAccountFacts facts;
    facts.m_strKey = "key" + std::to_string(1001 + m_accounts.size());
    facts.m_strText = std::to_string(1001 + m_accounts.size());
    facts.m_dCash = cash;
    facts.m_sellable = sellable;
    m_accounts.push_back(facts);
    m_ratios.push_back(ratio);
    return *this;
  }

  draft::SDeal deal(draft::EDealBy by = draft::EDealBy::Ratio, const draft::SSizing& sizing = {}) const {
    draft::SDeal dealt =
        draft::dealOut(m_lines, draft::quantitiesOf(m_lines, m_facts, sizing), m_facts, m_accounts, by, m_ratios);
    draft::quantitiesOf(m_lines, m_facts, sizing, &dealt.m_dMissed);
    return dealt;
  }
  double valueOf(std::size_t line) const { return m_facts[line].m_dLast * m_facts[line].m_nMultiplier; }
  /// CNY of the dearest line's lot.
  double dearestLot() const {
    double dearest = 0;
    for (std::size_t i = 0; i < m_lines.size(); ++i) {
      const exchange::SRules& rules = m_facts[i].m_rules;
      dearest = std::max(dearest, std::max(rules.m_nBuyMinimum, rules.m_nBuyStep) * valueOf(i));
    }
    return dearest;
  }
};

inline int partOf(const draft::SDealtLine& line, int account) {
  for (const draft::SDealPart& part : line.m_parts) {
    if (part.m_nAccount == account) return part.m_nQuantity;
  }
  return 0;
}
