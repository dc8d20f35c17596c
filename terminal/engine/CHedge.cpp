#include "CHedge.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cmath>
#include <limits>
#include <utility>

namespace engine {

using namespace ksservice;

int hedgeLots(double amount, double ratio, double price, double multiplier) {
  const double lot = price * multiplier;
  if (!(lot > 0) || !(amount > 0) || !(ratio > 0)) return 0;
  constexpr double MAX_LOTS = std::numeric_limits<int>::max();
  return static_cast<int>(std::llround(std::min(amount * ratio / lot, MAX_LOTS)));
}

CHedge::CHedge(SHedgeIdentity identity, const CBasketHedgeParam& param)
    : m_identity(std::move(identity)),
      m_param(param),
      m_strKey(CTaskDetail::genKey(m_identity.m_nTaskId, 1)),
      m_orders(m_strKey) {}

void CHedge::setParam(const CBasketHedgeParam& param) {
  m_param.m_dRatio = param.m_dRatio;
  m_param.m_nOrderLots = param.m_nOrderLots;
  m_bWarned = m_bWarned && param.m_nOrderLimit <= m_param.m_nOrderLimit;
  m_param.m_nOrderLimit = param.m_nOrderLimit;
  m_param.m_nPriceType = param.m_nPriceType;
}

bool CHedge::resume() {
  if (m_eMode != EMode::Paused && m_eMode != EMode::AtLimit) return false;
  if (m_eMode == EMode::AtLimit) {
    m_nUsed = 0;
    m_bWarned = false;
  }
  m_eMode = EMode::Running;
  return m_bDirty = true;
}

bool CHedge::pause() {
  if (m_eMode != EMode::Running) return false;
  m_eMode = EMode::Paused;
  return m_bDirty = true;
}

bool CHedge::stop() {
  if (m_eMode == EMode::Stopped) return false;
  m_eMode = EMode::Stopped;
  return m_bDirty = true;
}

bool CHedge::raiseTarget(int lots) {
  if (lots <= m_nTarget) return false;
  m_nTarget = lots;
  return m_bDirty = true;
}

int CHedge::nextOrder() const {
  if (m_eMode != EMode::Running || m_nUsed >= m_param.m_nOrderLimit) return 0;
  const std::int64_t room = std::max(1, m_param.m_nOrderLots) - m_orders.workingVolume();
  return static_cast<int>(std::max<std::int64_t>(0, std::min(missing(), room)));
}

bool CHedge::checkLimit(bool dayOver) {
  const bool usedUp = dayOver || m_nUsed >= m_param.m_nOrderLimit;
  if (m_eMode != EMode::Running || !usedUp || missing() <= 0 || hasWorkingOrder()) return false;
  m_eMode = EMode::AtLimit;
  return m_bDirty = true;
}

bool CHedge::takeWarning() {
  // While a fifth is left the user still has time.
  const bool near = m_nUsed > 0 && m_nUsed >= m_param.m_nOrderLimit - (m_param.m_nOrderLimit + 4LL) / 5;
  if (m_bWarned || m_eMode != EMode::Running || !near) return false;
  return m_bWarned = true;
}

int CHedge::send(std::uint64_t marketId, int lots, double price, std::int64_t msec, int seconds) {
  ++m_nUsed;
  m_sent.push_back(msec);
  m_bDirty = true;
  if (m_nStartTime == UNSET_INT) m_nStartTime = seconds;
  return m_orders.add({marketId, m_identity.m_stock, m_param.m_nOperation, lots, price, seconds});
}

std::uint64_t CHedge::takeStale(std::int64_t since, double price) {
  if (!hasWorkingOrder()) return 0;
  for (std::size_t i = 0; i < m_sent.size(); ++i) {
    const COrderSheet::SOrder& order = m_orders.orders()[i];
    if (order.m_info.m_bCompleted || m_sent[i] > since || order.m_info.m_dPrice == price) continue;
    m_sent[i] = CANCELLING;
    return order.m_nMarketId;
  }
  return 0;
}

bool CHedge::wasRejectedAfter(std::int64_t msec) const {
  if (m_orders.isEmpty()) return false;
  return m_orders.orders().back().m_bRejected && m_sent.back() > msec;
}

void CHedge::onAccepted(int order) {
  m_orders.accept(order);
  m_strShortage.clear();
  m_bDirty = true;
}

void CHedge::onRejected(int order, const SRefusal& refusal, int seconds) {
  m_orders.reject(order, refusal.m_strText);
  m_strShortage = refusal.m_bBroker ? refusal.m_strText : std::string();
  orderEnded(seconds);
}

void CHedge::onFilled(int order, int quantity, double amount, int seconds) {
  m_orders.fill(order, quantity, amount, seconds);
  orderEnded(seconds);
}

void CHedge::onCancelled(int order, const std::string& message, int seconds) {
  m_orders.cancel(order, message);
  orderEnded(seconds);
}

void CHedge::orderEnded(int seconds) {
  m_nEndTime = seconds;
  m_bDirty = true;
}

bool CHedge::setState(int state) {
  if (state == m_nState) return false;
  m_nState = state;
  return m_bDirty = true;
}

CCodeOrderParam CHedge::makeParam() const {
  CCodeOrderParam param;
  param.m_pAccount = m_identity.m_pAccount;
  param.m_stock = m_identity.m_stock;
  param.m_nOperation = m_param.m_nOperation;
  param.m_nPriceType = m_param.m_nPriceType;
  param.m_nVolume = m_nTarget;
  return param;
}

int CHedge::status() const {
  if (m_eMode == EMode::Stopped) return ETS_Cancelled;
  if (m_nState == TC::EHS_Running) return ETS_Running;
  return missing() <= 0 && !hasWorkingOrder() ? ETS_Finished : ETS_Paused;
}

desk::SPublication CHedge::publish() {
  desk::SPublication publication;
  auto detail = boost::make_shared<CTaskDetail>();
  detail->m_strKey = m_strKey;
  detail->m_nTaskId = m_identity.m_nTaskId;
  detail->m_nNumber = 1;
  detail->m_nStatus = status();
  detail->m_nStartTime = m_nStartTime;
  if (detail->m_nStatus != ETS_Running) detail->m_nEndTime = m_nEndTime;
  detail->m_pCommand = m_identity.m_pCommand;
  detail->m_params = {makeParam()};
  m_orders.publish(*detail, publication);
  publication.m_pDetail = std::move(detail);
  m_bDirty = false;
  return publication;
}

}  // namespace engine
