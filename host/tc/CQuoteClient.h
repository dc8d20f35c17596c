#pragma once

#include <string>

namespace TC {

/// The current quote of one instrument, prices in CNY.
struct CQuote {
  double m_dLast = 0;
  double m_dBid = 0;
  double m_dAsk = 0;
  double m_dCalc = 0;       ///< price for calculation
  double m_dOrder = 0;      ///< price for an order
  double m_dLimitUp = 0;    ///< the day's highest price; 0 when it is not known
  double m_dLimitDown = 0;  ///< the day's lowest price; 0 when it is not known
};

/// Live quotes. Any thread.
class CQuoteClient {
 public:
  virtual ~CQuoteClient() = default;
  /// False, and quote unchanged, for an instrument without one.
  virtual bool getQuote(const std::string& market, const std::string& code, CQuote& quote) const = 0;
};

}  // namespace TC
