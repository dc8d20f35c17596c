/// What of a kept day led to an order, and what became of it. Any thread, while nobody reads on in the day.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "past/CPastDay.h"

namespace app {

/// An order and all that was told of it. The pointers stand while nobody reads on in the day.
struct SOrderTrail {
  const SPastTask* m_pSentIn = nullptr;  ///< the publication that told it first
  const SPastOrder* m_pOrder = nullptr;
  std::vector<std::pair<std::int64_t, const SPastReport*>> m_reports;  ///< with their times, milliseconds
};

/// A line of a task: of its own details and its patches' ones.
struct STrailLine {
  int m_nTaskId = 0;
  std::string m_strMarket;
  std::string m_strCode;
  std::string m_strAccount;  ///< its key
  bool m_bBuy = true;
};

/// The orders of a line up to a moment, in the order in which they were told.
std::vector<SOrderTrail> ordersOfLine(const CPastDay& day, const STrailLine& line, std::int64_t until);
/// The body of an entry; an empty object where it is none.
nlohmann::json bodyOf(const daylog::SEntry& entry);
/// The account that trades a security in a detail, and on which side; empty where no line of it does.
std::string accountIn(const SPastTask& task, const SPastOrder& order);
/// The acts on a task, its patches and its hedge up to a moment, in their order.
std::vector<const daylog::SEntry*> actsOn(const daylog::IDayLog& log, const CPastDay& day, int taskId,
                                          std::int64_t until);
/// The entry by which an order was cancelled alone; null for none.
const daylog::SEntry* cancelOf(const daylog::IDayLog& log, const std::string& orderKey, std::int64_t until);
/// The entry by which the task of a detail came to be; null where none is found.
const daylog::SEntry* causeOf(const daylog::IDayLog& log, const CPastDay& day, const ksservice::CTaskDetail& detail);
/// When a detail was told first, milliseconds since midnight; -1 for an unknown one.
std::int64_t firstTold(const CPastDay& day, const std::string& detailKey);

}  // namespace app
