#pragma once

#include <queue>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "CBook.h"
#include "IMarket.h"
#include "Instrument.h"

namespace exchange {

struct SExchangeSettings {
  std::uint64_t m_nSeed = 1;
  std::int64_t m_nDayStart = 0;   ///< 00:00 of the trading day at the exchange, seconds since the epoch (dayStartOf)
  int m_nLatencyMsec = 20;        ///< the least time of an order or a cancel on its way
  int m_nLatencySpreadMsec = 20;  ///< what chance adds to it, at most
  double m_dRejectRate = 0;       ///< part of the orders that is refused for no fault of theirs, 0 to 1
};

/// The simulated exchange: one book an instrument, orders and cancels with latency that each draws for itself, the
/// phases of one trading day: call auctions of one price (shares at the open and at the close, index futures at the
/// open) and continuous trading. Stepped by a virtual clock; it starts no thread and waits for nothing. The same
/// instruments, settings and calls at the same times give the same reports; in how many steps the clock is advanced
/// between the calls makes no difference. All operations on one thread.
class CExchange : public IMarket {
 public:
  /// Lists the instruments, in their order, and the index futures of the day that are not among them. Of two entries
  /// of one market and code the first counts; entries that only carry a futures kind's reference price ("IF") are not
  /// listed themselves. Previous closes must be above 0.
  CExchange(const std::vector<SInstrument>& instruments, const SExchangeSettings& settings);

  /// Brings the clock to msec since midnight of the trading day: whatever happens until then, happens now, in the order
  /// of time. A time that has passed changes nothing. Not from within a report.
  void advanceTo(std::int64_t msec);
  std::int64_t now() const { return m_nNow; }

  const std::vector<SInstrument>& instruments() const { return m_instruments; }

  void setListener(IMarketListener* listener) override { m_pListener = listener; }
  int findInstrument(std::string_view market, std::string_view code) const override;
  void submit(const SMarketOrder& order) override;
  void cancel(std::uint64_t id) override;
  SQuote quote(int instrument) override;
  const SRules& rules(int instrument) const override { return m_rules[static_cast<std::size_t>(instrument)]; }
  EPhase phase(EKind kind) const override { return phaseAt(kind, m_nNow); }

 private:
  enum class EState { Sent, Waiting, Resting, Over };
  struct SOrder {
    SMarketOrder m_order;
    EState m_state = EState::Sent;
    std::int64_t m_nLimit = 0;  ///< ticks
    int m_nLeft = 0;
    int m_nCancels = 0;          ///< how often it was asked to be cancelled
    const char* m_pBecame = "";  ///< of an order that is over, in words for the user
  };
  /// An order or a cancel on its way.
  struct SArrival {
    std::int64_t m_nTime;
    std::uint64_t m_nSent;  ///< its place among all that was sent
    std::uint64_t m_nId;
    int m_nOrder;  ///< -1: a cancel

    bool operator>(const SArrival& other) const {
      return std::tie(m_nTime, m_nSent) > std::tie(other.m_nTime, other.m_nSent);
    }
  };
  using BookEvent = std::pair<std::int64_t, int>;  ///< time, instrument

  void list(const SInstrument& instrument);
  CRandom luckOf(const SMarketOrder& order, int asked) const;
  std::int64_t arrivalOf(const SMarketOrder& order, CRandom luck);
  void changePhases();
  void changePhase(int instrument);
  void matchWaiting();
  void expireAll();
  void arrive(const SArrival& arrival);
  void arriveOrder(int number);
  void arriveCancel(std::uint64_t id);
  const char* lastingRefusal(const SMarketOrder& order) const;
  const char* passingRefusal(const SMarketOrder& order);
  const char* bandRefusal(const SMarketOrder& order);
  void reject(int number, const char* message, bool lasting);
  int end(int number, const char* became);
  void match(int number);
  void runBook();
  void wake(int instrument);
  void catchUp(int instrument);
  void scheduleBook(int instrument);
  void reportFills();
  void report(EReport kind, int number, int quantity, const char* message = "");
  SReport makeReport(EReport kind, int number, int quantity, const char* message);
  void deliver(SReport report);
  SOrder& order(int number) { return m_orders[static_cast<std::size_t>(number)]; }
  CBook& book(int instrument) { return m_books[static_cast<std::size_t>(instrument)]; }
  EKind kind(int instrument) const { return m_instruments[static_cast<std::size_t>(instrument)].m_kind; }
  EPhase phaseOf(int instrument) const { return phase(kind(instrument)); }
  bool isListed(int instrument) const { return instrument >= 0 && instrument < static_cast<int>(m_books.size()); }
  double auctionShare(EKind kind) const;

  SExchangeSettings m_settings;
  IMarketListener* m_pListener = nullptr;
  std::int64_t m_nNow = 0;
  std::int64_t m_nPhasesUntil = 0;  ///< phases that begin up to this time have begun
  std::uint64_t m_nSent = 0;
  std::uint64_t m_nReports = 0;
  std::vector<SInstrument> m_instruments;
  std::vector<SRules> m_rules;
  std::vector<CBook> m_books;
  std::vector<std::int64_t> m_lastArrivals;  ///< by instrument: of what was sent of it
  std::vector<bool> m_awake;                 ///< by instrument: its events run in the order of time with all others
  std::unordered_map<std::string, int> m_numbers;  ///< instruments by market and code
  std::vector<SOrder> m_orders;
  std::unordered_map<std::uint64_t, int> m_orderNumbers;
  std::vector<int> m_waiting;  ///< orders accepted outside continuous trading, in the order of time
  std::priority_queue<SArrival, std::vector<SArrival>, std::greater<>> m_arrivals;
  std::priority_queue<BookEvent, std::vector<BookEvent>, std::greater<>> m_bookEvents;
  std::vector<SFill> m_fills;
};

}  // namespace exchange
