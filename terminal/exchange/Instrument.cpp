#include "Instrument.h"

#include <algorithm>
#include <cmath>

#include "Boards.h"

namespace exchange {
namespace {

constexpr double TICK_TOLERANCE = 1e-4;  // of a tick: above what a double loses, below what anybody means
constexpr double MOST_TICKS = 1e12;

constexpr int FUTURE_PERCENT = 10;
constexpr std::int64_t LEAST_BAND = 10;  // ticks

/// percent of a price, rounded half up to the tick.
std::int64_t percentOf(std::int64_t ticks, int percent) { return (ticks * percent + 50) / 100; }

}  // namespace

std::int64_t SRules::toTicks(double price) const {
  const double ticks = price * m_nTicksPerUnit;
  if (!(ticks > 0) || ticks > MOST_TICKS) return -1;
  const double whole = std::round(ticks);
  return whole < 1 || std::abs(ticks - whole) > TICK_TOLERANCE ? -1 : static_cast<std::int64_t>(whole);
}

std::int64_t SRules::toLimitTicks(double price, bool buy) const {
  const double ticks = std::clamp(price * m_nTicksPerUnit, 0.0, MOST_TICKS);
  return static_cast<std::int64_t>(buy ? std::floor(ticks + TICK_TOLERANCE) : std::ceil(ticks - TICK_TOLERANCE));
}

double SRules::toPrice(std::int64_t ticks) const {
  // Dividing by a whole number gives the double that the decimal text of the price gives.
  return static_cast<double>(ticks) / m_nTicksPerUnit;
}

int SRules::orderable(int quantity, bool buy) const {
  if (quantity <= 0 || !buy) return std::max(0, quantity);
  return quantity < m_nBuyMinimum ? 0 : quantity - quantity % m_nBuyStep;
}

const char* SRules::quantityFault(int quantity, bool buy) const {
  if (quantity <= 0) return "委托数量必须大于零";
  const int taken = orderable(quantity, buy);
  if (taken == 0) return "数量低于最小申报数量";
  return taken < quantity ? "数量不是整手" : nullptr;
}

const char* SRules::orderFault(int quantity, bool buy, bool marketPrice) const {
  if (const char* fault = quantityFault(quantity, buy)) return fault;
  return quantity > (marketPrice ? m_nLargestMarket : m_nLargestLimit) ? "数量超过单笔最大申报数量" : nullptr;
}

int SRules::inOneOrder(int quantity, bool buy, bool marketPrice) const {
  const int largest = marketPrice ? m_nLargestMarket : m_nLargestLimit;
  if (quantity <= largest || !buy) return std::min(quantity, largest);
  const auto lostAfter = [this, quantity](int first) { return quantity - first - orderable(quantity - first, true); };
  const int most = orderable(largest, true);
  // Less, where what is left would be too small for an order of its own.
  const int less = std::min(most, orderable(quantity - m_nBuyMinimum, true));
  return lostAfter(less) < lostAfter(most) ? less : most;
}

const char* SRules::priceFault(double limit) const {
  const std::int64_t ticks = toTicks(limit);
  if (ticks < 0) return "价格不是最小变动价位的整数倍";
  return ticks > m_nLimitUp || ticks < m_nLimitDown ? "价格超出涨跌幅限制" : nullptr;
}

const char* SRules::bandFault(std::int64_t limit, bool buy, std::int64_t reference) const {
  const std::int64_t beyond = buy ? limit - reference : reference - limit;
  const bool tooFar = beyond > LEAST_BAND && beyond * 100 > reference * m_nBandPercent;
  return m_nBandPercent > 0 && tooFar ? "限价超出有效申报价格范围" : nullptr;
}

SRules rulesOf(const SInstrument& instrument) {
  SRules rules;
  int percent = FUTURE_PERCENT;
  if (instrument.m_kind == EKind::IndexFuture) {
    rules.m_nTicksPerUnit = 5;
    rules.m_nBuyMinimum = rules.m_nBuyStep = 1;
  } else {
    const SBoard& board = boardOf(instrument.m_strMarket, instrument.m_strCode);
    const bool atRisk = instrument.m_strName.find("ST") != std::string::npos;
    percent = atRisk ? board.m_nRiskPercent : board.m_nLimitPercent;
    rules.m_nBandPercent = board.m_nBandPercent;
    rules.m_nBuyMinimum = board.m_nBuyMinimum;
    rules.m_nBuyStep = board.m_nBuyStep;
    rules.m_nLargestLimit = board.m_nLargestLimit;
    rules.m_nLargestMarket = board.m_nLargestMarket;
  }
  rules.m_nPrevClose = std::max<std::int64_t>(1, std::llround(instrument.m_dPrevClose * rules.m_nTicksPerUnit));
  rules.m_nLimitUp = std::max(percentOf(rules.m_nPrevClose, 100 + percent), rules.m_nPrevClose + 1);
  rules.m_nLimitDown = std::min(percentOf(rules.m_nPrevClose, 100 - percent), rules.m_nPrevClose - 1);
  rules.m_nLimitDown = std::max<std::int64_t>(1, rules.m_nLimitDown);
  return rules;
}

}  // namespace exchange
