#include "CAlgoTask.h"

#include <algorithm>
#include <utility>

#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace engine {

using namespace ksservice;

namespace {

/// How often a schedule looks at the market.
constexpr std::int64_t PLAN_MSEC = 1000;
/// For how long nothing is sent of a line for which money or position was lacking, however short the slices are.
constexpr std::int64_t SHORTAGE_MSEC = 300000;

}  // namespace

CAlgoTask::CAlgoTask(SIdentity identity, std::vector<SOrderLine> lines, const SSettings& settings)
    : CSubTask(std::move(identity), std::move(lines)),
      m_schedule(settings.m_params, settings.m_nNow),
      m_nProgressMsec(settings.m_nProgressMsec),
      m_nNow(settings.m_nNow),
      m_states(this->lines().size()) {
  for (std::size_t line = 0; line < m_states.size(); ++line) examine(line);
}

/// Tells what is known of a line before anything is sent.
void CAlgoTask::examine(std::size_t line) {
  const SOrderLine& order = lines()[line];
  const exchange::SRules& rules = order.m_rules;
  const bool buy = isBuy(line);
  if (const char* fault = rules.quantityFault(order.m_nQuantity, buy)) {
    const bool none = rules.orderable(order.m_nQuantity, buy) == 0;
    note(none ? CIncidents::EKind::NotOrdered : CIncidents::EKind::PartlyOrdered, fault, order.m_stock);
    if (none) return;
  }
  // An instrument that is not listed has no limits of a day.
  if (m_schedule.params().m_dLimit <= 0 || rules.m_nPrevClose == 0) return;
  const std::int64_t limit = rules.toLimitTicks(m_schedule.params().m_dLimit, buy);
  const bool above = limit > rules.m_nLimitUp;
  if (!above && limit >= rules.m_nLimitDown) return;
  m_states[line].m_bClosed = above != buy;
  const char* text = above ? "限价高于涨停价" : "限价低于跌停价";
  note(m_states[line].m_bClosed ? CIncidents::EKind::NotOrdered : CIncidents::EKind::Hint, text, order.m_stock);
}

bool CAlgoTask::isBuy(std::size_t line) const { return DataHelper::isBuy(lines()[line].m_nOperation); }

/// What was neither traded nor given up, nor may still fill.
int CAlgoTask::left(std::size_t line) const {
  return lines()[line].m_nQuantity - m_states[line].m_nTraded - m_states[line].m_nWorking - m_states[line].m_nGivenUp;
}

bool CAlgoTask::mayOrder(std::size_t line) const {
  return !m_states[line].m_bClosed && lines()[line].m_rules.orderable(left(line), isBuy(line)) > 0;
}

/// The part of a quantity that the market would not take.
int CAlgoTask::lost(std::size_t line, int quantity) const {
  return quantity - lines()[line].m_rules.orderable(quantity, isBuy(line));
}

// What was sent and cancelled comes back as long as the schedule runs.
bool CAlgoTask::hasUnsent() const { return !isStopped() && !isAllSent(); }

int CAlgoTask::claimed(std::size_t line) const {
  return isStopped() || isEnded() ? m_states[line].m_nTraded + m_states[line].m_nWorking
                                  : lines()[line].m_nQuantity - m_states[line].m_nGivenUp;
}

bool CAlgoTask::isAllSent() const {
  for (std::size_t line = 0; line < m_states.size(); ++line) {
    if (mayOrder(line)) return false;
  }
  return true;
}

bool CAlgoTask::isAllFilled() const {
  for (std::size_t line = 0; line < m_states.size(); ++line) {
    if (m_states[line].m_nTraded < lines()[line].m_nQuantity) return false;
  }
  return true;
}

double CAlgoTask::boundPrice(int line, double price) const {
  if (m_schedule.params().m_dLimit <= 0) return price;
  const bool buy = isBuy(static_cast<std::size_t>(line));
  const exchange::SRules& rules = lines()[static_cast<std::size_t>(line)].m_rules;
  const double limit = rules.toPrice(rules.toLimitTicks(m_schedule.params().m_dLimit, buy));
  return buy ? std::min(price, limit) : std::max(price, limit);
}

void CAlgoTask::advanceTo(std::int64_t now, const VolumeOf& volumeOf) {
  m_nNow = now;
  if (!isOpen() || !m_schedule.hasBegun(now) || now < m_nNextPlan) return;
  m_nNextPlan = now + PLAN_MSEC;
  if (const int slice = m_schedule.slice(now); slice != m_nSlice) {
    m_nSlice = slice;
    findStale();
  }
  plan(now, volumeOf);
}

/// What is due is what the schedule has planned, less what was traded or may still fill: a child order that is being
/// cancelled counts until its end is confirmed.
void CAlgoTask::plan(std::int64_t now, const VolumeOf& volumeOf) {
  m_due.clear();
  for (std::size_t line = m_states.size(); line-- > 0;) {
    const int quantity = dueOf(line, now, volumeOf);
    if (quantity > 0) m_due.push_back({static_cast<int>(line), quantity});
  }
}

int CAlgoTask::dueOf(std::size_t line, std::int64_t now, const VolumeOf& volumeOf) {
  const SOrderLine& order = lines()[line];
  SLineState& state = m_states[line];
  if (!mayOrder(line) || state.m_nRefusedSlice == m_nSlice || now < state.m_nRestUntil) return 0;
  std::int64_t volume = 0;
  if (m_schedule.params().m_eAlgorithm == TC::EAlgorithm::POV) {
    const std::int64_t traded = volumeOf(order);
    if (state.m_nVolumeBefore < 0) state.m_nVolumeBefore = traded;
    volume = traded - state.m_nVolumeBefore;
  }
  const int planned = m_schedule.planned(order.m_nQuantity, now, volume);
  // What the user took out of the market was planned, too.
  return childOf(line, std::min(left(line), planned - state.m_nTraded - state.m_nWorking - state.m_nGivenUp));
}

/// The most of what is due that the market takes, and after which it takes the rest too. Sells go out in lots as well,
/// but an odd remainder is sold with the last of them.
int CAlgoTask::childOf(std::size_t line, int due) const {
  const exchange::SRules& rules = lines()[line].m_rules;
  const int rest = left(line);
  if (due == rest && !isBuy(line)) return lines()[line].inOneOrder(due);
  int child = rules.orderable(due, true);
  if (lost(line, rest - child) > lost(line, rest)) {
    child = rules.orderable(std::min(due, rest - rules.m_nBuyMinimum), true);
  }
  return lines()[line].inOneOrder(child);
}

bool CAlgoTask::isStale(std::size_t order) const {
  const SChild& each = m_children[order];
  return !orders().orders()[order].m_info.m_bCompleted && !each.m_bCancelling && each.m_nSlice != m_nSlice;
}

/// What could not be ordered anew stays in the market.
void CAlgoTask::findStale() {
  m_stale.clear();
  const auto& sheet = orders().orders();
  std::vector<int> open(m_states.size());
  for (std::size_t order = 0; order < m_children.size(); ++order) {
    if (isStale(order)) open[static_cast<std::size_t>(m_children[order].m_nLine)] += sheet[order].left();
  }
  for (std::size_t order = m_children.size(); order-- > 0;) {
    const auto line = static_cast<std::size_t>(m_children[order].m_nLine);
    if (!isStale(order) || m_states[line].m_bClosed) continue;
    if (lost(line, left(line) + open[line]) > lost(line, left(line))) continue;
    m_stale.push_back(order);
  }
}

std::uint64_t CAlgoTask::takeStale() {
  while (hasStale()) {
    const std::size_t order = m_stale.back();
    m_stale.pop_back();
    if (!isStale(order)) continue;
    m_children[order].m_bCancelling = true;
    return orders().orders()[order].m_nMarketId;
  }
  return 0;
}

void CAlgoTask::onSent(int, const SOrderDue& due) {
  m_due.pop_back();
  m_states[static_cast<std::size_t>(due.m_nLine)].m_nWorking += due.m_nQuantity;
  m_children.push_back({due.m_nLine, m_nSlice});
}

void CAlgoTask::onRejected(int order, const SRefusal& refusal, int seconds) {
  SLineState& state = stateOf(order);
  state.m_nWorking -= orders().orders()[static_cast<std::size_t>(order)].left();
  state.m_nRefusedSlice = m_nSlice;
  if (refusal.m_bBroker) state.m_nRestUntil = m_nNow + SHORTAGE_MSEC;
  state.m_bClosed = state.m_bClosed || refusal.m_bLasting;
  CSubTask::onRejected(order, refusal, seconds);
}

void CAlgoTask::onFilled(int order, int quantity, double amount, int seconds) {
  SLineState& state = stateOf(order);
  state.m_nTraded += quantity;
  state.m_nWorking -= quantity;
  CSubTask::onFilled(order, quantity, amount, seconds);
}

void CAlgoTask::onGivenUp(int order) { child(order).m_bCancelling = child(order).m_bGivenUp = true; }

/// A market that takes no cancel now leaves the order to the schedule, as before.
void CAlgoTask::onCancelRejected(int order, const std::string& message) {
  if (std::exchange(child(order).m_bGivenUp, false)) child(order).m_bCancelling = false;
  CSubTask::onCancelRejected(order, message);
}

void CAlgoTask::onCancelled(int order, const std::string& message, int seconds) {
  const int open = orders().orders()[static_cast<std::size_t>(order)].left();
  stateOf(order).m_nWorking -= open;
  if (child(order).m_bGivenUp) stateOf(order).m_nGivenUp += open;
  noteLost(static_cast<std::size_t>(child(order).m_nLine));
  CSubTask::onCancelled(order, message, seconds);
}

/// An order that filled in part while its cancel was on its way may leave what cannot be ordered anew.
void CAlgoTask::noteLost(std::size_t line) {
  const SOrderLine& order = lines()[line];
  const bool open = isStopped() || m_states[line].m_bClosed || left(line) == 0 || mayOrder(line);
  if (open || lost(line, order.m_nQuantity) > 0) return;
  note(CIncidents::EKind::PartlyOrdered, order.m_rules.quantityFault(left(line), true), order.m_stock);
}

bool CAlgoTask::isDue(std::int64_t now) const {
  return isDirty() && (status() != publishedStatus() || now >= m_nNextPublish);
}

desk::SPublication CAlgoTask::publish() {
  m_nNextPublish = m_nNow + m_nProgressMsec;
  desk::SPublication publication = CSubTask::publish();
  publication.m_pDetail->m_bServerTask = true;
  publication.m_pDetail->m_strInstance = std::string(algorithmName(m_schedule.params().m_eAlgorithm)) + "-" + key();
  publication.m_serverOrders = std::exchange(publication.m_pDetail->m_orders, {});
  publication.m_serverOrderDetails = std::exchange(publication.m_orderDetails, {});
  return publication;
}

std::unique_ptr<TC::CTaskProgress> CAlgoTask::progress() const {
  auto progress = std::make_unique<TC::CTaskProgress>();
  for (std::size_t order = 0; order < m_children.size(); ++order) {
    const COrderSheet::SOrder& child = orders().orders()[order];
    TC::CProgressOrder& entry = progress->m_orders.emplace_back();
    entry.m_strMapKey = account().m_strDisplayId + ":" + child.m_info.getKey();
    entry.m_nParamIndex = m_children[order].m_nLine;
    entry.m_detail.m_strKey = child.m_info.getKey();
    entry.m_detail.m_strMarket = child.m_info.m_strMarket;
    entry.m_detail.m_strCode = child.m_info.m_strCode;
    entry.m_detail.m_nTradedVolume = child.m_info.m_nTradedVolume;
    entry.m_detail.m_dTradedAmount = child.m_info.m_dTradedAmount;
    entry.m_detail.m_bCancelled = child.m_bCancelled;
  }
  return progress;
}

std::map<std::string, int> CAlgoTask::orderProcess() const {
  std::map<std::string, int> process;
  for (std::size_t line = 0; line < m_states.size(); ++line) {
    const CStockInfo& stock = lines()[line].m_stock;
    int& number = process[utils::mavStockKey(stock.m_strMarket, stock.m_strCode)];
    const long long sum = number + 0LL + m_states[line].m_nTraded + m_states[line].m_nWorking;
    number = static_cast<int>(std::min<long long>(sum, UNSET_INT));
  }
  return process;
}

}  // namespace engine
