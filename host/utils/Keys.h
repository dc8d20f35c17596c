/// Keys that several rooms build alike. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace utils {

/// Key of an instrument: market, ".", code.
std::string mavStockKey(const std::string& market, const std::string& code);

/// The market and the code of an instrument's key; the whole key is the code where it has no ".".
void splitMavStockKey(const std::string& key, std::string& market, std::string& code);

/// The exchange's short code of a market: "SH" for SH, SSE and HGT; "SZ" for SZ, SZSE and SGT; else empty.
std::string exchangeShortCode(std::string_view market);

/// The parts of a text between splitters, empty ones kept; one part for a text without a splitter.
std::vector<std::string> split(const std::string& text, char splitter);

}  // namespace utils
