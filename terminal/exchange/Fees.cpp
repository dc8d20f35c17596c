#include "Fees.h"

#include <algorithm>
#include <cmath>

namespace exchange {
namespace {

/// Each fee is charged in whole fen.
double toFen(double amount) { return std::round(amount * 100) / 100; }

}  // namespace

double feesOf(const SFeeRates& rates, EKind kind, bool buy, double amount) {
  if (!(amount > 0)) return 0;
  if (kind == EKind::IndexFuture) return toFen(amount * rates.m_dFuturesCommission);
  const double commission = std::max(rates.m_dLeastCommission, toFen(amount * rates.m_dCommission));
  return commission + toFen(amount * rates.m_dTransferFee) + (buy ? 0 : toFen(amount * rates.m_dStampDuty));
}

}  // namespace exchange
