#include "Acts.h"

#include "CSimulation.h"
#include "EngineTexts.h"

namespace engine {
namespace {

struct SCarryOut {
  CSimulation& m_simulation;

  void operator()(const SStartBasket& act) const { m_simulation.engine().startBasket(act.m_basket); }
  void operator()(const SCreateTask& act) const { m_simulation.server().createTask(act.m_request); }
  void operator()(const SOperateServerTask& act) const {
    m_simulation.server().operateServerTask(act.m_strTaskKey, act.m_nOperation);
  }
  void operator()(const SQueryProcess& act) const { m_simulation.server().queryOrderProcess(act.m_taskKeys); }
  void operator()(const SOperateTask& act) const {
    m_simulation.engine().operate(act.m_nTaskId, act.m_strAccount, act.m_nOperation);
  }
  void operator()(const SCancelOrders& act) const {
    m_simulation.engine().cancelOrders(act.m_strDetailKey, act.m_orderKeys);
  }
  void operator()(const SSetHedge& act) const {
    m_simulation.hedger().setParam(act.m_nGroupId, act.m_nCommandId, act.m_param);
  }
  void operator()(const SSteerHedge& act) const {
    switch (act.m_eAct) {
      case EHedgeAct::Start:
        return m_simulation.hedger().start(act.m_nGroupId);
      case EHedgeAct::Pause:
        return m_simulation.hedger().pause(act.m_nGroupId);
      case EHedgeAct::Stop:
        return m_simulation.hedger().stop(act.m_nGroupId);
    }
  }
};

/// What was refused, in the words of the log; an answer where one is waited for.
struct SRefuse {
  CSimulation& m_simulation;
  const std::string& m_strWhy;

  void operator()(const SStartBasket& act) const { tell("篮子 " + act.m_basket.m_strName); }
  void operator()(const SCreateTask&) const {
    m_simulation.server().refuseCreation(m_strWhy);
    tell("补单");
  }
  void operator()(const SOperateServerTask& act) const {
    m_simulation.server().refuseOperation(m_strWhy);
    tell("任务 [" + act.m_strTaskKey + "] " + operationText(act.m_nOperation));
  }
  void operator()(const SQueryProcess& act) const { m_simulation.server().queryOrderProcess(act.m_taskKeys); }
  void operator()(const SOperateTask& act) const {
    tell("任务 [" + std::to_string(act.m_nTaskId) + "] " + operationText(act.m_nOperation));
  }
  void operator()(const SCancelOrders& act) const { tell("任务 [" + act.m_strDetailKey + "] 撤销委托"); }
  void operator()(const SSetHedge& act) const { tell("任务 [" + std::to_string(act.m_nGroupId) + "] 套利参数"); }
  void operator()(const SSteerHedge& act) const { tell("任务 [" + std::to_string(act.m_nGroupId) + "] 套利"); }

 private:
  void tell(const std::string& what) const { m_simulation.engine().tellRefusal(what + ": " + m_strWhy); }
};

}  // namespace

void refuse(const Act& act, const std::string& why, CSimulation& simulation) {
  std::visit(SRefuse{simulation, why}, act);
}

bool onlyEnds(const Act& act) {
  using namespace ksservice;
  const auto ends = [](int operation) {
    return operation == ETO_Cancel || operation == ETO_Pause || operation == ETO_Drop;
  };
  if (const auto* server = std::get_if<SOperateServerTask>(&act)) return ends(server->m_nOperation);
  if (const auto* task = std::get_if<SOperateTask>(&act)) return ends(task->m_nOperation);
  if (const auto* hedge = std::get_if<SSteerHedge>(&act)) return hedge->m_eAct != EHedgeAct::Start;
  return std::holds_alternative<SCancelOrders>(act);
}

void noteHedge(const Act& act, desk::CDesk& desk, bool met) {
  if (const auto* given = std::get_if<SSetHedge>(&act)) {
    desk.noteHedgeParam(given->m_nGroupId, given->m_nCommandId, given->m_param);
  }
  const auto* steered = std::get_if<SSteerHedge>(&act);
  if (!steered || steered->m_eAct != EHedgeAct::Start) return;
  met ? desk.noteHedgeStarted(steered->m_nGroupId) : desk.noteHedgeStartedUnmet(steered->m_nGroupId);
}

void carryOut(const Act& act, CSimulation& simulation) { std::visit(SCarryOut{simulation}, act); }

}  // namespace engine
