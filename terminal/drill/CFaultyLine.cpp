#include "CFaultyLine.h"

#include <algorithm>
#include <utility>

namespace drill {
namespace {

using exchange::EReport;
using exchange::SReport;

constexpr int SECOND = 1000;

bool ends(const SReport& report) {
  return report.m_nLeft == 0 && report.m_kind != EReport::Accepted && report.m_kind != EReport::CancelRejected;
}

}  // namespace

CFaultyLine::CFaultyLine(exchange::CExchange& exchange, const SDrillPlan& plan, SReportCard& card)
    : m_exchange(exchange), m_plan(plan), m_card(card), m_draw(plan.draw(CDraw::Line)), m_nNow(plan.startMsec()) {
  m_exchange.setListener(this);
}

bool CFaultyLine::happens(EFault fault, int percent) {
  return m_plan.strikes(fault, m_draw.chance(percent) && !m_bCalm, m_card);
}

void CFaultyLine::put(Queue& queue, std::uint64_t number, std::int64_t delay) {
  queue.push({m_nNow + delay, ++m_nPut, number});
}

// From the engine

void CFaultyLine::count() {
  m_recent.push_back(m_nNow);
  while (m_recent.front() <= m_nNow - SECOND) m_recent.pop_front();
  const int accounts = m_plan.accountCount();
  const std::string sent = std::to_string(m_recent.size()) + " orders and cancels in a second, ";
  if (static_cast<int>(m_recent.size()) > accounts * m_plan.m_limits.m_nPerSecond) {
    m_strRateFault = sent + std::to_string(accounts) + " accounts of " + std::to_string(m_plan.m_limits.m_nPerSecond);
  }
}

void CFaultyLine::submit(const exchange::SMarketOrder& order) {
  count();
  // Beyond the limit of the day nothing but cancels.
  if (++m_nOfDay > static_cast<long>(m_plan.accountCount()) * m_plan.m_limits.m_nPerDay) {
    m_strRateFault = std::to_string(m_nOfDay) + " orders on a day";
  }
  ++m_card.m_nOrders;
  exchange::SMarketOrder sent = order;
  if (m_plan.m_ePlant == EP_GreedyOrder && m_draw.chance(20)) sent.m_nQuantity += 1000;
  m_orders[order.m_nId] = {sent};
  if (!happens(EF_RefusedOrder, 2)) return m_exchange.submit(sent);
  SReport refused;
  refused.m_nId = order.m_nId;
  refused.m_kind = EReport::Rejected;
  refused.m_nTime = m_nNow;
  refused.m_pMessage = "柜台拒绝";
  m_orders[order.m_nId].m_bOver = true;
  send(refused);
}

void CFaultyLine::cancel(std::uint64_t id) {
  count();
  const bool late = happens(EF_LateCancel, 40);
  m_orders[id].m_bCancelOut = true;
  put(m_cancels, id, late ? m_draw.between(100, 5000) : 0);
}

void CFaultyLine::repeatReports(std::uint64_t from) {
  for (std::uint64_t number = from; number <= m_sent.size(); ++number) dispatch(number);
}

// From the exchange

void CFaultyLine::onReport(const SReport& report) {
  SOrder& order = m_orders.at(report.m_nId);
  if (report.m_kind == EReport::Filled) {
    order.m_nTraded += report.m_nQuantity;
    order.m_dAmount += report.m_dAmount;
    if (order.m_bCancelOut) ++m_card.m_faults[EF_FillBeforeCancel];
  }
  order.m_bOver = order.m_bOver || ends(report) || report.m_kind == EReport::Rejected;
  send(report);
  if (m_plan.m_ePlant == EP_DoubledFill && report.m_kind == EReport::Filled && m_draw.chance(5)) send(report);
}

void CFaultyLine::send(SReport report) {
  // As if a fill had never been: the numbers have no gap by which the engine could know.
  if (m_plan.m_ePlant == EP_LostFill && report.m_kind == EReport::Filled && !std::exchange(m_bLostFill, true)) return;
  report.m_nNumber = m_sent.size() + 1;
  m_sent.push_back(report);
  m_arrived.push_back(false);
  dispatch(report.m_nNumber);
}

void CFaultyLine::dispatch(std::uint64_t number) {
  if (happens(EF_LostReport, 8)) return;
  const bool late = happens(EF_LateReport, 15);
  put(m_reports, number, late ? m_draw.between(100, 4000) : 0);
  if (happens(EF_DoubledReport, 8)) put(m_reports, number, m_draw.between(0, 3000));
}

void CFaultyLine::advanceTo(std::int64_t msec) {
  m_nNow = msec;
  while (!m_cancels.empty() && m_cancels.top().m_nTime <= m_nNow) {
    const std::uint64_t id = m_cancels.top().m_nNumber;
    m_cancels.pop();
    m_orders[id].m_bCancelOut = false;
    m_exchange.cancel(id);
  }
  while (!m_reports.empty() && m_reports.top().m_nTime <= m_nNow) {
    const std::size_t place = m_reports.top().m_nNumber - 1;
    m_reports.pop();
    if (!m_arrived[place]) {
      ++m_nArrived;
      m_card.m_faults[EF_ReorderedReport] += place < m_nNewest ? 1 : 0;
      m_nNewest = std::max(m_nNewest, place);
    }
    m_arrived[place] = true;
    if (m_pListener) m_pListener->onReport(m_sent[place]);
  }
}

MarketTruth CFaultyLine::truth() const {
  MarketTruth truth;
  for (const auto& [id, order] : m_orders) {
    SMarketTruth& side = truth[{order.m_order.m_nInstrument, order.m_order.m_bBuy}];
    side.m_nTraded += order.m_nTraded;
    side.m_nOpen += order.m_bOver ? 0 : order.m_order.m_nQuantity - order.m_nTraded;
    side.m_dAmount += order.m_dAmount;
    if (order.m_nTraded == 0) continue;
    const exchange::EKind kind = m_exchange.instruments()[static_cast<std::size_t>(order.m_order.m_nInstrument)].m_kind;
    side.m_dFees += exchange::feesOf(m_plan.m_inputs.m_fees, kind, order.m_order.m_bBuy, order.m_dAmount);
  }
  return truth;
}

}  // namespace drill
