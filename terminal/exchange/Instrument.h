/// What can be traded, and the rules that follow from it. Plain values; any thread.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace exchange {

enum class EKind { Share, IndexFuture };

inline constexpr std::string_view FUTURES_MARKET = "CFFEX";
constexpr EKind kindOf(std::string_view market) { return market == FUTURES_MARKET ? EKind::IndexFuture : EKind::Share; }

/// One instrument as listed on a trading day.
struct SInstrument {
  std::string m_strMarket;  ///< "SH", "SZ", "BJ" or "CFFEX"
  std::string m_strCode;
  std::string m_strName;    ///< UTF-8
  double m_dPrevClose = 0;  ///< CNY, or index points; above 0
  double m_dLast = 0;       ///< 0 when unknown
  double m_dVolume = 0;     ///< shares or lots of a usual day; 0: suspended, nothing trades
  EKind m_kind = EKind::Share;
  int m_nMultiplier = 1;         ///< CNY per point of an index future
  std::string m_strPinyin = {};  ///< initials of the name where they are given
};

/// An instrument's rules in ticks and shares (lots of a future).
struct SRules {
  int m_nTicksPerUnit = 100;      ///< of price: the smallest price step is 0.01, of index futures 0.2
  std::int64_t m_nPrevClose = 0;  ///< ticks, as all prices here
  std::int64_t m_nLimitUp = 0;
  std::int64_t m_nLimitDown = 0;
  int m_nBandPercent = 0;   ///< that a limit may lie beyond the best price in continuous trading; 0: as far as it likes
  int m_nBuyMinimum = 100;  ///< smallest quantity that may be bought
  int m_nBuyStep = 100;     ///< what is bought above it comes in multiples of this
  int m_nLargestLimit = std::numeric_limits<int>::max();   ///< that one limit order takes
  int m_nLargestMarket = std::numeric_limits<int>::max();  ///< that one order at a market price takes

  /// The price in ticks; -1 when it is no multiple of the tick or not above 0.
  std::int64_t toTicks(double price) const;
  /// A limit in whole ticks, rounded to the side of who gives it: down for a buy, up for a sell. price: above 0.
  std::int64_t toLimitTicks(double price, bool buy) const;
  double toPrice(std::int64_t ticks) const;

  /// The most of a quantity that may be ordered, in one order or more; 0: none. Whatever is held may be sold, an odd
  /// remainder too.
  int orderable(int quantity, bool buy) const;
  /// What of a quantity goes out in the first of as many orders as it takes; what is left can be ordered, too, as far
  /// as the quantity can be.
  int inOneOrder(int quantity, bool buy, bool marketPrice) const;
  /// Why a quantity cannot be ordered as it is; null when it can. Chinese, UTF-8, lives for ever, as the next two.
  const char* quantityFault(int quantity, bool buy) const;
  /// Why an order is refused for its quantity, or for its limit.
  const char* orderFault(int quantity, bool buy, bool marketPrice) const;
  const char* priceFault(double limit) const;
  /// Why a limit (ticks) is refused in continuous trading; reference: the price that it is held against, ticks.
  const char* bandFault(std::int64_t limit, bool buy, std::int64_t reference) const;
  /// Whether buys go by single shares above a minimum of more.
  bool hasMinimumAlone() const { return m_nBuyStep < m_nBuyMinimum; }
};

/// Of a share those of its board. Price limits are the previous close moved by the board's percent, rounded half up to
/// the tick, and at least one tick away from it.
SRules rulesOf(const SInstrument& instrument);

/// CNY per point of the index future that a code ("IF2612", or the kind "IF") names; 0 for none.
int futureMultiplier(std::string_view code);

/// A day, for the listing of futures.
struct SDate {
  int m_nYear;
  unsigned m_nMonth;
  unsigned m_nDay;
};

/// The date at the exchange (UTC+8) that begins at a second since the epoch.
SDate dateOf(std::int64_t dayStart);

/// 00:00 at the exchange of a date, in seconds since the epoch.
std::int64_t dayStartOf(const SDate& date);

/// IF, IH, IC and IM in the four months listed on a date: this month (until its third Friday) and the next, and the
/// two quarter months after them; codes like IF2612. A kind's reference price and volume are those of the entry of
/// given whose market is CFFEX and whose code is the kind ("IF"), else a plausible default.
std::vector<SInstrument> listedIndexFutures(const SDate& date, const std::vector<SInstrument>& given = {});

}  // namespace exchange
