#include "CLiveSession.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QProcess>
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "AccountStart.h"
#include "DayQuestion.h"
#include "DayStart.h"
#include "SessionSetup.h"
#include "gv/CUiResource.h"
#include "tc/ITradeDockableWidget.h"
#include "utils/Keys.h"

namespace app {
namespace {

constexpr double DEFAULT_SPEED = 30;
constexpr int CLOCK_TIMER_MSEC = 500;
constexpr int PANEL_WIDGET_ID = 1;

double speedOf(const SOptions& options) { return options.m_dSpeed.value_or(DEFAULT_SPEED); }

bool quoteOf(exchange::CExchange& market, const std::string& name, const std::string& code, exchange::SQuote& quote) {
  const int instrument = market.findInstrument(name, code);
  if (instrument >= 0) quote = market.quote(instrument);
  return instrument >= 0;
}

QString phaseText(exchange::EPhase phase) {
  switch (phase) {
    case exchange::EPhase::BeforeOpen:
      return QStringLiteral("未开市");
    case exchange::EPhase::OpeningAuction:
      return QStringLiteral("开盘集合竞价");
    case exchange::EPhase::OpeningNoCancel:
      return QStringLiteral("开盘集合竞价，不可撤单");
    case exchange::EPhase::Waiting:
      return QStringLiteral("等待开盘");
    case exchange::EPhase::Morning:
      return QStringLiteral("上午连续竞价");
    case exchange::EPhase::Lunch:
      return QStringLiteral("午间休市");
    case exchange::EPhase::Afternoon:
      return QStringLiteral("下午连续竞价");
    case exchange::EPhase::ClosingAuction:
      return QStringLiteral("收盘集合竞价，不可撤单");
    case exchange::EPhase::Closed:
      return QStringLiteral("已收市");
  }
  return {};
}

}  // namespace

CLiveSession::CLiveSession(const SOptions& options, const SInputs& inputs, const SKeeps& keeps, CMainWindow& window,
                           TC::CreatePanelFunction createPanel)
    : m_options(options),
      m_window(window),
      m_services(m_desk, desk::CHostServices::EClock::Live),
      m_pState(keeps.m_pState),
      // The journal begins with the session, so the recorder is there before the desk is filled.
      m_pRecorder(keeps.m_pRecord ? std::make_unique<journal::CRecorder>(m_desk, *keeps.m_pRecord) : nullptr),
      m_pOutput(keeps.m_pOut ? std::make_unique<journal::COutput>(*keeps.m_pOut) : nullptr),
      m_panelServices(window, m_pRecorder.get(), m_pOutput.get(), options.m_bHeadless),
      m_blotter(
          m_desk,
          [this](const std::string& market, const std::string& code, exchange::SQuote& quote) {
            return quoteOf(m_pSimulation->market(), market, code, quote);
          },
          inputs.m_fees),
      m_pDay(keeps.m_pDay) {
  if (m_pOutput) m_desk.addObserver(m_pOutput.get());
  m_pLog = std::make_unique<CDeskLog>(window.log(), [this] { return m_pThread ? m_pThread->now() : 0; });
  m_desk.addObserver(m_pLog.get());
  m_desk.addObserver(&m_blotter);
  m_services.install();
  fillDesk(inputs);
  if (m_pDay) {
    m_pDayOutputs = std::make_unique<CDayOutputs>(m_desk, m_pSimulation);
    m_pKeeper = std::make_unique<CDayKeeper>(*m_pDay);
    m_desk.addObserver(m_pDayOutputs.get());
  }
  setHooks();
  if (!goOn(keeps.m_progress)) return;
  makeThread();
  keepDay();
  schedule(inputs);
  makeBasketDesk(inputs);
  if (!options.m_bHeadless) m_pMenu = addSessionMenu(window, [this] { endDay(); });
  feedDocks(inputs);
  openPanel(createPanel);
  if (!m_bGoesOn) startBaskets(inputs);
  m_clockTimer.setInterval(CLOCK_TIMER_MSEC);
  connect(&m_clockTimer, &QTimer::timeout, this, [this] {
    measureFeed();
    warnOfLoss();
    lookForExceptions();
    showClock();
  });
}

CLiveSession::~CLiveSession() {
  // From now on this thread waits for the others.
  m_desk.gate().dropFences();
  if (m_pThread) m_pThread->stop();
  delete m_pMenu;
  m_window.docks().attach({});
  if (m_pRecorder && m_pPanel) m_pRecorder->recordClose();
  delete m_pPanel;
  m_desk.requests().setDriver(nullptr);
  m_desk.removeObserver(&m_blotter);
  m_desk.removeObserver(m_pLog.get());
  if (m_pDayOutputs) m_desk.removeObserver(m_pDayOutputs.get());
  if (m_pOutput) m_desk.removeObserver(m_pOutput.get());
}

void CLiveSession::fillDesk(const SInputs& inputs) {
  m_desk.setSession(makeSession(m_options));
  m_accounts = addAccounts(m_desk, m_options);
  m_pSimulation =
      std::make_unique<engine::CSimulation>(m_desk, inputs.m_instruments, makeExchangeSettings(m_options),
                                            makeEngineSettings(m_options, inputs), m_options.m_nStartMinute * 60000);
  addInstruments(m_desk, *m_pSimulation);
  openAccounts(m_options, inputs, *m_pSimulation);
}

void CLiveSession::feedDocks(const SInputs& inputs) {
  SDockSources sources;
  sources.m_pDesk = &m_desk;
  sources.m_pBlotter = &m_blotter;
  sources.m_askMarket = [this](const InstrumentNames& names, const std::shared_ptr<CMarketAnswer>& answer) {
    m_pThread->ask([names, answer](engine::CSimulation& simulation) {
      std::vector<exchange::SQuote> quotes(names.size());
      for (std::size_t i = 0; i < names.size(); ++i) {
        quoteOf(simulation.market(), names[i].first, names[i].second, quotes[i]);
      }
      answer->put(std::move(quotes));
    });
  };
  sources.m_suspended = suspendedOf(inputs);
  sources.m_showRow = [this](int taskId, const QString& row) { m_pPanel->showRow(taskId, row); };
  sources.m_fees = inputs.m_fees;
  sources.m_explain = [this](int taskId, const QString& node, const SDockSources::Explained& answer) {
    explain(taskId, node, answer);
  };
  if (m_pDay) sources.m_showMoment = [this](std::int64_t msec) { lookBack(msec); };
  if (!m_options.m_bHeadless) makeExceptions(sources);
  sources.m_pExceptions = m_pExceptions.get();
  m_window.docks().attach(sources);
}

void CLiveSession::makeExceptions(const SDockSources& sources) {
  SExceptionSources of;
  of.m_pDesk = &m_desk;
  of.m_pBlotter = &m_blotter;
  of.m_suspended = sources.m_suspended;
  of.m_orderUse = [this] { return std::exchange(m_useSinceLook, {}); };
  of.m_orderLimits = m_options.m_orderLimits;
  of.m_feedTick = [this] { return m_bEngineEnded ? -1 : m_pThread->now(); };
  m_pExceptions = std::make_unique<CExceptionFinder>(std::move(of));
  m_realClock.start();
}

/// Once a second; the dock need not be open.
void CLiveSession::lookForExceptions() {
  if (!m_pExceptions) return;
  const qint64 now = m_realClock.elapsed() / 1000;
  if (std::exchange(m_nLookedAt, now) != now) m_pExceptions->look(now);
}

void CLiveSession::openPanel(TC::CreatePanelFunction createPanel) {
  if (m_pRecorder) m_pRecorder->recordOpen();
  m_pPanel = createPanel(PANEL_WIDGET_ID, &m_window);
  m_window.setPanel(m_pPanel);
  m_panelServices.setPanel(m_pPanel);
  if (m_pRecorder) m_pRecorder->watch(*m_pPanel);
  if (m_pOutput) m_pOutput->watch(*m_pPanel);
  m_desk.setSignalHook(
      [panel = m_pPanel](const ksservice::CTaskDetailPtr& detail) { panel->deliverTaskDetail(detail); });
  connect(m_pPanel, &TC::ITradeDockableWidget::sigPatchCreateTask, this, [this](const QString& lines) {
    // A recording goes on without the window, as a replay does.
    if (!m_options.m_bHeadless && m_pBasketDesk) m_pBasketDesk->openText(lines.toUtf8(), QStringLiteral("补单篮子"));
  });
  connect(m_pPanel, &TC::ITradeDockableWidget::sigRowChosen, &m_window.docks(), &CDocks::choose);
  connect(m_pPanel, &TC::ITradeDockableWidget::sigExplainRow, this, [this](int taskId, const QString& node) {
    m_window.docks().open(WHY_DOCK);
    m_window.docks().choose(taskId, node);
  });
  m_pPanel->setTradeType(EMavTraderType(m_desk.session().m_nTraderType));
  restoreState();
}

/// The panel stands as it stood when the terminal was closed, and is told that it is about to be shown.
void CLiveSession::restoreState() {
  if (m_pState) {
    m_pState->restoreLayout(m_window);
    if (m_pExceptions) {
      SExceptionLimits limits;
      limits.take(m_window.docks().params().value(QStringLiteral("exceptionsDock")));
      m_pExceptions->setLimits(limits);
    }
    const QString param = m_pState->panelParam();
    if (!param.isEmpty()) {
      if (m_pRecorder) m_pRecorder->recordSetParam(param);
      m_pPanel->setParam(param);
    }
  }
  journal::SHostLine act;
  act.m_eAct = journal::EHostAct::PrepareActive;
  if (m_pRecorder) m_pRecorder->recordHostAct(act);
  m_pPanel->prepareActive();
}

/// Drafts live beside the view that is kept.
void CLiveSession::makeBasketDesk(const SInputs& inputs) {
  auto host =
      std::make_unique<CDraftHost>(m_desk, m_pSimulation->market(), *m_pThread, m_accounts, m_options, inputs.m_fees);
  const QString folder =
      m_pState ? QString::fromStdString(CStateStore::draftFolderOf(m_options.m_strConfig)) : QString();
  m_pBasketDesk = std::make_unique<CBasketDesk>(m_window, std::move(host), folder);
  const int drafts = m_pBasketDesk->openDraftCount();
  if (drafts == 0) return;
  m_pLog->append(m_pThread->now(), QStringLiteral("有 %1 个未发送的篮子草稿，在“新建篮子”的“草稿”里打开").arg(drafts),
                 CLogDock::ELevel::Info);
}

void CLiveSession::setHooks() {
  const auto onVolume = [this](int task, int lots) {
    if (m_pDayOutputs) m_pDayOutputs->addHedgeVolume(task, lots);
    m_services.announceHedgeVolume(task, lots);
  };
  const auto onStatus = [this](int task, int status) {
    if (m_pDayOutputs) m_pDayOutputs->addHedgeStatus(task, status);
    m_services.announceHedgeStatus(task, status);
  };
  m_pSimulation->hedger().setHooks({onVolume, onStatus});
  m_pSimulation->engine().setEventHook([this](const engine::SEngineEvent& event) {
    if (m_pDayOutputs && event.m_bFollows) m_pDayOutputs->addMessage(event.m_nMsec, event.m_bWarning, event.m_strText);
    m_pLog->append(event.m_nMsec, QString::fromStdString(event.m_strText),
                   event.m_bWarning ? CLogDock::ELevel::Warning : CLogDock::ELevel::Info);
  });
}

void CLiveSession::makeThread() {
  const double speed = speedOf(m_options);
  CEngineThread::SPace pace{speed, -1};
  const std::int64_t begin = m_options.m_nStartMinute * std::int64_t{60000};
  if (m_options.m_dSeconds) {
    // From the day's beginning, so that a run that goes on ends where an undisturbed one does.
    pace.m_nEnd = begin + static_cast<std::int64_t>(std::llround(*m_options.m_dSeconds * speed * 1000));
  } else if (m_options.m_bHeadless) {
    // Nobody can end it.
    pace.m_nEnd = std::max(DAY_ENDS, begin);
  }
  m_pThread = std::make_unique<CEngineThread>(*m_pSimulation, m_desk, tradingDayStart(), pace, [this] {
    QMetaObject::invokeMethod(
        this, [this] { finish(); }, Qt::QueuedConnection);
  });
  m_desk.requests().setDriver(&m_driver);
}

void CLiveSession::schedule(const SInputs& inputs) {
  const auto tell = [this](const std::string& text) {
    m_pLog->append(m_pSimulation->now(), QString::fromStdString(text), CLogDock::ELevel::Warning);
  };
  m_pSchedule = std::make_unique<CActSchedule>(inputs.m_acts, m_desk, tell);
  if (m_bGoesOn) m_pSchedule->passOver(*m_pDay, *m_pSimulation);
  m_pThread->setSchedule(m_pSchedule.get());
}

void CLiveSession::startBaskets(const SInputs& inputs) {
  // They start on the engine's thread: details never come from the GUI thread.
  for (engine::SBasketOrder& basket : makeBaskets(m_options, inputs, m_pSimulation->market(), m_accounts)) {
    m_pThread->post(engine::SStartBasket{std::move(basket)});
  }
}

void CLiveSession::start() {
  showClock();
  m_feedClock.start();
  m_clockTimer.start();
  m_pThread->start();
}

void CLiveSession::measureFeed() {
  const std::uint64_t details = m_pThread->publishedCount();
  const double seconds = static_cast<double>(m_feedClock.restart()) / 1000;
  m_dDetailsPerSecond = static_cast<double>(details - m_nMeasuredDetails) / std::max(seconds, 0.001);
  m_nMeasuredDetails = details;
}

/// The user trades on; but what he relies on is not written any more.
void CLiveSession::warnOfLoss() {
  const bool good = (!m_pRecorder || m_pRecorder->isGood()) && (!m_pOutput || m_pOutput->isGood());
  if (good || std::exchange(m_bLossTold, true)) return;
  m_pLog->append(m_pThread->now(), QStringLiteral("输出文件写入失败，此后的内容没有保存"), CLogDock::ELevel::Warning);
}

void CLiveSession::showClock() {
  SClockState state;
  state.m_nMsec = m_pThread->now();
  state.m_date = QDateTime::fromSecsSinceEpoch(tradingDayStart(), exchangeTimeZone()).date();
  state.m_strPhase = m_bDayEnded ? QStringLiteral("交易日已结束")
                                 : phaseText(exchange::phaseAt(exchange::EKind::Share, state.m_nMsec));
  state.m_strSpeed = QStringLiteral("×%1").arg(speedOf(m_options));
  state.m_dDetailsPerSecond = m_dDetailsPerSecond;
  const std::vector<SAccountUse> use = orderUse();
  state.m_strOrderUse = orderUseText(use, m_options.m_orderLimits);
  state.m_strOrderUseTip = orderUseTip(use, m_options.m_orderLimits);
  state.m_dLag = m_pThread->lag();
  if (m_pKeeper) state.m_strUnkept = QString::fromStdString(m_pKeeper->fault());
  if (m_pExceptions) state.m_nExceptions = m_pExceptions->exceptions().count();
  m_window.showClock(state);
}

std::vector<SAccountUse> CLiveSession::orderUse() {
  std::vector<SAccountUse> accounts;
  const std::vector<engine::SOrderUse> taken = m_pThread->takeOrderUse();
  // The status bar asks more often than exceptions are looked for.
  addUse(m_useSinceLook, taken);
  for (const engine::SOrderUse& use : taken) {
    desk::SAccount account;
    m_desk.findAccount(use.m_strAccount, account);
    accounts.push_back(
        {QString::fromStdString(account.m_pInfo ? account.m_pInfo->m_strDisplayId : use.m_strAccount), use});
  }
  return accounts;
}

}  // namespace app
