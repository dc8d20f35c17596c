/// The trading day's clock: what each kind of instrument goes through, and what may be done meanwhile. Times are
/// milliseconds since 00:00 at the exchange.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "Instrument.h"

namespace exchange {

enum class EPhase {
  BeforeOpen,
  OpeningAuction,   ///< orders are collected for one price
  OpeningNoCancel,  ///< the same, and none can be taken back
  Waiting,          ///< orders are kept until the continuous session
  Morning,
  Lunch,  ///< orders are kept
  Afternoon,
  ClosingAuction,  ///< orders, those that rest included, are collected for one price; none can be taken back
  Closed
};

constexpr std::int64_t clockTime(int hours, int minutes) { return (hours * 60 + minutes) * std::int64_t{60000}; }

/// The opening auction of shares is over.
inline constexpr std::int64_t DAY_OPENS = clockTime(9, 25);
inline constexpr std::int64_t MORNING_BEGINS = clockTime(9, 30);
inline constexpr std::int64_t MORNING_ENDS = clockTime(11, 30);
inline constexpr std::int64_t AFTERNOON_BEGINS = clockTime(13, 0);
inline constexpr std::int64_t CLOSING_BEGINS = clockTime(14, 57);
inline constexpr std::int64_t DAY_CLOSES = clockTime(15, 0);
/// Length of both sessions together.
inline constexpr std::int64_t TRADING_TIME = MORNING_ENDS - MORNING_BEGINS + DAY_CLOSES - AFTERNOON_BEGINS;

struct SPhaseBegin {
  std::int64_t m_nTime;
  EPhase m_phase;
};

inline constexpr std::array SHARE_DAY{SPhaseBegin{0, EPhase::BeforeOpen},
                                      SPhaseBegin{clockTime(9, 15), EPhase::OpeningAuction},
                                      SPhaseBegin{clockTime(9, 20), EPhase::OpeningNoCancel},
                                      SPhaseBegin{DAY_OPENS, EPhase::Waiting},
                                      SPhaseBegin{MORNING_BEGINS, EPhase::Morning},
                                      SPhaseBegin{MORNING_ENDS, EPhase::Lunch},
                                      SPhaseBegin{AFTERNOON_BEGINS, EPhase::Afternoon},
                                      SPhaseBegin{CLOSING_BEGINS, EPhase::ClosingAuction},
                                      SPhaseBegin{DAY_CLOSES, EPhase::Closed}};

inline constexpr std::array FUTURE_DAY{SPhaseBegin{0, EPhase::BeforeOpen},
                                       SPhaseBegin{clockTime(9, 25), EPhase::OpeningAuction},
                                       SPhaseBegin{clockTime(9, 29), EPhase::OpeningNoCancel},
                                       SPhaseBegin{MORNING_BEGINS, EPhase::Morning},
                                       SPhaseBegin{MORNING_ENDS, EPhase::Lunch},
                                       SPhaseBegin{AFTERNOON_BEGINS, EPhase::Afternoon},
                                       SPhaseBegin{DAY_CLOSES, EPhase::Closed}};

/// The phases of a day in their order; each lasts until the next one begins.
constexpr std::span<const SPhaseBegin> dayOf(EKind kind) {
  if (kind == EKind::IndexFuture) return FUTURE_DAY;
  return SHARE_DAY;
}

constexpr EPhase phaseAt(EKind kind, std::int64_t msec) {
  EPhase phase = EPhase::BeforeOpen;
  for (const SPhaseBegin& begin : dayOf(kind)) {
    if (begin.m_nTime > msec) break;
    phase = begin.m_phase;
  }
  return phase;
}

constexpr bool isMatchingPhase(EPhase phase) { return phase == EPhase::Morning || phase == EPhase::Afternoon; }
constexpr bool isOpeningAuction(EPhase phase) {
  return phase == EPhase::OpeningAuction || phase == EPhase::OpeningNoCancel;
}
constexpr bool isAuction(EPhase phase) { return isOpeningAuction(phase) || phase == EPhase::ClosingAuction; }
constexpr bool acceptsOrders(EPhase phase) { return phase != EPhase::BeforeOpen && phase != EPhase::Closed; }
constexpr bool acceptsCancels(EPhase phase) {
  return phase != EPhase::OpeningNoCancel && phase != EPhase::ClosingAuction;
}

enum class EAuction { Opening, Closing };

/// From when until when; both 0 where a kind has no such time.
struct SSpan {
  std::int64_t m_nBegin = 0;
  std::int64_t m_nEnd = 0;
};

constexpr SSpan findAuction(EKind kind, EAuction auction) {
  SSpan span;
  bool inside = false;
  for (const SPhaseBegin& begin : dayOf(kind)) {
    const bool opening = isOpeningAuction(begin.m_phase);
    const bool is = auction == EAuction::Opening ? opening : isAuction(begin.m_phase) && !opening;
    if (is && !inside) span.m_nBegin = begin.m_nTime;
    if (!is && inside) span.m_nEnd = begin.m_nTime;
    inside = is;
  }
  return span;
}

constexpr SSpan auctionOf(EKind kind, EAuction auction) {
  constexpr auto auctionsOf = [](EKind of) {
    return std::array{findAuction(of, EAuction::Opening), findAuction(of, EAuction::Closing)};
  };
  constexpr std::array spans{auctionsOf(EKind::Share), auctionsOf(EKind::IndexFuture)};
  return spans[static_cast<std::size_t>(kind)][static_cast<std::size_t>(auction)];
}

/// When the first phase of a kind begins that comes after a time; INT64_MAX when none does.
constexpr std::int64_t nextPhaseBegin(EKind kind, std::int64_t msec) {
  for (const SPhaseBegin& begin : dayOf(kind)) {
    if (begin.m_nTime > msec) return begin.m_nTime;
  }
  return INT64_MAX;
}

/// Milliseconds of the sessions up to a time, the closing auction included: the clock that stands still outside them.
constexpr std::int64_t tradingTime(std::int64_t msec) {
  if (msec < MORNING_BEGINS) return 0;
  if (msec < MORNING_ENDS) return msec - MORNING_BEGINS;
  if (msec < AFTERNOON_BEGINS) return MORNING_ENDS - MORNING_BEGINS;
  return std::min(msec, DAY_CLOSES) - AFTERNOON_BEGINS + MORNING_ENDS - MORNING_BEGINS;
}

/// The trading time at which continuous trading is over for the day.
constexpr std::int64_t continuousEnd(EKind kind) {
  constexpr std::array ends{tradingTime(nextPhaseBegin(EKind::Share, AFTERNOON_BEGINS)),
                            tradingTime(nextPhaseBegin(EKind::IndexFuture, AFTERNOON_BEGINS))};
  return ends[static_cast<std::size_t>(kind)];
}

/// The time at which tradingTime() shows this; a session's end is the next one's beginning.
constexpr std::int64_t clockOfTradingTime(std::int64_t trading) {
  constexpr std::int64_t morning = MORNING_ENDS - MORNING_BEGINS;
  return trading < morning ? MORNING_BEGINS + trading : AFTERNOON_BEGINS + trading - morning;
}

}  // namespace exchange
