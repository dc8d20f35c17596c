#include "DrillFaults.h"

namespace drill {
namespace {

const char* const FAULTS[EF_Count] = {"report lost",
                                      "report late",
                                      "report doubled",
                                      "report out of order",
                                      "cancel late",
                                      "filled before the cancel",
                                      "order refused",
                                      "creation refused",
                                      "reply late",
                                      "reply never",
                                      "reply twice",
                                      "detail late",
                                      "detail left out",
                                      "detail twice",
                                      "patch by another terminal",
                                      "feed stalled",
                                      "burst of 200,000 details",
                                      "call in mid-refresh",
                                      "new day in mid-refresh",
                                      "disk full",
                                      "kill"};
const char* const RULES[ER_Count] = {"no share too many",
                                     "nothing unconfirmed",
                                     "rates",
                                     "accounts above zero",
                                     "cash and positions",
                                     "sums",
                                     "screen = model",
                                     "screen = market",
                                     "model = fresh model",
                                     "restart",
                                     "nothing grows"};
const char* const PLANTS[EP_Count] = {
    "",         "doubled-fill", "lost-fill",   "greedy-order",    "greedy-patch", "wrong-detail", "untold-detail",
    "torn-row", "false-row",    "kept-detail", "forgotten-entry", "fast-sender"};

}  // namespace

const char* nameOf(EFault fault) { return FAULTS[fault]; }
const char* nameOf(ERule rule) { return RULES[rule]; }
const char* nameOf(EPlant plant) { return PLANTS[plant]; }

EPlant plantOf(const std::string& name) {
  int plant = EP_DoubledFill;
  while (plant < EP_Count && name != PLANTS[plant]) ++plant;
  return static_cast<EPlant>(plant);
}

}  // namespace drill
