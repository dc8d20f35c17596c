/// What trading costs: the one table of rates. Plain values; any thread.
#pragma once

#include "Instrument.h"

namespace exchange {

/// Parts of an amount, but for the least commission. The exchanges' and the clearing house's rates of today.
struct SFeeRates {
  double m_dCommission = 0.00025;          ///< of shares
  double m_dLeastCommission = 5;           ///< CNY, of one order of shares that trades
  double m_dStampDuty = 0.0005;            ///< of shares that are sold
  double m_dTransferFee = 0.00001;         ///< of shares
  double m_dFuturesCommission = 0.000023;  ///< of futures; the futures exchange's own, without a least one
  double m_dMargin = 0.12;                 ///< of a future's amount: held, not paid
};

/// CNY, for one order that has traded that amount (CNY) in all; each fee in whole fen. Never falls as the amount grows.
double feesOf(const SFeeRates& rates, EKind kind, bool buy, double amount);

}  // namespace exchange
