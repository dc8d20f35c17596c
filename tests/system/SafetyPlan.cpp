#include "SafetyPlan.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "SessionSetup.h"
#include "TaskDetails.h"
#include "ksservice/Operations.h"

namespace test {
namespace {

using namespace ksservice;

constexpr exchange::SDate DATE{2026, 11, 23};
/// Of each basket; each basket has its own, so that a security tells its basket.
constexpr int SECURITIES = 5;
constexpr int HUGE_LINE = 2000000000;

/// In the order of their bits.
const char* const NAMES[] = {"twins",   "sides",  "splits", "mixed",     "connect", "huge",    "openends",
                             "indices", "late",   "ahead",  "replies",   "lost",    "queries", "foreign",
                             "drops",   "reopen", "newday", "newbasket", "held",    "faults",  "hedges",
                             "stops",   "waits",  "fresh",  "kill"};
/// Of every day on which they are allowed.
constexpr unsigned ALWAYS = ING_Stops | ING_Waits | ING_Fresh | ING_Kill;

TC::SAlgoParams makeAlgo(Random& random) {
  TC::SAlgoParams algo;
  algo.m_eAlgorithm = static_cast<TC::EAlgorithm>(below(random, 3));
  algo.m_nStart += 60 * below(random, 60);
  algo.m_nEnd -= 60 * below(random, 180);
  algo.m_nSlices = 1 + below(random, 20);
  algo.m_dRate = 0.05 + 0.01 * below(random, 30);
  return algo;
}

}  // namespace

unsigned parseIngredients(const std::string& text) {
  unsigned ingredients = 0;
  std::istringstream words(text);
  for (std::string word; std::getline(words, word, ',');) {
    const auto* name = std::find(std::begin(NAMES), std::end(NAMES), word);
    if (name == std::end(NAMES)) throw std::invalid_argument("no ingredient of order safety: " + word);
    ingredients |= 1u << (name - std::begin(NAMES));
  }
  return ingredients;
}

std::string ingredientsText(unsigned ingredients) {
  std::string text;
  for (std::size_t i = 0; i < std::size(NAMES); ++i) {
    if (ingredients & 1u << i) text += (text.empty() ? "" : ",") + std::string(NAMES[i]);
  }
  return text;
}

SDayPlan::SDayPlan(std::uint64_t seed, unsigned allowed, bool all)
    : m_random(seed), m_nHas(allowed), m_nDayStart(exchange::dayStartOf(DATE)) {
  for (unsigned bit = 1; bit < ING_Stops && !all; bit <<= 1) {
    if (chance(m_random, bit < ING_Held ? 50 : 85)) m_nHas &= ~bit;
  }
  m_nHas |= allowed & ALWAYS;
  // What a click meets in mid-refresh is not known, nor what the panel knows after a fault.
  if (has(ING_Held) || has(ING_Faults)) m_nHas &= ~(ING_Stops | ING_Waits);
  const int accounts = 1 + below(m_random, has(ING_Twins) || has(ING_Mixed) ? 3 : 2);
  for (int i = 1; i <= accounts; ++i) {
    const int displayId = 1000 + (has(ING_Twins) && i == 2 ? 1 : i);
    m_accounts.push_back(testkit::makeAccount("A" + std::to_string(i), std::to_string(displayId)));
  }
  m_nLatencyMsec = pick(m_random, std::initializer_list<int>{200, 5000, 60000, 300000});
  m_nDeliverPercent = has(ING_Late) ? 20 + below(m_random, 60) : 100;
  for (int baskets = 1 + below(m_random, 3); baskets > 0; --baskets) planBasket();
}

boost::shared_ptr<const CAccountInfo> SDayPlan::account(const std::string& key) const {
  return m_accounts[static_cast<std::size_t>(key.back() - '1')];
}

void SDayPlan::planBasket() {
  engine::SBasketOrder& basket = m_baskets.emplace_back();
  basket.m_strName = "b" + std::to_string(m_baskets.size());
  basket.m_accounts.assign(m_accounts.begin(), m_accounts.end());
  if (chance(m_random, 40)) basket.m_algo = makeAlgo(m_random);
  for (int number = 0; number < SECURITIES; ++number) {
    if (number == 0 || chance(m_random, 60)) addLine(basket, number);
  }
  if (has(ING_Connect)) addConnectLines(basket, below(m_random, SECURITIES));
}

void SDayPlan::addLine(engine::SBasketOrder& basket, int number) {
  static const struct {
    const char* market;
    int firstCode;
  } KINDS[] = {{"SH", 600000}, {"SZ", 1000}, {"SH", 688000}, {"BJ", 830000}};
  const auto& kind = KINDS[number % 4];
  exchange::SInstrument listed;
  listed.m_strMarket = kind.market;
  listed.m_strCode = std::to_string(kind.firstCode + 10 * static_cast<int>(m_baskets.size()) + number);
  listed.m_strName = "S" + listed.m_strCode;
  listed.m_dPrevClose = 5 + below(m_random, 80) / 4.0;
  const exchange::SRules rules = exchange::rulesOf(listed);
  m_instruments.push_back(app::toCodeInfo(listed, rules));
  addLines(basket, m_instruments.back(),
           rules.m_nBuyMinimum + rules.m_nBuyStep * below(m_random, 20000 / rules.m_nBuyStep), listed.m_dPrevClose);
}

/// One share of Hong Kong, ordered in one or two of the markets by which it is reached.
void SDayPlan::addConnectLines(engine::SBasketOrder& basket, int number) {
  TC::CCodeInfo info;
  info.m_strCode = std::to_string(70000 + 10 * static_cast<int>(m_baskets.size()) + number);
  info.m_strName = "K" + info.m_strCode;
  const int first = below(m_random, 3);
  const int second = below(m_random, 3);
  const char* const markets[] = {"HK", "HGT", "SGT"};
  for (int i = 0; i < 3; ++i) {
    info.m_strMarket = markets[i];
    m_instruments.push_back(info);
    if (i == first || i == second) addLines(basket, info, 1000 + below(m_random, 5000), 20);
  }
}

void SDayPlan::addLines(engine::SBasketOrder& basket, const TC::CCodeInfo& info, int quantity, double price) {
  const ksservice::CStockInfo stock{info.m_strMarket, info.m_strCode, info.m_strName};
  m_basketOf[std::get<1>(engine::lineKeyOf({}, stock, 0))] = m_baskets.size() - 1;
  const bool large = has(ING_Huge) && chance(m_random, 50);
  std::vector<int> operations{chance(m_random, 60) ? EOT_Buy : EOT_Sell};
  // Two lines of one row: more than 32 bits hold, and than a server can answer.
  const bool told = !basket.m_algo || has(ING_Queries);
  if (large && told && chance(m_random, 60)) operations.push_back(operations.front());
  if (has(ING_Sides) && chance(m_random, 60)) operations.push_back(operations.front() == EOT_Buy ? EOT_Sell : EOT_Buy);
  for (const int operation : operations) {
    engine::SOrderLine& line = basket.m_lines.emplace_back();
    line.m_stock = stock;
    line.m_nOperation = operation;
    line.m_rules.m_nBuyMinimum = info.m_nTradeMinUnit;
    line.m_nQuantity = large ? HUGE_LINE + 100 * below(m_random, 1474836) : quantity;
    line.m_dReference = price;
  }
}

}  // namespace test
