#include <algorithm>
#include <boost/format.hpp>

#include "CEngine.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"

namespace engine {

using namespace ksservice;

/// Limit orders go into the auctions, too. A schedule plans nothing in those of the open; an order that takes whatever
/// price there is waits for continuous trading.
bool CEngine::maySend(const CSubTask& task) {
  if (!task.canSend() || !m_router.mayOrder(task.accountKey())) return false;
  const SOrderLine& line = task.lines()[static_cast<std::size_t>(task.nextOrder().m_nLine)];
  const exchange::EPhase phase = m_market.phase(exchange::kindOf(line.m_stock.m_strMarket));
  return exchange::isMatchingPhase(phase) || (exchange::isAuction(phase) && !line.isAtMarketPrice());
}

/// Sends in turn for every task that may send something, the one first whose last order is the oldest, so that the
/// tasks of an account advance side by side however few orders it has left.
void CEngine::sendDue() {
  const auto cannot = [this](const CSubTask* task) { return !maySend(*task); };
  std::vector<CSubTask*> due = m_active;
  std::erase_if(due, cannot);
  std::stable_sort(due.begin(), due.end(),
                   [](const CSubTask* a, const CSubTask* b) { return a->lastOrder() < b->lastOrder(); });
  for (; !due.empty(); std::erase_if(due, cannot)) {
    for (CSubTask* task : due) {
      if (maySend(*task)) sendNext(*task);
    }
  }
}

void CEngine::sendNext(CSubTask& task) {
  if (!task.hasStarted()) tell((boost::format("任务 [%1%] 开始委托") % task.key()).str());
  const CSubTask::SOrderDue due = task.nextOrder();
  const SOrderLine& line = task.lines()[static_cast<std::size_t>(due.m_nLine)];
  exchange::SMarketOrder order = priceOrder(task, due);
  const int index = task.send(order.m_nId, order.m_dPrice, seconds());
  order.m_nLuck = orderLuck(task.key(), index);
  m_router.submit(task, index, order, line.m_stock, line.m_nOperation);
}

exchange::SMarketOrder CEngine::priceOrder(const CSubTask& task, const CSubTask::SOrderDue& due) {
  const SOrderLine& line = task.lines()[static_cast<std::size_t>(due.m_nLine)];
  exchange::SMarketOrder order;
  order.m_nId = m_router.nextId();
  order.m_nInstrument = m_market.findInstrument(line.m_stock.m_strMarket, line.m_stock.m_strCode);
  order.m_bBuy = DataHelper::isBuy(line.m_nOperation);
  order.m_nQuantity = due.m_nQuantity;
  order.m_dPrice = line.m_dReference;
  order.m_bMarketPrice = line.isAtMarketPrice();
  if (order.m_nInstrument < 0 || line.m_bOwnPrice) return order;
  if (line.m_bPricedByType) {
    order.m_dPrice = line.priceByType(m_market.quote(order.m_nInstrument));
    return order;
  }
  order.m_dPrice =
      task.boundPrice(due.m_nLine, oppositePrice(m_market.quote(order.m_nInstrument), order.m_bBuy, line.m_dReference));
  return order;
}

}  // namespace engine
