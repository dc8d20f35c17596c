#include "TaskHedge.h"

#include <boost/make_shared.hpp>

#include "DetailCounter.h"
#include "EHpfBasketTaskStatus.h"
#include "Notices.h"
#include "RowLedger.h"
#include "TaskTree.h"
#include "ksservice/Helpers.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CExchangeClient.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace TC {

using ksservice::CBasketHedgeParam;
using ksservice::CCodeOrderParam;
using ksservice::CTaskDetail;
using ksservice::CTaskDetailPtr;

namespace {

/// Only accounts of this type trade hedges.
constexpr int HEDGE_ACCOUNT_TYPE = 1;

/// What a lot is worth at the quote's price for calculation, CNY: 0 for an unknown instrument or without a quote.
double lotAmount(const std::string& market, const std::string& code) {
  const auto info = getExchangeClient().getCodeInfo(market, code);
  return info ? ksservice::CPriceDataHelper::getPriceForCalc(market, code) * info->m_dMultiplier : 0;
}

}  // namespace

// Parameters

CTaskDetailPtr CTaskHedge::setParam(const CBasketHedgeParam& given) {
  // They are handed over once: a new set does not forget it, nor does a task object that was made anew.
  CBasketHedgeParam known;
  const bool knownHandedOver = getBasketHedgeManager().getItem(m_id.groupId, known) && known.m_bHandedOver;
  const bool handedOver = m_param.m_bHandedOver || given.m_bHandedOver || knownHandedOver;
  m_param = given;
  m_param.m_bHandedOver = handedOver;

  CCodeOrderParam param;
  param.m_pAccount = getUserConfig().getAccountData(m_param.m_strAccount);
  param.m_stock.m_strMarket = m_param.m_strMarket;
  param.m_stock.m_strCode = m_param.m_strCode;
  if (const auto info = getExchangeClient().getCodeInfo(m_param.m_strMarket, m_param.m_strCode)) {
    param.m_stock.m_strName = info->m_strName;
  }
  param.m_nOperation = m_param.m_nOperation;
  param.m_nVolume = m_param.m_nVolume;
  auto detail = boost::make_shared<CTaskDetail>();
  detail->m_nTaskId = ksservice::UNSET_INT;
  detail->m_params.push_back(std::move(param));
  return detail;
}

void CTaskHedge::started(bool start) {
  const bool runs = start || getBasketHedgeManager().status(m_id.groupId) == EHS_Running;
  if (m_pRow && runs) m_pRow->m_bPatching = true;
}

void CTaskHedge::giveToManager() const { getBasketHedgeManager().setParam(m_id.groupId, m_id.commandId, m_param); }

void CTaskHedge::handOver() {
  if (!m_param.m_bEnabled || m_param.m_bHandedOver || m_bCancelled) return;
  m_param.m_bHandedOver = true;
  giveToManager();
}

// Details

bool CTaskHedge::isHedge(const CTaskDetailPtr& detail) {
  if (!detail || detail->m_params.empty()) return false;
  const auto& account = detail->m_params.front().m_pAccount;
  return account && account->m_nType == HEDGE_ACCOUNT_TYPE;
}

CTaskHedge::SFacts CTaskHedge::ask(const CTaskDetailPtr& detail) const {
  SFacts facts{detail, m_details, {}};
  if (detail->m_nTaskId != ksservice::UNSET_INT) facts.details[detail->getKey()] = detail;
  facts.counts.reserve(static_cast<std::size_t>(facts.details.size()));
  for (const CTaskDetailPtr& one : qAsConst(facts.details)) facts.counts.emplace_back(EBTT_Hedge, one, nullptr);
  return facts;
}

void CTaskHedge::take(const SFacts& facts, bool beforeOwn) {
  if (!m_pRow) {
    m_pRow = &m_tree.placeHedge(*facts.detail, beforeOwn);
    m_ledger.addRow(*m_pRow, true);
  }
  m_details = facts.details;
  m_pRow->m_nOrderType = facts.detail->m_params.front().m_nOrderType;
  const int cancelledBefore = m_pRow->m_nCanceledCount;
  m_counter.countHedge(facts.counts, *m_pRow);
  // What was counted before is in the root already.
  m_tree.root().m_nCanceledCount += m_pRow->m_nCanceledCount - cancelledBefore;
}

/// By the row's own instrument.
double CTaskHedge::lotAmount() const {
  return TC::lotAmount(m_pRow->m_strMarket.toStdString(), m_pRow->m_strStockKey.toStdString());
}

double CTaskHedge::askLot(const CTaskDetail& detail) const {
  if (!m_bAmountPending) return 0;
  if (m_pRow) return lotAmount();
  const ksservice::CStockInfo& stock = detail.m_params.front().m_stock;
  return TC::lotAmount(stock.m_strMarket, stock.m_strCode);
}

void CTaskHedge::price(double lot) {
  if (m_pRow->finishedVolume() == m_pRow->totalVolume()) m_pRow->m_strRemark.clear();
  if (!std::exchange(m_bAmountPending, false)) return;
  m_pRow->m_dTotalAmount = m_pRow->m_nTotalVolume * lot;
}

// Targets and states

bool CTaskHedge::raise(int lots) {
  if (!m_param.m_bEnabled || !m_pRow || m_pRow->m_nTotalVolume >= lots) return false;
  const double lot = lotAmount();
  m_pRow->m_nTotalVolume = m_pRow->m_total.set(lots);
  m_pRow->m_bUnset = false;
  m_pRow->m_dTotalAmount = lots * lot;
  return true;
}

void CTaskHedge::noteTarget(CNotices& notices) const {
  if (!m_param.m_bHandedOver) return;
  const int unfinished = m_pRow->m_bPatching ? EHBTS_Patching : EHBTS_PatchFailed;
  notices.status(m_pRow->m_strKey, m_pRow->isFilled() ? EHBTS_PatchFinished : unfinished, m_pRow->m_nOrderType);
}

bool CTaskHedge::stopAtLimit() {
  if (!m_param.m_bEnabled || !m_pRow) return false;
  m_pRow->m_bHedge = false;
  m_pRow->m_bPatching = false;
  m_pRow->m_strRemark = QStringLiteral("已达到自动套利最大委托次数限制, 请手动对冲剩余部分!");
  return true;
}

void CTaskHedge::cancelled() {
  if (!m_pRow) return;
  m_pRow->m_bPatching = false;
  m_pRow->m_nStatus = ksservice::ETS_Cancelled;
}

void CTaskHedge::paused() {
  // A hedge that has ended stays so: a resume must not start it.
  if (m_pRow && m_pRow->m_nStatus < ksservice::ETS_Finished) m_pRow->m_nStatus = ksservice::ETS_Paused;
}

bool CTaskHedge::resume() {
  if (!m_pRow || m_pRow->m_nStatus >= ksservice::ETS_Finished) return false;
  m_pRow->m_nStatus = ksservice::ETS_Running;
  showRunning();
  return true;
}

/// A hedge that was at its limit has new orders, so the row no longer asks the user to hedge by hand. What the user has
/// cancelled the manager does not start again; whether it does is the manager's to decide, so it is asked all the same.
void CTaskHedge::showRunning() {
  if (m_bCancelled) return;
  if (!m_pRow->m_bHedge) m_pRow->m_strRemark.clear();
  m_pRow->m_bHedge = true;
  m_pRow->m_bPatching = true;
}

bool CTaskHedge::isRow(const QString& key) const { return m_pRow && key == m_pRow->m_strKey; }

void CTaskHedge::cancelledByUser(CNotices& notices) {
  m_bCancelled = true;
  m_pRow->m_bHedge = false;
  m_pRow->m_bPatching = false;
  // So that the task can end, and a resume does not start the hedge again.
  m_pRow->m_nStatus = ksservice::ETS_Cancelled;
  notices.status(m_pRow->m_strKey, EHBTS_HedgeCancelled, m_pRow->m_nOrderType);
}

void CTaskHedge::unmark() {
  if (m_pRow) m_pRow->m_bPatching = false;
}

void CTaskHedge::endMark(CNotices& notices) {
  if (!m_pRow || !m_pRow->m_bPatching) return;
  m_pRow->m_bPatching = false;
  const int shown = m_pRow->isFilled() ? EHBTS_PatchFinished : EHBTS_PatchFailed;
  notices.status(m_pRow->m_strKey, shown, m_pRow->m_nOrderType);
}

}  // namespace TC
