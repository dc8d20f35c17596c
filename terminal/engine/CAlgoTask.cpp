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

}  // namespace

CAlgoTask::CAlgoTask(SIdentity identity, std::vector<SOrderLine> lines, const SSettings& settings)
    : CSubTask(std::move(identity), std::move(lines)),
      m_schedule(settings.m_params, settings.m_nNow),
      m_nProgressMsec(settings.m_nProgressMsec),
      m_nNow(settings.m_nNow),
      m_states(this->lines().size()) {}

// What was sent and cancelled comes back as long as the schedule runs.
bool CAlgoTask::hasUnsent() const { return !isStopped() && !isAllSent(); }

int CAlgoTask::claimed(std::size_t line) const {
  return isStopped() ? m_states[line].m_nTraded + m_states[line].m_nWorking : lines()[line].m_nQuantity;
}

bool CAlgoTask::isAllSent() const {
  for (std::size_t line = 0; line < m_states.size(); ++line) {
    if (m_states[line].m_nTraded + m_states[line].m_nWorking < lines()[line].m_nQuantity) return false;
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
  const double limit = m_schedule.params().m_dLimit;
  if (limit <= 0) return price;
  const bool buy = DataHelper::isBuy(lines()[static_cast<std::size_t>(line)].m_nOperation);
  return buy ? std::min(price, limit) : std::max(price, limit);
}

void CAlgoTask::advanceTo(std::int64_t now, const VolumeOf& volumeOf) {
  m_nNow = now;
  if (!isOpen() || !m_schedule.hasBegun(now) || now < m_nNextPlan) return;
  m_nNextPlan = now + PLAN_MSEC;
  if (const int slice = m_schedule.slice(now); slice != m_nSlice) {
    m_nSlice = slice;
    cancelStale();
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
  const int left = order.m_nQuantity - state.m_nTraded - state.m_nWorking;
  if (left <= 0 || state.m_nRefusedSlice == m_nSlice) return 0;
  std::int64_t volume = 0;
  if (m_schedule.params().m_eAlgorithm == TC::EAlgorithm::POV) {
    const std::int64_t traded = volumeOf(order);
    if (state.m_nVolumeBefore < 0) state.m_nVolumeBefore = traded;
    volume = traded - state.m_nVolumeBefore;
  }
  const int planned = m_schedule.planned(order.m_nQuantity, now, volume);
  int due = std::min(left, planned - state.m_nTraded - state.m_nWorking);
  // An odd remainder can be sold, but not bought.
  const bool odd = due == left && !DataHelper::isBuy(order.m_nOperation);
  if (!odd && due != order.m_nQuantity) due -= due % order.m_nLot;
  return odd || due >= order.m_nMinimum ? due : 0;
}

void CAlgoTask::cancelStale() {
  const auto& sheet = orders().orders();
  for (std::size_t order = 0; order < m_children.size(); ++order) {
    SChild& each = m_children[order];
    if (sheet[order].m_info.m_bCompleted || each.m_bCancelling || each.m_nSlice == m_nSlice) continue;
    each.m_bCancelling = true;
    m_cancels.push_back(sheet[order].m_nMarketId);
  }
}

std::vector<std::uint64_t> CAlgoTask::takeCancels() { return std::exchange(m_cancels, {}); }

void CAlgoTask::onSent(int, const SOrderDue& due) {
  m_due.pop_back();
  m_states[static_cast<std::size_t>(due.m_nLine)].m_nWorking += due.m_nQuantity;
  m_children.push_back({due.m_nLine, m_nSlice});
}

void CAlgoTask::onRejected(int order, const std::string& message, int seconds) {
  SLineState& state = stateOf(order);
  state.m_nWorking -= orders().orders()[static_cast<std::size_t>(order)].left();
  state.m_nRefusedSlice = m_nSlice;
  CSubTask::onRejected(order, message, seconds);
}

void CAlgoTask::onFilled(int order, int quantity, double amount, int seconds) {
  SLineState& state = stateOf(order);
  state.m_nTraded += quantity;
  state.m_nWorking -= quantity;
  CSubTask::onFilled(order, quantity, amount, seconds);
}

void CAlgoTask::onCancelled(int order, const std::string& message, int seconds) {
  stateOf(order).m_nWorking -= orders().orders()[static_cast<std::size_t>(order)].left();
  CSubTask::onCancelled(order, message, seconds);
}

bool CAlgoTask::isDue(std::int64_t now) const {
  return isDirty() && (status() != publishedStatus() || now >= m_nNextPublish);
}

desk::SPublication CAlgoTask::publish() {
  m_nNextPublish = m_nNow + m_nProgressMsec;
  desk::SPublication publication = CSubTask::publish();
  publication.m_pDetail->m_bServerTask = true;
  publication.m_pDetail->m_strInstance = std::string(algorithmName(m_schedule.params().m_eAlgorithm)) + "-" + key();
  publication.m_pDetail->m_orders.clear();
  publication.m_orderDetails.clear();
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
