#include "COrderRates.h"

#include <algorithm>
#include <utility>

namespace engine {
namespace {

/// For how long something counts. It is more than a second, since what is longer on its way than what follows it comes
/// to the exchange closer to that than it was sent.
constexpr std::int64_t SECOND_MSEC = 1000 + 100;

}  // namespace

int COrderRates::numberOf(const std::string& account) {
  const auto [known, added] = m_numbers.try_emplace(account, static_cast<int>(m_accounts.size()));
  if (added) m_accounts.emplace_back().m_use.m_strAccount = account;
  return known->second;
}

/// The account, of which everything is forgotten that does not count for this second.
COrderRates::SAccount& COrderRates::recent(int account, std::int64_t now) {
  SAccount& of = m_accounts[static_cast<std::size_t>(account)];
  while (!of.m_recent.empty() && of.m_recent.front().m_nTime + SECOND_MSEC <= now) {
    of.m_nRecent -= of.m_recent.front().m_nCount;
    of.m_recent.pop_front();
  }
  return of;
}

bool COrderRates::isFree(const SAccount& of) const {
  return of.m_cancels.empty() && of.m_nRecent < m_limits.m_nPerSecond && of.m_use.m_nDay < m_limits.m_nPerDay;
}

bool COrderRates::mayOrder(int account, std::int64_t now) {
  SAccount& of = recent(account, now);
  const bool free = isFree(of);
  if (!free) {
    // What the day's limit holds back waits for nothing.
    if (of.m_nHeldFrom < 0 && of.m_use.m_nDay < m_limits.m_nPerDay) of.m_nHeldFrom = now;
    of.m_nHeldAsked = now;
  } else if (of.m_nHeldFrom >= 0) {
    const bool wanted = now - of.m_nHeldAsked < SECOND_MSEC;
    m_waits.push_back({of.m_use.m_strAccount, of.m_nHeldFrom, wanted ? now : of.m_nHeldAsked});
    of.m_nHeldFrom = -1;
  }
  return free;
}

bool COrderRates::mayReplace(int account, std::int64_t now) {
  return isFree(recent(account, now)) && use(account).m_nDay + 2 <= m_limits.m_nPerDay;
}

void COrderRates::count(int account, std::int64_t now) {
  SAccount& of = recent(account, now);
  if (of.m_recent.empty() || of.m_recent.back().m_nTime != now) of.m_recent.push_back({now, 0});
  ++of.m_recent.back().m_nCount;
  ++of.m_nRecent;
  of.m_use.m_nSecond = std::max(of.m_use.m_nSecond, of.m_nRecent);
  if (isDayOver(account)) ++of.m_use.m_nBeyond;
  if (++of.m_use.m_nDay == m_limits.m_nPerDay) of.m_bReached = m_bAnyDayOver = true;
}

void COrderRates::addCancel(int account, std::uint64_t order) {
  m_accounts[static_cast<std::size_t>(account)].m_cancels.push_back(order);
}

std::uint64_t COrderRates::takeCancel(int account, std::int64_t now) {
  SAccount& of = recent(account, now);
  if (of.m_cancels.empty() || of.m_nRecent >= m_limits.m_nPerSecond) return 0;
  const std::uint64_t order = of.m_cancels.front();
  of.m_cancels.pop_front();
  return order;
}

std::vector<SOrderUse> COrderRates::use() const {
  std::vector<SOrderUse> all;
  all.reserve(m_accounts.size());
  for (const SAccount& each : m_accounts) all.push_back(each.m_use);
  return all;
}

void COrderRates::addTo(CStateHash& hash) const {
  for (const SAccount& each : m_accounts) {
    hash.addText(each.m_use.m_strAccount);
    hash.add(static_cast<std::uint64_t>(each.m_use.m_nDay));
    hash.add(each.m_cancels.size());
  }
}

void COrderRates::restartSeconds(std::int64_t now) {
  for (std::size_t i = 0; i < m_accounts.size(); ++i) {
    SAccount& of = recent(static_cast<int>(i), now);
    of.m_use.m_nSecond = of.m_nRecent;
  }
}

std::vector<std::string> COrderRates::takeReached() {
  std::vector<std::string> reached;
  if (!m_bAnyDayOver) return reached;
  for (SAccount& each : m_accounts) {
    if (std::exchange(each.m_bReached, false)) reached.push_back(each.m_use.m_strAccount);
  }
  return reached;
}

std::vector<SOrderUse> COrderRates::takeBeyond() {
  std::vector<SOrderUse> beyond;
  for (SAccount& each : m_accounts) {
    const int before = std::exchange(each.m_nBeyondTold, each.m_use.m_nBeyond);
    if (before != each.m_use.m_nBeyond) beyond.push_back(each.m_use);
  }
  return beyond;
}

}  // namespace engine
