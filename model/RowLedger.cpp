#include "RowLedger.h"

#include <algorithm>
#include <set>

#include "TaskRules.h"

namespace TC {

std::size_t CSlotMemo::SHash::operator()(const SView& key) const {
  constexpr std::size_t MIX = 0x9e3779b97f4a7c15u;
  const std::hash<std::string_view> hash;
  return ((hash(key.code) * MIX) ^ hash(key.market)) * MIX + static_cast<std::size_t>(key.operation);
}

CSlotMemo::Entry& CSlotMemo::find(const std::string& market, const std::string& code, int operation) {
  const auto known = m_entries.find(SView{market, code, operation});
  if (known != m_entries.end()) return *known;
  return *m_entries.emplace(SKey{market, code, operation}, UNRESOLVED).first;
}

void CSlotMemo::clear() {
  m_places.clear();
  m_entries.clear();
}

bool CDetailShares::restart(const QString& accountKey, const std::vector<ksservice::COrderInfoPtr>& orders) {
  const bool moved = accountKey != m_strAccountKey;
  const bool fileAnew = moved || m_bLookAgain;
  if (fileAnew) removeOrders(orders);
  if (moved) {
    leaveRows();
    m_strAccountKey = accountKey;
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
    auto& shares = slot.row->shares;
    shares.erase(std::remove_if(shares.begin(), shares.end(), [this](const auto& s) { return s.first == this; }),
                 shares.end());
    settleRow(*slot.row);
  }
  m_slots.clear();
  m_paramSlots.clear();
  m_orderSlots.clear();
}

int CDetailShares::slotOn(SLedgerRow& row) {
  auto place = row.shares.begin();
  while (place != row.shares.end() && place->first->m_strKey < m_strKey) ++place;
  if (place != row.shares.end() && place->first == this) return place->second;
  const int slot = static_cast<int>(m_slots.size());
  row.shares.insert(place, {this, slot});
  m_slots.push_back({&row, SRowShare(), nullptr});
  return slot;
}

SLedgerRow& CRowLedger::addRow(std::unique_ptr<CBasketTaskItem> item) {
  std::unique_ptr<SLedgerRow>& row = m_rows[item.get()];
  row = std::make_unique<SLedgerRow>();
  row->accounts = item->m_strAccounts.toStdString();
  row->item = std::move(item);
  return *row;
}

CDetailShares& CRowLedger::detail(const std::string& detailKey) {
  return m_details.try_emplace(detailKey, detailKey).first->second;
}

void SRowShare::add(const SRowShare& other) {
  amount += other.amount;
  target += other.target;
  traded += other.traded;
  orders += other.orders;
  knownOrders += other.knownOrders;
  cancelled += other.cancelled;
  if (other.orderType != 0) orderType = other.orderType;
  progress = progress || other.progress;
}

void settleRow(const SLedgerRow& row) {
  SRowShare own;
  for (const auto& [detail, slot] : row.shares) own.add(detail->m_slots[static_cast<std::size_t>(slot)].share);
  SRowShare patched;
  for (const auto& patch : row.patches) patched.add(patch.second);

  CBasketTaskItem& item = *row.item;
  item.m_nOrderType = own.orderType;
  item.m_nTradedVolume = item.m_traded.set(own.traded);
  item.m_dCurAmount = own.amount;
  item.m_nCurOrderCount = own.orders;
  item.m_nCurOrderCount2 = own.knownOrders;
  item.m_nPatchVolume = item.m_patched.set(patched.traded);
  item.m_dPatchAmount = patched.amount;
  item.m_nPatchOrderCount = patched.orders;
  item.m_nPatchOrderCount2 = patched.knownOrders;
  item.m_nCanceledCount = own.cancelled + patched.cancelled;
  const long long finished = own.traded + patched.traded;
  item.m_nFinishedVolume = item.m_finished.set(finished);
  item.m_dTradedAmount = item.m_dPatchAmount + own.amount;
  item.m_nOrderCount = item.m_nPatchOrderCount + own.orders;
  item.m_nOrderCount2 = item.m_nPatchOrderCount2 + own.knownOrders;
  const bool estimate = (own.progress || patched.progress) && finished != 0;
  item.m_dTotalAmount = estimate ? estimateAmount(item.totalVolume(), item.m_dTradedAmount, finished) : own.target;
}

}  // namespace TC
