/// What accounts have used of their limits of orders and cancels, in words for the status bar. Any thread.
#pragma once

#include <QString>
#include <vector>

#include "COrderRates.h"

namespace app {

struct SAccountUse {
  QString m_strDisplayId;
  engine::SOrderUse m_use;
};

/// Adds what was taken later to what nobody has looked at yet: the busiest second, and the newest of the day. Accounts
/// are added at the end.
void addUse(std::vector<engine::SOrderUse>& since, std::vector<engine::SOrderUse> taken);

/// Of the account that has sent most today, the first of several; empty without accounts.
QString orderUseText(const std::vector<SAccountUse>& accounts, const engine::SOrderLimits& limits);
/// Of every account, rich text: side by side as far as they do not fit below each other.
QString orderUseTip(const std::vector<SAccountUse>& accounts, const engine::SOrderLimits& limits);

}  // namespace app
