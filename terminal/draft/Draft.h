/// A basket before it is sent. Plain values; any thread.
#pragma once

#include <limits>
#include <map>
#include <string>
#include <vector>

#include "BasketReader.h"
#include "Fees.h"
#include "Instrument.h"

namespace draft {

enum class ESide { None, Buy, Sell };

/// In place of a limit that could not be read: never taken for none.
inline constexpr double UNREAD_PRICE = -1;

/// One line as the user has it now.
struct SLine {
  bool m_bChecked = true;
  std::string m_strMarket;
  std::string m_strCode;
  std::string m_strName;  ///< as it was given; may be empty
  ESide m_side = ESide::None;
  basket::EMeasure m_measure = basket::EMeasure::Shares;
  double m_dQuantity = 0;  ///< in its measure: shares (lots of a future), CNY, a part of the whole weight
  double m_dPrice = 0;     ///< limit; 0: none; or UNREAD_PRICE, which no other edit of the line clears
  std::string m_strFault;  ///< what could not be read; an edit of the line clears it
  int m_nSourceLine = 0;   ///< 0: none
};

/// How what lines say becomes shares.
struct SSizing {
  double m_dTotal = 0;     ///< CNY that weights share; 0: none given
  double m_dMultiple = 1;  ///< of each line's quantity or amount, and of the total
};

/// What is known of a line's security now.
struct SMarketFacts {
  bool m_bListed = false;
  std::string m_strName;
  exchange::EKind m_kind = exchange::EKind::Share;
  exchange::SRules m_rules;
  double m_dLast = 0;  ///< or the previous close; CNY or index points, as all prices
  double m_dBid = 0;   ///< 0: nobody
  double m_dAsk = 0;
  double m_dFrozenAt = 0;     ///< price at which an order of the line freezes cash; 0: the last
  double m_dUsualVolume = 0;  ///< shares or lots of a usual day
  int m_nMultiplier = 1;
  bool m_bSuspended = false;

  double price() const { return m_dLast; }
  double frozenAt() const { return m_dFrozenAt > 0 ? m_dFrozenAt : price(); }
};

/// What an account may use.
struct SAccountFacts {
  std::string m_strKey;
  std::string m_strText;  ///< as the user knows it
  bool m_bKnown = true;   ///< false: nobody told its cash and positions, so nothing is found against them
  double m_dCash = 0;     ///< CNY
  std::map<std::string, int> m_sellable;  ///< by market, ".", code (as utils::mavStockKey); shares
};

}  // namespace draft
