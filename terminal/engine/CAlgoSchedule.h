#pragma once

#include <cstdint>
#include <string>

#include "tc/AlgoParams.h"

namespace engine {

/// When an algorithm wants how much of a line to have been sent. Time counts only in the sessions. A schedule that is
/// to end with continuous trading ends a little before, so that what it leaves open can be cancelled; one that is to
/// end later goes on in the closing auction. Times are milliseconds since midnight.
class CAlgoSchedule {
 public:
  /// made: when the task was made; what the parameters say of the time before is over. Without a fault at that time.
  CAlgoSchedule(const TC::SAlgoParams& params, std::int64_t made);

  /// Why no task can be made by the parameters at a time, in words for the user; empty when one can.
  static std::string fault(const TC::SAlgoParams& params, std::int64_t now);

  const TC::SAlgoParams& params() const { return m_params; }
  bool hasBegun(std::int64_t now) const { return now >= m_nBegin; }
  bool hasEnded(std::int64_t now) const { return now >= m_nEnd; }
  /// The number of the slice, from 0: what is still open of an earlier one is replaced. 0 before the begin.
  int slice(std::int64_t now) const;
  /// How much of a target may have been sent in all, not rounded to lots: never above the target, all of it in the last
  /// slice of a schedule by time. volume: what the market traded of the security since the begin.
  int planned(int target, std::int64_t now, std::int64_t volume) const;

 private:
  double shareBy(std::int64_t trading) const;

  TC::SAlgoParams m_params;
  std::int64_t m_nBegin;
  std::int64_t m_nEnd;
  std::int64_t m_nTradingBegin;  ///< as exchange::tradingTime counts
  std::int64_t m_nSliceMsec;     ///< trading time of a slice, above 0
};

/// The order type (EOrderType) of what trades by an algorithm.
int orderTypeOf(TC::EAlgorithm algorithm);

/// The part of a day's volume that is usually traded up to a moment of trading time, 0 to 1: much at the open, less
/// about noon, more again at the close.
double usualVolumeShare(std::int64_t trading);

}  // namespace engine
