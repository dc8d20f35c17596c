/// The fields that instrument and basket files share. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "TextTable.h"

namespace basket {

extern const SColumnTitles MARKET_COLUMN;
extern const SColumnTitles CODE_COLUMN;

/// The market that a field names ("SH", "sh", "上海"); empty for none.
std::string_view marketOf(const std::string& field);
/// All markets, as they are asked about in faults.
const std::vector<std::string_view>& allMarkets();

/// What is wrong with a code in a market; empty when nothing is.
std::string codeFault(std::string_view market, const std::string& code);

/// A decimal number without sign or exponent; nothing for any other text.
std::optional<double> numberOf(const std::string& field);
/// A whole number without sign; nothing for any other text, and for one beyond 64 bits.
std::optional<long long> wholeNumberOf(const std::string& field);

/// A field as it is named in a fault.
std::string quoted(const std::string& field);

}  // namespace basket
