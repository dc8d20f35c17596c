#include "LineVolumes.h"

#include <algorithm>
#include <iterator>

#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace engine {

using namespace ksservice;

LineKey lineKeyOf(const std::string& accountKey, const CStockInfo& stock, int operation) {
  const bool connect =
      std::find(std::begin(CONNECT_MARKETS), std::end(CONNECT_MARKETS), stock.m_strMarket) != std::end(CONNECT_MARKETS);
  return {accountKey, utils::mavStockKey(connect ? HONG_KONG : stock.m_strMarket, stock.m_strCode), operation};
}

std::string lineText(const LineKey& line) {
  const auto& [account, instrument, operation] = line;
  return account + " " + instrument + operationValueToString(operation);
}

LineVolumes remaindersOf(int basketId, const std::vector<std::unique_ptr<CSubTask>>& subTasks) {
  LineVolumes left;
  for (const auto& task : subTasks) {
    if (task->basketId() != basketId) continue;
    for (std::size_t i = 0; i < task->lines().size(); ++i) {
      const SOrderLine& line = task->lines()[i];
      const int target = task->isPatch() ? 0 : line.m_nQuantity;
      left[lineKeyOf(task->accountKey(), line.m_stock, line.m_nOperation)] += target - task->claimed(i);
    }
  }
  return left;
}

}  // namespace engine
