#include "RowLedger.h"

#include <algorithm>

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

void CSlotMemo::retryMisses() {
  for (auto& entry : m_entries) {
    if (entry.second == NO_ROW) entry.second = UNRESOLVED;
  }
}

void CSlotMemo::clear() {
  m_places.clear();
  m_entries.clear();
}

void CDetailShares::restart(const QString& accountKey, int rowCount) {
  if (accountKey != m_strAccountKey) {
    leaveRows();
    m_strAccountKey = accountKey;
  }
  if (rowCount != m_nRowCount) {
    m_paramSlots.retryMisses();
    m_orderSlots.retryMisses();
    m_nRowCount = rowCount;
  }
  for (SSlot& slot : m_slots) {
    slot.share = SRowShare();
    slot.message = nullptr;
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

void settleRow(const SLedgerRow& row) {
  SRowShare sum;
  for (const auto& [detail, slot] : row.shares) {
    const SRowShare& share = detail->m_slots[static_cast<std::size_t>(slot)].share;
    sum.amount += share.amount;
    sum.target += share.target;
    sum.traded += share.traded;
    sum.orders += share.orders;
    sum.knownOrders += share.knownOrders;
    sum.cancelled += share.cancelled;
    sum.progress = sum.progress || share.progress;
  }
  CBasketTaskItem& item = *row.item;
  item.m_nTradedVolume = sum.traded;
  item.m_dCurAmount = sum.amount;
  item.m_nCurOrderCount = sum.orders;
  item.m_nCurOrderCount2 = sum.knownOrders;
  item.m_nCanceledCount = sum.cancelled;
  item.m_nFinishedVolume = item.m_nPatchVolume + sum.traded;
  item.m_dTradedAmount = item.m_dPatchAmount + sum.amount;
  item.m_nOrderCount = item.m_nPatchOrderCount + sum.orders;
  item.m_nOrderCount2 = item.m_nPatchOrderCount2 + sum.knownOrders;
  const bool estimate = sum.progress && item.m_nFinishedVolume != 0;
  item.m_dTotalAmount =
      estimate ? estimateAmount(item.m_nTotalVolume, item.m_dTradedAmount, item.m_nFinishedVolume) : sum.target;
}

}  // namespace TC
