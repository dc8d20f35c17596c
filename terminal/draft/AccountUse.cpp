#include "AccountUse.h"

#include "Orders.h"
#include "Texts.h"

namespace draft {

std::vector<SAccountUse> accountUse(const std::vector<SLine>& lines, const SMarketView& market, const SDeal& deal,
                                    std::size_t accounts) {
  std::vector<SAccountUse> uses(accounts);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const SMarketFacts& facts = market.m_facts[i];
    const bool buy = lines[i].m_side == ESide::Buy;
    for (const SDealPart& part : deal.m_lines[i].m_parts) {
      SAccountUse& use = uses[static_cast<std::size_t>(part.m_nAccount)];
      const SOrders orders = ordersOf(facts, market.m_fees, buy, part.m_nQuantity, market.m_nSlices);
      use.m_nOrders += orders.m_nCount;
      (buy ? use.m_dBuy : use.m_dSell) += orders.m_dAmount;
      (buy ? use.m_dBuyFees : use.m_dSellFees) += orders.m_dFees;
      use.m_dNeed += orders.m_dFrozen;
      if (!buy && facts.m_kind == exchange::EKind::Share) use.m_dIncome += orders.m_dAmount - orders.m_dFees;
    }
  }
  return uses;
}

CAccountChecks::CAccountChecks(const std::vector<SLine>& lines, const SMarketView& market,
                               const std::vector<SAccountFacts>& accounts, const SDeal& deal, const CSellable& sellable,
                               const std::vector<SAccountUse>& use)
    : m_lines(lines),
      m_market(market),
      m_accounts(accounts),
      m_deal(deal),
      m_sellable(sellable),
      m_use(use),
      m_spent(accounts.size()),
      m_sold(accounts.size() * sellable.securities()) {}

void CAccountChecks::checkLines(std::vector<std::vector<SFinding>>& findings) {
  bool anyShort = false;
  for (std::size_t i = 0; i < m_accounts.size(); ++i) anyShort = anyShort || isShort(i);
  for (std::size_t line = 0; line < m_lines.size(); ++line) {
    const bool isFuture = m_market.m_facts[line].m_kind == exchange::EKind::IndexFuture;
    const bool isBuy = m_lines[line].m_side == ESide::Buy;
    if (anyShort && (isBuy || isFuture)) checkCash(line, findings[line]);
    if (!isBuy && !isFuture) checkPosition(line, findings[line]);
  }
}

/// The lines from which on an account's cash does not suffice, in their order.
void CAccountChecks::checkCash(std::size_t line, std::vector<SFinding>& findings) {
  const bool buy = m_lines[line].m_side == ESide::Buy;
  const SMarketFacts& facts = m_market.m_facts[line];
  std::size_t first = 0;
  int count = 0;
  bool covered = true;
  for (const SDealPart& part : m_deal.m_lines[line].m_parts) {
    const auto account = static_cast<std::size_t>(part.m_nAccount);
    if (!isShort(account)) continue;
    const SOrders orders = ordersOf(facts, m_market.m_fees, buy, part.m_nQuantity, m_market.m_nSlices);
    m_spent[account] += orders.m_dFrozen;
    if (m_spent[account] <= m_accounts[account].m_dCash) continue;
    // One that sales do not help is told of first.
    if (count++ == 0 || (covered && !isCovered(account))) first = account;
    covered = covered && isCovered(account);
  }
  if (count == 0) return;
  findings.push_back({EFinding::NoCash, covered ? ELevel::Warning : ELevel::Error,
                      "可用资金不足：" + namesOf(first, count) + "到本行按委托价共需 " + amountText(m_spent[first]) +
                          "，有 " + amountText(m_accounts[first].m_dCash) + (covered ? "，须先卖出" : "")});
}

void CAccountChecks::checkPosition(std::size_t line, std::vector<SFinding>& findings) {
  const auto security = static_cast<std::size_t>(m_sellable.securityOf(line));
  std::size_t first = 0;
  int count = 0;
  for (const SDealPart& part : m_deal.m_lines[line].m_parts) {
    const auto account = static_cast<std::size_t>(part.m_nAccount);
    std::int64_t& sold = m_sold[account * m_sellable.securities() + security];
    sold += part.m_nQuantity;
    if (m_accounts[account].m_bKnown && sold > m_sellable.of(account, line) && count++ == 0) first = account;
  }
  if (count == 0) return;
  const std::int64_t sold = m_sold[first * m_sellable.securities() + security];
  findings.push_back({EFinding::NoPosition, ELevel::Error,
                      "可卖数量不足：" + namesOf(first, count) + "共卖 " + countText(sold) + "，可卖 " +
                          countText(m_sellable.of(first, line))});
}

void CAccountChecks::checkAccounts(const SLimits& limits, std::vector<SFinding>& findings) const {
  for (std::size_t i = 0; i < m_accounts.size(); ++i) {
    const SAccountUse& use = m_use[i];
    const double amount = use.m_dBuy + use.m_dSell;
    if (limits.m_dAccount > 0 && amount > limits.m_dAccount) {
      findings.push_back(
          {EFinding::AccountAmount, ELevel::Error,
           namesOf(i, 1) + "金额 " + amountText(amount) + "，超过单账户上限 " + amountText(limits.m_dAccount)});
    }
    if (!isShort(i)) continue;
    const bool covered = isCovered(i);
    findings.push_back({EFinding::NoCash, covered ? ELevel::Warning : ELevel::Error,
                        namesOf(i, 1) + "可用资金不足：按委托价需 " + amountText(use.m_dNeed) + "，有 " +
                            amountText(m_accounts[i].m_dCash) +
                            (covered ? "，加上卖出所得 " + amountText(use.m_dIncome) + " 足够" : "")});
  }
}

std::string CAccountChecks::namesOf(std::size_t first, int count) const {
  const std::string name = "账户 " + m_accounts[first].m_strText + " ";
  return count == 1 ? name : name + "等 " + countText(count) + " 个账户，前者";
}

}  // namespace draft
