#pragma once

#include <QString>
#include <functional>
#include <vector>

#include "Draft.h"
#include "ksservice/Enumerations.h"

namespace preview {

/// The prices of a security now; 0: none.
struct SPrices {
  double m_dLast = 0;
  double m_dBid = 0;
  double m_dAsk = 0;
};

/// How the orders of a basket are made.
struct STradeParams {
  int m_nOrderType = ksservice::EORT_Plain;
  int m_nPriceType = ksservice::EPT_Counterpart;  ///< of a plain basket's lines without a price of their own
  int m_nOffsetTicks = 0;                         ///< that a limit goes towards the other side, below 0: away from it
  std::string m_strAlgo;                          ///< parameters of an algorithm; empty: plain

  bool operator==(const STradeParams&) const = default;
};

struct SHedgeChoice {
  bool m_bEnabled = false;
  std::string m_strCode;  ///< of the index future
  double m_dRatio = 1;    ///< part of the traded amount

  bool operator==(const SHedgeChoice&) const = default;
};

struct SSendLine {
  std::string m_strMarket;
  std::string m_strCode;
  int m_nOperation = ksservice::EOT_None;
  int m_nQuantity = 0;  ///< shares, or lots of a future
  double m_dPrice = 0;  ///< a limit of its own; 0: none
};

struct SSendPart {
  std::string m_strAccount;  ///< key
  std::vector<SSendLine> m_lines;
};

/// A basket that the user has sent.
struct SSentBasket {
  QString m_strName;
  std::vector<SSendPart> m_parts;  ///< accounts with at least one line
  STradeParams m_trade;
  SHedgeChoice m_hedge;
};

/// What an account may send.
struct SRateUse {
  int m_nSecondLimit = 0;
  int m_nDayLimit = 0;
  std::map<std::string, int> m_sentToday;  ///< orders and cancels by account key; absent: none
};

/// What a draft asks of the terminal. GUI thread.
class IDraftHost {
 public:
  virtual ~IDraftHost() = default;
  virtual const basket::CSecurities& securities() const = 0;
  /// What the list of securities and the day say of one; prices as far as they are known without asking.
  virtual draft::SMarketFacts listed(int security) const = 0;
  /// Answers on the GUI thread with the prices of these, in their order; never within the call, and not at all when
  /// the terminal ends.
  virtual void askPrices(const std::vector<int>& securities, std::function<void(std::vector<SPrices>)> answer) = 0;
  /// Those that trade securities, with what they may use now.
  virtual std::vector<draft::SAccountFacts> accounts() const = 0;
  virtual exchange::SFeeRates fees() const = 0;
  virtual SRateUse rates() const = 0;
  /// The price at which a line's orders freeze cash: its limit, or what it would go out at now; where that is open, the
  /// day's highest. CNY or index points.
  virtual double frozenAt(const draft::SLine& line, const draft::SMarketFacts& facts,
                          const STradeParams& trade) const = 0;
  /// Codes of the index futures by which a basket can be hedged; none: it cannot.
  virtual std::vector<std::string> hedgeFutures() const = 0;
  virtual void send(const SSentBasket& basket) = 0;
};

}  // namespace preview
