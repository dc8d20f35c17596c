// What must hold on a random day.
#include <algorithm>
#include <cmath>

#include "BasketColumns.h"
#include "SafetyDay.h"
#include "ShownRows.h"
#include "ksservice/Operations.h"

namespace test {
namespace {

using namespace ksservice;

std::string fraction(long long part, long long whole) { return std::to_string(part) + " / " + std::to_string(whole); }

}  // namespace

// Quantities, money, pace

void CSafetyDay::checkLimits() {
  for (const auto& [key, line] : m_host.truth(false)) {
    const bool within = line.m_nTraded <= line.m_nTarget && line.m_nMayTrade <= line.m_nTarget;
    check(within, engine::lineText(key) + " traded " + fraction(line.m_nTraded, line.m_nTarget) + " and may trade " +
                      std::to_string(line.m_nMayTrade));
  }
  check(m_host.accountFault().empty(), m_host.accountFault());
}

/// What is taken of each line as far as the panel could know.
Truth CSafetyDay::taken() const {
  Truth lines = m_host.truth(true);
  for (const CreationPtr& creation : m_host.creations()) {
    if (!creation->holds()) continue;
    for (const auto& [key, volume] : creation->m_lines) lines[key].m_nMayTrade += volume;
  }
  if (!has(ING_NewBasket)) return lines;
  for (const auto& [key, volume] : m_handedOver) lines[key].m_nMayTrade += volume;
  return lines;
}

void CSafetyDay::checkRest(const std::string& what, const std::vector<std::pair<LineKey, long long>>& lines) {
  Truth truth = taken();
  for (const auto& [key, volume] : lines) {
    SLineTruth& line = truth[key];
    check(line.m_nMayTrade + volume <= line.m_nTarget, engine::lineText(key) + ": " + std::to_string(volume) + " " +
                                                           what + " while " +
                                                           fraction(line.m_nMayTrade, line.m_nTarget) + " are taken");
    line.m_nMayTrade += volume;
  }
}

/// A task is patched when all that the data centre knows of it has ended, and nothing was dropped.
void CSafetyDay::checkNewest(int basket) {
  for (const auto& [key, detail] : m_host.stored()) {
    const int status = detail->m_nStatus;
    const bool over = status == ETS_Finished || status == ETS_Cancelled || status == ETS_ExecutionError;
    check(over || !has(ING_Ahead) || detail->m_nTaskId != basket,
          "a patch of " + std::to_string(basket) + " while " + key + " has status " + std::to_string(status));
  }
}

/// What was open when its task was dropped, or when the panel let go of it, sends nothing.
void CSafetyDay::checkConfirmation() {
  check(m_confirmation.m_nLetGo == m_nLetGo, "a confirmation of a panel, a day or a trader type that is gone is sent");
  check(m_confirmation.m_nDropped == m_drops[m_confirmation.m_nBasket], "a confirmation is sent after the drop");
}

void CSafetyDay::onAsked(const testkit::CTestHost::SCreation& request, SCreation& creation) {
  ++m_counts[m_bDirect ? "direct patches" : "patches"];
  creation.m_nBasket = request.m_nTaskId;
  creation.m_nAsked = m_host.now();
  for (const auto& entry : m_host.stored()) creation.m_before.insert(entry.first);
  std::map<std::string, int> volumes;
  for (const CCodeOrderParam& param : request.m_params) {
    volumes[param.getKey()] = param.m_nVolume;
    const LineKey line = engine::lineKeyOf(param.m_pAccount->getKey(), param.m_stock, param.m_nOperation);
    if (param.m_nVolume > 0) creation.m_lines[line] += param.m_nVolume;
  }
  note("asked for a patch of " + std::to_string(request.m_nTaskId) + " by " + std::to_string(volumes.size()) +
       " lines");
  check(m_bDirect || m_bConfirmed, "a task without a dialog that was accepted");
  check(request.m_nTaskId == request.m_command.m_nTaskId && request.m_command.m_bPatch, "a task that is no patch");
  check(request.m_params.size() == volumes.size(), "a line is ordered twice");
  for (const CreationPtr& other : m_host.creations()) {
    const bool second = !m_bDirect && other->m_nBasket == creation.m_nBasket && isWaiting(*other);
    check(!second || !has(ING_Waits), "a second patch while the first has not come");
  }
  if (m_bConfirmed) {
    check(volumes == m_confirmation.m_volumes, "what is ordered is not what was confirmed");
    checkConfirmation();
  }
  if (!m_bDirect) m_bConfirmed = false;
  checkNewest(creation.m_nBasket);
  checkRest("ordered", {creation.m_lines.begin(), creation.m_lines.end()});
}

// What is on its way

/// Surely: nothing has come that could be taken for it.
bool CSafetyDay::isWaiting(const SCreation& creation) const {
  if (creation.m_bFailed || creation.m_bWaitEnded) return false;
  return std::none_of(m_host.stored().begin(), m_host.stored().end(), [&](const auto& entry) {
    const COrderCommand& command = *entry.second->m_pCommand;
    return command.m_bPatch && command.m_nTaskId == creation.m_nBasket && !creation.m_before.contains(entry.first);
  });
}

std::string CSafetyDay::rootStatus(int basket) const {
  const auto row = m_pTable->rowByPath(QString::number(basket));
  return row ? m_pTable->itemText(*row, TC::EBC_Status).toStdString() : std::string();
}

void CSafetyDay::checkWaits() {
  for (const CreationPtr& creation : m_host.creations()) {
    if (!has(ING_Waits) || creation->m_stops.contains(ETO_Drop) || !isWaiting(*creation)) continue;
    const std::string status = rootStatus(creation->m_nBasket);
    check(status == "补单中" || status.empty(),
          "task " + std::to_string(creation->m_nBasket) + " shows " + status + " while a patch is on its way");
  }
}

/// What no click asked for is sent to what has arrived of a patch that was given up or paused.
void CSafetyDay::onSent(const std::string& operation) {
  note("  sent: " + operation);
  if (m_bOperating || !isCertain()) return m_sends.push_back(operation);
  if (!m_dropSends.empty()) {
    check(operation == m_dropSends.front(), "a new basket sent " + operation + " instead of " + m_dropSends.front());
    m_dropSends.erase(m_dropSends.begin());
    return;
  }
  ++m_counts["stops on arrival"];
  m_stops.insert(operation);
  const auto isMeant = [&](const CTaskDetail& detail, const SCreation& creation) {
    const bool its = detail.m_nTaskId == creation.m_nTask ||
                     (!creation.m_bTold && detail.m_pCommand->m_nTaskId == creation.m_nBasket);
    std::set<int> stops = creation.m_stops;
    if (creation.m_bPaused) stops.insert({ETO_Pause, -ETO_Pause});
    return its && detail.m_pCommand->m_bPatch &&
           std::any_of(stops.begin(), stops.end(), [&](int stop) { return operationText(detail, stop) == operation; });
  };
  std::size_t allowed = 0;
  for (const auto& entry : m_host.stored()) {
    allowed += std::any_of(m_host.creations().begin(), m_host.creations().end(),
                           [&](const CreationPtr& creation) { return isMeant(*entry.second, *creation); });
  }
  check(m_stops.count(operation) <= allowed, operation + " was sent, which nobody asked for");
}

/// Whatever of a patch that was given up has arrived must have got its stop, unless it had ended by then.
void CSafetyDay::checkStops() {
  for (const CreationPtr& creation : m_host.creations()) {
    std::set<int> stops = creation->m_stops;
    auto& settled = stops.empty() ? m_paused : m_stopped;
    const int needless = stops.empty() ? ETS_Paused : ETS_Finished;
    if (stops.empty() && creation->m_bPaused) stops.insert(ETO_Pause);
    // What could be somebody else's is stopped when the reply has named it.
    const auto untold = [&](const CreationPtr& other) {
      return other->m_nBasket == creation->m_nBasket && !other->m_bTold;
    };
    const auto all = std::count_if(m_host.creations().begin(), m_host.creations().end(), untold);
    const bool certain = creation->m_bTold || (all == 1 && !has(ING_Foreign));
    if (!has(ING_Stops) || stops.empty() || !certain) continue;
    // Before the reply it may have been stopped in the way of another.
    stops.insert({ETO_Cancel, ETO_Drop});
    for (const auto& [key, detail] : m_known) {
      if (detail->m_nTaskId != creation->m_nTask || settled.contains(key) || m_arrived.at(key) >= needless) continue;
      settled.insert(key);
      const bool sent = std::any_of(stops.begin(), stops.end(), [&, arrived = detail](int stop) {
        return m_stops.contains(operationText(*arrived, stop));
      });
      check(sent || detail->m_nStatus >= ETS_Finished, key + " goes on although its patch was given up or paused");
    }
  }
}

// The table

/// Lines that an order does not always tell apart are taken together.
LineKey CSafetyDay::figureKey(LineKey line) const {
  if (has(ING_Mixed)) std::get<0>(line).clear();
  if (has(ING_Indices)) std::get<2>(line) = 0;
  return line;
}

/// The account of a table's node: its display identifier, with the key behind it where two have the same.
std::string CSafetyDay::accountOf(const QString& node) const {
  if (node.contains('@')) return node.section('@', 1).toStdString();
  return (*std::find_if(m_plan.m_accounts.begin(), m_plan.m_accounts.end(),
                        [&](const auto& account) { return account->m_strDisplayId == node.toStdString(); }))
      ->getKey();
}

/// Every row of the table against the sums over the orders of its task and of its patches.
void CSafetyDay::checkFigures() {
  struct SFigures {
    SLineTruth m_truth;
    SLineTruth m_shown;
    int m_nRows = 0;
  };
  std::map<LineKey, SFigures> figures;
  const auto rootKey = [](const std::string& task) { return LineKey({}, "task " + task, 0); };
  for (const auto& [key, line] : m_host.truth(false)) {
    const std::string task = std::to_string(m_host.basketOf(key));
    if (!m_pTable->rowByPath(QString::fromStdString(task))) continue;
    for (const LineKey& each : {figureKey(key), rootKey(task)}) {
      SLineTruth& sum = figures[each].m_truth;
      sum.m_nTarget += line.m_nTarget;
      sum.m_nTraded += line.m_nTraded;
      sum.m_dAmount += line.m_dAmount;
    }
  }
  std::string account;
  m_pTable->forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool, bool) {
    const QString name = row.scriptName();
    const bool node = depth > 0 && !name.contains('.');
    if (depth == 0 || node) account = node ? accountOf(name) : m_plan.m_accounts.front()->getKey();
    if (node) return;  // the sum of its rows
    SFigures& sum = figures[depth == 0 ? rootKey(name.toStdString()) : figureKey(lineOfRow(account, name))];
    const QString progress = m_pTable->itemText(row, TC::EBC_Progress);
    sum.m_shown.m_nTraded += progress.section(" / ", 0, 0).toLongLong();
    sum.m_shown.m_nTarget += progress.section(" / ", 1, 1).toLongLong();
    sum.m_shown.m_dAmount += m_pTable->itemText(row, TC::EBC_Amount).toDouble();
    ++sum.m_nRows;
    if (depth > 0) return;
    const std::string status = rootStatus(name.toInt());
    const bool filled = sum.m_truth.m_nTraded == sum.m_truth.m_nTarget;
    check(status == "补单中" || filled == (status == "已完成"),
          "task " + name.toStdString() + " shows " + status + " with " +
              fraction(sum.m_truth.m_nTraded, sum.m_truth.m_nTarget));
  });
  for (const auto& [key, sum] : figures) {
    ++m_counts["rows compared with the truth"];
    const auto text = [&sum = sum](const SLineTruth& line) {
      // A row shows no more than 32 bits hold; what several such rows show together is not told.
      const bool beyond = sum.m_truth.m_nTarget > UNSET_INT;
      const long long most = !beyond ? line.m_nTarget : sum.m_nRows > 1 ? 0 : UNSET_INT;
      return fraction(std::min(line.m_nTraded, most), std::min(line.m_nTarget, most));
    };
    const double amount = sum.m_truth.m_dAmount;
    const bool same = std::abs(sum.m_shown.m_dAmount - amount) < 0.011 * std::max(1, sum.m_nRows) + 1e-9 * amount;
    const std::string what = std::get<0>(key) + " " + std::get<1>(key);
    check(sum.m_nRows > 0 && same && text(sum.m_shown) == text(sum.m_truth),
          (std::get<2>(key) == 0 ? what : engine::lineText(key)) + " shows " + text(sum.m_shown) + ", " +
              std::to_string(sum.m_shown.m_dAmount) + " CNY, not " + text(sum.m_truth) + ", " + std::to_string(amount));
  }
}

/// The table against that of a panel that gets the same details in a few refreshes, in any order; but what is lost.
void CSafetyDay::checkFresh(const std::set<QString>& lost) {
  std::vector<CTaskDetailPtr> details;
  for (const auto& entry : m_known) details.push_back(entry.second);
  std::shuffle(details.begin(), details.end(), m_random);
  // A patch and a hedge need their task, of which some own detail comes first.
  std::set<int> tasks;
  auto end = std::stable_partition(details.begin(), details.end(), [&tasks](const CTaskDetailPtr& detail) {
    return isOwn(*detail) && tasks.insert(detail->m_nTaskId).second;
  });
  TC::CBasketTasksPanel fresh(2, nullptr);
  fresh.setParam(m_pPanel->param());
  putView(showQuantities(fresh));
  for (auto next = details.begin();;) {
    for (; next != end; ++next) fresh.onTaskDetail(*next);
    m_host.front().fireTimers();
    m_host.settle();
    if (next == details.end()) break;
    end = next + 1 + below(m_random, static_cast<int>(details.end() - next));
  }
  putView(*fresh.findChild<TC::CHpfBasketStatusTable*>());
  // Folding everything shows finished sub-tasks until the next pass of the filters.
  m_pPanel->handleEvent(GV::EventCheckBoxToggled, 0, 0, QString(), nullptr);
  compare(fresh, lost);
}

}  // namespace test
