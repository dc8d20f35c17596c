#include "CDrillWire.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <utility>

#include "ActJson.h"
#include "LineRecords.h"
#include "SessionSetup.h"
#include "ksservice/Operations.h"

namespace drill {
namespace {

using ECall = testkit::CTestHost::ECall;

/// How the engine refuses a patch of more than is left.
constexpr const char* EXCESS = "超过可补数量";

bool isOwn(const ksservice::CTaskDetail& detail) {
  return !detail.m_pCommand->m_bPatch && detail.m_pCommand->m_nBasketType != ksservice::ECBT_Hedge;
}

std::optional<std::string> errorText(const utils::KSError& error) {
  return error.success() ? std::nullopt : std::optional(error.errorMsg());
}

}  // namespace

CDrillWire::CDrillWire(const SDrillPlan& plan, SReportCard& card, Asked asked)
    : m_plan(plan), m_card(card), m_asked(std::move(asked)), m_draw(plan.draw(CDraw::Wire)) {}

bool CDrillWire::happens(EFault fault, int percent) {
  return m_plan.strikes(fault, m_draw.chance(percent) && !m_bCalm, m_card);
}

void CDrillWire::connect(CDrillEngine& engine) {
  m_pEngine = &engine;
  m_nNow = engine.now();
  engine.setHedgeHooks({[this](int task, int lots) {
                          if (!m_pTerminal) return;
                          note(journal::SHedgeVolumeLine{task, lots});
                          m_pTerminal->host().services().announceHedgeVolume(task, lots);
                        },
                        [this](int task, int status) {
                          if (!m_pTerminal) return;
                          note(journal::SHedgeStatusLine{task, status});
                          m_pTerminal->host().services().announceHedgeStatus(task, status);
                        }});
}

void CDrillWire::connect(CDrillTerminal& terminal) {
  m_pTerminal = &terminal;
  m_nNow = m_pEngine->now();
  m_letters.clear();
  m_sources.clear();
  m_shown.clear();
  m_nStalledUntil = 0;
  fillDesk();
}

/// As a terminal that logs in gets it.
void CDrillWire::fillDesk() {
  desk::CDesk& server = m_pEngine->desk();
  desk::CDesk& desk = m_pTerminal->desk();
  desk.setSession(server.session());
  for (const desk::SAccount& account : server.accounts()) desk.addAccount(account);
  app::enterInstruments(desk, m_pEngine->simulation().market());
  for (const exchange::SInstrument& listed : m_pEngine->simulation().market().instruments()) {
    TC::CQuote quote;
    if (!server.quote(listed.m_strMarket, listed.m_strCode, quote)) continue;
    desk.setQuote(listed.m_strMarket, listed.m_strCode, quote);
  }
  for (const daylog::SEntry& entry : m_pEngine->entries()) {
    std::string fault;
    const auto act = app::toAct({entry.m_strKind, entry.m_strBody}, server, fault);
    if (act) engine::noteHedge(*act, desk);
  }
  for (const ksservice::CTaskDetailPtr& detail : server.taskDetails()) {
    desk::SPublication publication;
    publication.m_pDetail = detail;
    publication.m_eVia = desk::EVia::Store;
    for (const ksservice::COrderInfoPtr& order : detail->m_orders) {
      publication.m_orderDetails.emplace_back(order->m_tag, server.orderDetail(order->m_tag));
    }
    const int command = detail->m_pCommand->m_nCommandId;
    for (const desk::EHedgeSource source : {desk::EHedgeSource::Manager, desk::EHedgeSource::Stored}) {
      ksservice::CBasketHedgeParam param;
      if (server.hedgeParam(source, command, param)) desk.setHedgeParam(source, command, param);
    }
    if (const auto known = server.command(command)) desk.setCommand(known);
    desk.setHedgeState(detail->m_pCommand->m_nTaskId, server.hedgeState(detail->m_pCommand->m_nTaskId));
    if (const auto progress = server.progress(detail->getKey())) desk.setProgress(detail->getKey(), *progress);
    publish(publication);
  }
}

void CDrillWire::note(journal::SLine::Body body) {
  if (CDrillJournal* journal = m_pTerminal->journal()) journal->add(std::move(body));
}

// From the engine

void CDrillWire::onTask(const desk::SPublication& publication) {
  ++m_card.m_nDetails;
  SSource& source = m_sources[publication.m_pDetail->getKey()];
  const std::int64_t late = happens(EF_LateDetail, 20) ? m_draw.between(200, 20000) : 0;
  const std::int64_t before = source.m_waiting.empty() ? 0 : source.m_waiting.back().m_nDue;
  source.m_waiting.push_back({std::max(before, m_pEngine->now() + late), publication});
  SState& state = source.m_waiting.back();
  // Seen by nobody but the engine.
  state.m_publication.m_serverOrders.clear();
  state.m_publication.m_serverOrderDetails.clear();
  state.m_publication.m_fills.clear();
  if (m_plan.m_ePlant != EP_WrongDetail || publication.m_pDetail->m_orders.empty()) return;
  const auto wrong = boost::make_shared<ksservice::CTaskDetail>(*publication.m_pDetail);
  const auto order = boost::make_shared<ksservice::COrderInfo>(*wrong->m_orders.front());
  order->m_nTradedVolume += 100;
  wrong->m_orders.front() = order;
  state.m_publication.m_pDetail = wrong;
}

void CDrillWire::onProgress(const std::string& detailKey, const TC::CTaskProgress& progress) {
  m_sources[detailKey].m_progress = progress;
}

void CDrillWire::onQuote(const std::string& market, const std::string& code, const TC::CQuote& quote) {
  if (!m_pTerminal) return;
  note(journal::toQuoteLine(market, code, quote));
  m_pTerminal->desk().setQuote(market, code, quote);
}

void CDrillWire::onCommand(const ksservice::COrderCommand& command) {
  if (!m_pTerminal) return;
  note(journal::SCommandLine{command});
  m_pTerminal->desk().setCommand(boost::make_shared<ksservice::COrderCommand>(command));
}

void CDrillWire::onHedgeParam(desk::EHedgeSource source, int commandId, const ksservice::CBasketHedgeParam& param) {
  if (!m_pTerminal) return;
  note(journal::SHedgeParamLine{commandId, source, param});
  m_pTerminal->desk().setHedgeParam(source, commandId, param);
}

void CDrillWire::onHedgeState(int groupId, int status) {
  if (!m_pTerminal) return;
  note(journal::SHedgeStateLine{groupId, status});
  m_pTerminal->desk().setHedgeState(groupId, status);
}

// To the terminal

void CDrillWire::advanceTo(std::int64_t msec) {
  m_nNow = msec;
  takeRequests();
  for (;;) {
    const auto earlier = [](const SLetter& one, const SLetter& other) {
      return std::pair(one.m_nDue, one.m_nSent) < std::pair(other.m_nDue, other.m_nSent);
    };
    const auto next = std::min_element(m_letters.begin(), m_letters.end(), earlier);
    if (next == m_letters.end() || next->m_nDue > m_nNow) break;
    const SLetter letter = std::move(*next);
    m_letters.erase(next);
    m_pTerminal->act(letter.m_deliver);
    // What follows from an answer, such as a patch that its user confirms.
    takeRequests();
  }
  deliverDue(false);
}

/// A patch or a hedge of a task that the terminal has never heard of is no case of a host: its own details come first.
bool CDrillWire::canCome(const SSource& source) const {
  if (source.m_waiting.empty()) return false;
  const ksservice::CTaskDetail& detail = *source.m_waiting.front().m_publication.m_pDetail;
  return isOwn(detail) || m_shown.contains(detail.m_pCommand->m_nTaskId);
}

void CDrillWire::deliverDue(bool amidst) {
  if (m_nNow < m_nStalledUntil && !m_bCalm) return;
  // Twice: a patch comes after its basket's own.
  for (int round = 0; round < 2; ++round) {
    for (auto& [key, source] : m_sources) {
      while (canCome(source) && source.m_waiting.front().m_nDue <= m_nNow) deliver(key, source, amidst);
    }
  }
}

void CDrillWire::deliver(const std::string& key, SSource& source, bool amidst) {
  while (source.m_waiting.size() > 1 && happens(EF_SkippedDetail, 30)) {
    // What came with it comes with the next.
    const desk::SPublication skipped = std::move(source.m_waiting.front().m_publication);
    source.m_waiting.pop_front();
    desk::SPublication& next = source.m_waiting.front().m_publication;
    next.m_bSameParams = next.m_bSameParams && skipped.m_bSameParams;
    next.m_orderDetails.insert(next.m_orderDetails.begin(), skipped.m_orderDetails.begin(),
                               skipped.m_orderDetails.end());
    if (source.m_waiting.front().m_nDue > m_nNow) return;
  }
  if (const auto progress = std::exchange(source.m_progress, std::nullopt)) {
    if (!amidst) note(journal::SProgressLine{key, false, *progress});
    m_pTerminal->desk().setProgress(key, *progress);
  }
  desk::SPublication publication = std::move(source.m_waiting.front().m_publication);
  source.m_waiting.pop_front();
  if (m_plan.m_ePlant == EP_UntoldDetail && m_draw.chance(30)) publication.m_eVia = desk::EVia::Store;
  publish(publication);
  if (happens(EF_DoubledDetail, 10)) publish(publication);
}

void CDrillWire::publish(const desk::SPublication& publication) {
  const ksservice::CTaskDetail& detail = *publication.m_pDetail;
  m_delivered.emplace_back(publication.m_pDetail);
  if (isOwn(detail)) m_shown.insert(detail.m_pCommand->m_nTaskId);
  m_pTerminal->desk().publishTask(publication);
  if (CDrillJournal* journal = m_pTerminal->journal()) journal->addDetail(publication, m_pTerminal->desk());
}

void CDrillWire::flush() {
  m_nStalledUntil = 0;
  for (auto& [key, source] : m_sources) {
    for (SState& state : source.m_waiting) state.m_nDue = 0;
    if (!source.m_progress) continue;
    note(journal::SProgressLine{key, false, *source.m_progress});
    m_pTerminal->desk().setProgress(key, *source.m_progress);
    source.m_progress.reset();
    // A panel looks at the progress when its detail comes.
    const auto known = m_pTerminal->desk().taskDetail(key);
    if (!known || !source.m_waiting.empty()) continue;
    desk::SPublication again;
    again.m_pDetail = known;
    again.m_bSameParams = true;
    publish(again);
  }
  deliverDue(false);
}

void CDrillWire::tellAgain(long count) {
  std::vector<desk::SPublication> known;
  for (const ksservice::CTaskDetailPtr& detail : m_pTerminal->desk().taskDetails()) {
    desk::SPublication& each = known.emplace_back();
    each.m_pDetail = boost::make_shared<ksservice::CTaskDetail>(*detail);
    each.m_bSameParams = true;
  }
  if (known.empty()) return;
  m_card.m_nDetails += count;
  const auto feed = [&](std::size_t from) {
    for (long i = 0; i < count / 2; ++i) {
      const std::size_t place = (from + 2 * static_cast<std::size_t>(i)) % known.size();
      m_pTerminal->desk().publishTask(known[place]);
    }
  };
  std::thread other(feed, 1);
  feed(0);
  other.join();
}

void CDrillWire::patchElsewhere() {
  std::vector<ksservice::CTaskDetailPtr> baskets;
  for (const ksservice::CTaskDetailPtr& detail : m_pEngine->desk().taskDetails()) {
    if (isOwn(*detail) && !detail->m_params.empty()) baskets.push_back(detail);
  }
  if (baskets.empty()) return;
  ++m_card.m_faults[EF_ForeignPatch];
  const ksservice::CTaskDetail& basket = *m_draw.pick(baskets);
  desk::SCreateRequest request;
  request.m_command = *basket.m_pCommand;
  request.m_nTaskId = basket.m_nTaskId;
  request.m_nTraderType = request.m_command.m_nTraderType;
  request.m_params = {m_draw.pick(basket.m_params)};
  ksservice::CCodeOrderParam& param = request.m_params.front();
  param.m_nVolume = m_draw.between(1, param.m_nVolume);
  param.m_nOrderType = ksservice::EORT_Plain;
  m_pEngine->desk().requests().createTask(request, [](const utils::KSError&, int) {});
}

// From the panel

void CDrillWire::post(std::int64_t delay, std::function<void()> deliver) {
  m_letters.push_back({m_nNow + delay, ++m_nSent, std::move(deliver)});
}

void CDrillWire::takeRequests() {
  testkit::CTestHost& host = m_pTerminal->host();
  for (const auto& request : host.takeCreations()) ask(request);
  for (const auto& call : host.takeCalls()) operate(call);
  for (const auto& each : host.takeQueries()) query(each);
  for (const auto& given : host.takeHedgeParams()) {
    m_pEngine->desk().requests().setHedgeParam(given.group, given.command, given.param);
  }
  for (const int group : host.takeStartedHedges()) m_pEngine->desk().requests().startHedge(group, false);
  host.takeUpdatedDetails();
  host.takeMessages();
  host.takeLog();
}

/// On the engine's side a moment ago; to the panel as the faults will have it.
void CDrillWire::reply(const std::function<void()>& answer) {
  if (happens(EF_LostReply, 15)) return;
  post(happens(EF_LateReply, 40) ? m_draw.between(500, 60000) : 0, answer);
}

void CDrillWire::ask(const testkit::CTestHost::SCreation& request) {
  auto sent = static_cast<const desk::SCreateRequest&>(request);
  if (m_plan.m_ePlant == EP_GreedyPatch) ++sent.m_params.front().m_nVolume;
  m_asked(sent);
  ++m_card.m_nPatches;
  const auto answer = [this, completion = request.completion](const utils::KSError& error, int task) {
    const bool excess = error.errorMsg().find(EXCESS) != std::string::npos;
    if (excess && m_card.m_faults[EF_ForeignPatch] == 0)
      m_strExcess = "the panel asks for too much: " + error.errorMsg();
    const auto tell = [this, completion, error, task] {
      note(journal::SCreateReplyLine{errorText(error), task});
      completion(error, task);
    };
    reply(tell);
    if (happens(EF_DoubledReply, 10)) post(m_draw.between(0, 5000), [=] { completion(error, task); });
  };
  if (happens(EF_RefusedCreation, 15)) return answer(utils::KSError("服务器忙"), 0);
  post(m_draw.between(0, 800), [=, this] { m_pEngine->desk().requests().createTask(sent, answer); });
}

void CDrillWire::operate(const testkit::CTestHost::SCall& call) {
  desk::CRequests& requests = m_pEngine->desk().requests();
  desk::SAccount account;
  m_pEngine->desk().findAccount(call.key, account);
  switch (call.kind) {
    case ECall::PauseHedge:
      return requests.pauseHedge(call.id);
    case ECall::StopHedge:
      return requests.stopHedge(call.id);
    case ECall::OperateLocal:
      return post(m_draw.between(0, 800), [this, call, account] {
        m_pEngine->desk().requests().operateLocalTask(call.id, account.m_pInfo, call.record);
      });
    case ECall::PauseLocal:
    case ECall::ResumeLocal:
      return;  // the record does it
    case ECall::OperateServer:
      break;
  }
  const auto answer = [this, completion = call.completion](const utils::KSError& error, const bson::BSONObj& result) {
    reply([this, completion, error, result] {
      note(journal::SServerReplyLine{errorText(error), result});
      completion(error, result);
    });
  };
  post(m_draw.between(0, 800),
       [=, this] { m_pEngine->desk().requests().operateServerTask(call.key, call.record, answer); });
}

void CDrillWire::query(const testkit::CTestHost::SQuery& query) {
  const auto answer = [this, completion = query.completion](const TC::OrderProcessMap& data,
                                                            const utils::KSError& error, const bson::BSONObj& result) {
    reply([this, completion, data, error, result] {
      note(journal::SOrderProcessLine{data, errorText(error), result});
      completion(data, error, result);
    });
  };
  post(m_draw.between(0, 800), [=, this] { m_pEngine->desk().requests().queryOrderProcess(query.tasks, answer); });
}

}  // namespace drill
