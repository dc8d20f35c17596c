/// What is left of the lines of a basket. Engine's thread.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "CSubTask.h"

namespace engine {

/// A line as it is counted: account key, instrument key (a Hong Kong instrument is one, whichever connect market its
/// lines name), operation.
using LineKey = std::tuple<std::string, std::string, int>;
LineKey lineKeyOf(const std::string& accountKey, const ksservice::CStockInfo& stock, int operation);
/// The line in words for the user.
std::string lineText(const LineKey& line);

/// Shares or lots by line.
using LineVolumes = std::map<LineKey, long long>;

/// What each line of a basket may still be ordered: its target less all that it and its patches have traded, have in
/// the market, or may still send. A line that the basket does not have is missing, or below 0.
LineVolumes remaindersOf(int basketId, const std::vector<std::unique_ptr<CSubTask>>& subTasks);

}  // namespace engine
