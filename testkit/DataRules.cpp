#include <algorithm>
#include <atomic>
#include <boost/make_shared.hpp>
#include <memory>
#include <mutex>
#include <thread>

#include "HostRules.h"
#include "TaskDetails.h"
#include "ksservice/TraderCenter.h"
#include "tc/CExchangeClient.h"
#include "tc/CItCommandCenter.h"
#include "tc/CQuoteClient.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace testkit {
namespace {

using namespace ksservice;

/// Of the data that the panel subscribes to.
constexpr int TASK_DETAILS = 541;
constexpr int OTHER_DATA = 540;

IDataCenter& data() { return TraderCenter::instance().getDataCenter(); }

/// What a subscriber was told.
class CHeard : public std::enable_shared_from_this<CHeard> {
 public:
  DataCallback callback() {
    return [self = shared_from_this()](const boost::shared_ptr<IData>& record) {
      // Whoever is told asks at once.
      const bool kept = record && data().taskDetail(record->getKey()) != nullptr;
      const std::lock_guard<std::mutex> lock(self->m_mutex);
      self->m_keys.push_back(record ? record->getKey() : std::string());
      self->m_bKept = self->m_bKept && kept;
    };
  }
  std::size_t count(const std::string& key) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<std::size_t>(std::count(m_keys.begin(), m_keys.end(), key));
  }
  /// Each record that was told was there to be asked for.
  bool wereKept() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_bKept;
  }

 private:
  mutable std::mutex m_mutex;
  std::vector<std::string> m_keys;
  bool m_bKept = true;
};

void tellsOnce(CTrial& trial) {
  const auto first = std::make_shared<CHeard>();
  const auto second = std::make_shared<CHeard>();
  const auto other = std::make_shared<CHeard>();
  const auto one = data().subscribe(TASK_DETAILS, first->callback());
  const auto two = data().subscribe(TASK_DETAILS, second->callback());
  const auto three = data().subscribe(OTHER_DATA, other->callback());
  const CTaskDetailPtr detail = CTrial::makeTask();
  trial.driver().deliver(detail, {});
  const std::string key = detail->getKey();
  trial.expect(trial.waitFor([&] { return first->count(key) > 0 && second->count(key) > 0; }),
               "a detail was delivered, and not each subscriber was told");
  trial.watch();
  trial.expect(first->count(key) < 2 && second->count(key) < 2, "a subscriber was told of one detail more than once");
  trial.expect(other->count(key) == 0, "a subscriber of another data type was told of a task detail");
  trial.expect(first->wereKept() && second->wereKept(),
               "a subscriber was told of a detail that taskDetail does not give");
}

void givesTheNewest(CTrial& trial) {
  const CTaskDetailPtr older = CTrial::makeTask();
  const CTaskDetailPtr newer = CTrial::makeNewer(*older);
  trial.expect(trial.deliver(older), "taskDetail does not give a detail that was delivered");
  trial.expect(trial.deliver(newer), "taskDetail does not give the newer detail of a key");
  std::string last;
  std::size_t found = 0;
  bool ordered = true;
  for (const CTaskDetailPtr& each : data().taskDetails()) {
    if (!each) return trial.violate("taskDetails gives null");
    ordered = ordered && last < each->getKey();
    last = each->getKey();
    if (last != newer->getKey()) continue;
    ++found;
    trial.expect(CTrial::textOf(*each) == CTrial::textOf(*newer), "taskDetails gives an older detail of a key");
  }
  trial.expect(ordered, "taskDetails is not in the order of the keys");
  trial.expect(found == 1, "taskDetails gives a key " + std::to_string(found) + " times");
}

void changesNothing(CTrial& trial) {
  const CTaskDetailPtr older = CTrial::makeTask();
  trial.deliver(older);
  const CTaskDetailPtr held = data().taskDetail(older->getKey());
  if (!held) return trial.violate("taskDetail does not give a detail that was delivered");
  const std::string text = CTrial::textOf(*held);
  trial.deliver(CTrial::makeNewer(*older));
  trial.expect(CTrial::textOf(*held) == text, "a record that was handed out has changed: " + CTrial::textOf(*held));
}

void takesCorrections(CTrial& trial) {
  const CTaskDetailPtr detail = CTrial::makeTask();
  trial.deliver(detail);
  const auto corrected = boost::make_shared<CTaskDetail>(*detail);
  corrected->m_nStatus = ETS_Finished;
  data().updateData(corrected);
  const bool kept = trial.waitFor([&] {
    const CTaskDetailPtr now = data().taskDetail(detail->getKey());
    return now && now->m_nStatus == ETS_Finished;
  });
  trial.expect(kept, "a detail that the panel gave back by updateData is not the one that taskDetail gives");
}

/// Held in its callback, a handle that goes must wait; behind it nothing comes. A host that tells on the GUI thread,
/// where the handle goes, cannot be held.
void endsSubscriptions(CTrial& trial) {
  struct SState {
    std::atomic<bool> m_bInside{false};
    std::atomic<bool> m_bLetGo{false};
    std::atomic<bool> m_bGone{false};
    std::atomic<int> m_nLate{0};
  };
  // The callback's own: a host that does not end it calls it for ever.
  const auto state = std::make_shared<SState>();
  utils::CSubscriptionHandle handle = data().subscribe(TASK_DETAILS, [state](const boost::shared_ptr<IData>&) {
    if (state->m_bGone) ++state->m_nLate;
    state->m_bInside = true;
    while (!state->m_bLetGo) QThread::msleep(1);
    state->m_bInside = false;
  });
  const CTaskDetailPtr detail = CTrial::makeTask();
  std::thread deliverer([&] { trial.driver().deliver(detail, {}); });
  QElapsedTimer clock;
  clock.start();
  while (!state->m_bInside && clock.elapsed() < trial.patience()) QThread::msleep(1);
  const bool called = state->m_bInside;
  std::thread ender([&] {
    handle.reset();
    state->m_bGone = true;
  });
  QThread::msleep(CTrial::WATCH_MSEC);
  if (called) trial.expect(!state->m_bGone, "a handle went while its callback was running");
  state->m_bLetGo = true;
  deliverer.join();
  ender.join();
  trial.driver().deliver(CTrial::makeNewer(*detail), {});
  trial.watch();
  trial.expect(state->m_nLate == 0, "a callback came after its handle had gone");
}

void knowsNothingOfTheUnknown(CTrial& trial) {
  const std::string none = "testkit/none";
  trial.expect(!data().taskDetail(none), "taskDetail gives something for a key that nobody knows");
  trial.expect(!data().orderDetail(CMavOrderTag(none)), "orderDetail gives something for a tag that nobody knows");
  trial.expect(!TC::getItCommandCenter().getCommand(none), "getCommand gives something for a key that nobody knows");
  trial.expect(!TC::getTradeClient().getTaskProgress(none),
               "getTaskProgress gives something for a key that nobody knows");
  trial.expect(!TC::getExchangeClient().getCodeInfo("SH", none), "getCodeInfo gives something for an unknown code");
  trial.expect(!TC::getUserConfig().getAccountData(none), "getAccountData gives something for an unknown account");
  TC::CQuote quote;
  quote.m_dLast = 12.25;
  trial.expect(!TC::getQuoteClient().getQuote("SH", none, quote), "getQuote gives a quote of an unknown code");
  trial.expect(quote.m_dLast == 12.25, "getQuote changed the quote of an instrument that has none");
  for (const auto& account : TC::getUserConfig().getAccounts()) {
    if (!account) return trial.violate("getAccounts gives null");
  }
}

void knowsCommands(CTrial& trial) {
  const CTaskDetailPtr detail = CTrial::makeTask();
  trial.deliver(detail);
  const COrderCommand& command = *detail->m_pCommand;
  const std::string key = COrderCommand::genKey(command.m_nCommandId, data().commandNumber(command.m_nCommandId));
  const auto known = TC::getItCommandCenter().getCommand(key);
  trial.expect(known && known->m_nTaskId == command.m_nTaskId,
               "getCommand does not give the command of a task under its identifier and commandNumber, " + key);
}

void tellsOrderChanges(CTrial& trial) {
  const CTaskDetailPtr detail = CTrial::makeTask();
  const CMavOrderTag tag = detail->m_orders[0]->m_tag;
  trial.deliver(detail);
  const std::uint64_t before = data().orderChanges(0).version;
  const auto known = boost::make_shared<COrderDetail>();
  known->m_strKey = tag.text();
  known->m_nTradedVolume = 200;
  trial.driver().deliver(CTrial::makeNewer(*detail), {{tag, known}});
  const bool kept = trial.waitFor([&] {
    const COrderDetailPtr now = data().orderDetail(tag);
    return now && now->m_nTradedVolume == 200;
  });
  trial.expect(kept, "orderDetail does not give what was delivered of an order");
  const SOrderChanges changes = data().orderChanges(before);
  const bool told =
      changes.all || std::find(changes.tags.begin(), changes.tags.end(), tag.hash()) != changes.tags.end();
  trial.expect(told, "orderChanges leaves an order out of which something else is known");
}

void numbersParameters(CTrial& trial) {
  const CTaskDetailPtr one = CTrial::makeTask();
  trial.deliver(one);
  const std::uint64_t first = data().paramsVersion(*one);
  const CTaskDetailPtr other = CTrial::makeNewer(*one);
  other->m_params[0].m_nVolume = 2000;
  trial.deliver(other);
  const std::uint64_t second = data().paramsVersion(*other);
  trial.expect(first == 0 || first != second, "paramsVersion is the same for two details with other parameters");
}

}  // namespace

std::vector<STriedRule> dataRules() {
  return {
      {{"detail.told", "a thread of the host",
        "each subscriber of task details hears of each once, and of no other type", "a row never comes"},
       tellsOnce},
      {{"detail.newest", "any", "taskDetail and taskDetails give the newest detail of each key, in key order",
        "an older state comes back with each load"},
       givesTheNewest},
      {{"detail.kept", "any", "a record that was handed out is never changed; what is new is a new record",
        "figures that add up to nothing, now and then"},
       changesNothing},
      {{"detail.corrected", "the panel's worker", "updateData replaces the store's copy",
        "a task that is filled stays \"执行中\" after a restart"},
       takesCorrections},
      {{"subscription.ends", "GUI thread", "a handle waits for the callback that runs; after it none comes",
        "a crash when a panel is closed"},
       endsSubscriptions},
      {{"unknown", "any", "what nobody knows is null or false, and changes nothing",
        "rows of another task, wrong prices"},
       knowsNothingOfTheUnknown},
      {{"command", "any", "the command of a task is known by its identifier and commandNumber",
        "a patch is not offered, a basket has no name"},
       knowsCommands},
      {{"order.changes", "the panel's worker",
        "orderChanges names every order of which something else is known, or all", "counts of orders that stand still"},
       tellsOrderChanges},
      {{"params.version", "the panel's worker", "paramsVersion differs, or is 0, where parameters differ",
        "targets that stand still"},
       numbersParameters},
  };
}

}  // namespace testkit
