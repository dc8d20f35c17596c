#include "CycleMarket.h"

#include <algorithm>

#include "TaskDetails.h"

namespace test {
namespace {

using namespace ksservice;

constexpr int LOTS = 4;
constexpr int LOT = 100;
/// Numbers of sub-tasks: of a trader type's own from its hundred on, then its patch and its hedge.
constexpr int OWN_NUMBERS = 3;
constexpr int PATCH = 50;
constexpr int HEDGE = 60;

boost::shared_ptr<CAccountInfo> accountOf(int number) {
  // Two accounts with one display identifier, and that of the hedges.
  auto account = number == HEDGE   ? makeAccount("F1", "2001")
                 : number % 3 == 0 ? makeAccount("A2", "1001")
                                   : makeAccount("A1", "1001");
  account->m_nType = number == HEDGE ? 1 : 2;
  return account;
}

bool hasEnded(int status) { return status >= ETS_Finished; }

}  // namespace

void CCycleMarket::startDay(int firstTask, bool hedges) {
  m_nFirstTask = firstTask;
  m_bHedges = hedges;
  m_newest.clear();
}

CTaskDetailPtr CCycleMarket::add(const CTaskDetailPtr& detail) { return m_newest[detail->getKey()] = detail; }

CCycleMarket::Details CCycleMarket::newest(int type) const {
  Details details;
  for (const auto& [key, detail] : m_newest) {
    if (detail->m_pCommand->m_nTraderType == type) details[key] = detail;
  }
  return details;
}

std::vector<std::string> CCycleMarket::keysOf(int type, int task) const {
  std::vector<std::string> keys;
  for (const auto& [key, detail] : newest(type)) {
    if (taskOf(*detail) == task) keys.push_back(key);
  }
  return keys;
}

CTaskDetailPtr CCycleMarket::next(int type, std::set<std::string>& told) {
  const Details before = m_newest;
  CTaskDetailPtr detail = any(type);
  if (told.insert(detail->getKey()).second) return detail;
  m_newest = before;
  return nullptr;
}

CTaskDetailPtr CCycleMarket::any(int type) {
  const int task = m_nFirstTask + below(m_random, CYCLE_TASKS);
  const std::vector<std::string> keys = keysOf(type, task);
  if (!keys.empty() && chance(m_random, 80)) return renew(pick(m_random, keys));
  if (!keys.empty() && chance(m_random, 30)) return startPatch(type, task);
  return start(type, task,
               !keys.empty() && m_bHedges && chance(m_random, 20) ? HEDGE : 1 + below(m_random, OWN_NUMBERS));
}

CTaskDetailPtr CCycleMarket::start(int type, int task, int number) {
  const std::string key = CTaskDetail::genKey(task, type * 100 + number);
  if (m_newest.contains(key)) return renew(key);
  const CTaskDetailPtr detail = makeDetail(task, type * 100 + number);
  const auto command = boost::make_shared<COrderCommand>(*detail->m_pCommand);
  command->m_nTraderType = type;
  if (number == HEDGE) command->m_nBasketType = ECBT_Hedge;
  detail->m_pCommand = command;
  // Sub-tasks of a task share rows.
  for (int row = 0; row < (number == HEDGE ? 1 : 3); ++row) {
    const std::string code = number == HEDGE ? "IF2412" : std::to_string(600000 + task % 7 * 10 + number + row);
    addParam(*detail, accountOf(number), code, LOTS * LOT, 10 + row);
    addOrder(*detail, detail->getKey() + code, code, LOTS * LOT, 0, 10 + row);
  }
  return add(detail);
}

/// Of a task that has ended and left something open.
CTaskDetailPtr CCycleMarket::startPatch(int type, int task) {
  const CTaskDetailPtr patch = makeDetail(task + 1000, type * 100 + PATCH);
  if (m_newest.contains(patch->getKey())) return renew(patch->getKey());
  const std::vector<std::string> keys = keysOf(type, task);
  const auto runs = [this](const std::string& key) { return !hasEnded(m_newest.at(key)->m_nStatus); };
  if (std::any_of(keys.begin(), keys.end(), runs)) return start(type, task, 1 + below(m_random, OWN_NUMBERS));
  const CTaskDetailPtr own = m_newest.at(keys.front());
  if (own->m_nStatus != ETS_Cancelled) return renew(keys.front());
  const auto command = boost::make_shared<COrderCommand>(*own->m_pCommand);
  command->m_bPatch = true;
  command->m_nBasketType = ECBT_Basket;
  patch->m_pCommand = command;
  const COrderInfo& order = *own->m_orders.front();
  const int rest = order.m_nVolume - order.m_nTradedVolume;
  if (rest == 0) return renew(keys.front());
  addParam(*patch, accountOf(1), order.m_strCode, rest, 10);
  patch->m_params.front().m_pAccount = own->m_params.front().m_pAccount;
  addOrder(*patch, patch->getKey() + order.m_strCode, order.m_strCode, rest, 0, 10);
  return add(patch);
}

CTaskDetailPtr CCycleMarket::renew(const std::string& key, int status) {
  const auto detail = boost::make_shared<CTaskDetail>(*m_newest.at(key));
  if (hasEnded(detail->m_nStatus)) {
    if (status == ETS_Dropped && detail->m_nStatus != ETS_Finished) detail->m_nStatus = status;
    return add(detail);
  }
  bool filled = true;
  for (COrderInfoPtr& order : detail->m_orders) {
    const auto later = boost::make_shared<COrderInfo>(*order);
    later->m_nTradedVolume = std::min(order->m_nVolume, order->m_nTradedVolume + below(m_random, LOTS) * LOT);
    later->m_dTradedAmount = later->m_nTradedVolume * order->m_dPrice;
    filled = filled && later->m_nTradedVolume == order->m_nVolume;
    order = later;
  }
  const int random = chance(m_random, 10) ? ETS_Cancelled : chance(m_random, 20) ? ETS_Paused : ETS_Running;
  detail->m_nStatus = filled ? ETS_Finished : status > 0 ? status : random;
  if (hasEnded(detail->m_nStatus)) detail->m_nEndTime = 1700000000 + below(m_random, 10000);
  return add(detail);
}

}  // namespace test
