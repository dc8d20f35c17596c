#include "docks/CBlotter.h"

#include <algorithm>
#include <utility>

#include "ksservice/Operations.h"

namespace app {

using ksservice::COrderInfoPtr;
using ksservice::CTaskDetail;

namespace {

bool isRefused(const SBlotterOrder& order) {
  return !order.m_bAccepted && !order.m_bCancelled && order.m_pInfo->m_nTradedVolume == 0;
}

}  // namespace

CBlotter::SDetail& CBlotter::detailOf(const CTaskDetail& detail) {
  SDetail& known = m_details[detail.getKey()];
  if (known.m_pDetail) return known;
  auto facts = std::make_shared<SBlotterDetail>();
  facts->m_strKey = detail.getKey();
  facts->m_nTaskId = detail.m_pCommand->m_nTaskId;
  facts->m_bHedge = detail.m_pCommand->m_nBasketType == ksservice::ECBT_Hedge;
  if (!detail.m_params.empty() && detail.m_params[0].m_pAccount) {
    facts->m_strAccount = detail.m_params[0].m_pAccount->getKey();
    facts->m_strDisplayId = detail.m_params[0].m_pAccount->m_strDisplayId;
  }
  if (facts->m_bHedge && !detail.m_params.empty()) {
    const ksservice::CStockInfo& stock = detail.m_params[0].m_stock;
    m_hedgeInstruments[facts->m_nTaskId] = {stock.m_strMarket, stock.m_strCode};
  }
  if (!facts->m_bHedge) m_tasks[detail.m_pCommand->m_nCommandId] = facts->m_nTaskId;
  known.m_pDetail = std::move(facts);
  begin(courseOf(detail), detail);
  return known;
}

CTaskCourse& CBlotter::courseOf(const CTaskDetail& detail) {
  return m_courses.try_emplace(detail.m_pCommand->m_nTaskId).first->second;
}

/// The first detail of an account brings its lines, at the prices of that moment.
void CBlotter::begin(CTaskCourse& course, const CTaskDetail& detail) {
  const ksservice::COrderCommand& command = *detail.m_pCommand;
  if (command.m_nBasketType == ksservice::ECBT_Hedge) return;
  course.start(m_nNow, command.m_strAlgoParams);
  for (const ksservice::CCodeOrderParam& param : detail.m_params) {
    const auto& [market, code, name] = param.m_stock;
    SArrival arrival;
    TC::CQuote quote;
    if (m_desk.quote(market, code, quote)) arrival.m_dPrice = quote.m_dLast;
    if (arrival.m_dPrice <= 0) arrival.m_dPrice = param.m_dPrice;
    if (const auto info = m_desk.codeInfo(market, code)) arrival.m_dMultiplier = info->m_dMultiplier;
    exchange::SQuote shown;
    if (m_market && m_market(market, code, shown)) {
      arrival.m_nVolume = shown.m_nVolume;
      arrival.m_dAmount = shown.m_dAmount;
    }
    course.addLine(market, code, ksservice::DataHelper::isBuy(param.m_nOperation), arrival,
                   command.m_bPatch ? 0 : param.m_nVolume);
  }
}

void CBlotter::onTask(const desk::SPublication& publication) {
  const CTaskDetail& detail = *publication.m_pDetail;
  if (!detail.m_pCommand) return;
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_nNow = static_cast<int>(m_desk.now());
  SDetail& known = detailOf(detail);
  CTaskCourse& course = courseOf(detail);
  takeOrders(known, course, publication);
  if (!known.m_pDetail->m_bHedge) setEnded(course, detail);
  course.sample(m_nNow);
}

/// The market goes on without a task that has ended: what it did until then is kept.
void CBlotter::setEnded(CTaskCourse& course, const CTaskDetail& detail) const {
  const bool had = course.course().m_nEnd != 0;
  course.setEnded(detail.getKey(), detail.m_nEndTime);
  const bool has = course.course().m_nEnd != 0;
  if (!m_market || had == has) return;
  std::vector<exchange::SQuote> quotes(has ? course.course().m_lines.size() : 0);
  for (std::size_t i = 0; i < quotes.size(); ++i) {
    const SCourseLine& line = course.course().m_lines[i];
    m_market(line.m_strMarket, line.m_strCode, quotes[i]);
  }
  course.setQuotesAtEnd(std::move(quotes));
}

/// The changes stand in the order of the orders, as their sheet gives them; only a journal may have them otherwise.
void CBlotter::takeOrders(SDetail& known, CTaskCourse& course, const desk::SPublication& publication) {
  const bool server = publication.m_pDetail->m_bServerTask;
  const auto& orders = server ? publication.m_serverOrders : publication.m_pDetail->m_orders;
  const auto& changes = server ? publication.m_serverOrderDetails : publication.m_orderDetails;
  const std::size_t old = known.m_orders.size();
  auto change = changes.begin();
  for (std::size_t i = 0; i < orders.size(); ++i) {
    if (i == known.m_orders.size()) {
      known.m_orders.push_back(static_cast<int>(m_orders.size()));
      known.m_traded.push_back(0);
      known.m_amounts.push_back(0);
      const int sent = i - old < publication.m_sent.size() ? publication.m_sent[i - old] : m_nNow;
      m_orders.push_back({{known.m_pDetail, nullptr, sent}, false, sent});
    }
    const int number = known.m_orders[i];
    SOrder& kept = m_orders[static_cast<std::size_t>(number)];
    SBlotterOrder& order = kept.m_order;
    const bool changed = change != changes.end() && change->first == orders[i]->m_tag;
    if (order.m_pInfo == orders[i] && !changed) continue;
    const bool wasOpen = !order.m_pInfo || !order.m_pInfo->m_bCompleted;
    order.m_pInfo = orders[i];
    if (changed) takeDetail(order, (change++)->second);
    if (orders[i]->m_nTradedVolume != known.m_traded[i]) kept.m_nMoved = m_nNow;
    if (wasOpen && orders[i]->m_bCompleted && isRefused(order)) m_refused.push_back(number);
    const int quantity = orders[i]->m_nTradedVolume - known.m_traded[i];
    const double amount = orders[i]->m_dTradedAmount - known.m_amounts[i];
    if (quantity != 0 && publication.m_fills.empty()) {
      m_fills.push_back({known.m_pDetail, orders[i], m_nNow, quantity, amount});
    }
    noteFill(known, i, course, orders[i]);
    note(number);
  }
  for (const desk::SOrderFill& fill : publication.m_fills) {
    if (fill.m_nOrder >= orders.size()) continue;
    m_fills.push_back({known.m_pDetail, orders[fill.m_nOrder], fill.m_nTime, fill.m_nQuantity, fill.m_dAmount});
  }
  for (; change != changes.end(); ++change) {
    for (const int number : known.m_orders) {
      SBlotterOrder& order = m_orders[static_cast<std::size_t>(number)].m_order;
      if (!(order.m_pInfo->m_tag == change->first)) continue;
      takeDetail(order, change->second);
      note(number);
    }
  }
}

void CBlotter::takeDetail(SBlotterOrder& order, const ksservice::COrderDetailPtr& detail) {
  order.m_bAccepted = detail != nullptr;
  order.m_bCancelled = detail && detail->m_bCancelled;
}

void CBlotter::noteFill(SDetail& known, std::size_t index, CTaskCourse& course, const COrderInfoPtr& info) {
  const int quantity = info->m_nTradedVolume - std::exchange(known.m_traded[index], info->m_nTradedVolume);
  const double before = std::exchange(known.m_amounts[index], info->m_dTradedAmount);
  const double amount = info->m_dTradedAmount - before;
  if (quantity == 0) return;
  const bool buy = ksservice::DataHelper::isBuy(info->m_nOperation);
  const exchange::EKind kind = exchange::kindOf(info->m_strMarket);
  // Of the whole order: the least commission is paid once.
  course.addFees(exchange::feesOf(m_fees, kind, buy, info->m_dTradedAmount) -
                 exchange::feesOf(m_fees, kind, buy, before));
  if (known.m_pDetail->m_bHedge) {
    course.addHedged(buy ? -quantity : quantity);
  } else {
    course.addFill(info->m_strMarket, info->m_strCode, buy, quantity, amount);
  }
}

void CBlotter::note(int number) {
  if (!m_bFollowed || std::exchange(m_orders[static_cast<std::size_t>(number)].m_bNoted, true)) return;
  m_noted.push_back(number);
}

void CBlotter::setHedgeTarget(int taskId, int lots) {
  const auto course = m_courses.find(taskId);
  if (course == m_courses.end()) return;
  m_nNow = static_cast<int>(m_desk.now());
  course->second.setHedgeTarget(lots);
  course->second.sample(m_nNow);
}

void CBlotter::onHedgeVolume(int taskId, int lots) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  setHedgeTarget(taskId, lots);
}

void CBlotter::onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) {
  if (source != desk::EHedgeSource::Stored) return;
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto task = m_tasks.find(commandId);
  if (task == m_tasks.end()) return;
  m_hedgeInstruments[task->second] = {param.m_strMarket, param.m_strCode};
  setHedgeTarget(task->second, param.m_nVolume);
}

void CBlotter::onTradingDay(const std::string&) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_details.clear();
  m_courses.clear();
  m_hedgeInstruments.clear();
  m_tasks.clear();
  m_orders.clear();
  m_fills.clear();
  m_noted.clear();
  m_refused.clear();
  m_old.clear();
  m_nLookedThrough = m_nFillsTaken = 0;
  m_bAnew = m_bTroublesAnew = true;
}

void CBlotter::follow(bool on) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_bFollowed = on;
  m_bAnew = true;
  m_noted.clear();
  m_nFillsTaken = 0;
  for (SOrder& order : m_orders) order.m_bNoted = false;
  for (int number = 0; on && number < static_cast<int>(m_orders.size()); ++number) note(number);
}

SBlotterNews CBlotter::take() {
  const std::lock_guard<std::mutex> lock(m_mutex);
  SBlotterNews news;
  news.m_bAnew = std::exchange(m_bAnew, false);
  news.m_orders.reserve(m_noted.size());
  for (const int number : std::exchange(m_noted, {})) {
    SOrder& order = m_orders[static_cast<std::size_t>(number)];
    order.m_bNoted = false;
    news.m_orders.emplace_back(number, order.m_order);
  }
  news.m_fills.assign(m_fills.begin() + static_cast<std::ptrdiff_t>(m_nFillsTaken), m_fills.end());
  m_nFillsTaken = m_fills.size();
  return news;
}

/// An order is looked at when it has come of age, and then each time until it is over.
SBlotterTroubles CBlotter::troubles(int limit) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  SBlotterTroubles troubles;
  troubles.m_bAnew = std::exchange(m_bTroublesAnew, false);
  for (const int number : std::exchange(m_refused, {})) {
    troubles.m_refused.push_back(m_orders[static_cast<std::size_t>(number)].m_order);
  }
  for (; m_nLookedThrough < m_orders.size(); ++m_nLookedThrough) {
    if (m_orders[m_nLookedThrough].m_order.m_nSent >= limit) break;
    m_old.push_back(static_cast<int>(m_nLookedThrough));
  }
  std::unordered_map<const SBlotterDetail*, std::size_t> places;
  std::vector<int> open;
  for (const int number : m_old) {
    const SOrder& order = m_orders[static_cast<std::size_t>(number)];
    if (order.m_order.m_pInfo->m_bCompleted) continue;
    open.push_back(number);
    if (order.m_nMoved >= limit) continue;
    const auto [place, isNew] = places.try_emplace(order.m_order.m_pDetail.get(), troubles.m_waiting.size());
    if (isNew) troubles.m_waiting.push_back({order.m_order});
    SWaitingOrders& waiting = troubles.m_waiting[place->second];
    ++waiting.m_nCount;
    waiting.m_nNewest = std::max(waiting.m_nNewest, order.m_nMoved);
  }
  m_old.swap(open);
  return troubles;
}

std::vector<SHedgeLots> CBlotter::hedges() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<SHedgeLots> hedges;
  for (const auto& [task, kept] : m_courses) {
    const STaskCourse& course = kept.course();
    if (course.m_nHedgeTarget == 0 && course.m_nHedged == 0) continue;
    hedges.push_back({task, course.m_nHedgeTarget, course.m_nHedged});
  }
  return hedges;
}

std::pair<std::string, std::string> CBlotter::hedgeInstrument(int taskId) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_hedgeInstruments.find(taskId);
  return found == m_hedgeInstruments.end() ? std::pair<std::string, std::string>() : found->second;
}

std::int64_t CBlotter::left(int taskId, const std::string& market, const std::string& code, bool buy) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_courses.find(taskId);
  if (found == m_courses.end() || found->second.course().m_nEnd != 0) return 0;
  const SCourseLine* line = found->second.line(market, code, buy);
  return line ? line->m_nTarget - line->m_nTraded : 0;
}

std::map<std::string, std::int64_t> CBlotter::ordered(const std::string& detailKey, bool again) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  std::map<std::string, std::int64_t> ordered;
  const auto known = m_details.find(detailKey);
  if (known == m_details.end()) return ordered;
  for (const int number : known->second.m_orders) {
    const ksservice::COrderInfo& info = *m_orders[static_cast<std::size_t>(number)].m_order.m_pInfo;
    const bool buy = ksservice::DataHelper::isBuy(info.m_nOperation);
    ordered[lineKey(info.m_strMarket, info.m_strCode, buy)] +=
        again && info.m_bCompleted ? info.m_nTradedVolume : info.m_nVolume;
  }
  return ordered;
}

std::shared_ptr<const STaskCourse> CBlotter::course(int taskId) const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_courses.find(taskId);
  return found == m_courses.end() ? nullptr : std::make_shared<STaskCourse>(found->second.course());
}

}  // namespace app
