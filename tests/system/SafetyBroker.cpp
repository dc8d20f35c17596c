#include "SafetyBroker.h"

#include <algorithm>

#include "ksservice/Operations.h"

namespace test {

CSafetyBroker::CSafetyBroker(const SDayPlan& plan, Random& random)
    : m_limits{pick(random, std::initializer_list<int>{3, 20, 280}),
               pick(random, std::initializer_list<int>{40, 19000, 19000})},
      m_rates(m_limits) {
  for (const auto& account : plan.m_accounts) {
    engine::SAccountStart start{pick(random, std::initializer_list<double>{0, 200'000, 1e12, 1e12}), {}};
    for (const engine::SBasketOrder& basket : plan.m_baskets) {
      for (const engine::SOrderLine& line : basket.m_lines) {
        if (ksservice::DataHelper::isBuy(line.m_nOperation)) continue;
        desk::SPosition& held = start.m_positions.emplace_back();
        held.m_strMarket = line.m_stock.m_strMarket;
        held.m_strCode = line.m_stock.m_strCode;
        held.m_nTotal = chance(random, 80) ? line.m_nQuantity : below(random, line.m_nQuantity);
        held.m_nBoughtToday = chance(random, 90) ? 0 : below(random, held.m_nTotal + 1);
        held.m_dCost = held.m_nTotal * line.m_dReference;
      }
    }
    m_ledger.open(account->getKey(), start);
  }
}

std::pair<std::uint64_t, std::string> CSafetyBroker::order(const ksservice::CCodeOrderParam& param, int quantity,
                                                           double price, std::int64_t now) {
  const std::string& account = param.m_pAccount->getKey();
  const int number = m_rates.numberOf(account);
  if (!m_rates.mayOrder(number, now)) return {};
  const std::uint64_t id = ++m_nOrders;
  const auto refusal = m_ledger.take(id, account, {param.m_stock, param.m_nOperation, quantity, price});
  if (refusal) return {0, refusal->m_strText};
  count(number, now);
  m_open[id] = account;
  return {id, {}};
}

void CSafetyBroker::fill(std::uint64_t order, int quantity, double amount) { m_ledger.fill(order, quantity, amount); }

void CSafetyBroker::end(std::uint64_t order) {
  m_ledger.end(order);
  m_open.erase(order);
}

void CSafetyBroker::cancel(const std::string& account, std::uint64_t order, std::int64_t now) {
  if (m_asked.insert(order).second) m_rates.addCancel(m_rates.numberOf(account), order);
  sendCancels(now);
}

void CSafetyBroker::sendCancels(std::int64_t now) {
  for (int account = 0; account < m_rates.accountCount(); ++account) {
    while (const std::uint64_t order = m_rates.takeCancel(account, now)) {
      if (m_open.contains(order)) count(account, now);
      m_cancelled.insert(order);
    }
  }
}

void CSafetyBroker::count(int account, std::int64_t now) {
  m_rates.count(account, now);
  m_sent.resize(static_cast<std::size_t>(m_rates.accountCount()));
  std::vector<std::int64_t>& sent = m_sent[static_cast<std::size_t>(account)];
  sent.push_back(now);
  const auto most = static_cast<std::size_t>(m_limits.m_nPerSecond);
  if (sent.size() > most && now - sent[sent.size() - 1 - most] < 1000) m_strFault = "an account sends too fast";
}

std::string CSafetyBroker::fault() const {
  if (!m_strFault.empty()) return m_strFault;
  for (const engine::SOrderUse& use : m_rates.use()) {
    if (use.m_nDay - use.m_nBeyond > m_limits.m_nPerDay) return use.m_strAccount + " sends too much in a day";
    const auto held = m_ledger.holdings(use.m_strAccount);
    if (!held) continue;
    int frozen = 0;
    bool below = held->m_dCash < 0 || held->m_dFrozen < 0 || held->m_dMargin < 0;
    for (const auto& [key, position] : held->m_positions) {
      below = below || position.m_nTotal < 0 || position.m_nFrozen < 0 || position.m_nSellable < 0;
      frozen += position.m_nFrozen > 0;
    }
    if (below) return use.m_strAccount + " has less than nothing";
    const bool open = std::any_of(m_open.begin(), m_open.end(),
                                  [&use](const auto& order) { return order.second == use.m_strAccount; });
    if (!open && (held->m_dFrozen != 0 || frozen > 0)) return use.m_strAccount + " has something frozen for no order";
  }
  return {};
}

}  // namespace test
