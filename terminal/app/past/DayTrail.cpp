#include "past/DayTrail.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "ksservice/Operations.h"

namespace app {
namespace {

using nlohmann::json;

/// The account that trades a security in a detail; empty where no line of it does.
std::string accountIn(const SPastTask& task, const std::string& market, const std::string& code) {
  if (!task.m_pParams) return {};
  for (const auto& [account, param] : *task.m_pParams) {
    if (param.m_stock.m_strMarket == market && param.m_stock.m_strCode == code) return account;
  }
  return {};
}

bool isOf(const SPastTask& task, int taskId) {
  return task.m_facts.m_pCommand && task.m_facts.m_pCommand->m_nTaskId == taskId;
}

json bodyOf(const daylog::SEntry& entry) {
  json body = json::parse(entry.m_strBody, nullptr, false);
  return body.is_object() ? body : json::object();
}

/// Baskets get their numbers in the order in which they come.
const daylog::SEntry* basketOf(const daylog::IDayLog& log, const CPastDay& day, int taskId) {
  std::set<int> own;
  for (const SPastTask& task : day.tasks()) {
    const auto& command = task.m_facts.m_pCommand;
    if (command && !command->m_bPatch && command->m_nBasketType != ksservice::ECBT_Hedge)
      own.insert(command->m_nTaskId);
  }
  auto place = std::distance(own.begin(), own.find(taskId));
  for (const daylog::SEntry& entry : log.entries()) {
    if (entry.m_strKind == "basket" && place-- == 0) return &entry;
  }
  return nullptr;
}

/// The last one of its kinds up to a moment whose body names the task so.
const daylog::SEntry* lastEntry(const daylog::IDayLog& log, const std::set<std::string>& kinds, const char* name,
                                int id, std::int64_t until) {
  const daylog::SEntry* last = nullptr;
  for (const daylog::SEntry& entry : log.entries()) {
    if (entry.m_nMsec > until) break;
    if (kinds.contains(entry.m_strKind) && bodyOf(entry).value(name, -1) == id) last = &entry;
  }
  return last;
}

}  // namespace

std::int64_t firstTold(const CPastDay& day, const std::string& detailKey) {
  for (const SPastTask& task : day.tasks()) {
    if (task.m_facts.getKey() == detailKey) return task.m_nMsec;
  }
  return -1;
}

std::vector<SOrderTrail> ordersOfLine(const CPastDay& day, const STrailLine& line, std::int64_t until) {
  std::vector<SOrderTrail> trails;
  // Of each detail the places of its orders among all of the day's, and which of them are the line's.
  std::map<std::string, std::vector<int>> places;
  for (const SPastTask& task : day.tasks()) {
    if (task.m_nMsec > until) break;
    if (!isOf(task, line.m_nTaskId)) continue;
    std::vector<int>& of = places[task.m_facts.getKey()];
    for (const SPastOrder& order : task.m_sent) {
      const bool fits = order.m_strMarket == line.m_strMarket && order.m_strCode == line.m_strCode &&
                        ksservice::DataHelper::isBuy(order.m_nOperation) == line.m_bBuy &&
                        accountIn(task, order.m_strMarket, order.m_strCode) == line.m_strAccount;
      of.push_back(fits ? static_cast<int>(trails.size()) : -1);
      if (fits) trails.push_back({&task, &order, {}});
    }
    for (const SPastReport& report : task.m_reports) {
      const int place = report.m_nOrder < of.size() ? of[report.m_nOrder] : -1;
      if (place >= 0) trails[static_cast<std::size_t>(place)].m_reports.emplace_back(task.m_nMsec, &report);
    }
  }
  return trails;
}

const daylog::SEntry* causeOf(const daylog::IDayLog& log, const CPastDay& day, const ksservice::CTaskDetail& detail) {
  if (!detail.m_pCommand) return nullptr;
  const int task = detail.m_pCommand->m_nTaskId;
  const std::int64_t first = firstTold(day, detail.getKey());
  if (detail.m_pCommand->m_nBasketType == ksservice::ECBT_Hedge) {
    return lastEntry(log, {"hedge", "setHedge"}, "group", task, first);
  }
  if (detail.m_pCommand->m_bPatch) return lastEntry(log, {"create"}, "ofTask", task, first);
  return basketOf(log, day, task);
}

int sentInSecond(const CPastDay& day, const std::string& account, int second) {
  int count = 0;
  for (const SPastTask& task : day.tasks()) {
    if (!task.m_pParams || task.m_pParams->empty() || task.m_pParams->front().first != account) continue;
    for (const SPastOrder& order : task.m_sent) count += order.m_nSent == second ? 1 : 0;
  }
  return count;
}

}  // namespace app
