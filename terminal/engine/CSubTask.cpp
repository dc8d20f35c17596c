#include "CSubTask.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <utility>

namespace engine {

using namespace ksservice;

CSubTask::CSubTask(SIdentity identity, std::vector<SOrderLine> lines)
    : m_identity(std::move(identity)),
      m_strKey(CTaskDetail::genKey(m_identity.m_pCommand->m_nTaskId, m_identity.m_nNumber)),
      m_lines(std::move(lines)),
      m_params(makeParams()) {
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
    param.m_nPriceType = EPT_Limit;
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

int CSubTask::send(std::uint64_t marketId, double price, int seconds) {
  const SOrderLine& line = nextLine();
  const int index = static_cast<int>(m_orders.size());
  SOrder order;
  order.m_nMarketId = marketId;
  order.m_info.m_strKey = m_strKey + "-" + std::to_string(index + 1);
  order.m_info.m_tag = CMavOrderTag(order.m_info.m_strKey);
  order.m_info.m_strMarket = line.m_stock.m_strMarket;
  order.m_info.m_strCode = line.m_stock.m_strCode;
  order.m_info.m_nOperation = line.m_nOperation;
  order.m_info.m_nVolume = line.m_nQuantity;
  order.m_info.m_dPrice = price;
  m_orders.push_back(std::move(order));
  ++m_nSent;
  ++m_nWorking;
  if (m_nStartTime == UNSET_INT) m_nStartTime = seconds;
  m_bDirty = true;
  return index;
}

std::vector<std::uint64_t> CSubTask::workingOrders() const {
  std::vector<std::uint64_t> working;
  for (const SOrder& order : m_orders) {
    if (!order.m_info.m_bCompleted) working.push_back(order.m_nMarketId);
  }
  return working;
}

CSubTask::SOrder& CSubTask::touch(int order) {
  m_bDirty = true;
  SOrder& touched = m_orders[static_cast<std::size_t>(order)];
  touched.m_bDirty = true;
  return touched;
}

void CSubTask::onAccepted(int order) {
  SOrder& accepted = touch(order);
  accepted.m_bAccepted = true;
  accepted.m_bDetailDirty = true;
}

void CSubTask::onRejected(int order, const std::string& message, int seconds) {
  SOrder& rejected = touch(order);
  rejected.m_bRejected = true;
  rejected.m_info.m_strMessage = message;
  rejected.m_info.m_bHasMessage = true;
  end(rejected, seconds);
}

void CSubTask::onFilled(int order, int quantity, double amount, int seconds) {
  SOrder& filled = touch(order);
  filled.m_info.m_nTradedVolume += quantity;
  filled.m_info.m_dTradedAmount += amount;
  filled.m_bDetailDirty = true;
  if (filled.m_info.m_nTradedVolume >= filled.m_info.m_nVolume) end(filled, seconds);
}

void CSubTask::onCancelled(int order, int seconds) {
  SOrder& cancelled = touch(order);
  cancelled.m_bCancelled = true;
  cancelled.m_bDetailDirty = cancelled.m_bAccepted;
  end(cancelled, seconds);
}

void CSubTask::end(SOrder& order, int seconds) {
  if (order.m_info.m_bCompleted) return;
  order.m_info.m_bCompleted = true;
  --m_nWorking;
  endIfDone(seconds);
}

void CSubTask::endIfDone(int seconds) {
  if (isEnded() || m_nWorking > 0 || hasUnsent()) return;
  m_nEndStatus = endStatus();
  m_nEndTime = seconds;
  if (m_strMessage.empty()) m_strMessage = rejectionText();
  m_bDirty = true;
}

/// What a task tells of its rejected orders: the market's own words when it took none.
std::string CSubTask::rejectionText() const {
  const auto rejected = [](const SOrder& order) { return order.m_bRejected; };
  const auto count = std::count_if(m_orders.begin(), m_orders.end(), rejected);
  if (count == 0) return {};
  if (m_nEndStatus != ETS_ExecutionError) return std::to_string(count) + " 笔委托被拒绝";
  return m_orders.front().m_info.m_strMessage;
}

/// "Finished" only when nothing is left; a remainder, whatever it comes from, leaves the task "cancelled", so that it
/// can be patched. "Execution error" is a task of which the market took nothing.
int CSubTask::endStatus() const {
  const bool allSent = m_nSent == m_lines.size();
  const auto filled = [](const SOrder& order) { return order.m_info.m_nTradedVolume >= order.m_info.m_nVolume; };
  if (allSent && std::all_of(m_orders.begin(), m_orders.end(), filled)) return ETS_Finished;
  const auto rejected = [](const SOrder& order) { return order.m_bRejected; };
  const bool noneTaken = !m_orders.empty() && std::all_of(m_orders.begin(), m_orders.end(), rejected);
  return allSent && noneTaken ? ETS_ExecutionError : ETS_Cancelled;
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

bool CSubTask::stop(const std::string& message, int seconds) {
  if (isEnded() || m_bStopped) return false;
  m_bStopped = true;
  m_strMessage = message;
  m_bDirty = true;
  endIfDone(seconds);
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

COrderDetailPtr CSubTask::makeOrderDetail(const SOrder& order) {
  auto detail = boost::make_shared<COrderDetail>();
  detail->m_strKey = order.m_info.m_tag.text();
  detail->m_strMarket = order.m_info.m_strMarket;
  detail->m_strCode = order.m_info.m_strCode;
  detail->m_nTradedVolume = order.m_info.m_nTradedVolume;
  detail->m_dTradedAmount = order.m_info.m_dTradedAmount;
  detail->m_bCancelled = order.m_bCancelled;
  return detail;
}

desk::SPublication CSubTask::publish() {
  desk::SPublication publication;
  auto detail = boost::make_shared<CTaskDetail>();
  detail->m_strKey = m_strKey;
  detail->m_nTaskId = taskId();
  detail->m_nNumber = m_identity.m_nNumber;
  detail->m_nStatus = status();
  detail->m_strMessage = m_strMessage;
  detail->m_nStartTime = m_nStartTime;
  detail->m_nEndTime = m_nEndTime;
  detail->m_pCommand = m_identity.m_pCommand;
  detail->m_params = m_params;
  detail->m_orders.reserve(m_orders.size());
  for (SOrder& order : m_orders) {
    if (order.m_bDirty) order.m_pPublished = boost::make_shared<COrderInfo>(order.m_info);
    if (order.m_bDetailDirty) publication.m_orderDetails.emplace_back(order.m_info.m_tag, makeOrderDetail(order));
    order.m_bDirty = order.m_bDetailDirty = false;
    detail->m_orders.push_back(order.m_pPublished);
  }
  publication.m_pDetail = std::move(detail);
  m_nPublishedStatus = status();
  m_bDirty = false;
  return publication;
}

}  // namespace engine
