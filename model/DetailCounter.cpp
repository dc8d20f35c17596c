#include "DetailCounter.h"

#include "TaskKeys.h"
#include "TaskRules.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::COrderDetailHelper;
using ksservice::COrderInfo;
using ksservice::COrderInfoPtr;

namespace {

/// Texts seldom change; an equal one is not exchanged, so that copies of it stay shared.
void setText(QString& text, const QString& value) {
  if (text != value) text = value;
}

/// Stores an order under its key. Where two places of the order lists bear one key, the row remembers it: then its
/// orders are stored in list order on every refresh, so that the later one stands as if all had been stored anew.
void storeOrder(SLedgerRow& row, const COrderInfoPtr& order, const COrderInfo* before) {
  COrderInfoPtr& stored = row.item->m_mapOrders[order->getKey()];
  if (stored == order) return;
  if (stored && stored.get() != before) row.repeatedKeys = true;
  stored = order;
}

ELineAccount accountsOf(EBasketTaskType part) { return part == EBTT_Own ? ELineAccount::First : ELineAccount::Each; }

}  // namespace

/// One count of one detail.
struct CDetailCounter::SRun {
  const SDetailFacts& facts;
  const SCountRules& rules;
  CDetailShares& shares;
  const Orders& before;
  CRowFinder rows;
  bool fileAnew = false;
  SLedgerRow* hedge = nullptr;  ///< the one row on which all of a hedge counts
};

void CDetailCounter::onNewRow(const CBasketTaskItem& row, const QString& accountKey) {
  const auto awaited = m_awaited.find({accountKey, patchLine(row, accountKey).second});
  if (awaited != m_awaited.end()) m_awaiting.insert(awaited->second.begin(), awaited->second.end());
}

std::set<CDetailCounter::Counted> CDetailCounter::takeAwaiting() {
  for (const auto& [part, key] : m_awaiting) m_ledger.detail(part, key).lookAgain();
  return std::exchange(m_awaiting, {});
}

void CDetailCounter::count(const SDetailFacts& facts, const Orders& before, const STexts& texts) {
  CDetailShares& shares = m_ledger.detail(facts.part, facts.detail.getKey());
  SRun run{facts, countRules(facts.part), shares, before, {m_rows, facts.detail.m_params, accountsOf(facts.part)}};
  run.fileAnew = shares.restart(run.rows.places(), before);
  countLines(run, texts);
  if (facts.progress) countProgress(run);
  if (facts.countsOrders) countOrders(run);
  if (texts.messages) showMessages(run);
  for (const CDetailShares::SSlot& slot : shares.m_slots) settleRow(*slot.row);
}

void CDetailCounter::countHedge(const std::vector<SDetailFacts>& details, CBasketTaskItem& row) {
  static const Orders none;
  // All of them as one, so that their order is that of their keys, whichever came last.
  CDetailShares& shares = m_ledger.detail(EBTT_Hedge, {});
  shares.restart({}, none);
  SLedgerRow& at = m_ledger.row(&row);
  shares.slotOn(at);
  for (const SDetailFacts& facts : details) {
    SRun run{facts, countRules(EBTT_Hedge), shares, none, {m_rows, facts.detail.m_params, ELineAccount::Each}};
    run.hedge = &at;
    countOrders(run);
    // An order says nothing over what the user was told of the end of automatic hedging.
    if (row.m_bHedge) showMessages(run);
  }
  settleRow(at);
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
    for (const auto& share : row->patches) keys.insert(share.first->key());
  }
  return keys;
}

/// The detail's slot on the row that was found; remembers where a better one may come.
int CDetailCounter::slotOn(SRun& run, const SFoundRow& found, const std::string& market, const std::string& code,
                           int operation) {
  if (!found.best) {
    m_awaited[{found.account, orderRowKey(market, code, operation)}].insert({run.shares.part(), run.shares.key()});
  }
  return found.row ? run.shares.slotOn(m_ledger.row(found.row)) : CSlotMemo::NO_ROW;
}

void CDetailCounter::countLines(SRun& run, const STexts& texts) {
  const auto& params = run.facts.detail.m_params;
  const bool server = run.facts.detail.m_bServerTask;
  run.shares.m_paramSlots.setLength(params.size());
  for (std::size_t i = 0; i < params.size(); ++i) {
    const CCodeOrderParam& param = params[i];
    const std::string& market = param.m_stock.m_strMarket;
    const std::string& code = param.m_stock.m_strCode;
    const auto resolve = [&] { return slotOn(run, run.rows.ofLine(param), market, code, param.m_nOperation); };
    // Of lines on several accounts one instrument may have several rows.
    const int slot =
        run.rows.hasAccounts() ? resolve() : run.shares.m_paramSlots.at(i, market, code, param.m_nOperation, resolve);
    if (slot == CSlotMemo::NO_ROW) continue;
    CDetailShares::SSlot& at = run.shares.m_slots[static_cast<std::size_t>(slot)];
    if (run.rules.estimatesEverything) at.share.estimate = server;
    if (!run.rules.targets) continue;
    at.share.target += run.facts.targets[i].amount;
    if (run.facts.targets[i].unpriced) {
      utils::logInfo(m_id.task, "CBasketTask::updateDetail", "basket panel total money error");
    }
    if (param.m_nOrderType != ksservice::EORT_Plain) at.share.orderType = param.m_nOrderType;
    if (server && ksservice::DataHelper::isAlgoOrderType(param.m_nOrderType)) {
      setText(at.row->item->m_strRemark, texts.algorithm);
    }
  }
}

void CDetailCounter::countProgress(SRun& run) {
  const auto& orders = run.facts.progress->m_orders;
  run.shares.m_orderSlots.setLength(orders.size());
  for (std::size_t i = 0; i < orders.size(); ++i) {
    const ksservice::COrderDetail& order = orders[i].m_detail;
    const CCodeOrderParam* param = paramOf(run.facts.detail, orders[i]).param;
    if (!param) continue;
    const int operation = param->m_nOperation;
    const auto resolve = [&] {
      const SFoundRow found = run.rows.ofOrder(order.m_strMarket, order.m_strCode, operation, orders[i].m_strMapKey);
      return slotOn(run, found, order.m_strMarket, order.m_strCode, operation);
    };
    // Which account an entry is of hangs on its key too.
    const int slot = run.rows.hasAccounts()
                         ? resolve()
                         : run.shares.m_orderSlots.at(i, order.m_strMarket, order.m_strCode, operation, resolve);
    if (slot == CSlotMemo::NO_ROW) continue;
    CDetailShares::SSlot& at = run.shares.m_slots[static_cast<std::size_t>(slot)];
    if (run.rules.progressNamesRow && orders[i].m_strMapKey.find(at.row->accounts) == std::string::npos) continue;
    at.share.traded += order.m_nTradedVolume;
    at.share.amount += order.m_dTradedAmount;
    ++at.share.orders;
    ++at.share.knownOrders;
    if (run.rules.progressCancels && COrderDetailHelper::isOrderCanceled(order)) ++at.share.cancelled;
    at.share.estimate = true;
  }
}

void CDetailCounter::countOrders(SRun& run) {
  const auto& orders = run.facts.detail.m_orders;
  run.shares.m_orderSlots.setLength(orders.size());
  for (std::size_t i = 0; i < orders.size(); ++i) {
    if (!orders[i]) continue;
    const COrderInfo& order = *orders[i];
    const int slot = run.shares.m_orderSlots.at(i, order.m_strMarket, order.m_strCode, order.m_nOperation, [&] {
      if (run.hedge) return run.shares.slotOn(*run.hedge);
      const SFoundRow found = run.rows.ofOrder(order.m_strMarket, order.m_strCode, order.m_nOperation);
      return slotOn(run, found, order.m_strMarket, order.m_strCode, order.m_nOperation);
    });
    if (slot == CSlotMemo::NO_ROW) continue;
    CDetailShares::SSlot& at = run.shares.m_slots[static_cast<std::size_t>(slot)];
    addOrder(run, i, at);
    const COrderInfo* earlier = i < run.before.size() ? run.before[i].get() : nullptr;
    if (run.fileAnew || earlier != &order || at.row->repeatedKeys) storeOrder(*at.row, orders[i], earlier);
  }
}

void CDetailCounter::addOrder(const SRun& run, std::size_t place, CDetailShares::SSlot& slot) const {
  const COrderInfo& order = *run.facts.detail.m_orders[place];
  const SDetailFacts::EOrder known = run.facts.orders[place];
  SRowShare& share = slot.share;
  share.traded += order.m_nTradedVolume;
  share.amount += order.m_dTradedAmount;
  ++share.orders;
  if (known != SDetailFacts::EOrder::Unknown) ++share.knownOrders;
  if (known == SDetailFacts::EOrder::Cancelled) ++share.cancelled;
  if (run.rules.estimatesEverything) share.estimate = run.facts.detail.m_bServerTask;
  if (run.rules.pricesFills && isZero(order.m_dTradedAmount) && order.m_nTradedVolume >= 1) {
    share.amount += order.m_nTradedVolume * order.m_dPrice;
    utils::logInfo(m_id.task, "CBasketTask::updateDetail", "[basket panel] fix task money by biz num %1%-%2%",
                   run.facts.detail.m_nTaskId, run.facts.detail.m_nBusinessNumber);
  }
  const bool unfilled = COrderDetailHelper::completed(order) && order.m_nTradedVolume < order.m_nVolume;
  const bool told = run.rules.everyTextIsMessage ? !order.m_strMessage.empty() : order.m_bHasMessage;
  if (unfilled && told) slot.message = &order.m_strMessage;
}

void CDetailCounter::showMessages(const SRun& run) const {
  for (const CDetailShares::SSlot& slot : run.shares.m_slots) {
    if (slot.message) setText(slot.row->item->m_strRemark, QString::fromStdString(*slot.message));
  }
}

}  // namespace TC
