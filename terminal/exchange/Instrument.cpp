#include "Instrument.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace exchange {
namespace {

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

bool isWideBoard(std::string_view code) {
  constexpr std::array<std::string_view, 4> prefixes{"300", "301", "688", "689"};
  return std::any_of(prefixes.begin(), prefixes.end(), [code](auto prefix) { return startsWith(code, prefix); });
}

/// percent of a price, rounded half up to the tick.
std::int64_t percentOf(std::int64_t ticks, int percent) { return (ticks * percent + 50) / 100; }

}  // namespace

std::int64_t SRules::toTicks(double price) const {
  constexpr double tolerance = 1e-4;  // of a tick: above what a double loses, below what anybody means
  const double ticks = price * m_nTicksPerUnit;
  if (!(ticks > 0) || ticks > 1e12) return -1;
  const double whole = std::round(ticks);
  return whole < 1 || std::abs(ticks - whole) > tolerance ? -1 : static_cast<std::int64_t>(whole);
}

double SRules::toPrice(std::int64_t ticks) const {
  // Dividing by a whole number gives the double that the decimal text of the price gives.
  return static_cast<double>(ticks) / m_nTicksPerUnit;
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
