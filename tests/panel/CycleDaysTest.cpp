// Random days of the refresh cycle: details, clicks, filters, reloads, new days, other trader types and faults meet
// while the worker is held somewhere in the middle of a refresh or a load. In the environment: CYCLE_DAYS and
// CYCLE_SEED run so many days from a seed on, without them as many as fit into some seconds. A day is repeated by its
// seed, but for what hangs on the days before it in one panel, and on the threads.
#include <malloc.h>
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QElapsedTimer>
#include "CycleDays.h"

#include "BasketColumns.h"
#include "RandomDays.h"
#include "TaskDetails.h"
#include "TaskKeys.h"
#include "gv/CCommonDialog.h"
#include "gv/CEventWidget.h"
#include "gv/CMessageBox.h"
#include "gv/Controls.h"
#include "tc/CTaskOrdersWidget.h"
#include "tc/TaskEvents.h"

namespace TC {

using test::below;
using test::chance;

namespace {

constexpr int SOME_SECONDS_MSEC = 12000;
constexpr int GIVE_UP_MSEC = 20000;
constexpr int TYPES = 2;
const QString HEDGE_ACCOUNT = QStringLiteral("2001");

/// Bytes that the heap has handed out; 0 where a sanitizer has a heap of its own.
std::size_t heapInUse() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return 0;
#else
  return mallinfo2().uordblks;
#endif
}

void switchDisplay(const CBasketTasksPanel& panel) {
  panel.findChild<CHpfBasketStatusTable*>()->handleEvent(GV::EventColumnDoubleClicked, 0, 0,
                                                         QString::number(EBC_Progress), nullptr);
}

}  // namespace

CycleDays::CycleDays() {
  for (const char* key : {"A1", "A2"}) m_host.setAccount(*test::makeAccount(key, "1001"));
  m_host.setMeeting([this](const std::string&) { m_ambush.meet(); });
  GV::CMessageBox::setPresenter([](QWidget*, const QString&, const QString&) {});
  GV::CCommonDialog::setExecHook([](GV::CCommonDialog&) {});
  m_panel = std::make_unique<CBasketTasksPanel>(1, nullptr);
  m_panel->setTradeType(EMTT_Stock);
  m_pTable = m_panel->findChild<CHpfBasketStatusTable*>();
  new QAbstractItemModelTester(m_pTable->dataModel(), QAbstractItemModelTester::FailureReportingMode::Fatal,
                               m_panel.get());
}

CycleDays::~CycleDays() {
  m_panel.reset();
  GV::CCommonDialog::setExecHook({});
  GV::CMessageBox::setPresenter({});
}

// What happens

void CycleDays::feed(const std::vector<ksservice::CTaskDetailPtr>& details) {
  m_feeds.emplace_back([this, details] {
    for (const auto& detail : details) m_host.deliver(detail);
  });
}

void CycleDays::endFeeds() {
  for (std::thread& each : m_feeds) each.join();
  m_feeds.clear();
}

/// At most one version of each detail in a step, so that it is known which one a fault can cost.
std::vector<ksservice::CTaskDetailPtr> CycleDays::news(int most) {
  std::vector<ksservice::CTaskDetailPtr> details;
  for (int count = below(m_random, most + 1); count > 0; --count) {
    const int type = chance(m_random, 75) ? m_nType : 1 + below(m_random, TYPES);
    if (const ksservice::CTaskDetailPtr detail = m_market.next(type, m_told)) details.push_back(detail);
  }
  return details;
}

void CycleDays::startDay() {
  note("new day");
  ++m_counts["new days"];
  endFeeds();  // nothing of the day before comes on the new one
  forgetRows();
  m_market.startDay(m_market.firstTask() + test::CYCLE_TASKS, chance(m_random, 30));
  m_host.desk().forgetTasks();
  m_host.services().announceTradingDay("20261123");
  check(m_pTable->rowCount() == 0 && m_panel->runningCount() == 0, "rows of the day before");
}

void CycleDays::setType(int type) {
  note("trader type " + std::to_string(type));
  ++m_counts["loads"];
  if (type != m_nType) forgetRows();
  m_nType = type;
  m_panel->setTradeType(static_cast<EMavTraderType>(type));
}

void CycleDays::forgetRows() {
  for (const auto& entry : test::shownBy(*m_pTable)) {
    boost::shared_ptr<CBasketTask> task;
    QString nodeKey;
    if (m_pTable->getBasketTaskItemByKey(entry.first, task, nodeKey)) m_gone.emplace_back(task);
  }
  m_nRows = 0;
  m_known.clear();
  m_clicked.clear();
  m_strLost.clear();
  m_nStale = -1;
}

void CycleDays::clickRow() {
  static const std::map<int, int> WISHES = {
      {0, ksservice::ETS_Cancelled}, {1, ksservice::ETS_Paused}, {2, ksservice::ETS_Running}, {4, 0}, {5, 0},
      {6, ksservice::ETS_Dropped}};
  const int task = m_market.firstTask() + below(m_random, test::CYCLE_TASKS);
  const auto& [button, status] = test::pick(m_random, WISHES);
  note("button " + std::to_string(button) + " of " + std::to_string(task));
  ++m_counts["clicks"];
  m_clicked[task] = status;
  m_pTable->handleEvent(GV::EventRowButtonClicked, button, EBC_Options, taskKey(task), nullptr);
}

void CycleDays::clickAll(int button) {
  note("tool bar " + std::to_string(button));
  ++m_counts["clicks"];
  static const std::map<int, int> WISHES = {
      {4, ksservice::ETS_Cancelled}, {5, ksservice::ETS_Paused}, {6, ksservice::ETS_Running}};
  for (int task = 0; task < test::CYCLE_TASKS; ++task) m_clicked[m_market.firstTask() + task] = WISHES.at(button);
  m_panel->handleEvent(GV::EventButtonClicked, button, 0, QString(), nullptr);
}

void CycleDays::act() {
  const int kind = below(m_random, 100);
  const auto button = [this](int id) { m_panel->handleEvent(GV::EventButtonClicked, id, 0, QString(), nullptr); };
  // How a hedge stands after an operation, a panel alone knows.
  if (kind < 30 && m_market.hasHedges()) return;
  if (kind < 25) return clickRow();
  if (kind < 30) return clickAll(4 + below(m_random, 3));
  if (kind < 45) {
    const int filter = below(m_random, 4);
    m_panel->findChild<GV::CComboPushButton*>()->setCurrentIndex(filter);
    return button(filter);
  }
  if (kind < 50) return switchDisplay(*m_panel);
  if (kind < 55) {
    QStringList fields = m_panel->param().split('*');
    fields[1] = chance(m_random, 50) ? "1" : "0";
    return m_panel->setParam(fields.join('*'));
  }
  if (kind < 65) return button(9 + below(m_random, 2));  // folding
  if (kind < 75) {
    note("reload");
    return chance(m_random, 50) ? button(11) : m_panel->requestAccount(*test::makeAccount("A1", "1001"));
  }
  if (kind < 80) {
    const QString key = taskKey(m_market.firstTask() + below(m_random, test::CYCLE_TASKS));
    m_panel->handleEvent(EventTaskOrders, 0, 0, CTaskOrdersWidget::keyOf(key, key), nullptr);
    return;
  }
  if (kind < 85) return setType(m_nType);
  if (kind < 90) return setType(1 + below(m_random, TYPES));
  if (kind < 94) return startDay();
  m_host.moveClock(below(m_random, 1500));
}

/// The host carries out what the user asked for: it tells of all the task's details anew.
void CycleDays::answerClicks() {
  for (const auto& [task, status] : m_clicked) {
    for (const std::string& key : m_market.keysOf(m_nType, task)) {
      m_host.deliver(m_market.renew(key, status));
      if (key == m_strLost) m_strLost.clear();
    }
    if (task == m_nStale) m_nStale = -1;
  }
  m_clicked.clear();
}

void CycleDays::step() {
  m_before = m_market.newest(EMTT_Stock);
  m_before.merge(m_market.newest(EMTT_Stock + 1));
  const bool held = chance(m_random, 60);
  const bool faulty = chance(m_random, 40);
  std::vector<ksservice::CTaskDetailPtr> before;
  // What a fault has cost comes with the next version.
  std::set<std::string> lost;
  for (const int task : {m_nStale, m_strLost.empty() ? -1 : test::taskOf(*m_market.newest(m_nType).at(m_strLost))}) {
    for (const std::string& key : m_market.keysOf(m_nType, task)) lost.insert(key);
  }
  before.reserve(lost.size());
  for (const std::string& key : lost) before.push_back(m_market.renew(key));
  m_told = lost;
  m_strLost.clear();
  const int stale = std::exchange(m_nStale, -1);
  for (const auto& detail : news(5)) before.push_back(detail);
  m_ambush.set(held ? below(m_random, 25) : -1, faulty ? below(m_random, 50) : -1, below(m_random, 3));
  feed(before);
  if (chance(m_random, 80)) endFeeds();
  if (chance(m_random, 20)) act();
  m_nRows = rows();
  m_host.fireTimers();
  const std::vector<ksservice::CTaskDetailPtr> meanwhile = news(3);
  while (held && !m_ambush.isHeld() && m_host.hasJobs()) std::this_thread::yield();
  m_counts["held"] += m_ambush.isHeld();
  feed(meanwhile);
  for (int acts = below(m_random, 4); acts > 0; --acts) {
    act();
    check(rows() >= m_nRows, "rows are gone while a refresh goes on");
  }
  if (chance(m_random, 50)) endFeeds();
  m_ambush.release();
  endFeeds();
  settle();
  m_ambush.set(-1, -1, 0);
  readLog();
  answerClicks();
  m_host.fireTimers();
  settle();
  readLog();
  if (!m_strLost.empty() && test::taskOf(*m_market.newest(m_nType).at(m_strLost)) == stale) m_nStale = stale;
  if (m_strFault.empty()) compare();
}

std::size_t CycleDays::rows() const {
  std::size_t count = 0;
  m_pTable->forEachRow([&count](const GV::CHpfTreeTableData&, int, bool, bool) { ++count; });
  return count;
}

/// Until nothing is under way and exactly one timer waits.
void CycleDays::settle() {
  QElapsedTimer timer;
  timer.start();
  do {
    m_host.waitForJobs();
    QCoreApplication::processEvents();
  } while ((m_host.hasJobs() || m_host.heldTimers().empty()) && timer.elapsed() < GIVE_UP_MSEC);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  QCoreApplication::processEvents();
  check(m_host.heldTimers().size() == 1, std::to_string(m_host.heldTimers().size()) + " timers are armed");
}

/// What was lost is what the log says.
void CycleDays::readLog() {
  static const std::string FAILED = " failed: ";
  for (const std::string& line : m_host.takeLog()) {
    const std::size_t at = line.find(FAILED);
    if (at == std::string::npos) continue;
    ++m_counts["faults"];
    note(line);
    const std::string what = line.substr(0, at);
    if (m_market.newest(m_nType).contains(what)) m_strLost = what;
    for (int task = m_market.firstTask(); task < m_market.firstTask() + test::CYCLE_TASKS; ++task) {
      if (taskKey(task).toStdString() == what) m_nStale = task;
    }
    // Of an earlier day, perhaps.
    const bool named = what.find('-') != std::string::npos || what.rfind("组合任务", 0) == 0;
    check(named, "a fault costs more than a detail: " + line);
  }
  m_host.takeUpdatedDetails();
  m_host.takeCalls();
  m_host.takeCreations();
  m_host.takeQueries();
  m_host.takeMessages();
}

// What must hold

/// What a panel shows that gets these at once. The data centre has nothing else to tell it meanwhile.
test::Shown CycleDays::fresh(const test::CCycleMarket::Details& details, int& running) {
  m_host.desk().forgetTasks();
  CBasketTasksPanel panel(2, nullptr);
  panel.setTradeType(static_cast<EMavTraderType>(m_nType));
  panel.setParam(m_panel->param());
  const auto* table = panel.findChild<CHpfBasketStatusTable*>();
  if (table->processDisplayMode() != m_pTable->processDisplayMode()) switchDisplay(panel);
  m_host.waitForJobs();
  for (const auto& entry : details) {
    if (entry.second) panel.onTaskDetail(entry.second);
  }
  QMetaObject::invokeMethod(&panel, "slotTimeout");
  m_host.waitForJobs();
  QCoreApplication::processEvents();
  for (int type = 1; type <= TYPES; ++type) {
    for (const auto& entry : m_market.newest(type)) m_host.store(entry.second);
  }
  running = panel.runningCount();
  return test::shownBy(*table, HEDGE_ACCOUNT);
}

void CycleDays::compare() {
  // Folding everything shows finished sub-tasks until the next pass of the filters.
  m_panel->handleEvent(GV::EventCheckBoxToggled, 0, 0, QString(), nullptr);
  const test::CCycleMarket::Details newest = m_market.newest(m_nType);
  const auto versionIn = [this](const test::CCycleMarket::Details& details) {
    const auto version = details.find(m_strLost);
    return version == details.end() ? nullptr : version->second;
  };
  // Of what a fault has cost the version before shows, or none; the newest where it had counted or came once more; that
  // of the step's begin where a load brought it.
  const std::vector<ksservice::CTaskDetailPtr> versions = {versionIn(m_known), versionIn(newest), versionIn(m_before)};
  const auto eraseStale = [this](test::Shown shown) {
    std::erase_if(shown, [this](const auto& task) { return task.first == taskKey(m_nStale); });
    return shown;
  };
  const test::Shown mine = eraseStale(test::shownBy(*m_pTable, HEDGE_ACCOUNT));
  m_counts["tasks compared"] += static_cast<long>(mine.size());
  std::string fault;
  for (std::size_t i = 0; i < (m_strLost.empty() ? 1 : versions.size()); ++i) {
    m_known = newest;
    if (!m_strLost.empty()) m_known[m_strLost] = versions[i];
    int running = 0;
    const test::Shown its = eraseStale(fresh(m_known, running));
    const bool same = mine == its && (m_nStale >= 0 || running == m_panel->runningCount());
    if (same) fault.clear();
    if (same) break;
    fault += "the table shows (" + std::to_string(m_panel->runningCount()) + " run)" + test::textOf(mine, its) +
             "\n  a fresh panel (" + std::to_string(running) + " run)" + test::textOf(its, mine) + "\n  ";
  }
  check(fault.empty(), fault);
  const auto lives = [](const boost::weak_ptr<CBasketTask>& task) { return !task.expired(); };
  check(std::none_of(m_gone.begin(), m_gone.end(), lives), "a task of an earlier day lives");
  m_gone.clear();
}

void CycleDays::runDay(std::uint32_t seed) {
  m_random.seed(seed);
  m_notes.clear();
  startDay();
  for (int steps = 3 + below(m_random, 10); steps > 0 && m_strFault.empty(); --steps) {
    note("step");
    step();
  }
  std::string notes;
  for (const std::string& each : m_notes) notes += "\n  " + each;
  ASSERT_TRUE(m_strFault.empty()) << "seed " << seed << ": " << m_strFault << "\nbefore:" << notes;
  // What the day leaves: the first refresh of the next one lets go of it.
  startDay();
  m_told.clear();
  m_host.deliver(m_market.next(m_nType, m_told));
  m_host.fireTimers();
  settle();
  startDay();
  settle();
  readLog();
  m_notes.clear();
  m_heap.push_back(heapInUse());
}

TEST_F(CycleDays, ShowWhatAFreshPanelShows) {
  const long days =
      test::runRandomDays("CYCLE", SOME_SECONDS_MSEC, m_counts, [this](std::uint32_t seed) { runDay(seed); });
  EXPECT_GE(m_counts["held"], days / 2) << "the days try too little";
  EXPECT_GE(m_counts["faults"], days / 5);
  // The least of some days. What is kept of each day's rows would be a dozen kilobytes a day.
  const auto least = [this](std::size_t from, std::size_t to) {
    return *std::min_element(m_heap.begin() + static_cast<long>(from), m_heap.begin() + static_cast<long>(to));
  };
  const std::size_t count = m_heap.size();
  if (count < 100) return;
  EXPECT_LT(least(3 * count / 4, count), least(count / 4, count / 2) + 30000 + 300 * count);
}

}  // namespace TC
