#include "Dealer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "Rounding.h"

namespace draft {
namespace {

constexpr double TOLERANCE = 1e-9;  // of a step
constexpr int NO_LIMIT = std::numeric_limits<int>::max();

/// What a double may lose of a quantity.
double toleranceOf(double quantity) { return TOLERANCE + quantity * 1e-15; }

/// The whole steps of a share.
int wholeSteps(const SStake& stake, double share) {
  const double steps = share / stake.m_nStep;
  return static_cast<int>(std::floor(steps + toleranceOf(steps))) * stake.m_nStep;
}

/// Whether a share lies between two steps.
bool isBetween(const SStake& stake, double share) {
  return share - wholeSteps(stake, share) > stake.m_nStep * toleranceOf(share);
}

std::size_t sideOf(const SStake& stake) { return stake.m_bBuy ? 0 : 1; }

double stepValue(const SStake& stake) { return stake.m_nStep * stake.m_dValue; }

void normalise(std::vector<double>& weights) {
  const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
  if (!(sum > 0)) return;
  for (double& weight : weights) weight /= sum;
}

}  // namespace

CDealer::CDealer(const std::vector<SLine>& lines, const std::vector<SMarketFacts>& facts,
                 const std::vector<SAccountFacts>& accounts, EDealBy by, const std::vector<double>& ratios)
    : m_facts(facts),
      m_accounts(accounts),
      m_by(by),
      m_nAccounts(accounts.size()),
      m_sellable(lines, accounts),
      m_fixed(accounts.size()),
      m_takesPart(accounts.size()),
      m_shares(accounts.size()),
      m_parts(lines.size() * accounts.size()) {
  const auto ratioOf = [&ratios](std::size_t i) { return i < ratios.size() ? std::max(0.0, ratios[i]) : 0; };
  bool noRatios = true;
  for (std::size_t i = 0; i < m_nAccounts; ++i) noRatios = noRatios && ratioOf(i) <= 0;
  for (std::size_t i = 0; i < m_nAccounts; ++i) {
    m_takesPart[i] = ratioOf(i) > 0 || (noRatios && by != EDealBy::Ratio);
    const double cash = accounts[i].m_bKnown ? std::max(0.0, accounts[i].m_dCash) : 0;
    if (m_takesPart[i]) m_fixed[i] = by == EDealBy::Ratio ? ratioOf(i) : cash;
  }
  normalise(m_fixed);
  for (std::vector<double>& side : m_ahead) side.resize(m_nAccounts);
}

void CDealer::deal(const std::vector<SStake>& stakes) {
  std::vector<const SStake*> dearestFirst;
  dearestFirst.reserve(stakes.size());
  for (const SStake& stake : stakes) dearestFirst.push_back(&stake);
  std::stable_sort(dearestFirst.begin(), dearestFirst.end(),
                   [](const SStake* a, const SStake* b) { return stepValue(*a) > stepValue(*b); });
  for (const SStake* stake : dearestFirst) {
    if (!setShares(*stake)) continue;
    (isRegular(*stake) ? m_regular : m_alone).push_back(stake);
  }
  roundRegular(true);
  // Each side alone is within a lot; that both together are not was never seen, but nothing proves it.
  if (!isWithinALot()) roundRegular(false);
  if (m_alone.empty()) return;
  for (const SStake* stake : m_alone) dealAlone(*stake);
  for (const SStake* stake : m_regular) even(*stake);
}

SDealtLine CDealer::dealt(const SStake& stake) {
  SDealtLine line;
  line.m_nQuantity = stake.m_nQuantity;
  setShares(stake);
  for (std::size_t i = 0; i < m_nAccounts; ++i) {
    const int quantity = part(stake, i);
    if (quantity > 0) line.m_parts.push_back({static_cast<int>(i), quantity});
    if (quantity == 0 && m_shares[i] > 0) ++line.m_nLeftOut;
  }
  return line;
}

/// False when nobody has a share. By position, what nobody holds goes by cash.
bool CDealer::setShares(const SStake& stake) {
  const double quantity = stake.m_nQuantity;
  double held = 0;
  if (m_by == EDealBy::Position) {
    for (std::size_t i = 0; i < m_nAccounts; ++i) {
      m_shares[i] = m_takesPart[i] ? std::max(0, m_sellable.of(i, stake.m_nLine)) : 0;
      held += m_shares[i];
    }
  }
  double sum = 0;
  for (std::size_t i = 0; i < m_nAccounts; ++i) {
    m_shares[i] = held > 0 ? quantity * m_shares[i] / held : quantity * m_fixed[i];
    sum += m_shares[i];
  }
  return sum > 0;
}

/// What an account can sell, where its share is not more than that anyway: then the judge tells.
int CDealer::mostOf(const SStake& stake, std::size_t account) const {
  const bool isShare = m_facts[stake.m_nLine].m_kind == exchange::EKind::Share;
  if (stake.m_bBuy || !isShare || !m_accounts[account].m_bKnown) return NO_LIMIT;
  const int sellable = m_sellable.of(account, stake.m_nLine);
  return m_shares[account] > sellable + toleranceOf(sellable) ? NO_LIMIT : sellable;
}

bool CDealer::isRegular(const SStake& stake) const {
  if (stake.m_nQuantity % stake.m_nStep != 0) return false;
  for (std::size_t i = 0; i < m_nAccounts; ++i) {
    const double share = m_shares[i];
    if (stake.m_nMinimum > stake.m_nStep && share > 0 && share < stake.m_nMinimum) return false;
    if (!stake.m_bBuy && isBetween(stake, share) && wholeSteps(stake, share) > mostOf(stake, i) - stake.m_nStep) {
      return false;
    }
  }
  return true;
}

void CDealer::roundRegular(bool bySide) {
  m_bBySide = bySide;
  for (std::vector<double>& side : m_ahead) std::fill(side.begin(), side.end(), 0);
  for (const bool buy : {true, false}) {
    std::vector<const SStake*> stakes;
    for (const SStake* stake : m_regular) {
      if (!bySide || stake->m_bBuy == buy) stakes.push_back(stake);
    }
    roundTable(stakes);
    if (!bySide) break;
  }
  for (const SStake* stake : m_regular) even(*stake);
}

void CDealer::roundTable(const std::vector<const SStake*>& stakes) {
  CRounding rounding(static_cast<int>(m_nAccounts));
  std::vector<SFraction> fractions;
  for (std::size_t row = 0; row < stakes.size(); ++row) {
    const SStake& stake = *stakes[row];
    setShares(stake);
    giveWholeSteps(stake);
    fractions.clear();
    for (std::size_t i = 0; i < m_nAccounts; ++i) {
      if (!isBetween(stake, m_shares[i])) continue;
      const double fraction = (m_shares[i] - wholeSteps(stake, m_shares[i])) / stake.m_nStep;
      fractions.push_back({static_cast<int>(i), fraction});
    }
    rounding.add(static_cast<int>(row), stepValue(stake), fractions);
  }
  for (const CRounding::SUp& up : rounding.finish()) {
    const SStake& stake = *stakes[static_cast<std::size_t>(up.m_nRow)];
    give(stake, static_cast<std::size_t>(up.m_nColumn), stake.m_nStep);
  }
}

void CDealer::giveWholeSteps(const SStake& stake) {
  for (std::size_t i = 0; i < m_nAccounts; ++i) {
    part(stake, i) = 0;
    m_ahead[sideOf(stake)][i] -= m_shares[i] * stake.m_dValue;
    give(stake, i, wholeSteps(stake, m_shares[i]));
  }
}

void CDealer::give(const SStake& stake, std::size_t account, int quantity) {
  part(stake, account) += quantity;
  m_ahead[sideOf(stake)][account] += quantity * stake.m_dValue;
}

/// By how much an account is ahead of its shares. Both its side and both sides together count: each shall be even.
double CDealer::ahead(const SStake& stake, std::size_t account) const {
  const double both = m_ahead[0][account] + m_ahead[1][account];
  return m_bBySide ? (m_ahead[sideOf(stake)][account] + both) / 2 : both;
}

/// Moves a line's steps from accounts ahead to accounts behind. The two end up between where they stood, so nobody gets
/// further off than the furthest was.
void CDealer::even(const SStake& stake) {
  setShares(stake);
  for (;;) {
    std::size_t from = m_nAccounts;
    std::size_t to = m_nAccounts;
    for (std::size_t i = 0; i < m_nAccounts; ++i) {
      const double off = part(stake, i) - m_shares[i];
      const double none = stake.m_nStep * toleranceOf(m_shares[i]);
      if (off > none && (from == m_nAccounts || ahead(stake, i) > ahead(stake, from))) from = i;
      if (off < -none && (to == m_nAccounts || ahead(stake, i) < ahead(stake, to))) to = i;
    }
    if (from == m_nAccounts || to == m_nAccounts) return;
    const double gap = ahead(stake, from) - ahead(stake, to);
    if (gap <= stepValue(stake) * (1 + TOLERANCE)) return;
    give(stake, from, -stake.m_nStep);
    give(stake, to, stake.m_nStep);
  }
}

bool CDealer::isWithinALot() const {
  double lot = 0;
  for (const SStake* stake : m_regular)
    lot = std::max(lot, std::max(stake->m_nStep, stake->m_nMinimum) * stake->m_dValue);
  for (std::size_t i = 0; i < m_nAccounts; ++i) {
    if (std::abs(m_ahead[0][i] + m_ahead[1][i]) > lot) return false;
  }
  return true;
}

/// Those who share a line, who is most behind first.
std::vector<std::size_t> CDealer::accountsBehind(const SStake& stake) const {
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < m_nAccounts; ++i) {
    if (m_shares[i] > 0) order.push_back(i);
  }
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return ahead(stake, a) < ahead(stake, b); });
  return order;
}

void CDealer::dealAlone(const SStake& stake) {
  setShares(stake);
  if (stake.m_bBuy && stake.m_nMinimum > stake.m_nStep) keepToMinimum(stake);
  giveWholeSteps(stake);
  const std::vector<std::size_t> order = accountsBehind(stake);
  int rest = stake.m_nQuantity;
  for (const std::size_t i : order) rest -= part(stake, i);
  rest -= giveOddRest(stake, order, rest % stake.m_nStep);
  // Whole steps first; then where a position is too small for one, all of it; at last what is left.
  for (const bool whole : {true, false}) {
    for (const std::size_t i : order) {
      if (rest <= 0) return;
      if (!isBetween(stake, m_shares[i])) continue;
      const int most = std::min(mostOf(stake, i), wholeSteps(stake, m_shares[i]) + stake.m_nStep);
      const int room = std::min(rest, most - part(stake, i));
      if (whole ? room == stake.m_nStep : room > 0) {
        give(stake, i, room);
        rest -= room;
      }
    }
  }
  if (rest > 0) give(stake, order.front(), rest);
}

/// Takes the shares of those who are least behind, as long as parts would be below the minimum, and deals them out to
/// the others. What is below it as a whole goes to one, and the judge tells.
void CDealer::keepToMinimum(const SStake& stake) {
  std::vector<double> before = m_shares;
  for (std::size_t i = 0; i < m_nAccounts; ++i) m_ahead[0][i] -= before[i] * stake.m_dValue;
  std::vector<std::size_t> order = accountsBehind(stake);
  for (double sum = stake.m_nQuantity; order.size() > 1;) {
    const double scale = stake.m_nQuantity / sum;
    const auto isTooSmall = [&](std::size_t i) { return m_shares[i] * scale < stake.m_nMinimum - TOLERANCE; };
    const auto last = std::find_if(order.rbegin(), order.rend(), isTooSmall);
    if (last == order.rend()) break;
    sum -= m_shares[*last];
    m_shares[*last] = 0;
    order.erase(std::next(last).base());
  }
  double sum = 0;
  for (const std::size_t i : order) sum += m_shares[i];
  for (const std::size_t i : order) m_shares[i] *= stake.m_nQuantity / sum;
  // They are counted anew by what they are now; what was taken stays owed.
  for (std::size_t i = 0; i < m_nAccounts; ++i) m_ahead[0][i] += m_shares[i] * stake.m_dValue;
}

/// An odd rest goes to an account that holds just this one beside whole steps, if one does; else it is what is left of
/// the line at last. Returns what it gave.
int CDealer::giveOddRest(const SStake& stake, const std::vector<std::size_t>& order, int odd) {
  if (odd == 0) return 0;
  const auto holdsIt = [&](std::size_t i) {
    const bool canSell = part(stake, i) <= mostOf(stake, i) - odd;
    return canSell && m_sellable.of(i, stake.m_nLine) % stake.m_nStep == odd;
  };
  const auto found = std::find_if(order.begin(), order.end(), holdsIt);
  if (found == order.end()) return 0;
  give(stake, *found, odd);
  return odd;
}

}  // namespace draft
