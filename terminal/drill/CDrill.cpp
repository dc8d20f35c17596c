#include "CDrill.h"

#include <algorithm>
#include <utility>

#include "DayStart.h"
#include "SessionSetup.h"

namespace drill {
namespace {

constexpr long BURST = 200000;
constexpr long TOLD_AGAIN = 20;
constexpr std::int64_t PIECE_MSEC = 1000;
constexpr int LENGTHS_MSEC[] = {100, 1000, 5000, 30000, 90000};
constexpr int QUESTIONS = 40;  ///< of a refresh, about
constexpr const char* NEXT_DAYS[] = {"20261124", "20261125"};

}  // namespace

CDrill::CDrill(SSettings settings, TC::CreatePanelFunction createPanel)
    : m_settings(std::move(settings)), m_createPanel(createPanel) {}

CDrill::~CDrill() {
  m_pTerminal.reset();
  m_pUser.reset();
  m_pEngine.reset();
}

SReportCard CDrill::run() {
  for (int day = 1; day <= 2 && !isOver(); ++day) {
    beginDay(day);
    runDay();
    endDay();
  }
  return m_card;
}

void CDrill::check(ERule rule, const std::string& fault) {
  ++m_card.m_checks[static_cast<std::size_t>(rule)];
  // What follows from the first is no news.
  if (fault.empty() || isOver()) return;
  m_card.m_violations.push_back({rule, fault, m_nDay, m_nNow});
}

bool CDrill::happens(EFault fault, int percent) { return m_plan->strikes(fault, m_draw->chance(percent), m_card); }

// A day

void CDrill::beginDay(int day) {
  m_nDay = day;
  m_pEngine.reset();
  m_pUser.reset();
  m_plan.emplace(m_settings.m_nSeed, day, m_settings.m_ePlant);
  m_draw.emplace(m_plan->draw(CDraw::Course));
  m_pUser = std::make_unique<CDrillUser>(*m_plan, m_card, [this] {
    m_bInDialog = true;
    passTime(m_draw->pick(LENGTHS_MSEC));
    m_bInDialog = false;
  });
  m_pWire = std::make_unique<CDrillWire>(
      *m_plan, m_card, [this](const desk::SCreateRequest& request) { check(ER_Confirmed, m_pUser->faultOf(request)); });
  m_pEngine = std::make_unique<CDrillEngine>(*m_plan, m_settings.m_folder / std::to_string(day), m_card, *m_pWire);
  m_pWire->connect(*m_pEngine);
  m_baskets = m_plan->makeBaskets(m_pEngine->desk(), m_pEngine->simulation());
  m_books = booksOf(*m_pEngine);
  m_nClock = m_pEngine->now();
  m_nStepsToKill = m_plan->has(EF_Kill) ? m_draw->below(m_plan->m_nSteps) : -1;
  m_nStepsToBurst = m_plan->has(EF_Burst) ? m_draw->below(m_plan->m_nSteps) : -1;
  m_nStepsToSpace = 0;
  if (m_pTerminal) {
    m_pUser->setTerminal(m_pTerminal.get());
    m_pWire->connect(*m_pTerminal);
  } else {
    openTerminal();
  }
}

void CDrill::openTerminal() {
  m_pTerminal = std::make_unique<CDrillTerminal>(m_createPanel, m_settings.m_pJournal);
  m_pUser->setTerminal(m_pTerminal.get());
  m_pWire->connect(*m_pTerminal);
  m_pTerminal->openPanel();
}

void CDrill::runDay() {
  startBaskets();
  for (int steps = m_plan->m_nSteps; steps > 0 && !isOver(); --steps) {
    step();
    if (m_draw->chance(8)) quiet(false);
  }
}

void CDrill::startBaskets() {
  while (!m_baskets.empty() && m_draw->chance(60)) {
    m_pEngine->post(engine::SStartBasket{std::move(m_baskets.back())});
    m_baskets.pop_back();
  }
}

void CDrill::step() {
  misfortune();
  startBaskets();
  passTime(m_draw->pick(LENGTHS_MSEC));
  for (int acts = m_draw->below(5); acts > 0 && !isOver(); --acts) {
    m_pUser->act();
    checkMarket();
  }
  if (m_draw->chance(70)) m_pEngine->keepMarks();
}

void CDrill::moveTo(std::int64_t msec) {
  m_pEngine->stepTo(msec);
  m_nNow = m_pEngine->now();
  const std::int64_t now = std::max(m_nClock, m_pEngine->now());
  m_pTerminal->host().moveClock(static_cast<double>(now - m_nClock));
  m_nClock = now;
  m_pTerminal->desk().setNow(app::tradingDayStart() + m_pEngine->now() / 1000);
  if (m_settings.m_pJournal) {
    m_settings.m_pJournal->advanceTo(m_nDay, m_pEngine->now(), m_pTerminal->desk(), m_pEngine->simulation().market());
  }
  m_pWire->advanceTo(m_pEngine->now());
}

/// In pieces of a second, as the panel's timer goes.
void CDrill::passTime(std::int64_t msec) {
  const std::int64_t until = m_pEngine->now() + msec;
  while (m_pEngine->now() < until && !isOver()) {
    moveTo(std::min(until, m_pEngine->now() + PIECE_MSEC));
    checkMarket();
    if (m_draw->chance(msec > 10000 ? 20 : 60)) refresh();
  }
}

void CDrill::refresh() {
  ++m_card.m_nRefreshes;
  // A dialog's own step is no place for another one's.
  if (m_pTerminal->host().heldTimers().empty()) return;
  if (!m_plan->has(EF_HostCall) || !m_draw->chance(40)) {
    m_pTerminal->refresh();
    return;
  }
  const bool met = m_pTerminal->refresh(m_draw->below(QUESTIONS), [this] {
    std::thread host([this] { m_pWire->deliverDue(true); });
    host.join();
  });
  m_card.m_faults[EF_HostCall] += met ? 1 : 0;
}

// What goes wrong at large

void CDrill::misfortune() {
  if (m_nStepsToSpace > 0 && --m_nStepsToSpace == 0) m_pEngine->fillDisk(false);
  if (m_nStepsToSpace == 0 && happens(EF_FullDisk, 4)) {
    m_pEngine->fillDisk(true);
    m_nStepsToSpace = m_draw->between(2, 10);
  }
  if (m_plan->has(EF_ForeignPatch) && m_draw->chance(10)) m_pWire->patchElsewhere();
  if (happens(EF_StalledFeed, 6)) m_pWire->stall(m_pEngine->now() + m_draw->between(1000, 120000));
  if (m_nStepsToBurst >= 0 && m_nStepsToBurst-- == 0) {
    ++m_card.m_faults[EF_Burst];
    m_pWire->tellAgain(BURST);
    refresh();
  }
  if (m_nStepsToKill >= 0 && m_nStepsToKill-- == 0) die();
}

/// The process dies, with engine and panel, and is started again.
void CDrill::die() {
  ++m_card.m_faults[EF_Kill];
  m_pUser->setTerminal(nullptr);
  m_pTerminal.reset();
  m_nStepsToSpace = 0;
  check(ER_Restart, m_pEngine->die());
  if (isOver()) return;
  m_pWire->connect(*m_pEngine);
  openTerminal();
  checkMarket();
}

// What must hold

void CDrill::checkMarket() {
  check(ER_Order, orderFault(*m_plan, *m_pEngine));
  check(ER_Order, m_pWire->excessFault());
  check(ER_Rate, m_pEngine->line().rateFault());
  check(ER_Account, accountFault(*m_plan, *m_pEngine));
}

/// Until the engine has heard of everything, and a task that publishes seldom has told it.
void CDrill::settleMarket() {
  constexpr int PATIENCE = 120;
  for (int i = 0; i < PATIENCE && !m_pEngine->line().isDelivered(); ++i) moveTo(m_pEngine->now() + PIECE_MSEC);
}

void CDrill::quiet(bool ended) {
  if (m_bInDialog || isOver()) return;
  settleMarket();
  m_pWire->flush();
  m_pTerminal->settle();
  // Another one for what follows from the first.
  for (int i = 0; i < 2; ++i) {
    m_pTerminal->refresh();
    m_pWire->flush();
  }
  m_pTerminal->refresh();
  checkMarket();
  if (m_pEngine->line().isDelivered()) check(ER_Books, booksFault(*m_plan, *m_pEngine, m_books));
  checkTable(ended);
}

void CDrill::checkTable(bool ended) {
  const CShownTable shown(*m_pTerminal->panel(), m_settings.m_ePlant);
  check(ER_Sums, shown.sumsFault());
  check(ER_Screen, shown.screenFault(*m_pTerminal->panel()));
  if (ended) check(ER_Truth, shown.truthFault(*m_pEngine));
  const std::unique_ptr<TC::ITradeDockableWidget> fresh(m_pTerminal->makePanel(2));
  m_pTerminal->act([&] { fresh->setParam(m_pTerminal->panel()->param()); });
  m_pTerminal->showQuantities(*fresh);
  m_pTerminal->refresh();
  check(ER_FreshModel, shown.differenceTo(CShownTable(*fresh)));
  if (ended) m_card.m_strEnd = shown.hash();
}

// The end of a day

void CDrill::endDay() {
  if (isOver()) return;
  if (m_nStepsToSpace > 0) m_pEngine->fillDisk(false);
  m_pEngine->calm();
  m_pWire->calm();
  while (m_pEngine->now() < app::DAY_ENDS && !isOver()) {
    moveTo(std::min(app::DAY_ENDS, m_pEngine->now() + 60 * PIECE_MSEC));
    if (m_draw->chance(10)) m_pTerminal->refresh();
  }
  quiet(true);
  // What was confirmed in a dialog that opened last belongs to this day.
  m_pWire->takeRequests();
  if (isOver()) return;
  startNewDay();
  checkNothingKept();
}

void CDrill::startNewDay() {
  const auto announce = [this] {
    // The feed goes on to the last.
    m_pWire->tellAgain(TOLD_AGAIN);
    m_pTerminal->desk().forgetTasks();
    m_pTerminal->host().services().announceTradingDay(NEXT_DAYS[m_nDay - 1]);
  };
  if (m_settings.m_ePlant == EP_KeptDetail) m_kept = m_pTerminal->desk().taskDetails();
  if (!m_plan->has(EF_DayAmidst)) return m_pTerminal->act(announce);
  // Something to do for the refresh.
  m_pWire->tellAgain(TOLD_AGAIN);
  m_card.m_faults[EF_DayAmidst] += m_pTerminal->refreshAnd(m_draw->below(QUESTIONS), announce) ? 1 : 0;
}

void CDrill::checkNothingKept() {
  m_pTerminal->settle();
  m_pTerminal->refresh();
  m_pTerminal->settle();
  // The server's own.
  m_pEngine.reset();
  const CShownTable shown(*m_pTerminal->panel());
  const auto& delivered = m_pWire->delivered();
  const long alive =
      std::count_if(delivered.begin(), delivered.end(), [](const auto& each) { return !each.expired(); });
  check(ER_Growth, alive == 0 ? shown.emptyFault() : std::to_string(alive) + " details of the day are kept");
}

}  // namespace drill
