#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

#include "Instrument.h"

namespace exchange {
namespace {

using std::chrono::days;
using std::chrono::months;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::year_month;
using std::chrono::year_month_day;

constexpr seconds EXCHANGE_OFFSET = std::chrono::hours(8);

struct SFutureKind {
  std::string_view m_code;
  const char* m_pName;
  double m_dReference;  ///< index points
  double m_dVolume;     ///< lots of a usual day, nearest month
  int m_nMultiplier;
};

constexpr std::array<SFutureKind, 4> FUTURE_KINDS{{{"IF", "沪深300期指", 4000, 60000, 300},
                                                   {"IH", "上证50期指", 2700, 35000, 300},
                                                   {"IC", "中证500期指", 6000, 50000, 200},
                                                   {"IM", "中证1000期指", 6300, 90000, 200}}};

year_month_day toCalendar(const SDate& date) {
  return {std::chrono::year(date.m_nYear), std::chrono::month(date.m_nMonth), std::chrono::day(date.m_nDay)};
}

bool isQuarterMonth(const year_month& month) { return static_cast<unsigned>(month.month()) % 3 == 0; }

std::array<year_month, 4> listedMonths(const year_month_day& date) {
  const year_month_day expiry{date.year() / date.month() / std::chrono::Friday[3]};
  year_month month = date.year() / date.month();
  if (date > expiry) month += months(1);
  std::array<year_month, 4> listed{month, month + months(1), {}, {}};
  month = listed[1];
  for (std::size_t i = 2; i < listed.size(); ++i) {
    do {
      month += months(1);
    } while (!isQuarterMonth(month));
    listed[i] = month;
  }
  return listed;
}

std::string monthCode(const year_month& month) {
  const int number =
      static_cast<int>(month.year()) % 100 * 100 + static_cast<int>(static_cast<unsigned>(month.month()));
  std::string text = std::to_string(number);
  return std::string(4 - std::min<std::size_t>(4, text.size()), '0') + text;
}

SInstrument makeFuture(const SFutureKind& kind, const SInstrument* reference, const year_month& month, int rank) {
  constexpr double tick = 0.2;
  constexpr double discount = 0.003;                         // from one listed month to the next
  constexpr std::array<double, 4> share{1, 0.25, 0.4, 0.1};  // of the nearest month's volume
  const double price = reference ? reference->m_dPrevClose : kind.m_dReference;
  const double volume = reference ? reference->m_dVolume : kind.m_dVolume;
  SInstrument future;
  future.m_strMarket = FUTURES_MARKET;
  future.m_strCode = std::string(kind.m_code) + monthCode(month);
  future.m_strName = kind.m_pName + monthCode(month);
  future.m_dPrevClose = std::round(price * (1 - discount * rank) / tick) / 5;
  future.m_dVolume = std::round(volume * share[static_cast<std::size_t>(rank)]);
  future.m_kind = EKind::IndexFuture;
  future.m_nMultiplier = kind.m_nMultiplier;
  return future;
}

}  // namespace

int futureMultiplier(std::string_view code) {
  const auto kind = std::find_if(FUTURE_KINDS.begin(), FUTURE_KINDS.end(),
                                 [code](const SFutureKind& known) { return code.substr(0, 2) == known.m_code; });
  return kind == FUTURE_KINDS.end() ? 0 : kind->m_nMultiplier;
}

SDate dateOf(std::int64_t dayStart) {
  const auto local = std::chrono::sys_seconds(seconds(dayStart)) + EXCHANGE_OFFSET;
  const year_month_day date(std::chrono::floor<days>(local));
  return {static_cast<int>(date.year()), static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day())};
}

std::int64_t dayStartOf(const SDate& date) {
  return (std::chrono::sys_seconds(sys_days(toCalendar(date))) - EXCHANGE_OFFSET).time_since_epoch().count();
}

std::vector<SInstrument> listedIndexFutures(const SDate& date, const std::vector<SInstrument>& given) {
  std::vector<SInstrument> futures;
  const auto listed = listedMonths(toCalendar(date));
  for (const SFutureKind& kind : FUTURE_KINDS) {
    const auto entry = std::find_if(given.begin(), given.end(), [&kind](const SInstrument& instrument) {
      return instrument.m_strMarket == FUTURES_MARKET && instrument.m_strCode == kind.m_code;
    });
    const SInstrument* reference = entry == given.end() ? nullptr : &*entry;
    for (std::size_t i = 0; i < listed.size(); ++i) {
      futures.push_back(makeFuture(kind, reference, listed[i], static_cast<int>(i)));
    }
  }
  return futures;
}

}  // namespace exchange
