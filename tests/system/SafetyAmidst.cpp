// What happens in the middle of a refresh.
#include "SafetyDay.h"
#include "ShownRows.h"
#include "TaskKeys.h"
#include "gv/Controls.h"
#include "tc/CTaskOrdersWidget.h"
#include "tc/TaskEvents.h"

namespace test {
namespace {

constexpr int QUESTIONS = 25;  ///< of a refresh, about

}  // namespace

/// The worker is held somewhere in a refresh or in a load before it, or the host fails at a question, while the feed
/// and the user go on.
void CSafetyDay::refreshAmidst() {
  const bool held = has(ING_Held) && chance(m_random, 60);
  const bool faulty = has(ING_Faults) && chance(m_random, 40);
  m_ambush.set(held ? below(m_random, QUESTIONS) : -1, faulty ? below(m_random, 2 * QUESTIONS) : -1,
               below(m_random, 3));
  const int before = below(m_random, 100);
  if (before < 10) load();
  if (before >= 90 && has(ING_Reopen)) {
    letGo();
    m_pPanel.reset();
    openPanel();
  }
  m_host.front().fireTimers();
  while (held && !m_ambush.isHeld() && m_host.front().hasJobs()) std::this_thread::yield();
  m_counts["held refreshes"] += m_ambush.isHeld();
  m_host.feedAside();
  const std::size_t shown = rows();
  for (int acts = below(m_random, 4); acts > 0; --acts) lookAround();
  check(rows() >= shown, "rows are gone while a refresh goes on");
  // Clicks follow what the feed has told.
  m_host.endFeed();
  const int kind = below(m_random, 100);
  if (kind < 5 && has(ING_NewDay)) {
    startNewDay(true);
  } else if (kind >= 5 && kind < 15 && has(ING_Reopen)) {
    reopen();
  } else if (kind >= 70) {
    act();
  }
  m_ambush.release();
  m_host.settle();
  m_ambush.set(-1, -1, 0);
  if (!readLog().empty()) m_host.renew();
}

/// What changes nothing but what is seen.
void CSafetyDay::lookAround() {
  if (!m_pPanel) return;
  const auto button = [this](int id) { m_pPanel->handleEvent(GV::EventButtonClicked, id, 0, QString(), nullptr); };
  const int kind = below(m_random, 100);
  if (kind < 30) {
    const int filter = below(m_random, 4);
    m_pPanel->findChild<GV::CComboPushButton*>()->setCurrentIndex(filter);
    return button(filter);
  }
  if (kind < 40) {
    QStringList fields = m_pPanel->param().split('*');
    fields[1] = chance(m_random, 50) ? "1" : "0";
    m_pPanel->setParam(fields.join('*'));
    showQuantities(*m_pPanel);
    return;
  }
  if (kind < 45) return foldTasks();
  if (kind < 60) return changeView();
  if (kind < 75) return button(11);
  if (kind < 85) return m_pPanel->requestAccount(*m_plan.m_accounts.front());
  if (kind < 95) {
    const QString key = TC::taskKey(anyBasket());
    m_pPanel->handleEvent(TC::EventTaskOrders, 0, 0, TC::CTaskOrdersWidget::keyOf(key, key), nullptr);
    return;
  }
  m_host.front().moveClock(below(m_random, 1500));
}

std::size_t CSafetyDay::rows() const {
  std::size_t count = 0;
  if (m_pPanel) m_pTable->forEachRow([&count](const GV::CHpfTreeTableData&, int, bool, bool) { ++count; });
  return count;
}

/// The panel lets go of its tasks.
void CSafetyDay::letGo() {
  ++m_nLetGo;
  m_view.m_unfolded.clear();
  m_view.m_selected.clear();
  for (const auto& entry : shownBy(*m_pTable)) {
    boost::shared_ptr<TC::CBasketTask> task;
    QString nodeKey;
    if (m_pTable->getBasketTaskItemByKey(entry.first, task, nodeKey)) m_gone.emplace_back(task);
  }
}

/// The tasks of which a fault has cost something; it must cost no more than a detail.
std::set<QString> CSafetyDay::readLog() {
  static const std::string FAILED = " failed: ";
  std::set<QString> lost;
  for (const std::string& line : m_host.front().takeLog()) {
    const std::size_t at = line.find(FAILED);
    // A host that cannot say whether something is new is asked for everything.
    if (at == std::string::npos || line.rfind("exchange client", 0) == 0) continue;
    ++m_counts["faults"];
    note(line);
    const std::string what = line.substr(0, at);
    const auto detail = m_host.stored().find(what);
    const bool known = detail != m_host.stored().end();
    lost.insert(known ? TC::taskKey(detail->second->m_pCommand->m_nTaskId) : QString::fromStdString(what));
    // Of an earlier day, perhaps.
    const bool named = what.find('-') != std::string::npos || what.rfind("组合任务", 0) == 0;
    check(named, "a fault costs more than a detail: " + line);
  }
  return lost;
}

/// Of all that is delivered a fault costs one task something; then it comes anew.
void CSafetyDay::fail() {
  m_ambush.set(-1, below(m_random, 2 * QUESTIONS), below(m_random, 3));
  refresh(false);
  m_ambush.set(-1, -1, 0);
  const std::set<QString> lost = readLog();
  if (has(ING_Fresh)) checkFresh(lost);
  m_host.renew();
}

}  // namespace test
