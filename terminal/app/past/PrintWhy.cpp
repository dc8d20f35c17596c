#include "past/PrintWhy.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>
#include <vector>

#include "TableDump.h"
#include "gv/CHpfTreeTable.h"
#include "ksservice/Operations.h"
#include "past/CPastSession.h"
#include "past/DayTrail.h"

namespace app {
namespace {

using nlohmann::json;

/// Task and node.
using Rows = std::vector<std::pair<int, QString>>;

/// The lines of all tasks that a test lets pass.
template <typename Test>
Rows linesWhere(CPastSession& session, const std::set<int>& tasks, const Test& passes) {
  Rows rows;
  for (const int task : tasks) {
    const json document = json::parse(session.panel()->explain(task, QString()).toStdString(), nullptr, false);
    if (!document.is_object()) continue;
    json lines = document.value("lines", json::array());
    if (document.contains("hedge")) lines.push_back(document["hedge"]);
    for (const json& line : lines) {
      if (passes(task, line)) rows.emplace_back(task, QString::fromStdString(line.value("row", std::string())));
    }
  }
  return rows;
}

Rows rowsOf(CPastSession& session, const QString& name) {
  const int task = name.section(QLatin1Char('/'), 0, 0).toInt();
  if (const auto row = journal::tableOf(*session.panel())->rowByPath(name)) {
    return {{task, name.contains(QLatin1Char('/')) ? row->key() : QString()}};
  }
  std::set<int> tasks;
  const SPastOrder* order = nullptr;
  const SPastTask* sentIn = nullptr;
  for (const SPastTask& each : session.day().tasks()) {
    if (!each.m_facts.m_pCommand) continue;
    tasks.insert(each.m_facts.m_pCommand->m_nTaskId);
    for (const SPastOrder& sent : each.m_sent) {
      if (QString::fromStdString(sent.m_strKey) != name) continue;
      order = &sent;
      sentIn = &each;
    }
  }
  const std::string code = order ? order->m_strCode : name.toStdString();
  return linesWhere(session, tasks, [&](int of, const json& line) {
    if (line.value("code", std::string()) != code) return false;
    return !order || (of == sentIn->m_facts.m_pCommand->m_nTaskId &&
                      line.value("accountKey", std::string()) == accountIn(*sentIn, *order) &&
                      line.value("buy", true) == ksservice::DataHelper::isBuy(order->m_nOperation));
  });
}

}  // namespace

bool printWhy(CPastSession& session, const QString& name) {
  const Rows rows = rowsOf(session, name);
  for (const auto& [task, row] : rows) std::cout << whyText(session.why(task, row)).toStdString();
  return !rows.empty();
}

}  // namespace app
