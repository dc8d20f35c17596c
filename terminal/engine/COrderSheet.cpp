#include "COrderSheet.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <charconv>
#include <system_error>
#include <utility>

namespace engine {

using namespace ksservice;

int COrderSheet::add(const SNewOrder& order) {
  const int index = static_cast<int>(m_orders.size());
  SOrder added;
  added.m_nMarketId = order.m_nMarketId;
  added.m_info.m_strKey = m_strPrefix + "-" + std::to_string(index + 1);
  added.m_info.m_tag = CMavOrderTag(added.m_info.m_strKey);
  added.m_info.m_strMarket = order.m_stock.m_strMarket;
  added.m_info.m_strCode = order.m_stock.m_strCode;
  added.m_info.m_nOperation = order.m_nOperation;
  added.m_info.m_nVolume = order.m_nQuantity;
  added.m_info.m_dPrice = order.m_dPrice;
  m_orders.push_back(std::move(added));
  m_sent.push_back(order.m_nTime);
  ++m_nWorking;
  m_nWorkingVolume += order.m_nQuantity;
  return index;
}

int COrderSheet::find(const std::string& key) const {
  std::size_t number = 0;
  const char* const digits = key.c_str() + key.rfind('-') + 1;
  const auto [end, error] = std::from_chars(digits, key.c_str() + key.size(), number);
  const bool known = error == std::errc() && number > 0 && number <= m_orders.size();
  return known && m_orders[number - 1].m_info.getKey() == key ? static_cast<int>(number - 1) : -1;
}

std::vector<std::uint64_t> COrderSheet::workingOrders() const {
  std::vector<std::uint64_t> working;
  for (const SOrder& order : m_orders) {
    if (!order.m_info.m_bCompleted) working.push_back(order.m_nMarketId);
  }
  return working;
}

bool COrderSheet::areAllFilled() const {
  return std::all_of(m_orders.begin(), m_orders.end(), [](const SOrder& order) { return order.left() <= 0; });
}

COrderSheet::SOrder& COrderSheet::touch(int order) {
  SOrder& touched = m_orders[static_cast<std::size_t>(order)];
  touched.m_bDirty = true;
  return touched;
}

void COrderSheet::accept(int order) {
  SOrder& accepted = touch(order);
  accepted.m_bAccepted = true;
  accepted.m_bDetailDirty = true;
}

void COrderSheet::reject(int order, const std::string& message) {
  SOrder& rejected = touch(order);
  rejected.m_bRejected = true;
  rejected.m_info.m_strMessage = message;
  rejected.m_info.m_bHasMessage = true;
  ++m_nRejected;
  end(rejected);
}

void COrderSheet::fill(int order, int quantity, double amount, int seconds) {
  m_fills.push_back({static_cast<std::size_t>(order), seconds, quantity, amount});
  SOrder& filled = touch(order);
  if (!filled.m_info.m_bCompleted) m_nWorkingVolume -= quantity;
  filled.m_info.m_nTradedVolume += quantity;
  filled.m_info.m_dTradedAmount += amount;
  filled.m_bDetailDirty = true;
  m_nTraded += quantity;
  m_dTraded += amount;
  if (filled.left() <= 0) end(filled);
}

void COrderSheet::cancel(int order, const std::string& message) {
  SOrder& cancelled = touch(order);
  cancelled.m_bCancelled = true;
  cancelled.m_bDetailDirty = cancelled.m_bAccepted;
  if (!message.empty()) {
    cancelled.m_info.m_strMessage = message;
    cancelled.m_info.m_bHasMessage = true;
  }
  end(cancelled);
}

void COrderSheet::end(SOrder& order) {
  if (order.m_info.m_bCompleted) return;
  order.m_info.m_bCompleted = true;
  --m_nWorking;
  m_nWorkingVolume -= order.left();
}

COrderDetailPtr COrderSheet::makeOrderDetail(const SOrder& order) {
  auto detail = boost::make_shared<COrderDetail>();
  detail->m_strKey = order.m_info.m_tag.text();
  detail->m_strMarket = order.m_info.m_strMarket;
  detail->m_strCode = order.m_info.m_strCode;
  detail->m_nTradedVolume = order.m_info.m_nTradedVolume;
  detail->m_dTradedAmount = order.m_info.m_dTradedAmount;
  detail->m_bCancelled = order.m_bCancelled;
  return detail;
}

void COrderSheet::publish(CTaskDetail& detail, desk::SPublication& publication) {
  detail.m_orders.reserve(m_orders.size());
  for (SOrder& order : m_orders) {
    if (order.m_bDirty) order.m_pPublished = boost::make_shared<COrderInfo>(order.m_info);
    if (order.m_bDetailDirty) publication.m_orderDetails.emplace_back(order.m_info.m_tag, makeOrderDetail(order));
    order.m_bDirty = order.m_bDetailDirty = false;
    detail.m_orders.push_back(order.m_pPublished);
  }
  publication.m_fills = std::exchange(m_fills, {});
  publication.m_sent = std::exchange(m_sent, {});
}

}  // namespace engine
