#include "CLedger.h"

#include <algorithm>
#include <boost/format.hpp>
#include <cmath>
#include <limits>
#include <utility>

#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace engine {
namespace {

constexpr double UNITS_PER_CNY = 10000;
/// More than any account has, and little enough to be counted with.
constexpr double LARGEST_AMOUNT = 1e14;

Money toMoney(double cny) { return std::llround(cny * UNITS_PER_CNY); }
double toCny(Money money) { return static_cast<double>(money) / UNITS_PER_CNY; }

/// The share of a sum that a part of a quantity has; of the whole quantity all of it.
Money partOf(Money sum, std::int64_t part, std::int64_t whole) {
  if (part >= whole) return sum;
  return std::llround(static_cast<double>(sum) * (static_cast<double>(part) / static_cast<double>(whole)));
}

bool closes(int operation) { return operation == ksservice::EOT_BuyClose || operation == ksservice::EOT_SellClose; }

int toInt(std::int64_t quantity) {
  return static_cast<int>(std::min<std::int64_t>(quantity, std::numeric_limits<int>::max()));
}

SRefusal refusal(const std::string& reason, const std::string& figures) {
  return {.m_strText = reason + "：" + figures, .m_strReason = reason, .m_bBroker = true};
}

SRefusal shortOfMoney(double needed, Money there) {
  return refusal("可用资金不足", (boost::format("需 %.2f，可用 %.2f") % needed % toCny(there)).str());
}

}  // namespace

CLedger::SHeld& CLedger::held(SAccount& account, const std::string& market, const std::string& code,
                              bool isShort) const {
  const auto [found, added] = account.m_held.try_emplace(utils::mavStockKey(market, code) + (isShort ? "-" : ""));
  if (added) {
    found->second.m_strMarket = market;
    found->second.m_strCode = code;
    found->second.m_bShort = isShort;
    found->second.m_bFuture = exchange::kindOf(market) == exchange::EKind::IndexFuture;
  }
  return found->second;
}

void CLedger::open(const std::string& account, const SAccountStart& start) {
  SAccount& opened = m_accounts[account];
  opened.m_nCash = toMoney(start.m_dCash);
  for (const desk::SPosition& position : start.m_positions) {
    SHeld& of = held(opened, position.m_strMarket, position.m_strCode, position.m_bShort);
    const Money amount = toMoney(position.m_dCost);
    const Money margin = of.m_bFuture ? toMoney(position.m_dCost * m_rates.m_dMargin) : 0;
    of.m_nTotal += position.m_nTotal;
    of.m_nToday += position.m_nBoughtToday;
    of.m_nAmount += amount;
    of.m_nMargin += margin;
    opened.m_nMargin += margin;
  }
  m_bChanged = true;
}

Money CLedger::feesOf(const SOpen& order, Money traded) const {
  const auto kind = order.m_pHeld->m_bFuture ? exchange::EKind::IndexFuture : exchange::EKind::Share;
  return toMoney(exchange::feesOf(m_rates, kind, order.m_bBuy, toCny(traded)));
}

/// What of an amount is paid or held.
Money CLedger::marginOf(const SOpen& order, Money traded) const {
  return order.m_pHeld->m_bFuture ? toMoney(toCny(traded) * m_rates.m_dMargin) : traded;
}

/// What an order may still take, if all that is left of it trades at its worst price.
Money CLedger::needOf(const SOpen& order) const {
  if (order.m_nLeft == 0) return 0;
  const Money whole = order.m_nTraded + order.m_nLeft * order.m_nWorst;
  return marginOf(order, whole) - marginOf(order, order.m_nTraded) + feesOf(order, whole) - order.m_nFees;
}

std::optional<SRefusal> CLedger::take(std::uint64_t id, const std::string& account, const SLedgerOrder& order) {
  const auto known = m_accounts.find(account);
  // What is no quantity, or no price, is the market's affair.
  if (known == m_accounts.end() || order.m_nQuantity <= 0) return std::nullopt;
  const std::string& market = order.m_stock.m_strMarket;
  const std::string& code = order.m_stock.m_strCode;
  const bool future = exchange::kindOf(market) == exchange::EKind::IndexFuture;
  SOpen open;
  open.m_bBuy = ksservice::DataHelper::isBuy(order.m_nOperation);
  open.m_bAdds = future ? !closes(order.m_nOperation) : open.m_bBuy;
  open.m_pAccount = &known->second;
  open.m_pHeld = &held(known->second, market, code, future && open.m_bAdds != open.m_bBuy);
  open.m_nLeft = order.m_nQuantity;
  const double worst = std::max(0.0, order.m_dWorstPrice) * (future ? exchange::futureMultiplier(code) : 1);
  const double whole = worst * order.m_nQuantity;
  if (open.m_bAdds && whole > LARGEST_AMOUNT) {
    return shortOfMoney(future ? whole * m_rates.m_dMargin : whole, known->second.m_nCash);
  }
  open.m_nWorst = open.m_bAdds ? toMoney(worst) : 0;
  if (open.m_bAdds) open.m_nFrozen = needOf(open);
  if (auto refused = freeze(open)) return refused;
  open.m_pAccount->m_bChanged = m_bChanged = true;
  m_open.emplace(id, open);
  return std::nullopt;
}

std::optional<SRefusal> CLedger::freeze(SOpen& order) {
  SAccount& account = *order.m_pAccount;
  SHeld& held = *order.m_pHeld;
  if (order.m_bAdds) {
    if (order.m_nFrozen > account.m_nCash) return shortOfMoney(toCny(order.m_nFrozen), account.m_nCash);
    account.m_nCash -= order.m_nFrozen;
    account.m_nFrozen += order.m_nFrozen;
    return std::nullopt;
  }
  if (order.m_nLeft > held.sellable()) {
    const bool today = !held.m_bFuture && held.m_nToday > 0;
    const auto figures = boost::format("需 %1%，可%2% %3%%4%") % order.m_nLeft % (held.m_bFuture ? "平" : "卖") %
                         held.sellable() %
                         (today ? "（今日买入 " + std::to_string(held.m_nToday) + " 不可卖）" : std::string());
    return refusal(held.m_bFuture ? "可平数量不足" : "可卖数量不足", figures.str());
  }
  held.m_nFrozen += order.m_nLeft;
  return std::nullopt;
}

void CLedger::fill(std::uint64_t id, int quantity, double amount) {
  const auto found = m_open.find(id);
  if (found == m_open.end()) return;
  SOpen& order = found->second;
  order.m_nLeft -= quantity;
  if (order.m_bAdds) {
    add(order, quantity, toMoney(amount));
  } else {
    reduce(order, quantity, toMoney(amount));
  }
  order.m_pAccount->m_bChanged = m_bChanged = true;
  if (order.m_nLeft == 0) m_open.erase(found);
}

void CLedger::add(SOpen& order, int quantity, Money amount) {
  SAccount& account = *order.m_pAccount;
  SHeld& held = *order.m_pHeld;
  const Money taken = marginOf(order, order.m_nTraded + amount) - marginOf(order, order.m_nTraded);
  order.m_nTraded += amount;
  const Money fees = feesOf(order, order.m_nTraded) - order.m_nFees;
  order.m_nFees += fees;
  const Money frozen = needOf(order);
  account.m_nCash += order.m_nFrozen - frozen - taken - fees;
  account.m_nFrozen -= std::exchange(order.m_nFrozen, frozen) - frozen;
  account.m_nFees += fees;
  held.m_nTotal += quantity;
  held.m_nToday += quantity;
  held.m_nAmount += amount;
  held.m_nFees += fees;
  if (!held.m_bFuture) return;
  held.m_nMargin += taken;
  account.m_nMargin += taken;
}

void CLedger::reduce(SOpen& order, int quantity, Money amount) {
  SAccount& account = *order.m_pAccount;
  SHeld& held = *order.m_pHeld;
  const Money cost = partOf(held.m_nAmount, quantity, held.m_nTotal);
  const Money costFees = partOf(held.m_nFees, quantity, held.m_nTotal);
  const Money margin = partOf(held.m_nMargin, quantity, held.m_nTotal);
  const Money brought = held.m_bFuture ? margin + (held.m_bShort ? cost - amount : amount - cost) : amount;
  order.m_nTraded += amount;
  const Money due = feesOf(order, order.m_nTraded) - order.m_nFees;
  // What is not there cannot be taken; fees that are left follow with the order's next fill.
  const Money gained = std::max(brought - due, -account.m_nCash);
  const Money fees = std::max<Money>(0, due - (gained - (brought - due)));
  order.m_nFees += fees;
  account.m_nCash += gained;
  account.m_nFees += fees;
  account.m_nMargin -= margin;
  account.m_nRealised += gained - (held.m_bFuture ? margin : cost) - costFees;
  held.m_nMargin -= margin;
  held.m_nAmount -= cost;
  held.m_nFees -= costFees;
  held.m_nTotal -= quantity;
  held.m_nFrozen -= quantity;
  held.m_nToday = std::min(held.m_nToday, held.m_nTotal);
}

void CLedger::end(std::uint64_t id) {
  const auto found = m_open.find(id);
  if (found == m_open.end()) return;
  SOpen& order = found->second;
  order.m_pAccount->m_nCash += order.m_nFrozen;
  order.m_pAccount->m_nFrozen -= order.m_nFrozen;
  if (!order.m_bAdds) order.m_pHeld->m_nFrozen -= order.m_nLeft;
  order.m_pAccount->m_bChanged = m_bChanged = true;
  m_open.erase(found);
}

void CLedger::publishChanges(const Publish& publish) {
  if (!std::exchange(m_bChanged, false)) return;
  for (auto& [key, account] : m_accounts) {
    if (std::exchange(account.m_bChanged, false)) publish(key, holdings(key));
  }
}

void CLedger::addTo(CStateHash& hash) const {
  for (const auto& [key, account] : m_accounts) {
    hash.addText(key);
    for (const Money money :
         {account.m_nCash, account.m_nFrozen, account.m_nMargin, account.m_nFees, account.m_nRealised}) {
      hash.add(static_cast<std::uint64_t>(money));
    }
  }
}

std::shared_ptr<const desk::SHoldings> CLedger::holdings(const std::string& account) const {
  const auto known = m_accounts.find(account);
  if (known == m_accounts.end()) return nullptr;
  const SAccount& of = known->second;
  auto holdings = std::make_shared<desk::SHoldings>();
  holdings->m_dCash = toCny(of.m_nCash);
  holdings->m_dFrozen = toCny(of.m_nFrozen);
  holdings->m_dMargin = toCny(of.m_nMargin);
  holdings->m_dFees = toCny(of.m_nFees);
  holdings->m_dRealised = toCny(of.m_nRealised);
  for (const auto& [key, held] : of.m_held) {
    if (held.m_nTotal == 0) continue;
    desk::SPosition& position =
        holdings->m_positions.emplace_hint(holdings->m_positions.end(), key, desk::SPosition())->second;
    position.m_strMarket = held.m_strMarket;
    position.m_strCode = held.m_strCode;
    position.m_bShort = held.m_bShort;
    position.m_nTotal = toInt(held.m_nTotal);
    position.m_nSellable = toInt(held.sellable());
    position.m_nFrozen = toInt(held.m_nFrozen);
    position.m_nBoughtToday = toInt(held.m_nToday);
    position.m_dCost = toCny(held.m_bShort ? held.m_nAmount - held.m_nFees : held.m_nAmount + held.m_nFees);
    position.m_dMargin = toCny(held.m_nMargin);
  }
  return holdings;
}

}  // namespace engine
