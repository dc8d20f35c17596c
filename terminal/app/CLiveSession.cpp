#include "CLiveSession.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QPointer>
#include <QThread>
#include <boost/make_shared.hpp>
#include <cmath>

#include "gv/CMessageBox.h"
#include "tc/ITradeDockableWidget.h"

namespace app {
namespace {

constexpr exchange::SDate TRADING_DATE{2026, 11, 23};
constexpr int EXCHANGE_UTC_OFFSET = 8 * 3600;
constexpr double DEFAULT_SPEED = 30;
constexpr int CLOCK_TIMER_MSEC = 500;
constexpr int SHARE_LOT = 100;
constexpr int PANEL_WIDGET_ID = 1;
constexpr int FUTURES_ACCOUNT_TYPE = 1;
const char* const FUTURES_ACCOUNT = "F1";

double speedOf(const SOptions& options) { return options.m_dSpeed.value_or(DEFAULT_SPEED); }

QString phaseText(exchange::EPhase phase) {
  switch (phase) {
    case exchange::EPhase::BeforeOpen:
      return QStringLiteral("未开市");
    case exchange::EPhase::Waiting:
      return QStringLiteral("等待开盘");
    case exchange::EPhase::Morning:
      return QStringLiteral("上午连续竞价");
    case exchange::EPhase::Lunch:
      return QStringLiteral("午间休市");
    case exchange::EPhase::Afternoon:
      return QStringLiteral("下午连续竞价");
    case exchange::EPhase::Closed:
      return QStringLiteral("已收市");
  }
  return {};
}

TC::CCodeInfo toCodeInfo(const exchange::SInstrument& instrument, const exchange::SRules& rules) {
  const bool share = instrument.m_kind == exchange::EKind::Share;
  TC::CCodeInfo info;
  info.m_strMarket = instrument.m_strMarket;
  info.m_strCode = instrument.m_strCode;
  info.m_strName = instrument.m_strName;
  info.m_dMultiplier = instrument.m_nMultiplier;
  info.m_nTradeMinUnit = rules.m_nBuyMinimum;
  info.m_nUiMinUnit = rules.m_nBuyStep;
  info.m_nTradeUnit = share ? SHARE_LOT : 1;
  if (instrument.m_strMarket == "SH") info.m_marketPriceTypes = {ksservice::EPT_MarketSH};
  if (instrument.m_strMarket == "SZ") info.m_marketPriceTypes = {ksservice::EPT_MarketSZ};
  return info;
}

desk::SSession makeSession(const SOptions& options) {
  desk::SSession session;
  session.m_strUser = "trader";
  session.m_strLogin = "simulation";
  session.m_nNow = CLiveSession::dayStart() + options.m_nStartMinute * 60LL;
  session.m_timeZone = QTimeZone(EXCHANGE_UTC_OFFSET);
  return session;
}

boost::shared_ptr<ksservice::CAccountInfo> makeAccount(const std::string& key, const std::string& displayId,
                                                       const std::string& name) {
  auto account = boost::make_shared<ksservice::CAccountInfo>();
  account->m_strKey = key;
  account->m_strDisplayId = displayId;
  account->m_strName = name;
  return account;
}

void addAccount(desk::CDesk& desk, const boost::shared_ptr<ksservice::CAccountInfo>& account) {
  desk::SAccount entry;
  entry.m_pInfo = account;
  desk.addAccount(entry);
}

/// Futures are sold short against what the baskets buy.
std::optional<ksservice::CBasketHedgeParam> makeHedge(const SOptions& options) {
  if (!options.m_hedge) return std::nullopt;
  ksservice::CBasketHedgeParam hedge;
  hedge.m_bEnabled = true;
  // The hedge manager has them from the start, so the panel shows from the first lot how the hedge stands.
  hedge.m_bHandedOver = true;
  hedge.m_strMarket = exchange::FUTURES_MARKET;
  hedge.m_strCode = options.m_hedge->m_strCode;
  hedge.m_strAccount = FUTURES_ACCOUNT;
  hedge.m_nOperation = ksservice::EOT_SellOpen;
  hedge.m_dRatio = options.m_hedge->m_dRatio;
  return hedge;
}

engine::SEngineSettings makeEngineSettings(const SOptions& options) {
  const desk::SSession session = makeSession(options);
  engine::SEngineSettings settings;
  settings.m_nDayStart = CLiveSession::dayStart();
  settings.m_strUser = session.m_strUser;
  settings.m_strLogin = session.m_strLogin;
  settings.m_nTraderType = session.m_nTraderType;
  return settings;
}

}  // namespace

std::int64_t CLiveSession::dayStart() { return exchange::dayStartOf(TRADING_DATE); }

CLiveSession::CLiveSession(const SOptions& options, const SInputs& inputs, std::ostream* out, std::ostream* record,
                           CMainWindow& window, TC::CreatePanelFunction createPanel)
    : m_options(options), m_window(window), m_services(m_desk, desk::CHostServices::EClock::Live) {
  // The journal begins with the session, so the recorder is there before the desk is filled.
  if (record) m_pRecorder = std::make_unique<journal::CRecorder>(m_desk, *record);
  if (out) m_pOutput = std::make_unique<journal::COutput>(*out);
  if (m_pOutput) m_desk.addObserver(m_pOutput.get());
  m_pLog = std::make_unique<CDeskLog>(window.log(), [this] { return m_pThread ? m_pThread->now() : 0; });
  m_desk.addObserver(m_pLog.get());
  m_services.install();
  fillDesk(inputs);
  makeThread();
  openPanel(createPanel);
  startBaskets(inputs);
  m_clockTimer.setInterval(CLOCK_TIMER_MSEC);
  connect(&m_clockTimer, &QTimer::timeout, this, [this] {
    measureFeed();
    showClock();
  });
}

CLiveSession::~CLiveSession() {
  // From now on this thread waits for the others.
  m_desk.gate().dropFences();
  m_pThread->stop();
  if (m_pRecorder) m_pRecorder->recordClose();
  delete m_pPanel;
  m_desk.requests().setDriver(nullptr);
  GV::CMessageBox::setPresenter({});
  m_desk.removeObserver(m_pLog.get());
  if (m_pOutput) m_desk.removeObserver(m_pOutput.get());
}

void CLiveSession::fillDesk(const SInputs& inputs) {
  m_desk.setSession(makeSession(m_options));
  for (int i = 1; i <= m_options.m_nAccounts; ++i) {
    const std::string number = std::to_string(i);
    m_accounts.push_back(makeAccount("A" + number, std::to_string(1000 + i), "模拟账户" + number));
    addAccount(m_desk, m_accounts.back());
  }
  if (m_options.m_hedge) {
    const auto futures = makeAccount(FUTURES_ACCOUNT, "8001", "模拟期货账户");
    futures->m_nType = FUTURES_ACCOUNT_TYPE;
    addAccount(m_desk, futures);
  }
  exchange::SExchangeSettings settings;
  settings.m_nSeed = m_options.m_nSeed;
  settings.m_nDayStart = dayStart();
  m_pSimulation = std::make_unique<engine::CSimulation>(
      m_desk, inputs.m_instruments, settings, makeEngineSettings(m_options), m_options.m_nStartMinute * 60000);
  const exchange::CExchange& market = m_pSimulation->market();
  for (std::size_t i = 0; i < market.instruments().size(); ++i) {
    const exchange::SInstrument& instrument = market.instruments()[i];
    m_desk.setInstrument(toCodeInfo(instrument, market.rules(static_cast<int>(i))));
    if (instrument.m_kind == exchange::EKind::IndexFuture) {
      m_pSimulation->engine().watch(instrument.m_strMarket, instrument.m_strCode);
    }
  }
}

void CLiveSession::openPanel(TC::CreatePanelFunction createPanel) {
  if (m_options.m_bHeadless) {
    // Nobody is there to close a message box.
    GV::CMessageBox::setPresenter([this](QWidget*, const QString& title, const QString& text) {
      if (m_pOutput) m_pOutput->messageBox(title, text);
    });
  }
  if (m_pRecorder) m_pRecorder->recordOpen();
  m_pPanel = createPanel(PANEL_WIDGET_ID, &m_window);
  m_window.setPanel(m_pPanel);
  if (m_pRecorder) m_pRecorder->watch(*m_pPanel);
  if (m_pOutput) m_pOutput->watch(*m_pPanel);
  m_desk.setSignalHook(
      [panel = m_pPanel](const ksservice::CTaskDetailPtr& detail) { panel->deliverTaskDetail(detail); });
  m_pPanel->setTradeType(EMavTraderType(m_desk.session().m_nTraderType));
}

engine::SOrderLine CLiveSession::toOrderLine(const basket::SBasketLine& line) {
  const exchange::CExchange& market = m_pSimulation->market();
  const int number = market.findInstrument(line.m_strMarket, line.m_strCode);
  const exchange::SInstrument& instrument = market.instruments()[static_cast<std::size_t>(number)];
  const bool share = instrument.m_kind == exchange::EKind::Share;
  engine::SOrderLine order;
  order.m_stock = {line.m_strMarket, line.m_strCode, instrument.m_strName};
  order.m_nOperation = line.m_bBuy ? (share ? ksservice::EOT_Buy : ksservice::EOT_BuyOpen)
                                   : (share ? ksservice::EOT_Sell : ksservice::EOT_SellOpen);
  order.m_nQuantity = line.m_nQuantity;
  order.m_dReference = instrument.m_dPrevClose;
  order.m_nLot = share ? SHARE_LOT : 1;
  order.m_nMinimum = market.rules(number).m_nBuyMinimum;
  return order;
}

void CLiveSession::makeThread() {
  const double speed = speedOf(m_options);
  CEngineThread::SPace pace{speed, -1};
  if (m_options.m_dSeconds) {
    pace.m_nEnd = m_pSimulation->now() + static_cast<std::int64_t>(std::llround(*m_options.m_dSeconds * speed * 1000));
  }
  m_pThread = std::make_unique<CEngineThread>(*m_pSimulation, m_desk, dayStart(), pace, [this] {
    QMetaObject::invokeMethod(
        this, [this] { finish(); }, Qt::QueuedConnection);
  });
  m_desk.requests().setDriver(&m_driver);
  m_pSimulation->hedger().setHooks({[this](int task, int lots) { m_services.announceHedgeVolume(task, lots); },
                                    [this](int task, int status) { m_services.announceHedgeStatus(task, status); }});
  m_pSimulation->engine().setEventHook([this](const engine::SEngineEvent& event) {
    m_pLog->append(event.m_nMsec, QString::fromStdString(event.m_strText), CLogDock::ELevel::Info);
  });
}

void CLiveSession::startBaskets(const SInputs& inputs) {
  std::vector<engine::SBasketOrder> baskets;
  for (const SNamedBasket& named : inputs.m_baskets) {
    engine::SBasketOrder& basket = baskets.emplace_back();
    basket.m_strName = named.m_strName;
    basket.m_accounts = m_accounts;
    basket.m_hedge = makeHedge(m_options);
    for (const basket::SBasketLine& line : named.m_lines) basket.m_lines.push_back(toOrderLine(line));
  }
  // They start on the engine's thread: details never come from the GUI thread.
  m_pThread->post([baskets = std::move(baskets)](engine::CSimulation& simulation) {
    for (const engine::SBasketOrder& basket : baskets) simulation.engine().startBasket(basket);
  });
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

void CLiveSession::showClock() {
  SClockState state;
  state.m_nMsec = m_pThread->now();
  state.m_strDate =
      QDateTime::fromSecsSinceEpoch(dayStart(), QTimeZone(EXCHANGE_UTC_OFFSET)).toString(QStringLiteral("yyyy-MM-dd"));
  state.m_strPhase = phaseText(exchange::phaseAt(state.m_nMsec));
  state.m_strSpeed = QStringLiteral("×%1").arg(speedOf(m_options));
  state.m_dDetailsPerSecond = m_dDetailsPerSecond;
  m_window.showClock(state);
}

/// The engine has ended: what it delivered is in the panel's caches. One refresh more shows it all.
void CLiveSession::finish() {
  m_clockTimer.stop();
  m_pThread->stop();
  settle();
  m_services.liveClock()->firePendingTimer();
  settle();
  showClock();
  if (m_pRecorder) m_pRecorder->recordDump("end");
  if (m_pOutput) m_pOutput->dump(*m_pPanel, "end");
  Q_EMIT sigEnded();
}

/// Until the panel's queue is empty and what its jobs queued for the GUI thread has run.
void CLiveSession::settle() {
  do {
    while (!m_desk.gate().isIdle()) {
      QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
      QThread::msleep(1);
    }
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  } while (!m_desk.gate().isIdle());
}

}  // namespace app
