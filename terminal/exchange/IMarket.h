/// How an engine reaches a market: orders out, reports in.
#pragma once

#include <cstdint>
#include <string_view>

#include "Instrument.h"
#include "Sessions.h"

namespace exchange {

struct SMarketOrder {
  std::uint64_t m_nId = 0;  ///< chosen by the client: above 0, never used before
  int m_nInstrument = -1;   ///< from findInstrument
  bool m_bBuy = true;
  bool m_bMarketPrice = false;  ///< takes what the best five prices offer; what is left is cancelled
  double m_dPrice = 0;          ///< limit, CNY or index points; ignored for a market price
  int m_nQuantity = 0;          ///< shares, or lots of a future
  /// What a market draws for the order by chance hangs on this alone, and not on what else is sent: the same order has
  /// the same luck on another course of the same day. 0: on its number.
  std::uint64_t m_nLuck = 0;
};

enum class EReport {
  Accepted,
  Rejected,       ///< the order is over; the message says why
  Filled,         ///< m_nQuantity at m_dPrice; m_nLeft is still open
  Cancelled,      ///< m_nQuantity is cancelled, the order is over; the message says why if nobody asked for it
  CancelRejected  ///< a cancel came to nothing; the order is as it was, the message says why, or what became of it
};

struct SReport {
  std::uint64_t m_nId = 0;      ///< of the order
  std::uint64_t m_nNumber = 0;  ///< of the report, from 1 without a gap; 0: the market gives none
  EReport m_kind = EReport::Accepted;
  int m_nQuantity = 0;
  int m_nLeft = 0;  ///< open after this report
  double m_dPrice = 0;
  double m_dAmount = 0;         ///< CNY, of a fill: price x quantity x multiplier
  std::int64_t m_nTime = 0;     ///< milliseconds since 00:00 at the exchange
  const char* m_pMessage = "";  ///< Chinese, UTF-8, never null, lives for ever
  bool m_bLasting = false;      ///< of a rejection: the same order would be rejected all day
};

/// What a market shows of an instrument. Prices are CNY or index points, 0 for none. In a call auction bid and ask are
/// the price at which it would end, and their sizes what would trade at it; where nothing would, its best prices.
struct SQuote {
  double m_dLast = 0;  ///< the previous close until the day's first trade
  double m_dBid = 0;
  double m_dAsk = 0;
  double m_dLimitUp = 0;
  double m_dLimitDown = 0;
  double m_dPrevClose = 0;
  std::int64_t m_nBidSize = 0;  ///< shares, or lots
  std::int64_t m_nAskSize = 0;
  std::int64_t m_nVolume = 0;  ///< shares or lots traded today
  double m_dAmount = 0;        ///< CNY traded today
};

/// Takes the reports of a market, on the thread that steps the market.
class IMarketListener {
 public:
  virtual ~IMarketListener() = default;
  /// May submit and cancel orders of the market that calls; their reports come later, not within that call.
  virtual void onReport(const SReport& report) = 0;
};

/// A market. Every operation on one thread, the one that steps the market; reports come only while it is stepped.
class IMarket {
 public:
  virtual ~IMarket() = default;
  /// One listener; null for none.
  virtual void setListener(IMarketListener* listener) = 0;
  /// The instrument's number, from 0, for all other operations; -1 for an unknown instrument.
  virtual int findInstrument(std::string_view market, std::string_view code) const = 0;
  /// Sends an order. Its first report is Accepted or Rejected.
  virtual void submit(const SMarketOrder& order) = 0;
  /// Asks for the cancelling of an order. The answer is Cancelled or CancelRejected; an order that is open then stays
  /// so until it is asked again in a phase that takes cancels.
  virtual void cancel(std::uint64_t id) = 0;
  /// The number of the newest report that the market has sent; 0: it gives none, or loses none on the way.
  virtual std::uint64_t newestReport() const { return 0; }
  /// Asks for the reports from a number on once more; they come while the market is stepped.
  virtual void repeatReports(std::uint64_t /*from*/) {}
  /// instrument: a number that findInstrument gave.
  virtual SQuote quote(int instrument) = 0;
  virtual const SRules& rules(int instrument) const = 0;
  virtual EPhase phase(EKind kind) const = 0;

  /// Whether a kind is traded continuously now.
  bool isMatching(EKind kind) const { return isMatchingPhase(phase(kind)); }
};

/// A market behind a line that takes its time. Stepped after the market itself, on the same thread.
class IMarketLine : public IMarket {
 public:
  /// Brings the line to msec since midnight: what has arrived by then is delivered.
  virtual void advanceTo(std::int64_t msec) = 0;
};

}  // namespace exchange
