#include "CEngine.h"

#include <algorithm>
#include <boost/format.hpp>
#include <boost/make_shared.hpp>
#include <utility>

#include "ksservice/Operations.h"

namespace engine {

using namespace ksservice;

namespace {

const char* statusText(int status) {
  switch (status) {
    case ETS_Running:
      return "执行中";
    case ETS_Paused:
      return "已暂停";
    case ETS_Finished:
      return "已完成";
    case ETS_ExecutionError:
      return "执行异常";
    default:
      return "已撤销";
  }
}

const char* operationText(int operation) {
  switch (operation) {
    case ETO_Cancel:
      return "撤销";
    case ETO_Pause:
      return "暂停";
    case ETO_Resume:
      return "恢复";
    default:
      return "放弃";
  }
}

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
    : m_desk(desk), m_market(market), m_settings(std::move(settings)) {
  m_market.setListener(this);
}

CEngine::~CEngine() { m_market.setListener(nullptr); }

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
  return command;
}

int CEngine::startBasket(const SBasketOrder& basket) {
  const auto command = makeCommand(basket);
  const auto parts = splitLines(basket.m_lines, static_cast<int>(basket.m_accounts.size()));
  for (std::size_t i = 0; i < parts.size(); ++i) {
    // An account that got no part of any line has nothing to do in this task.
    if (parts[i].empty()) continue;
    CSubTask::SIdentity identity{command, basket.m_accounts[i], static_cast<int>(i) + 1};
    m_subTasks.push_back(std::make_unique<CSubTask>(std::move(identity), parts[i]));
    m_active.push_back(m_subTasks.back().get());
  }
  for (const SOrderLine& line : basket.m_lines) watch(line.m_stock.m_strMarket, line.m_stock.m_strCode);
  publishQuotes();
  tell((boost::format("任务 [%1%] %2%: %3% 只证券, %4% 个账户") % command->m_nTaskId % basket.m_strName %
        basket.m_lines.size() % basket.m_accounts.size())
           .str());
  if (!m_market.isMatching()) tell((boost::format("任务 [%1%] 等待开盘") % command->m_nTaskId).str());
  publishChanges();
  return command->m_nTaskId;
}

void CEngine::advanceTo(std::int64_t msec) {
  const std::int64_t elapsed = msec - m_nNow;
  m_nNow = msec;
  if (m_market.phase() == exchange::EPhase::Closed) {
    stopAll();
  } else if (m_market.isMatching()) {
    m_dSendCredit += static_cast<double>(elapsed) * m_settings.m_dOrdersPerSecond / 1000;
    sendDue();
  }
  if (m_nNow >= m_nNextQuotes) publishQuotes();
  publishChanges();
}

/// Sends in turn for every task that has something to send, so that the accounts of a basket advance side by side.
void CEngine::sendDue() {
  bool sent = true;
  while (sent && m_dSendCredit >= 1) {
    sent = false;
    for (CSubTask* task : m_active) {
      if (m_dSendCredit < 1 || !task->canSend()) continue;
      m_dSendCredit -= 1;
      sendNext(*task);
      sent = true;
    }
  }
  // What was not used while nothing was to be sent is not saved up for a burst.
  if (!sent) m_dSendCredit = std::min(m_dSendCredit, 1.0);
}

void CEngine::sendNext(CSubTask& task) {
  const SOrderLine& line = task.nextLine();
  const int instrument = m_market.findInstrument(line.m_stock.m_strMarket, line.m_stock.m_strCode);
  const bool buy = DataHelper::isBuy(line.m_nOperation);
  const double price = instrument < 0 ? line.m_dReference : oppositePrice(instrument, buy, line.m_dReference);
  if (!task.hasStarted()) tell((boost::format("任务 [%1%] 开始委托") % task.key()).str());
  const int quantity = line.m_nQuantity;
  exchange::SMarketOrder order;
  order.m_nId = nextOrderId();
  order.m_nInstrument = instrument;
  order.m_bBuy = buy;
  order.m_dPrice = price;
  order.m_nQuantity = quantity;
  const int index = task.send(order.m_nId, price, seconds());
  submit(task, index, order);
}

void CEngine::submit(IOrderOwner& owner, int index, const exchange::SMarketOrder& order) {
  m_orders.push_back({&owner, index});
  if (order.m_nInstrument < 0) {
    owner.onRejected(index, "证券未上市", seconds());
    return;
  }
  m_market.submit(order);
}

double CEngine::oppositePrice(int instrument, bool buy, double fallback) {
  const exchange::SQuote quote = m_market.quote(instrument);
  const double opposite = buy ? quote.m_dAsk : quote.m_dBid;
  if (opposite > 0) return opposite;
  return quote.m_dLast > 0 ? quote.m_dLast : fallback;
}

void CEngine::onReport(const exchange::SReport& report) {
  // Copied: an owner that is told may send an order, which moves the list.
  const SOrderRef ref = m_orders[report.m_nId - 1];
  switch (report.m_kind) {
    case exchange::EReport::Accepted:
      return ref.m_pOwner->onAccepted(ref.m_nOrder);
    case exchange::EReport::Rejected:
      return ref.m_pOwner->onRejected(ref.m_nOrder, report.m_pMessage, seconds(report));
    case exchange::EReport::Filled:
      return ref.m_pOwner->onFilled(ref.m_nOrder, report.m_nQuantity, report.m_dAmount, seconds(report));
    case exchange::EReport::Cancelled:
      return ref.m_pOwner->onCancelled(ref.m_nOrder, report.m_pMessage, seconds(report));
    case exchange::EReport::CancelRejected:
      return;  // it was filled before the cancel came: the fill has been or will be reported
  }
}

bool CEngine::operate(int taskId, const std::string& accountKey, int operation) {
  bool changed = false;
  for (const auto& task : m_subTasks) {
    if (task->taskId() != taskId || (!accountKey.empty() && task->accountKey() != accountKey)) continue;
    if (!apply(*task, operation)) continue;
    changed = true;
    activate(*task);
    tell((boost::format("任务 [%1%] %2%") % task->key() % operationText(operation)).str());
  }
  if (changed) publishChanges();
  return changed;
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
  for (const std::uint64_t id : task.workingOrders()) m_market.cancel(id);
  return true;
}

void CEngine::stopAll() {
  for (CSubTask* task : m_active) {
    if (task->hasUnsent()) task->stop("收市，余量未委托", seconds());
  }
}

void CEngine::activate(CSubTask& task) {
  if (std::find(m_active.begin(), m_active.end(), &task) == m_active.end()) m_active.push_back(&task);
}

void CEngine::publishChanges() {
  if (m_pFollower) m_pFollower->beforePublishing();
  for (CSubTask* task : m_active) {
    if (task->isDirty()) publish(*task);
  }
  m_active.erase(
      std::remove_if(m_active.begin(), m_active.end(), [](const CSubTask* task) { return task->isSettled(); }),
      m_active.end());
  if (m_pFollower) m_pFollower->afterPublishing();
}

void CEngine::deliver(const desk::SPublication& publication) {
  m_desk.publishTask(publication);
  ++m_nPublished;
}

double CEngine::tradedAmount(int taskId) const {
  double amount = 0;
  for (const auto& task : m_subTasks) {
    if (task->taskId() == taskId) amount += task->tradedAmount();
  }
  return amount;
}

bool CEngine::isTrading(int taskId) const {
  return std::any_of(m_subTasks.begin(), m_subTasks.end(),
                     [taskId](const auto& task) { return task->taskId() == taskId && !task->isEnded(); });
}

void CEngine::publish(CSubTask& task) {
  const int before = task.publishedStatus();
  deliver(task.publish());
  // That a task runs from its start was told when it was started.
  if (task.status() == before || before == 0) return;
  const std::string& message = task.message();
  tell((boost::format("任务 [%1%] %2%%3%") % task.key() % statusText(task.status()) %
        (message.empty() ? message : ": " + message))
           .str());
}

void CEngine::watch(const std::string& market, const std::string& code) {
  const int instrument = m_market.findInstrument(market, code);
  const auto same = [instrument](const SWatched& watched) { return watched.m_nInstrument == instrument; };
  if (instrument < 0 || std::any_of(m_watched.begin(), m_watched.end(), same)) return;
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

int CEngine::seconds(const exchange::SReport& report) const {
  return static_cast<int>(m_settings.m_nDayStart + report.m_nTime / 1000);
}

void CEngine::tell(const std::string& text) const {
  if (m_eventHook) m_eventHook({m_nNow, text});
}

}  // namespace engine
