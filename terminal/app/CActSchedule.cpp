#include "CActSchedule.h"

#include <algorithm>
#include <set>
#include <utility>

#include "ksservice/Operations.h"

namespace app {
namespace {

using namespace ksservice;
using Details = std::vector<CTaskDetailPtr>;

/// Of a basket and its patches.
Details detailsOf(int task, const desk::CDesk& desk) {
  Details details = desk.taskDetails();
  std::erase_if(details, [task](const CTaskDetailPtr& detail) {
    const COrderCommand* command = detail->m_pCommand.get();
    return !command || command->m_nBasketType != ECBT_Basket || command->m_nTaskId != task;
  });
  return details;
}

bool isOpenFor(const CTaskDetail& detail, int operation) {
  if (operation == ETO_Resume) return detail.m_nStatus == ETS_Paused;
  return detail.m_nStatus == ETS_Running || (operation == ETO_Cancel && detail.m_nStatus == ETS_Paused);
}

std::vector<engine::Act> operate(const Details& details, int operation) {
  std::vector<engine::Act> acts;
  for (const CTaskDetailPtr& detail : details) {
    if (!isOpenFor(*detail, operation) || detail->m_params.empty()) continue;
    if (detail->m_bServerTask) {
      acts.emplace_back(engine::SOperateServerTask{detail->getKey(), operation});
    } else {
      acts.emplace_back(
          engine::SOperateTask{detail->m_nTaskId, detail->m_params.front().m_pAccount->getKey(), operation});
    }
  }
  return acts;
}

/// What may be ordered of a volume: buys in whole steps.
int orderable(long long volume, const CCodeOrderParam& line, const exchange::SRules& rules) {
  if (!DataHelper::isBuy(line.m_nOperation)) return static_cast<int>(volume);
  if (volume < rules.m_nBuyMinimum) return 0;
  return static_cast<int>(volume - volume % rules.m_nBuyStep);
}

/// A line of the basket as it is ordered once more, at the opposite best price; a volume of 0: nothing can be.
CCodeOrderParam again(const CCodeOrderParam& line, long long rest, exchange::CExchange& market) {
  CCodeOrderParam param = line;
  param.m_nVolume = 0;
  const int instrument = market.findInstrument(line.m_stock.m_strMarket, line.m_stock.m_strCode);
  if (instrument < 0) return param;
  const exchange::SQuote quote = market.quote(instrument);
  param.m_nOrderType = EORT_Plain;
  param.m_nPriceType = EPT_Counterpart;
  param.m_dPrice = DataHelper::isBuy(line.m_nOperation) ? quote.m_dAsk : quote.m_dBid;
  if (param.m_dPrice <= 0) param.m_dPrice = quote.m_dLast;
  param.m_nVolume = orderable(rest, line, market.rules(instrument));
  param.m_nHandled = 0;
  return param;
}

/// All that is left of a basket, by plain orders.
std::vector<engine::Act> patch(int task, const Details& details, const desk::CDesk& desk,
                               engine::CSimulation& simulation) {
  engine::SCreateTask act;
  engine::LineVolumes left = simulation.engine().remainders(task);
  for (const CTaskDetailPtr& detail : details) {
    if (detail->m_pCommand->m_bPatch) continue;
    if (act.m_request.m_params.empty()) act.m_request.m_command = *detail->m_pCommand;
    for (const CCodeOrderParam& line : detail->m_params) {
      // Lines that are one to the engine have one remainder.
      const auto rest = left.extract(engine::lineKeyOf(line.m_pAccount->getKey(), line.m_stock, line.m_nOperation));
      if (rest.empty() || rest.mapped() <= 0) continue;
      CCodeOrderParam param = again(line, rest.mapped(), simulation.market());
      if (param.m_nVolume > 0) act.m_request.m_params.push_back(std::move(param));
    }
  }
  if (act.m_request.m_params.empty()) return {};
  COrderCommand& command = act.m_request.m_command;
  command.m_bPatch = true;
  command.m_nOrderType = EORT_Plain;
  command.m_strAlgoParams.clear();
  act.m_request.m_nTraderType = desk.session().m_nTraderType;
  act.m_request.m_nTaskId = task;
  return {std::move(act)};
}

/// A hedge that nobody has given its parameters gets those that the basket was started with.
std::vector<engine::Act> hedge(const SWish& wish, const Details& details, const desk::CDesk& desk) {
  std::vector<engine::Act> acts;
  CBasketHedgeParam param;
  const int command = details.empty() ? 0 : details.front()->m_pCommand->m_nCommandId;
  if (wish.m_eHedge == engine::EHedgeAct::Start && !desk.givenHedgeParam(wish.m_nTask, param) &&
      desk.hedgeParam(desk::EHedgeSource::Stored, command, param)) {
    acts.emplace_back(engine::SSetHedge{wish.m_nTask, command, param});
  }
  if (!details.empty()) acts.emplace_back(engine::SSteerHedge{wish.m_nTask, wish.m_eHedge});
  return acts;
}

}  // namespace

std::vector<engine::Act> actsOf(const SWish& wish, const desk::CDesk& desk, engine::CSimulation& simulation) {
  const Details details = detailsOf(wish.m_nTask, desk);
  switch (wish.m_eDo) {
    case SWish::EDo::Cancel:
      return operate(details, ETO_Cancel);
    case SWish::EDo::Pause:
      return operate(details, ETO_Pause);
    case SWish::EDo::Resume:
      return operate(details, ETO_Resume);
    case SWish::EDo::Patch:
      return patch(wish.m_nTask, details, desk, simulation);
    case SWish::EDo::Hedge:
      return hedge(wish, details, desk);
  }
  return {};
}

CActSchedule::CActSchedule(std::vector<STimedAct> acts, const desk::CDesk& desk,
                           std::function<void(const std::string&)> tell)
    : m_acts(std::move(acts)), m_desk(desk), m_tell(std::move(tell)) {}

void CActSchedule::passOver(const daylog::IDayLog& log, const engine::CSimulation& simulation) {
  std::set<int> taken;
  for (const daylog::SEntry& entry : log.entries()) taken.insert(actsLineOf(entry.m_strBody));
  std::erase_if(m_acts, [&](const STimedAct& act) {
    return taken.contains(act.m_nLine) || simulation.stepFrom(act.m_nMsec) < simulation.now();
  });
}

std::int64_t CActSchedule::nextStep(const engine::CSimulation& simulation) const {
  if (m_nNext == m_acts.size()) return -1;
  return std::max(simulation.stepFrom(m_acts[m_nNext].m_nMsec), simulation.now());
}

CActSchedule::SDue CActSchedule::take(engine::CSimulation& simulation) {
  const STimedAct& act = m_acts[m_nNext++];
  SDue due{act.m_nLine, {}};
  if (const auto* wish = std::get_if<SWish>(&act.m_what)) {
    due.m_acts = actsOf(*wish, m_desk, simulation);
    if (due.m_acts.empty()) m_tell("--acts 第 " + std::to_string(act.m_nLine) + " 行：没有可执行的内容");
  } else {
    std::string fault;
    if (auto read = toAct(std::get<SActText>(act.m_what), m_desk, fault)) due.m_acts.push_back(std::move(*read));
    if (!fault.empty()) m_tell("--acts 第 " + std::to_string(act.m_nLine) + " 行：" + fault);
  }
  return due;
}

}  // namespace app
