#include "SplitLines.h"

#include <algorithm>

#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"

namespace engine {

bool SOrderLine::isAtMarketPrice() const {
  return (m_bOwnPrice || m_bPricedByType) && ksservice::isRealMarketPrice(m_nPriceType);
}

int SOrderLine::inOneOrder(int quantity) const {
  return m_rules.inOneOrder(quantity, ksservice::DataHelper::isBuy(m_nOperation), isAtMarketPrice());
}

double SOrderLine::priceByType(const exchange::SQuote& quote) const {
  const bool buy = ksservice::DataHelper::isBuy(m_nOperation);
  double price = quote.m_dLast > 0 ? quote.m_dLast : m_dReference;
  if (m_nPriceType == ksservice::EPT_Counterpart) price = oppositePrice(quote, buy, m_dReference);
  if (m_nPriceType == ksservice::EPT_LimitUp) price = quote.m_dLimitUp;
  if (m_nPriceType == ksservice::EPT_LimitDown) price = quote.m_dLimitDown;
  const std::int64_t ticks = m_rules.toLimitTicks(price, buy) + (buy ? m_nOffsetTicks : -m_nOffsetTicks);
  return m_rules.toPrice(std::clamp(ticks, m_rules.m_nLimitDown, m_rules.m_nLimitUp));
}

double oppositePrice(const exchange::SQuote& quote, bool buy, double fallback) {
  const double opposite = buy ? quote.m_dAsk : quote.m_dBid;
  if (opposite > 0) return opposite;
  return quote.m_dLast > 0 ? quote.m_dLast : fallback;
}

namespace {

/// What every account but the first gets of a line.
int evenPart(const SOrderLine& line, int accounts) { return line.m_rules.orderable(line.m_nQuantity / accounts, true); }

}  // namespace

std::vector<std::vector<SOrderLine>> splitLines(const std::vector<SOrderLine>& lines, int accounts) {
  std::vector<std::vector<SOrderLine>> parts(static_cast<std::size_t>(accounts));
  for (const SOrderLine& line : lines) {
    const int even = evenPart(line, accounts);
    for (int i = 0; i < accounts; ++i) {
      SOrderLine part = line;
      part.m_nQuantity = i == 0 ? line.m_nQuantity - even * (accounts - 1) : even;
      if (part.m_nQuantity > 0) parts[static_cast<std::size_t>(i)].push_back(std::move(part));
    }
  }
  return parts;
}

}  // namespace engine
