#include "CAlgoSchedule.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Sessions.h"
#include "ksservice/Enumerations.h"

namespace engine {
namespace {

/// How long an order of a participation stays in the market.
constexpr std::int64_t PARTICIPATION_SLICE_MSEC = 60000;
/// In which the cancels of a schedule that ends with continuous trading still come in time: the closing auction takes
/// none.
constexpr std::int64_t CANCELLING_MSEC = 10000;
/// Percent of a day's volume in each half hour of trading.
constexpr std::array<int, 8> VOLUME_PROFILE = {20, 13, 11, 10, 10, 10, 11, 15};
constexpr std::int64_t PROFILE_STEP = exchange::TRADING_TIME / std::int64_t{VOLUME_PROFILE.size()};

std::int64_t endOf(const TC::SAlgoParams& params) {
  const std::int64_t end = params.m_nEnd * std::int64_t{1000};
  return end > exchange::CLOSING_BEGINS ? end : std::min(end, exchange::CLOSING_BEGINS - CANCELLING_MSEC);
}

}  // namespace

int orderTypeOf(TC::EAlgorithm algorithm) {
  switch (algorithm) {
    case TC::EAlgorithm::TWAP:
      return ksservice::EORT_Algo;
    case TC::EAlgorithm::VWAP:
      return ksservice::EORT_Algo2;
    case TC::EAlgorithm::POV:
      return ksservice::EORT_Algo3;
  }
  return ksservice::EORT_Plain;
}

double usualVolumeShare(std::int64_t trading) {
  double percent = 0;
  std::int64_t left = trading;
  for (const int part : VOLUME_PROFILE) {
    percent += part * static_cast<double>(std::clamp<std::int64_t>(left, 0, PROFILE_STEP)) / double(PROFILE_STEP);
    left -= PROFILE_STEP;
  }
  return percent / 100;
}

CAlgoSchedule::CAlgoSchedule(const TC::SAlgoParams& params, std::int64_t made)
    : m_params(params),
      m_nBegin(std::max<std::int64_t>(params.m_nStart * std::int64_t{1000}, made)),
      m_nEnd(endOf(params)),
      m_nTradingBegin(exchange::tradingTime(m_nBegin)) {
  const std::int64_t trading = exchange::tradingTime(m_nEnd) - m_nTradingBegin;
  const bool byTime = params.m_eAlgorithm != TC::EAlgorithm::POV;
  m_nSliceMsec = byTime ? std::max<std::int64_t>(1, trading / params.m_nSlices) : PARTICIPATION_SLICE_MSEC;
}

std::string CAlgoSchedule::fault(const TC::SAlgoParams& params, std::int64_t now) {
  const std::int64_t begin = std::max<std::int64_t>(params.m_nStart * std::int64_t{1000}, now);
  const std::int64_t end = endOf(params);
  if (end <= now) return "算法结束时间已过";
  return exchange::tradingTime(end) <= exchange::tradingTime(begin) ? "算法时段内没有交易时间" : "";
}

int CAlgoSchedule::slice(std::int64_t now) const {
  return static_cast<int>(std::max<std::int64_t>(0, exchange::tradingTime(now) - m_nTradingBegin) / m_nSliceMsec);
}

int CAlgoSchedule::planned(int target, std::int64_t now, std::int64_t volume) const {
  if (!hasBegun(now)) return 0;
  if (m_params.m_eAlgorithm == TC::EAlgorithm::POV) {
    return static_cast<int>(std::min<double>(target, std::floor(static_cast<double>(volume) * m_params.m_dRate)));
  }
  const int number = slice(now) + 1;
  if (number >= m_params.m_nSlices) return target;
  const double share = shareBy(m_nTradingBegin + number * m_nSliceMsec);
  return std::min(target, static_cast<int>(std::floor(share * target)));
}

/// The part of the target that is planned up to a moment of trading time.
double CAlgoSchedule::shareBy(std::int64_t trading) const {
  const std::int64_t end = exchange::tradingTime(m_nEnd);
  if (m_params.m_eAlgorithm == TC::EAlgorithm::TWAP) {
    return static_cast<double>(trading - m_nTradingBegin) / static_cast<double>(end - m_nTradingBegin);
  }
  const double begun = usualVolumeShare(m_nTradingBegin);
  return (usualVolumeShare(trading) - begun) / (usualVolumeShare(end) - begun);
}

}  // namespace engine
