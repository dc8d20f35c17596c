#pragma once

#include <set>
#include <string>
#include <vector>

#include "Acts.h"
#include "CSimulation.h"
#include "IActKeeper.h"

namespace app {

/// Lets acts enter a simulation, each only once it was kept. Engine's thread.
class CActTaker {
 public:
  /// Both must outlive this object.
  CActTaker(engine::CSimulation& simulation, desk::CDesk& desk) : m_simulation(simulation), m_desk(desk) {}

  /// Has acts kept before they are carried out; null: they are carried out at once. It must outlive this object.
  void setKeeper(IActKeeper* keeper) { m_pKeeper = keeper; }
  /// Between two steps. One that cannot be kept is refused. actsLine: the line of the file of timed acts that they come
  /// from, 0: none.
  void take(const std::vector<engine::Act>& acts, int actsLine);

 private:
  void carryOut(const engine::Act& act, int actsLine, const std::string& fault);
  void takeSingly(const std::vector<engine::Act>& acts, int actsLine);
  bool startsWithout(const engine::Act& act) const;

  engine::CSimulation& m_simulation;
  desk::CDesk& m_desk;
  IActKeeper* m_pKeeper = nullptr;
  std::set<int> m_unkeptHedges;  ///< groups whose newest parameters could not be kept
};

}  // namespace app
