#include "COrderList.h"

#include <boost/make_shared.hpp>

#include "WireRecord.h"
#include "desklink/v1/details.pb.h"

namespace desklink {

using ksservice::CMavOrderTag;
using ksservice::COrderDetail;
using ksservice::COrderDetailPtr;
using ksservice::COrderInfo;
using ksservice::COrderInfoPtr;

namespace {

/// Whether anything of an order that was known differs, or nothing was known of it.
bool writeOrder(const COrderInfoPtr& base, const COrderInfoPtr& order, desklink::v1::PlacedOrder& message) {
  if (!order) {
    message.set_none(true);
    return true;
  }
  if (base) return writeDifference(*base, *order, *message.mutable_order());
  COrderInfo blank;
  blank.m_tag = CMavOrderTag(order->m_strKey);  // as most have it
  writeDifference(blank, *order, *message.mutable_order());
  return true;
}

std::uint64_t hashOf(const CMavOrderTag& tag, const COrderDetail& detail) {
  CRecordHash hash;
  hash.add(tag);
  hash.addRecord(detail);
  return hash.value();
}

}  // namespace

void COrderList::setCount(std::size_t count) {
  for (std::size_t place = count; place < m_orders.size(); ++place) m_nHash -= m_hashes[place];
  m_orders.resize(count);
  m_hashes.resize(count);
}

// The hash is a sum, so that a change of one order costs one order.

void COrderList::put(std::size_t place, const COrderInfoPtr& order) {
  m_orders[place] = order;
  CRecordHash hash;
  hash.add(static_cast<std::uint64_t>(place));
  if (order) {
    hash.addRecord(*order);
    m_places[order->m_tag.text()] = place;
  }
  m_nHash += hash.value() - m_hashes[place];
  m_hashes[place] = hash.value();
}

void COrderList::putDetail(const CMavOrderTag& tag, const COrderDetailPtr& detail) {
  const auto known = m_details.find(tag.text());
  if (known != m_details.end()) m_nHash -= hashOf(tag, *known->second);
  if (detail) {
    m_nHash += hashOf(tag, *detail);
    m_details.insert_or_assign(tag.text(), detail);
  } else if (known != m_details.end()) {
    m_details.erase(known);
  }
}

/// What a detail will say when nothing more is told: as before, with what its order has traded by now.
COrderDetail COrderList::expectedOf(const CMavOrderTag& tag, const COrderInfo* order) const {
  const auto known = m_details.find(tag.text());
  COrderDetail expected = known != m_details.end() ? *known->second : COrderDetail();
  if (!order) return expected;
  if (known == m_details.end()) {
    expected.m_strMarket = order->m_strMarket;
    expected.m_strCode = order->m_strCode;
  }
  expected.m_nTradedVolume = order->m_nTradedVolume;
  expected.m_dTradedAmount = order->m_dTradedAmount;
  return expected;
}

void COrderList::writeDetail(const desk::OrderDetailEntry& entry, desklink::v1::Orders& message) const {
  const auto& [tag, detail] = entry;
  desklink::v1::TaggedDetail& told = *message.add_details();
  const COrderInfo* order = nullptr;
  const auto place = m_places.find(tag.text());
  if (place != m_places.end() && place->second < m_orders.size()) order = m_orders[place->second].get();
  if (order && order->m_tag == tag) {
    told.set_place(static_cast<std::uint32_t>(place->second));
  } else {
    order = nullptr;
    told.set_tag(tag.text());
  }
  if (!detail) {
    told.set_none(true);
    return;
  }
  writeDifference(expectedOf(tag, order), *detail, *told.mutable_detail());
}

bool COrderList::writeChanges(const Orders& orders, const Details& details, desklink::v1::Orders& message) {
  const std::size_t known = m_orders.size();
  message.set_count(static_cast<std::uint32_t>(orders.size()));
  setCount(orders.size());
  for (std::size_t place = 0; place < orders.size(); ++place) {
    if (place < known && orders[place] == m_orders[place]) continue;
    desklink::v1::PlacedOrder written;
    if (writeOrder(m_orders[place], orders[place], written)) {
      written.set_place(static_cast<std::uint32_t>(place));
      *message.add_changed() = std::move(written);
    }
    put(place, orders[place]);
  }
  for (const desk::OrderDetailEntry& entry : details) {
    writeDetail(entry, message);
    putDetail(entry.first, entry.second);
  }
  return orders.size() != known || message.changed_size() > 0 || !details.empty();
}

void COrderList::writeAll(desklink::v1::Orders& message) const {
  Details all;
  for (const auto& [tag, detail] : m_details) all.emplace_back(CMavOrderTag(tag), detail);
  // What a list of nothing needs to become this one.
  COrderList().writeChanges(m_orders, all, message);
}

bool COrderList::read(const desklink::v1::Orders& message, Details& changed) {
  // Each new one is told, so that no message makes more than its size.
  if (message.count() > m_orders.size() + static_cast<std::size_t>(message.changed_size())) return false;
  setCount(message.count());
  for (const desklink::v1::PlacedOrder& placed : message.changed()) {
    if (placed.place() >= m_orders.size()) return false;
    const COrderInfoPtr base = m_orders[placed.place()];
    COrderInfoPtr order;
    if (!placed.none()) {
      order = base ? boost::make_shared<COrderInfo>(*base) : boost::make_shared<COrderInfo>();
      readDifference(placed.order(), *order);
      if (!base && !placed.order().has_tag()) order->m_tag = CMavOrderTag(order->m_strKey);
    }
    put(placed.place(), order);
  }
  for (const desklink::v1::TaggedDetail& told : message.details()) {
    const bool placed = told.of_case() == desklink::v1::TaggedDetail::kPlace;
    if (placed && (told.place() >= m_orders.size() || !m_orders[told.place()])) return false;
    const COrderInfo* order = placed ? m_orders[told.place()].get() : nullptr;
    const CMavOrderTag tag = order ? order->m_tag : CMavOrderTag(told.tag());
    COrderDetailPtr detail;
    if (!told.none()) {
      detail = boost::make_shared<COrderDetail>(expectedOf(tag, order));
      readDifference(told.detail(), *detail);
    }
    putDetail(tag, detail);
    changed.emplace_back(tag, detail);
  }
  return true;
}

}  // namespace desklink
