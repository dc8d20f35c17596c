#include "docks/BasketNeeds.h"

#include <algorithm>

#include "docks/TaskCourse.h"
#include "ksservice/Operations.h"

namespace app {
namespace {

/// So that no look takes long: a running day changes each detail each second.
constexpr std::size_t LINES_AT_ONCE = 20000;

bool opens(int operation) { return operation != ksservice::EOT_BuyClose && operation != ksservice::EOT_SellClose; }

/// What futures take of an account when they are opened, on either side.
double openingNeed(const exchange::SFeeRates& fees, double amount) {
  return amount * fees.m_dMargin + exchange::feesOf(fees, exchange::EKind::IndexFuture, true, amount);
}

SBasketNeed needOf(const ksservice::CTaskDetail& detail, const desk::CDesk& desk, const CBlotter& blotter,
                   const exchange::SFeeRates& fees) {
  const bool again = ksservice::DataHelper::isAlgoOrderType(detail.m_pCommand->m_nOrderType);
  std::map<std::string, std::int64_t> ordered = blotter.ordered(detail.getKey(), again);
  SBasketNeed need;
  for (const ksservice::CCodeOrderParam& param : detail.m_params) {
    const auto& [market, code, name] = param.m_stock;
    const bool buy = ksservice::DataHelper::isBuy(param.m_nOperation);
    // Two lines of one security share what was ordered of it.
    std::int64_t& done = ordered[lineKey(market, code, buy)];
    const std::int64_t of = std::min<std::int64_t>(done, param.m_nVolume);
    done -= of;
    const std::int64_t left = param.m_nVolume - of;
    if (left <= 0) continue;
    TC::CQuote quote;
    const double price = desk.quote(market, code, quote) && quote.m_dLast > 0 ? quote.m_dLast : param.m_dPrice;
    const double amount = price * static_cast<double>(left);
    if (exchange::kindOf(market) == exchange::EKind::IndexFuture) {
      const auto info = desk.codeInfo(market, code);
      if (opens(param.m_nOperation)) need.m_dBuys += openingNeed(fees, amount * (info ? info->m_dMultiplier : 1));
    } else if (buy) {
      need.m_dBuys += amount + exchange::feesOf(fees, exchange::EKind::Share, true, amount);
    } else {
      need.m_dSells += amount;
    }
  }
  return need;
}

}  // namespace

std::map<std::string, SBasketNeed> CBasketNeeds::of(const desk::CDesk& desk, const CBlotter& blotter,
                                                    const exchange::SFeeRates& fees) {
  ++m_nTurn;
  std::map<std::string, SKept> kept;
  std::vector<std::pair<SKept*, ksservice::CTaskDetailPtr>> due;
  for (const ksservice::CTaskDetailPtr& detail : desk.taskDetails()) {
    const bool ended = detail->m_nEndTime != ksservice::UNSET_INT;
    if (ended || !detail->m_pCommand || detail->m_params.empty() || !detail->m_params[0].m_pAccount) continue;
    if (detail->m_pCommand->m_nBasketType == ksservice::ECBT_Hedge) continue;
    SKept& now = kept[detail->getKey()];
    const auto known = m_kept.find(detail->getKey());
    if (known != m_kept.end()) now = known->second;
    now.m_strAccount = detail->m_params[0].m_pAccount->getKey();
    if (now.m_pDetail != detail || detail->m_bServerTask) due.emplace_back(&now, detail);
  }
  std::stable_sort(due.begin(), due.end(),
                   [](const auto& a, const auto& b) { return a.first->m_nTurn < b.first->m_nTurn; });
  std::size_t lines = 0;
  for (const auto& [now, detail] : due) {
    if (lines >= LINES_AT_ONCE) break;
    lines += detail->m_params.size();
    *now = {detail, now->m_strAccount, needOf(*detail, desk, blotter, fees), m_nTurn};
  }
  std::map<std::string, SBasketNeed> needs;
  for (const auto& [key, each] : kept) {
    SBasketNeed& sum = needs[each.m_strAccount];
    sum.m_dBuys += each.m_need.m_dBuys;
    sum.m_dSells += each.m_need.m_dSells;
  }
  m_kept.swap(kept);
  return needs;
}

}  // namespace app
