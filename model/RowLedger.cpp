#include "RowLedger.h"

#include <algorithm>
#include <set>

#include "TaskRules.h"

namespace TC {

bool CDetailShares::restart(const std::string& places, const std::vector<ksservice::COrderInfoPtr>& orders) {
  const bool moved = places != m_strPlaces;
  const bool fileAnew = moved || m_bLookAgain;
  if (fileAnew) removeOrders(orders);
  if (moved) {
    leaveRows();
    m_strPlaces = places;
  }
  if (m_bLookAgain) {
    m_paramSlots.clear();
    m_orderSlots.clear();
  }
  m_bLookAgain = false;
  for (SSlot& slot : m_slots) {
    slot.share = SRowShare();
    slot.message = nullptr;
  }
  return fileAnew;
}

void CDetailShares::removeOrders(const std::vector<ksservice::COrderInfoPtr>& orders) const {
  const std::set<ksservice::COrderInfoPtr> filed(orders.begin(), orders.end());
  for (const SSlot& slot : m_slots) {
    auto& known = slot.row->item->m_mapOrders;
    for (auto order = known.begin(); order != known.end();) {
      order = filed.contains(*order) ? known.erase(order) : std::next(order);
    }
  }
}

void CDetailShares::leaveRows() {
  for (const SSlot& slot : m_slots) {
    SLedgerRow::Shares& shares = slot.row->of(m_part);
    shares.erase(std::remove_if(shares.begin(), shares.end(), [this](const auto& s) { return s.first == this; }),
                 shares.end());
    settleRow(*slot.row);
  }
  m_slots.clear();
  m_paramSlots.clear();
  m_orderSlots.clear();
}

int CDetailShares::slotOn(SLedgerRow& row) {
  SLedgerRow::Shares& shares = row.of(m_part);
  auto place = shares.begin();
  while (place != shares.end() && place->first->m_strKey < m_strKey) ++place;
  if (place != shares.end() && place->first == this) return place->second;
  const int slot = static_cast<int>(m_slots.size());
  shares.insert(place, {this, slot});
  m_slots.push_back({&row, SRowShare(), nullptr});
  return slot;
}

SLedgerRow& CRowLedger::addRow(CBasketTaskItem& item, bool hedge) {
  std::unique_ptr<SLedgerRow>& row = m_rows[&item];
  row = std::make_unique<SLedgerRow>();
  row->item = &item;
  row->accounts = item.m_strAccounts.toStdString();
  row->hedge = hedge;
  return *row;
}

CDetailShares& CRowLedger::detail(EBasketTaskType part, const std::string& detailKey) {
  const auto known = m_details.find({part, detailKey});
  if (known != m_details.end()) return known->second;
  return m_details
      .emplace(std::piecewise_construct, std::forward_as_tuple(part, detailKey), std::forward_as_tuple(part, detailKey))
      .first->second;
}

void SRowShare::add(const SRowShare& other) {
  amount += other.amount;
  target += other.target;
  traded += other.traded;
  orders += other.orders;
  knownOrders += other.knownOrders;
  cancelled += other.cancelled;
  if (other.orderType != 0) orderType = other.orderType;
  estimate = estimate || other.estimate;
}

namespace {

SRowShare sumOf(const SLedgerRow::Shares& shares) {
  SRowShare sum;
  for (const auto& [detail, slot] : shares) sum.add(detail->m_slots[static_cast<std::size_t>(slot)].share);
  return sum;
}

}  // namespace

void settleRow(const SLedgerRow& row) {
  CBasketTaskItem& item = *row.item;
  const SRowShare own = sumOf(row.own);
  const SRowShare patched = sumOf(row.patches);
  item.m_nTradedVolume = item.m_traded.set(own.traded);
  item.m_dCurAmount = own.amount;
  item.m_nCurOrderCount = own.orders;
  item.m_nCurOrderCount2 = own.knownOrders;
  if (!row.hedge) {
    item.m_nPatchVolume = item.m_patched.set(patched.traded);
    item.m_dPatchAmount = patched.amount;
    item.m_nPatchOrderCount = patched.orders;
    item.m_nPatchOrderCount2 = patched.knownOrders;
  }
  item.m_nCanceledCount = own.cancelled + patched.cancelled;
  const long long finished = item.m_patched.of(item.m_nPatchVolume) + own.traded;
  item.m_nFinishedVolume = item.m_finished.set(finished);
  item.m_nOrderCount = item.m_nPatchOrderCount + own.orders;
  item.m_nOrderCount2 = item.m_nPatchOrderCount2 + own.knownOrders;
  if (row.hedge) {
    // Without the patches' amount, other than on every other row: that is intended. The hedge prices its row itself.
    item.m_dTradedAmount = own.amount;
    return;
  }
  item.m_dTradedAmount = item.m_dPatchAmount + own.amount;
  item.m_nOrderType = own.orderType;
  const bool estimate = (own.estimate || patched.estimate) && finished != 0;
  item.m_dTotalAmount = estimate ? estimateAmount(item.totalVolume(), item.m_dTradedAmount, finished) : own.target;
}

}  // namespace TC
