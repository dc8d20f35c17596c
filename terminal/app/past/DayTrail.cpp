#include "past/DayTrail.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "JsonText.h"
#include "ksservice/Operations.h"

namespace app {
namespace {

using nlohmann::json;

bool isOf(const SPastTask& task, int taskId) {
  return task.m_facts.m_pCommand && task.m_facts.m_pCommand->m_nTaskId == taskId;
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
    if (kinds.contains(entry.m_strKind) && journal::valueOr(bodyOf(entry), name, -1) == id) last = &entry;
  }
  return last;
}

/// What the acts on a task call it: its own number, those of its details, and their keys.
struct SNames {
  int m_nTaskId;
  std::set<int> m_numbers;
  std::set<std::string> m_keys;

  bool isMeant(const daylog::SEntry& entry) const {
    const json body = bodyOf(entry);
    const auto number = [&body](const char* name) { return journal::valueOr(body, name, -1); };
    const auto key = [&body](const char* name) { return journal::valueOr(body, name, std::string()); };
    const std::string& kind = entry.m_strKind;
    if (kind == "operate") return m_numbers.contains(number("task"));
    if (kind == "operateServer") return m_keys.contains(key("task"));
    if (kind == "cancel") return m_keys.contains(key("detail"));
    if (kind == "create") return number("ofTask") == m_nTaskId;
    return (kind == "hedge" || kind == "setHedge") && number("group") == m_nTaskId;
  }
};

}  // namespace

json bodyOf(const daylog::SEntry& entry) {
  json body = journal::tryParseJson(entry.m_strBody);
  return body.is_object() ? body : json::object();
}

/// A security that several accounts trade in one detail is the first one's, where no line trades it on the order's
/// side.
std::string accountIn(const SPastTask& task, const SPastOrder& order) {
  if (!task.m_pParams) return {};
  const std::string* any = nullptr;
  for (const auto& [account, param] : *task.m_pParams) {
    if (param.m_stock.m_strMarket != order.m_strMarket || param.m_stock.m_strCode != order.m_strCode) continue;
    if (ksservice::DataHelper::isBuy(param.m_nOperation) == ksservice::DataHelper::isBuy(order.m_nOperation)) {
      return account;
    }
    if (!any) any = &account;
  }
  return any ? *any : std::string();
}

std::vector<const daylog::SEntry*> actsOn(const daylog::IDayLog& log, const CPastDay& day, int taskId,
                                          std::int64_t until) {
  SNames names{taskId, {taskId}, {}};
  for (const SPastTask& task : day.tasks()) {
    if (!isOf(task, taskId)) continue;
    names.m_numbers.insert(task.m_facts.m_nTaskId);
    names.m_keys.insert(task.m_facts.getKey());
  }
  std::vector<const daylog::SEntry*> acts;
  for (const daylog::SEntry& entry : log.entries()) {
    if (entry.m_nMsec > until) break;
    if (names.isMeant(entry)) acts.push_back(&entry);
  }
  return acts;
}

const daylog::SEntry* cancelOf(const daylog::IDayLog& log, const std::string& orderKey, std::int64_t until) {
  for (const daylog::SEntry& entry : log.entries()) {
    if (entry.m_nMsec > until) break;
    if (entry.m_strKind != "cancel") continue;
    for (const json& key : journal::listOf(bodyOf(entry), "orders")) {
      if (key == orderKey) return &entry;
    }
  }
  return nullptr;
}

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
                        accountIn(task, order) == line.m_strAccount;
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

}  // namespace app
