#include <algorithm>
#include <cmath>

#include "ShareOut.h"

namespace draft {
namespace {

constexpr double TOLERANCE = 1e-9;  // of a step: what a double loses

/// CNY of a share, or of a lot of a future.
double valueOf(const SMarketFacts& facts) { return facts.price() * facts.m_nMultiplier; }

int lotOf(const exchange::SRules& rules) { return std::max(rules.m_nBuyMinimum, rules.m_nBuyStep); }

/// What the board takes at or below a quantity. Sales go by the same steps: what an amount comes to is no odd rest.
int roundedDown(const exchange::SRules& rules, double quantity) {
  const double steps = std::floor(std::min<double>(quantity, MOST_SHARES) / rules.m_nBuyStep + TOLERANCE);
  const int down = static_cast<int>(steps) * rules.m_nBuyStep;
  return down < rules.m_nBuyMinimum ? 0 : down;
}

/// What it takes next above that.
int roundedUp(const exchange::SRules& rules, int down) { return down == 0 ? lotOf(rules) : down + rules.m_nBuyStep; }

/// A quantity between two that the board takes.
struct SChoice {
  std::size_t m_nLine = 0;
  int m_nDown = 0;
  int m_nUp = 0;
  double m_dPart = 0;  ///< of the way up that is wanted
  double m_dStep = 0;  ///< CNY from one to the other

  bool nearerUp() const { return m_dPart >= 0.5; }
};

SChoice choiceOf(std::size_t line, const SMarketFacts& facts, double wanted) {
  const int down = roundedDown(facts.m_rules, wanted);
  const int up = roundedUp(facts.m_rules, down);
  const double part = std::clamp((std::min<double>(wanted, MOST_SHARES) - down) / (up - down), 0.0, 1.0);
  return {line, down, up, part < TOLERANCE * 10 ? 0 : part, (up - down) * valueOf(facts)};
}

/// Rounds each to the nearest, then those nearest to the middle the other way until the whole is near enough: half a
/// lot of the dearest. A step is at most such a lot, so the whole cannot go past. Returns what the whole misses, CNY.
double roundTogether(std::vector<SChoice>& choices, double dearest, std::vector<int>& quantities) {
  double missed = 0;
  for (const SChoice& each : choices) missed += (each.m_dPart - (each.nearerUp() ? 1 : 0)) * each.m_dStep;
  const bool more = missed > 0;
  const auto isNearer = [](const SChoice& a, const SChoice& b) {
    return std::abs(a.m_dPart - 0.5) < std::abs(b.m_dPart - 0.5);
  };
  std::sort(choices.begin(), choices.end(), isNearer);
  for (const SChoice& each : choices) {
    bool up = each.nearerUp();
    if (std::abs(missed) > dearest / 2 && up != more && each.m_dPart > 0) {
      up = more;
      missed += more ? -each.m_dStep : each.m_dStep;
    }
    quantities[each.m_nLine] = up ? each.m_nUp : each.m_nDown;
  }
  return missed;
}

/// As it stands; of a multiple what the board takes nearest to it. Half a share is for the judge to find.
int sharesOf(const SLine& line, const SMarketFacts& facts, double multiple) {
  if (multiple == 1) return static_cast<int>(std::min<double>(line.m_dQuantity, MOST_SHARES));
  const SChoice choice = choiceOf(0, facts, line.m_dQuantity * multiple);
  return choice.nearerUp() ? choice.m_nUp : choice.m_nDown;
}

}  // namespace

std::vector<int> quantitiesOf(const std::vector<SLine>& lines, const std::vector<SMarketFacts>& facts,
                              const SSizing& sizing, double* missed) {
  std::vector<int> quantities(lines.size());
  std::vector<SChoice> choices;
  double weights = 0;
  for (const SLine& line : lines) {
    if (line.m_bChecked && line.m_measure == basket::EMeasure::Weight) weights += line.m_dQuantity;
  }
  const double perWeight = weights > 0 ? sizing.m_dTotal * sizing.m_dMultiple / weights : 0;
  double unusable = 0;  // what a line without a price keeps from the others: they would jump when it gets one
  double dearest = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const SLine& line = lines[i];
    const SMarketFacts& known = facts[i];
    const bool isWeight = line.m_measure == basket::EMeasure::Weight;
    const double value = valueOf(known);
    if (!(line.m_dQuantity > 0)) continue;
    if (line.m_measure == basket::EMeasure::Shares) {
      quantities[i] = sharesOf(line, known, sizing.m_dMultiple);
    } else if (!(value > 0)) {
      if (isWeight && line.m_bChecked) unusable += line.m_dQuantity * perWeight;
    } else if (isWeight && line.m_bChecked) {
      choices.push_back(choiceOf(i, known, line.m_dQuantity * perWeight / value));
      dearest = std::max(dearest, lotOf(known.m_rules) * value);
    } else {
      // An amount is what may be spent: never more.
      const double amount = line.m_dQuantity * (isWeight ? perWeight : sizing.m_dMultiple);
      quantities[i] = roundedDown(known.m_rules, amount / value);
    }
  }
  const double whole = unusable + roundTogether(choices, dearest, quantities);
  if (missed) *missed = whole;
  return quantities;
}

}  // namespace draft
