/// The trading day's clock, for shares and index futures alike. Times are milliseconds since 00:00 at the exchange.
#pragma once

#include <cstdint>

namespace exchange {

enum class EPhase {
  BeforeOpen,  ///< until 09:25: orders are refused
  Waiting,     ///< 09:25 to 09:30: orders are taken and wait
  Morning,     ///< 09:30 to 11:30
  Lunch,       ///< 11:30 to 13:00: orders are taken and wait
  Afternoon,   ///< 13:00 to 15:00
  Closed       ///< from 15:00: orders are refused
};

constexpr std::int64_t clockTime(int hours, int minutes) { return (hours * 60 + minutes) * std::int64_t{60000}; }

inline constexpr std::int64_t DAY_OPENS = clockTime(9, 25);
inline constexpr std::int64_t MORNING_BEGINS = clockTime(9, 30);
inline constexpr std::int64_t MORNING_ENDS = clockTime(11, 30);
inline constexpr std::int64_t AFTERNOON_BEGINS = clockTime(13, 0);
inline constexpr std::int64_t DAY_CLOSES = clockTime(15, 0);
/// Length of both sessions together.
inline constexpr std::int64_t TRADING_TIME = MORNING_ENDS - MORNING_BEGINS + DAY_CLOSES - AFTERNOON_BEGINS;

constexpr EPhase phaseAt(std::int64_t msec) {
  if (msec < DAY_OPENS) return EPhase::BeforeOpen;
  if (msec < MORNING_BEGINS) return EPhase::Waiting;
  if (msec < MORNING_ENDS) return EPhase::Morning;
  if (msec < AFTERNOON_BEGINS) return EPhase::Lunch;
  return msec < DAY_CLOSES ? EPhase::Afternoon : EPhase::Closed;
}

constexpr bool isMatchingPhase(EPhase phase) { return phase == EPhase::Morning || phase == EPhase::Afternoon; }
constexpr bool acceptsOrders(EPhase phase) { return phase != EPhase::BeforeOpen && phase != EPhase::Closed; }

/// Milliseconds of continuous trading up to a time: the clock that stands still outside the sessions.
constexpr std::int64_t tradingTime(std::int64_t msec) {
  if (msec < MORNING_BEGINS) return 0;
  if (msec < MORNING_ENDS) return msec - MORNING_BEGINS;
  if (msec < AFTERNOON_BEGINS) return MORNING_ENDS - MORNING_BEGINS;
  return (msec < DAY_CLOSES ? msec : DAY_CLOSES) - AFTERNOON_BEGINS + MORNING_ENDS - MORNING_BEGINS;
}

/// The time at which tradingTime() shows this; a session's end is the next one's beginning.
constexpr std::int64_t clockOfTradingTime(std::int64_t trading) {
  constexpr std::int64_t morning = MORNING_ENDS - MORNING_BEGINS;
  return trading < morning ? MORNING_BEGINS + trading : AFTERNOON_BEGINS + trading - morning;
}

}  // namespace exchange
