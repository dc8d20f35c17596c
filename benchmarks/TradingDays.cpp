#include "TradingDays.h"

#include <QCoreApplication>
#include <QDate>
#include <QElapsedTimer>
#include <QTextStream>
#include <algorithm>
#include <atomic>
#include <boost/weak_ptr.hpp>
#include <memory>
#include <random>
#include <utility>
#include <variant>

#include "AccountStart.h"
#include "CBasketTasksPanel.h"
#include "CEngineDriver.h"
#include "CEngineThread.h"
#include "CHostServices.h"
#include "DayMemory.h"
#include "DayStart.h"
#include "SessionSetup.h"
#include "TableDump.h"
#include "UserActs.h"
#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CCommonDialog.h"
#include "gv/CHpfTreeTable.h"
#include "gv/CMessageBox.h"

namespace bench {
namespace {

constexpr double SPEED = 1500;  ///< a day from 9:25 to the close takes 14 s
constexpr int START_MINUTE = 9 * 60 + 25;
constexpr int TASK_NUMBERS_A_DAY = 100000;
constexpr double REFRESH_MSEC = 1001;
constexpr int CLICK_MSEC = 100;
constexpr int SETTLE_ROUNDS = 4;  ///< refreshes until what came last, and what followed from it, is shown and freed
/// Minutes of the day at which baskets come: each time so many of the terminal's own and so many of the server's.
constexpr int BASKET_MINUTES[] = {9 * 60 + 25, 10 * 60 + 30, 13 * 60 + 15, 14 * 60 + 15};
constexpr int OWN_BASKETS = 4;
constexpr int SERVER_BASKETS = 2;

std::int64_t dayStartOf(const QDate& date) {
  return exchange::dayStartOf({date.year(), static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day())});
}

QDate nextTradingDay(QDate date) {
  do {
    date = date.addDays(1);
  } while (date.dayOfWeek() > Qt::Friday);
  return date;
}

app::SOptions optionsOf(int startMinute, bool server) {
  app::SOptions options;
  options.m_bHeadless = true;
  options.m_nAccounts = 2;
  options.m_hedge = app::SHedgeOption{"IF2703", 1.0};
  options.m_nStartMinute = startMinute;
  if (server) options.m_algo = TC::EAlgorithm::TWAP;
  const int baskets = server ? SERVER_BASKETS : OWN_BASKETS;
  for (int i = 0; i < baskets; ++i) options.m_baskets.emplace_back(PBT_BENCH_DATA_DIR "/baskets/basket300.csv");
  return options;
}

app::SInputs inputsOf(const app::SOptions& options, std::int64_t dayStart) {
  app::SInputs inputs = app::readInputs(options, dayStart);
  if (!inputs.m_faults.empty()) qFatal("%s", inputs.m_faults.front().c_str());
  return inputs;
}

/// What a day was published; on the engine's thread, read when that has ended.
class CDayCounts : public desk::IDeskObserver {
 public:
  void onTask(const desk::SPublication& publication) override {
    m_details.emplace_back(publication.m_pDetail);
    m_nOrders += publication.m_sent.size();
  }
  void onCreateTask(const desk::SCreateRequest&) override { ++m_nPatches; }
  void onStartHedge(int) override { ++m_nHedges; }

  long alive() const {
    return std::count_if(m_details.begin(), m_details.end(), [](const auto& each) { return !each.expired(); });
  }

  std::vector<boost::weak_ptr<const ksservice::CTaskDetail>> m_details;
  std::size_t m_nOrders = 0;
  std::atomic<int> m_nPatches{0};
  std::atomic<int> m_nHedges{0};
};

/// Clicks at random on what the rows of tasks offer, most of all on "补单", and accepts what a dialog proposes.
class CClicker {
 public:
  explicit CClicker(TC::CBasketTasksPanel& panel) : m_panel(panel) {
    GV::CMessageBox::setPresenter([](QWidget*, const QString&, const QString&) {});
    GV::CCommonDialog::setExecHook([](GV::CCommonDialog& dialog) { dialog.press(QStringLiteral("选中补单")); });
  }
  CClicker(const CClicker&) = delete;
  CClicker& operator=(const CClicker&) = delete;
  ~CClicker() {
    GV::CMessageBox::setPresenter({});
    GV::CCommonDialog::setExecHook({});
  }

  bool click() {
    const GV::CHpfTreeTable& table = *journal::tableOf(m_panel);
    const auto* buttons = journal::buttonsOf(table);
    std::vector<journal::SUserLine> clicks;
    std::vector<journal::SUserLine> patches;
    table.forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool, bool) {
      if (depth > 0) return;
      for (const GV::STableButton& button : buttons->shownButtons(row.key())) {
        if (!buttons->getIsItemButtonEnabled(row.key(), button.id)) continue;
        if (button.text == QStringLiteral("放弃补单")) continue;
        journal::SUserLine line;
        line.m_eAct = journal::EUserAct::Button;
        line.m_strRow = journal::rowPath(table, row.key()).toStdString();
        line.m_nId = button.id;
        (button.text == QStringLiteral("补单") ? patches : clicks).push_back(line);
      }
    });
    const auto& from = !patches.empty() && m_random() % 2 == 0 ? patches : clicks;
    if (from.empty()) return false;
    journal::performUserAct(m_panel, from[m_random() % from.size()]);
    return true;
  }

 private:
  TC::CBasketTasksPanel& m_panel;
  std::mt19937 m_random{1};
};

class CTradingDays {
 public:
  CTradingDays() : m_services(m_desk, desk::CHostServices::EClock::Manual) {
    m_services.install();
    const app::SOptions options = optionsOf(START_MINUTE, false);
    m_desk.setSession(app::makeSession(options));
    m_accounts = app::addAccounts(m_desk, options);
    m_desk.requests().setDriver(&m_driver);
    m_pPanel = std::make_unique<TC::CBasketTasksPanel>(1, nullptr);
    m_desk.setSignalHook([this](const ksservice::CTaskDetailPtr& detail) { m_pPanel->deliverTaskDetail(detail); });
    QObject::connect(m_pPanel.get(), &TC::CBasketTasksPanel::sigRunningTasks, [this] { ++m_nRefreshes; });
    m_pPanel->resize(1600, 900);
    m_pPanel->show();
    m_pPanel->setTradeType(EMTT_Stock);
    m_pClicker = std::make_unique<CClicker>(*m_pPanel);
  }
  CTradingDays(const CTradingDays&) = delete;
  CTradingDays& operator=(const CTradingDays&) = delete;
  ~CTradingDays() {
    m_pClicker.reset();
    m_pPanel.reset();
    m_desk.setSignalHook({});
    m_desk.requests().setDriver(nullptr);
  }

  bool run(int days) {
    m_out << "day  subtasks  details   orders  patches  hedges  clicks  refreshes  seconds  heap MB  resident MB  "
             "handles  threads  details kept\n";
    for (int day = 0; day < days; ++day) m_memory.push_back(runDay(day));
    const QString fault = faultOfDays(m_memory);
    if (!fault.isEmpty()) {
      m_out << "FAILED: " << fault << '\n';
    } else if (days < 3) {
      m_out << "no verdict: that takes three days\n";
    } else {
      m_out << "flat from day 2 on\n";
    }
    return fault.isEmpty();
  }

 private:
  SDayMemory runDay(int day) {
    QElapsedTimer wall;
    wall.start();
    m_nRefreshes = 0;
    int clicks = 0;
    std::size_t subTasks = 0;
    SDayMemory memory;
    {
      CDayCounts counts;
      m_desk.addObserver(&counts);
      openDay(day);
      clicks = trade();
      subTasks = m_desk.taskDetails().size();
      closeDay();
      m_desk.removeObserver(&counts);
      memory.details = counts.alive();
      m_out << QStringLiteral("%1%2%3%4%5%6%7%8")
                   .arg(day + 1, 3)
                   .arg(subTasks, 10)
                   .arg(counts.m_details.size(), 9)
                   .arg(counts.m_nOrders, 9)
                   .arg(counts.m_nPatches, 9)
                   .arg(counts.m_nHedges, 8)
                   .arg(clicks, 8)
                   .arg(m_nRefreshes, 11);
    }
    const long details = std::exchange(memory.details, 0);
    memory = readDayMemory();
    memory.details = details;
    m_out << QStringLiteral("%1%2%3%4%5%6\n")
                 .arg(static_cast<double>(wall.elapsed()) / 1000, 9, 'f', 1)
                 .arg(memory.heap, 9, 'f', 3)
                 .arg(memory.resident, 13, 'f', 2)
                 .arg(memory.handles, 9)
                 .arg(memory.threads, 9)
                 .arg(memory.details, 14);
    m_out.flush();
    return memory;
  }

  /// The exchange of a new day, an engine whose tasks have numbers that no day before had, and its thread.
  void openDay(int day) {
    const std::int64_t start = dayStartOf(m_date);
    const app::SOptions options = optionsOf(START_MINUTE, false);
    const app::SInputs inputs = inputsOf(options, start);
    exchange::SExchangeSettings exchangeSettings = app::makeExchangeSettings(options);
    exchangeSettings.m_nSeed = static_cast<std::uint64_t>(day) + 1;
    exchangeSettings.m_nDayStart = start;
    engine::SEngineSettings engineSettings = app::makeEngineSettings(options, inputs);
    engineSettings.m_nDayStart = start;
    engineSettings.m_nFirstTaskId = 1 + day * TASK_NUMBERS_A_DAY;
    m_pSimulation = std::make_unique<engine::CSimulation>(m_desk, inputs.m_instruments, exchangeSettings,
                                                          engineSettings, START_MINUTE * std::int64_t{60000});
    app::addInstruments(m_desk, *m_pSimulation);
    app::openAccounts(options, inputs, *m_pSimulation);
    m_pSimulation->hedger().setHooks({[this](int task, int lots) { m_services.announceHedgeVolume(task, lots); },
                                      [this](int task, int status) { m_services.announceHedgeStatus(task, status); }});
    m_bEnded = false;
    m_pThread = std::make_unique<app::CEngineThread>(
        *m_pSimulation, m_desk, start, app::CEngineThread::SPace{SPEED, app::DAY_ENDS}, [this] { m_bEnded = true; });
    m_pThread->start();
  }

  /// Until the exchange has closed. Gives the clicks.
  int trade() {
    int clicks = 0;
    std::size_t batch = 0;
    QElapsedTimer sinceClick;
    sinceClick.start();
    while (!m_bEnded) {
      while (batch < std::size(BASKET_MINUTES) && m_pThread->now() >= BASKET_MINUTES[batch] * std::int64_t{60000}) {
        sendBaskets(BASKET_MINUTES[batch++]);
      }
      QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
      refresh();
      if (sinceClick.elapsed() < CLICK_MSEC) continue;
      sinceClick.restart();
      clicks += m_pClicker->click() ? 1 : 0;
    }
    return clicks;
  }

  void sendBaskets(int minute) {
    for (const bool server : {false, true}) {
      const app::SOptions options = optionsOf(minute, server);
      const app::SInputs inputs = inputsOf(options, dayStartOf(m_date));
      for (auto& basket : app::makeBaskets(options, inputs, m_pSimulation->market(), m_accounts)) {
        m_pThread->post(engine::SStartBasket{std::move(basket)});
      }
    }
  }

  /// Has the refresh begin that is due, if none is under way.
  void refresh() {
    m_services.manualClock()->advanceTo(m_services.manualClock()->clockMSec() + REFRESH_MSEC);
    m_services.manualClock()->firePendingTimer();
  }

  void settle() {
    for (int round = 0; round < SETTLE_ROUNDS; ++round) {
      refresh();
      do {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
      } while (!m_desk.gate().waitIdle(1));
    }
  }

  /// What the terminal does at the end of a day: nobody carries out anything any more, the screen shows what came last,
  /// and then the calendar has another day.
  void closeDay() {
    m_pThread->stop();
    for (const engine::Act& act : m_pThread->takeLeft()) refuse(act);
    settle();
    m_desk.forgetTasks();
    m_date = nextTradingDay(m_date);
    m_services.announceTradingDay(m_date.toString(QStringLiteral("yyyyMMdd")).toStdString());
    settle();
    if (journal::tableOf(*m_pPanel)->rowCount() > 0) qFatal("the panel shows tasks of a day that is over");
    m_pThread.reset();
    m_pSimulation.reset();
  }

  void post(engine::Act act) {
    if (!m_bEnded) return m_pThread->post(std::move(act));
    QMetaObject::invokeMethod(
        m_pPanel.get(), [this, act = std::move(act)] { refuse(act); }, Qt::QueuedConnection);
  }

  void refuse(const engine::Act& act) {
    const utils::KSError over("the day is over");
    desk::CRequests& requests = m_desk.requests();
    if (std::holds_alternative<engine::SCreateTask>(act)) requests.replyToCreate(over, 0);
    if (std::holds_alternative<engine::SOperateServerTask>(act)) requests.replyToOperation(over, {});
    if (std::holds_alternative<engine::SQueryProcess>(act)) requests.replyToQuery({}, over, {});
  }

  QTextStream m_out{stdout};
  desk::CDesk m_desk;
  desk::CHostServices m_services;
  app::CEngineDriver m_driver{[this](engine::Act act) { post(std::move(act)); }};
  app::AccountList m_accounts;
  std::unique_ptr<TC::CBasketTasksPanel> m_pPanel;
  std::unique_ptr<CClicker> m_pClicker;
  std::unique_ptr<engine::CSimulation> m_pSimulation;
  std::unique_ptr<app::CEngineThread> m_pThread;
  std::atomic<bool> m_bEnded{false};
  QDate m_date{2026, 11, 23};
  int m_nRefreshes = 0;
  std::vector<SDayMemory> m_memory;
};

}  // namespace

bool runTradingDays(int days) { return CTradingDays().run(days); }

}  // namespace bench
