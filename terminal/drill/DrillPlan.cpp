#include "DrillPlan.h"

#include "AccountStart.h"
#include "SessionSetup.h"

namespace drill {
namespace {

constexpr int FAULT_PERCENT = 70;
const char* const FUTURE = "IF2612";

struct SBoard {
  const char* m_pMarket;
  int m_nFirstCode;
};
constexpr SBoard BOARDS[] = {{"SH", 600000}, {"SZ", 1000}, {"SH", 688000}, {"BJ", 830000}, {"SZ", 300000}};
/// Where the day's events lie: before the open, before lunch, in the afternoon, before the closing auction.
constexpr int STARTS[] = {9 * 60 + 24, 9 * 60 + 29, 11 * 60 + 20, 14 * 60 + 20, 14 * 60 + 45};

exchange::SInstrument makeInstrument(CDraw& draw, int number) {
  const SBoard& board = draw.pick(BOARDS);
  exchange::SInstrument listed;
  listed.m_strMarket = board.m_pMarket;
  std::string code = std::to_string(board.m_nFirstCode + number);
  listed.m_strCode = std::string(6 - code.size(), '0') + code;
  listed.m_strName = "证券" + listed.m_strCode;
  listed.m_dPrevClose = draw.between(200, 8000) / 100.0;
  listed.m_dVolume = draw.chance(5) ? 0 : draw.between(100, 60000) * 1000.0;
  return listed;
}

app::SNamedBasket makeBasket(CDraw& draw, std::vector<exchange::SInstrument>& instruments) {
  app::SNamedBasket basket;
  basket.m_strName = "b" + std::to_string(instruments.size());
  for (int lines = draw.between(3, 12); lines > 0; --lines) {
    instruments.push_back(makeInstrument(draw, static_cast<int>(instruments.size())));
    const exchange::SInstrument& listed = instruments.back();
    const exchange::SRules rules = exchange::rulesOf(listed);
    basket::SBasketLine& line = basket.m_lines.emplace_back();
    line.m_strMarket = listed.m_strMarket;
    line.m_strCode = listed.m_strCode;
    line.m_bBuy = draw.chance(60);
    line.m_nQuantity = rules.m_nBuyMinimum + rules.m_nBuyStep * draw.below(draw.chance(70) ? 60 : 4000);
  }
  return basket;
}

}  // namespace

SDrillPlan::SDrillPlan(std::uint64_t seed, int day, EPlant plant) : m_nSeed(seed), m_nDay(day), m_ePlant(plant) {
  CDraw draw = this->draw(CDraw::Plan);
  for (std::size_t fault = 0; fault < m_faults.size(); ++fault) m_faults[fault] = draw.chance(FAULT_PERCENT);
  // Costs as much as all of the rest.
  m_faults[EF_Burst] = draw.chance(30);
  for (int baskets = draw.between(2, 5); baskets > 0; --baskets) {
    m_inputs.m_baskets.push_back(makeBasket(draw, m_inputs.m_instruments));
    m_scheduled.push_back(draw.chance(40));
    m_hedged.push_back(draw.chance(35));
  }
  m_limits.m_nPerSecond = draw.pick(std::initializer_list<int>{4, 30, 280});
  m_limits.m_nPerDay = draw.pick(std::initializer_list<int>{60, 19000, 19000});
  m_options.m_bHeadless = true;
  m_options.m_nSeed = exchange::CRandom::mix(seed);
  m_options.m_nAccounts = draw.between(1, 2);
  m_options.m_hedge = app::SHedgeOption{FUTURE, 1};
  m_options.m_orderLimits = m_limits;
  if (plant == EP_FastSender) m_options.m_orderLimits.m_nPerSecond = 100 * m_limits.m_nPerSecond;
  m_options.m_nStartMinute = draw.pick(STARTS);
  if (draw.chance(15)) m_options.m_dCash = draw.between(0, 20) * 10000.0;
  m_nSteps = day == 1 ? draw.between(120, 220) : draw.between(20, 40);
  // Of another day the numbers begin again, or go on.
  if (day > 1) m_nFirstTaskId = draw.chance(50) ? 1 : 1 + draw.between(20, 1000);
}

bool SDrillPlan::strikes(EFault fault, bool drawn, SReportCard& card) const {
  if (!drawn || !has(fault)) return false;
  ++card.m_faults[static_cast<std::size_t>(fault)];
  return true;
}

std::unique_ptr<engine::CSimulation> SDrillPlan::makeSimulation(desk::CDesk& desk,
                                                                const engine::CSimulation::MakeLine& makeLine) const {
  desk.setSession(app::makeSession(m_options));
  app::addAccounts(desk, m_options);
  engine::SEngineSettings settings = app::makeEngineSettings(m_options, m_inputs);
  settings.m_nFirstTaskId = m_nFirstTaskId;
  auto simulation = std::make_unique<engine::CSimulation>(
      desk, m_inputs.m_instruments, app::makeExchangeSettings(m_options), settings, startMsec(), makeLine);
  app::addInstruments(desk, *simulation);
  app::openAccounts(m_options, m_inputs, *simulation);
  return simulation;
}

std::vector<engine::SBasketOrder> SDrillPlan::makeBaskets(const desk::CDesk& desk,
                                                          engine::CSimulation& simulation) const {
  app::AccountList accounts;
  for (const desk::SAccount& account : desk.accounts()) {
    if (account.m_pInfo->m_nType == 0) {
      accounts.push_back(boost::const_pointer_cast<ksservice::CAccountInfo>(account.m_pInfo));
    }
  }
  app::SOptions scheduled = m_options;
  scheduled.m_algo = TC::EAlgorithm::TWAP;
  std::vector<engine::SBasketOrder> baskets = app::makeBaskets(m_options, m_inputs, simulation.market(), accounts);
  for (std::size_t i = 0; i < baskets.size(); ++i) {
    if (m_scheduled[i]) baskets[i].m_algo = app::makeAlgo(scheduled);
    if (!m_hedged[i]) baskets[i].m_hedge.reset();
  }
  return baskets;
}

}  // namespace drill
