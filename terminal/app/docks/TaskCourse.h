/// How a basket went: sums that grow with each fill, and samples of them over time.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "IMarket.h"

namespace app {

/// An instrument when its task began.
struct SArrival {
  double m_dPrice = 0;  ///< last price, or else that of the line
  double m_dMultiplier = 1;
  std::int64_t m_nVolume = 0;  ///< of the market, of the day so far
  double m_dAmount = 0;        ///< CNY, alike
};

/// What a basket trades of an instrument on one side.
struct SCourseLine {
  std::string m_strMarket;
  std::string m_strCode;
  bool m_bBuy = true;
  SArrival m_arrival;
  std::int64_t m_nTarget = 0;
  std::int64_t m_nTraded = 0;
  double m_dAmount = 0;  ///< CNY traded

  /// CNY that what was traded cost more than at a price (positive: worse than it).
  double costAgainst(double price) const;
};

/// The sums at a moment. Of floats: only pictures are painted of them.
struct SCourseSample {
  int m_nTime = 0;  ///< seconds since the epoch
  float m_fTraded = 0;
  float m_fNet = 0;   ///< bought less sold
  float m_fCost = 0;  ///< against the arrival prices
  float m_fHedgeTarget = 0;
  float m_fHedged = 0;
};

/// Amounts in CNY, lots of futures, times in seconds since the epoch.
struct STaskCourse {
  int m_nStart = 0;
  int m_nEnd = 0;  ///< 0 while a part of it runs
  std::string m_strAlgoParams;
  double m_dTarget = 0;  ///< at the arrival prices
  double m_dBought = 0;
  double m_dSold = 0;
  double m_dCost = 0;  ///< against the arrival prices
  double m_dFees = 0;
  double m_dTradedTarget = 0;  ///< what was traded, at the arrival prices
  int m_nHedgeTarget = 0;
  int m_nHedged = 0;
  std::vector<SCourseLine> m_lines;
  std::vector<SCourseSample> m_samples;   ///< in the order of time
  std::vector<exchange::SQuote> m_atEnd;  ///< of the lines, when it ended; empty while it runs, and without a market
};

/// Of an instrument on one side.
std::string lineKey(const std::string& market, const std::string& code, bool buy);

/// Keeps a course. Not thread-safe.
class CTaskCourse {
 public:
  /// More are thinned out: every second one goes, and they come half as often from then on.
  static constexpr std::size_t MAX_SAMPLES = 15000;

  /// The first call counts.
  void start(int now, const std::string& algoParams);
  void addLine(const std::string& market, const std::string& code, bool buy, const SArrival& arrival, int target);
  void addFill(const std::string& market, const std::string& code, bool buy, int quantity, double amount);
  void addFees(double fees) { m_course.m_dFees += fees; }
  void addHedged(int lots) { m_course.m_nHedged += lots; }
  void setHedgeTarget(int lots) { m_course.m_nHedgeTarget = lots; }
  /// end: of one of its details, ksservice::UNSET_INT while it runs.
  void setEnded(const std::string& detailKey, int end);
  void setQuotesAtEnd(std::vector<exchange::SQuote> quotes) { m_course.m_atEnd = std::move(quotes); }
  /// Once a second at most; between two the last one moves.
  void sample(int now);
  /// Null for an unknown one.
  const SCourseLine* line(const std::string& market, const std::string& code, bool buy) const;
  const STaskCourse& course() const { return m_course; }

 private:
  STaskCourse m_course;
  std::unordered_map<std::string, std::size_t> m_lines;  ///< by the instrument's key and the side
  std::map<std::string, int> m_ends;                     ///< by detail
  int m_nSpacing = 1;                                    ///< seconds
  int m_nLastBegun = 0;                                  ///< when the last sample was made, which has moved since
};

}  // namespace app
