#include "Judge.h"

#include <algorithm>
#include <array>

#include "AccountUse.h"
#include "LineChecks.h"
#include "Sellable.h"
#include "Texts.h"

namespace draft {
namespace {

constexpr double NEAR = 0.8;  // of a limit

/// Securities that stand in more than one checked line.
class CRepeats {
 public:
  CRepeats(const std::vector<SLine>& lines, const SMarketView& market, const CSellable& sellable)
      : m_lines(lines), m_sellable(sellable), m_seen(sellable.securities()) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
      if (!lines[i].m_bChecked || lines[i].m_side == ESide::None || !market.m_facts[i].m_bListed) continue;
      SSeen& seen = seenOf(i, lines[i].m_side);
      (seen.m_nFirst < 0 ? seen.m_nFirst : seen.m_nLast) = static_cast<int>(i);
    }
  }

  void check(std::size_t line, std::vector<SFinding>& findings) {
    const ESide side = m_lines[line].m_side;
    if (!m_lines[line].m_bChecked || side == ESide::None) return;
    const SSeen& same = seenOf(line, side);
    const SSeen& other = seenOf(line, side == ESide::Buy ? ESide::Sell : ESide::Buy);
    if (same.m_nFirst >= 0 && same.m_nLast >= 0) {
      const int twin = same.m_nFirst == static_cast<int>(line) ? same.m_nLast : same.m_nFirst;
      findings.push_back(
          {EFinding::Twice, ELevel::Warning, "与第 " + numberOf(twin) + " 行证券和方向相同：可合并或保留"});
    }
    if (other.m_nFirst >= 0) {
      findings.push_back({EFinding::BothSides, ELevel::Warning,
                          "同一证券在第 " + numberOf(other.m_nFirst) + " 行" + (side == ESide::Buy ? "卖出" : "买入") +
                              "：篮子内既买又卖"});
    }
  }

 private:
  struct SSeen {
    int m_nFirst = -1;
    int m_nLast = -1;  ///< another one than the first
  };
  /// As the user sees it: that of the source, where there is one.
  std::string numberOf(int line) const {
    const int source = m_lines[static_cast<std::size_t>(line)].m_nSourceLine;
    return countText(source > 0 ? source : line + 1);
  }
  SSeen& seenOf(std::size_t line, ESide side) {
    return m_seen[static_cast<std::size_t>(m_sellable.securityOf(line))][side == ESide::Buy ? 0 : 1];
  }

  const std::vector<SLine>& m_lines;
  const CSellable& m_sellable;
  std::vector<std::array<SSeen, 2>> m_seen;  ///< by security: bought, sold
};

bool isError(const SFinding& finding) { return finding.m_level == ELevel::Error; }

void count(const SLine& line, const std::vector<SFinding>& findings, STotals& totals) {
  if (!line.m_bChecked) return;
  ++totals.m_nLines;
  if (line.m_side == ESide::Buy) ++totals.m_nBuyLines;
  if (line.m_side == ESide::Sell) ++totals.m_nSellLines;
  if (findings.empty()) return;
  ++(isError(findings.front()) ? totals.m_nErrors : totals.m_nWarnings);
}

void add(const SAccountUse& use, STotals& totals) {
  totals.m_dBuy += use.m_dBuy;
  totals.m_dSell += use.m_dSell;
  totals.m_dBuyFees += use.m_dBuyFees;
  totals.m_dSellFees += use.m_dSellFees;
  totals.m_nOrders += use.m_nOrders;
}

void checkBasket(const SLimits& limits, SJudgement& judgement) {
  const double amount = judgement.m_totals.m_dBuy + judgement.m_totals.m_dSell;
  if (limits.m_dBasket <= 0 || amount <= limits.m_dBasket) return;
  judgement.m_ofBasket.push_back({EFinding::BasketAmount, ELevel::Error,
                                  "篮子金额 " + amountText(amount) + "，超过上限 " + amountText(limits.m_dBasket)});
}

/// What comes nearest to a limit of a kind.
class CNearest {
 public:
  void look(double used, double limit, const std::string& name = {}) {
    const double part = limit > 0 ? used / limit : 0;
    // Above it, that is told as a finding.
    if (part < NEAR || part > 1 || part <= m_dPart) return;
    m_dPart = part;
    m_name = name;
  }
  void tell(const std::string& before, const std::string& after, std::vector<std::string>& texts) const {
    if (m_dPart > 0) texts.push_back(before + m_name + after + "已用 " + percentText(m_dPart));
  }

 private:
  double m_dPart = 0;
  std::string m_name;
};

std::vector<std::string> nearLimits(const std::vector<SLine>& lines, const SMarketView& market, const SDeal& deal,
                                    const std::vector<SAccountFacts>& accounts, const std::vector<SAccountUse>& use,
                                    const SLimits& limits, const STotals& totals) {
  CNearest line;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (!lines[i].m_bChecked) continue;
    const SMarketFacts& facts = market.m_facts[i];
    line.look(deal.m_lines[i].m_nQuantity * facts.price() * facts.m_nMultiplier, limits.m_dLine, lines[i].m_strCode);
  }
  CNearest account;
  CNearest cash;
  for (std::size_t i = 0; i < accounts.size(); ++i) {
    account.look(use[i].m_dBuy + use[i].m_dSell, limits.m_dAccount, accounts[i].m_strText);
    if (accounts[i].m_bKnown) cash.look(use[i].m_dNeed, accounts[i].m_dCash, accounts[i].m_strText);
  }
  CNearest basket;
  basket.look(totals.m_dBuy + totals.m_dSell, limits.m_dBasket);
  std::vector<std::string> texts;
  line.tell("单行金额上限（", "）", texts);
  account.tell("单账户金额上限（", "）", texts);
  basket.tell("篮子金额上限", "", texts);
  cash.tell("账户 ", " 可用资金", texts);
  return texts;
}

}  // namespace

SJudgement judge(const std::vector<SLine>& lines, const SMarketView& market, const std::vector<SAccountFacts>& accounts,
                 const SDeal& shares, const SLimits& limits) {
  SJudgement judgement;
  judgement.m_findings.resize(lines.size());
  const CSellable sellable(lines, accounts);
  const std::vector<SAccountUse> use = accountUse(lines, market, shares, accounts.size());
  bool sized = false;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    sized = sized || (lines[i].m_measure == basket::EMeasure::Weight && shares.m_lines[i].m_nQuantity > 0);
  }
  CRepeats repeats(lines, market, sellable);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    checkLine({lines[i], market.m_facts[i], shares.m_lines[i], limits, sized}, judgement.m_findings[i]);
    repeats.check(i, judgement.m_findings[i]);
  }
  CAccountChecks checks(lines, market, accounts, shares, sellable, use);
  checks.checkLines(judgement.m_findings);
  for (const SAccountUse& each : use) add(each, judgement.m_totals);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::vector<SFinding>& findings = judgement.m_findings[i];
    if (findings.size() > 1) std::stable_partition(findings.begin(), findings.end(), isError);
    count(lines[i], findings, judgement.m_totals);
  }
  checkBasket(limits, judgement);
  checks.checkAccounts(limits, judgement.m_ofBasket);
  std::stable_partition(judgement.m_ofBasket.begin(), judgement.m_ofBasket.end(), isError);
  judgement.m_near = nearLimits(lines, market, shares, accounts, use, limits, judgement.m_totals);
  return judgement;
}

}  // namespace draft
