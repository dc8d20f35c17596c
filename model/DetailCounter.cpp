#include "DetailCounter.h"

#include "CountRules.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::COrderInfo;
using ksservice::COrderInfoPtr;

std::set<CDetailCounter::Counted> CDetailCounter::takeAwaiting() {
  std::set<Counted> details = m_awaited.takeCome();
  for (const auto& [part, key] : details) m_ledger.detail(part, key).lookAgain();
  return details;
}

void CDetailCounter::count(const SDetailFacts& facts, const STexts& texts) {
  CDetailShares& shares = m_ledger.detail(facts.part, facts.detail->getKey());
  CCountRun({m_id, m_ledger, m_rows, m_awaited}, facts, shares).count(texts);
}

void CDetailCounter::exchange(EBasketTaskType part, const ksservice::CTaskDetailPtr& detail) {
  ksservice::CTaskDetailPtr& counted = m_ledger.detail(part, detail->getKey()).m_counted.detail;
  if (counted && counted->m_orders == detail->m_orders) counted = detail;
}

void CDetailCounter::countHedge(const std::vector<SDetailFacts>& details, CBasketTaskItem& row) {
  // All of them as one, so that their order is that of their keys, whichever came last.
  CDetailShares& shares = m_ledger.detail(EBTT_Hedge, {});
  SLedgerRow& at = m_ledger.row(&row);
  SOrderShare& share = shares.slot(shares.slotOn(at)).orders;
  share = {};
  for (const SDetailFacts& facts : details) {
    const COrderInfo* teller = nullptr;
    for (const auto& [place, known] : facts.answers) {
      const COrderInfoPtr& order = facts.detail->m_orders[static_cast<std::size_t>(place)];
      addOrder(share, *order, known, countRules(EBTT_Hedge));
      row.m_mapOrders.insert(order);
      if (tells(*order, countRules(EBTT_Hedge))) teller = order.get();
    }
    // An order says nothing over what the user was told of the end of automatic hedging.
    if (teller && row.m_bHedge) setRemark(row, QString::fromStdString(teller->m_strMessage), m_ledger.changes());
  }
  settleRow(at, m_ledger.changes());
}

std::vector<SLedgerRow*> CDetailCounter::rowsOfLines(const ksservice::CTaskDetail& patch) const {
  CRowFinder finder(m_rows, patch.m_params, ELineAccount::Each);
  std::vector<SLedgerRow*> rows;
  for (const CCodeOrderParam& param : patch.m_params) {
    if (const CBasketTaskItem* row = finder.ofLine(param).row) rows.push_back(&m_ledger.row(row));
  }
  return rows;
}

std::set<std::string> CDetailCounter::patchesSharing(const std::string& patchKey, std::vector<SLedgerRow*> rows) {
  for (const CDetailShares::SSlot& slot : m_ledger.detail(EBTT_Patch, patchKey).m_slots) rows.push_back(slot.row);
  std::set<std::string> keys = {patchKey};
  for (const SLedgerRow* row : rows) {
    eachShare(*row, [&keys](const CDetailShares& detail, const CDetailShares::SSlot&) {
      if (detail.part() == EBTT_Patch) keys.insert(detail.key());
    });
  }
  return keys;
}

}  // namespace TC
