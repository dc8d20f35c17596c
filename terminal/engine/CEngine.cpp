#include "CEngine.h"

#include <algorithm>
#include <boost/format.hpp>
#include <boost/make_shared.hpp>
#include <utility>

#include "EngineTexts.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"

namespace engine {

using namespace ksservice;

namespace {

/// The price for calculation and for an order is the last price.
TC::CQuote toHostQuote(const exchange::SQuote& quote) {
  return {quote.m_dLast, quote.m_dBid,     quote.m_dAsk,      quote.m_dLast,
          quote.m_dLast, quote.m_dLimitUp, quote.m_dLimitDown};
}

bool isSame(const TC::CQuote& a, const TC::CQuote& b) {
  return a.m_dLast == b.m_dLast && a.m_dBid == b.m_dBid && a.m_dAsk == b.m_dAsk;
}

}  // namespace

CEngine::CEngine(desk::CDesk& desk, exchange::IMarket& market, SEngineSettings settings)
    : m_desk(desk),
      m_market(market),
      m_settings(std::move(settings)),
      m_router(market, m_settings.m_limits, m_settings.m_fees, m_settings.m_nDayStart) {}

void CEngine::openAccount(const std::string& account, const SAccountStart& start) {
  m_router.ledger().open(account, start);
  // What is held is worth something, whether a task trades it or not.
  for (const desk::SPosition& position : start.m_positions) watch(position.m_strMarket, position.m_strCode);
  publishHoldings();
}

boost::shared_ptr<COrderCommand> CEngine::makeCommand(const SBasketOrder& basket) {
  auto command = boost::make_shared<COrderCommand>();
  command->m_nTaskId = newTaskId();
  command->m_nCommandId = command->m_nTaskId;
  command->m_strKey = COrderCommand::genKey(command->m_nCommandId, command->m_nNumber);
  command->m_nTraderType = m_settings.m_nTraderType;
  command->m_strUser = m_settings.m_strUser;
  command->m_strLogin = m_settings.m_strLogin;
  command->m_nBasketType = ECBT_Basket;
  command->m_strBasketName = basket.m_strName;
  command->m_strText = basket.m_strText;
  if (basket.m_algo) {
    command->m_nOrderType = orderTypeOf(basket.m_algo->m_eAlgorithm);
    command->m_strAlgoParams = basket.m_algo->format();
  }
  return command;
}

/// What may be ordered of a line is known by the market alone.
void CEngine::knowRules(std::vector<SOrderLine>& lines) const {
  for (SOrderLine& line : lines) {
    const int instrument = m_market.findInstrument(line.m_stock.m_strMarket, line.m_stock.m_strCode);
    if (instrument >= 0) line.m_rules = m_market.rules(instrument);
  }
}

int CEngine::startBasket(const SBasketOrder& basket) {
  const auto command = makeCommand(basket);
  // The panel asks for them when it sees the first detail.
  if (basket.m_hedge) {
    for (const auto source : {desk::EHedgeSource::Manager, desk::EHedgeSource::Stored}) {
      m_desk.setHedgeParam(source, command->m_nCommandId, *basket.m_hedge);
    }
  }
  start(command, command->m_nTaskId, partsOf(basket), basket.m_algo);
  return command->m_nTaskId;
}

std::vector<SAccountLines> CEngine::partsOf(const SBasketOrder& basket) const {
  std::vector<SAccountLines> parts = basket.m_parts;
  for (SAccountLines& part : parts) knowRules(part.m_lines);
  if (!parts.empty()) return parts;
  std::vector<SOrderLine> whole = basket.m_lines;
  knowRules(whole);
  for (std::vector<SOrderLine>& lines : splitLines(whole, static_cast<int>(basket.m_accounts.size()))) {
    parts.push_back({basket.m_accounts[parts.size()], std::move(lines)});
  }
  return parts;
}

int CEngine::startPatch(const COrderCommand& command, const std::vector<SAccountLines>& parts,
                        const std::optional<TC::SAlgoParams>& algo) {
  const auto own = boost::make_shared<COrderCommand>(command);
  own->m_nCommandId = newTaskId();
  own->m_strKey = COrderCommand::genKey(own->m_nCommandId, own->m_nNumber);
  own->m_nBasketType = ECBT_Basket;
  own->m_bPatch = true;
  std::vector<SAccountLines> known = parts;
  for (SAccountLines& part : known) knowRules(part.m_lines);
  start(own, own->m_nCommandId, known, algo);
  return own->m_nCommandId;
}

void CEngine::start(const boost::shared_ptr<COrderCommand>& command, int taskId,
                    const std::vector<SAccountLines>& parts, const std::optional<TC::SAlgoParams>& algo) {
  std::size_t lines = 0;
  std::size_t started = 0;
  int number = 0;
  for (const SAccountLines& part : parts) {
    ++number;
    // An account that got no part of any line has nothing to do in this task.
    if (part.m_lines.empty()) continue;
    CSubTask::SIdentity identity{command, part.m_pAccount, taskId, number};
    if (algo) {
      const CAlgoTask::SSettings settings{*algo, m_nNow, m_settings.m_nProgressMsec};
      m_subTasks.push_back(std::make_unique<CAlgoTask>(std::move(identity), part.m_lines, settings));
    } else {
      m_subTasks.push_back(std::make_unique<CSubTask>(std::move(identity), part.m_lines));
    }
    m_active.push_back(m_subTasks.back().get());
    m_active.back()->begin(seconds());
    // Shown from now on.
    m_router.rates().numberOf(m_active.back()->accountKey());
    ++started;
    lines += part.m_lines.size();
    for (const SOrderLine& line : part.m_lines) watch(line.m_stock.m_strMarket, line.m_stock.m_strCode);
  }
  publishQuotes();
  tell((boost::format("任务 [%1%] %2%%3%: %4% 笔, %5% 个账户") % taskId % (command->m_bPatch ? "补单 " : "") %
        command->m_strBasketName % lines % parts.size())
           .str());
  for (std::size_t i = m_active.size() - started; i < m_active.size(); ++i) tellIncidents(*m_active[i]);
  const exchange::EPhase phase = m_market.phase(exchange::EKind::Share);
  const bool goes = exchange::isMatchingPhase(phase) || (!algo && exchange::isAuction(phase));
  if (!goes && phase != exchange::EPhase::Closed) tell((boost::format("任务 [%1%] 等待开盘") % taskId).str());
  publishChanges();
}

void CEngine::advanceTo(std::int64_t msec) {
  m_nNow = msec;
  m_router.advanceTo(msec);
  endSchedules();
  const exchange::EPhase phase = m_market.phase(exchange::EKind::Share);
  if (phase == exchange::EPhase::Closed) stopAll();
  if (exchange::isMatchingPhase(phase) || phase == exchange::EPhase::ClosingAuction) runSchedules();
  sendDue();
  haltAtDayLimit();
  if (m_nNow >= m_nNextQuotes) publishQuotes();
  if (m_nNow >= m_nNextHoldings) publishHoldings();
  if (m_nNow >= m_nNextTell) {
    m_nNextTell = m_nNow + m_settings.m_nTellMsec;
    // Also those that have ended: a cancel may come too late after its task's end.
    for (const auto& task : m_subTasks) tellIncidents(*task);
    tellBeyond();
  }
  publishChanges();
}

/// A schedule ends at its time, whether the market matches then or not.
void CEngine::endSchedules() {
  for (CSubTask* task : m_active) {
    if (task->isEnded() || task->isCancelling() || !task->isOver(m_nNow)) continue;
    task->stop("算法时间已到，余量未成交", seconds());
    cancelWorking(*task);
  }
}

void CEngine::runSchedules() {
  const CSubTask::VolumeOf volumeOf = [this](const SOrderLine& line) -> std::int64_t {
    const int instrument = m_market.findInstrument(line.m_stock.m_strMarket, line.m_stock.m_strCode);
    return instrument < 0 ? 0 : m_market.quote(instrument).m_nVolume;
  };
  for (CSubTask* task : m_active) {
    if (task->isEnded() || task->isStopped()) continue;
    task->advanceTo(m_nNow, volumeOf);
    replaceStale(*task);
  }
}

/// What the market would not let go stays as it is.
void CEngine::replaceStale(CSubTask& task) {
  if (!exchange::acceptsCancels(m_market.phase(exchange::EKind::Share))) return;
  while (task.hasStale() && m_router.mayReplace(task.accountKey())) {
    if (const std::uint64_t id = task.takeStale()) m_router.cancel(id);
  }
}

bool CEngine::operate(int taskId, const std::string& accountKey, int operation) {
  bool changed = false;
  for (const auto& task : m_subTasks) {
    if (task->taskId() != taskId || task->isServerTask()) continue;
    if (accountKey.empty() || task->accountKey() == accountKey) changed = carryOut(*task, operation) || changed;
  }
  if (changed) publishChanges();
  return changed;
}

bool CEngine::operate(const std::string& serverTaskKey, int operation) {
  for (const auto& task : m_subTasks) {
    if (!task->isServerTask() || task->key() != serverTaskKey) continue;
    if (!carryOut(*task, operation)) return false;
    publishChanges();
    return true;
  }
  return false;
}

void CEngine::cancelOrders(const std::string& detailKey, const std::vector<std::string>& orderKeys) {
  const auto task = std::find_if(m_subTasks.begin(), m_subTasks.end(),
                                 [&detailKey](const auto& each) { return each->key() == detailKey; });
  if (task == m_subTasks.end()) return;
  int cancelled = 0;
  for (const std::string& key : orderKeys) {
    const std::uint64_t id = (*task)->giveUp(key);
    if (id == 0) continue;
    m_router.cancel(id);
    ++cancelled;
  }
  if (cancelled > 0) tell((boost::format("任务 [%1%] 撤销 %2% 笔委托") % detailKey % cancelled).str());
}

bool CEngine::carryOut(CSubTask& task, int operation) {
  if (!apply(task, operation)) return false;
  activate(task);
  tell((boost::format("任务 [%1%] %2%") % task.key() % operationText(operation)).str());
  return true;
}

const CAlgoTask* CEngine::serverTask(const std::string& key) const {
  for (const auto& task : m_subTasks) {
    if (task->isServerTask() && task->key() == key) return dynamic_cast<const CAlgoTask*>(task.get());
  }
  return nullptr;
}

bool CEngine::apply(CSubTask& task, int operation) {
  switch (operation) {
    case ETO_Pause:
      return task.pause();
    case ETO_Resume:
      return task.resume();
    case ETO_Cancel:
      return task.stop(std::string(), seconds()) && cancelWorking(task);
    case ETO_Drop:
      return task.drop(seconds()) && cancelWorking(task);
    default:
      return false;
  }
}

bool CEngine::cancelWorking(const CSubTask& task) {
  for (const std::uint64_t id : task.workingOrders()) m_router.cancel(id);
  return true;
}

void CEngine::stopAll() {
  for (CSubTask* task : m_active) {
    if (task->hasUnsent()) task->stop("收市，余量未委托", seconds());
  }
}

/// What an account may not send any more today is given up: the rest can be handed to another account at once. What
/// works goes on working, and can be cancelled. A paused task waits for its user, who is told when it is resumed.
void CEngine::haltAtDayLimit() {
  if (!m_router.rates().isAnyDayOver()) return;
  tellReached();
  for (CSubTask* task : m_active) {
    if (task->status() != ETS_Running || !task->hasUnsent() || !m_router.isDayOver(task->accountKey())) continue;
    task->halt("账户" + DAY_OVER + "，余量未委托", seconds());
    // The end of a task is told with its message.
    if (!task->isEnded()) tell((boost::format("任务 [%1%] %2%") % task->key() % task->message()).str(), true);
  }
}

void CEngine::activate(CSubTask& task) {
  if (std::find(m_active.begin(), m_active.end(), &task) == m_active.end()) m_active.push_back(&task);
}

void CEngine::publishChanges() {
  if (m_pFollower) m_pFollower->beforePublishing();
  for (CSubTask* task : m_active) {
    if (task->isDue(m_nNow)) publish(*task);
  }
  m_active.erase(
      std::remove_if(m_active.begin(), m_active.end(), [](const CSubTask* task) { return task->isSettled(); }),
      m_active.end());
  if (m_pFollower) m_pFollower->afterPublishing();
}

void CEngine::deliver(const desk::SPublication& publication) {
  const CTaskDetail& detail = *publication.m_pDetail;
  m_history.addText(detail.getKey());
  m_history.add(static_cast<std::uint64_t>(detail.m_nStatus));
  m_history.add(detail.m_orders.size());
  m_desk.publishTask(publication);
  ++m_nPublished;
}

void CEngine::addTo(CStateHash& hash) const {
  hash.add(m_history.value());
  hash.add(m_nPublished);
  hash.add(m_subTasks.size());
  m_router.addTo(hash);
}

double CEngine::tradedAmount(int basketId) const {
  double amount = 0;
  for (const auto& task : m_subTasks) {
    if (task->basketId() == basketId) amount += task->tradedAmount();
  }
  return amount;
}

bool CEngine::isTrading(int basketId) const {
  return std::any_of(m_subTasks.begin(), m_subTasks.end(),
                     [basketId](const auto& task) { return task->basketId() == basketId && !task->isEnded(); });
}

void CEngine::publish(CSubTask& task) {
  const int before = task.publishedStatus();
  if (const auto progress = task.progress()) m_desk.setProgress(task.key(), *progress);
  deliver(task.publish());
  // That a task runs from its start was told when it was started.
  if (task.status() == before || (before == 0 && !task.isEnded())) return;
  const std::string message = task.message();
  tell((boost::format("任务 [%1%] %2%%3%") % task.key() % statusText(task.status()) %
        (message.empty() ? message : ": " + message))
           .str());
  if (task.isEnded()) tellIncidents(task);
}

void CEngine::tellIncidents(CSubTask& task) const {
  for (const std::string& line : task.takeLog()) {
    tell((boost::format("任务 [%1%] %2%") % task.key() % line).str(), true);
  }
}

void CEngine::watch(const std::string& market, const std::string& code) {
  const int instrument = m_market.findInstrument(market, code);
  if (instrument < 0 || !m_watchedInstruments.insert(instrument).second) return;
  m_watched.push_back({instrument, market, code, {}});
}

void CEngine::publishQuotes() {
  m_nNextQuotes = m_nNow + m_settings.m_nQuoteMsec;
  std::vector<desk::SQuoteUpdate> changed;
  for (SWatched& watched : m_watched) {
    const TC::CQuote quote = toHostQuote(m_market.quote(watched.m_nInstrument));
    if (isSame(quote, watched.m_quote)) continue;
    watched.m_quote = quote;
    changed.push_back({watched.m_strMarket, watched.m_strCode, quote});
  }
  if (!changed.empty()) m_desk.setQuotes(changed);
}

void CEngine::publishHoldings() {
  m_nNextHoldings = m_nNow + m_settings.m_nHoldingsMsec;
  m_router.ledger().publishChanges([this](const std::string& account, std::shared_ptr<const desk::SHoldings> holdings) {
    m_desk.setHoldings(account, std::move(holdings));
  });
}

std::string CEngine::displayId(const std::string& account) const {
  desk::SAccount entry;
  return m_desk.findAccount(account, entry) ? entry.m_pInfo->m_strDisplayId : account;
}

void CEngine::tellReached() {
  for (const std::string& account : m_router.rates().takeReached()) {
    tell(dayOverText(displayId(account), m_settings.m_limits.m_nPerDay), true);
  }
}

void CEngine::tellBeyond() {
  for (const SOrderUse& use : m_router.rates().takeBeyond()) {
    tell(beyondText(displayId(use.m_strAccount), use.m_nBeyond), true);
  }
}

void CEngine::tellRefusal(const std::string& text) const {
  if (m_eventHook) m_eventHook({m_nNow, text, true, false});
}

void CEngine::tell(const std::string& text, bool warning) const {
  if (m_eventHook) m_eventHook({m_nNow, text, warning});
}

}  // namespace engine
