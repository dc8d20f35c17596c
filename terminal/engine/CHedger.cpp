#include "CHedger.h"

#include <boost/format.hpp>
#include <boost/make_shared.hpp>

#include "EngineTexts.h"
#include "ksservice/Operations.h"

namespace engine {

using namespace ksservice;

namespace {

/// Only accounts of this type trade hedges.
constexpr int HEDGE_ACCOUNT_TYPE = 1;
/// An order that has not filled by then while the price went away from it is cancelled, and what is left of it goes out
/// anew at the price of the moment.
constexpr std::int64_t STALE_MSEC = 300;
/// After an order that the market refused, the next one waits so long.
constexpr std::int64_t RETRY_MSEC = 1000;
/// After one for which its account lacks money or position, so long: these do not come back in a moment.
constexpr std::int64_t SHORTAGE_MSEC = 60000;

}  // namespace

CHedger::CHedger(desk::CDesk& desk, exchange::IMarket& market, CEngine& engine)
    : m_desk(desk), m_market(market), m_engine(engine) {
  m_engine.setFollower(this);
}

CHedger::~CHedger() { m_engine.setFollower(nullptr); }

CHedge* CHedger::find(int groupId) const {
  const auto found = m_hedges.find(groupId);
  return found == m_hedges.end() ? nullptr : found->second.get();
}

void CHedger::setParam(int groupId, int commandId, const CBasketHedgeParam& param) {
  m_params[groupId] = {commandId, param};
  if (CHedge* hedge = find(groupId)) hedge->setParam(param);
}

void CHedger::start(int groupId) {
  if (CHedge* hedge = find(groupId)) {
    if (hedge->resume()) tell(groupId, "继续");
    report(groupId, *hedge);
    return;
  }
  const auto given = m_params.find(groupId);
  if (given == m_params.end() || !given->second.m_param.m_bEnabled) return;
  const CBasketHedgeParam& param = given->second.m_param;
  SHedgeIdentity identity;
  const std::string why = fault(param, identity);
  if (!why.empty()) return tell(groupId, "未启动: " + why, true);
  identity.m_nTaskId = m_engine.newTaskId();
  identity.m_pCommand = makeCommand(groupId, given->second.m_nCommandId, identity.m_nTaskId);
  CHedge& hedge = *m_hedges.emplace(groupId, std::make_unique<CHedge>(identity, param)).first->second;
  m_engine.watch(identity.m_stock.m_strMarket, identity.m_stock.m_strCode);
  tell(groupId, (boost::format("启动: %1%, 比例 %2%, 最多 %3% 笔委托") % identity.m_stock.m_strCode % param.m_dRatio %
                 param.m_nOrderLimit)
                    .str());
  storeTarget(groupId, hedge);
  follow(groupId, hedge);
  report(groupId, hedge);
}

/// What makes the parameters unusable; empty, and what they name in identity, when nothing does.
std::string CHedger::fault(const CBasketHedgeParam& param, SHedgeIdentity& identity) const {
  const auto info = m_desk.codeInfo(param.m_strMarket, param.m_strCode);
  identity.m_nInstrument = m_market.findInstrument(param.m_strMarket, param.m_strCode);
  if (!info || identity.m_nInstrument < 0) return "合约 " + param.m_strCode + " 不存在";
  desk::SAccount account;
  if (!m_desk.findAccount(param.m_strAccount, account)) return "账户 " + param.m_strAccount + " 不存在";
  if (account.m_pInfo->m_nType != HEDGE_ACCOUNT_TYPE) return "账户 " + param.m_strAccount + " 不是期货账户";
  identity.m_stock = {param.m_strMarket, param.m_strCode, info->m_strName};
  identity.m_dMultiplier = info->m_dMultiplier;
  // The record's field is not const, though nobody changes an account.
  identity.m_pAccount = boost::const_pointer_cast<CAccountInfo>(account.m_pInfo);
  return {};
}

/// The hedge has a command of its own, or its record would replace the basket's in the command centre.
boost::shared_ptr<COrderCommand> CHedger::makeCommand(int groupId, int basketCommandId, int taskId) const {
  const auto known = m_desk.command(basketCommandId);
  auto command = known ? boost::make_shared<COrderCommand>(*known) : boost::make_shared<COrderCommand>();
  command->m_nCommandId = taskId;
  command->m_nTaskId = groupId;
  command->m_nBasketType = ECBT_Hedge;
  command->m_strKey = COrderCommand::genKey(taskId, command->m_nNumber);
  return command;
}

void CHedger::pause(int groupId) {
  CHedge* hedge = find(groupId);
  if (!hedge || !hedge->pause()) return;
  tell(groupId, "暂停");
  report(groupId, *hedge);
}

void CHedger::stop(int groupId) {
  CHedge* hedge = find(groupId);
  if (!hedge || !hedge->stop()) return;
  for (const std::uint64_t id : hedge->workingOrders()) m_engine.router().cancel(id);
  tell(groupId, "停止");
  report(groupId, *hedge);
}

// A hedge that rests goes on before the panel hears of what it follows, and rests again only afterwards: with the
// details of a moment before, the panel would take a hedge that rests for one that pauses the task.

void CHedger::beforePublishing() {
  for (const auto& [groupId, hedge] : m_hedges) {
    follow(groupId, *hedge);
    const int state = stateOf(groupId, *hedge);
    if (state != TC::EHS_Paused && hedge->setState(state)) m_desk.setHedgeState(groupId, state);
  }
}

void CHedger::afterPublishing() {
  if (m_market.isMatching(exchange::EKind::IndexFuture)) tradeInTurn();
  for (const auto& [groupId, hedge] : m_hedges) {
    if (hedge->takeWarning()) tellUsed(groupId, *hedge);
    checkLimit(groupId, *hedge);
    report(groupId, *hedge);
  }
}

/// The first one that its account's pace holds back is the first one next time.
void CHedger::tradeInTurn() {
  bool held = false;
  auto next = m_hedges.lower_bound(m_nFirstGroup);
  for (std::size_t i = 0; i < m_hedges.size(); ++i, ++next) {
    if (next == m_hedges.end()) next = m_hedges.begin();
    if (trade(*next->second) || held) continue;
    held = true;
    m_nFirstGroup = next->first;
  }
}

void CHedger::checkLimit(int groupId, CHedge& hedge) {
  const bool dayOver = m_engine.router().isDayOver(hedge.accountKey());
  if (!hedge.checkLimit(dayOver)) return;
  tell(groupId, dayOver ? "已暂停: 账户" + DAY_OVER : "已达到最大委托次数", true);
  if (m_hooks.m_status) m_hooks.m_status(groupId, TC::EHS_Paused);
}

void CHedger::follow(int groupId, CHedge& hedge) {
  if (hedge.mode() != CHedge::EMode::Running) return;
  const SHedgeIdentity& identity = hedge.identity();
  const double price = m_market.quote(identity.m_nInstrument).m_dLast;
  const double amount = m_engine.tradedAmount(groupId);
  if (!hedge.raiseTarget(hedgeLots(amount, hedge.param().m_dRatio, price, identity.m_dMultiplier))) return;
  storeTarget(groupId, hedge);
  if (m_hooks.m_volume) m_hooks.m_volume(groupId, hedge.target());
}

/// A panel that is opened later finds the hedge with the target that it has by then.
void CHedger::storeTarget(int groupId, const CHedge& hedge) {
  SGiven& given = m_params.at(groupId);
  given.m_param.m_nVolume = hedge.target();
  m_desk.setHedgeParam(desk::EHedgeSource::Stored, given.m_nCommandId, given.m_param);
}

/// False when there is an order that the pace of the account holds back.
bool CHedger::trade(CHedge& hedge) {
  if (hedge.mode() != CHedge::EMode::Running) return true;
  const double price = orderPrice(hedge);
  replaceStale(hedge, price);
  const int lots = hedge.nextOrder();
  const bool lacked = !hedge.shortage().empty();
  if (lots == 0 || hedge.wasRejectedAfter(m_engine.now() - (lacked ? SHORTAGE_MSEC : RETRY_MSEC))) return true;
  COrderRouter& router = m_engine.router();
  if (!router.mayOrder(hedge.accountKey())) return false;
  exchange::SMarketOrder order;
  order.m_nId = router.nextId();
  order.m_nInstrument = hedge.identity().m_nInstrument;
  order.m_bBuy = DataHelper::isBuy(hedge.param().m_nOperation);
  order.m_dPrice = price;
  order.m_nQuantity = lots;
  const int index = hedge.send(order.m_nId, lots, order.m_dPrice, m_engine.now(), m_engine.seconds());
  const SHedgeIdentity& identity = hedge.identity();
  order.m_nLuck = orderLuck(std::to_string(identity.m_pCommand->m_nTaskId) + "-hedge", index);
  router.submit(hedge, index, order, identity.m_stock, hedge.param().m_nOperation);
  // Once: it is tried again and again.
  if (!lacked && !hedge.shortage().empty()) tell(identity.m_pCommand->m_nTaskId, hedge.shortage(), true);
  return true;
}

void CHedger::replaceStale(CHedge& hedge, double price) {
  COrderRouter& router = m_engine.router();
  while (router.mayReplace(hedge.accountKey())) {
    const std::uint64_t id = hedge.takeStale(m_engine.now() - STALE_MSEC, price);
    if (id == 0) return;
    router.cancel(id);
  }
}

double CHedger::orderPrice(const CHedge& hedge) const {
  const exchange::SQuote quote = m_market.quote(hedge.identity().m_nInstrument);
  const bool buy = DataHelper::isBuy(hedge.param().m_nOperation);
  const double opposite = buy ? quote.m_dAsk : quote.m_dBid;
  switch (hedge.param().m_nPriceType) {
    case EPT_LimitUp:
      return quote.m_dLimitUp;
    case EPT_LimitDown:
      return quote.m_dLimitDown;
    case EPT_Latest:
      return quote.m_dLast;
    default:
      return opposite > 0 ? opposite : quote.m_dLast;
  }
}

int CHedger::stateOf(int groupId, const CHedge& hedge) const {
  const bool trading = m_engine.isTrading(groupId);
  switch (hedge.mode()) {
    case CHedge::EMode::Running:
      break;
    case CHedge::EMode::Stopped:
      return trading || hedge.hasWorkingOrder() ? TC::EHS_None : TC::EHS_Paused;
    default:
      return TC::EHS_Paused;
  }
  const bool canTrade = m_market.phase(exchange::EKind::IndexFuture) != exchange::EPhase::Closed;
  const bool busy = trading || hedge.hasWorkingOrder() || (hedge.missing() > 0 && canTrade);
  return busy ? TC::EHS_Running : TC::EHS_Paused;
}

/// The state goes to the desk first: the panel asks for it when the detail comes. A detail comes with every change of
/// the state, so that the panel asks.
void CHedger::report(int groupId, CHedge& hedge) {
  if (hedge.setState(stateOf(groupId, hedge))) m_desk.setHedgeState(groupId, hedge.state());
  if (hedge.isDirty()) m_engine.deliver(hedge.publish());
}

void CHedger::tellUsed(int groupId, const CHedge& hedge) const {
  const auto text =
      boost::format("已用 %1% 笔委托, 上限 %2% 笔, 用完即暂停") % hedge.used() % hedge.param().m_nOrderLimit;
  tell(groupId, text.str(), true);
}

void CHedger::tell(int groupId, const std::string& text, bool warning) const {
  m_engine.tell((boost::format("任务 [%1%] 套利%2%") % groupId % text).str(), warning);
}

}  // namespace engine
