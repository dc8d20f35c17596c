#include "SafetyHost.h"

#include <QCoreApplication>
#include <algorithm>
#include <boost/make_shared.hpp>

#include "ksservice/Operations.h"
#include "utils/Keys.h"
#include "utils/Log.h"

namespace test {

using namespace ksservice;

namespace {

utils::KSError errorOf(const std::string& refusal) {
  return refusal.empty() ? utils::KSError() : utils::KSError(refusal);
}

}  // namespace

std::string operationText(const CTaskDetail& detail, int operation) {
  const std::string local = std::to_string(detail.m_nTaskId) + "@" + detail.m_params.front().m_pAccount->getKey();
  return (detail.m_bServerTask ? detail.getKey() : local) + " " + std::to_string(operation);
}

bool isOwn(const CTaskDetail& detail) {
  return !detail.m_pCommand->m_bPatch && detail.m_pCommand->m_nBasketType != ECBT_Hedge;
}

CSafetyHost::CSafetyHost(SDayPlan& plan, Random& random, IPanelWatcher& watcher)
    : m_plan(plan),
      m_random(random),
      m_watcher(watcher),
      m_market(plan, random, [this](const desk::SPublication& publication, const auto& progress) {
        SSource& source = m_sources[publication.m_pDetail->getKey()];
        source.m_waiting.push_back(publication);
        source.m_pProgress = progress;
      }) {
  if (!plan.has(ING_Faults)) utils::CLogCenter::instance().setObserver({});
  for (const auto& account : plan.m_accounts) m_front.setAccount(*account);
  while (m_baskets.size() < plan.m_baskets.size()) startBasket();
}

void CSafetyHost::startBasket() {
  for (const TC::CCodeInfo& info : m_plan.m_instruments) m_front.desk().setInstrument(info);
  const engine::SBasketOrder& basket = m_plan.m_baskets[m_baskets.size()];
  for (const engine::SOrderLine& line : basket.m_lines) {
    const double price = line.m_dReference;
    m_front.desk().setQuote(line.m_stock.m_strMarket, line.m_stock.m_strCode,
                            {price, price - 0.25, price + 0.25, price, price, 2 * price, price / 2});
  }
  m_baskets.push_back(m_market.start(basket));
}

// What the server tells

/// A patch or a hedge of a task that the panel has never heard of is no case of a host: its own details come first.
bool CSafetyHost::canCome(const SSource& source) const {
  if (source.m_waiting.empty()) return false;
  const CTaskDetail& detail = *source.m_waiting.front().m_pDetail;
  return isOwn(detail) || m_shown.contains(detail.m_pCommand->m_nTaskId);
}

/// newest: leaves out what is older; feed: not only into the data centre.
void CSafetyHost::deliver(const std::string& key, SSource& source, bool newest, bool feed) {
  while (newest && source.m_waiting.size() > 1) source.m_waiting.pop_front();
  desk::SPublication publication;
  if (!source.m_waiting.empty()) {
    publication = source.m_waiting.front();
    m_stored[key] = publication.m_pDetail;
    source.m_waiting.pop_front();
  }
  const CTaskDetailPtr detail = publication.m_pDetail = m_stored[key];
  const int task = detail->m_pCommand->m_nTaskId;
  m_watcher.note((feed ? "detail " : "stored, not fed: detail ") + key +
                 (detail->m_pCommand->m_bPatch ? " (patch of " + std::to_string(task) + ")" : "") + ", status " +
                 std::to_string(detail->m_nStatus));
  source.m_bOwed = !feed;
  publication.m_eVia = feed ? desk::EVia::Feed : desk::EVia::Store;
  if (m_bAside) {
    m_aside.push_back(publication);
  } else {
    m_front.desk().publishTask(publication);
  }
  if (!feed) return;
  (m_bAside ? m_fedAside : m_fed)[key] = detail;
  m_shown.insert(task);
}

void CSafetyHost::deliverProgress(const std::string& key, SSource& source) {
  if (source.m_pProgress) m_front.desk().setProgress(key, *source.m_pProgress);
  source.m_pDelivered = source.m_pProgress;
}

void CSafetyHost::flush() {
  waitForJobs();
  // Twice: a patch comes after its basket's own.
  for (int round = 0; round < 2; ++round) {
    for (auto& [key, source] : m_sources) {
      const bool behind = source.m_bOwed || source.m_pDelivered != source.m_pProgress;
      if (!canCome(source) && !(behind && source.m_waiting.empty())) continue;
      deliverProgress(key, source);
      deliver(key, source, true, true);
    }
  }
}

/// Nothing is delivered while a job of the panel runs, so that a day does not hang on the speed of threads: a refresh
/// has seen all that was told before.
void CSafetyHost::waitForJobs() {
  endFeed();
  const long ended = m_front.waitForJobs();
  if (ended != std::exchange(m_nRefreshes, ended)) {
    for (const auto& [key, detail] : std::exchange(m_fed, {})) m_seen[key] = detail;
  }
  for (const auto& [key, detail] : std::exchange(m_fedAside, {})) m_fed[key] = detail;
}

void CSafetyHost::feedAside() {
  m_market.advanceTo(m_nNow);
  m_bAside = true;
  deliverSome();
  m_bAside = false;
  m_feed = std::thread([this, told = std::exchange(m_aside, {})] {
    for (const desk::SPublication& each : told) m_front.desk().publishTask(each);
  });
}

void CSafetyHost::endFeed() {
  if (m_feed.joinable()) m_feed.join();
}

void CSafetyHost::renew() {
  for (auto& [key, source] : m_sources) {
    const auto stored = m_stored.find(key);
    if (stored == m_stored.end() || !m_shown.contains(stored->second->m_pCommand->m_nTaskId)) continue;
    stored->second = boost::make_shared<CTaskDetail>(*stored->second);
    deliver(key, source, false, true);
  }
}

Details CSafetyHost::takeSeen() {
  waitForJobs();
  return std::exchange(m_seen, {});
}

const Details& CSafetyHost::load() {
  endFeed();
  m_fedAside.clear();
  m_fed.clear();
  m_seen.clear();
  m_shown.clear();
  for (const auto& entry : m_stored) m_shown.insert(entry.second->m_nTaskId);
  return m_stored;
}

// What the panel asks

void CSafetyHost::pump() {
  for (const testkit::CTestHost::SCreation& request : m_front.takeCreations()) ask(request);
  for (const testkit::CTestHost::SCall& call : m_front.takeCalls()) operate(call);
  for (const testkit::CTestHost::SQuery& each : m_front.takeQueries()) query(each);
}

/// late: it takes up to the day's latency.
void CSafetyHost::post(EWay way, int percentLost, bool late, std::function<void()> deliver) {
  if (chance(m_random, m_plan.has(ING_Lost) ? percentLost : 0)) return m_watcher.note("  lost on the way");
  m_letters.push_back({way, m_nNow + (late ? below(m_random, m_plan.m_nLatencyMsec) : 0), std::move(deliver)});
}

void CSafetyHost::ask(const testkit::CTestHost::SCreation& request) {
  const auto creation = std::make_shared<SCreation>();
  m_watcher.onAsked(request, *creation);
  m_creations.push_back(creation);
  findTwins();
  const std::string what = "a patch of " + std::to_string(request.m_nTaskId) + ": ";
  post(EWay::Request, 8, true, [=, this] {
    const auto [task, refusal] = m_market.create(request);
    creation->m_nTask = task;
    const std::string result = what + (task ? std::to_string(task) : refusal);
    m_watcher.note("server makes " + result);
    post(EWay::Reply, 15, m_plan.has(ING_Replies), [=, this, task = task, refusal = refusal] {
      m_watcher.note("reply to " + result);
      creation->m_bTold = true;
      creation->m_bFailed = !refusal.empty();
      request.completion(errorOf(refusal), task);
    });
  });
}

void CSafetyHost::operate(const testkit::CTestHost::SCall& call) {
  using ECall = testkit::CTestHost::ECall;
  const bool pauses = call.kind == ECall::PauseLocal;
  if (!call.record && !pauses && call.kind != ECall::ResumeLocal) return;  // the hedge's
  const bool server = call.kind == ECall::OperateServer;
  const int operation = call.record ? call.record->m_nOperation : pauses ? -ETO_Pause : -ETO_Resume;
  m_watcher.onSent((server ? call.key : std::to_string(call.id) + "@" + call.key) + " " + std::to_string(operation));
  if (!call.record) return;  // the record does it
  if (!server) return post(EWay::Request, 0, true, [=, this] { m_market.operateLocal(call.id, call.key, operation); });
  post(EWay::Request, 0, true, [=, this] {
    const std::string refusal = m_market.operate(call.key, operation);
    post(EWay::Reply, 15, true, [=] { call.completion(errorOf(refusal), {}); });
  });
}

void CSafetyHost::query(const testkit::CTestHost::SQuery& query) {
  std::vector<std::string> tasks = query.tasks;
  const int basket = m_stored.at(tasks.front())->m_pCommand->m_nTaskId;
  const int number = m_queried[basket] = ++m_nQueries;
  m_watcher.note("query " + std::to_string(number) + " of " + std::to_string(tasks.size()) + " server tasks");
  if (chance(m_random, 8)) tasks.emplace_back("0-0");
  post(EWay::Request, 10, true, [=, this] {
    auto [data, refusal] = m_market.query(tasks);
    if (!data.empty() && chance(m_random, 10)) data.erase(data.begin());
    post(EWay::Reply, 10, m_plan.has(ING_Queries), [=, this, data = data, refusal = refusal] {
      m_watcher.note("answer " + std::to_string(number) + " of " + std::to_string(data.size()) + " tasks " + refusal);
      if (m_queried.contains(basket) && m_queried.at(basket) == number) m_queried.erase(basket);
      query.completion(data, errorOf(refusal), {});
    });
  });
}

/// Another terminal orders a part of what is left, by the same rules.
void CSafetyHost::patchElsewhere() {
  for (const auto& [key, line] : truth(false)) {
    const long long left = line.m_nTarget - line.m_nMayTrade;
    const int basket = basketOf(key);
    if (left < 100 || !m_shown.contains(basket) || chance(m_random, 70)) continue;
    desk::SCreateRequest request;
    request.m_nTaskId = basket;
    for (const auto& entry : m_stored) {
      if (entry.second->m_nTaskId == basket) request.m_command = *entry.second->m_pCommand;
    }
    CCodeOrderParam& param = request.m_params.emplace_back();
    param.m_pAccount = m_plan.account(std::get<0>(key));
    utils::splitMavStockKey(std::get<1>(key), param.m_stock.m_strMarket, param.m_stock.m_strCode);
    param.m_nOperation = std::get<2>(key);
    param.m_nOrderType = chance(m_random, 50) ? request.m_command.m_nOrderType : EORT_Plain;
    param.m_nVolume = static_cast<int>(std::min<long long>(left, 1 + below(m_random, 2000000000)));
    const int task = m_market.create(request).first;
    if (task == 0) return;
    m_foreign.insert(task);
    m_foreignLines.push_back({{key, param.m_nVolume}});
    findTwins();
    return m_watcher.note("another terminal makes a patch of " + std::to_string(basket) + ": " + std::to_string(task));
  }
}

void CSafetyHost::findTwins() {
  for (const CreationPtr& creation : m_creations) {
    const auto begin = m_foreignLines.begin();
    const auto end = m_foreignLines.end();
    creation->m_bTwin = creation->m_bTwin || std::find(begin, end, creation->m_lines) != end;
  }
}

// Time

void CSafetyHost::step(std::int64_t msec) {
  waitForJobs();
  m_front.moveClock(static_cast<double>(msec - m_nNow));
  m_nNow = msec;
  m_front.desk().setNow(static_cast<int>(m_plan.m_nDayStart + m_nNow / 1000));
  m_market.advanceTo(m_nNow);
  if (m_plan.has(ING_Foreign) && chance(m_random, 10)) patchElsewhere();
  // One letter at a time: what arrives may open a dialog, in which time goes on.
  for (;;) {
    const auto next =
        std::min_element(m_letters.begin(), m_letters.end(),
                         [](const SLetter& one, const SLetter& other) { return one.m_nTime < other.m_nTime; });
    if (next == m_letters.end() || next->m_nTime > m_nNow) break;
    const SLetter letter = std::move(*next);
    m_letters.erase(next);
    letter.m_deliver();
    if (chance(m_random, 60)) settle();
  }
  waitForJobs();
  deliverSome();
}

void CSafetyHost::deliverSome() {
  for (auto& [key, source] : m_sources) {
    if (!source.m_bOwed && !canCome(source)) continue;
    if (!chance(m_random, source.m_bOwed ? 50 : m_plan.m_nDeliverPercent)) continue;
    if (!m_plan.has(ING_Queries) || chance(m_random, 50)) deliverProgress(key, source);
    deliver(key, source, !m_plan.has(ING_Late) || chance(m_random, 50),
            !m_plan.has(ING_Ahead) || source.m_bOwed || chance(m_random, 50));
  }
}

void CSafetyHost::settle() {
  // A refresh may start another at once.
  for (int round = 0; round < 3; ++round) {
    waitForJobs();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
  }
  pump();
}

void CSafetyHost::endDay() {
  const auto request = [](const SLetter& letter) { return letter.m_eWay == EWay::Request; };
  m_letters.erase(std::remove_if(m_letters.begin(), m_letters.end(), request), m_letters.end());
  m_market.endDay();
}

void CSafetyHost::restart() {
  waitForJobs();
  pump();
  const auto earlier = [](const SLetter& one, const SLetter& other) { return one.m_nTime < other.m_nTime; };
  std::stable_sort(m_letters.begin(), m_letters.end(), earlier);
  for (const SLetter& letter : std::exchange(m_letters, {})) {
    if (letter.m_eWay == EWay::Request && chance(m_random, 50)) letter.m_deliver();
  }
  m_letters.clear();
  m_queried.clear();
  m_creations.clear();
  flush();
  m_front.forgetProcess();
}

void CSafetyHost::startNewDay(bool amidst) {
  endDay();
  if (!amidst) flush();
  for (auto& [key, source] : m_sources) {
    deliverProgress(key, source);
    if (!source.m_waiting.empty()) deliver(key, source, true, false);
    source.m_bOwed = false;
  }
  m_stored.clear();
  m_front.desk().forgetTasks();
  load();
  m_creations.clear();
  m_watcher.note("a new trading day");
  m_front.services().announceTradingDay("20261124");
  m_plan.planBasket();
  startBasket();
}

Truth CSafetyHost::truth(bool knowable) const {
  return m_market.truth([this, knowable](const CTaskDetail& detail) {
    return !knowable || !m_foreign.contains(detail.m_nTaskId) || m_stored.contains(detail.getKey());
  });
}

}  // namespace test
