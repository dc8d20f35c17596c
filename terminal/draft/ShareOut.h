/// A basket's lines in shares, and dealt out over accounts. Any thread; 5,000 lines over 50 accounts in under 100 ms.
#pragma once

#include <string>
#include <vector>

#include "Draft.h"

namespace draft {

/// By what the lines are dealt out.
enum class EDealBy { Ratio, Cash, Position };

struct SDealPart {
  int m_nAccount = 0;   ///< index
  int m_nQuantity = 0;  ///< shares or lots, above 0
};

/// What becomes of one line.
struct SDealtLine {
  int m_nQuantity = 0;  ///< of the whole line; the parts add up to exactly this
  std::vector<SDealPart> m_parts;
  int m_nLeftOut = 0;  ///< accounts with a ratio that get nothing, since their part would be below the board's minimum
};

struct SDeal {
  std::vector<SDealtLine> m_lines;  ///< by line; of an unchecked or unusable line without parts
  double m_dMissed = 0;             ///< CNY that the whole of weights misses of what was wanted; may be below 0
};

/// A line that comes to this many shares may have said more: it is not traded.
inline constexpr int MOST_SHARES = 2'000'000'000;

/// Each line's quantity in shares, at most MOST_SHARES: as it stands; of amounts and weights rounded to what the board
/// takes.
std::vector<int> quantitiesOf(const std::vector<SLine>& lines, const std::vector<SMarketFacts>& facts,
                              const SSizing& sizing, double* missed = nullptr);

/// ratios: one for each account, 0: it gets nothing; all 0 with EDealBy::Cash or Position, where accounts tell them.
SDeal dealOut(const std::vector<SLine>& lines, const std::vector<int>& quantities,
              const std::vector<SMarketFacts>& facts, const std::vector<SAccountFacts>& accounts, EDealBy by,
              const std::vector<double>& ratios);

}  // namespace draft
