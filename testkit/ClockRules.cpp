#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <memory>
#include <thread>

#include "HostRules.h"
#include "TaskDetails.h"
#include "ksservice/TraderCenter.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CExchangeClient.h"
#include "tc/CQuoteClient.h"
#include "tc/CTimeService.h"
#include "tc/CTradingCalendar.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Clock.h"

namespace testkit {
namespace {

using namespace ksservice;

IDataCenter& data() { return TraderCenter::instance().getDataCenter(); }

void neverGoesBack(CTrial& trial) {
  std::atomic<bool> back{false};
  std::array<std::thread, 2> threads;
  for (std::thread& each : threads) {
    each = std::thread([&back] {
      double last = utils::clockMSec();
      for (int i = 0; i < 20000; ++i) {
        const double now = utils::clockMSec();
        if (now < last) back = true;
        last = now;
      }
    });
  }
  for (std::thread& each : threads) each.join();
  trial.expect(!back, "clockMSec went back");
}

void firesTimers(CTrial& trial) {
  const auto context = std::make_unique<QObject>();
  auto gone = std::make_unique<QObject>();
  int fired = 0;
  int firedForNobody = 0;
  bool elsewhere = false;
  utils::singleShot(20, gone.get(), [&firedForNobody] { ++firedForNobody; });
  utils::singleShot(20, context.get(), [&] {
    ++fired;
    elsewhere = QThread::currentThread() != QCoreApplication::instance()->thread();
  });
  trial.expect(fired == 0, "singleShot called its action before it returned");
  gone.reset();
  trial.expect(trial.waitFor([&] { return fired > 0; }), "singleShot did not call its action: nothing is refreshed");
  trial.watch();
  trial.expect(fired < 2, "singleShot called its action more than once");
  trial.expect(!elsewhere, "singleShot called its action on another thread than the GUI thread");
  trial.expect(firedForNobody == 0, "singleShot called an action whose context was gone");
}

void keepsHedgeParameters(CTrial& trial) {
  constexpr int GROUP = 900777;
  TC::CBasketHedgeManager& manager = TC::getBasketHedgeManager();
  CBasketHedgeParam param;
  param.m_bEnabled = true;
  param.m_strMarket = "CFFEX";
  param.m_strCode = "IF2612";
  param.m_strAccount = "testkit";
  param.m_dRatio = 0.75;
  param.m_nOrderLots = 3;
  manager.setParam(GROUP, GROUP, param);
  CBasketHedgeParam kept;
  const bool known = manager.getItem(GROUP, kept);
  trial.expect(known && kept.m_strCode == param.m_strCode && kept.m_dRatio == param.m_dRatio &&
                   kept.m_nOrderLots == param.m_nOrderLots,
               "getItem does not give the parameters that setParam was given");
  CBasketHedgeParam untouched;
  untouched.m_strCode = "untouched";
  trial.expect(!manager.getItem(GROUP + 1, untouched) && untouched.m_strCode == "untouched",
               "getItem gives parameters of a group that was given none");
}

void signalsOnTheGuiThread(CTrial& trial) {
  QObject context;
  std::atomic<int> volumes{0};
  std::atomic<int> dates{0};
  std::atomic<bool> elsewhere{false};
  const auto heard = [&elsewhere](std::atomic<int>& count) {
    ++count;
    if (QThread::currentThread() != QCoreApplication::instance()->thread()) elsewhere = true;
  };
  // Direct: on the thread that emits.
  QObject::connect(
      &TC::getBasketHedgeManager(), &TC::CBasketHedgeManager::sigHedgeVolume, &context,
      [&](int task, int lots) {
        if (task == 900778 && lots == 12) heard(volumes);
      },
      Qt::DirectConnection);
  QObject::connect(
      &TC::getTradingCalendar(), &TC::CTradingCalendar::sigNewTradingDate, &context,
      [&](const std::string& date) {
        if (date == "20991231") heard(dates);
      },
      Qt::DirectConnection);
  trial.driver().announceHedgeVolume(900778, 12);
  trial.driver().announceTradingDay("20991231");
  trial.expect(trial.waitFor([&] { return volumes > 0; }), "sigHedgeVolume was not emitted");
  trial.expect(trial.waitFor([&] { return dates > 0; }), "sigNewTradingDate was not emitted");
  trial.expect(!elsewhere, "a signal was emitted on another thread than the GUI thread");
}

/// What a panel's worker and its table ask while details come.
void standsManyThreads(CTrial& trial) {
  std::vector<CTaskDetailPtr> tasks;
  for (int i = 0; i < 20; ++i) trial.deliver(tasks.emplace_back(CTrial::makeTask()));
  std::atomic<bool> stop{false};
  std::atomic<bool> broken{false};
  std::array<std::thread, 3> readers;
  for (std::thread& each : readers) {
    each = std::thread([&stop, &broken, knownTasks = tasks] {
      // Once at least: on a busy machine all may have come before it begins.
      do {
        for (const CTaskDetailPtr& task : knownTasks) {
          const CTaskDetailPtr known = data().taskDetail(task->getKey());
          if (!known || known->getKey() != task->getKey() || known->m_orders.size() != 1) broken = true;
          TC::CQuote quote;
          TC::getQuoteClient().getQuote("SH", "600000", quote);
          TC::getExchangeClient().getCodeInfo("SH", "600000");
          TC::getUserConfig().getAccountData("testkit");
          data().orderDetail(task->m_orders[0]->m_tag);
        }
        if (data().taskDetails().size() < knownTasks.size()) broken = true;
      } while (!stop);
    });
  }
  for (int round = 0; round < 10; ++round) {
    for (CTaskDetailPtr& task : tasks) trial.driver().deliver(task = CTrial::makeNewer(*task), {});
  }
  stop = true;
  for (std::thread& each : readers) each.join();
  trial.expect(!broken, "while details came, taskDetail or taskDetails lost a task that had been delivered");
}

/// The quickest of some calls, so that a machine that is busy is no violation.
void answersAtOnce(CTrial& trial) {
  constexpr int CALLS = 5;
  constexpr qint64 MOST_MSEC = 50;
  const CTaskDetailPtr task = CTrial::makeTask();
  trial.deliver(task);
  const auto quickest = [&trial](const char* name, const std::function<void()>& call) {
    qint64 least = std::numeric_limits<qint64>::max();
    for (int i = 0; i < CALLS; ++i) {
      QElapsedTimer clock;
      clock.start();
      call();
      least = std::min(least, clock.elapsed());
    }
    trial.expect(least <= MOST_MSEC, std::string(name) + " took " + std::to_string(least) + " ms");
  };
  quickest("taskDetail", [&] { data().taskDetail(task->getKey()); });
  quickest("orderDetail", [&] { data().orderDetail(task->m_orders[0]->m_tag); });
  quickest("getCodeInfo", [] { TC::getExchangeClient().getCodeInfo("SH", "600000"); });
  quickest("getAccountData", [] { TC::getUserConfig().getAccountData("testkit"); });
  quickest("currentTime", [] { TC::getTimeService().currentTime(); });
  quickest("getQuote", [] {
    TC::CQuote quote;
    TC::getQuoteClient().getQuote("SH", "600000", quote);
  });
  quickest("hedge status", [] { TC::getBasketHedgeManager().status(900779); });
}

}  // namespace

std::vector<STriedRule> clockRules() {
  return {
      {{"clock", "any", "clockMSec never goes back", "a refresh that comes never again"}, neverGoesBack},
      {{"timer", "GUI thread", "singleShot calls its action once, later, on the GUI thread, unless its context is gone",
        "a table that stands still, or a crash when a panel is closed"},
       firesTimers},
      {{"hedge.param", "GUI thread", "getItem gives what setParam was given, and nothing for other groups",
        "a hedge of another ratio"},
       keepsHedgeParameters},
      {{"signals", "GUI thread", "hedge manager and calendar emit on the GUI thread", "a crash, now and then"},
       signalsOnTheGuiThread},
      {{"threads", "any", "what is looked up may be looked up by several threads while details come",
        "a crash, or rows that come and go"},
       standsManyThreads},
      {{"quick", "GUI thread and the panel's worker", "what is looked up is answered at once, from memory",
        "a window that does not answer"},
       answersAtOnce},
  };
}

}  // namespace testkit
