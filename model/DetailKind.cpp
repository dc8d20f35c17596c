#include "DetailKind.h"

#include <algorithm>
#include <iterator>

namespace TC {
namespace {

using enum EDetailKind;
using namespace ksservice;

struct SKindRule {
  int basketType;  ///< ECommandBasketType
  bool patch;      ///< the command's patch flag
  EDetailKind feed, signal, load, lookUp;
};

// The ways differ on purpose:
// - the feed goes by the flag with a basket's command alone; an ETF hedge basket is a task whatever the flag says;
// - the signal tells a patch by type 0, not by the flag, and knows no ETF hedge baskets;
// - a load is as the feed, but takes no flagged detail of an ETF hedge basket for the task's own;
// - to the look-up all that is flagged is ordered already, so that no share of it is offered again.
constexpr SKindRule RULES[] = {
    // type, flag; feed, signal, load, look-up
    {ECBT_SignalPatch, false, Other, Patch, Other, Other},
    {ECBT_SignalPatch, true, Other, Patch, Other, Patch},
    {ECBT_Basket, false, Own, Own, Own, Own},
    {ECBT_Basket, true, Patch, Own, Patch, Patch},
    {ECBT_Hedge, false, Hedge, Hedge, Hedge, Hedge},
    {ECBT_Hedge, true, Hedge, Hedge, Hedge, Patch},
    {ECBT_EtfHedge, false, Own, Other, Own, Own},
    {ECBT_EtfHedge, true, Own, Other, Other, Patch},
    {ECBT_EtfHedge2, false, Own, Other, Own, Own},
    {ECBT_EtfHedge2, true, Own, Other, Other, Patch},
};

/// Of a command of any other type.
constexpr SKindRule UNKNOWN = {0, false, Other, Other, Other, Other};
constexpr SKindRule UNKNOWN_PATCH = {0, true, Other, Other, Other, Patch};

const SKindRule& ruleOf(const COrderCommand& command) {
  const auto* const rule = std::find_if(std::begin(RULES), std::end(RULES), [&command](const SKindRule& each) {
    return each.basketType == command.m_nBasketType && each.patch == command.m_bPatch;
  });
  if (rule != std::end(RULES)) return *rule;
  return command.m_bPatch ? UNKNOWN_PATCH : UNKNOWN;
}

}  // namespace

EDetailKind kindOf(const CTaskDetail& detail, EDetailWay way) {
  if (!detail.m_pCommand) return Other;
  const SKindRule& rule = ruleOf(*detail.m_pCommand);
  switch (way) {
    case EDetailWay::Feed:
      return rule.feed;
    case EDetailWay::Signal:
      return rule.signal;
    case EDetailWay::Load:
      return rule.load;
    case EDetailWay::LookUp:
      return rule.lookUp;
  }
  return Other;
}

bool isEtfHedge(const COrderCommand& command) {
  return command.m_nBasketType == ECBT_EtfHedge || command.m_nBasketType == ECBT_EtfHedge2;
}

}  // namespace TC
