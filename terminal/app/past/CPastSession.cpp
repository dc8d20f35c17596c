#include "past/CPastSession.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QLabel>
#include <QThread>
#include <QToolBar>
#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <utility>

#include "DayStart.h"
#include "JsonText.h"
#include "SessionSetup.h"
#include "docks/CLogDock.h"
#include "gv/CMessageBox.h"
#include "gv/CUiResource.h"
#include "tc/CBasketHedgeManager.h"

namespace app {
namespace {

constexpr int PANEL_WIDGET_ID = 1;
constexpr std::size_t MARKS_AT_ONCE = 200;
constexpr int FOLLOW_MSEC = 1000;
/// Between what is asked for while a handle is dragged and what shows.
constexpr int MOVE_MSEC = 15;
/// Between a moment that shows and what is said of it, which takes longer.
constexpr int AROUND_MSEC = 200;

void addBar(CMainWindow& window, Qt::ToolBarArea area, QWidget* content, const char* name) {
  auto* bar = new QToolBar(&window);
  bar->setObjectName(QString::fromLatin1(name));
  bar->setMovable(false);
  bar->setContextMenuPolicy(Qt::PreventContextMenu);
  bar->addWidget(content);
  window.addToolBar(area, bar);
}

}  // namespace

CPastSession::SWorld::SWorld(CPastSession& session)
    : m_session(session),
      m_blotter(m_desk, {}, session.m_inputs.m_fees),
      m_driver(m_desk,
               [this](const QString& text) {
                 // The panel shows already what it asked for.
                 m_session.m_bSpoiled = true;
                 m_session.moveTo(m_past.now());
                 if (!text.isEmpty()) GV::CMessageBox::information(m_pPanel, QStringLiteral("回看"), text);
               }),
      m_past(session.m_day, *session.m_pLog, tradingDayStart(), m_desk, m_services, m_blotter),
      m_exceptions({.m_pDesk = &m_desk,
                    .m_pBlotter = &m_blotter,
                    .m_suspended = suspendedOf(session.m_inputs),
                    .m_bMoments = true}) {
  m_services.install();
  m_desk.setSession(makeSession(session.m_options));
  addAccounts(m_desk, session.m_options);
  enterInstruments(m_desk, *session.m_pMarket);
  // Before the panel hears of it ...
  QObject::connect(&TC::getBasketHedgeManager(), &TC::CBasketHedgeManager::sigHedgeStatus, &m_driver,
                   [this] { m_driver.setAnnouncing(true); });
}

CPastSession::SWorld::~SWorld() {
  m_session.m_window.docks().attach({});
  delete m_pPanel;
  m_desk.requests().setDriver(nullptr);
}

CPastSession::CPastSession(SOptions options, std::unique_ptr<daylog::IDayLog> log, std::ostream* out,
                           CMainWindow& window, TC::CreatePanelFunction createPanel)
    : m_options(std::move(options)), m_pLog(std::move(log)), m_pOut(out), m_window(window), m_createPanel(createPanel) {
  // What was traded stands in the day itself.
  if (m_strFault = takeStart(*m_pLog, {}, m_options, &m_strOtherFiles); !m_strFault.empty()) return;
  m_inputs = readListed(m_options);
  if (!m_inputs.m_faults.empty()) {
    m_strFault = m_inputs.m_faults.front();
    return;
  }
  m_pMarket = std::make_unique<exchange::CExchange>(m_inputs.m_instruments, makeExchangeSettings(m_options));
  if (m_pOut) m_pOutput = std::make_unique<journal::COutput>(*m_pOut);
  m_pPanelServices = std::make_unique<CPanelServices>(window, nullptr, m_pOutput.get(), m_options.m_bHeadless);
  m_pBar = new CTimeBar(&window);
  connect(m_pBar, &CTimeBar::sigMoved, this, &CPastSession::moveTo);
  addBar(window, Qt::BottomToolBarArea, m_pBar, "timeBarBar");
  window.setWindowTitle(QStringLiteral("PanelBasketTasks – 回看 %1")
                            .arg(QFileInfo(QString::fromStdString(m_options.m_strPast)).fileName()));
  showImagined();
  m_readTimer.setInterval(0);
  connect(&m_readTimer, &QTimer::timeout, this, &CPastSession::readOn);
  m_moveTimer.setInterval(MOVE_MSEC);
  m_moveTimer.setSingleShot(true);
  connect(&m_moveTimer, &QTimer::timeout, this, &CPastSession::show);
  m_aroundTimer.setInterval(AROUND_MSEC);
  m_aroundTimer.setSingleShot(true);
  connect(&m_aroundTimer, &QTimer::timeout, this, &CPastSession::tellAround);
  m_followTimer.setInterval(FOLLOW_MSEC);
  connect(&m_followTimer, &QTimer::timeout, this, &CPastSession::follow);
}

CPastSession::~CPastSession() {
  if (m_pWorld) m_pWorld->m_desk.gate().dropFences();
  m_pWorld.reset();
}

/// Nobody may take for real what was only imagined.
void CPastSession::showImagined() {
  const nlohmann::json first = journal::tryParseJson(m_pLog->entries().front().m_strBody);
  if (!first.is_object() || !first.contains(IMAGINED)) return;
  const nlohmann::json& imagined = first[IMAGINED];
  const auto text = [&imagined](const char* name) {
    const auto found = imagined.find(name);
    return found != imagined.end() && found->is_string() ? QString::fromStdString(found->get<std::string>())
                                                         : QString();
  };
  auto* band = new QLabel(QStringLiteral("假想：%1 起 %2，其后并未发生").arg(text("at"), text("with")), &m_window);
  band->setObjectName(QStringLiteral("imaginedBand"));
  band->setAlignment(Qt::AlignCenter);
  band->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  band->setStyleSheet(QStringLiteral("background: %1; color: %2; font-weight: bold; padding: 3px;")
                          .arg(GV::CUiResource::getColor(QStringLiteral("clr_btn_style_2"))->name(),
                               GV::CUiResource::getColor(QStringLiteral("clr_btn_style_text"))->name()));
  addBar(m_window, Qt::TopToolBarArea, band, "imaginedBar");
  m_window.setWindowTitle(m_window.windowTitle() + QStringLiteral("（假想）"));
}

void CPastSession::start() { m_readTimer.start(); }

void CPastSession::fail(const std::string& fault) {
  m_readTimer.stop();
  m_followTimer.stop();
  m_pBar->setNotice(QString::fromStdString(fault));
  std::cerr << m_options.m_strPast << ": " << fault << std::endl;
  Q_EMIT sigShown();
}

/// In pieces, so that the window stays alive.
void CPastSession::readOn() try {
  const bool more = m_day.read(*m_pLog, MARKS_AT_ONCE);
  if (more) return m_pBar->setNotice(QStringLiteral("正在读取 %1").arg(timeOfDayText(m_day.end())));
  tellBar();
  m_readTimer.stop();
  m_pBar->setNotice({});
  if (std::exchange(m_bRead, true)) return;
  if (!m_pLog->isFinished()) m_followTimer.start();
  m_nWanted = within(m_options.m_pastAt.value_or(m_day.end()));
  show();
  Q_EMIT sigShown();
} catch (const std::exception& fault) {
  fail(fault.what());
}

void CPastSession::follow() {
  const std::size_t marks = m_pLog->marks().size();
  if (const std::string fault = m_pLog->follow(); !fault.empty()) return fail(fault);
  if (m_pLog->isFinished()) m_followTimer.stop();
  if (m_pLog->marks().size() != marks) m_readTimer.start();
}

void CPastSession::tellBar() {
  std::vector<std::pair<std::int64_t, QString>> entries;
  for (const daylog::SEntry& entry : m_pLog->entries()) entries.emplace_back(entry.m_nMsec, entryText(entry));
  const std::int64_t begin = m_pLog->entries().front().m_nMsec;
  m_pBar->setDay(begin, std::max(begin, m_day.end()), !m_pLog->isFinished(), dayMarks(*m_pLog, m_day),
                 std::move(entries));
}

void CPastSession::moveTo(std::int64_t msec) {
  m_nWanted = within(msec);
  m_pBar->setNow(m_nWanted);
  if (!m_moveTimer.isActive()) m_moveTimer.start();
}

/// No moment before the day's beginning or behind what is known of it.
std::int64_t CPastSession::within(std::int64_t msec) const {
  const std::int64_t begin = m_pLog->entries().front().m_nMsec;
  return std::clamp(msec, begin, std::max(begin, m_day.end()));
}

void CPastSession::makeWorld() {
  if (m_pWorld) {
    settle();
    if (m_pWorld->m_pPanel) m_strPanelParam = m_pWorld->m_pPanel->param();
    m_windowState = m_window.saveState();
    m_pWorld.reset();
  }
  m_window.log().clear();
  m_nMessage = 0;
  if (!m_strOtherFiles.empty()) {
    m_window.log().append(m_pLog->entries().front().m_nMsec, QString::fromStdString(m_strOtherFiles),
                          CLogDock::ELevel::Warning);
  }
  m_pWorld = std::make_unique<SWorld>(*this);
}

void CPastSession::show() {
  // While a world settles, events run.
  if (m_bShowing) return m_moveTimer.start();
  m_bShowing = true;
  const bool back = m_pWorld && (m_nWanted < m_pWorld->m_past.now() || std::exchange(m_bSpoiled, false));
  if (!m_pWorld || back) makeWorld();
  SWorld& world = *m_pWorld;
  if (!world.m_pPanel) makePanel();
  for (std::int64_t stop = 0; (stop = world.m_past.nextStop(m_nWanted)) < m_nWanted;) {
    world.m_past.advanceTo(stop);
    refreshPanel();
    settle();
  }
  world.m_past.advanceTo(m_nWanted);
  showLog(world.m_past.now());
  m_pBar->setNow(world.m_past.now());
  showClock();
  refreshPanel();
  if (back && m_chosenRow) {
    settle();
    world.m_pPanel->showRow(m_chosenRow->first, m_chosenRow->second);
  }
  m_bShowing = false;
  if (!m_aroundTimer.isActive()) m_aroundTimer.start();
}

/// What stands around the panel follows it to another moment.
void CPastSession::tellAround() {
  if (!m_pWorld) return;
  // The panel is still to take the moment in.
  if (m_bShowing || !m_pWorld->m_desk.gate().isIdle()) return m_aroundTimer.start();
  m_pWorld->m_exceptions.look(0);
  showClock();
  if (m_chosenRow) m_window.docks().choose(m_chosenRow->first, m_chosenRow->second);
  m_window.docks().tellMoved();
}

void CPastSession::makePanel() {
  SWorld& world = *m_pWorld;
  world.m_desk.requests().setDriver(&world.m_driver);
  TC::ITradeDockableWidget* panel = m_createPanel(PANEL_WIDGET_ID, &m_window);
  world.m_pPanel = panel;
  // ... and behind it.
  connect(&TC::getBasketHedgeManager(), &TC::CBasketHedgeManager::sigHedgeStatus, &world.m_driver,
          [&driver = world.m_driver] { driver.setAnnouncing(false); });
  m_window.setPanel(panel);
  // A panel's dock comes at its usual size.
  if (!m_windowState.isEmpty()) m_window.restoreState(m_windowState);
  m_pPanelServices->setPanel(panel);
  SDockSources sources;
  sources.m_pDesk = &world.m_desk;
  sources.m_pBlotter = &world.m_blotter;
  sources.m_fees = m_inputs.m_fees;
  sources.m_suspended = suspendedOf(m_inputs);
  sources.m_pExceptions = &world.m_exceptions;
  sources.m_showRow = [panel](int taskId, const QString& row) { panel->showRow(taskId, row); };
  sources.m_explain = [this](int taskId, const QString& node, const SDockSources::Explained& answer) {
    answer(why(taskId, node));
  };
  sources.m_showMoment = [this](std::int64_t msec) { moveTo(msec); };
  m_window.docks().attach(sources);
  connect(panel, &TC::ITradeDockableWidget::sigRowChosen, this, [this](int taskId, const QString& row) {
    m_chosenRow = {taskId, row};
    m_window.docks().choose(taskId, row);
  });
  connect(panel, &TC::ITradeDockableWidget::sigExplainRow, this, [this](int taskId, const QString& row) {
    m_window.docks().open(WHY_DOCK);
    m_window.docks().choose(taskId, row);
  });
  if (m_pOutput) m_pOutput->watch(*panel);
  panel->setTradeType(EMavTraderType(world.m_desk.session().m_nTraderType));
  if (!m_strPanelParam.isEmpty()) panel->setParam(m_strPanelParam);
  panel->prepareActive();
}

void CPastSession::refreshPanel() { m_pWorld->m_services.liveClock()->firePendingTimer(); }

std::vector<SWhyFact> CPastSession::why(int taskId, const QString& row) {
  if (!panel()) return {};
  SWhySources sources;
  sources.m_pLog = m_pLog.get();
  sources.m_pDay = &m_day;
  sources.m_nNow = now();
  sources.m_nDayStart = tradingDayStart();
  sources.m_limits = m_options.m_orderLimits;
  return whyFacts(panel()->explain(taskId, row), sources);
}

void CPastSession::showLog(std::int64_t msec) {
  for (; m_nMessage < m_day.messages().size() && m_day.messages()[m_nMessage].m_nMsec <= msec; ++m_nMessage) {
    const SPastMessage& message = m_day.messages()[m_nMessage];
    m_window.log().append(message.m_nMsec, QString::fromStdString(message.m_strText),
                          message.m_bWarning ? CLogDock::ELevel::Warning : CLogDock::ELevel::Info);
  }
}

void CPastSession::showClock() {
  SClockState state;
  state.m_nMsec = now();
  state.m_date = QDateTime::fromSecsSinceEpoch(tradingDayStart(), exchangeTimeZone()).date();
  state.m_strPhase = QStringLiteral("回看");
  state.m_nExceptions = m_pWorld->m_exceptions.exceptions().count();
  m_window.showClock(state);
}

void CPastSession::dump() {
  if (!panel()) return;
  // While a world settles, events run, and must not exchange it.
  const bool showing = std::exchange(m_bShowing, true);
  settle();
  refreshPanel();
  settle();
  m_bShowing = showing;
  if (m_pOutput) m_pOutput->dump(*panel(), "end");
}

/// Until the panel's queue is empty and what its jobs queued for the GUI thread has run.
void CPastSession::settle() {
  desk::CJobGate& gate = m_pWorld->m_desk.gate();
  do {
    while (!gate.isIdle()) {
      QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
      QThread::msleep(1);
    }
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  } while (!gate.isIdle());
}

}  // namespace app
