/// A kept day held against what a broker or a market says of it.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace app {

struct SMatchFill {
  int m_nVolume = 0;
  double m_dAmount = 0;  ///< CNY
};
/// An order of the day that has traded.
struct SMatchOrder {
  std::string m_strKey;
  std::string m_strAccount;    ///< its key
  std::string m_strDisplayId;  ///< of the account
  std::string m_strMarket;
  std::string m_strCode;
  bool m_bBuy = true;
  double m_dMultiplier = 1;  ///< CNY of a price point
  std::vector<SMatchFill> m_fills;
};

/// A row of a broker's or a market's file: an order's fills or a fill.
struct SBrokerRow {
  int m_nLine = 0;
  std::string m_strOrder;    ///< its number there; empty: not said
  std::string m_strAccount;  ///< alike
  std::string m_strMarket;   ///< alike
  std::string m_strCode;
  bool m_bBuy = true;
  std::int64_t m_nVolume = 0;
  std::optional<double> m_dPrice;
  std::optional<double> m_dAmount;
};
struct SBrokerFile {
  std::vector<SBrokerRow> m_rows;
  int m_nLeftOut = 0;      ///< totals, blank rows, rows without a fill
  std::string m_strFault;  ///< names file, line and column; nothing was read then
};
/// As baskets are read: CSV, TSV, XLSX, ODS, any of their encodings; columns by their titles (docs/daylog.md).
SBrokerFile readBrokerFile(const std::string& path);

/// Tells what differs, grouped: missing here, missing there, quantity, price; and the totals. True when nothing does.
bool matchDay(const std::vector<SMatchOrder>& day, const SBrokerFile& file, std::ostream& out);

}  // namespace app
