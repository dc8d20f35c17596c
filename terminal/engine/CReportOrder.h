#pragma once

#include <cstdint>
#include <map>

#include "IMarket.h"

namespace engine {

/// Takes each report of a market once and in the order of their numbers, whatever the line to it doubles or reorders:
/// a fill that counts twice is shares that nobody has. Engine's thread.
class CReportOrder {
 public:
  /// Calls take with the report when it is its turn, and then with those that have waited for it; not at all with one
  /// that was taken before. A report without a number is taken as it comes.
  template <typename Take>
  void add(const exchange::SReport& report, const Take& take) {
    if (report.m_nNumber == 0) return take(report);
    if (report.m_nNumber > m_nNext) m_ahead.emplace(report.m_nNumber, report);
    if (report.m_nNumber != m_nNext) return;
    ++m_nNext;
    take(report);
    for (auto next = m_ahead.begin(); next != m_ahead.end() && next->first == m_nNext; next = m_ahead.erase(next)) {
      ++m_nNext;
      take(next->second);
    }
  }

  /// The number of the first report that has not come.
  std::uint64_t next() const { return m_nNext; }

 private:
  std::uint64_t m_nNext = 1;
  std::map<std::uint64_t, exchange::SReport> m_ahead;
};

}  // namespace engine
