#include "docks/BasketNeeds.h"

#include <algorithm>

#include "docks/TaskCourse.h"
#include "ksservice/Operations.h"

namespace app {
namespace {

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
  std::map<std::string, SKept> kept;
  std::map<std::string, SBasketNeed> needs;
  for (const ksservice::CTaskDetailPtr& detail : desk.taskDetails()) {
    const bool ended = detail->m_nEndTime != ksservice::UNSET_INT;
    if (ended || !detail->m_pCommand || detail->m_params.empty() || !detail->m_params[0].m_pAccount) continue;
    if (detail->m_pCommand->m_nBasketType == ksservice::ECBT_Hedge) continue;
    const auto known = m_kept.find(detail->getKey());
    const bool same = known != m_kept.end() && known->second.m_pDetail == detail && !detail->m_bServerTask;
    SKept& now = kept[detail->getKey()];
    now = same ? known->second
               : SKept{detail, detail->m_params[0].m_pAccount->getKey(), needOf(*detail, desk, blotter, fees)};
    SBasketNeed& sum = needs[now.m_strAccount];
    sum.m_dBuys += now.m_need.m_dBuys;
    sum.m_dSells += now.m_need.m_dSells;
  }
  m_kept.swap(kept);
  return needs;
}

}  // namespace app
