#include "CSubTask.h"

#include <boost/make_shared.hpp>
#include <utility>

#include "utils/Keys.h"

namespace engine {

using namespace ksservice;

CSubTask::CSubTask(SIdentity identity, std::vector<SOrderLine> lines)
    : m_identity(std::move(identity)),
      m_strKey(CTaskDetail::genKey(m_identity.m_nTaskId, m_identity.m_nNumber)),
      m_lines(std::move(lines)),
      m_params(makeParams()),
      m_orders(m_strKey) {
  m_orders.reserve(m_lines.size());
}

std::vector<CCodeOrderParam> CSubTask::makeParams() const {
  std::vector<CCodeOrderParam> params;
  params.reserve(m_lines.size());
  for (const SOrderLine& line : m_lines) {
    CCodeOrderParam param;
    param.m_pAccount = m_identity.m_pAccount;
    param.m_nOperation = line.m_nOperation;
    param.m_nOrderType = m_identity.m_pCommand->m_nOrderType;
    param.m_stock = line.m_stock;
    param.m_nPriceType = line.m_nPriceType;
    param.m_dPrice = line.m_dReference;
    param.m_nVolume = line.m_nQuantity;
    params.push_back(std::move(param));
  }
  return params;
}

int CSubTask::status() const {
  if (m_bDropped) return ETS_Dropped;
  if (isEnded()) return m_nEndStatus;
  return m_bPaused ? ETS_Paused : ETS_Running;
}

int CSubTask::claimed(std::size_t line) const {
  int claimed = 0;
  if (line >= m_nSent && !m_bStopped) claimed = m_lines[line].m_nQuantity - (line == m_nSent ? m_nSentOfNext : 0);
  if (line >= m_firstOrders.size()) return claimed;
  const bool last = line + 1 == m_firstOrders.size();
  const auto end = last ? m_orders.orders().size() : static_cast<std::size_t>(m_firstOrders[line + 1]);
  for (auto order = static_cast<std::size_t>(m_firstOrders[line]); order < end; ++order) {
    const COrderInfo& info = m_orders.orders()[order].m_info;
    claimed += info.m_bCompleted ? info.m_nTradedVolume : info.m_nVolume;
  }
  return claimed;
}

CSubTask::SOrderDue CSubTask::nextOrder() const {
  const SOrderLine& line = m_lines[m_nSent];
  return {static_cast<int>(m_nSent), line.inOneOrder(line.m_nQuantity - m_nSentOfNext)};
}

void CSubTask::onSent(int order, const SOrderDue& due) {
  if (m_nSentOfNext == 0) m_firstOrders.push_back(order);
  m_nSentOfNext += due.m_nQuantity;
  if (m_nSentOfNext < m_lines[m_nSent].m_nQuantity) return;
  m_nSentOfNext = 0;
  ++m_nSent;
}

int CSubTask::send(std::uint64_t marketId, double price, int seconds) {
  const SOrderDue due = nextOrder();
  const SOrderLine& line = m_lines[static_cast<std::size_t>(due.m_nLine)];
  if (m_nStartTime == UNSET_INT) m_nStartTime = seconds;
  m_bDirty = true;
  const int order = m_orders.add({marketId, line.m_stock, line.m_nOperation, due.m_nQuantity, price, seconds});
  onSent(order, due);
  return order;
}

std::uint64_t CSubTask::giveUp(const std::string& orderKey) {
  const int order = m_orders.find(orderKey);
  if (order < 0) return 0;
  const COrderSheet::SOrder& known = m_orders.orders()[static_cast<std::size_t>(order)];
  if (known.m_info.m_bCompleted) return 0;
  onGivenUp(order);
  return known.m_nMarketId;
}

void CSubTask::onAccepted(int order) {
  m_orders.accept(order);
  m_bDirty = true;
}

void CSubTask::onRejected(int order, const SRefusal& refusal, int seconds) {
  m_orders.reject(order, refusal.m_strText);
  noteOrder(CIncidents::EKind::Refused, refusal.reason(), order);
  m_bDirty = true;
  endIfDone(seconds);
}

void CSubTask::onFilled(int order, int quantity, double amount, int seconds) {
  m_orders.fill(order, quantity, amount, seconds);
  m_bDirty = true;
  endIfDone(seconds);
}

void CSubTask::onCancelled(int order, const std::string& message, int seconds) {
  m_orders.cancel(order, message);
  if (!message.empty()) noteOrder(CIncidents::EKind::Cancelled, message, order);
  m_bDirty = true;
  endIfDone(seconds);
}

/// Of the cancels by which a task ends, and of what the market will not cancel just now; a schedule that replaces an
/// order finds it filled as a matter of course.
void CSubTask::onCancelRejected(int order, const std::string& message) {
  const bool open = !m_orders.orders()[static_cast<std::size_t>(order)].m_info.m_bCompleted;
  if (open || m_bCancelling) noteOrder(CIncidents::EKind::LateCancel, message, order);
  if (!open || !m_bCancelledByUser || m_bDropped) return;
  // The user may ask again, or let the task go on: until then it rests.
  m_bStopped = m_bCancelling = m_bCancelledByUser = false;
  m_bPaused = m_bDirty = true;
}

void CSubTask::noteOrder(CIncidents::EKind kind, const std::string& reason, int order) {
  const COrderInfo& info = m_orders.orders()[static_cast<std::size_t>(order)].m_info;
  note(kind, reason, {info.m_strMarket, info.m_strCode, {}});
}

void CSubTask::note(CIncidents::EKind kind, const std::string& reason, const CStockInfo& stock) {
  m_incidents.add(kind, reason, utils::mavStockKey(stock.m_strMarket, stock.m_strCode));
}

void CSubTask::endIfDone(int seconds) {
  if (isEnded() || m_orders.workingCount() > 0 || hasUnsent()) return;
  m_nEndStatus = endStatus();
  m_nEndTime = seconds;
  m_bDirty = true;
}

std::string CSubTask::message() const {
  const std::string incidents = m_incidents.text();
  return m_strMessage + (m_strMessage.empty() || incidents.empty() ? "" : "；") + incidents;
}

/// "Finished" only when nothing is left; a remainder, whatever it comes from, leaves the task "cancelled", so that it
/// can be patched. "Execution error" is a task of which the market took nothing, or could take nothing.
int CSubTask::endStatus() const {
  if (isAllFilled()) return ETS_Finished;
  const bool noneTaken = m_orders.rejectedCount() == static_cast<int>(m_orders.orders().size());
  return isAllSent() && noneTaken ? ETS_ExecutionError : ETS_Cancelled;
}

bool CSubTask::pause() {
  if (isEnded() || m_bPaused || m_bStopped) return false;
  m_bPaused = true;
  m_bDirty = true;
  return true;
}

bool CSubTask::resume() {
  if (isEnded() || !m_bPaused || m_bStopped) return false;
  m_bPaused = false;
  m_bDirty = true;
  return true;
}

bool CSubTask::halt(const std::string& message, int seconds) {
  if (isEnded() || m_bStopped) return false;
  m_bStopped = true;
  m_strMessage = message;
  m_bDirty = true;
  endIfDone(seconds);
  return true;
}

bool CSubTask::stop(const std::string& message, int seconds) {
  if (isEnded() || m_bCancelling) return false;
  m_bCancelling = true;
  m_bCancelledByUser = message.empty();
  halt(message, seconds);
  return true;
}

bool CSubTask::drop(int seconds) {
  if (m_bDropped || m_nEndStatus == ETS_Finished) return false;
  stop(std::string(), seconds);
  m_bDropped = true;
  if (m_nEndTime == UNSET_INT) m_nEndTime = seconds;
  m_bDirty = true;
  return true;
}

desk::SPublication CSubTask::publish() {
  desk::SPublication publication;
  auto detail = boost::make_shared<CTaskDetail>();
  detail->m_strKey = m_strKey;
  detail->m_nTaskId = taskId();
  detail->m_nNumber = m_identity.m_nNumber;
  detail->m_nStatus = status();
  detail->m_strMessage = message();
  detail->m_nStartTime = m_nStartTime;
  detail->m_nEndTime = m_nEndTime;
  detail->m_pCommand = m_identity.m_pCommand;
  detail->m_params = m_params;
  publication.m_bSameParams = m_nPublishedStatus != 0;
  m_orders.publish(*detail, publication);
  publication.m_pDetail = std::move(detail);
  m_nPublishedStatus = status();
  m_bDirty = false;
  return publication;
}

}  // namespace engine
