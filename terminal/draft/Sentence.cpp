#include "Sentence.h"

#include <algorithm>

#include "AccountUse.h"
#include "Texts.h"

namespace draft {
namespace {

constexpr double NEAR = 0.8;  // of a day's orders
constexpr std::size_t MOST_NAMES = 3;

/// "买入 3 行约 1.0 万元"; empty for none.
std::string sideText(const std::vector<SLine>& lines, const SDeal& deal, ESide side, double amount) {
  int count = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) count += lines[i].m_side == side && !deal.m_lines[i].m_parts.empty();
  if (count == 0) return {};
  return (side == ESide::Buy ? "买入 " : "卖出 ") + countText(count) + " 行约 " + amountText(amount);
}

/// "账户 1001、1002、1003 等 5 个"
std::string accountsText(const std::vector<SAccountFacts>& accounts, const std::vector<SAccountUse>& use) {
  std::string names;
  std::size_t count = 0;
  for (std::size_t i = 0; i < accounts.size(); ++i) {
    if (use[i].m_nOrders == 0 || ++count > MOST_NAMES) continue;
    names += (count > 1 ? "、" : "") + accounts[i].m_strText;
  }
  return "账户 " + names + (count > MOST_NAMES ? " 等 " + countText(static_cast<int>(count)) + " 个" : "");
}

/// Each account sends for itself, so the one with most orders is the last to end.
std::string ordersText(const std::vector<SAccountUse>& use, int total, int perSecond) {
  std::string text = "约 " + countText(total) + " 笔委托";
  if (perSecond <= 0) return text;
  int most = 0;
  for (const SAccountUse& each : use) most = std::max(most, each.m_nOrders);
  const int seconds = (most + perSecond - 1) / perSecond;
  return text + "、按每账户每秒 " + countText(perSecond) + " 笔约需 " + countText(seconds) + " 秒";
}

std::vector<std::string> dayTexts(const std::vector<SAccountFacts>& accounts, const std::vector<SAccountUse>& use,
                                  const SOrderRates& rates) {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < accounts.size() && rates.m_nPerDay > 0; ++i) {
    const auto found = rates.m_usedToday.find(accounts[i].m_strKey);
    const int after = use[i].m_nOrders + (found == rates.m_usedToday.end() ? 0 : found->second);
    if (use[i].m_nOrders == 0 || after < rates.m_nPerDay * NEAR) continue;
    texts.push_back("账户 " + accounts[i].m_strText + " 当日委托 " + countText(after) + "/" +
                    countText(rates.m_nPerDay) + (after > rates.m_nPerDay ? "（超过）" : ""));
  }
  return texts;
}

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (std::size_t i = 0; i < texts.size() && i < MOST_NAMES; ++i) all += (i > 0 ? "、" : "") + texts[i];
  return all + (texts.size() > MOST_NAMES ? " 等 " + countText(static_cast<int>(texts.size())) + " 项" : "");
}

}  // namespace

std::string sentence(const std::vector<SLine>& lines, const SMarketView& market,
                     const std::vector<SAccountFacts>& accounts, const SDeal& deal, const SJudgement& judgement,
                     const SOrderRates& rates) {
  const STotals& totals = judgement.m_totals;
  const std::vector<SAccountUse> use = accountUse(lines, market, deal, accounts.size());
  const std::string buys = sideText(lines, deal, ESide::Buy, totals.m_dBuy);
  const std::string sells = sideText(lines, deal, ESide::Sell, totals.m_dSell);
  if (buys.empty() && sells.empty()) return "没有可发送的行";
  std::string text = "将" + buys + (buys.empty() || sells.empty() ? "" : "、") + sells;
  text += "，到" + accountsText(accounts, use);
  text += "，费用约 " + amountText(totals.m_dBuyFees + totals.m_dSellFees);
  text += "，" + ordersText(use, totals.m_nOrders, rates.m_nPerSecond);
  std::vector<std::string> near = dayTexts(accounts, use, rates);
  near.insert(near.end(), judgement.m_near.begin(), judgement.m_near.end());
  return text + (near.empty() ? "" : "；接近上限：" + joined(near));
}

}  // namespace draft
