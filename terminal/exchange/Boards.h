/// The boards of the exchanges and what each asks of an order: the one place of it. Plain values; any thread.
#pragma once

#include <string_view>
#include <vector>

namespace exchange {

/// By the trading rules of the exchanges: Shanghai (2023, STAR by its special rules), Shenzhen (2023), Beijing (2021).
struct SBoard {
  std::string_view m_name;  ///< Chinese, UTF-8
  std::string_view m_market;
  std::vector<std::string_view> m_prefixes;  ///< what its codes begin with
  int m_nBuyMinimum;                         ///< shares
  int m_nBuyStep;                            ///< shares: what is bought above the minimum comes in multiples of it
  int m_nLargestLimit;                       ///< shares that one limit order takes
  int m_nLargestMarket;                      ///< shares that one order at a market price takes
  int m_nLimitPercent;                       ///< that a price may move from the previous close
  int m_nRiskPercent;                        ///< the same where the name is marked ST
  int m_nBandPercent;                        ///< that a limit may lie beyond the best price in continuous trading
};

/// Of a market the main board comes first.
const std::vector<SBoard>& boards();

/// The board of a share: by its code, else the main board of its market, else that of Shanghai.
const SBoard& boardOf(std::string_view market, std::string_view code);

}  // namespace exchange
