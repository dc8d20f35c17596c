/// What accounts hold and what trading costs them, from files. Any thread; nothing is thrown for bad input.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "BasketFiles.h"
#include "Fees.h"

namespace basket {

/// One position of an account.
struct SPositionLine {
  std::string m_strAccount;  ///< as it is written; empty: each account
  std::string m_strMarket;
  std::string m_strCode;
  bool m_bShort = false;          ///< of futures
  int m_nQuantity = 0;            ///< shares or lots, above 0
  int m_nToday = 0;               ///< of these, bought today
  std::optional<double> m_dCost;  ///< of one share (CNY), or index points
};

struct SPositionFile {
  std::vector<SPositionLine> m_lines;  ///< in the file's order; empty when there are faults
  std::vector<SFault> m_faults;
};

/// Whether an instrument is listed.
using ListedTest = std::function<bool(std::string_view market, std::string_view code)>;
/// Whether there is an account of a name.
using AccountTest = std::function<bool(const std::string& account)>;

/// Reads positions. Each instrument must pass isListed, if one is given; two lines of one position are a fault. See
/// docs/data-files.md for the columns.
SPositionFile readPositionFile(const std::string& path, const AccountTest& isAccount, const ListedTest& isListed = {});

struct SFeeFile {
  exchange::SFeeRates m_rates;  ///< what the file does not name is as it is without one
  std::vector<SFault> m_faults;
};

SFeeFile readFeeFile(const std::string& path);

}  // namespace basket
