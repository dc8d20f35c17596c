/// Money and positions with which the accounts of a session start.
#pragma once

#include "CSimulation.h"
#include "Inputs.h"
#include "Options.h"

namespace app {

/// Opens each account: with the options' cash and positions; where they name none, with at least CNY 100,000,000 and
/// twice what the baskets buy, and with twice what they sell. Before the simulation runs.
void openAccounts(const SOptions& options, const SInputs& inputs, engine::CSimulation& simulation);

}  // namespace app
