#include "SafetyDay.h"

#include <algorithm>
#include <cmath>

#include "TableDump.h"
#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CCommonDialog.h"
#include "gv/CHpfTreeTable.h"
#include "gv/CMessageBox.h"
#include "ksservice/Operations.h"

namespace test {
namespace {

using namespace ksservice;

constexpr int AMOUNT_COLUMN = 7;
constexpr int PROGRESS_COLUMN = 8;
constexpr int ACCOUNT_COLUMN = 4;
constexpr std::size_t ACTS_SHOWN = 60;

/// Codes with which a task's buttons are delivered.
const std::map<QString, int> OPERATIONS = {{QStringLiteral("撤销"), ETO_Cancel},
                                           {QStringLiteral("暂停"), ETO_Pause},
                                           {QStringLiteral("继续"), ETO_Resume},
                                           {QStringLiteral("放弃补单"), ETO_Drop}};
constexpr int PATCH_CODE = 10000;
constexpr int STOP_PATCH_CODE = 10001;

std::string serverSend(const std::string& key, int operation) { return key + " " + std::to_string(operation); }
std::string localSend(int task, const std::string& account, int operation) {
  return std::to_string(task) + "@" + account + " " + std::to_string(operation);
}

}  // namespace

CSafetyDay::CSafetyDay(std::uint64_t seed, SSafetyCounts& counts)
    : m_nSeed(seed),
      m_counts(counts),
      m_plan(seed),
      m_random(seed + 1),
      m_market(m_plan, *this),
      m_pTable(journal::tableOf(m_market.panel())) {
  GV::CMessageBox::setPresenter([this](QWidget*, const QString& title, const QString& text) {
    ++m_counts.m_nMessages;
    note("message: " + title.toStdString() + ": " + text.toStdString());
  });
  GV::CCommonDialog::setExecHook([this](GV::CCommonDialog& dialog) { work(dialog); });
  // The column of progress shows quantities.
  m_pTable->handleEvent(GV::EventColumnDoubleClicked, 0, 0, QString::number(PROGRESS_COLUMN), nullptr);
}

CSafetyDay::~CSafetyDay() {
  GV::CCommonDialog::setExecHook({});
  GV::CMessageBox::setPresenter({});
}

void CSafetyDay::check(bool holds, const std::string& rule) {
  if (holds || !m_strFault.empty()) return;
  m_strFault = rule;
  note("FAULT");
}

std::string CSafetyDay::fault() const {
  if (m_strFault.empty()) return {};
  std::string text = "seed " + std::to_string(m_nSeed) + ": " + m_strFault + "\nbefore:";
  const auto end = std::find(m_acts.begin(), m_acts.end(), "FAULT");
  auto begin = end - std::min<std::ptrdiff_t>(end - m_acts.begin(), ACTS_SHOWN);
  for (; begin != end; ++begin) text += "\n  " + *begin;
  return text;
}

void CSafetyDay::run() {
  while (m_market.now() < exchange::DAY_CLOSES && m_strFault.empty()) {
    step();
    if (chance(m_random, 75)) refresh();
    for (int acts = below(m_random, 3); acts > 0 && m_strFault.empty(); --acts) act();
  }
  for (int i = 0; i < 3 && m_strFault.empty(); ++i) {
    m_market.advanceTo(m_market.now() + 400000);
    refresh();
  }
}

void CSafetyDay::step() {
  m_bConfirmed = false;
  const std::int64_t lengths[] = {1000, 20000, 120000, 400000};
  m_market.advanceTo(m_market.now() + lengths[below(m_random, 4)]);
  checkLimits();
  if (chance(m_random, 30)) m_market.settle();
}

// The rules

void CSafetyDay::refresh() {
  const std::int64_t before = m_market.now();
  const bool refreshed = m_market.startRefresh();
  if (refreshed) m_seen = m_market.desk().taskDetails();
  m_market.settle();
  checkLimits();
  // In a dialog that an answer opened time may have passed.
  if (refreshed && m_market.now() == before) checkFigures();
}

void CSafetyDay::checkLimits() {
  for (const auto& [key, line] : truthOf(m_market)) {
    const std::string what = std::to_string(std::get<0>(key)) + "/" + std::get<1>(key) + "/" + std::get<2>(key);
    check(line.m_nTraded <= line.m_nTarget,
          what + ": traded " + std::to_string(line.m_nTraded) + " of " + std::to_string(line.m_nTarget));
    check(line.m_nMayTrade <= line.m_nTarget,
          what + ": may trade " + std::to_string(line.m_nMayTrade) + " of " + std::to_string(line.m_nTarget));
  }
}

/// Every row of the table against the sums over the orders of its task and of its patches.
void CSafetyDay::checkFigures() {
  const Truth truth = truthOf(m_market);
  std::map<int, SLineTruth> roots;
  for (const auto& [key, line] : truth) {
    SLineTruth& root = roots[std::get<0>(key)];
    root.m_nTarget += line.m_nTarget;
    root.m_nTraded += line.m_nTraded;
    root.m_dAmount += line.m_dAmount;
  }
  int basket = 0;
  std::string account;
  m_pTable->forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool, bool) {
    const std::string name = row.scriptName().toStdString();
    const SLineTruth* expected = nullptr;
    if (depth == 0) {
      basket = row.scriptName().toInt();
      expected = &roots[basket];
    } else if (name.find('.') == std::string::npos) {
      return;  // an account: the sum of its rows
    } else {
      account = "A" + m_pTable->itemText(row, ACCOUNT_COLUMN).right(1).toStdString();
      const auto found = truth.find({basket, account, name});
      if (found != truth.end()) expected = &found->second;
    }
    check(expected != nullptr, "row " + name + " of no line");
    if (!expected) return;
    ++m_counts.m_nFigures;
    const std::string text = m_pTable->itemText(row, PROGRESS_COLUMN).toStdString();
    const std::string wanted = std::to_string(expected->m_nTraded) + " / " + std::to_string(expected->m_nTarget);
    check(text == wanted, "row " + std::to_string(basket) + " " + name + " shows " + text + ", not " + wanted);
    const QString amount = m_pTable->itemText(row, AMOUNT_COLUMN);
    check(std::abs(amount.toDouble() - expected->m_dAmount) < 0.011,
          "row " + std::to_string(basket) + " " + name + " shows an amount of " + amount.toStdString() + ", not " +
              std::to_string(expected->m_dAmount));
  });
}

void CSafetyDay::onCreateTask(const desk::SCreateRequest& request) {
  ++(m_bDirect ? m_counts.m_nDirect : m_counts.m_nPatches);
  check(m_bDirect || m_bConfirmed, "a task without a dialog that was accepted");
  check(request.m_nTaskId == request.m_command.m_nTaskId && request.m_command.m_bPatch, "a task that is no patch");
  if (m_bConfirmed) {
    std::map<std::string, int> volumes;
    for (const CCodeOrderParam& param : request.m_params) volumes[param.getKey()] = param.m_nVolume;
    check(volumes == m_confirmed, "what is ordered is not what was confirmed");
    check(request.m_params.size() == volumes.size(), "a line is ordered twice");
  }
  if (!m_bDirect) m_bConfirmed = false;
  // Whatever else is on its way may still be traded too.
  Truth truth = truthOf(m_market);
  for (const SAsked& asked : m_asked) {
    for (const auto& [key, volume] : asked.m_volumes) truth[key].m_nMayTrade += volume;
  }
  SAsked& asked = m_asked.emplace_back();
  for (const CCodeOrderParam& param : request.m_params) {
    const LineKey key = lineKey(request.m_nTaskId, param);
    const SLineTruth& line = truth[key];
    asked.m_volumes[key] += std::max(0, param.m_nVolume);
    check(line.m_nMayTrade + param.m_nVolume <= line.m_nTarget,
          param.getKey() + " of " + std::to_string(request.m_nTaskId) + ": " + std::to_string(param.m_nVolume) +
              " ordered while " + std::to_string(line.m_nMayTrade) + " of " + std::to_string(line.m_nTarget) +
              " may be traded");
  }
}

// A task's first detail comes just before its creation is answered.
void CSafetyDay::onTask(const desk::SPublication& publication) {
  const CTaskDetail& detail = *publication.m_pDetail;
  if (!detail.m_pCommand->m_bPatch || m_asked.empty()) return;
  if (m_patchesStarted.insert(detail.m_nTaskId).second) m_asked.front().m_volumes.clear();
}

void CSafetyDay::onCreateReply(const utils::KSError& error, int) {
  if (!error.success()) ++m_counts.m_nRefused;
  if (!m_asked.empty()) m_asked.pop_front();
}

// The user

int CSafetyDay::anyBasket() { return 1 + below(m_random, static_cast<int>(m_plan.m_baskets.size())); }

void CSafetyDay::act() {
  m_bConfirmed = false;
  const int kind = below(m_random, 100);
  if (kind < 70) return clickRowButton();
  if (kind < 76) return clickToolBar();
  if (kind < 94) return sendEvent();
  patchDirectly();
}

void CSafetyDay::clickRowButton() {
  const int basket = anyBasket();
  const auto row = m_pTable->rowByPath(QString::number(basket));
  auto* buttons = journal::buttonsOf(*m_pTable);
  if (!row || !buttons->getIsItemVisible(row->key())) return;
  std::vector<GV::STableButton> shown;
  for (const GV::STableButton& button : buttons->itemButtons(row->key())) {
    if (buttons->getIsItemButtonVisible(row->key(), button.id)) shown.push_back(button);
  }
  if (shown.empty()) return;
  const GV::STableButton& button = shown[static_cast<std::size_t>(below(m_random, static_cast<int>(shown.size())))];
  // Dropping ends it all: not too often.
  if (button.text == QStringLiteral("放弃补单") && chance(m_random, 85)) return;
  for (int clicks = chance(m_random, 20) ? 2 : 1; clicks > 0; --clicks) {
    const bool works = buttons->getIsItemButtonEnabled(row->key(), button.id);
    const std::string act = std::string(works ? "" : "(disabled) ") + button.text.toStdString() + " of " +
                            std::to_string(basket) + " at " + std::to_string(m_market.now() / 1000);
    const auto operation = OPERATIONS.find(button.text);
    const Sends expected = works && operation != OPERATIONS.end() ? sendsOf(basket, operation->second) : Sends();
    note(act);
    ++m_counts.m_nClicks;
    m_sends.clear();
    const std::string key = row->key().toStdString();
    buttons->clickButton(row->key(), button.id);
    if (button.text != QStringLiteral("补单")) expectSends(expected, act);
  }
}

void CSafetyDay::clickToolBar() {
  static const std::map<int, int> BUTTONS = {{4, ETO_Cancel}, {5, ETO_Pause}, {6, ETO_Resume}};
  const int id = 4 + below(m_random, 3);
  Sends expected;
  for (int basket = 1; basket <= static_cast<int>(m_plan.m_baskets.size()); ++basket) {
    const Sends sends = sendsOf(basket, BUTTONS.at(id));
    expected.insert(expected.end(), sends.begin(), sends.end());
  }
  const std::string act = "tool bar " + std::to_string(id) + " at " + std::to_string(m_market.now() / 1000);
  note(act);
  m_sends.clear();
  m_market.panel().handleEvent(GV::EventButtonClicked, id, 0, {}, nullptr);
  expectSends(expected, act);
}

/// What no button that shows can do: patch at any time, twice at once, or stop a patch.
void CSafetyDay::sendEvent() {
  const int basket = anyBasket();
  QString key = QStringLiteral("组合任务") + QString::number(basket);
  const bool stop = chance(m_random, 25);
  const std::string act = std::string(stop ? "event stop patch of " : "event patch of ") + std::to_string(basket) +
                          " at " + std::to_string(m_market.now() / 1000);
  note(act);
  for (int times = chance(m_random, 30) ? 2 : 1; times > 0; --times) {
    Sends expected;
    if (stop) appendSends(expected, basket, true, ETO_Drop);
    m_sends.clear();
    m_market.panel().handleEvent(1140, stop ? STOP_PATCH_CODE : PATCH_CODE, 0, key, &key);
    if (stop) expectSends(expected, act);
  }
}

/// Only a host asks for it, and never for a task that the server has a part in.
void CSafetyDay::patchDirectly() {
  const int basket = anyBasket();
  if (hasServerTask(basket)) return;
  note("direct patch of " + std::to_string(basket) + " at " + std::to_string(m_market.now() / 1000));
  m_bDirect = true;
  m_market.panel().patch(basket, QString(), EPT_Latest);
  m_bDirect = false;
}

bool CSafetyDay::hasServerTask(int basket) const {
  if (m_plan.m_baskets[static_cast<std::size_t>(basket - 1)].m_algo) return true;
  const auto details = const_cast<CSafetyMarket&>(m_market).desk().taskDetails();
  return std::any_of(details.begin(), details.end(), [basket](const CTaskDetailPtr& detail) {
    return detail->m_pCommand->m_nTaskId == basket && detail->m_bServerTask;
  });
}

void CSafetyDay::expectSends(const Sends& expected, const std::string& act) {
  const auto text = [](const Sends& sends) {
    std::string all;
    for (const std::string& send : sends) all += send + "; ";
    return all;
  };
  check(m_sends == expected, act + " sent " + text(m_sends) + "instead of " + text(expected));
}

CSafetyDay::Sends CSafetyDay::sendsOf(int basket, int operation) const {
  Sends sends;
  // What is dropped gives its patches up first, and only then itself.
  if (operation == ETO_Drop) appendSends(sends, basket, true, operation);
  appendSends(sends, basket, false, operation);
  if (operation != ETO_Drop) appendSends(sends, basket, true, operation);
  return sends;
}

/// The details stand in key order.
void CSafetyDay::appendSends(Sends& sends, int basket, bool patches, int operation) const {
  for (const CTaskDetailPtr& detail : m_seen) {
    if (detail->m_pCommand->m_nTaskId != basket || detail->m_pCommand->m_bPatch != patches) continue;
    if (detail->m_bServerTask) {
      sends.push_back(serverSend(detail->getKey(), operation));
      continue;
    }
    const std::string& account = detail->m_params.front().m_pAccount->getKey();
    sends.push_back(localSend(detail->m_nTaskId, account, operation));
    const bool again = (operation == ETO_Pause && detail->m_nStatus == ETS_Running) ||
                       (operation == ETO_Resume && detail->m_nStatus == ETS_Paused);
    if (again) sends.push_back(localSend(detail->m_nTaskId, account, -operation));
  }
}

void CSafetyDay::onOperateServerTask(const std::string& serverTaskKey, const CTaskOpRecord& record) {
  m_sends.push_back(serverSend(serverTaskKey, record.m_nOperation));
  check(record.m_strOperator == "u1", "a record without its operator");
}

void CSafetyDay::onOperateLocalTask(int taskId, const desk::AccountPtr& account, const CTaskOpRecord& record) {
  m_sends.push_back(localSend(taskId, account->getKey(), record.m_nOperation));
  check(record.m_strOperator == "u1", "a record without its operator");
}

void CSafetyDay::onPauseLocalTask(int taskId, const desk::AccountPtr& account) {
  m_sends.push_back(localSend(taskId, account->getKey(), -ETO_Pause));
}

void CSafetyDay::onResumeLocalTask(int taskId, const desk::AccountPtr& account) {
  m_sends.push_back(localSend(taskId, account->getKey(), -ETO_Resume));
}

// His dialogs

void CSafetyDay::work(GV::CCommonDialog& dialog) {
  ++m_counts.m_nDialogs;
  // Another task may ask while one is being asked for, but no task twice.
  check(m_open.insert(&dialog).second, "a dialog of a task that has one");
  note("dialog");
  // A row offers no more than is left, nor does an entry.
  editRows(dialog);
  if (chance(m_random, 25)) {
    step();
    if (chance(m_random, 60)) refresh();
    // No click can reach the panel now; a script's event could, and must not patch a task a second time.
    QString key = QStringLiteral("组合任务") + QString::number(anyBasket());
    if (chance(m_random, 40)) m_market.panel().handleEvent(1140, PATCH_CODE, 0, key, &key);
  }
  if (dialog.isOpen()) endDialog(dialog);
  m_open.erase(&dialog);
}

void CSafetyDay::editRows(GV::CCommonDialog& dialog) {
  static const char* const TEXTS[] = {"", "abc", "-100", "0", "1", "150", "1e9", "99999999999"};
  constexpr int AVAILABLE = 6;
  for (const GV::SDialogRow& row : dialog.state().rows) {
    const int available = row.cells[AVAILABLE].toInt();
    check(available > 0 && row.editor.toInt() == available,
          row.key.toStdString() + " is offered " + row.editor.toStdString() + " of " + std::to_string(available));
    if (chance(m_random, 20)) dialog.check(row.key, false);
    if (!chance(m_random, 40)) continue;
    const int kind = below(m_random, 24);
    const QString text = kind < 8 ? QString::fromLatin1(TEXTS[kind])
                                  : QString::number(1 + below(m_random, kind < 20 ? available : 3 * available));
    dialog.edit(row.key, text);
    note("  " + row.key.toStdString() + " of " + std::to_string(available) + ": " + text.toStdString());
    for (const GV::SDialogRow& after : dialog.state().rows) {
      const bool capped = after.key != row.key || after.editor.toInt() <= available;
      check(capped,
            row.key.toStdString() + " takes " + after.editor.toStdString() + " of " + std::to_string(available));
    }
  }
}

void CSafetyDay::endDialog(GV::CCommonDialog& dialog) {
  if (chance(m_random, 15)) {
    note("  dismissed");
    return chance(m_random, 50) ? dialog.closeByUser() : static_cast<void>(dialog.press(QStringLiteral("取消")));
  }
  // A new basket is the host's affair: the task is dropped and nothing is ordered.
  if (chance(m_random, 8) && dialog.press(QStringLiteral("新建篮子补单")).isEmpty()) return note("  new basket");
  m_confirmed.clear();
  for (const GV::SDialogRow& row : dialog.state().rows) {
    if (row.checked) m_confirmed[row.key.toStdString()] = row.editor.toInt();
  }
  m_bConfirmed = true;
  ++m_counts.m_nAccepted;
  note("  accepted");
  check(dialog.press(QStringLiteral("选中补单")).isEmpty(), "the patch cannot be confirmed");
}

}  // namespace test
