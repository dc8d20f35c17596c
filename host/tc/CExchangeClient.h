#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace TC {

/// What the exchange client knows of one instrument. Never changed once handed out.
struct CCodeInfo {
  std::string m_strMarket;
  std::string m_strCode;
  std::string m_strName;
  std::string m_strPinyin;              ///< initials of the name where they are given; empty: as its characters read
  double m_dMultiplier = 1;             ///< contract multiplier
  std::vector<int> m_types;             ///< every host stock type that the instrument is of
  bool m_bSpecial = false;              ///< a special kind other than STOCK_TYPE_BY_HUNDRED
  int m_nTradeMinUnit = 1;              ///< smallest quantity that may be traded
  int m_nUiMinUnit = 1;                 ///< smallest quantity that may be entered
  int m_nTradeUnit = 1;                 ///< shares in one unit of display
  std::vector<int> m_marketPriceTypes;  ///< EPriceType values that are market prices here
};

/// Static data of instruments. Any thread.
class CExchangeClient {
 public:
  virtual ~CExchangeClient() = default;
  /// Null for an unknown instrument. market may be a market, an exchange short code, or empty: then the code alone
  /// decides, and of several instruments with it the one that was made known last is given.
  virtual boost::shared_ptr<const CCodeInfo> getCodeInfo(const std::string& market, const std::string& code) const = 0;
  /// As long as it is the same, and not 0, every answer of getCodeInfo is. 0: unknown.
  virtual std::uint64_t version() const { return 0; }
};

}  // namespace TC
