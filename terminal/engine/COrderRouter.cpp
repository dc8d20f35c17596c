#include "COrderRouter.h"

#include <utility>

namespace engine {
namespace {

/// What is only late has come by then.
constexpr std::int64_t ASK_AGAIN_MSEC = 1000;

}  // namespace

std::uint64_t orderLuck(std::string_view owner, int index) {
  CStateHash luck;
  luck.addText(owner);
  luck.add(static_cast<std::uint64_t>(index));
  return luck.value();
}

COrderRouter::COrderRouter(exchange::IMarket& market, SOrderLimits limits, const exchange::SFeeRates& fees,
                           std::int64_t dayStart)
    : m_market(market), m_nDayStart(dayStart), m_rates(limits), m_ledger(fees) {
  m_market.setListener(this);
}

COrderRouter::~COrderRouter() { m_market.setListener(nullptr); }

void COrderRouter::advanceTo(std::int64_t msec) {
  m_nNow = msec;
  askAgain();
  for (int account = 0; account < m_rates.accountCount(); ++account) sendCancels(account);
}

void COrderRouter::askAgain() {
  if (m_reports.next() > m_market.newestReport()) {
    m_nAsked = -1;
  } else if (m_nAsked < 0) {
    m_nAsked = m_nNow;
  } else if (m_nNow - m_nAsked >= ASK_AGAIN_MSEC) {
    m_nAsked = m_nNow;
    m_market.repeatReports(m_reports.next());
  }
}

/// A buy pays its limit at most; what is sold may bring the day's highest price.
double COrderRouter::worstPrice(const exchange::SMarketOrder& order) const {
  if (order.m_bBuy && !order.m_bMarketPrice) return order.m_dPrice;
  const exchange::SRules& rules = m_market.rules(order.m_nInstrument);
  return rules.toPrice(rules.m_nLimitUp);
}

void COrderRouter::submit(IOrderOwner& owner, int index, const exchange::SMarketOrder& order,
                          const ksservice::CStockInfo& stock, int operation) {
  const int account = m_rates.numberOf(owner.accountKey());
  m_orders.push_back({&owner, index, account});
  if (order.m_nInstrument < 0) {
    m_orders.back().m_bOver = true;
    owner.onRejected(index, {"证券未上市", true}, seconds(m_nNow));
    return;
  }
  const SLedgerOrder asks{stock, operation, order.m_nQuantity, worstPrice(order)};
  if (const auto refusal = m_ledger.take(order.m_nId, owner.accountKey(), asks)) {
    m_orders.back().m_bOver = true;
    owner.onRejected(index, *refusal, seconds(m_nNow));
    return;
  }
  m_rates.count(account, m_nNow);
  m_history.add(order.m_nId);
  m_history.add(static_cast<std::uint64_t>(order.m_nInstrument) * 2 + (order.m_bBuy ? 1 : 0));
  m_history.add(static_cast<std::uint64_t>(order.m_nQuantity));
  m_history.addDouble(order.m_dPrice);
  m_market.submit(order);
}

void COrderRouter::addTo(CStateHash& hash) const {
  hash.add(m_history.value());
  hash.add(m_orders.size());
  m_rates.addTo(hash);
  m_ledger.addTo(hash);
}

void COrderRouter::cancel(std::uint64_t id) {
  SOrderRef& order = ref(id);
  if (order.m_bOver || std::exchange(order.m_bCancelling, true)) return;
  m_rates.addCancel(order.m_nAccount, id);
  sendCancels(order.m_nAccount);
}

void COrderRouter::sendCancels(int account) {
  while (const std::uint64_t id = m_rates.takeCancel(account, m_nNow)) {
    if (ref(id).m_bOver) continue;
    m_rates.count(account, m_nNow);
    m_history.add(id);
    m_market.cancel(id);
  }
}

/// Before its owner hears of it, who may send an order for which it makes room.
void COrderRouter::enter(const exchange::SReport& report) {
  if (report.m_kind == exchange::EReport::Filled) {
    m_ledger.fill(report.m_nId, report.m_nQuantity, report.m_dAmount);
  } else if (report.m_kind == exchange::EReport::Rejected || report.m_kind == exchange::EReport::Cancelled) {
    m_ledger.end(report.m_nId);
  }
}

void COrderRouter::onReport(const exchange::SReport& report) {
  m_reports.add(report, [this](const exchange::SReport& next) { take(next); });
}

void COrderRouter::take(const exchange::SReport& report) {
  m_history.add(report.m_nId);
  m_history.add(static_cast<std::uint64_t>(report.m_kind));
  m_history.add(static_cast<std::uint64_t>(report.m_nQuantity));
  m_history.addDouble(report.m_dPrice);
  m_history.add(static_cast<std::uint64_t>(report.m_nTime));
  enter(report);
  SOrderRef& order = ref(report.m_nId);
  if (report.m_kind == exchange::EReport::CancelRejected) {
    // Whether it has ended its other reports say; until then it may be cancelled again.
    order.m_bCancelling = false;
  } else {
    order.m_bOver = report.m_nLeft == 0 || report.m_kind == exchange::EReport::Rejected;
  }
  // An owner that is told may send an order, which moves the list.
  IOrderOwner& owner = *order.m_pOwner;
  const int index = order.m_nOrder;
  switch (report.m_kind) {
    case exchange::EReport::Accepted:
      return owner.onAccepted(index);
    case exchange::EReport::Rejected:
      return owner.onRejected(index, {report.m_pMessage, report.m_bLasting}, seconds(report.m_nTime));
    case exchange::EReport::Filled:
      return owner.onFilled(index, report.m_nQuantity, report.m_dAmount, seconds(report.m_nTime));
    case exchange::EReport::Cancelled:
      return owner.onCancelled(index, report.m_pMessage, seconds(report.m_nTime));
    case exchange::EReport::CancelRejected:
      return owner.onCancelRejected(index, report.m_pMessage);
  }
}

}  // namespace engine
