#include "past/PatchProofs.h"

#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <tuple>

#include "JsonText.h"
#include "ksservice/Operations.h"
#include "past/DayTrail.h"

namespace app {
namespace {

using nlohmann::json;

/// Of a figure in a proof: a sum of few lines of 32 bits.
constexpr std::int64_t LARGEST = std::int64_t{1} << 52;

/// Account, market, code, whether it buys.
using Line = std::tuple<std::string, std::string, std::string, bool>;
using Volumes = std::map<Line, std::int64_t>;

std::string nameOf(const Line& line) {
  const auto& [account, market, code, buy] = line;
  return account + " " + market + "." + code + (buy ? " buy" : " sell");
}

/// What a task was to trade, and what it and its patches had traded up to a moment.
struct SStanding {
  Volumes m_target;
  Volumes m_traded;
};

class CStanding {
 public:
  CStanding(const CPastDay& day, int taskId, std::int64_t until) {
    for (const SPastTask& task : day.tasks()) {
      if (task.m_nMsec > until) break;
      const auto& command = task.m_facts.m_pCommand;
      if (!command || command->m_nTaskId != taskId || command->m_nBasketType == ksservice::ECBT_Hedge) continue;
      take(task);
    }
  }

  const SStanding& standing() const { return m_standing; }

 private:
  struct SOrder {
    Line m_line;
    int m_nTraded = 0;
  };

  void take(const SPastTask& task) {
    std::vector<SOrder>& orders = m_orders[task.m_facts.getKey()];
    const bool first = orders.empty() && m_taken.insert(task.m_facts.getKey()).second;
    if (task.m_pParams) {
      for (const auto& [account, param] : *task.m_pParams) {
        if (!first || task.m_facts.m_pCommand->m_bPatch) continue;
        m_standing.m_target[{account, param.m_stock.m_strMarket, param.m_stock.m_strCode,
                             ksservice::DataHelper::isBuy(param.m_nOperation)}] += param.m_nVolume;
      }
    }
    for (const SPastOrder& order : task.m_sent) {
      orders.push_back({{accountIn(task, order), order.m_strMarket, order.m_strCode,
                         ksservice::DataHelper::isBuy(order.m_nOperation)}});
    }
    for (const SPastReport& report : task.m_reports) {
      SOrder& order = orders.at(report.m_nOrder);
      m_standing.m_traded[order.m_line] += report.m_nTraded - order.m_nTraded;
      order.m_nTraded = report.m_nTraded;
    }
  }

  SStanding m_standing;
  std::map<std::string, std::vector<SOrder>> m_orders;
  std::set<std::string> m_taken;
};

class CProofCheck {
 public:
  CProofCheck(const daylog::SEntry& entry, const CPastDay& day, SProofs& found)
      : m_entry(entry), m_day(day), m_found(found) {}

  void check() {
    const json body = journal::parseJson(m_entry.m_strBody);
    const auto text = journal::valueOr(body, "proof", std::string());
    if (text.empty()) return;
    ++m_found.m_nProofs;
    const CStanding at(m_day, journal::valueOr(body, "ofTask", 0), m_entry.m_nMsec);
    Volumes asked;
    for (const json& param : body.at("params")) {
      const auto textOf = [&param](const char* name) { return journal::valueOr(param, name, std::string()); };
      asked[{textOf("account"), textOf("market"), textOf("code"),
             ksservice::DataHelper::isBuy(journal::valueOr(param, "operation", 0))}] +=
          journal::valueOr(param, "volume", 0);
    }
    Volumes chosen;
    const json proof = journal::parseJson(text);
    for (const json& line : proof.at("lines")) {
      const Line of{line.value("accountKey", ""), line.value("market", ""), line.value("code", ""),
                    line.value("buy", true)};
      chosen[of] += journal::valueOr(line, "chosen", 0);
      checkLine(of, line, at.standing());
    }
    for (const auto& [line, volume] : asked) {
      const std::int64_t proved = chosen.contains(line) ? chosen.at(line) : 0;
      if (proved != volume) say(line, "asked for " + std::to_string(volume) + ", chosen " + std::to_string(proved));
    }
    for (const auto& [line, volume] : chosen) {
      if (volume != 0 && !asked.contains(line)) say(line, "chosen " + std::to_string(volume) + ", not asked for");
    }
  }

 private:
  void say(const Line& line, const std::string& what) {
    m_found.m_faults.push_back("entry " + std::to_string(m_entry.m_nNumber) + ": the patch of " + nameOf(line) + ": " +
                               what);
  }

  void checkLine(const Line& of, const json& line, const SStanding& at) {
    // What is reckoned with them here stays within 64 bits then.
    const auto number = [&line](const char* name) {
      const auto value = journal::valueOf<std::int64_t>(line.at(name));
      if (std::abs(value / 2) > LARGEST / 2) throw std::range_error(std::string(name) + " is too large");
      return value;
    };
    const std::int64_t left = number("target") - number("done") - number("open") - number("held");
    if (left != number("remainder")) say(of, "its remainder does not add up");
    const std::int64_t offered = number("offered");
    if (offered < 0 || offered > std::max<std::int64_t>(left, 0)) say(of, "more was offered than is left");
    if (offered != 0 && offered != left - number("rounding")) say(of, "what was offered does not add up");
    if (number("chosen") < 0 || number("chosen") > offered) say(of, "more was chosen than offered");
    const auto target = at.m_target.find(of);
    if (target == at.m_target.end()) return say(of, "the task has no such line");
    // Rows of one line share its target.
    if (number("target") > target->second) say(of, "its target is " + std::to_string(target->second));
    const auto traded = at.m_traded.find(of);
    const std::int64_t done = traded == at.m_traded.end() ? 0 : traded->second;
    // The panel may not have counted yet what it takes for open.
    if (number("done") > done || (number("target") == target->second && number("done") + number("open") < done)) {
      say(of, std::to_string(done) + " were traded");
    }
    if (number("chosen") > target->second - done) say(of, "more was chosen than was not traded");
  }

  const daylog::SEntry& m_entry;
  const CPastDay& m_day;
  SProofs& m_found;
};

}  // namespace

SProofs checkProofs(const std::vector<daylog::SEntry>& entries, const CPastDay& day) {
  SProofs found;
  for (const daylog::SEntry& entry : entries) {
    if (entry.m_strKind != "create") continue;
    try {
      CProofCheck(entry, day, found).check();
    } catch (const std::exception& fault) {
      found.m_faults.push_back("entry " + std::to_string(entry.m_nNumber) +
                               ": its proof cannot be read: " + fault.what());
    }
  }
  return found;
}

}  // namespace app
