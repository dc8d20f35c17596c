#include "Instrument.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace exchange {
namespace {

constexpr double TICK_TOLERANCE = 1e-4;  // of a tick: above what a double loses, below what anybody means
constexpr double MOST_TICKS = 1e12;

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

bool isWideBoard(std::string_view code) {
  constexpr std::array<std::string_view, 4> prefixes{"300", "301", "688", "689"};
  return std::any_of(prefixes.begin(), prefixes.end(), [code](auto prefix) { return startsWith(code, prefix); });
}

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

const char* SRules::priceFault(double limit) const {
  const std::int64_t ticks = toTicks(limit);
  if (ticks < 0) return "价格不是最小变动价位的整数倍";
  return ticks > m_nLimitUp || ticks < m_nLimitDown ? "价格超出涨跌幅限制" : nullptr;
}

int limitPercent(const SInstrument& instrument) {
  if (instrument.m_strMarket == "BJ") return 30;
  if (instrument.m_kind == EKind::IndexFuture) return 10;
  if (isWideBoard(instrument.m_strCode)) return 20;
  return instrument.m_strName.find("ST") != std::string::npos ? 5 : 10;
}

SRules rulesOf(const SInstrument& instrument) {
  SRules rules;
  if (instrument.m_kind == EKind::IndexFuture) {
    rules.m_nTicksPerUnit = 5;
    rules.m_nBuyMinimum = rules.m_nBuyStep = 1;
  } else if (startsWith(instrument.m_strCode, "688") || startsWith(instrument.m_strCode, "689")) {
    rules.m_nBuyMinimum = 200;
    rules.m_nBuyStep = 1;
  } else if (instrument.m_strMarket == "BJ") {
    rules.m_nBuyStep = 1;
  }
  rules.m_nPrevClose = std::max<std::int64_t>(1, std::llround(instrument.m_dPrevClose * rules.m_nTicksPerUnit));
  const int percent = limitPercent(instrument);
  rules.m_nLimitUp = std::max(percentOf(rules.m_nPrevClose, 100 + percent), rules.m_nPrevClose + 1);
  rules.m_nLimitDown = std::min(percentOf(rules.m_nPrevClose, 100 - percent), rules.m_nPrevClose - 1);
  rules.m_nLimitDown = std::max<std::int64_t>(1, rules.m_nLimitDown);
  return rules;
}

}  // namespace exchange
