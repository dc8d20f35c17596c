#include <boost/make_shared.hpp>

#include "CEngineDriver.h"
#include "SafetyServer.h"

namespace test {
namespace {

using namespace ksservice;

class CSafetyEngine : public ISafetyServer, private desk::IDeskObserver {
 public:
  CSafetyEngine(const SDayPlan& plan, Tell tell)
      : m_tell(std::move(tell)),
        m_driver([this](const app::CEngineDriver::Operation& operation) { operation(m_simulation); }),
        m_simulation(m_desk, plan.m_listed, plan.m_exchange, plan.m_engine, exchange::DAY_OPENS) {
    for (const auto& account : plan.m_accounts) {
      desk::SAccount entry;
      entry.m_pInfo = account;
      m_desk.addAccount(entry);
    }
    for (const TC::CCodeInfo& info : plan.m_instruments) m_desk.setInstrument(info);
    m_desk.requests().setDriver(&m_driver);
    m_desk.addObserver(this);
  }
  ~CSafetyEngine() override { m_desk.removeObserver(this); }

  int start(const engine::SBasketOrder& basket) override {
    ++m_nBaskets;
    return m_simulation.engine().startBasket(basket);
  }
  void advanceTo(std::int64_t msec) override { m_simulation.advanceTo(msec); }
  void endDay() override { m_simulation.advanceTo(exchange::DAY_CLOSES + 1000); }
  void create(const desk::SCreateRequest& request, Created done) override {
    m_desk.requests().createTask(
        request, [done = std::move(done)](const utils::KSError& error, int task) { done(error.errorMsg(), task); });
  }
  void operate(const std::string& serverTaskKey, int operation, Operated done) override {
    const auto record = boost::make_shared<CTaskOpRecord>();
    record->m_nOperation = operation;
    const auto answer = [done = std::move(done)](const utils::KSError&, const bson::BSONObj& reply) {
      done(reply.stringField("ErrorMsg").value_or(std::string()));
    };
    m_desk.requests().operateServerTask(serverTaskKey, record, answer);
  }
  void operateLocal(int taskId, const std::string& account, int operation) override {
    m_simulation.engine().operate(taskId, account, operation);
  }
  void query(const std::vector<std::string>& serverTaskKeys, Answered done) override {
    const auto answer = [done = std::move(done)](const TC::OrderProcessMap& data, const utils::KSError& error,
                                                 const bson::BSONObj&) { done(error.errorMsg(), data); };
    m_desk.requests().queryOrderProcess(serverTaskKeys, answer);
  }
  Truth truth(const Counts& counts) const override;

 private:
  void onTask(const desk::SPublication& publication) override {
    m_tell(publication, m_desk.progress(publication.m_pDetail->getKey()));
  }

  Tell m_tell;
  desk::CDesk m_desk;
  app::CEngineDriver m_driver;
  mutable engine::CSimulation m_simulation;
  int m_nBaskets = 0;
};

// What was traded is told by the orders; the engine alone knows what may still be sent.
Truth CSafetyEngine::truth(const Counts&) const {
  Truth truth;
  for (const CTaskDetailPtr& detail : m_desk.taskDetails()) {
    const auto lineOf = [&](const CStockInfo& stock, int operation) -> SLineTruth& {
      return truth[engine::lineKeyOf(detail->m_params.front().m_pAccount->getKey(), stock, operation)];
    };
    const auto add = [](SLineTruth& line, int volume, double amount) {
      line.m_nTraded += volume;
      line.m_dAmount += amount;
    };
    for (const CCodeOrderParam& param : detail->m_params) {
      lineOf(param.m_stock, param.m_nOperation).m_nTarget += detail->m_pCommand->m_bPatch ? 0 : param.m_nVolume;
    }
    for (const COrderInfoPtr& order : detail->m_orders) {
      add(lineOf({order->m_strMarket, order->m_strCode, {}}, order->m_nOperation), order->m_nTradedVolume,
          order->m_dTradedAmount);
    }
    const auto progress = m_desk.progress(detail->getKey());
    for (const TC::CProgressOrder& order : progress ? progress->m_orders : std::vector<TC::CProgressOrder>()) {
      const CCodeOrderParam& param = detail->m_params[static_cast<std::size_t>(order.m_nParamIndex)];
      add(lineOf(param.m_stock, param.m_nOperation), order.m_detail.m_nTradedVolume, order.m_detail.m_dTradedAmount);
    }
  }
  for (int basket = 1; basket <= m_nBaskets; ++basket) {
    for (const auto& [key, left] : m_simulation.engine().remainders(basket)) {
      truth[key].m_nMayTrade = truth[key].m_nTarget - left;
    }
  }
  return truth;
}

}  // namespace

std::unique_ptr<ISafetyServer> makeSafetyEngine(const SDayPlan& plan, ISafetyServer::Tell tell) {
  return std::make_unique<CSafetyEngine>(plan, std::move(tell));
}

}  // namespace test
