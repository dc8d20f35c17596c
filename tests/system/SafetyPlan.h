/// What a random day is made of.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "CEngine.h"
#include "CExchange.h"
#include "Random.h"
#include "tc/CExchangeClient.h"

namespace test {

/// How often things happened, in words.
using DayCounts = std::map<std::string, long>;

/// What may happen on a day, and (from Stops on) what is asked of it beyond the limits of the lines.
enum EIngredient : unsigned {
  ING_Twins = 1u << 0,       ///< two accounts of one display identifier
  ING_Sides = 1u << 1,       ///< one security bought and sold by one account
  ING_Splits = 1u << 2,      ///< a line falls on several sub-tasks
  ING_Mixed = 1u << 3,       ///< a sub-task has lines of several accounts
  ING_Connect = 1u << 4,     ///< lines of HGT, SGT and of Hong Kong, traded through any of them
  ING_Huge = 1u << 5,        ///< lines near the end of 32 bits, sums beyond
  ING_OpenEnds = 1u << 6,    ///< orders that may still fill when their sub-task has ended
  ING_Indices = 1u << 7,     ///< progress names a wrong line, or none
  ING_Late = 1u << 8,        ///< details come late, one by one, in any status
  ING_Ahead = 1u << 9,       ///< the data centre knows details before the feed tells of them
  ING_Replies = 1u << 10,    ///< replies to creations come late and in any order
  ING_Lost = 1u << 11,       ///< creations, their replies and answers are lost
  ING_Queries = 1u << 12,    ///< answers come late and in any order; progress comes behind its detail
  ING_Foreign = 1u << 13,    ///< another terminal patches the same baskets
  ING_Drops = 1u << 14,      ///< the user drops the task of a dialog that is open
  ING_Reopen = 1u << 15,     ///< the panel is closed and opened, loaded again, given another trader type
  ING_NewDay = 1u << 16,     ///< a new trading day comes
  ING_NewBasket = 1u << 17,  ///< remainders are handed over as a new basket, and the drop that follows is refused
  ING_Held = 1u << 18,       ///< the worker is held in mid-refresh, while the feed and the user go on
  ING_Faults = 1u << 19,     ///< the host fails at a question of the worker's
  ING_Hedges = 1u << 20,     ///< baskets are hedged, and nobody operates on them
  ING_Stops = 1u << 21,      ///< what comes of a patch that was given up is stopped
  ING_Waits = 1u << 22,  ///< until something comes of a patch its task shows "补单中", or is cancelled after 10 s
  ING_Fresh = 1u << 23,  ///< the table equals that of a panel that gets the newest details at once
  ING_Kill = 1u << 24,   ///< the terminal dies once, at any moment
};

/// The ingredients of a text such as "twins,huge"; throws std::invalid_argument for an unknown word.
unsigned parseIngredients(const std::string& text);
std::string ingredientsText(unsigned ingredients);

/// Securities, baskets, accounts, and how the market and the host behave.
struct SDayPlan {
  /// Of the ingredients that are allowed a day has some, or (all) every one that goes with the others.
  SDayPlan(std::uint64_t seed, unsigned allowed, bool all);

  bool has(EIngredient ingredient) const { return (m_nHas & ingredient) != 0; }
  /// Adds a basket with instruments of its own.
  void planBasket();
  /// The place in m_baskets of the basket that has the instrument; the market may be any connect market.
  std::size_t basketOf(const std::string& instrument) const { return m_basketOf.at(instrument); }
  boost::shared_ptr<const ksservice::CAccountInfo> account(const std::string& key) const;

  Random m_random;
  unsigned m_nHas;
  std::vector<boost::shared_ptr<ksservice::CAccountInfo>> m_accounts;
  std::vector<TC::CCodeInfo> m_instruments;
  std::vector<engine::SBasketOrder> m_baskets;
  std::int64_t m_nDayStart;   ///< seconds since the epoch
  int m_nLatencyMsec = 0;     ///< of requests and answers, the most
  int m_nDeliverPercent = 0;  ///< how often what the host knows of a detail is delivered

 private:
  void addLine(engine::SBasketOrder& basket, int number);
  void addConnectLines(engine::SBasketOrder& basket, int number);
  void addLines(engine::SBasketOrder& basket, const TC::CCodeInfo& info, int quantity, double price);

  std::map<std::string, std::size_t> m_basketOf;
};

}  // namespace test
