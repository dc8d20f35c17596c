#include "CExchange.h"

#include <algorithm>
#include <array>
#include <utility>

namespace exchange {
namespace {

constexpr std::array KINDS{EKind::Share, EKind::IndexFuture};

std::int64_t nextChange(std::int64_t msec) {
  std::int64_t next = CBook::NEVER;
  for (const EKind kind : KINDS) next = std::min(next, nextPhaseBegin(kind, msec));
  return next;
}

EAuction auctionIn(EPhase phase) { return isOpeningAuction(phase) ? EAuction::Opening : EAuction::Closing; }

std::string numberKey(std::string_view market, std::string_view code) {
  std::string key;
  key.reserve(market.size() + 1 + code.size());
  return key.append(market).append(1, '.').append(code);
}

/// A seed of an instrument's own, the same whatever else is listed.
std::uint64_t bookSeed(std::uint64_t seed, std::string_view key) {
  std::uint64_t value = CRandom::mix(seed + 1);
  for (const char character : key) value = CRandom::mix(value ^ static_cast<unsigned char>(character));
  return value;
}

bool isFutureKind(const SInstrument& instrument) {
  return instrument.m_kind == EKind::IndexFuture && instrument.m_strCode.size() == 2;
}

}  // namespace

CExchange::CExchange(const std::vector<SInstrument>& instruments, const SExchangeSettings& settings)
    : m_settings(settings) {
  const auto futures = listedIndexFutures(dateOf(settings.m_nDayStart), instruments);
  m_instruments.reserve(instruments.size() + futures.size());
  m_books.reserve(instruments.size() + futures.size());
  for (const SInstrument& instrument : instruments) list(instrument);
  for (const SInstrument& future : futures) list(future);
}

void CExchange::list(const SInstrument& instrument) {
  const std::string key = numberKey(instrument.m_strMarket, instrument.m_strCode);
  if (isFutureKind(instrument) || !m_numbers.try_emplace(key, static_cast<int>(m_instruments.size())).second) return;
  m_instruments.push_back(instrument);
  m_rules.push_back(rulesOf(instrument));
  m_books.emplace_back(instrument, m_rules.back(), bookSeed(m_settings.m_nSeed, key));
  m_awake.push_back(false);
  m_lastArrivals.push_back(0);
}

int CExchange::findInstrument(std::string_view market, std::string_view code) const {
  const auto found = m_numbers.find(numberKey(market, code));
  return found == m_numbers.end() ? -1 : found->second;
}

/// What chance draws for the asked-th thing that is asked of an order: 0 the order itself, then its cancels. The first
/// number drawn is its way, the second whether it is refused.
CRandom CExchange::luckOf(const SMarketOrder& order, int asked) const {
  const std::uint64_t luck = order.m_nLuck != 0 ? order.m_nLuck : order.m_nId;
  return CRandom(CRandom::mix(CRandom::mix(m_settings.m_nSeed) ^ (CRandom::mix(luck) + static_cast<unsigned>(asked))));
}

/// What is sent later arrives later, among what concerns one instrument: a cancel never overtakes its order, and
/// nothing waits for what is sent elsewhere.
std::int64_t CExchange::arrivalOf(const SMarketOrder& order, CRandom luck) {
  const double spread = luck.uniform() * (m_settings.m_nLatencySpreadMsec + 1);
  const std::int64_t arrival = m_nNow + m_settings.m_nLatencyMsec + static_cast<std::int64_t>(spread);
  if (!isListed(order.m_nInstrument)) return arrival;
  std::int64_t& last = m_lastArrivals[static_cast<std::size_t>(order.m_nInstrument)];
  return last = std::max(last, arrival);
}

void CExchange::submit(const SMarketOrder& order) {
  const int number = static_cast<int>(m_orders.size());
  m_orders.push_back({order, EState::Sent, 0, order.m_nQuantity});
  m_orderNumbers.try_emplace(order.m_nId, number);
  m_arrivals.push({arrivalOf(order, luckOf(order, 0)), m_nSent++, order.m_nId, number});
}

void CExchange::cancel(std::uint64_t id) {
  const auto found = m_orderNumbers.find(id);
  std::int64_t arrives = m_nNow + m_settings.m_nLatencyMsec;
  if (found != m_orderNumbers.end()) {
    SOrder& cancelled = order(found->second);
    arrives = arrivalOf(cancelled.m_order, luckOf(cancelled.m_order, ++cancelled.m_nCancels));
  }
  m_arrivals.push({arrives, m_nSent++, id, -1});
}

void CExchange::advanceTo(std::int64_t msec) {
  for (;;) {
    const std::int64_t phases = nextChange(m_nPhasesUntil);
    const std::int64_t arrival = m_arrivals.empty() ? CBook::NEVER : m_arrivals.top().m_nTime;
    const std::int64_t bookEvent = m_bookEvents.empty() ? CBook::NEVER : m_bookEvents.top().first;
    const std::int64_t next = std::min({phases, arrival, bookEvent});
    if (next > msec) break;
    m_nNow = std::max(m_nNow, next);
    if (next == phases) {
      m_nPhasesUntil = next;
      changePhases();
    } else if (next == arrival) {
      const SArrival arrived = m_arrivals.top();
      m_arrivals.pop();
      arrive(arrived);
    } else {
      runBook();
    }
  }
  m_nNow = std::max(m_nNow, msec);
}

/// Phases begin for all instruments before anything is reported, since who hears of it may look at any of them.
void CExchange::changePhases() {
  for (int instrument = 0; instrument < static_cast<int>(m_books.size()); ++instrument) changePhase(instrument);
  reportFills();
  matchWaiting();
  if (m_nNow == DAY_CLOSES) expireAll();
}

void CExchange::changePhase(int instrument) {
  const EPhase before = phaseAt(kind(instrument), m_nNow - 1);
  const EPhase begins = phaseOf(instrument);
  if (begins == EPhase::ClosingAuction && before != begins) book(instrument).collectResting();
  // What nobody waits for is caught up when somebody looks.
  if (isAuction(before) && !isAuction(begins) && book(instrument).hasCollected()) catchUp(instrument);
}

void CExchange::matchWaiting() {
  for (const int number : std::exchange(m_waiting, {})) {
    if (order(number).m_state != EState::Waiting) continue;
    if (isMatchingPhase(phaseOf(order(number).m_order.m_nInstrument))) {
      match(number);
    } else {
      m_waiting.push_back(number);
    }
  }
}

void CExchange::expireAll() {
  m_waiting.clear();
  for (std::size_t i = 0; i < m_orders.size(); ++i) {
    const int number = static_cast<int>(i);
    const EState state = order(number).m_state;
    if (state != EState::Waiting && state != EState::Resting) continue;
    book(order(number).m_order.m_nInstrument).remove(number);
    const int left = end(number, "委托已在收市时撤销");
    report(EReport::Cancelled, number, left, "收市，未成交部分自动撤销");
  }
}

void CExchange::arrive(const SArrival& arrival) {
  if (arrival.m_nOrder < 0) {
    arriveCancel(arrival.m_nId);
  } else {
    arriveOrder(arrival.m_nOrder);
  }
}

/// What the day itself forbids, whenever the order comes; null for nothing.
const char* CExchange::lastingRefusal(const SMarketOrder& order) const {
  if (!isListed(order.m_nInstrument)) return "证券不存在";
  const auto instrument = static_cast<std::size_t>(order.m_nInstrument);
  if (m_books[instrument].nextEvent() == CBook::NEVER) return "证券停牌";
  const SRules& listed = m_rules[instrument];
  if (const char* text = listed.orderFault(order.m_nQuantity, order.m_bBuy, order.m_bMarketPrice)) return text;
  return order.m_bMarketPrice ? nullptr : listed.priceFault(order.m_dPrice);
}

const char* CExchange::passingRefusal(const SMarketOrder& order) {
  const EPhase now = phaseOf(order.m_nInstrument);
  if (!acceptsOrders(now)) return "非交易时段";
  if (order.m_bMarketPrice && !isMatchingPhase(now)) return "非连续交易时段不接受市价委托";
  if (!order.m_bMarketPrice && isMatchingPhase(now)) {
    if (const char* text = bandRefusal(order)) return text;
  }
  CRandom luck = luckOf(order, 0);
  luck();  // its way
  const bool unlucky = m_settings.m_dRejectRate > 0 && luck.uniform() < m_settings.m_dRejectRate;
  return unlucky ? "交易所流量控制，委托被拒绝" : nullptr;
}

/// A limit is held against the best price that it could trade at, or else the nearest to that there is.
const char* CExchange::bandRefusal(const SMarketOrder& order) {
  catchUp(order.m_nInstrument);
  const CBook& traded = book(order.m_nInstrument);
  const std::int64_t opposite = (order.m_bBuy ? traded.bestAsk() : traded.bestBid()).m_nPrice;
  const std::int64_t own = (order.m_bBuy ? traded.bestBid() : traded.bestAsk()).m_nPrice;
  const std::int64_t reference = opposite > 0 ? opposite : own > 0 ? own : traded.last();
  const SRules& listed = rules(order.m_nInstrument);
  return listed.bandFault(listed.toTicks(order.m_dPrice), order.m_bBuy, reference);
}

void CExchange::arriveOrder(int number) {
  const SMarketOrder arrived = order(number).m_order;
  if (m_orderNumbers.at(arrived.m_nId) != number) return reject(number, "委托编号重复", true);
  if (const char* text = lastingRefusal(arrived)) return reject(number, text, true);
  if (const char* text = passingRefusal(arrived)) return reject(number, text, false);
  const SRules& listed = rules(arrived.m_nInstrument);
  const std::int64_t reach = arrived.m_bBuy ? listed.m_nLimitUp : listed.m_nLimitDown;
  order(number).m_nLimit = arrived.m_bMarketPrice ? reach : listed.toTicks(arrived.m_dPrice);
  order(number).m_state = EState::Waiting;
  report(EReport::Accepted, number, arrived.m_nQuantity);
  const EPhase now = phaseOf(arrived.m_nInstrument);
  if (isMatchingPhase(now)) return match(number);
  m_waiting.push_back(number);
  if (!isAuction(now)) return;
  const SIncoming collected{number, arrived.m_bBuy, order(number).m_nLimit, arrived.m_nQuantity};
  book(arrived.m_nInstrument).collect(collected, auctionShare(kind(arrived.m_nInstrument)));
}

/// What part of the auction that is being held is over.
double CExchange::auctionShare(EKind kind) const {
  const auto [begin, end] = auctionOf(kind, auctionIn(phase(kind)));
  return static_cast<double>(m_nNow - begin) / static_cast<double>(end - begin);
}

void CExchange::reject(int number, const char* message, bool lasting) {
  end(number, "委托已被拒绝");
  SReport rejected = makeReport(EReport::Rejected, number, order(number).m_order.m_nQuantity, message);
  rejected.m_bLasting = lasting;
  deliver(rejected);
}

/// Nothing of the order is open from now on; returns what was. became: what a cancel that comes later is told.
int CExchange::end(int number, const char* became) {
  order(number).m_state = EState::Over;
  order(number).m_pBecame = became;
  return std::exchange(order(number).m_nLeft, 0);
}

/// The order's fills are reported when the book has done with it.
void CExchange::match(int number) {
  const SMarketOrder& incoming = order(number).m_order;
  const int instrument = incoming.m_nInstrument;
  catchUp(instrument);
  order(number).m_state = EState::Resting;
  const bool rest = !incoming.m_bMarketPrice;
  const SIncoming entering{number, incoming.m_bBuy, order(number).m_nLimit, order(number).m_nLeft};
  const int left = book(instrument).enter(entering, rest, m_fills);
  if (book(instrument).hasResting()) wake(instrument);
  reportFills();
  if (rest || left == 0) return;
  end(number, "市价委托剩余部分已自动撤销");
  report(EReport::Cancelled, number, left, "市价委托剩余部分自动撤销");
}

void CExchange::arriveCancel(std::uint64_t id) {
  const auto found = m_orderNumbers.find(id);
  if (found == m_orderNumbers.end()) {
    SReport unknown;
    unknown.m_nId = id;
    unknown.m_kind = EReport::CancelRejected;
    unknown.m_pMessage = "委托不存在";
    return deliver(unknown);
  }
  const int number = found->second;
  if (order(number).m_state == EState::Over) {
    return report(EReport::CancelRejected, number, 0, order(number).m_pBecame);
  }
  if (!acceptsCancels(phaseOf(order(number).m_order.m_nInstrument))) {
    return report(EReport::CancelRejected, number, 0, "集合竞价此时段不接受撤单");
  }
  book(order(number).m_order.m_nInstrument).remove(number);
  report(EReport::Cancelled, number, end(number, "委托已撤销"));
}

void CExchange::scheduleBook(int instrument) {
  const std::int64_t next = book(instrument).nextEvent();
  if (next < continuousEnd(kind(instrument))) m_bookEvents.push({clockOfTradingTime(next), instrument});
}

void CExchange::wake(int instrument) {
  if (m_awake[static_cast<std::size_t>(instrument)]) return;
  m_awake[static_cast<std::size_t>(instrument)] = true;
  scheduleBook(instrument);
}

void CExchange::runBook() {
  const int instrument = m_bookEvents.top().second;
  m_bookEvents.pop();
  if (!book(instrument).hasResting()) {
    // Nobody waits for what happens in it: it sleeps until somebody looks.
    m_awake[static_cast<std::size_t>(instrument)] = false;
    return;
  }
  book(instrument).step(m_fills);
  scheduleBook(instrument);
  reportFills();
}

/// Runs what has happened meanwhile in a book of which nobody waited for anything.
void CExchange::catchUp(int instrument) {
  CBook& seen = book(instrument);
  const EKind kind = this->kind(instrument);
  if (m_nNow >= auctionOf(kind, EAuction::Opening).m_nEnd) seen.endAuction(EAuction::Opening, m_fills);
  if (!m_awake[static_cast<std::size_t>(instrument)]) {
    const std::int64_t until = std::min(tradingTime(m_nNow), continuousEnd(kind) - 1);
    while (seen.nextEvent() <= until) seen.step(m_fills);
  }
  const std::int64_t closed = auctionOf(kind, EAuction::Closing).m_nEnd;
  if (closed > 0 && m_nNow >= closed) seen.endAuction(EAuction::Closing, m_fills);
}

SQuote CExchange::quote(int instrument) {
  catchUp(instrument);
  const CBook& quoted = book(instrument);
  const SRules& listed = rules(instrument);
  const EPhase now = phaseOf(instrument);
  const auto [bid, ask] = isAuction(now) ? quoted.indication(auctionIn(now), auctionShare(kind(instrument)))
                                         : std::pair(quoted.bestBid(), quoted.bestAsk());
  SQuote result;
  result.m_dLast = listed.toPrice(quoted.last());
  result.m_dBid = listed.toPrice(bid.m_nPrice);
  result.m_dAsk = listed.toPrice(ask.m_nPrice);
  result.m_nBidSize = bid.m_nSize;
  result.m_nAskSize = ask.m_nSize;
  result.m_dLimitUp = listed.toPrice(listed.m_nLimitUp);
  result.m_dLimitDown = listed.toPrice(listed.m_nLimitDown);
  result.m_dPrevClose = listed.toPrice(listed.m_nPrevClose);
  result.m_nVolume = quoted.volume();
  const double multiplier = m_instruments[static_cast<std::size_t>(instrument)].m_nMultiplier;
  result.m_dAmount = quoted.turnover() / listed.m_nTicksPerUnit * multiplier;
  return result;
}

void CExchange::reportFills() {
  // A report may make the listener look at quotes; it never adds a fill.
  for (const SFill& fill : m_fills) {
    SOrder& filled = order(fill.m_nOrder);
    filled.m_nLeft -= fill.m_nQuantity;
    if (filled.m_nLeft == 0) end(fill.m_nOrder, "委托已全部成交");
    const auto instrument = static_cast<std::size_t>(filled.m_order.m_nInstrument);
    SReport report;
    report.m_nId = filled.m_order.m_nId;
    report.m_kind = EReport::Filled;
    report.m_nQuantity = fill.m_nQuantity;
    report.m_nLeft = filled.m_nLeft;
    report.m_dPrice = m_rules[instrument].toPrice(fill.m_nPrice);
    report.m_dAmount = report.m_dPrice * fill.m_nQuantity * m_instruments[instrument].m_nMultiplier;
    deliver(report);
  }
  m_fills.clear();
}

void CExchange::report(EReport kind, int number, int quantity, const char* message) {
  deliver(makeReport(kind, number, quantity, message));
}

SReport CExchange::makeReport(EReport kind, int number, int quantity, const char* message) {
  SReport report;
  report.m_nId = order(number).m_order.m_nId;
  report.m_kind = kind;
  report.m_nQuantity = quantity;
  report.m_nLeft = order(number).m_nLeft;
  report.m_pMessage = message;
  return report;
}

void CExchange::deliver(SReport report) {
  report.m_nTime = m_nNow;
  report.m_nNumber = ++m_nReports;
  if (m_pListener) m_pListener->onReport(report);
}

}  // namespace exchange
