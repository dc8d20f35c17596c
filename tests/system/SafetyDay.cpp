#include "SafetyDay.h"

#include <QAbstractItemModelTester>
#include <algorithm>

#include "CHpfBasketOptionDelegate.h"
#include "gv/CCommonDialog.h"
#include "gv/CMessageBox.h"
#include "ksservice/Operations.h"
#include "tc/TaskEvents.h"

namespace test {
namespace {

using namespace ksservice;

constexpr std::int64_t WAY_OUT_MSEC = 10000;
constexpr std::ptrdiff_t NOTES_SHOWN = 120;

const std::map<QString, int> OPERATIONS = {{QStringLiteral("撤销"), ETO_Cancel},
                                           {QStringLiteral("暂停"), ETO_Pause},
                                           {QStringLiteral("继续"), ETO_Resume},
                                           {QStringLiteral("放弃补单"), ETO_Drop},
                                           {QStringLiteral("撤单"), TC::ETA_StopPatch}};

std::string textOf(const std::vector<std::string>& sends) {
  std::string all;
  for (const std::string& send : sends) all += send + "; ";
  return all;
}

}  // namespace

CSafetyDay::CSafetyDay(std::uint64_t seed, unsigned allowed, bool all, DayCounts& counts)
    : m_nSeed(seed), m_counts(counts), m_plan(seed, allowed, all), m_random(seed + 1), m_host(m_plan, m_random, *this) {
  GV::CMessageBox::setPresenter([this](QWidget*, const QString& title, const QString& text) {
    ++m_counts["messages"];
    note("message: " + title.toStdString() + ": " + text.toStdString());
  });
  GV::CCommonDialog::setExecHook([this](GV::CCommonDialog& dialog) { work(dialog); });
  if (!isCertain()) m_host.front().setMeeting([this](const std::string&) { m_ambush.meet(); });
  openPanel();
}

CSafetyDay::~CSafetyDay() {
  m_pPanel.reset();
  GV::CCommonDialog::setExecHook({});
  GV::CMessageBox::setPresenter({});
}

void CSafetyDay::note(const std::string& text) {
  const QTime time = QTime::fromMSecsSinceStartOfDay(static_cast<int>(m_host.now()));
  m_notes.push_back(time.toString(QStringLiteral("hh:mm:ss ")).toStdString() + text);
}

void CSafetyDay::check(bool holds, const std::string& rule) {
  if (holds || !m_strFault.empty()) return;
  const auto begin = m_notes.end() - std::min<std::ptrdiff_t>(std::ssize(m_notes), NOTES_SHOWN);
  m_strFault = "seed " + std::to_string(m_nSeed) + " (" + ingredientsText(m_plan.m_nHas) + "): " + rule + "\nbefore:";
  for (auto note = begin; note != m_notes.end(); ++note) m_strFault += "\n  " + *note;
}

// The day

void CSafetyDay::run() {
  int steps = 20 + below(m_random, 40);
  m_nStepsToKill = 1 + below(m_random, steps);
  for (; steps > 0 && m_strFault.empty(); --steps) {
    step();
    if (has(ING_Kill) && --m_nStepsToKill == 0) kill();
    while (m_pPanel && chance(m_random, 50)) changeView();
    if (chance(m_random, 75)) refresh();
    for (int acts = below(m_random, 3); acts > 0 && m_strFault.empty(); --acts) act();
    if (chance(m_random, isCertain() ? 5 : 15)) quiet();
  }
  m_host.endDay();
  quiet();
  m_counts["sub-tasks of patches"] += std::ssize(m_arrived);
  for (const CreationPtr& creation : m_host.creations()) m_counts["patches never answered"] += !creation->m_bTold;
}

void CSafetyDay::step() {
  m_bConfirmed = false;
  check(m_dropSends.empty(), "a new basket did not send " + textOf(m_dropSends));
  static constexpr int LENGTHS[] = {1000, 4000, 20000, 120000};
  m_host.step(m_host.now() + pick(m_random, LENGTHS));
  checkLimits();
  if (chance(m_random, 30)) m_host.settle();
}

void CSafetyDay::refresh(bool amidst) {
  // While a refresh is under way, as in a dialog that an answer opened, none is due.
  if (!m_pPanel || m_host.front().heldTimers().empty()) return;
  const std::int64_t before = m_host.now();
  if (amidst && !isCertain()) {
    refreshAmidst();
  } else {
    m_host.front().fireTimers();
    m_host.settle();
  }
  learn(m_host.takeSeen());
  checkLimits();
  checkView();
  // Time may have passed in a dialog.
  if (m_host.now() != before || !m_strFault.empty()) return;
  checkStops();
  checkWaits();
  if (!isCertain() || has(ING_Late) || has(ING_Ahead) || has(ING_Queries)) return;
  if (!has(ING_Hedges) && m_nLetGo == 0) checkFigures();
  if (has(ING_Fresh) && amidst) checkFresh({});
}

/// The host delivers what it owes, and the table must show it.
void CSafetyDay::quiet() {
  m_host.settle();
  note("everything is delivered");
  m_host.flush();
  if (has(ING_Faults)) fail();
  refresh(false);
  if (!m_strFault.empty()) return;
  check(m_host.front().heldTimers().size() == 1, "not one refresh is due");
  const auto lives = [](const boost::weak_ptr<TC::CBasketTask>& task) { return !task.expired(); };
  check(std::none_of(m_gone.begin(), m_gone.end(), lives), "a task that the panel has let go of lives");
  m_gone.clear();
  if (!has(ING_Hedges)) checkFigures();
  if (has(ING_Fresh)) checkFresh({});
}

void CSafetyDay::learn(const Details& details) {
  for (const auto& [key, detail] : details) {
    if (detail->m_pCommand->m_nTraderType != EMTT_Stock) continue;
    m_known[key] = detail;
    if (detail->m_pCommand->m_bPatch) m_arrived.emplace(key, detail->m_nStatus);
  }
}

void CSafetyDay::openPanel() {
  m_pPanel = std::make_unique<TC::CBasketTasksPanel>(1, nullptr);
  m_pTable = &showQuantities(*m_pPanel);
  m_view = {};
  using Tester = QAbstractItemModelTester;
  new Tester(m_pTable->dataModel(), Tester::FailureReportingMode::Fatal, m_pPanel.get());
  QObject::connect(m_pPanel.get(), &TC::CBasketTasksPanel::sigPatchCreateTask,
                   [this](const QString& lines) { onNewBasket(lines); });
  m_known.clear();
  load();
  m_host.settle();
}

/// In the column of progress.
TC::CHpfBasketStatusTable& CSafetyDay::showQuantities(const TC::CBasketTasksPanel& panel) {
  auto& table = *panel.findChild<TC::CHpfBasketStatusTable*>();
  table.setParam(QStringLiteral("/1"));
  return table;
}

void CSafetyDay::load() {
  m_pPanel->setTradeType(EMTT_Stock);
  learn(m_host.load());
}

void CSafetyDay::reopen() {
  ++m_counts["panels opened again"];
  const int kind = below(m_random, 3);
  note(kind == 0 ? "panel loads again" : kind == 1 ? "panel closed" : "panel gets another trader type");
  if (kind > 0) letGo();
  if (kind == 1) m_pPanel.reset();
  if (kind == 2) m_pPanel->setTradeType(static_cast<EMavTraderType>(EMTT_Stock + 1));
  m_host.settle();
  for (int steps = below(m_random, 3); steps > 0 && kind > 0; --steps) step();
  kind == 1 ? openPanel() : load();
  m_host.settle();
}

/// What only the process knew is forgotten: what it waited for, what it had still to stop, what was handed over.
void CSafetyDay::kill() {
  ++m_counts["kills"];
  note("the terminal is killed");
  m_nStepsToKill = 0;
  if (m_pPanel) letGo();
  m_pPanel.reset();
  m_host.restart();
  m_asked.clear();
  m_stops.clear();
  m_dropSends.clear();
  m_handedOver.clear();
  openPanel();
}

void CSafetyDay::startNewDay(bool amidst) {
  ++m_counts["new days"];
  if (m_pPanel) letGo();
  m_known.clear();
  m_handedOver.clear();
  m_stops.clear();
  m_host.startNewDay(amidst);
  check(rows() == 0 && (!m_pPanel || m_pPanel->runningCount() == 0), "rows of the day before");
  if (!amidst) m_host.settle();
}

// The user

void CSafetyDay::act() {
  m_bConfirmed = false;
  const int kind = below(m_random, 100);
  if (kind >= 93 && kind < 97 && has(ING_Reopen)) return reopen();
  if (kind == 99 && has(ING_NewDay)) return startNewDay();
  // How a hedge stands after an operation, a panel alone knows.
  if (has(ING_Hedges)) return lookAround();
  if (kind < 70) return clickRowButton();
  if (kind < 75) return clickToolBar();
  if (kind < 88) return sendEvent(anyBasket(), chance(m_random, 75) ? TC::ETA_Patch : TC::ETA_StopPatch);
  if (kind < 93) return patchDirectly();
}

int CSafetyDay::anyBasket() { return pick(m_random, m_host.baskets()); }

void CSafetyDay::clickRowButton() {
  const int basket = anyBasket();
  const auto row = m_pTable->rowByPath(QString::number(basket));
  const auto* all = m_pTable->getTaskOptionDelegate();
  if (!row || !all->getIsItemVisible(row->key())) return;
  const QString key = row->key();
  std::vector<GV::STableButton> shown;
  for (const GV::STableButton& button : all->itemButtons(key)) {
    if (all->getIsItemButtonVisible(key, button.id)) shown.push_back(button);
  }
  if (shown.empty()) return;
  const GV::STableButton button = pick(m_random, shown);
  // Dropping ends it all: not too often.
  if (button.text == QStringLiteral("放弃补单") && chance(m_random, 85)) return;
  const std::string words = button.text.toStdString() + " of " + std::to_string(basket);
  const auto operation = OPERATIONS.find(button.text);
  for (int clicks = chance(m_random, 20) ? 2 : 1; clicks > 0; --clicks) {
    ++m_counts["clicks"];
    // A dialog that the click before opened may have seen the panel closed and opened.
    auto* buttons = m_pTable->getTaskOptionDelegate();
    const auto click = [&] { buttons->clickButton(key, button.id); };
    const bool works = buttons->getIsItemVisible(key) && buttons->getIsItemButtonVisible(key, button.id) &&
                       buttons->getIsItemButtonEnabled(key, button.id);
    if (!works) {
      operate({}, 0, words + " (disabled)", click);
    } else if (operation != OPERATIONS.end()) {
      operate({basket}, operation->second, words, click);
    } else {
      note(words);
      m_asked.insert(basket);
      click();
      m_host.pump();
    }
  }
}

void CSafetyDay::clickToolBar() {
  static const std::map<int, int> BUTTONS = {{4, ETO_Cancel}, {5, ETO_Pause}, {6, ETO_Resume}};
  const int id = 4 + below(m_random, 3);
  operate(m_host.baskets(), BUTTONS.at(id), "tool bar " + std::to_string(id),
          [this, id] { m_pPanel->handleEvent(GV::EventButtonClicked, id, 0, {}, nullptr); });
}

/// What no button that shows can do: patch at any time, twice at once, stop a patch, or drop.
void CSafetyDay::sendEvent(int basket, int code) {
  QString key = QStringLiteral("组合任务") + QString::number(basket);
  const std::string words = "event " + std::to_string(code) + " of " + std::to_string(basket);
  const auto send = [&] { m_pPanel->handleEvent(TC::EventTaskButton, code, 0, key, &key); };
  for (int times = chance(m_random, 30) ? 2 : 1; times > 0 && m_pPanel; --times) {
    if (code != TC::ETA_Patch) {
      operate({basket}, code == TC::ETA_Drop ? ETO_Drop : code, words, send);
      continue;
    }
    note(words);
    m_asked.insert(basket);
    send();
    m_host.pump();
  }
}

/// Only a host asks for it, and never for a task that the server has a part in.
void CSafetyDay::patchDirectly() {
  const int basket = anyBasket();
  const auto& details = m_host.stored();
  if (std::any_of(details.begin(), details.end(), [basket](const auto& entry) {
        return entry.second->m_pCommand->m_nTaskId == basket && entry.second->m_bServerTask;
      })) {
    return;
  }
  note("direct patch of " + std::to_string(basket));
  m_bDirect = true;
  m_pPanel->patch(basket, QString(), EPT_Latest);
  m_host.pump();
  m_bDirect = false;
}

/// A click that asks for an operation on whole tasks.
void CSafetyDay::operate(const std::vector<int>& baskets, int operation, const std::string& words,
                         const std::function<void()>& click) {
  learn(m_host.takeSeen());
  Sends expected;
  bool waited = false;
  for (const int basket : baskets) {
    const Sends sends = sendsOf(basket, operation);
    expected.insert(expected.end(), sends.begin(), sends.end());
    waited = giveUp(basket, operation) || waited;
  }
  note(words);
  m_sends.clear();
  m_bOperating = true;
  click();
  m_host.pump();
  m_bOperating = false;
  if (baskets.size() > 1) {  // The panel has an order of tasks of its own.
    std::sort(m_sends.begin(), m_sends.end());
    std::sort(expected.begin(), expected.end());
  }
  check(m_sends == expected || !isCertain(), words + " sent " + textOf(m_sends) + "instead of " + textOf(expected));
  if (!waited || !has(ING_Waits) || baskets.size() > 1) return;
  m_host.settle();
  check(rootStatus(baskets.front()) != "补单中", words + " after ten seconds does not end the wait");
}

/// What an operation means for patches on their way; true when it is the way out of a wait.
bool CSafetyDay::giveUp(int basket, int operation) {
  const bool stops = operation != ETO_Pause && operation != ETO_Resume;
  if (stops && operation != ETO_Cancel) m_asked.erase(basket);
  m_drops[basket] += operation == ETO_Drop ? 1 : 0;
  for (const auto& [key, detail] : m_known) {
    const COrderCommand& command = *detail->m_pCommand;
    if (command.m_bPatch && command.m_nTaskId == basket) (stops ? m_stopped : m_paused).insert(key);
  }
  bool waited = false;
  bool waits = false;
  for (const CreationPtr& creation : m_host.creations()) {
    if (creation->m_nBasket != basket) continue;
    if (stops) creation->m_stops.insert(operation == ETO_Cancel ? ETO_Cancel : ETO_Drop);
    if (!stops) creation->m_bPaused = operation == ETO_Pause;
    const bool ends = operation == ETO_Cancel && m_host.now() - creation->m_nAsked >= WAY_OUT_MSEC;
    waited = waited || (ends && isWaiting(*creation));
    creation->m_bWaitEnded = creation->m_bWaitEnded || ends;
    waits = waits || isWaiting(*creation);
  }
  return waited && !waits;
}

CSafetyDay::Sends CSafetyDay::sendsOf(int basket, int operation) const {
  Sends sends;
  // What is dropped gives its patches up first, and only then itself.
  const bool drops = operation == ETO_Drop || operation == TC::ETA_StopPatch;
  if (drops) appendSends(sends, basket, true, ETO_Drop);
  if (operation != TC::ETA_StopPatch) appendSends(sends, basket, false, operation);
  if (!drops) appendSends(sends, basket, true, operation);
  return sends;
}

void CSafetyDay::appendSends(Sends& sends, int basket, bool patches, int operation) const {
  for (const auto& [key, detail] : m_known) {
    if (detail->m_pCommand->m_nTaskId != basket || detail->m_pCommand->m_bPatch != patches) continue;
    sends.push_back(operationText(*detail, operation));
    // A pause and a resume beside the record.
    const int counterpart = operation == ETO_Pause ? ETS_Running : operation == ETO_Resume ? ETS_Paused : -1;
    if (!detail->m_bServerTask && detail->m_nStatus == counterpart) sends.push_back(operationText(*detail, -operation));
  }
}

}  // namespace test
