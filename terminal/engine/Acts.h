/// What enters the engine from outside: what the panel asks of the server and of the hedge manager, and what the user
/// of the terminal does. Together with what a day starts with these decide everything that happens in it.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "CEngine.h"
#include "IDeskDriver.h"

namespace engine {

class CSimulation;

struct SStartBasket {
  SBasketOrder m_basket;
};
struct SCreateTask {
  desk::SCreateRequest m_request;
  std::string m_strProof{};  ///< on which figures the user confirmed it, a JSON object; the engine does not read it
};
struct SOperateServerTask {
  std::string m_strTaskKey;
  int m_nOperation = 0;
};
struct SQueryProcess {
  std::vector<std::string> m_taskKeys;
};
/// On a task of the terminal, of one account.
struct SOperateTask {
  int m_nTaskId = 0;
  std::string m_strAccount;
  int m_nOperation = 0;
};
struct SCancelOrders {
  std::string m_strDetailKey;
  std::vector<std::string> m_orderKeys;
};
struct SSetHedge {
  int m_nGroupId = 0;
  int m_nCommandId = 0;
  ksservice::CBasketHedgeParam m_param;
};
enum class EHedgeAct { Start, Pause, Stop };
struct SSteerHedge {
  int m_nGroupId = 0;
  EHedgeAct m_eAct = EHedgeAct::Start;
};

using Act = std::variant<SStartBasket, SCreateTask, SOperateServerTask, SQueryProcess, SOperateTask, SCancelOrders,
                         SSetHedge, SSteerHedge>;

/// Between two steps of the clock, on the thread that steps it.
void carryOut(const Act& act, CSimulation& simulation);

/// Whether it only cancels, stops or pauses. No order of the act's own follows from it; but that a task of which fewer
/// shares are wanted may have its hedge trade, towards what was filled, makes it no less safe: the hedge would do so
/// without the act as well, and a hedge that is left as it is follows no longer what it hedges.
bool onlyEnds(const Act& act);

/// The desk knows what an act that the panel did not ask for itself means to its hedge: it is not to be started again.
/// met: the panel has met the task by then, or meets it by what is stored of it.
void noteHedge(const Act& act, desk::CDesk& desk, bool met = true);

/// Instead of it: whoever waits for an answer gets the text, and the log tells it. What only looks is carried out.
void refuse(const Act& act, const std::string& why, CSimulation& simulation);

}  // namespace engine
