#include "SafetyMarket.h"

#include <QCoreApplication>
#include <utility>

#include "CBasketTasksPanel.h"

namespace test {
namespace {

using namespace ksservice;

constexpr int SECURITIES = 8;
constexpr exchange::SDate DATE{2026, 11, 23};
/// A task that no server knows.
const char* const NO_TASK = "0-0";

exchange::SInstrument makeInstrument(int number, Random& random) {
  static const struct {
    const char* market;
    int firstCode;
  } KINDS[] = {{"SH", 600000}, {"SZ", 1000}, {"SH", 688000}, {"BJ", 830000}};
  const auto& kind = KINDS[number % 4];
  exchange::SInstrument instrument;
  instrument.m_strMarket = kind.market;
  instrument.m_strCode = std::to_string(kind.firstCode + number);
  instrument.m_strName = "S" + instrument.m_strCode;
  instrument.m_dPrevClose = 5 + below(random, 2000) / 100.0;
  instrument.m_dVolume = chance(random, 10) ? 0 : 1e5 * (1 + below(random, 300));
  return instrument;
}

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

void CUnreliableDriver::createTask(const desk::SCreateRequest& request) {
  desk::SCreateRequest spoilt = request;
  if (chance(m_random, 15)) spoilt.m_params.clear();
  CEngineDriver::createTask(spoilt);
}

void CUnreliableDriver::operateServerTask(const std::string& serverTaskKey, const desk::OpRecordPtr& record) {
  CEngineDriver::operateServerTask(chance(m_random, 15) ? NO_TASK : serverTaskKey, record);
}

void CUnreliableDriver::queryOrderProcess(const std::vector<std::string>& serverTaskKeys) {
  std::vector<std::string> spoilt = serverTaskKeys;
  if (chance(m_random, 10)) spoilt.emplace_back(NO_TASK);
  if (chance(m_random, 10)) spoilt.erase(spoilt.begin() + below(m_random, static_cast<int>(spoilt.size())));
  CEngineDriver::queryOrderProcess(spoilt);
}

SDayPlan::SDayPlan(std::uint64_t seed) : m_random(seed) {
  for (int i = 0; i < SECURITIES; ++i) m_instruments.push_back(makeInstrument(i, m_random));
  const int accounts = 1 + below(m_random, 2);
  for (int i = 1; i <= accounts; ++i) {
    auto account = boost::make_shared<CAccountInfo>();
    account->m_strKey = "A" + std::to_string(i);
    account->m_strDisplayId = std::to_string(1000 + i);
    account->m_strName = "N" + std::to_string(i);
    m_accounts.push_back(account);
  }
  m_exchange.m_nSeed = seed;
  m_exchange.m_nDayStart = exchange::dayStartOf(DATE);
  m_exchange.m_dRejectRate = chance(m_random, 40) ? 0.1 : 0;
  m_exchange.m_nLatencyMsec = chance(m_random, 30) ? 20000 : 20;
  m_engine.m_nDayStart = m_exchange.m_nDayStart;
  m_engine.m_dOrdersPerSecond = chance(m_random, 50) ? 0.02 : 50;
  m_engine.m_nPublishMsec = 1000;
  const int latencies[] = {200, 5000, 60000, 300000};
  m_engine.m_nReplyMsec = latencies[below(m_random, 4)];
  m_engine.m_strUser = "u1";
  m_engine.m_strLogin = "L1";
  const int baskets = 1 + below(m_random, 3);
  for (int i = 0; i < baskets; ++i) planBasket();
}

void SDayPlan::planBasket() {
  engine::SBasketOrder& basket = m_baskets.emplace_back();
  basket.m_strName = "b" + std::to_string(m_baskets.size());
  basket.m_accounts = m_accounts;
  if (chance(m_random, 40)) basket.m_algo = makeAlgo(m_random);
  for (const exchange::SInstrument& instrument : m_instruments) {
    if (chance(m_random, 40)) continue;
    engine::SOrderLine& line = basket.m_lines.emplace_back();
    line.m_stock = {instrument.m_strMarket, instrument.m_strCode, instrument.m_strName};
    line.m_nOperation = chance(m_random, 60) ? EOT_Buy : EOT_Sell;
    const exchange::SRules rules = exchange::rulesOf(instrument);
    const int step = line.m_nOperation == EOT_Buy ? rules.m_nBuyStep : 1;
    line.m_nMinimum = rules.m_nBuyMinimum;
    line.m_nQuantity = rules.m_nBuyMinimum + step * below(m_random, 20000 / step);
    line.m_dReference = instrument.m_dPrevClose;
  }
  if (basket.m_lines.empty()) m_baskets.pop_back();
}

CSafetyMarket::CSafetyMarket(SDayPlan& plan, desk::IDeskObserver& observer)
    : m_observer(observer),
      m_services(m_desk, desk::CHostServices::EClock::Manual),
      m_driver(plan.m_random,
               [this](app::CEngineDriver::Operation operation) { m_operations.push_back(std::move(operation)); }) {
  m_services.install();
  fillDesk(plan);
  m_pSimulation = std::make_unique<engine::CSimulation>(m_desk, plan.m_instruments, plan.m_exchange, plan.m_engine,
                                                        exchange::DAY_OPENS);
  m_desk.requests().setDriver(&m_driver);
  m_desk.addObserver(&m_observer);
  m_pPanel = std::make_unique<TC::CBasketTasksPanel>(1, nullptr);
  m_pPanel->setTradeType(EMTT_Stock);
  settle();
  for (const engine::SBasketOrder& basket : plan.m_baskets) m_pSimulation->engine().startBasket(basket);
}

CSafetyMarket::~CSafetyMarket() {
  m_pPanel.reset();
  m_desk.removeObserver(&m_observer);
  m_desk.requests().setDriver(nullptr);
}

void CSafetyMarket::fillDesk(const SDayPlan& plan) {
  desk::SSession session;
  session.m_strUser = plan.m_engine.m_strUser;
  session.m_strLogin = plan.m_engine.m_strLogin;
  session.m_nTraderType = EMTT_Stock;
  session.m_nNow = plan.m_engine.m_nDayStart;
  session.m_settings.m_bRawQuantity = true;
  m_desk.setSession(session);
  for (const auto& account : plan.m_accounts) {
    desk::SAccount entry;
    entry.m_pInfo = account;
    m_desk.addAccount(entry);
  }
  for (const exchange::SInstrument& instrument : plan.m_instruments) {
    const exchange::SRules rules = exchange::rulesOf(instrument);
    TC::CCodeInfo info;
    info.m_strMarket = instrument.m_strMarket;
    info.m_strCode = instrument.m_strCode;
    info.m_strName = instrument.m_strName;
    info.m_nTradeMinUnit = rules.m_nBuyMinimum;
    info.m_nUiMinUnit = rules.m_nBuyStep;
    info.m_nTradeUnit = 100;
    m_desk.setInstrument(info);
  }
}

void CSafetyMarket::advanceTo(std::int64_t msec) {
  while (!m_operations.empty()) {
    const app::CEngineDriver::Operation operation = std::move(m_operations.front());
    m_operations.pop_front();
    operation(*m_pSimulation);
  }
  m_pSimulation->advanceTo(msec);
}

bool CSafetyMarket::startRefresh() { return m_services.manualClock()->firePendingTimer(); }

void CSafetyMarket::settle() {
  do {
    while (!m_desk.gate().waitIdle(10)) {
    }
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
  } while (!m_desk.gate().isIdle());
}

}  // namespace test
