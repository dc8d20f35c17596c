#include "RowLedger.h"

#include <set>
#include <tuple>
#include <utility>

#include "TaskRules.h"

namespace TC {

bool CDetailShares::restart(const std::string& places, CRowChanges& changes) {
  const bool moved = places != m_strPlaces;
  const bool fileAnew = moved || m_bLookAgain;
  if (fileAnew) {
    removeOrders();
    m_progressSlots.clear();
  }
  if (moved) {
    leaveRows(changes);
    m_strPlaces = places;
  }
  m_bLookAgain = false;
  for (SSlot& slot : m_slots) slot = {slot.row, {}, {}, NO_ORDER, slot.next};
  for (auto* list : {&m_counted.lineSlots, &m_counted.priced, &m_counted.told}) list->clear();
  return fileAnew;
}

void CDetailShares::lookAgain() {
  m_bLookAgain = true;
  m_counted.stands = false;
}

void CDetailShares::removeOrders() const {
  if (!m_counted.detail) return;
  const auto& orders = m_counted.detail->m_orders;
  const std::set<ksservice::COrderInfoPtr> filed(orders.begin(), orders.end());
  for (const SSlot& slot : m_slots) {
    slot.row->item->m_mapOrders.removeIf([&filed](const auto& order) { return filed.contains(order); });
  }
}

void CDetailShares::leaveRows(CRowChanges& changes) {
  for (const SSlot& slot : m_slots) {
    placeOn(*slot.row) = slot.next;
    settleRow(*slot.row, changes);
  }
  m_slots.clear();
}

bool CDetailShares::isBefore(const CDetailShares& other) const {
  const bool patch = m_part == EBTT_Patch;
  const bool otherPatch = other.m_part == EBTT_Patch;
  return patch != otherPatch ? otherPatch : m_strKey < other.m_strKey;
}

SRowShare& CDetailShares::placeOn(SLedgerRow& row) const {
  SRowShare* share = &row.first;
  while (share->detail && share->detail->isBefore(*this)) share = &share->detail->slot(share->slot).next;
  return *share;
}

int CDetailShares::slotOn(SLedgerRow& row) {
  SRowShare& place = placeOn(row);
  if (place.detail == this) return place.slot;
  const int number = static_cast<int>(m_slots.size());
  const SRowShare next = std::exchange(place, {this, number});
  m_slots.push_back({&row, {}, {}, NO_ORDER, next});
  return number;
}

SLedgerRow& CRowLedger::addRow(CBasketTaskItem& item, bool hedge) {
  item.m_nLedger = static_cast<int>(m_rows.size());
  m_rows.push_back({&item, &*m_accounts.insert(item.m_strAccounts.toStdString()).first, hedge, {}});
  return m_rows.back();
}

CDetailShares& CRowLedger::detail(EBasketTaskType part, const std::string& detailKey) {
  const auto known = m_details.find({part, detailKey});
  if (known != m_details.end()) return known->second;
  return m_details
      .emplace(std::piecewise_construct, std::forward_as_tuple(part, detailKey), std::forward_as_tuple(part, detailKey))
      .first->second;
}

const SCountedDetail* CRowLedger::counted(EBasketTaskType part, const std::string& detailKey) const {
  const auto known = m_details.find({part, detailKey});
  return known == m_details.end() ? nullptr : &known->second.m_counted;
}

void CRowLedger::fileOrder(SLedgerRow& row, const ksservice::COrderInfoPtr& order,
                           const ksservice::COrderInfo* before) {
  CRowOrders& orders = row.item->m_mapOrders;
  if (before && before->getKey() == order->getKey() && orders.replace(*before, order)) return;
  const ksservice::COrderInfoPtr replaced = orders.insert(order);
  const bool wasListed = replaced && m_unlisted.erase(replaced.get()) == 0;
  if (wasListed && replaced != order && replaced.get() != before) m_bRepeatedKeys = true;
}

namespace {

/// What all details add to a row, those of patches or the others.
struct SRowSum : SLineShare, SOrderShare {
  SRowSum(const SLedgerRow& row, bool patches) {
    eachShare(row, [&](const CDetailShares& detail, const CDetailShares::SSlot& slot) {
      if ((detail.part() == EBTT_Patch) == patches) add(slot);
    });
  }
  bool isEstimated() const { return SLineShare::estimate || SOrderShare::estimate; }

 private:
  void add(const CDetailShares::SSlot& slot) {
    target += slot.lines.target;
    if (slot.lines.orderType != 0) orderType = slot.lines.orderType;
    SLineShare::estimate = SLineShare::estimate || slot.lines.estimate;
    amount += slot.orders.amount;
    traded += slot.orders.traded;
    orders += slot.orders.orders;
    knownOrders += slot.orders.knownOrders;
    cancelled += slot.orders.cancelled;
    SOrderShare::estimate = SOrderShare::estimate || slot.orders.estimate;
  }
};

/// What formFigures forms.
auto figuresOf(const CBasketTaskItem& item) {
  return std::make_tuple(item.m_dTradedAmount, item.m_dTotalAmount, item.m_dCurAmount, item.m_dPatchAmount,
                         item.finishedVolume(), item.m_traded.of(item.m_nTradedVolume),
                         item.m_patched.of(item.m_nPatchVolume), item.m_nCurOrderCount, item.m_nCurOrderCount2,
                         item.m_nPatchOrderCount, item.m_nPatchOrderCount2, item.m_nOrderCount, item.m_nOrderCount2,
                         item.m_nCanceledCount, item.m_nOrderType);
}

void formFigures(const SLedgerRow& row, CBasketTaskItem& item) {
  const SRowSum own(row, false);
  const SRowSum patched(row, true);
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
  const bool estimate = (own.isEstimated() || patched.isEstimated()) && finished != 0;
  item.m_dTotalAmount = estimate ? estimateAmount(item.totalVolume(), item.m_dTradedAmount, finished) : own.target;
}

}  // namespace

void settleRow(const SLedgerRow& row, CRowChanges& changes) {
  const auto before = figuresOf(*row.item);
  formFigures(row, *row.item);
  if (figuresOf(*row.item) != before) changes.note(*row.item);
}

}  // namespace TC
