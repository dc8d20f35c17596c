#pragma once

#include <bitset>
#include <memory>
#include <vector>

#include "CDraw.h"
#include "CSimulation.h"
#include "DrillFaults.h"
#include "Inputs.h"
#include "Options.h"

namespace drill {

/// What a day of a drill is made of: instruments, baskets, accounts, and which faults there are. Follows from the seed
/// and the number of the day alone.
struct SDrillPlan {
  SDrillPlan(std::uint64_t seed, int day, EPlant plant);

  bool has(EFault fault) const { return m_faults[static_cast<std::size_t>(fault)]; }
  /// Whether a fault that was drawn, or not, happens; counted where it does. Always drawn before: one kind that a day
  /// lacks does not move the others.
  bool strikes(EFault fault, bool drawn, SReportCard& card) const;
  /// The draws of a part on this day.
  CDraw draw(CDraw::EPart part) const { return {m_nSeed * 4 + static_cast<std::uint64_t>(m_nDay), part}; }
  /// A simulation that stands at the beginning of the day, with its accounts and instruments on the desk.
  std::unique_ptr<engine::CSimulation> makeSimulation(desk::CDesk& desk,
                                                      const engine::CSimulation::MakeLine& makeLine) const;
  /// The day's baskets; some run on the server, some are hedged.
  std::vector<engine::SBasketOrder> makeBaskets(const desk::CDesk& desk, engine::CSimulation& simulation) const;
  std::int64_t startMsec() const { return m_options.m_nStartMinute * std::int64_t{60000}; }
  int accountCount() const { return m_options.m_nAccounts + (m_options.hasFuturesAccount() ? 1 : 0); }

  std::uint64_t m_nSeed;
  int m_nDay;  ///< from 1
  EPlant m_ePlant;
  std::bitset<EF_Count> m_faults;
  app::SOptions m_options;
  app::SInputs m_inputs;          ///< an instrument is in one basket only
  engine::SOrderLimits m_limits;  ///< that accounts really have
  std::vector<bool> m_scheduled;  ///< by basket: it runs by an algorithm
  std::vector<bool> m_hedged;     ///< alike
  int m_nSteps = 0;
  int m_nFirstTaskId = 1;
};

}  // namespace drill
