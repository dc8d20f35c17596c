#pragma once

#include "SDraftState.h"

namespace preview {

/// What goes to the engine of a draft. Accounts that get nothing are left out, and lines that are not checked. Any
/// thread.
SSentBasket sentBasket(const SDraftState& state, const draft::SMarketView& market,
                       const std::vector<draft::SAccountFacts>& accounts, const draft::SDeal& deal);

}  // namespace preview
