#include "CActTaker.h"

#include <algorithm>

namespace app {

/// Nothing is carried out of which there is no entry: it would be gone after a crash.
void CActTaker::take(const std::vector<engine::Act>& acts, int actsLine) {
  if (acts.empty()) return;
  if (std::any_of(acts.begin(), acts.end(), [this](const engine::Act& act) { return startsWithout(act); })) {
    if (acts.size() > 1) return takeSingly(acts, actsLine);
    return carryOut(acts.front(), actsLine, "套利参数未写入");
  }
  const std::string fault = m_pKeeper ? m_pKeeper->keep(m_simulation.now(), acts, actsLine) : std::string();
  // What cancels is kept where the rest is not.
  if (!fault.empty() && acts.size() > 1) return takeSingly(acts, actsLine);
  for (const engine::Act& act : acts) carryOut(act, actsLine, fault);
}

void CActTaker::takeSingly(const std::vector<engine::Act>& acts, int actsLine) {
  for (const engine::Act& act : acts) take({act}, actsLine);
}

/// It was kept, but for a fault.
void CActTaker::carryOut(const engine::Act& act, int actsLine, const std::string& fault) {
  if (const auto* given = std::get_if<engine::SSetHedge>(&act)) {
    fault.empty() ? static_cast<void>(m_unkeptHedges.erase(given->m_nGroupId))
                  : static_cast<void>(m_unkeptHedges.insert(given->m_nGroupId));
  }
  if (!fault.empty()) return engine::refuse(act, "日志无法写入，未执行：" + fault, m_simulation);
  engine::carryOut(act, m_simulation);
  if (actsLine > 0) engine::noteHedge(act, m_desk, false);
}

/// A hedge does not start by older parameters than those that its user gave.
bool CActTaker::startsWithout(const engine::Act& act) const {
  const auto* steered = std::get_if<engine::SSteerHedge>(&act);
  return steered && steered->m_eAct == engine::EHedgeAct::Start && m_unkeptHedges.contains(steered->m_nGroupId);
}

}  // namespace app
